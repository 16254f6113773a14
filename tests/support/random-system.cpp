#include "random-system.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kit {

using Vesk::Locality;
using Vesk::Time;

namespace {

// ---- What all parts of a system share ----------------------------------------------------------

enum class Hook { EXECUTE, GET_STATE, SET_STATE, GUARD, UP, DOWN, COMPLETE, PRIORITY, COUNT };

// What a system does in one call of one hook.
enum class Deed { NOTHING, THROW_RUNTIME, THROW_NUMBER, THROW_MEMORY, ERROR, PRUNE, LEAF, COUNT };

struct World {
  // One of the plans, at one call of a hook; number 0: never.
  struct Plan {
    Hook hook = Hook::EXECUTE;
    int number = 0;
    Deed deed = Deed::NOTHING;
  };

  // What the engine calls, of which part, and a number that the part sees.
  void note(const char* hook, const std::string& part, int seen = 0) const {
    if (calls != nullptr) calls->push_back(hook + part + ' ' + std::to_string(seen));
  }
  void enter(Hook hook) {
    const int number = ++entered[static_cast<int>(hook)];
    if (hook == Hook::EXECUTE && number > most) throw std::runtime_error("tired");
    for (const Plan& plan : plans) {
      if (plan.hook == hook && plan.number == number) act(plan.deed);
    }
  }

  std::vector<Plan> plans;
  int most = 0;
  bool lies = false;
  int answers = 0;  // how often a lying hook has been asked
  std::vector<std::string>* calls = nullptr;
  Locality kept = Locality::REPEATABLE;

 private:
  void act(Deed deed) {
    switch (deed) {
      case Deed::THROW_RUNTIME:
        throw std::runtime_error("a model's own");
      case Deed::THROW_NUMBER:
        throw 7;
      case Deed::THROW_MEMORY:
        throw std::bad_alloc();
      case Deed::ERROR:
        global_error = true;
        return;
      case Deed::PRUNE:
        global_prune = true;
        return;
      case Deed::LEAF:
        faulty_leaf = &own;
        return;
      default:
        return;
    }
  }

  int entered[static_cast<int>(Hook::COUNT)] = {};
  Leaf own{new Atomleaf("OWN")};
};

// A port with a variable of its atom, or of the connector that exports it.
class ValuePort : public Port {
 public:
  template <class Holder>
  ValuePort(const std::string& name, const Holder* holder, int& variable)
      : Port(name.c_str(), holder), value(variable) {}
  int& value;
};

int& valueOf(Port* port) {
  return static_cast<ValuePort*>(port)->value;
}

// ---- Atoms -------------------------------------------------------------------------------------

enum class Shape { LEAF, TREE, CHANGING_TREE, NOTHING, TEXTLESS, COUNT };

// What firing a port does to the clock.
enum class Tick { RESET, STOP, GO, SET, NONE, COUNT };

struct Piece {
  int low;
  int width;  // 0: no end
  Urgency urgency;
};

struct Rule {
  std::vector<int> targets;  // by state; -1: not enabled there
  std::vector<Piece> pieces;
  Tick tick = Tick::RESET;
  Constraint* constraint = nullptr;
  Constraint* scratch = nullptr;
};

class RandomAtom : public Atom {
 public:
  RandomAtom(const std::string& name, const Compound* holder, World& world, Choices& choices,
             bool timed)
      : Atom(name.c_str(), holder), mWorld(world) {
    for (int i = choices.chance(8) ? 1 : choices.between(2, 5); i > 0; --i)
      mTexts.push_back(text(choices));
    if (choices.chance(8)) mShape = static_cast<Shape>(choices.below(int(Shape::COUNT)));
    mPrefers = choices.chance(10);
    const int ports = choices.between(1, 3);
    for (int i = 0; i < ports; ++i) addRule(choices, timed);
    if (mShape == Shape::TEXTLESS || mShape == Shape::NOTHING) promise(Locality::UNDECLARED);
  }

  using Atom::initialize;
  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) addTimes(clock);
    Atom::initialize(clock);
  }
  void initialize() override {
    mWorld.note("initialize ", name());
    mState = 0;
    mValue = 0;
    announce();
  }
  void execute(Port* port) override {
    mWorld.note("execute ", port->label(), mState);
    for (int i = 0; i < mPorts.count(); ++i) {
      if (mPorts[i] == port) take(rule(i));
    }
    mWorld.enter(Hook::EXECUTE);
    announce();
  }
  Node* getState() override {
    mWorld.enter(Hook::GET_STATE);
    if (mShape == Shape::NOTHING) return nullptr;
    if (mShape == Shape::TEXTLESS && mState == 0) return new Leaf(new Atomleaf);
    Leaf* leaf = new Leaf(new Atomleaf(shown().c_str()));
    if (mShape != Shape::TREE && mShape != Shape::CHANGING_TREE) return leaf;
    auto* tree = new Nonleaf(mShape == Shape::TREE ? 2 : 2 + mState % 3);
    tree->setChild(leaf, 0);
    tree->setChild(mState % 2 == 0 ? nullptr : new Leaf(new Atomleaf("x")), 1);
    if (tree->getNumChild() > 2) tree->setChild(new Nonleaf(0), 2);
    return tree;
  }
  void setState(Node* state) override {
    mWorld.enter(Hook::SET_STATE);
    read(state);
    announce();
  }

  Port* timedInternal = nullptr;

 private:
  std::string text(Choices& choices) const {
    const std::string number = std::to_string(mTexts.size());
    const int kind = choices.below(100);
    if (kind < 80) return number + ",";
    if (kind < 90) return number;  // no end: may run into the next text
    if (kind < 92) return number + "PRUNE,";
    if (kind < 93) return number + "ERROR,";
    if (kind < 95) return number + "\n\"\\,";
    if (kind < 98) return number + std::string(static_cast<std::size_t>(choices.below(600)), 'x');
    return number + "\x80\xFF,";
  }

  void addRule(Choices& choices, bool timed) {
    const std::string name = "p" + std::to_string(mPorts.count());
    auto* port = new ValuePort(name, this, mValue);
    addPort(port);
    Rule rule;
    const int states = static_cast<int>(mTexts.size());
    for (int i = 0; i < states; ++i) {
      rule.targets.push_back(choices.chance(15) ? -1 : choices.below(states));
    }
    if (timed && choices.coin()) addPieces(rule, choices);
    if (choices.chance(12)) setInternalPort(port, rule);
    mRules.push_back(std::move(rule));
  }

  static void addPieces(Rule& rule, Choices& choices) {
    int low = choices.below(5) * 1000;
    for (int i = choices.chance(25) ? 2 : 1; i > 0; --i) {
      const int width = choices.below(4) * 1500;
      rule.pieces.push_back({low, width, static_cast<Urgency>(choices.below(3))});
      if (width == 0) break;
      low += width + choices.between(1, 3) * 1000;
    }
    rule.tick = static_cast<Tick>(choices.chance(20) ? choices.below(int(Tick::COUNT)) : 0);
  }

  // Without time nobody fires it, and the order of both would show.
  void setInternalPort(Port* port, const Rule& rule) {
    port->setInternal();
    promise(Locality::UNDECLARED);
    if (!rule.pieces.empty()) timedInternal = port;
  }

  void promise(Locality most) { mWorld.kept = std::min(mWorld.kept, most); }

  Rule& rule(int port) { return mRules[static_cast<std::size_t>(port)]; }

  void addTimes(LogicalClock* clock) {
    mClock = new Clock("c", clock);
    mClocks.add(mClock);
    for (Rule& rule : mRules) {
      if (rule.pieces.empty()) continue;
      rule.constraint = constraintFor(rule);
      rule.scratch = new Constraint(*rule.constraint);
      mConstraints.add(rule.constraint);
      mConstraints.add(rule.scratch);
    }
  }

  Constraint* constraintFor(const Rule& rule) const {
    auto* constraint = new Constraint(mClock, Time(0), Time(0), LAZY);
    constraint->clear();
    for (const Piece& piece : rule.pieces) {
      const Time low(piece.low);
      const Time high = piece.width != 0 ? low + Time(piece.width) : Time::MAX;
      *constraint |= Constraint(mClock, low, high, piece.urgency);
    }
    return constraint;
  }

  void take(Rule& rule) {
    const int target = rule.targets[static_cast<std::size_t>(mState)];
    if (target >= 0) mState = target;
    if (mClock == nullptr) return;
    if (rule.tick == Tick::RESET) mClock->reset();
    if (rule.tick == Tick::STOP) mClock->stop();
    if (rule.tick == Tick::GO) mClock->go();
    if (rule.tick == Tick::SET) mClock->setTime(Time(1500));
  }

  std::string shown() const {
    const std::string& text = mTexts[static_cast<std::size_t>(mState)];
    return mValue == 0 ? text : text + "v" + std::to_string(mValue) + ",";
  }

  // The state is found again by its text.
  void read(Node* state) {
    if (state != nullptr && !state->isLeaf()) state = static_cast<Nonleaf*>(state)->getChild(0);
    const char* text = nullptr;
    if (state != nullptr && state->isLeaf() && static_cast<Leaf*>(state)->getAleaf() != nullptr) {
      text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    }
    const int number = text != nullptr ? std::atoi(text) : 0;
    mState = std::min(std::max(number, 0), static_cast<int>(mTexts.size()) - 1);
    const char* value = text != nullptr ? std::strrchr(text, 'v') : nullptr;
    mValue = value != nullptr ? std::atoi(value + 1) & 7 : 0;
  }

  void announce() {
    // An untimed internal port is taken at once, a few times at most.
    for (int round = 0; round < 3; ++round) {
      for (Port* port : mPorts) {
        port->setSynced(false);
        port->setDominated(false);
      }
      prefer();
      Port* internal = announceAll();
      if (internal == nullptr) return;
      for (int i = 0; i < mPorts.count(); ++i) {
        if (mPorts[i] == internal) take(rule(i));
      }
    }
  }

  // The second port goes before the first one.
  void prefer() {
    if (!mPrefers || mPorts.count() < 2 || !enabled(0) || !enabled(1)) return;
    Constraint* low = scratchOf(0);
    Constraint* high = scratchOf(1);
    if ((low == nullptr) != (high == nullptr)) return;
    applyPriority(mPorts[0], low, mPorts[1], high);
  }

  Constraint* scratchOf(int port) {
    Rule& one = rule(port);
    if (one.constraint != nullptr) *one.scratch = *one.constraint;
    return one.scratch;
  }

  bool enabled(int port) { return rule(port).targets[static_cast<std::size_t>(mState)] >= 0; }

  Port* announceAll() {
    for (int i = 0; i < mPorts.count(); ++i) {
      Constraint* constraint = mPrefers ? rule(i).scratch : rule(i).constraint;
      if (mPrefers && i > 1) constraint = scratchOf(i);
      Port* internal = rt_sync({{mPorts[i], enabled(i), constraint}});
      if (internal != nullptr) return internal;
    }
    return nullptr;
  }

  World& mWorld;
  std::vector<std::string> mTexts;
  std::vector<Rule> mRules;
  Shape mShape = Shape::LEAF;
  bool mPrefers = false;
  Clock* mClock = nullptr;
  int mState = 0;
  int mValue = 0;
};

// ---- Connectors and priorities -----------------------------------------------------------------

enum class Completeness { TRIGGER, FIRST_TWO, ALWAYS, NEVER, COUNT };

class RandomConnector : public Connector {
 public:
  RandomConnector(const std::string& name, const Compound* holder, World& world, Choices& choices,
                  bool exports)
      : Connector(name.c_str(), holder, exports), mWorld(world) {
    mBroadcasts = choices.below(3) == 0;
    if (choices.chance(15)) mComplete = static_cast<Completeness>(choices.below(4));
    if (choices.chance(20)) mForbidden = choices.below(4);
    mMoves = choices.chance(30);
    if (exports) mxPort = new ValuePort("x", this, mValue);
    if (choices.chance(2)) setDominated(true);
  }
  void join(Port* port) { append(1, port); }

  bool isBroadcast() override {
    mWorld.note("broadcast ", name());
    return lie() ? !mBroadcasts : mBroadcasts;
  }
  bool complete() override {
    mWorld.note("complete ", name());
    mWorld.enter(Hook::COMPLETE);
    if (lie()) return mWorld.answers % 2 == 0;
    switch (mComplete) {
      case Completeness::ALWAYS:
        return true;
      case Completeness::NEVER:
        return false;
      case Completeness::FIRST_TWO:
        return (mPorts.count() > 0 && mPorts[0]->complete()) ||
               (mPorts.count() > 1 && mPorts[1]->complete());
      default:
        return mPorts.count() > 0 && mPorts[0]->complete();
    }
  }
  using Connector::guard;
  bool guard() override {
    mWorld.note("guard ", name(), sum());
    mWorld.enter(Hook::GUARD);
    if (!mBroadcasts && !maximal()) return false;
    return mForbidden < 0 || sum() % 4 != mForbidden;
  }
  using Connector::up;
  void up() override {
    mWorld.note("up ", name(), sum());
    mWorld.enter(Hook::UP);
    mValue = sum() & 7;
  }
  // A value for each atom below, which moves in timed runs alone.
  using Connector::dn;
  void dn() override {
    mWorld.note("down ", name(), sum());
    mWorld.enter(Hook::DOWN);
    if (!mMoves) return;
    const int value = mxPort != nullptr && mxPort->isConnected() ? mValue : (sum() + 1) & 7;
    for (Port* port : mPorts) valueOf(port) = value;
  }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
  bool lie() { return mWorld.lies && ++mWorld.answers % 17 == 0; }
  int sum() const {
    int all = 0;
    for (Port* port : mPorts) {
      if (port->synced()) all += valueOf(port);
    }
    return all + mPorts.count();
  }

  World& mWorld;
  bool mBroadcasts;
  Completeness mComplete = Completeness::TRIGGER;
  int mForbidden = -1;  // what the sum of the values must not be; -1: anything goes
  bool mMoves = false;
  int mValue = 0;
};

class RandomPriority : public Priority {
 public:
  RandomPriority(Compound* holder, Interaction* low, Interaction* high, Time delay, World& world,
                 const Port* condition)
      : Priority(holder, low, high, delay), mWorld(world), mCondition(condition) {}
  bool guard() override {
    mWorld.note("priority ", low()->connector()->name());
    mWorld.enter(Hook::PRIORITY);
    return mCondition == nullptr || mCondition->synced();
  }

 private:
  World& mWorld;
  const Port* mCondition;  // may be null
};

// ---- The tree ----------------------------------------------------------------------------------

using Ports = std::vector<Port*>;

class Part : public Compound {
 public:
  using Compound::Compound;
};

void declareParts(Compound& part, Locality locality) {
  for (Connector* connector : part.connectors()) connector->declare(locality);
  for (Component* component : part.components()) {
    if (component->isCompound()) declareParts(static_cast<Compound&>(*component), locality);
    if (component->isAtom()) static_cast<Atom*>(component)->declare(locality);
  }
}

class Root : public RandomRoot {
 public:
  Root() : RandomRoot("R", nullptr) {}
  ~Root() override {
    // The world's own leaf goes with it.
    faulty_leaf = nullptr;
  }
  Locality kept() const override { return world.kept; }
  void declareAll(Locality locality) override { declareParts(*this, locality); }

  World world;
};

class Builder {
 public:
  Builder(Choices& choices, Root& root, const Habits& habits)
      : mChoices(choices), mRoot(root), mHabits(habits) {
    mTimed = choices.below(3) != 0;
    fill(root, 0);
  }

 private:
  // Gives the ports that connectors above may use.
  Ports fill(Compound& compound, int level) {
    Ports ports;
    const bool wide = level == 0 && mChoices.chance(mHabits.wide);
    const int atoms = wide ? mChoices.between(20, 70) : mChoices.between(level == 0 ? 2 : 0, 4);
    for (int i = 0; i < atoms; ++i) addAtom(compound, ports);
    while (level < 3 && mChoices.chance(25)) {
      auto* part = new Part(numbered("C").c_str(), &compound);
      compound.components().add(part);
      const Ports below = fill(*part, level + 1);
      ports.insert(ports.end(), below.begin(), below.end());
    }
    Ports exported;
    for (int i = mChoices.between(level == 0 ? 3 : 1, 6); i > 0; --i)
      addConnector(compound, ports, exported);
    if (wide) addWideConnector(compound, ports);
    for (int i = wide && mHabits.busy ? mChoices.between(10, 40) : 0; i > 0; --i)
      addConnector(compound, ports, exported);
    for (int i = mChoices.chance(40) ? mChoices.between(1, 3) : 0; i > 0; --i) {
      addPriority(compound, ports);
    }
    if (!ports.empty() && mChoices.chance(20)) exported.push_back(mChoices.oneOf(ports));
    return exported;
  }

  std::string numbered(const char* kind) { return kind + std::to_string(++mNumber); }

  void addAtom(Compound& compound, Ports& ports) {
    auto* atom = new RandomAtom(numbered("A"), &compound, mRoot.world, mChoices, mTimed);
    compound.components().add(atom);
    for (Port* port : atom->ports()) {
      if (!port->isInternal()) ports.push_back(port);
    }
  }

  // The same port may be there twice, and several ports of one atom.
  void addConnector(Compound& compound, Ports& ports, Ports& exported) {
    const bool exports = mChoices.chance(25);
    auto* made = new RandomConnector(numbered("k"), &compound, mRoot.world, mChoices, exports);
    compound.connectors().add(made);
    Ports chosen;
    const int count = mChoices.chance(15) ? mChoices.between(0, 5) : mChoices.between(1, 2);
    for (int i = count; i > 0 && !ports.empty(); --i) {
      Port* port = mChoices.oneOf(ports);
      const bool isThere = std::find(chosen.begin(), chosen.end(), port) != chosen.end();
      if (!isThere || mChoices.chance(2)) chosen.push_back(port);
    }
    for (Port* port : chosen) made->join(port);
    if (!exports) return;
    if (mChoices.coin()) ports.push_back(made->xPort());
    exported.push_back(made->xPort());
  }

  // A rendezvous of up to all ports that a connector may have.
  void addWideConnector(Compound& compound, const Ports& ports) {
    class Wide : public Connector {
     public:
      using Connector::Connector;
      bool isBroadcast() override { return false; }
      using Connector::guard;
      bool guard() override { return maximal(); }
      void join(int n, ...) {
        va_list list;
        va_start(list, n);
        setVarPorts(n, list);
        va_end(list);
      }
    };
    auto* made = new Wide(numbered("w").c_str(), &compound, false);
    compound.connectors().add(made);
    const auto most = std::min<std::size_t>(ports.size(), Connector::MAX_PORTS);
    for (std::size_t i = 0; i < most; ++i) made->join(1, ports[i]);
  }

  void addPriority(Compound& compound, const Ports& ports) {
    const int count = compound.connectors().count();
    Connector* low = compound.connectors()[mChoices.below(count)];
    Connector* high = mChoices.chance(20) ? nullptr : compound.connectors()[mChoices.below(count)];
    const Port* condition = mChoices.chance(30) && !ports.empty() ? mChoices.oneOf(ports) : nullptr;
    Interaction* above = high != nullptr ? Interaction::Create(high, someSet(*high)) : nullptr;
    const Time delay(mChoices.below(4) * 1000);
    compound.priorities().add(new RandomPriority(&compound, Interaction::Create(low, someSet(*low)),
                                                 above, delay, mRoot.world, condition));
  }

  BitVector someSet(Connector& connector) {
    BitVector set;
    for (int i = 0; i < connector.ports().count() && i < 4; ++i) {
      if (mChoices.chance(40)) set.add(i);
    }
    return set;
  }

  Choices& mChoices;
  Root& mRoot;
  const Habits& mHabits;
  bool mTimed = false;
  int mNumber = 0;
};

void plan(World& world, Choices& choices, const Habits& habits) {
  world.most = habits.most;
  world.lies = habits.lies && choices.chance(5);
  for (int i = choices.chance(25) ? choices.between(1, 2) : 0; i > 0; --i) {
    World::Plan made;
    made.hook = static_cast<Hook>(choices.below(static_cast<int>(Hook::COUNT)));
    made.number = choices.between(1, 60);
    made.deed = static_cast<Deed>(choices.below(static_cast<int>(Deed::COUNT)));
    const bool throws = made.deed <= Deed::THROW_MEMORY;
    if (throws ? habits.throws : habits.raises) world.plans.push_back(made);
  }
  if (world.lies || !world.plans.empty()) world.kept = Locality::UNDECLARED;
}

}  // namespace

std::unique_ptr<RandomRoot> makeRandomSystem(Choices& choices, const Habits& habits) {
  auto root = std::make_unique<Root>();
  plan(root->world, choices, habits);
  root->world.calls = habits.calls;
  Builder(choices, *root, habits);
  if (choices.chance(10)) root->declare(Vesk::Priorities::EVERYWHERE);
  return root;
}

}  // namespace kit
