#include "exploration/repeatable-states.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/promised-models.hpp"

using namespace kit;

using Vesk::Locality;
using Vesk::RepeatableStates;

namespace {

constexpr Traversal BOTH[] = {BFS, DFS};

// Two bits that change by themselves, the first of which counts how often that really happens.
struct Bits {
  int fired = 0;

  void fill(System& system, const std::vector<std::string>& names = {"A", "B"}) {
    for (const std::string& name : names) {
      auto* atom = system.add(new TestAtom(name.c_str(), &system));
      atom->state = "0";
      atom->onExecute = [this, atom](Port*) {
        atom->state = atom->state == "0" ? "1" : "0";
        ++fired;
      };
      system.join("k" + name, {atom->enabled("p")});
    }
  }
};

int linesOf(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST(RepeatableStatesTest, AConnectorFiresOnceForTheTextsOfItsAtoms) {
  for (const Traversal traversal : BOTH) {
    Bits bits;
    const Explored found = exploredAs(Locality::REPEATABLE, traversal, [&bits](System& system) {
      bits.fill(system, {"A", "B", "C"});
    });
    EXPECT_EQ(0U, found.aut.find("des(0, 24, 8)"));
    EXPECT_EQ(6, bits.fired) << nameOf(traversal);  // each of three atoms in two states
  }
}

// A connector with two ports of one atom, of which the first takes the second away.
TEST(RepeatableStatesTest, APortThatWasNotAnnouncedIsReportedEachTimeItFires) {
  const auto fill = [](System& system) {
    auto* atom = system.add(new PromisedAtom("A", &system, {"0", "1"}));
    auto* other = system.add(new PromisedAtom("B", &system, {"0", "1", "2"}));
    system.join("both", {atom->addPort("p", {{0, 1}}), atom->addPort("q", {{0, 1}})});
    system.join("next", {other->addPort("p", {{0, 1}, {1, 2}})});
  };
  for (const Traversal traversal : BOTH) {
    const std::string errors = errorsOf([&] { exploredAs(Locality::REPEATABLE, traversal, fill); });
    EXPECT_EQ(3, linesOf(errors)) << nameOf(traversal) << '\n' << errors;
  }
}

TEST(RepeatableStatesTest, AConnectorOfManyAtomsFiresForRealEachTime) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i <= RepeatableStates::MOST_MEMBERS; ++i) {
    names.push_back("A" + std::to_string(i));
  }
  for (const Traversal traversal : BOTH) {
    int fired = 0;
    const auto fill = [&](System& system) {
      std::vector<Port*> ports;
      for (const std::string& name : names) {
        auto* atom = system.add(new PromisedAtom(name, &system, {"0", "1"}));
        ports.push_back(atom->addPort("p", {{0, 1}}));
      }
      auto* counting = system.add(new TestAtom("C", &system));
      counting->onExecute = [&fired](Port*) { ++fired; };
      ports.push_back(counting->enabled("p"));
      system.join("all", ports);
      auto* other = system.add(new PromisedAtom("B", &system, {"0", "1", "2"}));
      system.join("next", {other->addPort("p", {{0, 1}, {1, 2}})});
    };
    const Explored found = exploredAs(Locality::REPEATABLE, traversal, fill);
    EXPECT_EQ(3, fired);  // once in each state of B
    EXPECT_EQ(exploredAs(Locality::UNDECLARED, traversal, fill), found);
  }
}
