// Timed runs of random systems: by the executers of the engine, and by classes of the same policies
// that a program has derived, which have all executables walked in every step. Calls of hooks,
// marks and traces are the same.

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "dialogue.hpp"
#include "draw.hpp"
#include "kit/atoms.hpp"
#include "kit/connectors.hpp"
#include "kit/lists.hpp"
#include "kit/systems.hpp"

using namespace kit;

using Vesk::Time;

namespace {

#ifdef VESK_LARGE_RUNS
constexpr int SYSTEMS = 100;  // in each of the shards
#else
constexpr int SYSTEMS = 15;
#endif
constexpr int SHARDS = 20;
constexpr unsigned int STEPS = 60;
constexpr int IDLE_PARTS = 40;  // so that the engine does not walk because there are few

Time ms(int milliseconds) {
  return Time(1000 * milliseconds);
}

// Time that passes by itself now and then, so that a run has to catch up.
class RestlessClock : public PlatformClock {
 public:
  RestlessClock(unsigned int seed, int haste) : PlatformClock("p"), mDraw(seed), mHaste(haste) {}
  Time time() const override {
    if (mHaste > 0 && mDraw.below(6) == 0) mTime = mTime + ms(mDraw.below(mHaste));
    return mTime;
  }
  void wait(const Time& t) override {
    if (t > mTime) mTime = t;
  }

 private:
  mutable Draw mDraw;
  int mHaste;
  mutable Time mTime;
};

// A port that answers by itself.
class OddPort : public Port {
 public:
  using Port::Port;
  Time next(const Time& t) const override { return Port::next(t); }
};

// What the atoms of a system share.
struct World {
  explicit World(unsigned int seed) : draw(seed) {}

  Draw draw;
  Events events;
  std::function<std::string()> marks;
  std::vector<Clock*> clocks;
};

// An atom whose ports are enabled by turns, most of them within times since its last move.
class Worker : public Atom {
 public:
  Worker(const char* name, const Compound* holder, World& world, bool timed)
      : Atom(name, holder),
        mWorld(world),
        mTimed(timed),
        mDraw(static_cast<unsigned int>(world.draw.below(1000000))) {}
  void addRule(Port* port) {
    addPort(port);
    mTurns.push_back(mWorld.draw.between(1, 4));
    mKinds.push_back(mWorld.draw.below(100));
  }
  using Atom::initialize;
  void initialize(LogicalClock* logical) override {
    mOwn = new Clock("own", logical);
    mClocks.add(mOwn);
    mWorld.clocks.push_back(mOwn);
    for (std::size_t i = 0; i < mTurns.size(); ++i) addConstraint(i, logical);
    announce();
  }
  void execute(Port* port) override {
    mWorld.events.push_back(std::string("execute ") + port->label() + mWorld.marks());
    ++mFired;
    const int what = mDraw.below(40);
    if (what < 30) mOwn->reset();
    if (what == 31) mOwn->stop();
    if (what >= 32) mOwn->go();
    if (what == 39)
      mWorld.clocks[static_cast<std::size_t>(mDraw.below(static_cast<int>(mWorld.clocks.size())))]
          ->reset();
    announce();
  }
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}

 private:
  void addConstraint(std::size_t i, LogicalClock* logical) {
    Port* port = mPorts[static_cast<int>(i)];
    const int kind = mKinds[i];
    const GenericClock* clock = mOwn;
    if (kind < 4) clock = nullptr;
    if (kind >= 4 && kind < 8) clock = logical;
    if (kind >= 8 && kind < 12) clock = mWorld.clocks[0];
    mUsed.push_back(nullptr);
    if (!port->isInternal() && (!mTimed || mDraw.below(3) == 0)) return;
    auto* constraint = new Constraint(clock, 0, 0, LAZY);
    constraint->clear();
    Time low = ms(mDraw.below(4) == 0 ? 0 : mDraw.below(40));
    if (mDraw.below(12) == 0) low = Time::MIN;
    const int count = mDraw.below(3) == 0 ? mDraw.between(2, 3) : 1;
    for (int n = 0; n < count; ++n) {
      const bool last = n + 1 == count && mDraw.below(3) == 0;
      const Time high =
          last ? Time::MAX : (low == Time::MIN ? ms(3) : low + ms(mDraw.below(3) * 7));
      const Urgency urgency = mDraw.below(3) == 0 ? EAGER : mDraw.coin() ? DELAYABLE : LAZY;
      *constraint |= Constraint(clock, low, high, urgency);
      low = high + ms(mDraw.between(2, 20));
    }
    mConstraints.add(constraint);
    mUsed.back() = constraint;
  }
  void announce() {
    for (Port* port : elements(mPorts)) {
      port->setSynced(false);
      port->setDominated(false);
    }
    for (std::size_t i = 0; i < mTurns.size(); ++i) {
      const bool enabled = mTurns[i] == 1 || mFired % mTurns[i] != 0;
      rt_sync(1, mPorts[static_cast<int>(i)], int(enabled), mUsed[i]);
    }
  }

  World& mWorld;
  bool mTimed;
  Draw mDraw;
  Clock* mOwn = nullptr;
  std::vector<int> mTurns;
  std::vector<int> mKinds;
  std::vector<Constraint*> mUsed;
  int mFired = 0;
};

// Two models of the same seed behave alike.
class Model {
 public:
  Model(unsigned int seed, int haste)
      : mWorld(seed), platform(seed, haste), logical("l", platform), root("R") {
    mWorld.marks = [this] { return marks(); };
    mTimed = draw().below(4) != 0;
    mInternals = draw().coin();
    mOdd = draw().below(6) == 0;
    mCompounds.push_back(&root);
    for (int i = draw().below(3); i > 0; --i) mCompounds.push_back(someCompound().compound("C"));
    for (int i = draw().between(3, 10); i > 0; --i) addWorker(draw().between(1, 3));
    addIdleParts();
    for (int i = draw().between(2, 12); i > 0; --i) addConnector();
    if (draw().coin()) addPriorities();
  }

  std::string marks() {
    std::string text;
    for (TestConnector* connector : mConnectors) {
      for (Interaction* feasible : listOf(connector->feasibleInter())) {
        text += " " + std::to_string(feasible->mark());
      }
    }
    for (Port* port : mInternalPorts) text += " " + std::to_string(port->mark());
    return text;
  }
  const Events& events() const { return mWorld.events; }

 private:
  World mWorld;

 public:
  RestlessClock platform;
  LogicalClock logical;
  System root;

 private:
  Draw& draw() { return mWorld.draw; }
  template <class T>
  T& some(std::vector<T>& list) {
    return list[static_cast<std::size_t>(draw().below(static_cast<int>(list.size())))];
  }
  System& someCompound() { return *some(mCompounds); }

  Worker* addWorker(int ports) {
    System& holder = someCompound();
    Worker* made =
        holder.add(new Worker(("A" + std::to_string(mNumber++)).c_str(), &holder, mWorld, mTimed));
    for (int i = 0; i < ports; ++i) {
      const std::string name = "p" + std::to_string(i);
      const bool odd = mOdd && draw().below(10) == 0;
      Port* port = odd ? new OddPort(name.c_str(), made) : new Port(name.c_str(), made);
      if (mTimed && mInternals && draw().coin()) {
        port->setInternal();
        mInternalPorts.push_back(port);
      } else {
        mPorts.push_back(port);
      }
      made->addRule(port);
    }
    return made;
  }

  void addIdleParts() {
    std::vector<Port*> none;
    for (int i = 0; i < IDLE_PARTS; ++i) {
      System& holder = someCompound();
      TestAtom* atom = holder.atom("I");
      mConnectors.push_back(holder.rendezvous("i", atom->port("d")));
    }
  }

  void addConnector() {
    std::vector<Port*> ports;
    for (int i = draw().between(1, 3); i > 0 && !mPorts.empty(); --i) {
      Port* port = some(mPorts);
      bool taken = false;
      for (const Port* other : ports) {
        taken = taken || other == port || port->connHolder() != nullptr ||
                other->connHolder() != nullptr || other->atomHolder() == port->atomHolder();
      }
      if (!taken) ports.push_back(port);
    }
    const std::string name = "k" + std::to_string(mNumber++);
    const Kind kind = draw().below(3) != 0 ? RENDEZVOUS : BROADCAST;
    System& holder = someCompound();
    const bool exports = draw().below(4) == 0;
    TestConnector* made =
        exports ? holder.group(name, ports, kind) : holder.join(name, ports, kind);
    if (exports) mPorts.push_back(made->xPort());
    made->events = &mWorld.events;
    mConnectors.push_back(made);
  }

  void addPriorities() {
    for (int i = draw().between(1, 4); i > 0; --i) {
      Connector* low = some(mConnectors);
      Connector* high = draw().below(4) == 0 ? nullptr : some(mConnectors);
      if (low->isSubconnSameHolder() || low == high) continue;
      if (high != nullptr && high->isSubconnSameHolder()) continue;
      Interaction* loser = Interaction::Create(low, BitVector::below(draw().below(2)));
      Interaction* winner = high != nullptr ? Interaction::Create(high, BitVector::EMPTY) : nullptr;
      low->holder()->priorities().add(
          new TestPriority("y", low->holder(), loser, winner, ms(draw().below(3))));
    }
  }

  bool mTimed;
  bool mInternals;
  bool mOdd;
  int mNumber = 0;
  std::vector<System*> mCompounds;
  std::vector<TestConnector*> mConnectors;
  std::vector<Port*> mPorts;
  std::vector<Port*> mInternalPorts;
};

// A class of a program: the engine knows nothing about it.
template <class Policy>
class Walking : public Policy {
 public:
  using Policy::Policy;
};

// Filters of a program, which do what those of the engine do.
class OwnPolicy : public EDFScheduler {};
class OwnSemantics : public StandardSemantics {};

// The last arguments of a policy.
template <class Policy>
std::unique_ptr<Policy> make(Model& model, Filter& semantics, Filter& scheduler,
                             std::ostream& trace, unsigned int seed) {
  if constexpr (std::is_base_of_v<InteractiveExecuter, Policy>) {
    return std::make_unique<Policy>(model.root, model.logical, semantics, scheduler, false, STEPS,
                                    trace, ms(40));
  } else {
    return std::make_unique<Policy>(model.root, model.logical, semantics, scheduler, false, STEPS,
                                    trace, static_cast<int>(seed), ms(40));
  }
}

// The run, as text.
template <class Policy, class Semantics = StandardSemantics>
std::string run(Model& model, const Filter& scheduler, unsigned int seed) {
  std::ostringstream trace;
  std::ostringstream dialogue;
  Semantics semantics;
  const auto executer = make<Policy>(model, semantics, const_cast<Filter&>(scheduler), trace, seed);
  SuitableAnswers answers(seed, model.logical, dialogue);
  const Redirected console(&answers, dialogue.rdbuf());
  executer->initialize();
  executer->run();
  return trace.str() + dialogue.str() + model.marks();
}

template <class Policy>
void compare(const Filter& scheduler, unsigned int seed) {
  const int haste = seed % 3 == 0 ? 12 : 0;
  Model quick(seed, haste);
  Model walked(seed, haste);
  const std::string trace = run<Policy>(quick, scheduler, seed);
  ASSERT_EQ(trace, run<Walking<Policy>>(walked, scheduler, seed)) << "seed " << seed;
  ASSERT_EQ(quick.events(), walked.events()) << "seed " << seed << "\n" << trace;
}

class SelectionRandomTest : public testing::TestWithParam<int> {
 protected:
  template <class Policy>
  void compareAll(const Filter& scheduler) {
    for (int i = 0; i < SYSTEMS && !HasFatalFailure(); ++i) {
      compare<Policy>(scheduler, static_cast<unsigned int>(GetParam() * SYSTEMS + i));
    }
  }
};

}  // namespace

TEST_P(SelectionRandomTest, EarliestDeadlineFirst) {
  compareAll<StandardExecuter>(EDFScheduler());
}

TEST_P(SelectionRandomTest, EarliestDeadlineFirstWithMargin) {
  compareAll<StandardExecuter>(EDFdeltaScheduler(ms(5)));
}

TEST_P(SelectionRandomTest, WithoutScheduler) {
  compareAll<StandardExecuter>(EmptyScheduler());
}

TEST_P(SelectionRandomTest, ARandomTime) {
  compareAll<RandomExecuter>(EmptyScheduler());
}

TEST_P(SelectionRandomTest, ARandomTimeWithEarliestDeadlineFirst) {
  compareAll<RandomExecuter>(EDFScheduler());
}

TEST_P(SelectionRandomTest, Answers) {
  compareAll<InteractiveExecuter>(EmptyScheduler());
}

TEST_P(SelectionRandomTest, AnswersWithEarliestDeadlineFirst) {
  compareAll<InteractiveExecuter>(EDFScheduler());
}

INSTANTIATE_TEST_SUITE_P(Shard, SelectionRandomTest, testing::Range(0, SHARDS));

// What is not known to the engine, or has another level or margin, is asked in every step.
TEST(SelectionFiltersTest, OtherFiltersAreAsked) {
  for (unsigned int seed = 0; seed < SYSTEMS && !HasFatalFailure(); ++seed) {
    compare<StandardExecuter>(OwnPolicy(), seed);
    compare<StandardExecuter>(StandardSemantics(), seed);
    compare<StandardExecuter>(EDFdeltaScheduler(ms(-1)), seed);
    compare<StandardExecuter>(EDFdeltaScheduler(Time::MAX), seed);
    Model own(seed, 0);
    Model plain(seed, 0);
    const EDFScheduler scheduler;
    ASSERT_EQ((run<StandardExecuter, OwnSemantics>(own, scheduler, seed)),
              run<StandardExecuter>(plain, scheduler, seed));
    ASSERT_EQ(own.events(), plain.events()) << seed;
  }
}
