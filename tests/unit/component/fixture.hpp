// What the tests of components start from.
#ifndef VESK_TESTS_COMPONENT_FIXTURE_HPP
#define VESK_TESTS_COMPONENT_FIXTURE_HPP

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kit/systems.hpp"

namespace kit {

class ComponentTest : public testing::Test {
 protected:
  ComponentTest() : root("R") { global_error = global_prune = false; }
  ~ComponentTest() override {
    global_error = global_prune = false;
    faulty_leaf = nullptr;
  }

  // R holds A, D (with B, E (with C), F) and G.
  void buildTree() {
    add(root.atom("A"));
    System* d = root.compound("D");
    add(d->atom("B"));
    add(d->compound("E")->atom("C"));
    add(d->atom("F"));
    add(root.atom("G"));
  }
  TestAtom* add(TestAtom* atom) {
    atom->events = &events;
    atom->state = std::string(atom->name()) + ";";
    atoms.push_back(atom);
    return atom;
  }

  Events events;
  System root;
  std::vector<TestAtom*> atoms;
};

}  // namespace kit

#endif
