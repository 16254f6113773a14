// Nets that are read while memory is exhausted.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "pnml-text.hpp"
#include "reader.hpp"

namespace {

// Which of the next calls of the allocator fails; negative: none.
long failing = -1;

bool fails() {
  return failing >= 0 && failing-- == 0;
}

}  // namespace

void* operator new(std::size_t size) {
  void* const block = fails() ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails() ? nullptr : std::malloc(size);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

pnml::Reading readWithout(long allocation, std::string document) {
  const std::unique_ptr<std::FILE, CloseFile> file(
      fmemopen(document.data(), document.size(), "rb"));
  failing = allocation;
  pnml::Reading reading = pnml::readNet(file.get());
  failing = -1;
  return reading;
}

// Wherever it is, it is said once, and there is no net.
TEST(PnmlMemoryTest, AnAllocationThatFailsIsAFault) {
  const std::string id(40, 'p');
  const std::string document =
      netDocument(placeText(id, 1) + transitionText("t") + arcText(id, "t") + "<strange/>");
  ASSERT_TRUE(readWithout(-1, document).net.has_value());
  int failures = 0;
  for (long allocation = 0;; ++allocation) {
    const pnml::Reading reading = readWithout(allocation, document);
    if (reading.net.has_value()) break;
    ++failures;
    ASSERT_EQ(1u, reading.errors.size()) << allocation;
    EXPECT_EQ("the net is too large, expected one that fits into memory", reading.errors[0].text)
        << allocation;
  }
  EXPECT_LT(20, failures);
}

}  // namespace
