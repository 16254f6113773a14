// SEED [options of the engine]: a random system with clocks, internal ports, broadcasts, exported
// ports and priorities, for recordings beside traces.
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "draw.hpp"
#include "vesk.hpp"

namespace {

std::string numbered(const char* name, int number) {
  return name + std::to_string(number);
}

// Goes from state to state. Each port is enabled in some states, perhaps only at some times since
// the last move, and leads to another one.
class Walker : public Atom {
 public:
  Walker(const std::string& name, const Compound* holder, Draw& draw)
      : Atom(name.c_str(), holder), mStates(draw.between(2, 4)) {
    for (int i = draw.between(1, 3); i > 0; --i) {
      addPort(new Port(numbered("p", i).c_str(), this));
      mRules.push_back({draw.between(1, (1 << mStates) - 1), draw.between(1, mStates), nullptr});
      mIntervals.push_back({draw.below(4000), draw.below(3) * 2500, draw.below(4)});
    }
  }

  using Atom::initialize;
  void initialize(LogicalClock* clock) override {
    if (clock != nullptr) addTimes(clock);
    Atom::initialize(clock);
  }
  void initialize() override { enter(0); }
  void execute(Port* port) override {
    if (mSince != nullptr) mSince->reset();
    for (int i = 0; i < mPorts.count(); ++i) {
      if (mPorts[i] == port) return enter((mState + rule(i).distance) % mStates);
    }
  }
  Node* getState() override {
    return new Leaf(new Atomleaf((std::to_string(mState) + ",").c_str()));
  }
  void setState(Node* state) override {
    enter(std::atoi(static_cast<Leaf*>(state)->getAleaf()->getVal()));
  }

 private:
  struct Rule {
    int states;  // a bit for each in which the port is enabled
    int distance;
    Constraint* constraint;
  };
  struct Times {
    int low;
    int width;
    int kind;
  };

  Rule& rule(int port) { return mRules[static_cast<std::size_t>(port)]; }

  void addTimes(LogicalClock* clock) {
    mSince = new Clock("since", clock);
    mClocks.add(mSince);
    for (std::size_t i = 0; i < mRules.size(); ++i) {
      const Times& times = mIntervals[i];
      if (times.kind == 3) continue;
      const Urgency urgencies[] = {LAZY, DELAYABLE, EAGER};
      const Vesk::Time low(times.low);
      const Vesk::Time high = times.width != 0 ? low + Vesk::Time(times.width) : Vesk::Time::MAX;
      mRules[i].constraint = new Constraint(mSince, low, high, urgencies[times.kind]);
      mConstraints.add(mRules[i].constraint);
    }
  }

  void enter(int state) {
    mState = state;
    for (int i = 0; i < mPorts.count(); ++i) mPorts[i]->setSynced(false);
    for (int i = 0; i < mPorts.count(); ++i) {
      rt_sync({{mPorts[i], (rule(i).states >> mState & 1) != 0, rule(i).constraint}});
    }
  }

  const int mStates;
  int mState = 0;
  std::vector<Rule> mRules;
  std::vector<Times> mIntervals;
  Clock* mSince = nullptr;
};

// A rendezvous, or a broadcast by its first port.
class Joint : public Connector {
 public:
  Joint(const std::string& name, const Compound* holder, bool exports, bool broadcasts)
      : Connector(name.c_str(), holder, exports), mBroadcasts(broadcasts) {
    if (exports) mxPort = new Port("out", this);
  }
  void join(Port* port) { append(1, port); }
  bool isBroadcast() override { return mBroadcasts; }
  bool complete() override { return mPorts[0]->complete(); }
  using Connector::guard;
  bool guard() override { return maximal(); }

 private:
  void append(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }

  const bool mBroadcasts;
};

class Part : public Compound {
 public:
  Part(const std::string& name, const Compound* holder, Draw& draw)
      : Compound(name.c_str(), holder) {
    for (int i = draw.between(2, 4); i > 0; --i) addWalker(draw);
  }
  // Takes what the compound below shows. It is complete.
  void addPart(Part* part) {
    mComponents.add(part);
    if (part->mShown != nullptr) mFree.push_back(part->mShown);
  }
  void connect(Draw& draw, bool exports) {
    if (exports && draw.coin()) mShown = addJoint("s", draw, true)->xPort();
    for (int i = draw.between(2, 4); i > 0; --i) addJoint("c", draw, false);
    if (draw.coin()) addPriority(draw);
  }

 private:
  void addWalker(Draw& draw) {
    const int number = mComponents.count();
    auto* walker = new Walker(numbered("a", number), this, draw);
    mComponents.add(walker);
    for (int i = 0; i < walker->ports().count(); ++i) {
      Port* port = walker->ports()[i];
      if (draw.below(8) == 0) {
        port->setInternal();
      } else {
        mFree.push_back(port);
      }
    }
  }

  // Ports may be in several connectors, each once in a connector.
  Joint* addJoint(const char* kind, Draw& draw, bool exports) {
    const std::string name = numbered(kind, mConnectors.count());
    auto* joint = new Joint(name, this, exports, draw.below(3) == 0);
    mConnectors.add(joint);
    std::vector<Port*> left = mFree;
    for (int i = draw.between(1, 3); i > 0 && !left.empty(); --i) {
      const auto chosen = left.begin() + draw.below(static_cast<int>(left.size()));
      joint->join(*chosen);
      left.erase(chosen);
    }
    return joint;
  }

  void addPriority(Draw& draw) {
    std::vector<Connector*> able;
    for (Connector* connector : mConnectors) {
      if (!connector->isSubconn() && connector->ports().count() != 0) able.push_back(connector);
    }
    if (able.size() < 2) return;
    const int low = draw.below(static_cast<int>(able.size()) - 1);
    mPriorities.add(new Priority(this,
                                 Interaction::Create(able[static_cast<std::size_t>(low)], {0}),
                                 Interaction::Create(able.back(), {0}), Vesk::Time(0)));
  }

  std::vector<Port*> mFree;  // for connectors of this compound
  Port* mShown = nullptr;    // to the compound around it
};

}  // namespace

Compound* Compound::Create(int, char** argv) {
  Draw draw(static_cast<unsigned int>(std::atoi(argv[1])));
  auto root = std::make_unique<Part>("R", nullptr, draw);
  for (int i = draw.below(3); i > 0; --i) {
    auto part = std::make_unique<Part>(numbered("part", i), root.get(), draw);
    part->connect(draw, true);
    root->addPart(part.release());
  }
  root->connect(draw, false);
  return root.release();
}
