// State-space exploration: enumerates the states that an untimed model can reach, breadth-first or
// depth-first.
#include <stdio_ext.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <memory>
#include <utility>

#include "component.hpp"
#include "connector.hpp"
#include "exploration-files.hpp"
#include "port.hpp"
#include "scheduler.hpp"
#include "search-signals.hpp"
#include "state-table.hpp"
#include "states.hpp"

namespace {

using Count = unsigned long long;

constexpr char SPINNER[] = "|/-\\";
constexpr char SPIN[] = "%c\r";
constexpr char PROGRESS[] =
    "%c Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10llu]";
constexpr char RATE[] = ", SPS: %5lds/s\r";
constexpr char NO_RATE[] = "\r";
constexpr char LIMIT_REACHED[] = "\nState exploration limit size reached...";
constexpr char SUMMARY[] =
    "* Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10llu]\n";
constexpr char FINAL_SIZE[] = "Final size : %llu\n";
constexpr char INTERRUPTED[] =
    "Exploration was interrupted because an error state was encountered!";
constexpr char PATH_SIZE[] = "Path size : %llu\n";
constexpr char ERROR_PATH[] = "Error path is:";
constexpr char PATH_STATE[] = "%llu, ";
constexpr char PATH_LABEL[] = ":: %s\n";
constexpr char FAULTY_ATOM[] = "Faulty atom : %s\n";

constexpr char ERROR_MARKER[] = "ERROR";
constexpr char PRUNE_MARKER[] = "PRUNE";

constexpr Count STEPS_PER_SPIN = 20;
constexpr Count STEPS_PER_REPORT = 50;
constexpr std::time_t SECONDS_PER_RATE = 3;

const char* textOf(const Leaf& leaf) {
  const Atomleaf* atom = leaf.getAleaf();
  return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : "";
}

void clearFlags() {
  global_error = false;
  global_prune = false;
  faulty_leaf = nullptr;
}

// ---- Small types of a search -----------------------------------------------------------------

struct Counters {
  Count steps = 0;  // states taken from the queue, or transitions taken from the stack
  Count pruned = 0;
  Count deadlocks = 0;
  Count transitions = 0;
};

// The label of the transition that was taken last. The text is built when it is asked for.
class LastLabel {
 public:
  void set(Connector* connector) {
    const Interaction* interaction = connector->feasibleInter();
    mConnector = connector;
    mSet = interaction != nullptr ? interaction->synced() : BitVector::EMPTY;
  }
  // Valid until the next label of any connector.
  const char* text() const { return mConnector != nullptr ? mConnector->rt_label(mSet) : ""; }

 private:
  Connector* mConnector = nullptr;
  BitVector mSet;
};

// The states from the root to the one that a depth-first search works on. An entry whose pending
// transitions have all been taken leaves the path.
class Path {
 public:
  void enter(StateNumber state) { mEntries.push_back({state, 0}); }
  // One more transition is pending out of the newest entry.
  void addPending() {
    if (!mEntries.empty()) ++mEntries.back().pending;
  }
  // Deliberate: a state without transitions leaves the path like any other, though it was never
  // counted among the pending ones of the entry before it. That entry may leave too early.
  void backtrack() {
    while (!mEntries.empty() && mEntries.back().pending == 0) {
      mEntries.pop_back();
      if (!mEntries.empty()) --mEntries.back().pending;
    }
  }
  void write(OutputBuffer& file) const {
    for (const Entry& entry : mEntries) {
      file.put(entry.state);
      file.put(", ", 2);
    }
  }
  void print() const {
    for (const Entry& entry : mEntries) std::printf(PATH_STATE, Count{entry.state});
  }
  Count size() const { return mEntries.size(); }

 private:
  struct Entry {
    StateNumber state;
    std::uint64_t pending;  // transitions below this point that have still to be taken
  };
  std::deque<Entry> mEntries;
};

// Shows on standard output how far a search is.
class Progress {
 public:
  enum Event { NOTHING, RATE_SHOWN, LIMIT };

  // The limit counts only when there is one.
  Progress(bool limited, int limit)
      : mLimited(limited), mLimit(static_cast<Count>(static_cast<long long>(limit))) {}
  void start() { mFlushed = mRateShown = std::time(nullptr); }

  // After the step was counted.
  Event show(const Counters& counters, Count stored) {
    const bool limit = mLimited && counters.steps == mLimit;
    Event event = NOTHING;
    if (counters.steps % STEPS_PER_SPIN == 0) std::printf(SPIN, spin());
    if (counters.steps % STEPS_PER_REPORT == 0 || limit) event = report(counters, stored);
    if (!limit) return event;
    std::puts(LIMIT_REACHED);
    return LIMIT;
  }

 private:
  char spin() {
    const char sign = SPINNER[mSpinner];
    mSpinner = (mSpinner + 1) % (sizeof SPINNER - 1);
    return sign;
  }
  Event report(const Counters& counters, Count stored) {
    std::printf(PROGRESS, spin(), counters.steps, counters.pruned, counters.deadlocks, stored);
    const std::time_t now = std::time(nullptr);
    const std::time_t elapsed = now - mRateShown;
    const bool rate = elapsed >= SECONDS_PER_RATE;
    if (rate) {
      std::printf(RATE,
                  static_cast<long>(mReports * STEPS_PER_REPORT / static_cast<Count>(elapsed)));
      mRateShown = now;
      mReports = 1;
    } else {
      std::printf(NO_RATE);
      ++mReports;
    }
    if (now != mFlushed) std::fflush(stdout);
    mFlushed = now;
    return rate ? RATE_SHOWN : NOTHING;
  }

  bool mLimited;
  Count mLimit;
  std::size_t mSpinner = 0;
  Count mReports = 1;  // since the last rate
  std::time_t mRateShown = 0;
  std::time_t mFlushed = 0;
};

// Gives a connector an interaction to fire, then takes all away from it.
class OneInteraction {
 public:
  OneInteraction(Connector& connector, Interaction* interaction) : mConnector(connector) {
    mConnector.setFeasibleInter(interaction);
  }
  OneInteraction(const OneInteraction&) = delete;
  OneInteraction& operator=(const OneInteraction&) = delete;
  ~OneInteraction() { mConnector.setFeasibleInter(nullptr); }

 private:
  Connector& mConnector;
};

// ---- What both searches share ----------------------------------------------------------------

class Search {
 public:
  // What a search takes from the scheduler and leaves there.
  struct Place {
    Compound& system;
    Connector*& legal;
    Connector*& choice;
  };

  Search(const Place& place, ExplorationFiles& files, const Progress& progress,
         const SearchSignals& signals);
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;
  virtual ~Search();

  // Explores, prints the summary and completes the files, also when model code throws: then the
  // exception goes on.
  void run();

 protected:
  using Tree = std::unique_ptr<Node>;

  // Finds the initial state.
  virtual void begin() = 0;
  // How many are waiting in the queue or stack.
  virtual Count stored() const = 0;
  // Takes one of them. Requires: there is one.
  virtual void takeOne() = 0;
  virtual const Path* path() const { return nullptr; }

  Tree capture() { return Tree(mPlace.system.getState()); }
  void release(Tree tree);
  void activate() { mPlace.legal = mPlace.system.activate(false); }
  void restore(StateNumber state) { mPlace.system.setState(mStates.restore(state)); }
  void writeState(StateNumber state);
  void writeTransition(StateNumber source, StateNumber target);
  void writePath(OutputBuffer& file);

  const Place mPlace;
  ExplorationFiles& mFiles;
  StateTable mStates;
  Counters mCounters;
  LastLabel mLabel;

 private:
  void explore();
  void printSummary() const;
  void printError() const;
  void complete(Count transitions) { mFiles.complete(transitions, mStates.count()); }
  static void completeAtExit();

  static Search* sRunning;  // whose files are completed when model code ends the process

  Progress mProgress;
  const SearchSignals& mSignals;
  Tree mErrorState;  // keeps what faulty_leaf points into until it has been printed
};

Search* Search::sRunning = nullptr;

Search::Search(const Place& place, ExplorationFiles& files, const Progress& progress,
               const SearchSignals& signals)
    : mPlace(place), mFiles(files), mProgress(progress), mSignals(signals) {
  static const int registered = std::atexit(completeAtExit);
  static_cast<void>(registered);
  sRunning = this;
}

Search::~Search() {
  sRunning = nullptr;
}

void Search::completeAtExit() {
  if (sRunning != nullptr) sRunning->complete(sRunning->mFiles.transitions());
}

void Search::run() {
  try {
    explore();
  } catch (...) {
    complete(mFiles.transitions());
    printSummary();
    throw;
  }
  complete(mCounters.transitions);
  printSummary();
}

void Search::explore() {
  mPlace.system.initialize(nullptr);
  mFiles.begin();
  begin();
  mProgress.start();
  while (stored() != 0 && !global_error && mSignals.caught() == 0) {
    ++mCounters.steps;
    const Progress::Event event = mProgress.show(mCounters, stored());
    if (event == Progress::LIMIT) return;
    if (event == Progress::RATE_SHOWN) complete(mCounters.transitions);
    takeOne();
  }
}

void Search::printSummary() const {
  std::printf(SUMMARY, mCounters.steps, mCounters.pruned, mCounters.deadlocks, stored());
  std::printf(FINAL_SIZE, Count{mStates.count()});
  if (global_error) printError();
  // What standard output refuses now must not be tried again when broken pipes kill.
  if (std::fflush(stdout) != 0) __fpurge(stdout);
}

void Search::printError() const {
  std::puts(INTERRUPTED);
  if (path() != nullptr) std::printf(PATH_SIZE, path()->size());
  std::puts(ERROR_PATH);
  if (path() != nullptr) path()->print();
  std::printf(PATH_LABEL, mLabel.text());
  if (faulty_leaf != nullptr) std::printf(FAULTY_ATOM, textOf(*faulty_leaf));
  faulty_leaf = nullptr;
}

// The end of a captured tree. One in which an error was found stays until the summary.
void Search::release(Tree tree) {
  if (global_error) {
    mErrorState = std::move(tree);
  } else {
    faulty_leaf = nullptr;
  }
}

// A tree that the table had to keep is printed again, so that missing children are reported again.
void Search::writeState(StateNumber state) {
  if (!mFiles.states().isOpen()) return;
  if (const Node* kept = mStates.kept(state)) {
    StateText text;
    text.append(kept);
    mFiles.writeState(state, text.data(), text.length());
    return;
  }
  const StateTable::Text text = mStates.text(state);
  mFiles.writeState(state, text.data, text.length);
}

void Search::writeTransition(StateNumber source, StateNumber target) {
  if (mFiles.hasTransitions()) mFiles.writeTransition(source, mLabel.text(), target);
}

void Search::writePath(OutputBuffer& file) {
  if (!file.isOpen()) return;
  if (path() != nullptr) path()->write(file);
  file.put(" :: ");
  file.put(mLabel.text());
  file.put("[[");
  file.put(faulty_leaf != nullptr ? textOf(*faulty_leaf) : "NULL");
  file.put("]]\n");
  faulty_leaf = nullptr;
}

// ---- Breadth-first ---------------------------------------------------------------------------

class BreadthFirst : public Search {
 public:
  using Search::Search;

 private:
  void begin() override;
  Count stored() const override { return mQueue.size(); }
  void takeOne() override;
  void expand(StateNumber state);
  bool follow(StateNumber state, Connector* connector);
  void arrive(StateNumber state, Tree& tree);

  std::deque<StateNumber> mQueue;  // states whose transitions have still to be taken
};

void BreadthFirst::begin() {
  Tree root = capture();
  const StateNumber number = mStates.insert(root.get()).number;
  mQueue.push_back(number);
  mStates.keep(number, root);
  release(std::move(root));
}

void BreadthFirst::takeOne() {
  const StateNumber state = mQueue.front();
  mQueue.pop_front();
  restore(state);
  activate();
  writeState(state);
  if (mPlace.legal != nullptr) {
    expand(state);
  } else {
    mFiles.deadlocks().put(state);
    mFiles.deadlocks().put("\n");
    ++mCounters.deadlocks;
  }
  mStates.forget(state);
}

// Takes the transitions of the legal connectors up to the first dominated one.
void BreadthFirst::expand(StateNumber state) {
  Connector* connector = mPlace.legal;
  while (!connector->dominated()) {
    if (!follow(state, connector)) return;
    connector = connector->next();
    if (connector == nullptr) return;
    restore(state);
  }
}

// Fires the connector and looks where that leads. False when it leads to an error.
// Deliberate: the transition into an error is counted, but not written.
bool BreadthFirst::follow(StateNumber state, Connector* connector) {
  mPlace.choice = connector;
  mLabel.set(connector);
  clearFlags();
  connector->execute();
  ++mCounters.transitions;
  Tree tree = capture();
  if (!global_error) {
    const StateTable::Found target = mStates.insert(tree.get());
    if (target.isNew) arrive(target.number, tree);
    writeTransition(state, target.number);
  }
  release(std::move(tree));
  return !global_error;
}

void BreadthFirst::arrive(StateNumber state, Tree& tree) {
  if (global_prune) {
    writePath(mFiles.prunedPaths());
    ++mCounters.pruned;
  } else {
    mQueue.push_back(state);
    mStates.keep(state, tree);
  }
}

// ---- Depth-first -----------------------------------------------------------------------------

class DepthFirst : public Search {
 public:
  using Search::Search;

 private:
  // A transition that has still to be taken. A state without transitions has one entry without
  // connector.
  struct Pending {
    StateNumber state;
    Connector* connector;
    Interaction* interaction;  // of the connector; it lives as long as the connector
    std::unique_ptr<Interaction>
        frozen;  // a copy of it, if its times may change before it is taken
  };

  void begin() override;
  Count stored() const override { return mStack.size(); }
  void takeOne() override;
  const Path* path() const override { return &mPath; }
  void push(StateNumber state, Connector* connector);
  bool hasPending(StateNumber state) const;
  void meetDeadlock(StateNumber state);
  void follow(Pending& entry);
  void fire(const TransNode& transition);
  void arrive(StateNumber state, Tree& tree);
  void prune(StateNumber state);

  std::deque<Pending> mStack;  // the top is at the back
  Path mPath;
};

bool usesExportedPort(Connector& connector) {
  for (int i = 0; i < connector.ports().count(); ++i) {
    if (connector.ports()[i]->connHolder() != nullptr) return true;
  }
  return false;
}

// Deliberate: an initial state without transitions is no deadlock here.
void DepthFirst::begin() {
  Tree root = capture();
  const StateNumber number = mStates.insert(root.get()).number;
  writeState(number);
  activate();
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated();
       legal = legal->next()) {
    push(number, legal);
  }
  if (!mStack.empty()) mStates.keep(number, root);
  release(std::move(root));
}

void DepthFirst::push(StateNumber state, Connector* connector) {
  Interaction* interaction = connector->feasibleInter();
  std::unique_ptr<Interaction> frozen;
  if (interaction->constraint() != nullptr) frozen.reset(interaction->copy());
  mStack.push_back({state, connector, interaction, std::move(frozen)});
}

// Asked about the state whose entry is or was the top: all entries of one state lie together.
bool DepthFirst::hasPending(StateNumber state) const {
  return !mStack.empty() && mStack.back().state == state;
}

void DepthFirst::takeOne() {
  Pending entry = std::move(mStack.back());
  mStack.pop_back();
  const bool last = !hasPending(entry.state);
  mPath.enter(entry.state);
  if (entry.connector == nullptr) {
    meetDeadlock(entry.state);
  } else {
    follow(entry);
  }
  mPath.backtrack();
  if (last) mStates.forget(entry.state);
}

void DepthFirst::meetDeadlock(StateNumber state) {
  mFiles.deadlocks().put(state);
  mFiles.deadlocks().put(" || ");
  writePath(mFiles.deadlocks());
  ++mCounters.deadlocks;
}

// Deliberate: the flags are cleared after the connector has fired, so only those count that are set
// while the state is read, and the search looks at a state with an error like at any other.
void DepthFirst::follow(Pending& entry) {
  if (entry.frozen == nullptr) {
    entry.frozen = std::make_unique<Interaction>(entry.connector, entry.interaction->synced());
  }
  restore(entry.state);
  if (usesExportedPort(*entry.connector)) entry.connector->eval(false);
  fire(TransNode(nullptr, entry.connector, entry.frozen.get()));
  clearFlags();
  ++mCounters.transitions;
  Tree tree = capture();
  const StateTable::Found target = mStates.insert(tree.get());
  writeTransition(entry.state, target.number);
  if (target.isNew) arrive(target.number, tree);
  release(std::move(tree));
}

void DepthFirst::fire(const TransNode& transition) {
  const OneInteraction installed(*transition.trans(), transition.inter());
  mPlace.choice = transition.trans();
  mLabel.set(transition.trans());
  transition.trans()->execute();
}

void DepthFirst::arrive(StateNumber state, Tree& tree) {
  writeState(state);
  if (global_prune) return prune(state);
  activate();
  if (mPlace.legal == nullptr) {
    mStack.push_back({state, nullptr, nullptr, nullptr});
    return;
  }
  for (Connector* legal = mPlace.legal; legal != nullptr && !legal->dominated() && !global_error;
       legal = legal->next()) {
    push(state, legal);
    mPath.addPending();
  }
  if (hasPending(state)) mStates.keep(state, tree);
}

void DepthFirst::prune(StateNumber state) {
  mFiles.prunedPaths().put(state);
  mFiles.prunedPaths().put(" || ");
  writePath(mFiles.prunedPaths());
  ++mCounters.pruned;
}

bool contains(const Leaf& leaf, const char* marker) {
  return std::strstr(textOf(leaf), marker) != nullptr;
}

bool sameState(const StateNode* one, const StateNode* other) {
  if (one->state() == nullptr || other->state() == nullptr) return one->state() == other->state();
  return one->state()->equals(other->state());
}

}  // namespace

// ---- The scheduler's side --------------------------------------------------------------------

// A process that was asked to end does so when its files are complete and closed.
template <class Traversal>
void Scheduler::exploreBy() {
  SearchSignals signals;
  ExplorationFiles files(disable_output ? nullptr : aut_file, disable_output ? nullptr : state_file,
                         disable_output ? nullptr : pruned_paths,
                         disable_output ? nullptr : deadlock_states);
  Traversal({*mSystem, mLegal, mConnectorChoice}, files, Progress(mSimLimit, mMaxSimLimit), signals)
      .run();
  if (signals.caught() == 0) return;
  closeOutputFiles();
  signals.endByCaught();
}

void Scheduler::run_bfs_exploration() {
  exploreBy<BreadthFirst>();
}

void Scheduler::run_dfs_exploration() {
  exploreBy<DepthFirst>();
}

// ---- Utilities for model code ----------------------------------------------------------------

int ObserverState(Node* state) {
  if (state == nullptr) return 0;
  if (state->isLeaf()) {
    const Leaf& leaf = *static_cast<Leaf*>(state);
    if (contains(leaf, ERROR_MARKER)) return 1;
    return contains(leaf, PRUNE_MARKER) ? 2 : 0;
  }
  auto* inner = static_cast<Nonleaf*>(state);
  for (int i = 0; i < inner->getNumChild(); ++i) {
    const int found = ObserverState(inner->getChild(i));
    if (found != 0) return found;
  }
  return 0;
}

bool StateNode::equals(StateNode* other) const {
  return other != nullptr && sameState(this, other);
}

StateNode* StateNodeIter::popHead() {
  StateNode* first = m_head;
  if (first == nullptr) return nullptr;
  m_head = first->next();
  if (m_current == first) m_current = m_head;
  first->setNext(nullptr);
  return first;
}

void StateNodeIter::addHead(StateNode* node) {
  node->setNext(m_head);
  m_head = node;
}

void StateNodeIter::addTail(StateNode* node) {
  node->setNext(nullptr);
  if (m_head == nullptr) {
    m_head = node;
    return;
  }
  StateNode* last = m_head;
  while (last->next() != nullptr) last = last->next();
  last->setNext(node);
}

void StateNodeIter::addCurrent(StateNode* node) {
  if (m_current == nullptr) {
    addHead(node);
  } else {
    node->setNext(m_current->next());
    m_current->setNext(node);
  }
  m_current = node;
}

StateNode* StateNodeIter::next() {
  m_current = m_current != nullptr ? m_current->next() : m_head;
  return m_current;
}

bool StateNodeIter::isPresent(StateNode* node, int& position) const {
  int number = 0;
  for (StateNode* it = m_head; it != nullptr; it = it->next(), ++number) {
    if (!it->equals(node)) continue;
    position = number;
    return true;
  }
  return false;
}
