// Trees whose blocks come from the program's own operator new, or go back to its operator delete.
#include <gtest/gtest.h>
#include "allocations.hpp"

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/explorations.hpp"
#include "kit/systems.hpp"

namespace {

using namespace kit;

// Counts modulo 5; its leaves are made by the global operator new.
class Foreign : public Automaton {
 public:
  Foreign(const std::string& name, const Compound* holder)
      : Automaton(name, holder, {"0,", "1,", "2,", "3,", "4,"}) {}
  Node* getState() override {
    const std::string text = std::to_string(mState) + ",";
    return ::new Leaf(::new Atomleaf(text.c_str()));
  }
};

std::unique_ptr<System> counters() {
  auto system = std::make_unique<System>("s");
  const std::map<int, int> steps = {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 0}};
  auto* one = system->add(new Foreign("A", system.get()));
  auto* two = system->add(new Automaton("B", system.get(), {"0,", "1,", "2,", "3,", "4,"}));
  system->join("a", {one->addPort("p", steps)});
  system->join("b", {two->addPort("p", steps)});
  return system;
}

// As a function of a model's library does, which does not see how the object was made.
template <class T>
__attribute__((noinline)) void deleteGlobally(T* object) {
  ::delete object;
}

// Makes and deletes objects of all classes of trees, each in two ways.
void makeAndDelete(int times) {
  for (int i = 0; i < times; ++i) {
    delete ::new Atomleaf("text");
    delete ::new Leaf(::new Atomleaf("a longer text, which has a block of its own"));
    auto* tree = ::new Nonleaf(1);
    tree->setChild(::new Leaf(new Atomleaf("text")), 0);
    delete tree;
    deleteGlobally(new Atomleaf("text"));
    deleteGlobally(new Leaf(new Atomleaf("text")));
    deleteGlobally(new Nonleaf(0));
  }
}

}  // namespace

TEST(ForeignBlockTest, NoBlockIsKept) {
  ASSERT_TRUE(COUNTING);
  makeAndDelete(100);
  const long before = Allocations::live();
  makeAndDelete(10000);
  EXPECT_LE(Allocations::live(), before + 100);
}

TEST(ForeignBlockTest, ManyBlocksAtOnceGoBackToo) {
  std::vector<Atomleaf*> texts;
  texts.reserve(10000);
  makeAndDelete(100);
  const long before = Allocations::live();
  for (int i = 0; i < 10000; ++i) texts.push_back(::new Atomleaf("text"));
  for (Atomleaf* text : texts) delete text;
  EXPECT_LE(Allocations::live(), before + 100);
}

TEST(ForeignBlockTest, SearchesInBetweenFindTheSame) {
  for (int round = 0; round < 20; ++round) {
    for (const Traversal traversal : {BFS, DFS}) {
      auto system = counters();
      makeAndDelete(50);
      const Explored found = explored(*system, traversal);
      makeAndDelete(50);
      EXPECT_EQ(literallyExplored(*system, traversal), found) << round << ' ' << nameOf(traversal);
      EXPECT_NE(std::string::npos, found.out.find("Final size : 25\n")) << found;
    }
  }
}
