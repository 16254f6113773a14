// Bytes as the choices of a whole model, which is run in every mode with a bound. What declared
// parts change in an exploration is nothing.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "choices.hpp"
#include "random-system.hpp"
#include "whole-runs.hpp"

namespace {

using Arguments = std::vector<std::string>;

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "the engine breaks its promise: %s\n", what.c_str());
  std::abort();
}

const std::vector<Arguments>& modes() {
  static const std::vector<Arguments> all = {{"--limit", "25"},
                                             {"--random", "--limit", "25", "--seed", "3"},
                                             {"--realtime", "--limit", "12"},
                                             {"--interactive", "--limit", "12"},
                                             {"--opt1", "--limit", "20"},
                                             {"--opt2", "--limit", "20"},
                                             {"--explore", "--bfs", "--limit", "40"},
                                             {"--explore", "--dfs", "--limit", "40"}};
  return all;
}

class Model {
 public:
  Model(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

  std::unique_ptr<kit::RandomRoot> make() const {
    kit::ByteChoices choices(mData, mSize);
    return kit::makeRandomSystem(choices, kit::Habits());
  }
  kit::WholeRun run(const Arguments& mode, Vesk::Locality locality) const {
    static kit::RunFolder folder;
    return folder.run(mode, "1\nr\n1 1000\n0 0\n2\nc\n1\n1\n1\n1\n", [&] {
      std::unique_ptr<kit::RandomRoot> root = make();
      root->declareAll(locality);
      return root;
    });
  }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;
};

void checkRun(const Model& model, const Arguments& mode, Vesk::Locality kept) {
  const kit::WholeRun run = model.run(mode, Vesk::Locality::UNDECLARED);
  require(run.status == 0 || run.status == 3, "status " + std::to_string(run.status));
  require((run.status == 3) == (run.err.find("ends by an exception") != std::string::npos),
          "an exception is reported");
  if (mode[0] != "--explore") return;
  for (const Vesk::Locality locality : {Vesk::Locality::LOCAL, Vesk::Locality::REPEATABLE}) {
    if (locality > kept) return;
    require(textOf(model.run(mode, locality)) == textOf(run), "a declaration changes nothing");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Model model(data, size);
  const Vesk::Locality kept = model.make()->kept();
  for (const Arguments& mode : modes()) checkRun(model, mode, kept);
  return 0;
}
