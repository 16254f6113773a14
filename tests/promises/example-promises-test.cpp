// Whether the parts of an example do what they have declared. A program for each example.
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>

#include "exploration/promise-check.hpp"
#include "kit/promised-models.hpp"
#include "vesk.hpp"

using Vesk::Locality;
using Vesk::PromiseCheck;

namespace {

constexpr std::size_t MOST_STATES = 500;

std::unique_ptr<Compound> makeExample() {
  char name[] = "model";
  char* argv[] = {name, nullptr};
  return std::unique_ptr<Compound>(Compound::Create(1, argv));
}

}  // namespace

TEST(ExamplePromisesTest, NoPartBreaksWhatItHasDeclared) {
  const std::unique_ptr<Compound> system = makeExample();
  ASSERT_NE(nullptr, system);
  PromiseCheck check(*system);
  const auto broken = check.run(MOST_STATES);
  EXPECT_FALSE(broken.has_value()) << broken->message();
}
