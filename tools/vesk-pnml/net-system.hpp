// A place/transition net as a system of components: an atom per place, a rendezvous per
// transition, and for every way in which transitions use a place a port of that place.
#ifndef VESK_PNML_NET_SYSTEM_HPP
#define VESK_PNML_NET_SYSTEM_HPP

#include <map>
#include <tuple>
#include <vector>

#include "net.hpp"
#include "port-group.hpp"
#include "vesk.hpp"

// What one or more transitions do with a place. It is named after that: "-2" consumes two tokens,
// "+1" produces one, "-1+1" needs one that stays, "<3" needs fewer than three.
class ArcPort : public Port {
 public:
  ArcPort(const pnml::Use& use, const Atom* place);

  bool enabledBy(int tokens) const { return mConsumed <= tokens && tokens < mBelow; }
  // What firing makes of a number of tokens. Requires: enabledBy(tokens).
  long long after(long long tokens) const { return tokens - mConsumed + mProduced; }

 private:
  int mConsumed;
  int mProduced;
  long long mBelow;
};

// Its text is the number of its tokens and a comma.
class PlaceAtom : public Atom {
 public:
  PlaceAtom(const pnml::Place& place, const Compound* net);

  // In simulated time transitions fire as soon as they can: a net has no times of its own, and
  // without any the engine would let ever more time pass.
  void initialize(LogicalClock* clock) override;
  void initialize() override { setTokens(mInitialTokens); }
  // Throws std::overflow_error when the tokens do not fit into an int.
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* state) override;

  int tokens() const { return mTokens; }
  // Announces the ports that become enabled or disabled.
  void setTokens(int tokens);
  // A transition uses the place through a group of ports.
  void joinThroughGroup(const Connector& transition);

 private:
  int mInitialTokens;
  int mTokens;
  bool mIsInGroup;
  Constraint* mAtOnce;  // of all ports, or null; one of mConstraints
};

class NetSystem : public Compound {
 public:
  // A connector gets at most so many ports: only tests choose less than there can be.
  explicit NetSystem(const pnml::Net& net, int mostPorts = Connector::MAX_PORTS);

  void initialize(LogicalClock* clock) override;
  using Compound::initialize;

 private:
  using Way = std::tuple<int, int, int, int>;  // the fields of a use

  void addPlaces(const pnml::Net& net);
  void addTransitions(const pnml::Net& net, int mostPorts);
  PlaceAtom& placeOf(const pnml::Use& use) const {
    return *mPlaces[static_cast<std::size_t>(use.place)];
  }
  Port* portFor(const pnml::Use& use, std::map<Way, ArcPort*>& known);
  bool isRunByHeap() const;

  std::vector<PlaceAtom*> mPlaces;  // the first components
  PortGroups mGroups;               // those that are no components
};

#endif
