// Builds the system. It stands apart from main.cpp, so that own-main-inspect has it too.

#include <cstring>

#include "model.hpp"
#include "uses.hpp"

namespace {

constexpr Use USES[] = {
    {"random", 0, true},
    {"waiting", 2, true},
    {"step", 1, true},
    {"plain", 1, false},
};

}  // namespace

const Use* findUse(int argc, char** argv) {
  for (const Use& use : USES) {
    if (argc > 1 && std::strcmp(argv[1], use.name) == 0) return &use;
  }
  return nullptr;
}

// The library needs this hook, whoever calls it.
Compound* Compound::Create(int argc, char** argv) {
  const Use* use = findUse(argc, argv);
  if (use == nullptr) return nullptr;
  if (use->shown) return new ShownBakery("bakery");
  return new Bakery("bakery");
}
