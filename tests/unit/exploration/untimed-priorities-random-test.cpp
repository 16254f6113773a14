// Random models whose priorities act everywhere, against a reference that knows the rules and
// nothing of the engine, and against the other ways of running that must agree with it.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "draw.hpp"
#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"

using namespace kit;

namespace {

// ---- what a model is made of -------------------------------------------------------------------

using State = std::vector<int>;  // one number per atom
using Table = std::map<int, int>;

struct AtomPart {
  int compound;
  int states;
  std::vector<Table> ports;
};

// A port of an atom, or the exported port of a connector.
struct PortPart {
  bool exported;
  int owner;
  int port;
};

struct ConnectorPart {
  int compound;
  Kind kind;
  bool exported;
  std::vector<PortPart> ports;
};

struct PriorityPart {
  int compound;
  int low;
  std::set<int> lowPorts;
  int high;  // -1: everything else
  std::set<int> highPorts;
  int guardAtom;  // -1: always; else only while that atom is in state 0
};

struct Parts {
  std::vector<int> parents;  // of the compounds; the root is the first
  std::vector<AtomPart> atoms;
  std::vector<ConnectorPart> connectors;
  std::vector<PriorityPart> priorities;

  bool isBelow(int compound, int above) const {
    while (compound != above && compound != 0) compound = parents[std::size_t(compound)];
    return compound == above;
  }
};

std::string nameOf(char kind, int number) {
  return kind + std::to_string(number);
}

// ---- drawing -----------------------------------------------------------------------------------

struct Choice {
  bool nested;
  bool broadcasts;
  bool yieldToAll;
  enum Guards { NONE, OWN_ATOMS, ANY } guards;
};

class Drawing {
 public:
  Drawing(unsigned int seed, const Choice& choice) : mDraw(seed), mChoice(choice) {}

  Parts parts() {
    mParts.parents.push_back(0);
    if (mChoice.nested) {
      for (int i = mDraw.between(1, 2); i > 0; --i) addCompound();
    }
    const int compounds = int(mParts.parents.size());
    for (int c = 0; c < compounds; ++c) addAtoms(c);
    for (int c = compounds - 1; c >= 0; --c) addConnectors(c);
    for (int c = 0; c < compounds; ++c) addPriorities(c);
    return mParts;
  }

 private:
  void addCompound() { mParts.parents.push_back(mDraw.below(int(mParts.parents.size()))); }

  void addAtoms(int compound) {
    const int most = mChoice.nested ? 2 : 4;
    for (int i = mDraw.between(1, most); i > 0; --i) {
      AtomPart atom{compound, mDraw.between(2, 3), {}};
      for (int ports = mDraw.between(2, 3); ports > 0; --ports) {
        Table table;
        for (int s = 0; s < atom.states; ++s) {
          if (mDraw.below(3) != 0) table[s] = mDraw.below(atom.states);
        }
        atom.ports.push_back(table);
      }
      mParts.atoms.push_back(atom);
    }
  }

  // Each port belongs to another part of the compound, so that no atom takes part twice.
  std::vector<PortPart> ports(int compound) {
    std::vector<PortPart> all;
    for (std::size_t a = 0; a < mParts.atoms.size(); ++a) {
      const AtomPart& atom = mParts.atoms[a];
      if (atom.compound != compound || mDraw.coin()) continue;
      all.push_back({false, int(a), mDraw.below(int(atom.ports.size()))});
    }
    for (std::size_t k = 0; k < mParts.connectors.size(); ++k) {
      const ConnectorPart& inner = mParts.connectors[k];
      if (!inner.exported || mParts.parents[std::size_t(inner.compound)] != compound) continue;
      if (inner.compound == compound || takes(all, inner.compound) || mDraw.coin()) continue;
      all.push_back({true, int(k), 0});
    }
    if (mDraw.coin()) std::reverse(all.begin(), all.end());
    return all;
  }

  bool takes(const std::vector<PortPart>& ports, int compound) const {
    for (const PortPart& port : ports) {
      if (!port.exported) continue;
      if (mParts.connectors[std::size_t(port.owner)].compound == compound) return true;
    }
    return false;
  }

  void addConnectors(int compound) {
    for (int i = mDraw.between(2, 5); i > 0; --i) {
      const std::vector<PortPart> joined = ports(compound);
      if (joined.empty()) continue;
      const Kind kind = mChoice.broadcasts && mDraw.coin() ? BROADCAST : RENDEZVOUS;
      mParts.connectors.push_back({compound, kind, compound != 0 && mDraw.coin(), joined});
    }
  }

  void addPriorities(int compound) {
    std::vector<int> own;
    for (std::size_t k = 0; k < mParts.connectors.size(); ++k) {
      if (mParts.connectors[k].compound == compound) own.push_back(int(k));
    }
    if (own.size() < 2) return;
    for (int i = mDraw.below(4); i > 0; --i) {
      const int low = own[std::size_t(mDraw.below(int(own.size())))];
      const int high = own[std::size_t(mDraw.below(int(own.size())))];
      const bool toAll = mChoice.yieldToAll && mDraw.below(4) == 0;
      if (low == high && !toAll) continue;
      mParts.priorities.push_back({compound, low, some(low), toAll ? -1 : high,
                                   toAll ? std::set<int>() : some(high), guardOf(low)});
    }
  }

  std::set<int> some(int connector) {
    std::set<int> indices;
    for (int i = 0; i < int(mParts.connectors[std::size_t(connector)].ports.size()); ++i) {
      if (mDraw.below(3) != 0) indices.insert(i);
    }
    return indices;
  }

  int guardOf(int connector) {
    if (mChoice.guards == Choice::NONE || mDraw.coin()) return -1;
    if (mChoice.guards == Choice::ANY) return mDraw.below(int(mParts.atoms.size()));
    const PortPart& port = mParts.connectors[std::size_t(connector)].ports[0];
    return port.exported ? -1 : port.owner;
  }

  Draw mDraw;
  const Choice mChoice;
  Parts mParts;
};

// ---- the reference -----------------------------------------------------------------------------

// What can fire in one state. A connector without time has one interaction at most.
class Reference {
 public:
  Reference(const Parts& parts, State state) : mParts(parts), mState(std::move(state)) {
    mSets.resize(parts.connectors.size());
    mFeasible.resize(parts.connectors.size());
    mDominated.resize(parts.connectors.size());
    settle(0);
  }

  // The legal connectors that are not dominated, in their order.
  std::vector<int> legal() const {
    std::vector<int> list;
    for (int k : mLegal) {
      if (!mDominated[std::size_t(k)]) list.push_back(k);
    }
    return list;
  }

  std::string label(int connector) const {
    const ConnectorPart& part = mParts.connectors[std::size_t(connector)];
    std::string text = nameOf('Q', part.compound) + "/" + nameOf('K', connector) + "/";
    for (int i : mSets[std::size_t(connector)]) {
      if (i != 0) text += "|";
      const PortPart& port = part.ports[std::size_t(i)];
      if (port.exported) {
        const int compound = mParts.connectors[std::size_t(port.owner)].compound;
        text += nameOf('Q', compound) + ":" + nameOf('K', port.owner);
      } else {
        text += nameOf('A', port.owner) + ":" + nameOf('p', port.port);
      }
    }
    return text;
  }

  // Fires what the connector can fire, from another state if need be: an atom that has no such
  // transition stays where it is.
  void fire(int connector, State& state) const {
    const ConnectorPart& part = mParts.connectors[std::size_t(connector)];
    for (int i : mSets[std::size_t(connector)]) {
      const PortPart& port = part.ports[std::size_t(i)];
      if (port.exported) {
        fire(port.owner, state);
        continue;
      }
      const Table& table = mParts.atoms[std::size_t(port.owner)].ports[std::size_t(port.port)];
      const auto to = table.find(state[std::size_t(port.owner)]);
      if (to != table.end()) state[std::size_t(port.owner)] = to->second;
    }
  }

 private:
  bool isEnabled(const PortPart& port) const {
    if (port.exported) {
      return mFeasible[std::size_t(port.owner)] && !mDominated[std::size_t(port.owner)];
    }
    const Table& table = mParts.atoms[std::size_t(port.owner)].ports[std::size_t(port.port)];
    return table.count(mState[std::size_t(port.owner)]) != 0;
  }

  // The compounds below, then the connectors of this one, then its priorities.
  void settle(int compound) {
    for (int c = 1; c < int(mParts.parents.size()); ++c) {
      if (mParts.parents[std::size_t(c)] == compound) settle(c);
    }
    for (int k = 0; k < int(mParts.connectors.size()); ++k) {
      if (mParts.connectors[std::size_t(k)].compound == compound) evaluate(k);
    }
    for (const PriorityPart& priority : mParts.priorities) {
      if (priority.compound == compound && holds(priority)) {
        mDominated[std::size_t(priority.low)] = true;
      }
    }
  }

  void evaluate(int connector) {
    const ConnectorPart& part = mParts.connectors[std::size_t(connector)];
    std::set<int>& set = mSets[std::size_t(connector)];
    for (int i = 0; i < int(part.ports.size()); ++i) {
      if (isEnabled(part.ports[std::size_t(i)])) set.insert(i);
    }
    mFeasible[std::size_t(connector)] =
        part.kind == BROADCAST ? set.count(0) != 0 : set.size() == part.ports.size();
    if (!mFeasible[std::size_t(connector)] || part.exported) return;
    mLegal.insert(mLegal.begin(), connector);
  }

  bool holds(const PriorityPart& priority) const {
    if (priority.guardAtom >= 0 && mState[std::size_t(priority.guardAtom)] != 0) return false;
    if (!contains(priority.low, priority.lowPorts)) return false;
    if (priority.high >= 0) return contains(priority.high, priority.highPorts);
    for (int k : mLegal) {
      const bool here =
          mParts.isBelow(mParts.connectors[std::size_t(k)].compound, priority.compound);
      if (here && k != priority.low) return true;
    }
    return false;
  }

  bool contains(int connector, const std::set<int>& ports) const {
    const std::set<int>& set = mSets[std::size_t(connector)];
    return mFeasible[std::size_t(connector)] &&
           std::includes(set.begin(), set.end(), ports.begin(), ports.end());
  }

  const Parts& mParts;
  const State mState;
  std::vector<std::set<int>> mSets;
  std::vector<bool> mFeasible;
  std::vector<bool> mDominated;
  std::vector<int> mLegal;
};

std::string textOf(const Parts& parts, const State& state, int compound = 0) {
  std::string text;
  for (std::size_t a = 0; a < parts.atoms.size(); ++a) {
    if (parts.atoms[a].compound == compound) text += std::to_string(state[a]) + ",";
  }
  for (int c = 1; c < int(parts.parents.size()); ++c) {
    if (parts.parents[std::size_t(c)] == compound) text += textOf(parts, state, c);
  }
  return text;
}

// What a breadth-first search finds, line by line.
struct Space {
  std::vector<std::string> states, transitions, deadlocks;
  std::vector<std::multimap<std::string, int>> ways;  // from each state: labels and targets
};

Space explore(const Parts& parts) {
  Space space;
  std::vector<State> found{State(parts.atoms.size(), 0)};
  std::map<State, int> numbers{{found[0], 0}};
  for (std::size_t n = 0; n < found.size(); ++n) {
    const State state = found[n];
    const std::string number = std::to_string(n);
    space.states.push_back(number + " : " + textOf(parts, state));
    space.ways.emplace_back();
    const Reference reference(parts, state);
    if (reference.legal().empty()) space.deadlocks.push_back(number);
    for (int connector : reference.legal()) {
      State target = state;
      reference.fire(connector, target);
      const auto [at, isNew] = numbers.try_emplace(target, int(found.size()));
      if (isNew) found.push_back(target);
      const std::string label = reference.label(connector);
      space.transitions.push_back("(" + number + ", " + label + ", " + std::to_string(at->second) +
                                  ")");
      space.ways[n].emplace(label, at->second);
    }
  }
  return space;
}

// ---- the model ---------------------------------------------------------------------------------

class TableAtom : public Atom {
 public:
  TableAtom(const std::string& name, const Compound* holder, const std::vector<Table>& tables)
      : Atom(name.c_str(), holder), mTables(tables) {
    declare(Vesk::Locality::REPEATABLE);
    for (int p = 0; p < int(tables.size()); ++p) addPort(new Port(nameOf('p', p).c_str(), this));
  }
  bool isInFirstState() const { return mState == 0; }

  using Atom::initialize;
  void initialize() override { enter(0); }
  void execute(Port* port) override {
    for (int p = 0; p < mPorts.count(); ++p) {
      if (mPorts[p] != port) continue;
      const auto to = mTables[std::size_t(p)].find(mState);
      if (to != mTables[std::size_t(p)].end()) return enter(to->second);
    }
  }
  Node* getState() override {
    return new Leaf(new Atomleaf((std::to_string(mState) + ",").c_str()));
  }
  void setState(Node* state) override {
    enter(std::stoi(static_cast<Leaf*>(state)->getAleaf()->getVal()));
  }

 private:
  void enter(int state) {
    mState = state;
    for (int p = 0; p < mPorts.count(); ++p) {
      mPorts[p]->setSynced(mTables[std::size_t(p)].count(state) != 0);
    }
  }

  const std::vector<Table> mTables;
  int mState = 0;
};

BitVector setOf(const std::set<int>& indices) {
  BitVector set;
  for (int i : indices) set.add(i);
  return set;
}

// The model of the parts. The kit has the classes; what it has not is which atom is where.
class Building {
 public:
  explicit Building(const Parts& parts) : mParts(parts), mRoot(new System("Q0")) {
    mCompounds.resize(parts.parents.size());
    mAtoms.resize(parts.atoms.size());
    mCompounds[0] = mRoot.get();
    buildTree(0);
    for (std::size_t k = 0; k < parts.connectors.size(); ++k) buildConnector(int(k));
    for (const PriorityPart& part : parts.priorities) buildPriority(part);
  }

  System& root() { return *mRoot; }

 private:
  void buildTree(int compound) {
    System* here = mCompounds[std::size_t(compound)];
    for (std::size_t a = 0; a < mParts.atoms.size(); ++a) {
      if (mParts.atoms[a].compound != compound) continue;
      mAtoms[a] = here->add(new TableAtom(nameOf('A', int(a)), here, mParts.atoms[a].ports));
    }
    for (int c = 1; c < int(mParts.parents.size()); ++c) {
      if (mParts.parents[std::size_t(c)] != compound) continue;
      mCompounds[std::size_t(c)] = here->add(new System(nameOf('Q', c), here));
      buildTree(c);
    }
  }

  void buildConnector(int number) {
    const ConnectorPart& part = mParts.connectors[std::size_t(number)];
    std::vector<Port*> ports;
    for (const PortPart& port : part.ports) {
      const std::size_t owner = std::size_t(port.owner);
      ports.push_back(port.exported ? mConnectors[owner]->xPort()
                                    : mAtoms[owner]->ports()[port.port]);
    }
    System* holder = mCompounds[std::size_t(part.compound)];
    TestConnector* made = part.exported ? holder->group(nameOf('K', number), ports, part.kind)
                                        : holder->join(nameOf('K', number), ports, part.kind);
    made->declare(Vesk::Locality::REPEATABLE);
    mConnectors.push_back(made);
  }

  void buildPriority(const PriorityPart& part) {
    Interaction* low =
        Interaction::Create(mConnectors[std::size_t(part.low)], setOf(part.lowPorts));
    Interaction* high = part.high < 0 ? nullptr
                                      : Interaction::Create(mConnectors[std::size_t(part.high)],
                                                            setOf(part.highPorts));
    TestPriority* made = mCompounds[std::size_t(part.compound)]->priority(low, high);
    if (part.guardAtom < 0) return;
    TableAtom* atom = mAtoms[std::size_t(part.guardAtom)];
    made->onGuard = [atom] { return atom->isInFirstState(); };
  }

  const Parts& mParts;
  std::unique_ptr<System> mRoot;
  std::vector<System*> mCompounds;
  std::vector<TableAtom*> mAtoms;
  std::vector<TestConnector*> mConnectors;
};

std::vector<std::string> linesOf(const std::string& text, const std::string& start = "") {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, start.size(), start) == 0) lines.push_back(line);
  }
  return lines;
}

std::string labelIn(const std::string& line) {
  const std::size_t first = line.find(", ") + 2;
  return line.substr(first, line.rfind(", ") - first);
}

// The states with their transitions, whatever their numbers.
std::multiset<std::string> named(const std::vector<std::string>& states,
                                 const std::vector<std::string>& transitions) {
  std::map<std::string, std::string> texts;
  for (const std::string& line : states)
    texts[line.substr(0, line.find(' '))] = line.substr(line.find(':'));
  std::multiset<std::string> result;
  for (const std::string& line : transitions) {
    const std::string source = line.substr(1, line.find(',') - 1);
    const std::size_t last = line.rfind(' ') + 1;
    result.insert(texts.at(source) + labelIn(line) +
                  texts.at(line.substr(last, line.size() - last - 1)));
  }
  return result;
}

// Where a run goes: the steps must be transitions of the space, one after the other.
void expectWay(const Space& space, const std::vector<std::string>& labels, bool toTheEnd) {
  int state = 0;
  for (const std::string& label : labels) {
    const auto way = space.ways[std::size_t(state)].find(label);
    ASSERT_NE(way, space.ways[std::size_t(state)].end()) << label << " in state " << state;
    state = way->second;
  }
  if (!toTheEnd) return;
  EXPECT_TRUE(space.ways[std::size_t(state)].empty()) << "state " << state;
}

constexpr int STEPS = 30;

constexpr Choice EVERYTHING{true, true, true, Choice::ANY};
constexpr Choice FLAT{false, true, true, Choice::ANY};

void expectSameSpace(const Parts& parts) {
  const Space expected = explore(parts);
  Building building(parts);
  building.root().declare(Vesk::Priorities::EVERYWHERE);
  const Explored wide = explored(building.root(), BFS);
  EXPECT_EQ(linesOf(wide.aut, "("), expected.transitions);
  EXPECT_EQ(linesOf(wide.state), expected.states);
  EXPECT_EQ(linesOf(wide.deadlock), expected.deadlocks);
  const Explored deep = explored(building.root(), DFS);
  EXPECT_EQ(named(linesOf(deep.state), linesOf(deep.aut, "(")),
            named(expected.states, expected.transitions));
}

// ---- maximal synchronisation -------------------------------------------------------------------

std::vector<std::string> maximalSteps(const Parts& parts) {
  std::vector<std::string> trace;
  State state(parts.atoms.size(), 0);
  for (;;) {
    const Reference reference(parts, state);
    if (reference.legal().empty()) {
      trace.push_back("scheduler : deadlock");
      return trace;
    }
    for (int connector : reference.legal()) {
      trace.push_back("scheduler : " + reference.label(connector));
      reference.fire(connector, state);
      if (int(trace.size()) == STEPS) return trace;
    }
  }
}

std::vector<std::string> maximalRun(System& system) {
  OpenScheduler scheduler(&system, 0, 1, 1);
  scheduler.mSimLimit = true;
  scheduler.mMaxSimLimit = STEPS;
  std::string trace;
  errorsOf([&] { trace = traceOf(scheduler, [&] { scheduler.runOptimizedExecution(); }); });
  return linesOf(trace);
}

// ---- other ways of running ---------------------------------------------------------------------

// The levels say of every priority what it says.
bool levelsAgree(Parts& parts, System& system) {
  for (const PriorityPart& priority : parts.priorities) {
    if (priority.high < 0) return false;
  }
  for (Priority* priority : system.priorities()) {
    if (priority->low()->connector()->getPriority() >=
        priority->high()->connector()->getPriority()) {
      return false;
    }
  }
  return true;
}

std::vector<std::string> withoutPrefix(std::vector<std::string> lines, std::size_t length) {
  for (std::string& line : lines) line.erase(0, length);
  return lines;
}

std::vector<std::string> timedRun(System& system, unsigned int seed) {
  SimuClock platform("platform");
  LogicalClock logical("logical", platform);
  StandardSemantics semantics;
  EmptyScheduler everything;
  std::ostringstream out;
  StandardExecuter executer(system, logical, semantics, everything, false, STEPS, out, int(seed),
                            Vesk::Time(40));
  executer.initialize();
  executer.run();
  return linesOf(out.str());
}

}  // namespace

TEST(UntimedPrioritiesRandomTest, ExplorationsFindWhatTheReferenceFinds) {
  int changed = 0;
  for (unsigned int seed = 0; seed < 5000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Parts parts = Drawing(seed, seed % 3 == 0 ? FLAT : EVERYTHING).parts();
    expectSameSpace(parts);
    const std::vector<std::string> transitions = explore(parts).transitions;
    parts.priorities.clear();
    if (explore(parts).transitions != transitions) ++changed;
  }
  EXPECT_GT(changed, 1000);
}

TEST(UntimedPrioritiesRandomTest, MaximalSynchronisationFiresWhatTheReferenceFires) {
  for (unsigned int seed = 0; seed < 2000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const Parts parts = Drawing(seed, seed % 3 == 0 ? FLAT : EVERYTHING).parts();
    Building building(parts);
    building.root().declare(Vesk::Priorities::EVERYWHERE);
    EXPECT_EQ(maximalRun(building.root()), maximalSteps(parts));
  }
}

// A timed run looks again at a priority only when one of its connectors has moved, so its guard
// must not depend on other atoms, and what yields to all not on other compounds.
TEST(UntimedPrioritiesRandomTest, TimedRunsWithoutTimeAreWaysThroughTheExploration) {
  for (unsigned int seed = 0; seed < 2000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const bool nested = seed % 3 != 0;
    const Parts parts = Drawing(seed, {nested, true, !nested, Choice::OWN_ATOMS}).parts();
    Building building(parts);
    std::vector<std::string> lines = timedRun(building.root(), seed);
    ASSERT_FALSE(lines.empty());
    const bool ended = lines.back() == "scheduler [0ms] deadlock!";
    lines.pop_back();
    lines = withoutPrefix(lines, std::string("scheduler [0ms] ").size());
    for (std::string& line : lines) line.erase(line.rfind(" lazy"));
    expectWay(explore(parts), lines, ended);
  }
}

TEST(UntimedPrioritiesRandomTest, PriorityHeapRunsAreWaysThroughTheExploration) {
  int compared = 0;
  for (unsigned int seed = 0; seed < 2000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Parts parts = Drawing(seed, {false, true, false, Choice::NONE}).parts();
    Building building(parts);
    OpenScheduler scheduler(&building.root(), 0, 1, 2);
    scheduler.mSimLimit = true;
    scheduler.mMaxSimLimit = STEPS;
    std::string trace;
    const std::string end =
        outputOf([&] { trace = traceOf(scheduler, [&] { scheduler.runOptimizedExec2(); }); });
    if (!levelsAgree(parts, building.root())) continue;
    ++compared;
    const std::vector<std::string> lines = linesOf(trace, "scheduler : ");
    expectWay(explore(parts), withoutPrefix(lines, std::string("scheduler : ").size()),
              int(lines.size()) < STEPS);
  }
  EXPECT_GT(compared, 500);
}
