// Who looks at the internal ports of which atoms.
#include "internal-ports.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <vector>

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

// A port whose field is written past all operations.
class HandPort : public Port {
 public:
  HandPort(Atom* atom, Constraint* constraint) : Port("p", atom) {
    setInternal();
    setConstraint(constraint);
    atom->addPort(this);
  }
  void write(bool synced) { mSynced = synced; }
};

// Internal ports of so many atoms, which somebody looks at; none is enabled.
class ManyPorts {
 public:
  explicit ManyPorts(int atoms)
      : mSystem("R"), mConstraint(nullptr, Interval(0, 9, LAZY, false, true)) {
    for (int i = 0; i < atoms; ++i) {
      mPorts.push_back(new HandPort(mSystem.atom("A"), &mConstraint));
    }
    mLook = std::make_unique<InternalPorts>();
    mLook->enter(mSystem);
    for (const HandPort* port : mPorts) mLook->add(*port->atomHolder());
    mLook->leave();
    mLook->begin();
  }
  HandPort& port(std::size_t number) { return *mPorts[number]; }
  bool isListed(std::size_t number) const { return mLook->listed(number) == mPorts[number]; }
  bool update() { return mLook->update(); }
  const std::vector<std::size_t>& changed() const { return mLook->changed(); }

 private:
  System mSystem;
  Constraint mConstraint;
  std::vector<HandPort*> mPorts;
  std::unique_ptr<InternalPorts> mLook;
};

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

// Of many atoms one is looked at in turn, until a write that nobody has noted is found.
TEST(InternalPortsTest, AfterTheFirstWriteByHandAllAreLookedAt) {
  constexpr int ATOMS = 600;
  ManyPorts many(ATOMS);
  many.port(ATOMS - 1).write(true);
  EXPECT_TRUE(many.update());
  EXPECT_FALSE(many.isListed(ATOMS - 1)) << "its turn comes later";
  many.port(2).write(true);
  EXPECT_TRUE(many.update());
  EXPECT_TRUE(many.isListed(2)) << "it was its turn";
  EXPECT_TRUE(many.isListed(ATOMS - 1));
  many.port(1).write(true);
  many.port(2).write(false);
  EXPECT_TRUE(many.update());
  EXPECT_TRUE(many.isListed(1));
  EXPECT_FALSE(many.isListed(2));
}

TEST(InternalPortsTest, OfAFewPortsAnotherConstraintIsSeenAtOnce) {
  ManyPorts few(10);
  few.port(7).write(true);
  EXPECT_TRUE(few.update());
  EXPECT_TRUE(few.update());
  EXPECT_TRUE(few.changed().empty());
  Constraint other(nullptr, Interval(0, 5, LAZY, false, true));
  few.port(7).setConstraint(&other);
  EXPECT_TRUE(few.update());
  EXPECT_EQ((std::vector<std::size_t>{7}), few.changed());
  few.port(7).write(false);
  EXPECT_TRUE(few.update());
  EXPECT_FALSE(few.isListed(7));
}

TEST(InternalPortsTest, OfAFewAtomsAPortThatIsAddedIsSeenAtOnce) {
  ManyPorts few(10);
  EXPECT_TRUE(few.update());
  Atom* const atom = few.port(3).atomHolder();
  atom->addPort(new Port("q", atom));
  EXPECT_FALSE(few.update());
}
