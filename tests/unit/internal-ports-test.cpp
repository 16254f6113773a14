// Who looks at the internal ports of which atoms.
#include "internal-ports.hpp"

#include <gtest/gtest.h>

#include <memory>

#include "kit/systems.hpp"

using namespace kit;

using Vesk::InternalPorts;

namespace {

void lookAt(InternalPorts& ports, System& system, Atom& atom) {
  ports.enter(system);
  ports.add(atom);
  ports.leave();
  ports.begin();
}

}  // namespace

TEST(InternalPortsTest, AnAtomHasOneWhoLooksAtIt) {
  System system("R");
  TestAtom* atom = system.atom("A");
  atom->internal("p");
  InternalPorts first;
  lookAt(first, system, *atom);
  EXPECT_TRUE(first.update());
  EXPECT_NE(first.kept(0)[1], nullptr);
  auto second = std::make_unique<InternalPorts>();
  lookAt(*second, system, *atom);
  EXPECT_FALSE(first.update()) << "somebody else does now";
  EXPECT_TRUE(second->update());
  second.reset();
  EXPECT_NE(first.kept(0)[0], nullptr);
  EXPECT_EQ(first.kept(0)[1], nullptr) << "nobody does";
  EXPECT_EQ(first.kept(0)[2], nullptr);
}
