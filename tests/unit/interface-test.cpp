// Generated code is built against the classes of the component model: this test holds their shape
// fixed. What it states can only be changed together with every model.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "kit/atoms.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

// ---- slots -------------------------------------------------------------------------------------

// The slot of a virtual operation. A pointer to one is an index into the table of virtual
// functions, in bytes, plus one.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
  static_assert(std::is_member_function_pointer_v<Operation>);
  std::ptrdiff_t index = 0;
  std::memcpy(&index, &operation, sizeof index);
  EXPECT_EQ((index - 1) % static_cast<std::ptrdiff_t>(sizeof(void*)), 0) << "not virtual";
  return (index - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

// A destructor takes the first two slots.
constexpr std::ptrdiff_t FIRST = 2;

// ---- field order -------------------------------------------------------------------------------

template <class Owner, class Field>
std::ptrdiff_t placeOf(const Owner& owner, const Field& field) {
  return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&owner);
}

void expectRising(const std::vector<std::ptrdiff_t>& places) {
  for (std::size_t i = 1; i < places.size(); ++i) EXPECT_LT(places[i - 1], places[i]) << i;
}

class PortLayout : public Port {
 public:
  using Port::Port;
  std::vector<std::ptrdiff_t> places() const {
    return {placeOf(*this, mMark),
            placeOf(*this, Executable::mConstraint),
            placeOf(*this, mDominated),
            placeOf(*this, LABEL),
            placeOf(*this, mName),
            placeOf(*this, mAtomHolder),
            placeOf(*this, mConnHolder),
            placeOf(*this, mSynced),
            placeOf(*this, Port::mConstraint),
            placeOf(*this, mElected),
            placeOf(*this, mConnected),
            placeOf(*this, mInternal),
            placeOf(*this, mNext)};
  }
};

class InteractionLayout : public Interaction {
 public:
  using Interaction::Interaction;
  std::vector<std::ptrdiff_t> places() const {
    return {placeOf(*this, mMark),      placeOf(*this, mConstraint), placeOf(*this, mDominated),
            placeOf(*this, mConnector), placeOf(*this, mSynced),     placeOf(*this, mInhibitors),
            placeOf(*this, mNext)};
  }
};

class ConnectorLayout : public Connector {
 public:
  using Connector::Connector;
  std::vector<std::ptrdiff_t> places() const {
    return {placeOf(*this, mName),
            placeOf(*this, mHolder),
            placeOf(*this, mPorts),
            placeOf(*this, mxPort),
            placeOf(*this, mLegal),
            placeOf(*this, mDominated),
            placeOf(*this, mDominatedPriorities),
            placeOf(*this, mDominatorPriorities),
            placeOf(*this, mFeasibleInter),
            placeOf(*this, mSubconn),
            placeOf(*this, mSubconnSameHolder),
            placeOf(*this, mPriority),
            placeOf(*this, mQueued),
            placeOf(*this, mNext),
            placeOf(*this, mEval),
            placeOf(*this, mRecomputexPort),
            placeOf(*this, mLinks)};
  }
};

class AtomLayout : public TestAtom {
 public:
  using TestAtom::TestAtom;
  std::vector<std::ptrdiff_t> places() const {
    return {placeOf(*this, mName),       placeOf(*this, mHolder), placeOf(*this, mClock),
            placeOf(*this, mPorts),      placeOf(*this, mClocks), placeOf(*this, mConstraints),
            placeOf(*this, mCtrlStates), placeOf(*this, mLinks),  placeOf(*this, VESK_STATE),
            placeOf(*this, mScheduler)};
  }
};

class CompoundLayout : public Compound {
 public:
  using Compound::Compound;
  std::vector<std::ptrdiff_t> places() const {
    return {placeOf(*this, mName),       placeOf(*this, mHolder),     placeOf(*this, mClock),
            placeOf(*this, mComponents), placeOf(*this, mConnectors), placeOf(*this, mPriorities),
            placeOf(*this, mLegals),     placeOf(*this, mInternals)};
  }
};

}  // namespace

TEST(SlotTest, OfExecutablesAreInTheirFixedOrder) {
  EXPECT_EQ(slotOf(&Executable::label), FIRST);
  EXPECT_EQ(slotOf(static_cast<void (Executable::*)(const Vesk::Time&)>(&Executable::execute)),
            FIRST + 1);
  EXPECT_EQ(slotOf(&Executable::actuate), FIRST + 2);
  EXPECT_EQ(slotOf(&Executable::deadline), FIRST + 3);
  EXPECT_EQ(slotOf(&Executable::next), FIRST + 4);
  EXPECT_EQ(slotOf(&Executable::displayClock), FIRST + 5);
}

TEST(SlotTest, OfPortsAreThoseOfExecutables) {
  EXPECT_EQ(slotOf(&Port::label), FIRST);
  EXPECT_EQ(slotOf(static_cast<void (Port::*)(const Vesk::Time&)>(&Port::execute)), FIRST + 1);
  EXPECT_EQ(slotOf(&Port::actuate), FIRST + 2);
  EXPECT_EQ(slotOf(&Port::deadline), FIRST + 3);
  EXPECT_EQ(slotOf(static_cast<Vesk::Time (Port::*)(const Vesk::Time&) const>(&Port::next)),
            FIRST + 4);
  EXPECT_EQ(slotOf(&Port::displayClock), FIRST + 5);
}

TEST(SlotTest, OfInteractionsAreThoseOfExecutables) {
  EXPECT_EQ(slotOf(&Interaction::label), FIRST);
  EXPECT_EQ(slotOf(&Interaction::execute), FIRST + 1);
  EXPECT_EQ(slotOf(&Interaction::actuate), FIRST + 2);
  EXPECT_EQ(slotOf(&Interaction::deadline), FIRST + 3);
  EXPECT_EQ(
      slotOf(static_cast<Vesk::Time (Interaction::*)(const Vesk::Time&) const>(&Interaction::next)),
      FIRST + 4);
  EXPECT_EQ(slotOf(&Interaction::displayClock), FIRST + 5);
}

TEST(SlotTest, OfConnectorsAreInTheirFixedOrder) {
  using Plain = void (Connector::*)();
  using WithSet = void (Connector::*)(const BitVector&);
  EXPECT_EQ(slotOf(&Connector::isBroadcast), FIRST);
  EXPECT_EQ(slotOf(&Connector::complete), FIRST + 1);
  EXPECT_EQ(slotOf(static_cast<bool (Connector::*)()>(&Connector::guard)), FIRST + 2);
  EXPECT_EQ(slotOf(static_cast<bool (Connector::*)(const BitVector&)>(&Connector::guard)),
            FIRST + 3);
  EXPECT_EQ(slotOf(static_cast<Plain>(&Connector::up)), FIRST + 4);
  EXPECT_EQ(slotOf(static_cast<WithSet>(&Connector::up)), FIRST + 5);
  EXPECT_EQ(slotOf(static_cast<Plain>(&Connector::dn)), FIRST + 6);
  EXPECT_EQ(slotOf(static_cast<WithSet>(&Connector::dn)), FIRST + 7);
  EXPECT_EQ(slotOf(&Connector::define), FIRST + 8);
}

TEST(SlotTest, OfPrioritiesAreInTheirFixedOrder) {
  EXPECT_EQ(slotOf(&Priority::setup), FIRST);
  EXPECT_EQ(slotOf(&Priority::setupPrioLevel), FIRST + 1);
  EXPECT_EQ(slotOf(&Priority::guard), FIRST + 2);
}

TEST(SlotTest, OfComponentsAtomsAndCompoundsAreInTheirFixedOrder) {
  EXPECT_EQ(slotOf(&Component::isAtom), FIRST);
  EXPECT_EQ(slotOf(&Component::isCompound), FIRST + 1);
  EXPECT_EQ(slotOf(static_cast<void (Component::*)()>(&Component::initialize)), FIRST + 2);
  EXPECT_EQ(slotOf(static_cast<void (Component::*)(LogicalClock*)>(&Component::initialize)),
            FIRST + 3);
  EXPECT_EQ(slotOf(&Component::getState), FIRST + 4);
  EXPECT_EQ(slotOf(&Component::setState), FIRST + 5);

  EXPECT_EQ(slotOf(&Atom::isAtom), FIRST);
  EXPECT_EQ(slotOf(static_cast<void (Atom::*)()>(&Atom::initialize)), FIRST + 2);
  EXPECT_EQ(slotOf(static_cast<void (Atom::*)(LogicalClock*)>(&Atom::initialize)), FIRST + 3);
  EXPECT_EQ(slotOf(&Atom::execute), FIRST + 6);
  EXPECT_EQ(slotOf(static_cast<Port* (Atom::*)(int, ...)>(&Atom::sync)), FIRST + 7);
  EXPECT_EQ(slotOf(static_cast<Port* (Atom::*)(int, ...)>(&Atom::rt_sync)), FIRST + 8);

  EXPECT_EQ(slotOf(&Compound::isCompound), FIRST + 1);
  EXPECT_EQ(slotOf(static_cast<void (Compound::*)()>(&Compound::initialize)), FIRST + 2);
  EXPECT_EQ(slotOf(static_cast<void (Compound::*)(LogicalClock*)>(&Compound::initialize)),
            FIRST + 3);
  EXPECT_EQ(slotOf(&Compound::getState), FIRST + 4);
  EXPECT_EQ(slotOf(&Compound::setState), FIRST + 5);
}

TEST(SlotTest, OfClocksAndStatesAreInTheirFixedOrder) {
  EXPECT_EQ(slotOf(&GenericClock::time), FIRST);
  EXPECT_EQ(slotOf(&PlatformClock::wait), FIRST + 1);
  EXPECT_EQ(slotOf(&Node::compare), FIRST);
  EXPECT_EQ(slotOf(&Node::hash), FIRST + 1);
  EXPECT_EQ(slotOf(&Node::copy), FIRST + 2);
}

// ---- calls that generated code may have --------------------------------------------------------

namespace {

// Counts what reaches the forms with a variable number of arguments.
class CountingAtom : public TestAtom {
 public:
  using Atom::rt_sync;
  using Atom::sync;
  using TestAtom::TestAtom;
  Port* sync(int n, ...) override {
    synced += n;
    return nullptr;
  }
  Port* rt_sync(int n, ...) override {
    timed += n;
    return nullptr;
  }

  int synced = 0;
  int timed = 0;
};

}  // namespace

// Each of these calls compiles, so that none has become ambiguous, and means what it meant.
TEST(CallTest, FormsWithAVariableNumberOfArgumentsAreStillTheOnesThatAreCalled) {
  System system;
  CountingAtom* atom = system.add(new CountingAtom("A", &system));
  Port* p = atom->port("p");
  Constraint* const untimed = nullptr;
  atom->sync(0);
  atom->rt_sync(0);
  atom->sync(0, nullptr, 0);
  atom->rt_sync(0, nullptr, 0, nullptr);
  EXPECT_EQ(atom->synced, 0);
  atom->sync(2, p, 0, static_cast<Port*>(nullptr), 0);
  atom->rt_sync(1, p, 0, untimed);
  atom->rt_sync(1, p, 0, nullptr);
  atom->sync('\1', p, 0);
  EXPECT_EQ(atom->synced, 3);
  EXPECT_EQ(atom->timed, 2);
}

TEST(CallTest, OfConnectorsInteractionsAndConstraintsMeanWhatTheyMeant) {
  System system;
  Port* p = system.atom("A")->port("p");
  Connector* none = system.add(new Connector("none", &system, false, 0));
  Connector* zero = system.add(new Connector("zero", &system, false, 0, nullptr));
  Connector* one = system.add(new Connector(nullptr, nullptr, false, 1, p));
  EXPECT_EQ(none->ports().count(), 0);
  EXPECT_EQ(zero->ports().count(), 0);
  EXPECT_EQ(one->ports().count(), 1);
  const BitVector port(0);
  EXPECT_EQ(Interaction::Create(one, 0), Interaction::Create(one, BitVector::EMPTY));
  EXPECT_EQ(Interaction::Create(one, 1, 0), Interaction::Create(one, port));
  EXPECT_EQ(Interaction::Create(one, 0, nullptr), Interaction::Create(one, {}));
  EXPECT_EQ(Interaction::Create(one, {port}), Interaction::Create(one, port));
  Atom::computePortConstraint(nullptr);
  Atom::computePortConstraint(0);
  Atom::computePortConstraint({});
  Constraint constraint(nullptr, 3, 5, LAZY);
  Constraint* list[] = {&constraint, nullptr};
  Atom::computePortConstraint(list);
  EXPECT_EQ(constraint[0].low(), 3);
}

// ---- hooks through their bases -----------------------------------------------------------------

namespace {

// What was called, in order.
class Noted {
 public:
  Events events;

 protected:
  bool note(const char* name) {
    events.push_back(name);
    return false;
  }
};

class HookedAtom : public Atom, public Noted {
 public:
  using Atom::Atom;
  bool isAtom() override { return note("isAtom"); }
  bool isCompound() override { return note("isCompound"); }
  void initialize() override { note("initialize"); }
  void initialize(LogicalClock*) override { note("initialize clock"); }
  Node* getState() override {
    note("getState");
    return nullptr;
  }
  void setState(Node*) override { note("setState"); }
  void execute(Port*) override { note("execute"); }
  Port* sync(int, ...) override {
    note("sync");
    return nullptr;
  }
  Port* rt_sync(int, ...) override {
    note("rt_sync");
    return nullptr;
  }
};

class HookedCompound : public Compound, public Noted {
 public:
  using Compound::Compound;
  bool isAtom() override { return note("isAtom"); }
  bool isCompound() override { return note("isCompound"); }
  void initialize() override { note("initialize"); }
  void initialize(LogicalClock*) override { note("initialize clock"); }
  Node* getState() override {
    note("getState");
    return nullptr;
  }
  void setState(Node*) override { note("setState"); }
};

class HookedConnector : public Connector, public Noted {
 public:
  using Connector::Connector;
  bool isBroadcast() override { return !note("isBroadcast"); }
  bool complete() override { return !note("complete"); }
  bool guard() override { return !note("guard"); }
  bool guard(const BitVector&) override { return !note("guard set"); }
  void up() override { note("up"); }
  void up(const BitVector&) override { note("up set"); }
  void dn() override { note("dn"); }
  void dn(const BitVector&) override { note("dn set"); }
  void define() override { note("define"); }
};

class HookedPriority : public Priority, public Noted {
 public:
  using Priority::Priority;
  void setup() override { note("setup"); }
  void setupPrioLevel() override { note("setupPrioLevel"); }
  bool guard() override { return note("guard"); }
};

// Ports and interactions differ in their constructors only.
template <class Base>
class Hooked : public Base {
 public:
  using Base::Base;
  char* label() override {
    note("label");
    return nullptr;
  }
  using Base::execute;
  using Base::next;
  void execute(const Vesk::Time&) override { note("execute"); }
  void actuate(const Vesk::Time&) override { note("actuate"); }
  Vesk::Time deadline(const Vesk::Time& t) const override {
    note("deadline");
    return t;
  }
  Vesk::Time next(const Vesk::Time& t) const override {
    note("next");
    return t;
  }
  GenericClock* displayClock() const override {
    note("displayClock");
    return nullptr;
  }
  mutable Events events;

 private:
  void note(const char* name) const { events.push_back(name); }
};

void callAll(Executable& executable) {
  const Executable& constant = executable;
  executable.label();
  executable.execute(Vesk::Time(1));
  executable.actuate(Vesk::Time(1));
  constant.deadline(Vesk::Time(1));
  constant.next(Vesk::Time(1));
  constant.displayClock();
}

const Events EXECUTABLE_HOOKS{"label", "execute", "actuate", "deadline", "next", "displayClock"};

}  // namespace

TEST(HookTest, OfAnAtomAreReachedThroughItsBases) {
  HookedAtom atom("A", nullptr);
  Component& component = atom;
  component.isAtom();
  component.isCompound();
  component.initialize();
  component.initialize(nullptr);
  component.getState();
  component.setState(nullptr);
  Atom& base = atom;
  base.execute(nullptr);
  base.sync(0);
  base.rt_sync(0);
  EXPECT_EQ(atom.events, (Events{"isAtom", "isCompound", "initialize", "initialize clock",
                                 "getState", "setState", "execute", "sync", "rt_sync"}));
}

TEST(HookTest, OfACompoundAreReachedThroughItsBase) {
  HookedCompound compound("C", nullptr);
  Component& component = compound;
  component.isAtom();
  component.isCompound();
  component.initialize();
  component.initialize(nullptr);
  component.getState();
  component.setState(nullptr);
  EXPECT_EQ(compound.events, (Events{"isAtom", "isCompound", "initialize", "initialize clock",
                                     "getState", "setState"}));
}

TEST(HookTest, OfAConnectorAreReachedThroughItsBase) {
  HookedConnector connector("k", nullptr, false);
  Connector& base = connector;
  base.isBroadcast();
  base.complete();
  base.guard();
  base.guard(BitVector::EMPTY);
  base.up();
  base.up(BitVector::EMPTY);
  base.dn();
  base.dn(BitVector::EMPTY);
  base.define();
  EXPECT_EQ(connector.events, (Events{"isBroadcast", "complete", "guard", "guard set", "up",
                                      "up set", "dn", "dn set", "define"}));
}

// The engine asks for sets through guard(set), also when a model overrides that.
TEST(HookTest, EvaluationAsksTheFormsThatTheModelOverrides) {
  HookedConnector connector("k", nullptr, false);
  connector.eval(false);
  EXPECT_EQ(connector.events, (Events{"isBroadcast", "guard set", "complete", "up"}));
}

TEST(HookTest, OfAPriorityAreReachedThroughItsBase) {
  HookedPriority priority(nullptr, nullptr, nullptr, Vesk::Time(0));
  Priority& base = priority;
  base.setup();
  base.setupPrioLevel();
  base.guard();
  EXPECT_EQ(priority.events, (Events{"setup", "setupPrioLevel", "guard"}));
}

TEST(HookTest, OfAPortAreReachedThroughItsBase) {
  HookedAtom atom("A", nullptr);
  Hooked<Port> port("p", &atom);
  callAll(port);
  EXPECT_EQ(port.events, EXECUTABLE_HOOKS);
}

TEST(HookTest, OfAnInteractionAreReachedThroughItsBase) {
  Connector connector("k", nullptr, false);
  Hooked<Interaction> interaction(&connector, BitVector::EMPTY);
  callAll(interaction);
  EXPECT_EQ(interaction.events, EXECUTABLE_HOOKS);
}

// ---- layout ------------------------------------------------------------------------------------

TEST(LayoutTest, FieldsStandInTheirFixedOrder) {
  System holder("C");
  Connector connector("k", &holder, false);
  const PortLayout port("p", &connector);
  const InteractionLayout interaction(&connector, BitVector::EMPTY);
  const ConnectorLayout layout("k", &holder, false);
  const AtomLayout atom("A", &holder);
  const CompoundLayout compound("C", &holder);
  expectRising(port.places());
  expectRising(interaction.places());
  expectRising(layout.places());
  expectRising(atom.places());
  expectRising(compound.places());
}

// ---- compile-time facts ------------------------------------------------------------------------

namespace {

// Compiles when one of the forms of an operation is exactly this one.
template <class Form>
constexpr bool isForm(Form) {
  return true;
}

template <class T>
constexpr bool COPYABLE = std::is_copy_constructible_v<T> || std::is_copy_assignable_v<T> ||
                          std::is_move_constructible_v<T> || std::is_move_assignable_v<T>;

static_assert(!COPYABLE<Port> && !COPYABLE<Connector> && !COPYABLE<Priority>);
static_assert(!COPYABLE<Compound> && !COPYABLE<TestAtom> && !COPYABLE<CtrlState>);
static_assert(!COPYABLE<Array<Port, true>> && !COPYABLE<Array<Port, false>>);
static_assert(!COPYABLE<VeskHeap<Connector>> && !COPYABLE<Scheduler>);
static_assert(std::is_copy_constructible_v<Interaction> && !std::is_copy_assignable_v<Interaction>);

static_assert(std::is_abstract_v<Executable> && std::is_abstract_v<Component> &&
              std::is_abstract_v<Atom>);
static_assert(!std::is_abstract_v<Compound> && !std::is_abstract_v<Connector> &&
              !std::is_abstract_v<Priority> && !std::is_abstract_v<Port> &&
              !std::is_abstract_v<Interaction>);

static_assert(std::has_virtual_destructor_v<Executable> && std::has_virtual_destructor_v<Port> &&
              std::has_virtual_destructor_v<Interaction>);
static_assert(std::has_virtual_destructor_v<Component> && std::has_virtual_destructor_v<Atom> &&
              std::has_virtual_destructor_v<Compound> && std::has_virtual_destructor_v<Connector> &&
              std::has_virtual_destructor_v<Priority>);
static_assert(std::has_virtual_destructor_v<VeskHeap<Connector>>);
static_assert(!std::is_polymorphic_v<CtrlState> && !std::is_polymorphic_v<BitVector> &&
              !std::is_polymorphic_v<Array<Port, true>>);

static_assert(std::is_base_of_v<Executable, Port> && std::is_base_of_v<Executable, Interaction> &&
              std::is_base_of_v<Component, Atom> && std::is_base_of_v<Component, Compound>);

// Constness of the hooks: const where a model overrides them so, and nowhere else.
static_assert(std::is_same_v<decltype(&Executable::label), char* (Executable::*)()>);
static_assert(
    std::is_same_v<decltype(&Executable::execute), void (Executable::*)(const Vesk::Time&)>);
static_assert(
    std::is_same_v<decltype(&Executable::actuate), void (Executable::*)(const Vesk::Time&)>);
static_assert(std::is_same_v<decltype(&Executable::deadline),
                             Vesk::Time (Executable::*)(const Vesk::Time&) const>);
static_assert(std::is_same_v<decltype(&Executable::next),
                             Vesk::Time (Executable::*)(const Vesk::Time&) const>);
static_assert(
    std::is_same_v<decltype(&Executable::displayClock), GenericClock* (Executable::*)() const>);
static_assert(std::is_same_v<decltype(&Executable::dominate),
                             void (Executable::*)(Executable&, const Vesk::Time&)>);
static_assert(std::is_same_v<decltype(&Connector::isBroadcast), bool (Connector::*)()>);
static_assert(std::is_same_v<decltype(&Connector::complete), bool (Connector::*)()>);
static_assert(std::is_same_v<decltype(&Connector::define), void (Connector::*)()>);
static_assert(std::is_same_v<decltype(&Connector::maximal), bool (Connector::*)() const>);
static_assert(std::is_same_v<decltype(&Connector::evaluate),
                             Connector* (Connector::*)(Connector*, bool, bool)>);
static_assert(std::is_same_v<decltype(&Connector::eval), void (Connector::*)(bool)>);
static_assert(std::is_same_v<decltype(&Connector::createFeasibleInters), void (Connector::*)()>);
static_assert(
    std::is_same_v<decltype(&Connector::createFeasibleBroadcast),
                   Interaction* (Connector::*)(BitVector&, BitVector&, int, Interaction*)>);
static_assert(std::is_same_v<decltype(&Connector::computexPort), void (Connector::*)()>);
static_assert(std::is_same_v<decltype(&Connector::setVarPorts), void (Connector::*)(int, va_list)>);
static_assert(
    std::is_same_v<decltype(&Connector::rt_label), char* (Connector::*)(const BitVector&)>);
static_assert(std::is_same_v<decltype(&Connector::label), char* (Connector::*)()>);
static_assert(std::is_same_v<decltype(Connector::LABEL), char[1024]>);
static_assert(std::is_same_v<decltype(&Priority::setup), void (Priority::*)()>);
static_assert(std::is_same_v<decltype(&Priority::setupPrioLevel), void (Priority::*)()>);
static_assert(std::is_same_v<decltype(&Priority::guard), bool (Priority::*)()>);
static_assert(
    std::is_same_v<decltype(&Priority::apply), void (Priority::*)(Executable&, Executable&)>);
static_assert(std::is_constructible_v<Priority, Compound*, Interaction*, Interaction*, Vesk::Time>);
static_assert(std::is_same_v<decltype(&Component::isAtom), bool (Component::*)()>);
static_assert(std::is_same_v<decltype(&Component::isCompound), bool (Component::*)()>);
static_assert(std::is_same_v<decltype(&Component::getState), Node* (Component::*)()>);
static_assert(std::is_same_v<decltype(&Component::setState), void (Component::*)(Node*)>);
static_assert(std::is_same_v<decltype(&Atom::execute), void (Atom::*)(Port*)>);
static_assert(isForm<Port* (Atom::*)(int, ...)>(&Atom::sync));
static_assert(isForm<Port* (Atom::*)(int, ...)>(&Atom::rt_sync));
static_assert(std::is_same_v<decltype(&Atom::notifyDependentConn), void (Atom::*)()>);
static_assert(std::is_same_v<decltype(&Atom::resetLink), void (Atom::*)()>);
static_assert(isForm<void (*)(Constraint**)>(&Atom::computePortConstraint));
static_assert(std::is_same_v<decltype(&Atom::applyPriority),
                             void (Atom::*)(Port*, Constraint*, Port*, Constraint*)>);
static_assert(std::is_same_v<decltype(Atom::VESK_STATE), CtrlState*>);
static_assert(std::is_same_v<decltype(Atom::mScheduler), Scheduler*>);
static_assert(std::is_same_v<decltype(&Compound::Create), Compound* (*)(int, char**)>);
static_assert(std::is_same_v<decltype(&Compound::setup), void (Compound::*)(const Scheduler*)>);
static_assert(std::is_same_v<decltype(&Compound::setStaticPrioLevel), void (Compound::*)()>);
static_assert(std::is_same_v<decltype(&Compound::initPrioHeap), void (Compound::*)(Scheduler*)>);
static_assert(std::is_same_v<decltype(&Compound::activate), Connector* (Compound::*)(bool)>);
static_assert(std::is_same_v<decltype(&Compound::subactivate), Connector* (Compound::*)(bool)>);
static_assert(std::is_constructible_v<Compound, const char*, const Compound*>);
static_assert(std::is_constructible_v<CtrlState, const char*>);
static_assert(std::is_constructible_v<Port, const char*, const Atom*> &&
              std::is_constructible_v<Port, const char*, const Connector*>);
static_assert(std::is_constructible_v<Connector, const char*, const Compound*, bool> &&
              std::is_constructible_v<Connector, const char*, const Compound*, bool, int, Port*>);
static_assert(std::is_constructible_v<Interaction, const Connector*, const BitVector&>);
static_assert(std::is_same_v<decltype(Interaction::TABLE), HashTable<Interaction>>);
static_assert(std::is_same_v<decltype(&Interaction::copy), Interaction* (Interaction::*)() const>);
static_assert(
    std::is_same_v<decltype(&Interaction::CreateRealTime),
                   Interaction* (*)(const Connector*, const BitVector&, const BitVector&)>);
// A text that is handed out can be given to code that takes it as char*.
static_assert(std::is_same_v<decltype(&Component::name), char* (Component::*)() const> &&
              std::is_same_v<decltype(&Port::name), char* (Port::*)() const> &&
              std::is_same_v<decltype(&Connector::name), char* (Connector::*)() const> &&
              std::is_same_v<decltype(&CtrlState::name), char* (CtrlState::*)() const> &&
              std::is_same_v<decltype(&GenericClock::name), char* (GenericClock::*)() const>);
static_assert(std::is_same_v<decltype(global_error), bool> &&
              std::is_same_v<decltype(global_prune), bool> &&
              std::is_same_v<decltype(faulty_leaf), Leaf*>);

}  // namespace
