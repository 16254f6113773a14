// Model code that derives from a class of the engine reaches every data member by its name: each
// test writes the fields of one class and reads them back through the public operations.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <type_traits>

#include "kit/clocks.hpp"

using namespace kit;

using Vesk::Time;

namespace {

// A field of exactly this type, which can be written.
template <class Type, class Field>
Field& field(Field& named) {
  static_assert(std::is_same_v<Type, Field>, "the type is fixed, generated code relies on it");
  return named;
}

int number;

// Memory that nothing is built in: pointers into it are never followed.
alignas(16) char place[2][8192];
template <class Type>
Type* somewhere() {
  return reinterpret_cast<Type*>(place[0]);
}
template <class Type>
Type* elsewhere() {
  return reinterpret_cast<Type*>(place[1]);
}

class StillAtom : public Atom {
 public:
  using Atom::Atom;
  using Atom::initialize;
  void execute(Port*) override {}
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}
};

}  // namespace

// ---- Values and containers ---------------------------------------------------------------------

TEST(FieldsTest, OfATime) {
  struct Open : Time {
    using Time::Time;
    void fill() { field<long long>(mTime) = 5000000000; }
  } time;
  time.fill();
  EXPECT_EQ(time.microseconds(), 5000000000);
}

TEST(FieldsTest, OfABitVector) {
  struct Open : BitVector {
    void fill() { field<unsigned int[4]>(m_data)[1] = 4; }
  } set;
  set.fill();
  EXPECT_EQ(set.in(34), 1);
}

TEST(FieldsTest, OfAnArray) {
  struct Open : Array<int, false> {
    Open() : Array(4) {}
    void fill() {
      EXPECT_EQ(field<int>(m_size), 4);
      field<int**>(m_elem)[0] = &number;
      field<int>(m_count) = 1;
    }
  } array;
  array.fill();
  EXPECT_EQ(array.count(), 1);
  EXPECT_EQ(array[0], &number);
}

TEST(FieldsTest, OfAHeap) {
  struct Open : VeskHeap<Connector> {
    void fill() {
      EXPECT_EQ(field<int>(m_length), 4);
      field<Connector**>(m_objects)[1] = somewhere<Connector>();
      field<int>(m_count) = 1;
    }
  } heap;
  heap.fill();
  EXPECT_EQ(heap.getCount(), 1);
  EXPECT_EQ(heap.get(), somewhere<Connector>());
}

// ---- Components --------------------------------------------------------------------------------

TEST(FieldsTest, OfAControlState) {
  struct Open : CtrlState {
    Open() : CtrlState("old") {}
    void fill() { field<char*>(mName)[0] = 'c'; }
  } state;
  state.fill();
  EXPECT_STREQ(state.name(), "cld");
}

TEST(FieldsTest, OfAnAtom) {
  struct Open : StillAtom {
    Open() : StillAtom("A", nullptr) {}
    void fill() {
      field<char*>(mName)[0] = 'B';
      field<Compound*>(mHolder) = somewhere<Compound>();
      field<GenericClock*>(mClock) = somewhere<GenericClock>();
      EXPECT_EQ(&(field<Array<Port, true>>(mPorts)), &ports());
      EXPECT_EQ(&(field<Array<Clock, true>>(mClocks)), &clocks());
      EXPECT_EQ(&(field<Array<Constraint, true>>(mConstraints)), &constraints());
      EXPECT_EQ(&(field<Array<CtrlState, true>>(mCtrlStates)), &ctrlStates());
      EXPECT_EQ(&(field<Array<Connector, false>>(mLinks)), &links());
    }
  } atom;
  atom.fill();
  EXPECT_STREQ(atom.name(), "B");
  EXPECT_EQ(atom.holder(), somewhere<Compound>());
  EXPECT_EQ(atom.clock(), somewhere<GenericClock>());
  EXPECT_EQ(field<CtrlState*>(atom.VESK_STATE), nullptr);
  EXPECT_EQ(field<Scheduler*>(atom.mScheduler), nullptr);
}

TEST(FieldsTest, OfACompound) {
  struct Open : Compound {
    Open() : Compound("C", nullptr) {}
    void fill() {
      EXPECT_EQ(&(field<Array<Component, true>>(mComponents)), &components());
      EXPECT_EQ(&(field<Array<Connector, true>>(mConnectors)), &connectors());
      EXPECT_EQ(&(field<Array<Priority, true>>(mPriorities)), &priorities());
      EXPECT_EQ(field<Connector*>(mLegals), nullptr);
      field<Port*>(mInternals) = somewhere<Port>();
    }
  } compound;
  compound.fill();
  EXPECT_EQ(compound.internals(), somewhere<Port>());
}

TEST(FieldsTest, OfAPort) {
  struct Open : Port {
    Open() : Port("p", static_cast<Atom*>(nullptr)) {}
    void fill() {
      field<char[1024]>(LABEL)[0] = 'l';
      field<char[1024]>(LABEL)[1] = '\0';
      field<char*>(mName)[0] = 'q';
      field<Atom*>(mAtomHolder) = somewhere<Atom>();
      field<Connector*>(mConnHolder) = somewhere<Connector>();
      field<bool>(mSynced) = field<bool>(mElected) = field<bool>(mConnected) = true;
      field<bool>(mInternal) = field<bool>(mDominated) = true;
      field<Constraint*>(mConstraint) = nullptr;
      field<Constraint*>(Executable::mConstraint) = somewhere<Constraint>();
      field<unsigned int>(mMark) = 3;
      field<Port*>(mNext) = somewhere<Port>();
    }
    void restore() { Executable::mConstraint = nullptr; }
  } port;
  port.fill();
  EXPECT_STREQ(port.label(), "l");
  EXPECT_STREQ(port.name(), "q");
  EXPECT_EQ(port.atomHolder(), somewhere<Atom>());
  EXPECT_EQ(port.connHolder(), somewhere<Connector>());
  EXPECT_TRUE(port.synced() && port.elected() && port.isConnected() && port.isInternal());
  EXPECT_TRUE(port.dominated());
  EXPECT_EQ(port.constraint(), somewhere<Constraint>());
  EXPECT_EQ(port.mark(), 3u);
  EXPECT_EQ(port.next(), somewhere<Port>());
  port.restore();
}

TEST(FieldsTest, OfAnInteraction) {
  Connector connector("c", nullptr, false);
  struct Open : Interaction {
    explicit Open(Connector& connector) : Interaction(&connector, BitVector::EMPTY) {}
    void fill() {
      field<Connector*>(mConnector) = somewhere<Connector>();
      field<BitVector>(mSynced) = BitVector::SINGLE;
      EXPECT_EQ(&(field<Array<Priority, false>>(mInhibitors)), &inhibitors());
      field<Interaction*>(mNext) = somewhere<Interaction>();
    }
  } interaction(connector);
  interaction.fill();
  EXPECT_EQ(interaction.connector(), somewhere<Connector>());
  EXPECT_EQ(interaction.synced(), BitVector::SINGLE);
  EXPECT_EQ(interaction.next(), somewhere<Interaction>());
}

TEST(FieldsTest, OfAConnector) {
  struct Open : Connector {
    Open() : Connector("c", nullptr, false) {}
    void fill() {
      field<char*>(mName)[0] = 'd';
      field<Compound*>(mHolder) = somewhere<Compound>();
      EXPECT_EQ(&(field<Array<Port, false>>(mPorts)), &ports());
      field<Port*>(mxPort) = somewhere<Port>();
      field<bool>(mLegal) = field<bool>(mDominated) = field<bool>(mSubconn) = true;
      field<bool>(mSubconnSameHolder) = field<bool>(mQueued) = field<bool>(mEval) = true;
      field<bool>(mRecomputexPort) = true;
      EXPECT_EQ((field<Array<Priority, false>>(mDominatedPriorities).count()), 0);
      EXPECT_EQ((field<Array<Priority, false>>(mDominatorPriorities).count()), 0);
      field<Interaction*>(mFeasibleInter) = somewhere<Interaction>();
      field<int>(mPriority) = 7;
      field<Connector*>(mNext) = somewhere<Connector>();
      EXPECT_EQ(&(field<Array<Connector, false>>(mLinks)), &links());
    }
    void restore() { mxPort = nullptr; }
  } connector;
  connector.fill();
  EXPECT_STREQ(connector.name(), "d");
  EXPECT_EQ(connector.holder(), somewhere<Compound>());
  EXPECT_EQ(connector.xPort(), somewhere<Port>());
  EXPECT_TRUE(connector.legal() && connector.dominated() && connector.isSubconn());
  EXPECT_TRUE(connector.isSubconnSameHolder() && connector.queued() && connector.evaluated());
  EXPECT_TRUE(connector.recomputexPort());
  EXPECT_EQ(connector.feasibleInter(), somewhere<Interaction>());
  EXPECT_EQ(connector.getPriority(), 7);
  EXPECT_EQ(connector.next(), somewhere<Connector>());
  connector.restore();
}

TEST(FieldsTest, OfAPriority) {
  struct Open : Priority {
    Open() : Priority(nullptr, nullptr, nullptr, Time(0)) {}
    void fill() {
      field<Compound*>(mHolder) = somewhere<Compound>();
      field<Interaction*>(mLow) = somewhere<Interaction>();
      field<Interaction*>(mHigh) = elsewhere<Interaction>();
      field<bool>(mEvaluated) = field<bool>(mApplied) = true;
      field<Time>(mDelay) = Time(9);
    }
  } priority;
  priority.fill();
  EXPECT_EQ(priority.holder(), somewhere<Compound>());
  EXPECT_EQ(priority.low(), somewhere<Interaction>());
  EXPECT_EQ(priority.high(), elsewhere<Interaction>());
  EXPECT_TRUE(priority.evaluated() && priority.applied());
  EXPECT_EQ(priority.delay(), Time(9));
}

// ---- Clocks and constraints --------------------------------------------------------------------

TEST(FieldsTest, OfAGenericClock) {
  struct Open : kit::HandClock {
    Open() : HandClock(Time(0)) {}
    void fill() { field<char*>(mName)[0] = 's'; }
  } clock;
  clock.fill();
  EXPECT_STREQ(clock.name(), "sand");
}

TEST(FieldsTest, OfPlatformAndLogicalClocks) {
  struct OpenSimu : SimuClock {
    OpenSimu() : SimuClock("simu") {}
    void fill() { field<Time>(mTime) = Time(3); }
  } simu;
  simu.fill();
  EXPECT_EQ(simu.time(), Time(3));

  struct OpenLinux : LinuxClock {
    OpenLinux() : LinuxClock("linux") {}
    void fill() {
      field<Time>(mStart) = Time(4);
      EXPECT_EQ(start(), Time(4));
    }
  } real;
  real.fill();

  struct OpenLogical : LogicalClock {
    explicit OpenLogical(PlatformClock& platform) : LogicalClock("logical", platform) {}
    void fill() {
      field<Time>(mTime) = Time(5);
      EXPECT_EQ(&field<PlatformClock>(mPlatformClock), &platformClock());
    }
  } logical(simu);
  logical.fill();
  EXPECT_EQ(logical.time(), Time(5));
}

TEST(FieldsTest, OfAModelClock) {
  SimuClock simu("simu");
  LogicalClock logical("logical", simu);
  struct Open : Clock {
    explicit Open(LogicalClock& logical) : Clock("x", logical) {}
    void fill() {
      EXPECT_EQ(&field<const LogicalClock>(mLogicalClock), &logicalClock());
      field<Time>(mResetTime) = Time(-2);
      field<Time>(mIntermediateTime) = Time(6);
    }
    void freeze() { field<bool>(mStopped) = true; }
  } clock(logical);
  clock.fill();
  EXPECT_EQ(clock.time(), Time(2));
  clock.freeze();
  EXPECT_EQ(clock.time(), Time(6));
}

TEST(FieldsTest, OfAnInterval) {
  struct Open : Interval {
    Open() : Interval(Time(0), Time(0), LAZY, false, false) {}
    void fill() {
      field<Time>(mLow) = Time(1);
      field<Time>(mHigh) = Time(2);
      field<bool>(mDominated) = field<bool>(mObservable) = true;
      field<Urgency>(mUrgency) = EAGER;
    }
  } interval;
  interval.fill();
  EXPECT_EQ(interval.low(), Time(1));
  EXPECT_EQ(interval.high(), Time(2));
  EXPECT_TRUE(interval.dominated() && interval.observable());
  EXPECT_EQ(interval.urgency(), EAGER);
}

TEST(FieldsTest, OfAConstraint) {
  struct Open : Constraint {
    Open() : Constraint(nullptr, Time(0), Time(0), LAZY) {}
    void fill() {
      field<GenericClock*>(mClock) = somewhere<GenericClock>();
      field<GenericClock*>(mDisplayClock) = somewhere<GenericClock>();
      field<bool>(mDomination) = true;
      field<Time>(mDelay) = Time(8);
      mIntervals.clear();
    }
  } constraint;
  constraint.fill();
  EXPECT_EQ(constraint.clock(), somewhere<GenericClock>());
  EXPECT_EQ(constraint.displayClock(), somewhere<GenericClock>());
  EXPECT_TRUE(constraint.domination() && constraint.empty());
  EXPECT_EQ(constraint.delay(), Time(8));
}

// ---- The timed engine --------------------------------------------------------------------------

TEST(FieldsTest, OfExecutablesAndTheirIterator) {
  struct OpenIterator : Executables::iterator {
    void fill() {
      field<unsigned int>(mMask) = 5;
      field<Connector*>(mConnector) = somewhere<Connector>();
      field<Interaction*>(mInteraction) = somewhere<Interaction>();
      field<Port*>(mInternal) = somewhere<Port>();
    }
  } position;
  position.fill();
  EXPECT_EQ(position.mask(), 5u);
  EXPECT_EQ(position.connector(), somewhere<Connector>());
  EXPECT_EQ(position.interaction(), somewhere<Interaction>());
  EXPECT_EQ(position.internal(), somewhere<Port>());

  struct Open : Executables {
    void fill() {
      field<Connector*>(mConnector) = somewhere<Connector>();
      field<Port*>(mInternals) = somewhere<Port>();
    }
  } executables;
  executables.fill();
  EXPECT_EQ(executables.connector(), somewhere<Connector>());
  EXPECT_EQ(executables.internals(), somewhere<Port>());
}

template <class Kind>
class OpenFilter : public Kind {
 public:
  using Kind::Kind;
  void fill() { field<unsigned int>(this->mLevel) = 3; }
};

TEST(FieldsTest, OfEveryFilter) {
  OpenFilter<StandardSemantics> semantics;
  OpenFilter<EmptyScheduler> everything;
  OpenFilter<EDFScheduler> earliestDeadline;
  semantics.fill();
  everything.fill();
  earliestDeadline.fill();
  EXPECT_EQ(semantics.level() + everything.level() + earliestDeadline.level(), 9u);

  struct Open : OpenFilter<EDFdeltaScheduler> {
    Open() : OpenFilter(Time(0)) {}
    void fill() {
      OpenFilter::fill();
      field<Time>(mDelta) = Time(7);
    }
  } withMargin;
  withMargin.fill();
  EXPECT_EQ(withMargin.level(), 3u);
  EXPECT_EQ(withMargin.delta(), Time(7));
}

namespace {

// A policy that uses the fields only: the first executable, as soon as it is possible.
class FirstOfAll : public Executer {
 public:
  using Executer::Executer;
  void expectFields(Compound& root, LogicalClock& logical, Filter& first, Filter& second) {
    EXPECT_EQ(&field<Compound>(mSystem), &root);
    EXPECT_EQ(&field<LogicalClock>(mLogicalClock), &logical);
    EXPECT_EQ(&field<PlatformClock>(mPlatformClock), &logical.platformClock());
    EXPECT_EQ(&field<Filter>(mSemantics), &first);
    EXPECT_EQ(&field<Filter>(mScheduler), &second);
    EXPECT_EQ(field<unsigned int>(mMaxSimLimit), 2u);
    EXPECT_EQ(field<Time>(mMaxDrift), Time(40));
    EXPECT_EQ(field<int>(mRandSeed), 11);
    field<bool>(mQuiet) = true;
    field<std::ostream>(mSimout) << "mine";
  }

 protected:
  void choose() override {
    field<Executable*>(mChoice) = *field<Executables>(mInteractions).begin();
    field<Time>(mTime) = mChoice->next(field<Interval>(mWait).low());
  }
};

// Can always do the same internal thing, from 10 on.
class Ticker : public StillAtom {
 public:
  explicit Ticker(const Compound* holder)
      : StillAtom("A", holder), mLater(nullptr, Time(10), Time(20), DELAYABLE) {
    addPort(new Port("tick", this));
    mPorts[0]->setInternal();
  }
  using StillAtom::initialize;
  void initialize() override { rt_sync(1, mPorts[0], 1, &mLater); }
  void execute(Port*) override { ++ticks; }
  int ticks = 0;

 private:
  Constraint mLater;
};

}  // namespace

TEST(FieldsTest, OfAnExecuterAreEnoughForAPolicy) {
  Compound root("root", nullptr);
  Ticker* ticker = new Ticker(&root);
  root.components().add(ticker);
  SimuClock simu("simu");
  LogicalClock logical("logical", simu);
  StandardSemantics semantics;
  EmptyScheduler everything;
  std::ostringstream out;
  FirstOfAll executer(root, logical, semantics, everything, false, 2, out, 11, Time(40));
  executer.expectFields(root, logical, semantics, everything);
  executer.initialize();
  executer.run();
  EXPECT_EQ(ticker->ticks, 2);
  EXPECT_EQ(logical.time(), Time(10));
  EXPECT_EQ(out.str().substr(0, 4), "mine");
}

TEST(FieldsTest, OfTheOtherExecutersCanBeReachedToo) {
  struct OpenExplorer : Explorer {
    using Explorer::Explorer;
    bool quietly() { return field<bool>(mQuiet); }
  };
  struct OpenStandard : StandardExecuter {
    using StandardExecuter::StandardExecuter;
    int seed() { return field<int>(mRandSeed); }
  };
  struct OpenRandom : RandomExecuter {
    using RandomExecuter::RandomExecuter;
    int seed() { return field<int>(mRandSeed); }
  };
  struct OpenInteractive : InteractiveExecuter {
    using InteractiveExecuter::InteractiveExecuter;
    int seed() { return field<int>(mRandSeed); }
  };
  Compound root("root", nullptr);
  SimuClock simu("simu");
  LogicalClock logical("logical", simu);
  StandardSemantics first;
  EmptyScheduler second;
  std::ostringstream out;
  EXPECT_TRUE(OpenExplorer(root, logical, first, true).quietly());
  EXPECT_EQ(OpenStandard(root, logical, first, second, true, 0, out, 5, Time(0)).seed(), 5);
  EXPECT_EQ(OpenRandom(root, logical, first, second, true, 0, out, 6, Time(0)).seed(), 6);
  EXPECT_EQ(OpenInteractive(root, logical, first, second, true, 0, out, Time(0)).seed(), 1);
}

// ---- The scheduler and states ------------------------------------------------------------------

TEST(FieldsTest, OfTheNodesOfAnExploration) {
  struct OpenTrans : TransNode {
    OpenTrans() : TransNode(nullptr, nullptr, nullptr) {}
    void fill() {
      field<Node*>(m_state) = somewhere<Node>();
      field<Connector*>(m_trans) = somewhere<Connector>();
      field<Interaction*>(m_inter) = somewhere<Interaction>();
    }
  } transition;
  transition.fill();
  EXPECT_EQ(transition.state(), somewhere<Node>());
  EXPECT_EQ(transition.trans(), somewhere<Connector>());
  EXPECT_EQ(transition.inter(), somewhere<Interaction>());

  struct OpenState : StateNode {
    OpenState() : StateNode(nullptr, 0) {}
    void fill() {
      field<Node*>(m_state) = somewhere<Node>();
      field<unsigned int>(m_quantity) = 2;
      field<StateNode*>(m_next) = this;
    }
  } state;
  state.fill();
  EXPECT_EQ(state.state(), somewhere<Node>());
  EXPECT_EQ(state.quantity(), 2u);
  EXPECT_EQ(state.next(), &state);

  struct OpenList : StateNodeIter {
    void fill(StateNode* node) { field<StateNode*>(m_head) = field<StateNode*>(m_current) = node; }
  } list;
  list.fill(&state);
  EXPECT_EQ(list.head(), &state);
  EXPECT_EQ(list.current(), &state);
}

TEST(FieldsTest, OfStateTrees) {
  struct OpenAtomleaf : Atomleaf {
    OpenAtomleaf() : Atomleaf("text") {}
    void fill() { field<char*>(value)[0] = 'n'; }
  };
  OpenAtomleaf* text = new OpenAtomleaf;
  text->fill();
  EXPECT_STREQ(text->getVal(), "next");

  struct OpenLeaf : Leaf {
    explicit OpenLeaf(Atomleaf* given) : Leaf(given) {}
    void fill() {
      EXPECT_EQ(field<Atomleaf*>(aleaf), getAleaf());
      field<unsigned int>(index) = 4;
      field<int>(nOutTrans) = 5;
      EXPECT_TRUE(field<bool>(isleaf));
    }
  };
  OpenLeaf* leaf = new OpenLeaf(text);
  leaf->fill();
  EXPECT_EQ(leaf->getIndex(), 4u);
  EXPECT_EQ(leaf->outTrans(), 5);

  struct OpenNonleaf : Nonleaf {
    OpenNonleaf() : Nonleaf(1) {}
    void fill(Node* child) {
      EXPECT_EQ(field<int>(numChild), 1);
      field<Node**>(children)[0] = child;
    }
  } parent;
  parent.fill(leaf);
  EXPECT_EQ(parent.getChild(0), leaf);
}

TEST(FieldsTest, OfAScheduler) {
  struct Open : Scheduler {
    Open() : Scheduler(nullptr, 0, false, 1, -1, 0) {}
    void fill() {
      field<Compound*>(mSystem) = somewhere<Compound>();
      field<Connector*>(mLegal) = field<Connector*>(mConnectorChoice) = somewhere<Connector>();
      field<Port*>(mInternals) = field<Port*>(mChoicePort) = somewhere<Port>();
      field<Interaction*>(mChoice) = somewhere<Interaction>();
      field<Time>(mChoiceNext) = Time(1);
      field<Time>(mChoiceDeadline) = Time(2);
      field<Time>(mDeadline) = Time(3);
      field<int>(mMode) = 4;
      field<bool>(mQuiet) = field<bool>(mSimLimit) = true;
      field<int>(mRunMode) = 5;
      field<int>(mOptimizationMode) = 6;
      field<int>(mMaxSimLimit) = 7;
      field<int>(mRandSeed) = 8;
      field<int>(mZeroWaiting) = 0;
      field<Time>(mMaxWait) = Time(9);
      field<Time>(mDrift) = Time(10);
    }
    void expectTheRest() {
      EXPECT_EQ(field<PlatformClock*>(mPlatformClock), nullptr);
      EXPECT_EQ(field<LogicalClock*>(mLogicalClock), nullptr);
      EXPECT_EQ(&field<VeskHeap<Connector>>(mPrioHeap), &prioHeap());
      EXPECT_EQ(field<int>(mIntQuiet), 0);
      EXPECT_EQ(field<int>(mTraverse), -1);
      EXPECT_EQ(field<int>(mSimStep), 0);
      EXPECT_EQ(field<int>(mDisable_output), 0);
      EXPECT_FALSE(field<bool>(disable_output));
      EXPECT_EQ(field<int>(mTrace), 0);
      for (FILE* file : {field<FILE*>(aut_file), field<FILE*>(state_file),
                         field<FILE*>(pruned_paths), field<FILE*>(deadlock_states)}) {
        EXPECT_EQ(file, nullptr) << "one of the four files";
      }
      EXPECT_FALSE(field<std::ofstream>(simout_file).is_open());
      EXPECT_EQ(field<Time>(mMaxDrift), Time(40));
      EXPECT_EQ(field<Time>(mDelta), Time(80));
      EXPECT_EQ(field<Time>(mTolerance), Time(0));
    }
  } scheduler;
  scheduler.fill();
  scheduler.expectTheRest();
  EXPECT_EQ(scheduler.choicePort(), somewhere<Port>());
  EXPECT_EQ(scheduler.choice(), somewhere<Interaction>());
  EXPECT_EQ(scheduler.choiceNext(), Time(1));
  EXPECT_EQ(scheduler.choiceDeadline(), Time(2));
  EXPECT_EQ(scheduler.deadline(), Time(3));
  EXPECT_EQ(scheduler.mode(), 4);
  EXPECT_TRUE(scheduler.quiet() && scheduler.simLimit());
  EXPECT_EQ(scheduler.runMode(), 5);
  EXPECT_EQ(scheduler.optimizationMode(), 6);
  EXPECT_EQ(scheduler.maxSimLimit(), 7);
  EXPECT_EQ(scheduler.randSeed(), 8);
  EXPECT_EQ(scheduler.zeroWaiting(), 0);
  EXPECT_EQ(scheduler.maxWait(), Time(9));
  EXPECT_EQ(scheduler.drift(), Time(10));
  EXPECT_EQ(field<std::ostream*>(scheduler.simout), &std::cout);
}
