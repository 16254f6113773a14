// Exploration written down as directly as its rules read: every state is captured as a whole tree,
// printed into texts of its own, and looked up in a map of the standard library. Slow and simple;
// the engine's search must leave the same bytes.
#ifndef VESK_TESTS_LITERAL_EXPLORATION_HPP
#define VESK_TESTS_LITERAL_EXPLORATION_HPP

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "component.hpp"
#include "connector.hpp"
#include "port.hpp"
#include "states.hpp"

class LiteralExploration {
 public:
  using Count = unsigned long long;

  // Null files are skipped. A limit of 0 is no limit.
  LiteralExploration(Compound& system, Count limit, FILE* out, FILE* aut, FILE* state, FILE* pruned,
                     FILE* deadlock)
      : mSystem(system),
        mLimit(limit),
        mOut(out),
        mAut(aut),
        mState(state),
        mPruned(pruned),
        mDeadlock(deadlock) {}

  void breadthFirst();
  void depthFirst();

 private:
  using Tree = std::shared_ptr<Node>;
  struct Pending {
    Tree state;
    Connector* connector;
    std::unique_ptr<Interaction> interaction;
  };
  struct PathEntry {
    unsigned int number;
    Count pending;
  };

  static std::string textOf(const Node* node) {
    char* text = print(node);
    std::string copy = text;
    std::free(text);
    return copy;
  }
  static char* print(const Node* node);
  static const char* textOf(const Leaf& leaf) {
    const Atomleaf* atom = leaf.getAleaf();
    return atom != nullptr && atom->getVal() != nullptr ? atom->getVal() : "";
  }
  static void clearFlags() {
    global_error = global_prune = false;
    faulty_leaf = nullptr;
  }

  Tree capture(int number) {
    Tree tree(mSystem.getState());
    tree->setIndex(static_cast<unsigned int>(number));
    return tree;
  }
  void start() {
    mSystem.initialize(nullptr);
    mTable.clear();
    if (mAut != nullptr) std::fprintf(mAut, "%37s\n", "");
  }
  bool nextStep(std::size_t stored);
  void writeState(int number, const std::string& text) {
    if (mState != nullptr) std::fprintf(mState, "%d : %s\n", number, text.c_str());
  }
  void writeTransition(int from, int to) {
    if (mAut != nullptr) std::fprintf(mAut, "(%d, %s, %d)\n", from, mLabel.c_str(), to);
  }
  void writePath(FILE* file, const std::list<PathEntry>* path);
  void finish(std::size_t stored, const std::list<PathEntry>* path);
  void expand(const Tree& state);
  void push(const Tree& state, Connector* legal, bool stopAtError);
  void take(Pending entry);
  void arrive(const Tree& tree, const std::string& text);
  void backtrack();

  Compound& mSystem;
  Count mLimit;
  FILE* mOut;
  FILE* mAut;
  FILE* mState;
  FILE* mPruned;
  FILE* mDeadlock;
  std::unordered_map<std::string, int> mTable;
  std::list<Tree> mQueue;
  std::list<Pending> mStack;
  std::list<PathEntry> mPath;  // newest first
  std::string mLabel;
  Tree mFaulty;  // keeps what faulty_leaf points into
  Count mSteps = 0;
  Count mPrunedStates = 0;
  Count mDeadlocks = 0;
  int mTransitions = 0;
  int mNext = 1;
  int mSpinner = 0;
};

inline char* LiteralExploration::print(const Node* node) {
  if (node == nullptr) {
    std::fputs("at least a library is not generated with explore option\n", stderr);
    return strdup("");
  }
  if (node->isLeaf()) {
    return strdup(textOf(*static_cast<const Leaf*>(node)));
  }
  char buffer[10000] = "";
  const auto* inner = static_cast<const Nonleaf*>(node);
  for (int i = 0; i < inner->getNumChild(); ++i) {
    char* text = print(inner->getChild(i));
    std::strcat(buffer, text);
    std::free(text);
  }
  return strdup(buffer);
}

// The rate, which depends on the clock, is left out.
inline bool LiteralExploration::nextStep(std::size_t stored) {
  const char* const spinner = "|/-\\";
  ++mSteps;
  const bool limit = mSteps == mLimit;
  if (mSteps % 20 == 0) {
    std::fprintf(mOut, "%c\r", spinner[mSpinner]);
    mSpinner = (mSpinner + 1) % 4;
  }
  if (mSteps % 50 == 0 || limit) {
    std::fprintf(mOut,
                 "%c Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10d]\r",
                 spinner[mSpinner], mSteps, mPrunedStates, mDeadlocks, static_cast<int>(stored));
    mSpinner = (mSpinner + 1) % 4;
  }
  if (limit) std::fprintf(mOut, "\nState exploration limit size reached...\n");
  return !limit;
}

inline void LiteralExploration::writePath(FILE* file, const std::list<PathEntry>* path) {
  if (file == nullptr) return;
  if (path != nullptr) {
    for (auto it = path->rbegin(); it != path->rend(); ++it) std::fprintf(file, "%u, ", it->number);
  }
  const char* faulty = faulty_leaf != nullptr ? textOf(*faulty_leaf) : "NULL";
  std::fprintf(file, " :: %s[[%s]]\n", mLabel.c_str(), faulty);
  faulty_leaf = nullptr;
}

inline void LiteralExploration::finish(std::size_t stored, const std::list<PathEntry>* path) {
  std::fprintf(mOut,
               "* Count : %10llu [pruned : %10llu] [deadlocks : %10llu] [stored states: %10d]\n",
               mSteps, mPrunedStates, mDeadlocks, static_cast<int>(stored));
  std::fprintf(mOut, "Final size : %d\n", static_cast<int>(mTable.size()));
  if (global_error) {
    std::fprintf(mOut, "Exploration was interrupted because an error state was encountered!\n");
    if (path != nullptr) std::fprintf(mOut, "Path size : %d\n", static_cast<int>(path->size()));
    std::fprintf(mOut, "Error path is:\n");
    if (path != nullptr) {
      for (auto it = path->rbegin(); it != path->rend(); ++it) {
        std::fprintf(mOut, "%u, ", it->number);
      }
    }
    std::fprintf(mOut, ":: %s\n", mLabel.c_str());
    if (faulty_leaf != nullptr) {
      std::fprintf(mOut, "Faulty atom : %s\n", textOf(*faulty_leaf));
    }
    faulty_leaf = nullptr;
  }
  if (mAut == nullptr) return;
  std::rewind(mAut);
  std::fprintf(mAut, "des(0, %d, %d)\n", mTransitions, static_cast<int>(mTable.size()));
  std::fseek(mAut, 0, SEEK_END);
}

inline void LiteralExploration::breadthFirst() {
  start();
  Tree root = capture(0);
  mTable.emplace(textOf(root.get()), 0);
  mQueue.push_back(std::move(root));
  while (!mQueue.empty()) {
    if (global_error || !nextStep(mQueue.size())) break;
    Tree state = std::move(mQueue.front());
    mQueue.pop_front();
    expand(state);
  }
  finish(mQueue.size(), nullptr);
}

inline void LiteralExploration::expand(const Tree& state) {
  const int from = static_cast<int>(state->getIndex());
  mSystem.setState(state.get());
  Connector* legal = mSystem.activate(false);
  writeState(from, textOf(state.get()));
  if (legal == nullptr) {
    if (mDeadlock != nullptr) std::fprintf(mDeadlock, "%d\n", from);
    ++mDeadlocks;
  }
  for (; legal != nullptr && !legal->dominated(); legal = legal->next()) {
    mLabel = legal->label();
    clearFlags();
    legal->execute();
    ++mTransitions;
    Tree tree = capture(mNext);
    if (global_error) {
      mFaulty = tree;
      return;
    }
    const auto entry = mTable.emplace(textOf(tree.get()), mNext);
    if (entry.second) {
      ++mNext;
      if (global_prune) {
        writePath(mPruned, nullptr);
        ++mPrunedStates;
      } else {
        mQueue.push_back(tree);
      }
    }
    writeTransition(from, entry.first->second);
    mSystem.setState(state.get());
  }
}

inline void LiteralExploration::depthFirst() {
  start();
  Tree root = capture(0);
  writeState(0, mTable.emplace(textOf(root.get()), 0).first->first);
  push(root, mSystem.activate(false), false);
  while (!mStack.empty()) {
    if (global_error || !nextStep(mStack.size())) break;
    Pending entry = std::move(mStack.front());
    mStack.pop_front();
    take(std::move(entry));
  }
  finish(mStack.size(), &mPath);
  mStack.clear();
}

inline void LiteralExploration::push(const Tree& state, Connector* legal, bool stopAtError) {
  for (; legal != nullptr && !legal->dominated(); legal = legal->next()) {
    if (stopAtError && global_error) return;
    mStack.push_front({state, legal, std::make_unique<Interaction>(*legal->feasibleInter())});
    if (!mPath.empty()) ++mPath.front().pending;
  }
}

inline void LiteralExploration::take(Pending entry) {
  const int from = static_cast<int>(entry.state->getIndex());
  mPath.push_front({static_cast<unsigned int>(from), 0});
  if (entry.connector == nullptr) {
    if (mDeadlock != nullptr) std::fprintf(mDeadlock, "%d || ", from);
    writePath(mDeadlock, &mPath);
    ++mDeadlocks;
  } else {
    mSystem.setState(entry.state.get());
    bool nested = false;
    for (int i = 0; i < entry.connector->ports().count(); ++i) {
      nested = nested || entry.connector->ports()[i]->connHolder() != nullptr;
    }
    if (nested) entry.connector->eval(false);
    entry.connector->setFeasibleInter(entry.interaction.get());
    mLabel = entry.connector->label();
    entry.connector->execute();
    clearFlags();
    ++mTransitions;
    Tree tree = capture(mNext);
    entry.connector->setFeasibleInter(nullptr);
    const auto inserted = mTable.emplace(textOf(tree.get()), mNext);
    writeTransition(from, inserted.first->second);
    if (inserted.second) arrive(tree, inserted.first->first);
    if (global_error) mFaulty = tree;
  }
  backtrack();
}

inline void LiteralExploration::arrive(const Tree& tree, const std::string& text) {
  const int number = mNext++;
  writeState(number, text);
  if (global_prune) {
    if (mPruned != nullptr) std::fprintf(mPruned, "%d || ", number);
    writePath(mPruned, &mPath);
    ++mPrunedStates;
    return;
  }
  Connector* legal = mSystem.activate(false);
  if (legal == nullptr) {
    mStack.push_front({tree, nullptr, nullptr});
  } else {
    push(tree, legal, true);
  }
}

inline void LiteralExploration::backtrack() {
  while (!mPath.empty() && mPath.front().pending == 0) {
    mPath.pop_front();
    if (!mPath.empty()) --mPath.front().pending;
  }
}

#endif
