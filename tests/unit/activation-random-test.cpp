// Activation of random systems, step by step, against a literal walk of the tree: the same calls of
// hooks in the same order, the same lists and the same interactions. The systems are large enough
// for the engine to visit only what has changed.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "draw.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"
#include "literal-activation.hpp"

using namespace kit;

using Vesk::Time;

namespace {

#ifdef VESK_LARGE_RUNS
constexpr int SYSTEMS = 500;  // in each of the shards
#else
constexpr int SYSTEMS = 10;
#endif
constexpr int SHARDS = 20;
constexpr int STEPS = 20;
constexpr int IDLE_PARTS = 40;  // in pairs of an atom and a connector

// How often the check of every activation passes by an atom.
#ifdef VESK_VALIDATE
constexpr int CHECKS = 1;
#else
constexpr int CHECKS = 0;
#endif

// ---- Random systems ----------------------------------------------------------------------------

// An atom that never moves and tells when a walk passes by.
class Idle : public TestAtom {
 public:
  Idle(const char* name, const Compound* holder, int& walks)
      : TestAtom(name, holder), mWalks(walks) {}
  bool isAtom() override {
    ++mWalks;
    return true;
  }

 private:
  int& mWalks;
};

// Two models of the same seed behave alike.
class Model {
 public:
  explicit Model(unsigned int seed)
      : platform("platform"), logical("logical", platform), root("R"), mDraw(seed) {
    mTimed = mDraw.coin();
    calm = mDraw.coin();
    mInternals = mDraw.below(4) == 0;
    mCompounds.push_back(&root);
    const int compounds = mDraw.below(4);
    for (int i = 0; i < compounds; ++i) mCompounds.push_back(addCompound());
    const int atoms = mDraw.between(3, 9);
    for (int i = 0; i < atoms; ++i) addAtom();
    const int connectors = mDraw.between(2, 14);
    addIdleParts(mDraw.below(IDLE_PARTS));
    for (int i = 0; i < connectors; ++i) addConnector();
    addIdleParts(IDLE_PARTS - idle);
    if (mDraw.coin()) addPriorities();
    root.setup(nullptr);
    root.initialize(&logical);
  }

  // What a model, or somebody who uses it, may do between two steps.
  void disturb() {
    Connector* some = mConnectors[static_cast<std::size_t>(below(mConnectors))];
    switch (mDraw.below(calm ? 60 : 20)) {
      case 0:
        return some->setEvaluated(false);
      case 1:
        return some->resetLink();
      case 2:
        return some->setRecomputexPort(true);
      case 3:
        return some->eval(mDraw.coin());
      case 4:
        if (!calm) some->evaluate(nullptr, some->isSubconn(), true);
        return;
      case 5:
        if (calm) return;
        addAtom()->initialize(&logical);
        return addConnector();
      case 6:
        if (mInternals && !calm)
          mAtoms[static_cast<std::size_t>(below(mAtoms))]->ports()[0]->setInternal();
        return;
      default:
        return;
    }
  }

  System& someCompound() { return *mCompounds[static_cast<std::size_t>(below(mCompounds))]; }
  int chance(int n) { return mDraw.below(n); }

  // Fires one of what can fire; nothing when there is nothing.
  void fire(Connector* legals) {
    Executables all;
    all.initialize(legals, root.internals());
    std::vector<Executable*> possible;
    for (auto it = all.begin(0); it != all.end(0); ++it) {
      if ((*it)->next(logical.time()) != Time::MAX) possible.push_back(*it);
    }
    if (possible.empty()) return;
    Executable* chosen = possible[static_cast<std::size_t>(below(possible))];
    const Time when = chosen->next(logical.time());
    logical.wait(when);
    events.push_back(std::string("fire ") + chosen->label());
    chosen->actuate(when);
    chosen->execute(when);
  }

  // Everything that activation leaves.
  std::string picture(Connector* legals) {
    std::string result = "legal " + names(legals);
    for (System* compound : mCompounds) {
      result += "\ninternal";
      for (Port* port : listOf(compound->internals())) result += std::string(" ") + port->label();
    }
    for (Connector* connector : mConnectors) result += "\n" + picture(*connector);
    return result;
  }

  SimuClock platform;
  LogicalClock logical;
  Events events;
  bool calm;  // nobody adds parts or walks the connectors in another way
  int idle = 0;
  int walks = 0;  // how often a walk has passed by an idle atom
  System root;

 private:
  template <class T>
  int below(const std::vector<T>& list) {
    return mDraw.below(static_cast<int>(list.size()));
  }

  static std::string picture(Connector& connector) {
    std::string result = std::string(connector.name()) + (connector.legal() ? " legal" : "") +
                         (connector.evaluated() ? " evaluated" : "") +
                         (connector.recomputexPort() ? " recompute" : "") + " before " +
                         (connector.next() != nullptr ? connector.next()->name() : "none");
    for (Interaction* feasible : listOf(connector.feasibleInter())) {
      result += " " + text(feasible->synced()) + (feasible->dominated() ? "dominated" : "") +
                spans(feasible->constraint());
    }
    if (connector.xPort() == nullptr) return result;
    return result + (connector.xPort()->synced() ? " exports " : " keeps ") +
           spans(connector.xPort()->constraint());
  }

  System* addCompound() {
    System* made = someCompound().compound(("C" + std::to_string(mCompounds.size())).c_str());
    return made;
  }

  TestAtom* addAtom() {
    System& holder = someCompound();
    TestAtom* made = holder.atom(("A" + std::to_string(mAtoms.size())).c_str());
    made->events = &events;
    mAtoms.push_back(made);
    const int states = mDraw.between(2, 4);
    const int ports = mDraw.between(1, 3);
    for (int i = 0; i < ports; ++i) {
      const int gap = mDraw.below(states);
      addPort(*made, "p" + std::to_string(i),
              [made, states, gap] { return made->fired % states != gap; });
    }
    return made;
  }

  void addPort(TestAtom& atom, const std::string& name, const std::function<bool()>& enabled) {
    Port* port;
    if (mTimed && mDraw.coin()) {
      const int low = mDraw.below(6);
      const Urgency urgency = mDraw.coin() ? LAZY : EAGER;
      port = atom.timedRule(name.c_str(), within(low, low + mDraw.below(9), urgency), enabled);
    } else {
      port = atom.rule(name.c_str(), enabled);
    }
    if (mTimed && mInternals && mDraw.below(3) == 0) {
      port->setInternal();
    } else {
      mPorts.push_back(port);
    }
  }

  // Ports of connectors that are there already may be exported, and used once or more.
  void addConnector() {
    if (mPorts.empty()) return;
    std::vector<Port*> ports;
    const int count = mDraw.between(1, 3);
    for (int i = 0; i < count; ++i) {
      Port* port = mPorts[static_cast<std::size_t>(below(mPorts))];
      bool taken = false;
      for (const Port* other : ports) {
        taken = taken || other == port || port->connHolder() != nullptr ||
                other->connHolder() != nullptr || other->atomHolder() == port->atomHolder();
      }
      if (!taken) ports.push_back(port);
    }
    const std::string name = "k" + std::to_string(mConnectors.size());
    const Kind kind = mDraw.coin() ? RENDEZVOUS : BROADCAST;
    const bool exports = mDraw.below(3) == 0;
    System& holder = someCompound();
    TestConnector* made =
        exports ? holder.group(name, ports, kind) : holder.join(name, ports, kind);
    if (exports) mPorts.push_back(made->xPort());
    made->events = &events;
    TestAtom* condition = mAtoms[static_cast<std::size_t>(below(mAtoms))];
    const int often = mDraw.between(2, 5);
    made->onGuard = [condition, often] { return condition->fired % often != 0; };
    if (mDraw.coin()) made->onGuard = nullptr;
    mConnectors.push_back(made);
  }

  void addIdleParts(int pairs) {
    for (int i = 0; i < pairs; ++i, ++idle) {
      System& holder = someCompound();
      auto* atom = new Idle("I", &holder, walks);
      holder.add(atom);
      Port* port = mDraw.coin() ? atom->enabled("e") : atom->port("d");
      TestConnector* made = holder.rendezvous(("i" + std::to_string(idle)).c_str(), port);
      made->events = &events;
      mConnectors.push_back(made);
    }
  }

  Interaction* someInteraction() {
    TestConnector* connector = mConnectors[static_cast<std::size_t>(below(mConnectors))];
    BitVector set;
    for (int i = 0; i < connector->ports().count(); ++i) {
      if (mDraw.coin()) set.add(i);
    }
    return Interaction::Create(connector, set);
  }

  // A connector that is used in its own compound cannot take part in a priority.
  void addPriorities() {
    const int count = mDraw.between(1, 4);
    for (int i = 0; i < count; ++i) {
      Interaction* low = someInteraction();
      Interaction* high = mDraw.below(4) == 0 ? nullptr : someInteraction();
      if (low->connector()->isSubconnSameHolder() ||
          (high != nullptr &&
           (high->connector()->isSubconnSameHolder() || high->connector() == low->connector()))) {
        continue;
      }
      Compound* holder = mDraw.below(6) != 0 ? low->connector()->holder() : &someCompound();
      auto* made = new TestPriority(("y" + std::to_string(i)).c_str(), holder, low, high);
      made->events = &events;
      TestAtom* condition = mAtoms[static_cast<std::size_t>(below(mAtoms))];
      if (mDraw.coin()) made->onGuard = [condition] { return condition->fired % 2 == 0; };
      holder->priorities().add(made);
    }
  }

  Draw mDraw;
  bool mTimed;
  bool mInternals;
  std::vector<System*> mCompounds;
  std::vector<TestAtom*> mAtoms;
  std::vector<TestConnector*> mConnectors;
  std::vector<Port*> mPorts;
};

// What the steps of the calm systems have shown.
struct Tally {
  int activations = 0;
  int walks = 0;
};

// False when the two have differed.
bool step(Model& engine, Model& literal, Tally& tally) {
  engine.events.clear();
  literal.events.clear();
  engine.disturb();
  literal.disturb();
  if (!engine.calm && engine.chance(12) == 0) engine.someCompound().activate(true);
  if (!literal.calm && literal.chance(12) == 0) literal::activate(literal.someCompound(), true);
  const bool incremental = engine.chance(12) != 0 || engine.calm;
  literal.chance(12);
  engine.walks = 0;
  Connector* found = engine.root.activate(incremental);
  Connector* expected = literal::activate(literal.root, incremental);
  if (engine.calm) ++tally.activations;
  if (engine.calm && engine.walks > CHECKS * engine.idle) ++tally.walks;
  EXPECT_EQ(engine.events, literal.events);
  EXPECT_EQ(engine.picture(found), literal.picture(expected));
  engine.fire(found);
  literal.fire(expected);
  EXPECT_EQ(engine.events, literal.events);
  return !testing::Test::HasFailure();
}

class ActivationRandomTest : public testing::TestWithParam<int> {};

}  // namespace

TEST_P(ActivationRandomTest, EveryStepIsThatOfTheLiteralWalk) {
  Tally tally;
  for (int i = 0; i < SYSTEMS; ++i) {
    const auto seed = static_cast<unsigned int>(GetParam() * SYSTEMS + i);
    Model engine(seed);
    Model literal(seed);
    for (int taken = 0; taken < STEPS; ++taken) {
      ASSERT_TRUE(step(engine, literal, tally)) << "seed " << seed << ", step " << taken;
    }
  }
  EXPECT_LT(4 * tally.walks, tally.activations) << "most steps visit only what has changed";
}

INSTANTIATE_TEST_SUITE_P(Shard, ActivationRandomTest, testing::Range(0, SHARDS));
