// Small models made from tables, and a scheduler that explores them into temporary files.
#ifndef VESK_TESTS_EXPLORATION_FIXTURE_HPP
#define VESK_TESTS_EXPLORATION_FIXTURE_HPP

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "literal-exploration.hpp"
#include "vesk.hpp"

// An atom with numbered states and a table of transitions.
class Automaton : public Atom {
 public:
  // What a model may do besides, called by name in the hooks: "initialize", "execute", "getState",
  // "setState".
  using Hook = std::function<void(Automaton&, const std::string&)>;

  // texts: one per state; the state is found again by its text. Starts in state 0.
  Automaton(const std::string& name, const Compound* holder, std::vector<std::string> texts)
      : Atom(name.c_str(), holder), mTexts(std::move(texts)) {}

  // A port with its transitions, from state to state.
  Port* addPort(const std::string& name, const std::map<int, int>& transitions) {
    Port* port = new Port(name.c_str(), this);
    mPorts.add(port);
    mTransitions[port] = transitions;
    return port;
  }
  void setHook(Hook hook) { mHook = std::move(hook); }
  int state() const { return mState; }
  void setText(int state, const std::string& text) {
    mTexts[static_cast<std::size_t>(state)] = text;
  }

  using Atom::initialize;
  void initialize() override {
    mState = 0;
    call("initialize");
    announce();
  }
  void execute(Port* port) override {
    mState = mTransitions[port].at(mState);
    call("execute");
    announce();
  }
  Node* getState() override {
    call("getState");
    return new Leaf(new Atomleaf(mTexts[static_cast<std::size_t>(mState)].c_str()));
  }
  void setState(Node* state) override {
    call("setState");
    const std::string text = static_cast<Leaf*>(state)->getAleaf()->getVal();
    for (mState = 0; mTexts[static_cast<std::size_t>(mState)] != text; ++mState) {
    }
    announce();
  }

 protected:
  void announce() {
    for (int i = 0; i < mPorts.count(); ++i) {
      mPorts[i]->setSynced(mTransitions[mPorts[i]].count(mState) != 0);
    }
  }
  void call(const char* hook) {
    if (mHook) mHook(*this, hook);
  }

  int mState = 0;

 private:
  std::vector<std::string> mTexts;
  std::map<Port*, std::map<int, int>> mTransitions;
  Hook mHook;
};

// A connector over any list of ports. A broadcast fires with its first port.
class Joint : public Connector {
 public:
  Joint(const std::string& name, const Compound* holder, const std::vector<Port*>& ports,
        bool broadcast = false, bool exporting = false)
      : Connector(name.c_str(), holder, exporting), mBroadcast(broadcast) {
    for (Port* port : ports) append(1, port);
    if (exporting) mxPort = new Port("out", this);
  }
  void setGuardHook(std::function<void()> hook) { mGuardHook = std::move(hook); }

  bool isBroadcast() override { return mBroadcast; }
  bool complete() override { return mPorts.count() > 0 && mPorts[0]->complete(); }
  using Connector::guard;
  bool guard() override {
    if (mGuardHook) mGuardHook();
    return mBroadcast || maximal();
  }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }

  bool mBroadcast;
  std::function<void()> mGuardHook;
};

class System : public Compound {
 public:
  explicit System(const std::string& name, const Compound* holder = nullptr)
      : Compound(name.c_str(), holder) {}

  template <class T>
  T* add(T* component) {
    mComponents.add(component);
    return component;
  }
  Joint* join(const std::string& name, const std::vector<Port*>& ports, bool broadcast = false) {
    return keep(new Joint(name, this, ports, broadcast));
  }
  // A connector that exports a port.
  Joint* group(const std::string& name, const std::vector<Port*>& ports, bool broadcast = false) {
    return keep(new Joint(name, this, ports, broadcast, true));
  }

 private:
  Joint* keep(Joint* joint) {
    mConnectors.add(joint);
    return joint;
  }
};

inline std::string contentOf(FILE* file) {
  std::string text;
  std::fflush(file);
  std::rewind(file);
  for (int c; (c = std::fgetc(file)) != EOF;) text.push_back(static_cast<char>(c));
  return text;
}

// What an exploration leaves behind.
struct Explored {
  std::string out, aut, state, pruned, deadlock;
};

inline bool operator==(const Explored& one, const Explored& other) {
  return one.out == other.out && one.aut == other.aut && one.state == other.state &&
         one.pruned == other.pruned && one.deadlock == other.deadlock;
}

inline std::ostream& operator<<(std::ostream& out, const Explored& explored) {
  return out << "output:\n"
             << explored.out << "aut:\n"
             << explored.aut << "state:\n"
             << explored.state << "pruned:\n"
             << explored.pruned << "deadlock:\n"
             << explored.deadlock;
}

// The four files, which disappear with this object.
class TemporaryFiles {
 public:
  TemporaryFiles() {
    for (FILE*& file : mFiles) file = std::tmpfile();
  }
  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;
  ~TemporaryFiles() {
    for (FILE* file : mFiles) std::fclose(file);
  }
  FILE* operator[](int i) const { return mFiles[i]; }
  Explored contents(const std::string& out) const {
    return {out, contentOf(mFiles[0]), contentOf(mFiles[1]), contentOf(mFiles[2]),
            contentOf(mFiles[3])};
  }

 private:
  FILE* mFiles[4];
};

enum Traversal { DFS = 0, BFS = 1 };

class ExploringScheduler : public Scheduler {
 public:
  ExploringScheduler(Compound* system, Traversal traversal, int limit = 0)
      : Scheduler(system, 0, false, 0, traversal, 0) {
    mSimLimit = limit != 0;
    mMaxSimLimit = limit;
  }
  void disableOutput() { disable_output = true; }
  // The files stay the caller's; run_..._exploration() does not close them.
  void setFiles(FILE* aut, FILE* state, FILE* pruned, FILE* deadlock) {
    aut_file = aut;
    state_file = state;
    pruned_paths = pruned;
    deadlock_states = deadlock;
  }
  bool hasFiles() const {
    return aut_file != nullptr || state_file != nullptr || pruned_paths != nullptr ||
           deadlock_states != nullptr;
  }
  void explore() {
    if (mTraverse == DFS) {
      run_dfs_exploration();
    } else {
      run_bfs_exploration();
    }
  }
};

inline void clearGlobals() {
  global_error = global_prune = false;
  faulty_leaf = nullptr;
}

inline Explored explored(Compound& system, Traversal traversal, int limit = 0) {
  clearGlobals();
  TemporaryFiles files;
  ExploringScheduler scheduler(&system, traversal, limit);
  scheduler.setFiles(files[0], files[1], files[2], files[3]);
  testing::internal::CaptureStdout();
  scheduler.explore();
  return files.contents(testing::internal::GetCapturedStdout());
}

inline Explored literallyExplored(Compound& system, Traversal traversal, int limit = 0) {
  clearGlobals();
  TemporaryFiles files;
  FILE* out = std::tmpfile();
  LiteralExploration exploration(system, static_cast<LiteralExploration::Count>(limit), out,
                                 files[0], files[1], files[2], files[3]);
  if (traversal == DFS) {
    exploration.depthFirst();
  } else {
    exploration.breadthFirst();
  }
  const std::string printed = contentOf(out);
  std::fclose(out);
  return files.contents(printed);
}

#endif
