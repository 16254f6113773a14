// Both searches of a state space in their plainest form: every pending state is the tree that the
// model gave, the queue is a list of trees, the stack a list of TransNode, and the table of states
// a map of texts. Slow and large; what an exploration must do is compared with it.
#ifndef VESK_TESTS_LITERAL_EXPLORATION_HPP
#define VESK_TESTS_LITERAL_EXPLORATION_HPP

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vesk.hpp"

class LiteralExploration {
 public:
  using Count = std::uint64_t;

  // limit: 0 for none. A file may be null; nothing is written to it then.
  LiteralExploration(Compound& system, Count limit, FILE* out, FILE* aut, FILE* state, FILE* pruned,
                     FILE* deadlock)
      : mSystem(system),
        mLimit(limit),
        mOut(out),
        mAut(aut),
        mState(state),
        mPrunedPaths(pruned),
        mDeadlockStates(deadlock) {}

  // Called with every tree just before it is deleted.
  void setOnDeath(std::function<void(Node*)> onDeath) { mOnDeath = std::move(onDeath); }
  // What the scheduler's fields of these names hold.
  Connector* const* legalField() const { return &mLegal; }
  Connector* const* choiceField() const { return &mConnectorChoice; }

  void breadthFirst() {
    std::string text;
    Node* root = readRoot(text);
    std::list<Node*> queue = {root};
    beginSearch();
    while (!queue.empty()) {
      if (global_error) break;
      if (!progress(queue.size())) break;
      Node* state = queue.front();
      queue.pop_front();
      expand(state, queue);
      discard(state);
    }
    printCounts(queue.size());
    if (global_error) printInterruption(nullptr);
    for (Node* state : queue) destroy(state);
    finish();
  }

  void depthFirst() {
    std::string text;
    Node* root = readRoot(text);
    writeState(0, text);
    mLegal = mSystem.activate(false);
    for (Connector* legal = mLegal; legal != nullptr && !legal->dominated();
         legal = legal->next()) {
      push(root, legal);
    }
    if (mStack.empty()) discard(root);
    beginSearch();
    while (!mStack.empty()) {
      if (global_error) break;
      if (!progress(mStack.size())) break;
      takeFromStack();
    }
    printCounts(mStack.size());
    if (global_error) printInterruption(&mPath);
    deleteStack();
    finish();
  }

 private:
  // State number, and transitions that are pending below.
  using Path = std::list<std::pair<unsigned int, std::uint64_t>>;  // newest first

  Node* readRoot(std::string& text) {
    mSystem.initialize(nullptr);
    Node* root = mSystem.getState();
    root->setIndex(0);
    text = textOf(root);
    mTable.emplace(text, 0);
    return root;
  }

  // ---- Breadth-first -----------------------------------------------------------------------

  void expand(Node* state, std::list<Node*>& queue) {
    const unsigned int number = state->getIndex();
    mSystem.setState(state);
    mLegal = mSystem.activate(false);
    writeState(number, textOf(state));
    if (mLegal == nullptr) {
      if (mDeadlockStates != nullptr) std::fprintf(mDeadlockStates, "%u\n", number);
      ++mDeadlocks;
      return;
    }
    // Restored before each connector that follows, also before a dominated one, at which it ends.
    for (Connector* legal = mLegal; legal != nullptr && !legal->dominated();) {
      if (!fire(number, legal, queue)) return;
      legal = legal->next();
      if (legal != nullptr) mSystem.setState(state);
    }
  }

  // False when the state that was reached is an error.
  bool fire(unsigned int source, Connector* connector, std::list<Node*>& queue) {
    mConnectorChoice = connector;
    mLabel = connector->label();
    clearFlags();
    connector->execute();
    ++mTransitions;
    Node* target = mSystem.getState();
    if (global_error) {
      mKept.push_back(target);
      return false;
    }
    target->setIndex(static_cast<unsigned int>(mNextNumber));
    const auto [entry, isNew] = mTable.emplace(textOf(target), mNextNumber);
    if (isNew) {
      ++mNextNumber;
      if (!global_prune) {
        queue.push_back(target);
      } else {
        writePath(mPrunedPaths, nullptr);
        discard(target);
        ++mPruned;
      }
    } else {
      discard(target);
    }
    writeTransition(source, entry->second);
    return true;
  }

  // ---- Depth-first -------------------------------------------------------------------------

  void push(Node* state, Connector* connector) {
    state->incrOutTrans();
    mStack.push_front(new TransNode(state, connector, connector->feasibleInter()->copy()));
  }

  void takeFromStack() {
    TransNode* entry = mStack.front();
    mStack.pop_front();
    Node* state = entry->state();
    const unsigned int number = state->getIndex();
    mPath.emplace_front(number, 0);
    state->decrOutTrans();
    if (entry->trans() == nullptr) {
      if (mDeadlockStates != nullptr) std::fprintf(mDeadlockStates, "%u || ", number);
      writePath(mDeadlockStates, &mPath);
      deleteEntry(entry);
      discard(state);
      ++mDeadlocks;
      backtrack();
      return;
    }
    Node* target = follow(entry);
    settle(number, target);
    backtrack();
    if (state->outTrans() == 0) discard(state);
  }

  // Restores the source, fires, and reads the target.
  Node* follow(TransNode* entry) {
    Connector* connector = entry->trans();
    mSystem.setState(entry->state());
    if (usesExportedPort(*connector)) connector->eval(false);
    mConnectorChoice = connector;
    connector->setFeasibleInter(entry->inter());
    mLabel = connector->label();
    connector->execute();
    clearFlags();
    ++mTransitions;
    Node* target = mSystem.getState();
    target->setIndex(static_cast<unsigned int>(mNextNumber));
    deleteEntry(entry);
    connector->setFeasibleInter(nullptr);
    return target;
  }

  void settle(unsigned int source, Node* target) {
    const std::string text = textOf(target);
    const auto [entry, isNew] = mTable.emplace(text, mNextNumber);
    writeTransition(source, entry->second);
    if (!isNew) {
      discard(target);
      return;
    }
    writeState(target->getIndex(), text);
    ++mNextNumber;
    if (global_prune) {
      if (mPrunedPaths != nullptr) std::fprintf(mPrunedPaths, "%u || ", target->getIndex());
      writePath(mPrunedPaths, &mPath);
      discard(target);
      ++mPruned;
      return;
    }
    mLegal = mSystem.activate(false);
    if (mLegal == nullptr) {
      mStack.push_front(new TransNode(target, nullptr, nullptr));
      return;
    }
    for (Connector* legal = mLegal; !global_error && legal != nullptr && !legal->dominated();
         legal = legal->next()) {
      push(target, legal);
      ++mPath.front().second;
    }
    if (target->outTrans() == 0) discard(target);
  }

  void backtrack() {
    while (!mPath.empty() && mPath.front().second == 0) {
      mPath.pop_front();
      if (!mPath.empty()) --mPath.front().second;
    }
  }

  static bool usesExportedPort(Connector& connector) {
    for (int i = 0; i < connector.ports().count(); ++i) {
      if (connector.ports()[i]->connHolder() != nullptr) return true;
    }
    return false;
  }

  static void deleteEntry(TransNode* entry) {
    delete entry->inter();
    delete entry;
  }

  void deleteStack() {
    std::set<Node*> states;
    for (TransNode* entry : mStack) {
      states.insert(entry->state());
      deleteEntry(entry);
    }
    for (Node* state : states) destroy(state);
    mStack.clear();
  }

  // ---- Trees -------------------------------------------------------------------------------

  static std::string textOf(const Node* state) {
    char* text = state->printNode();
    const std::string copy = text;
    std::free(text);
    return copy;
  }

  static bool contains(Node* tree, const Node* leaf) {
    if (tree == nullptr || leaf == nullptr) return false;
    if (tree == leaf) return true;
    if (tree->isLeaf()) return false;
    auto* inner = static_cast<Nonleaf*>(tree);
    for (int i = 0; i < inner->getNumChild(); ++i) {
      if (contains(inner->getChild(i), leaf)) return true;
    }
    return false;
  }

  // The state is done with. After an error, the tree of the faulty leaf is kept for the summary.
  void discard(Node* state) {
    if (global_error && contains(state, faulty_leaf)) {
      mKept.push_back(state);
    } else {
      destroy(state);
    }
  }

  void destroy(Node* state) {
    if (contains(state, faulty_leaf)) faulty_leaf = nullptr;
    if (mOnDeath) mOnDeath(state);
    delete state;
  }

  static void clearFlags() {
    global_error = global_prune = false;
    faulty_leaf = nullptr;
  }

  // ---- Files -------------------------------------------------------------------------------

  void writeState(unsigned int number, const std::string& text) {
    if (mState != nullptr) std::fprintf(mState, "%u : %s\n", number, text.c_str());
  }

  void writeTransition(unsigned int source, int target) {
    if (mAut != nullptr) std::fprintf(mAut, "(%u, %s, %d)\n", source, mLabel.c_str(), target);
  }

  static const char* textOfFaultyLeaf() {
    const Atomleaf* text = faulty_leaf->getAleaf();
    return text == nullptr || text->getVal() == nullptr ? "" : text->getVal();
  }

  void writePath(FILE* file, const Path* path) {
    if (file != nullptr) {
      if (path != nullptr) writeNumbers(file, *path);
      std::fprintf(file, " :: %s", mLabel.c_str());
      if (faulty_leaf != nullptr) {
        std::fprintf(file, "[[%s]]\n", textOfFaultyLeaf());
      } else {
        std::fputs("[[NULL]]\n", file);
      }
    }
    faulty_leaf = nullptr;
  }

  static void writeNumbers(FILE* file, const Path& path) {
    for (auto entry = path.rbegin(); entry != path.rend(); ++entry) {
      std::fprintf(file, "%u, ", entry->first);
    }
  }

  void writeHeader() {
    if (mAut == nullptr) return;
    const long position = std::ftell(mAut);
    std::fseek(mAut, 0, SEEK_SET);
    std::fprintf(mAut, "des(0, %d, %d)\n", mTransitions, static_cast<int>(mTable.size()));
    std::fseek(mAut, position, SEEK_SET);
  }

  // ---- Progress and summary ----------------------------------------------------------------

  void beginSearch() {
    if (mAut != nullptr) std::fprintf(mAut, "%37s\n", "");
    mTimer = std::time(nullptr);
  }

  // False when the limit is reached.
  bool progress(std::size_t stored) {
    ++mSteps;
    if (mSteps % 20 == 0) std::fprintf(mOut, "%c\r", nextSpinner());
    const bool last = mLimit != 0 && mSteps == mLimit;
    if (mSteps % 50 == 0 || last) {
      writeCounts(nextSpinner(), stored);
      writeRate();
    }
    if (last) std::fputs("\nState exploration limit size reached...\n", mOut);
    return !last;
  }

  char nextSpinner() { return "|/-\\"[mSpinner++ % 4]; }

  void writeCounts(char first, std::size_t stored) {
    std::fprintf(
        mOut, "%c Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10d]",
        first, static_cast<unsigned long long>(mSteps), static_cast<unsigned long long>(mPruned),
        static_cast<unsigned long long>(mDeadlocks), static_cast<int>(stored));
  }

  void writeRate() {
    const std::time_t now = std::time(nullptr);
    if (now - mTimer < 3) {
      ++mReports;
      std::fputc('\r', mOut);
    } else {
      std::fprintf(mOut, ", SPS: %5lds/s\r", mReports * 50 / static_cast<long>(now - mTimer));
      mTimer = now;
      mReports = 1;
    }
  }

  void printCounts(std::size_t stored) {
    writeCounts('*', stored);
    std::fprintf(mOut, "\nFinal size : %d\n", static_cast<int>(mTable.size()));
  }

  void printInterruption(const Path* path) {
    std::fputs("Exploration was interrupted because an error state was encountered!\n", mOut);
    if (path != nullptr) {
      std::fprintf(mOut, "Path size : %d\nError path is:\n", static_cast<int>(path->size()));
      writeNumbers(mOut, *path);
      std::fprintf(mOut, ":: %s\n", mLabel.c_str());
    }
    if (faulty_leaf != nullptr) std::fprintf(mOut, "Faulty atom : %s\n", textOfFaultyLeaf());
    faulty_leaf = nullptr;
  }

  void finish() {
    for (Node* state : mKept) destroy(state);
    mKept.clear();
    writeHeader();
  }

  Compound& mSystem;
  Count mLimit;
  FILE* mOut;
  FILE* mAut;
  FILE* mState;
  FILE* mPrunedPaths;
  FILE* mDeadlockStates;
  std::function<void(Node*)> mOnDeath;

  std::unordered_map<std::string, int> mTable;
  std::list<TransNode*> mStack;  // newest first; the states are owned once, the copies by the entry
  Path mPath;
  std::vector<Node*> mKept;  // owned; live until the summary is printed
  Connector* mLegal = nullptr;
  Connector* mConnectorChoice = nullptr;
  std::string mLabel;  // of the last transition

  std::uint64_t mSteps = 0;
  std::uint64_t mPruned = 0;
  std::uint64_t mDeadlocks = 0;
  int mTransitions = 0;
  int mNextNumber = 1;
  unsigned int mSpinner = 0;
  std::time_t mTimer = 0;
  long mReports = 1;
};

#endif
