// Random models that record every call of their hooks and every tree that they give and get, and
// that can raise a flag in any of these calls. Two searches of one model are the same when their
// files, their output and their records are.
#ifndef VESK_TESTS_RECORDED_SEARCH_HPP
#define VESK_TESTS_RECORDED_SEARCH_HPP

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "draw.hpp"
#include "kit/connectors.hpp"
#include "kit/explorations.hpp"
#include "kit/scratch.hpp"
#include "kit/systems.hpp"
#include "literal-exploration.hpp"

namespace kit {

// ---- What is recorded ----------------------------------------------------------------------

enum class Call {
  INITIALIZE,
  INITIALIZE_CLOCK,
  EXECUTE,
  GET_STATE,
  SET_STATE,
  PORT_EXECUTE,
  IS_BROADCAST,
  COMPLETE,
  GUARD,
  GUARD_SET,
  UP,
  PRIORITY_GUARD,
  PART_INITIALIZE,
  PART_GET_STATE,
  PART_GOT_STATE,
  PART_SET_STATE,
  PART_HAS_STATE,
  COUNT
};

inline const char* nameOf(Call call) {
  static const char* const names[] = {"initialize",
                                      "initialize(clock)",
                                      "execute",
                                      "getState",
                                      "setState",
                                      "port execute",
                                      "isBroadcast",
                                      "complete",
                                      "guard",
                                      "guard(set)",
                                      "up",
                                      "priority guard",
                                      "part initialize",
                                      "part getState",
                                      "part getState's end",
                                      "part setState",
                                      "part setState's end"};
  return names[static_cast<int>(call)];
}

// What a model does in one of its calls.
enum class Raise {
  ERROR,
  PRUNE,
  OWN,  // faulty_leaf is a leaf that is in no tree
  OWN_ERROR,
  OWN_PRUNE,
  GIVEN,  // faulty_leaf is a leaf of the state that the atom was given last
  GIVEN_ERROR,
  GIVEN_PRUNE,
  ERROR_TEXT,  // the next leaf that is made has a marker
  PRUNE_TEXT,
  CLEAR,
  COUNT
};

// At which call what is raised; number 0: never.
struct Plan {
  Call call = Call::INITIALIZE;
  int number = 0;
  Raise raise = Raise::ERROR;
};

inline std::ostream& operator<<(std::ostream& out, const Plan& plan) {
  return out << "raise " << static_cast<int>(plan.raise) << " at call " << plan.number << " of "
             << nameOf(plan.call);
}

// One call, and what could be seen from within.
struct Seen {
  Call call;
  int object;  // number of the atom, part, connector or priority
  int value;   // state, port or set, as the call has it
  int flags;   // 1 error, 2 prune, 4 a faulty leaf, 8 that of the model
  int choice;  // numbers of connectors in the scheduler's fields, or -1
  int legal;
  int outTrans;  // of the tree at hand
  unsigned int index;
  std::size_t faulty;  // of the faulty leaf's text
  std::size_t label;   // of Connector::LABEL
  std::size_t lists;   // of what can fire
  std::size_t text;    // of the tree at hand

  bool operator==(const Seen& other) const {
    return call == other.call && object == other.object && value == other.value &&
           flags == other.flags && choice == other.choice && legal == other.legal &&
           outTrans == other.outTrans && index == other.index && faulty == other.faulty &&
           label == other.label && lists == other.lists && text == other.text;
  }
};

inline std::ostream& operator<<(std::ostream& out, const Seen& seen) {
  return out << nameOf(seen.call) << " of " << seen.object << ": value " << seen.value << " flags "
             << seen.flags << " choice " << seen.choice << " legal " << seen.legal << " index "
             << seen.index << " outTrans " << seen.outTrans << std::hex << " faulty "
             << seen.faulty % 0x10000 << " label " << seen.label % 0x10000 << " lists "
             << seen.lists % 0x10000 << " text " << seen.text % 0x10000 << std::dec;
}

// A node or an atom's text at its address; RESTORED begins what is given for a whole state. DEAD is
// known for the literal search only.
struct TreeEvent {
  enum Kind { CREATED, RESTORED, GIVEN, REPLACED, DEAD } kind;
  const void* address;
};

inline void forEachPart(Node* tree, const std::function<void(const void*)>& visit) {
  if (tree == nullptr) return;
  visit(tree);
  if (tree->isLeaf()) {
    const Atomleaf* text = static_cast<Leaf*>(tree)->getAleaf();
    if (text != nullptr) visit(text);
    return;
  }
  auto* inner = static_cast<Nonleaf*>(tree);
  for (int i = 0; i < inner->getNumChild(); ++i) forEachPart(inner->getChild(i), visit);
}

class RecordedJoint;

// The record of one search. The model reaches it through the pointer below.
class Recorder {
 public:
  Recorder(const Plan& plan, unsigned int seed, int mutations)
      : chance(seed), mPlan(plan), mMutations(mutations), mOwn(new Atomleaf("MINE")) {}

  void enter(Call call, int object, int value, Node* tree = nullptr);
  void record(TreeEvent::Kind kind, Node* tree) {
    forEachPart(tree, [&](const void* part) { trees.push_back({kind, part}); });
  }
  void recordOne(TreeEvent::Kind kind, const void* part) { trees.push_back({kind, part}); }
  // What comes after the text of the next leaf.
  std::string takeMarker() {
    const std::string marker = mMarker;
    mMarker.clear();
    return marker;
  }
  // Whether the model changes its tree now.
  bool mutates() { return mMutations > 0 && chance.below(100) < mMutations; }
  int flags() const {
    return (global_error ? 1 : 0) + (global_prune ? 2 : 0) + (faulty_leaf != nullptr ? 4 : 0) +
           (faulty_leaf == &mOwn ? 8 : 0);
  }
  int callsOf(Call call) const { return mCalls[static_cast<int>(call)]; }

  std::vector<Seen> seen;
  std::vector<TreeEvent> trees;
  std::vector<RecordedJoint*> joints;
  bool numbersParts = false;  // whether leaves and inner nodes get numbers of their own
  Connector* const* legal = nullptr;
  Connector* const* choice = nullptr;
  Leaf* given = nullptr;     // of the state that was restored last, while that state lives
  Node* lastRead = nullptr;  // the tree of the state that was read last, until one is restored
  Draw chance;

 private:
  void raise();
  void setFaulty(bool ofState) { faulty_leaf = ofState && given != nullptr ? given : &mOwn; }
  std::size_t lists() const;

  Plan mPlan;
  int mMutations;  // per cent
  Leaf mOwn;
  std::string mMarker;
  int mCalls[static_cast<int>(Call::COUNT)] = {};
};

inline Recorder* recorder = nullptr;

// ---- The models ----------------------------------------------------------------------------

class RecordedPort : public Port {
 public:
  RecordedPort(const std::string& name, const Atom* holder, int number)
      : Port(name.c_str(), holder), mNumber(number) {}
  using Port::execute;
  void execute(const Vesk::Time& t) override {
    recorder->enter(Call::PORT_EXECUTE, mNumber, synced() ? 1 : 0);
    Port::execute(t);
  }

 private:
  int mNumber;
};

// Knows more than its text. Neither compared nor copied by a search.
class SecretLeaf : public Leaf {
 public:
  SecretLeaf(Atomleaf* text, int secret) : Leaf(text), mSecret(secret) {}
  int compare(Node*) const override { std::abort(); }
  unsigned int hash(unsigned int) const override { std::abort(); }
  Node* copy() override { std::abort(); }
  int secret() const { return mSecret; }

 private:
  int mSecret;
};

class TextWithMore : public Atomleaf {
 public:
  explicit TextWithMore(const char* text) : Atomleaf(text), mMore(text) {}
  const std::string& more() const { return mMore; }

 private:
  std::string mMore;
};

class RecordedAtom : public Atom {
 public:
  // What getState() gives.
  enum Style { PLAIN, NOTHING, SECRET, MORE, TREE, TEXTLESS };

  RecordedAtom(const std::string& name, const Compound* holder, int number, int states, Style style)
      : Atom(name.c_str(), holder), mNumber(number), mStates(states), mStyle(style) {}
  ~RecordedAtom() override = default;

  // target: per state, or -1. A constraint is taken over.
  Port* addPort(const std::string& name, const std::vector<int>& target, Constraint* constraint) {
    Port* port = new RecordedPort(name, this, mNumber * 10 + mPorts.count());
    mPorts.add(port);
    mTargets.push_back(target);
    if (constraint != nullptr) mConstraints.add(constraint);
    mPortConstraints.push_back(constraint);
    return port;
  }
  int states() const { return mStates; }
  Style style() const { return mStyle; }
  void setGiven(Leaf* leaf) { mGiven = leaf; }

  void initialize(LogicalClock* clock) override {
    recorder->enter(Call::INITIALIZE_CLOCK, mNumber, clock != nullptr ? 1 : 0);
    Atom::initialize(clock);
  }
  void initialize() override {
    recorder->enter(Call::INITIALIZE, mNumber, 0);
    mState = 0;
    announce();
  }
  void execute(Port* port) override {
    for (int i = 0; i < mPorts.count(); ++i) {
      if (mPorts[i] != port) continue;
      const int target = mTargets[static_cast<std::size_t>(i)][static_cast<std::size_t>(mState)];
      if (target >= 0) mState = target;
    }
    recorder->enter(Call::EXECUTE, mNumber, mState);
    changeLate();
    announce();
  }
  Node* getState() override {
    Node* tree = makeTree();
    recorder->record(TreeEvent::CREATED, tree);
    Leaf* const given = recorder->given;
    if (tree != nullptr && tree->isLeaf()) recorder->given = static_cast<Leaf*>(tree);
    recorder->enter(Call::GET_STATE, mNumber, mState, tree);
    recorder->given = given;
    changeLate();
    return tree;
  }
  void setState(Node* state) override {
    recorder->record(TreeEvent::GIVEN, state);
    readState(state);
    mGiven = state != nullptr && state->isLeaf() ? static_cast<Leaf*>(state) : nullptr;
    if (mGiven != nullptr) recorder->given = mGiven;
    recorder->enter(Call::SET_STATE, mNumber, mState, state);
    if (mGiven != nullptr && recorder->mutates()) change(*mGiven);
    announce();
  }

 private:
  std::string text() const { return std::to_string(mState) + "," + recorder->takeMarker(); }

  Node* makeTree() {
    if (mStyle == NOTHING) return nullptr;
    if (mStyle == SECRET) {
      const std::string shown = std::to_string(mState / 2) + ",";
      return numbered(new SecretLeaf(new Atomleaf(shown.c_str()), mState));
    }
    if (mStyle == TEXTLESS && mState == 0) return numbered(new Leaf(new Atomleaf));
    if (mStyle == MORE) return numbered(new Leaf(new TextWithMore(text().c_str())));
    Leaf* leaf = new Leaf(new Atomleaf(text().c_str()));
    numbered(leaf);
    if (mStyle != TREE) return leaf;
    auto* tree = new Nonleaf(3);
    tree->setChild(mState == 1 ? nullptr : new Leaf(new Atomleaf("x")), 0);
    tree->setChild(leaf, 1);
    tree->setChild(new Nonleaf(0), 2);
    return numbered(tree);
  }
  Node* numbered(Node* tree) {
    if (!recorder->numbersParts) return tree;
    tree->setIndex(static_cast<unsigned int>(recorder->seen.size()) % 1000U + 7U);
    if (mNumber % 2 == 1) tree->incrOutTrans();
    return tree;
  }

  void readState(Node* state) {
    if (mStyle == NOTHING) return;
    if (mStyle == SECRET) {
      mState = static_cast<SecretLeaf*>(state)->secret();
      return;
    }
    if (mStyle == TREE) state = static_cast<Nonleaf*>(state)->getChild(1);
    const Atomleaf* text = static_cast<Leaf*>(state)->getAleaf();
    mState = text->getVal() == nullptr ? 0 : std::atoi(text->getVal()) % mStates;
    if (mStyle == MORE && static_cast<const TextWithMore*>(text)->more() != text->getVal()) {
      mState = 0;
    }
  }

  // A state that the atom was given is its own to change, as long as it lives.
  void changeLate() {
    if (mGiven != nullptr && recorder->mutates() && recorder->chance.below(4) == 0) {
      change(*mGiven);
    }
  }
  void change(Leaf& leaf) {
    if (mStyle != PLAIN) return;
    std::string text = std::to_string(recorder->chance.below(mStates)) + ",";
    switch (recorder->chance.below(7)) {
      case 0:
        leaf.getAleaf()->setVal(text.c_str());
        break;
      case 1: {
        Atomleaf* const fresh = new Atomleaf(text.c_str());
        recorder->recordOne(TreeEvent::REPLACED, leaf.getAleaf());
        leaf.setAleaf(fresh);
        recorder->recordOne(TreeEvent::CREATED, fresh);
        break;
      }
      case 2:
        std::strtok(leaf.getAleaf()->getVal(), ",");
        break;
      case 3:
        if (leaf.getAleaf()->getVal()[0] != '\0') leaf.getAleaf()->getVal()[0] = text[0];
        break;
      case 4:
        text.append(100, '.');
        leaf.getAleaf()->setVal(text.c_str());
        break;
      case 5:
        leaf.setIndex(leaf.getIndex() + 1);
        break;
      default:
        leaf.incrOutTrans();
        break;
    }
  }

  void announce() {
    for (int i = 0; i < mPorts.count(); ++i) {
      const auto port = static_cast<std::size_t>(i);
      const bool enabled = mTargets[port][static_cast<std::size_t>(mState)] >= 0;
      mPorts[i]->setSynced(enabled);
      mPorts[i]->setConstraint(enabled ? mPortConstraints[port] : nullptr);
    }
  }

  int mNumber;
  int mStates;
  Style mStyle;
  int mState = 0;
  Leaf* mGiven = nullptr;  // of the state that was restored last
  std::vector<std::vector<int>> mTargets;
  std::vector<Constraint*> mPortConstraints;
};

class RecordedJoint : public TestConnector {
 public:
  RecordedJoint(const std::string& name, const Compound* holder, int number,
                const std::vector<Port*>& ports, Kind kind, bool exporting)
      : TestConnector(kind, name.c_str(), holder, exporting), mNumber(number) {
    addPorts(ports);
    if (exporting) exportPort("out");
  }
  int number() const { return mNumber; }

  bool isBroadcast() override {
    recorder->enter(Call::IS_BROADCAST, mNumber, feasible());
    return TestConnector::isBroadcast();
  }
  bool complete() override {
    recorder->enter(Call::COMPLETE, mNumber, feasible());
    return TestConnector::complete();
  }
  bool guard() override {
    recorder->enter(Call::GUARD, mNumber, feasible());
    return TestConnector::guard();
  }
  bool guard(const BitVector& set) override {
    recorder->enter(Call::GUARD_SET, mNumber, set.in(0) + 2 * set.in(1));
    return TestConnector::guard(set);
  }
  using Connector::up;
  void up() override { recorder->enter(Call::UP, mNumber, feasible()); }

 private:
  int feasible() const {
    return mFeasibleInter == nullptr
               ? -1
               : mFeasibleInter->synced().in(0) + 2 * mFeasibleInter->synced().in(1);
  }

  int mNumber;
};

class RecordedPriority : public Priority {
 public:
  RecordedPriority(Compound* holder, Interaction* low, Interaction* high, int number)
      : Priority(holder, low, high, Vesk::Time(0)), mNumber(number) {}
  bool guard() override {
    recorder->enter(Call::PRIORITY_GUARD, mNumber, 0);
    return mNumber % 3 != 0;
  }

 private:
  int mNumber;
};

class RecordedPart : public System {
 public:
  RecordedPart(const std::string& name, const Compound* holder, int number)
      : System(name, holder), mNumber(number) {}

  void initialize() override {
    recorder->enter(Call::PART_INITIALIZE, mNumber, 0);
    Compound::initialize();
  }
  using Compound::initialize;
  Node* getState() override {
    recorder->enter(Call::PART_GET_STATE, mNumber, 0);
    Node* tree = Compound::getState();
    recorder->recordOne(TreeEvent::CREATED, tree);
    if (mHolder != nullptr && recorder->numbersParts) {
      tree->setIndex(static_cast<unsigned int>(1000 + mNumber));
    }
    if (mHolder == nullptr) recorder->lastRead = tree;
    recorder->enter(Call::PART_GOT_STATE, mNumber, 0, tree);
    return tree;
  }
  void setState(Node* state) override {
    if (mHolder == nullptr) {
      recorder->given = nullptr;
      recorder->lastRead = nullptr;
      recorder->recordOne(TreeEvent::RESTORED, nullptr);
    }
    recorder->recordOne(TreeEvent::GIVEN, state);
    recorder->enter(Call::PART_SET_STATE, mNumber, 0, state);
    auto* tree = static_cast<Nonleaf*>(state);
    if (recorder->mutates()) replaceChild(*tree);
    Compound::setState(state);
    if (recorder->mutates()) replaceChild(*tree);
    recorder->enter(Call::PART_HAS_STATE, mNumber, 0, state);
  }

 private:
  // A new leaf for the state of one atom; the replaced one is the part's to delete.
  void replaceChild(Nonleaf& tree) {
    if (tree.getNumChild() == 0) return;
    const int i = recorder->chance.below(tree.getNumChild());
    if (!mComponents[i]->isAtom()) return;
    auto* atom = static_cast<RecordedAtom*>(mComponents[i]);
    if (atom->style() != RecordedAtom::PLAIN) return;
    Leaf* old = static_cast<Leaf*>(tree.getChild(i));
    const std::string text = std::to_string(recorder->chance.below(atom->states())) + ";";
    tree.setChild(new Leaf(new Atomleaf(text.c_str())), i);
    recorder->record(TreeEvent::CREATED, tree.getChild(i));
    recorder->record(TreeEvent::REPLACED, old);
    if (faulty_leaf == old) faulty_leaf = nullptr;
    if (recorder->given == old) recorder->given = nullptr;
    atom->setGiven(nullptr);
    delete old;
  }

  int mNumber;
};

// ---- The recorder's work -------------------------------------------------------------------

inline std::size_t hashOf(const char* text) {
  return text == nullptr ? 0 : std::hash<std::string_view>()(text);
}

inline std::size_t Recorder::lists() const {
  std::size_t sum = 0;
  for (RecordedJoint* joint : joints) {
    int length = 0;
    for (Interaction* inter = joint->feasibleInter(); inter != nullptr; inter = inter->next()) {
      sum = sum * 31 + inter->synced().hash(1000003);
      ++length;
    }
    Interaction* const head = joint->feasibleInter();
    const bool stored = head != nullptr && head == Interaction::Create(joint, head->synced());
    sum = sum * 31 + static_cast<std::size_t>(length * 2 + (stored ? 1 : 0));
  }
  return sum;
}

inline int numberOf(Connector* const* field) {
  if (field == nullptr || *field == nullptr) return -1;
  return static_cast<RecordedJoint*>(*field)->number();
}

inline void Recorder::enter(Call call, int object, int value, Node* tree) {
  Seen now = {};
  now.call = call;
  now.object = object;
  now.value = value;
  now.flags = flags();
  now.choice = numberOf(choice);
  now.legal = numberOf(legal);
  const Node* const shown = tree != nullptr ? tree : lastRead;
  if (shown != nullptr) {
    now.outTrans = shown->outTrans();
    now.index = shown->getIndex();
  }
  if (faulty_leaf != nullptr) now.faulty = 1 + hashOf(faulty_leaf->getAleaf()->getVal());
  now.label = hashOf(Connector::LABEL);
  if (call == Call::EXECUTE || call == Call::GET_STATE || call == Call::SET_STATE) {
    now.lists = lists();
  }
  if (tree != nullptr && tree->isLeaf()) {
    now.text = hashOf(static_cast<Leaf*>(tree)->getAleaf()->getVal());
  }
  seen.push_back(now);
  if (++mCalls[static_cast<int>(call)] == mPlan.number && call == mPlan.call) raise();
}

inline void Recorder::raise() {
  switch (mPlan.raise) {
    case Raise::ERROR_TEXT:
      mMarker = "ERROR";
      return;
    case Raise::PRUNE_TEXT:
      mMarker = "PRUNE";
      return;
    case Raise::CLEAR:
      clearGlobals();
      return;
    default:
      break;
  }
  const int kind = static_cast<int>(mPlan.raise);
  if (kind >= static_cast<int>(Raise::OWN)) setFaulty(kind >= static_cast<int>(Raise::GIVEN));
  if (mPlan.raise == Raise::ERROR || mPlan.raise == Raise::OWN_ERROR ||
      mPlan.raise == Raise::GIVEN_ERROR) {
    global_error = true;
  }
  if (mPlan.raise == Raise::PRUNE || mPlan.raise == Raise::OWN_PRUNE ||
      mPlan.raise == Raise::GIVEN_PRUNE) {
    global_prune = true;
  }
}

// ---- Making models -------------------------------------------------------------------------

// Makes a system from a seed: the same one at every call.
class RandomModel {
 public:
  RandomModel(unsigned int seed, bool small) : mDraw(seed), mSmall(small) {
    recorder->numbersParts = mDraw.below(3) == 0;
    mPlain = mDraw.coin();
  }

  std::unique_ptr<RecordedPart> make() {
    auto root = std::make_unique<RecordedPart>("s", nullptr, mParts++);
    const int atoms = mDraw.between(1, mSmall ? 2 : 4);
    fill(*root, atoms, mSmall ? 1 : 2);
    return root;
  }

 private:
  using Ports = std::vector<std::vector<Port*>>;  // by component

  Ports fill(RecordedPart& part, int atoms, int depth) {
    Ports ports;
    for (int i = 0; i < atoms; ++i) {
      if (depth > 0 && mDraw.below(4) == 0) {
        ports.push_back(addPart(part, depth - 1));
      } else {
        ports.push_back(addAtom(part));
      }
    }
    const int joints = mDraw.between(1, mSmall ? 3 : 5);
    for (int i = 0; i < joints; ++i) addJoint(part, ports);
    if (mDraw.below(3) == 0) addPriority(part);
    return ports;
  }

  std::vector<Port*> addPart(RecordedPart& holder, int depth) {
    const int number = mParts++;
    auto* part = holder.add(new RecordedPart("s" + std::to_string(number), &holder, number));
    Ports ports = fill(*part, mDraw.between(0, 2), depth);
    std::vector<Port*> shown;
    for (int i = mDraw.between(0, 2); i > 0; --i) {
      RecordedJoint* group = newJoint(*part, ports, true);
      if (group != nullptr) shown.push_back(group->xPort());
    }
    return shown;
  }

  std::vector<Port*> addAtom(RecordedPart& part) {
    static const RecordedAtom::Style styles[] = {
        RecordedAtom::PLAIN, RecordedAtom::PLAIN,   RecordedAtom::PLAIN,  RecordedAtom::PLAIN,
        RecordedAtom::PLAIN, RecordedAtom::PLAIN,   RecordedAtom::PLAIN,  RecordedAtom::PLAIN,
        RecordedAtom::PLAIN, RecordedAtom::NOTHING, RecordedAtom::SECRET, RecordedAtom::MORE,
        RecordedAtom::TREE,  RecordedAtom::TEXTLESS};
    const auto style = styles[mDraw.below(mPlain ? 9 : 14)];
    const int states = style == RecordedAtom::NOTHING
                           ? 1
                           : mDraw.between(mDraw.below(8) == 0 ? 1 : 2, mSmall ? 3 : 4);
    const int number = mAtoms++;
    auto* atom =
        part.add(new RecordedAtom("A" + std::to_string(number), &part, number, states, style));
    std::vector<Port*> ports;
    for (int i = mDraw.between(1, mSmall ? 2 : 3); i > 0; --i) {
      std::vector<int> targets;
      for (int state = 0; state < states; ++state) {
        targets.push_back(mDraw.below(4) == 0 ? -1 : mDraw.below(states));
      }
      ports.push_back(atom->addPort("p" + std::to_string(i), targets, newConstraint()));
    }
    return ports;
  }

  Constraint* newConstraint() {
    if (mDraw.below(12) != 0) return nullptr;
    const int low = mDraw.below(2) * 5;
    return new Constraint(nullptr, Vesk::Time(low), Vesk::Time(low + 10), LAZY);
  }

  void addJoint(RecordedPart& part, Ports& ports) {
    const bool exporting = mDraw.below(8) == 0;
    RecordedJoint* joint = newJoint(part, ports, exporting);
    if (joint == nullptr) return;
    if (exporting) ports.push_back({joint->xPort()});
    if (mDraw.below(20) == 0) joint->setDominated(true);
  }

  RecordedJoint* newJoint(RecordedPart& part, const Ports& ports, bool exporting) {
    std::vector<Port*> chosen = somePorts(ports);
    if (chosen.empty()) return nullptr;
    auto* joint = new RecordedJoint("k" + std::to_string(mJoints.size()), &part,
                                    static_cast<int>(mJoints.size()), chosen,
                                    mDraw.below(3) == 0 ? BROADCAST : RENDEZVOUS, exporting);
    part.add(joint);
    mJoints.push_back(joint);
    recorder->joints.push_back(joint);
    return joint;
  }

  // At most one of each component, at least one if there is any.
  std::vector<Port*> somePorts(const Ports& ports) {
    std::vector<Port*> chosen;
    for (int tries = 0; chosen.empty() && tries < 10; ++tries) {
      for (const std::vector<Port*>& own : ports) {
        if (own.empty() || mDraw.below(3) != 0) continue;
        chosen.push_back(own[static_cast<std::size_t>(mDraw.below(static_cast<int>(own.size())))]);
      }
    }
    return chosen;
  }

  void addPriority(RecordedPart& part) {
    const int joints = part.connectors().count();
    if (joints < 2) return;
    Connector* const low = part.connectors()[mDraw.below(joints)];
    Connector* const high = part.connectors()[mDraw.below(joints)];
    if (low == high) return;
    const bool overAll = mDraw.below(3) == 0;
    part.add(new RecordedPriority(&part, Interaction::Create(low, BitVector(0)),
                                  overAll ? nullptr : Interaction::Create(high, BitVector(0)),
                                  mPriorities++));
  }

  Draw mDraw;
  bool mSmall;
  bool mPlain = false;  // whether all leaves are of the engine's own kind
  int mAtoms = 0;
  int mParts = 0;
  int mPriorities = 0;
  std::vector<RecordedJoint*> mJoints;
};

// ---- Searching -----------------------------------------------------------------------------

class WatchedScheduler : public ExploringScheduler {
 public:
  using ExploringScheduler::ExploringScheduler;
  Connector* const* legalField() const { return &mLegal; }
  Connector* const* choiceField() const { return &mConnectorChoice; }
};

struct SearchOutcome {
  Explored texts;
  std::string messages;  // on standard error
  std::vector<Seen> seen;
  std::vector<TreeEvent> trees;
  int flags = 0;  // at the end
  std::vector<int> calls;
};

struct SearchCase {
  unsigned int seed = 0;
  bool small = false;
  Traversal traversal = BFS;
  int limit = 0;
  int mutations = 0;  // per cent of the chances
  Plan plan;
};

inline std::ostream& operator<<(std::ostream& out, const SearchCase& one) {
  return out << "seed " << one.seed << (one.small ? " small" : "")
             << (one.traversal == BFS ? " bfs" : " dfs") << " limit " << one.limit << " mutations "
             << one.mutations << ", " << one.plan;
}

class Searches {
 public:
  SearchOutcome byEngine(const SearchCase& one) {
    return outcome(one, [&](RecordedPart& system) {
      WatchedScheduler scheduler(&system, one.traversal, one.limit);
      scheduler.setFiles(mFiles[0].file(), mFiles[1].file(), mFiles[2].file(), mFiles[3].file());
      recorder->legal = scheduler.legalField();
      recorder->choice = scheduler.choiceField();
      scheduler.explore();
      recorder->legal = recorder->choice = nullptr;
    });
  }
  SearchOutcome literally(const SearchCase& one) {
    return outcome(one, [&](RecordedPart& system) {
      LiteralExploration search(system, static_cast<LiteralExploration::Count>(one.limit), stdout,
                                mFiles[0].file(), mFiles[1].file(), mFiles[2].file(),
                                mFiles[3].file());
      search.setOnDeath([](Node* tree) { recorder->record(TreeEvent::DEAD, tree); });
      recorder->legal = search.legalField();
      recorder->choice = search.choiceField();
      if (one.traversal == BFS) {
        search.breadthFirst();
      } else {
        search.depthFirst();
      }
      recorder->legal = recorder->choice = nullptr;
    });
  }

 private:
  SearchOutcome outcome(const SearchCase& one, const std::function<void(RecordedPart&)>& search) {
    Recorder record(one.plan, one.seed, one.mutations);
    recorder = &record;
    Connector::LABEL[0] = '\0';
    clearGlobals();
    for (ScratchFile& file : mFiles) file.clear();
    SearchOutcome found;
    {
      auto system = RandomModel(one.seed, one.small).make();
      mOut.start();
      mErr.start();
      search(*system);
      found.messages = mErr.stop();
      found.texts = {withoutRates(mOut.stop()), mFiles[0].content(), mFiles[1].content(),
                     mFiles[2].content(), mFiles[3].content()};
    }
    found.flags = record.flags();
    for (int i = 0; i < static_cast<int>(Call::COUNT); ++i) {
      found.calls.push_back(record.callsOf(static_cast<Call>(i)));
    }
    found.seen.swap(record.seen);
    found.trees.swap(record.trees);
    clearGlobals();
    recorder = nullptr;
    return found;
  }

  ScratchFile mFiles[4];
  Redirection mOut{STDOUT_FILENO, stdout};
  Redirection mErr{STDERR_FILENO, stderr};
};

// ---- Comparing -----------------------------------------------------------------------------

// Compares the places of trees.
class TreePlaces {
 public:
  // A state's nodes stay where they are as long as the literal search has the state, and no other
  // node is there meanwhile. With stand-ins: nodes of two states that are given one after the other
  // are not at one place. Empty when that is so.
  static std::string fault(const std::vector<TreeEvent>& literal,
                           const std::vector<TreeEvent>& found, bool standIns) {
    TreePlaces places(standIns);
    std::size_t i = 0;
    for (const TreeEvent& event : literal) {
      const void* place = nullptr;
      if (event.kind != TreeEvent::DEAD) {
        if (i == found.size() || found[i].kind != event.kind) return "the records of trees differ";
        place = found[i++].address;
      }
      const std::string fault = places.take(event, place);
      if (!fault.empty()) return fault + " at event " + std::to_string(i);
    }
    return i == found.size() ? "" : "the records of trees differ";
  }

 private:
  explicit TreePlaces(bool standIns) : mStandIns(standIns) {}

  std::string take(const TreeEvent& event, const void* place) {
    if (event.kind == TreeEvent::RESTORED) {
      mGivenBefore.swap(mGiven);
      mGiven.clear();
      mRestored = static_cast<int>(mPlaces.size());
      return "";
    }
    if (event.kind == TreeEvent::CREATED) return create(event.address, place);
    const auto known = mNumbers.find(event.address);
    if (known == mNumbers.end()) return "the literal search has an unknown node";
    const int number = known->second;
    if (event.kind == TreeEvent::GIVEN) return give(number, place);
    if (event.kind == TreeEvent::REPLACED) {
      mGiven.erase(place);
      mGivenBefore.erase(place);
    }
    mAlive.erase(mPlaces[static_cast<std::size_t>(number)]);
    mNumbers.erase(known);
    return "";
  }
  std::string create(const void* address, const void* place) {
    const int number = static_cast<int>(mPlaces.size());
    if (!mNumbers.emplace(address, number).second) return "the literal search has lost a death";
    const bool isFree = mAlive.emplace(place, number).second;
    mPlaces.push_back(place);
    return isFree || mStandIns ? "" : "a new node is where one of a living state is";
  }
  std::string give(int number, const void* place) {
    if (!mStandIns) {
      const bool isThere = mPlaces[static_cast<std::size_t>(number)] == place;
      return isThere ? "" : "a node of a state has moved";
    }
    mGiven[place] = number;
    if (number >= mRestored) return "";  // the model has made it while it is given the state
    const auto before = mGivenBefore.find(place);
    const bool isOther = before != mGivenBefore.end() && before->second != number;
    return isOther ? "a node is where one of the state before was" : "";
  }

  bool mStandIns;
  std::unordered_map<const void*, int> mNumbers;  // by address in the literal search
  std::unordered_map<const void*, int> mAlive;    // by place in the other
  std::vector<const void*> mPlaces;               // by number
  std::unordered_map<const void*, int> mGiven;    // by place, of the state that is restored
  std::unordered_map<const void*, int> mGivenBefore;
  int mRestored = 0;  // the number of the first node that was made since
};

inline std::string firstDifference(const std::vector<Seen>& literal,
                                   const std::vector<Seen>& found) {
  std::size_t i = 0;
  while (i < literal.size() && i < found.size() && literal[i] == found[i]) ++i;
  if (i == literal.size() && i == found.size()) return "";
  std::ostringstream text;
  for (std::size_t before = i < 3 ? 0 : i - 3; before < i; ++before) {
    text << "  both    " << literal[before] << '\n';
  }
  text << "  literal ";
  if (i < literal.size()) text << literal[i];
  text << "\n  engine  ";
  if (i < found.size()) text << found[i];
  text << "\n  call " << i << " of " << literal.size() << " and " << found.size() << '\n';
  return text.str();
}

// standIns: whether a tree of the engine's may stand for one state after the other.
inline testing::AssertionResult same(const SearchOutcome& literal, const SearchOutcome& found,
                                     bool standIns) {
  const std::string calls = firstDifference(literal.seen, found.seen);
  const std::string trees = TreePlaces::fault(literal.trees, found.trees, standIns);
  if (!calls.empty()) return testing::AssertionFailure() << "calls differ\n" << calls;
  if (!(literal.texts == found.texts)) {
    return testing::AssertionFailure() << "expected\n" << literal.texts << "found\n" << found.texts;
  }
  if (literal.messages != found.messages) {
    return testing::AssertionFailure() << "expected messages\n"
                                       << literal.messages << "found\n"
                                       << found.messages;
  }
  if (literal.flags != found.flags) {
    return testing::AssertionFailure()
           << "flags at the end: expected " << literal.flags << ", found " << found.flags;
  }
  if (!trees.empty()) return testing::AssertionFailure() << trees;
  return testing::AssertionSuccess();
}

}  // namespace kit

#endif
