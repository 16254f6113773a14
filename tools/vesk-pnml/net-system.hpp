// A place/transition net as a system of components: an atom per place, a rendezvous per
// transition, and for every way in which transitions use a place a port of that place.
#ifndef VESK_PNML_NET_SYSTEM_HPP
#define VESK_PNML_NET_SYSTEM_HPP

#include <string>
#include <vector>

#include "marking-text.hpp"
#include "net.hpp"
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

class PlaceAtom : public Atom {
 public:
  // The atom appends its index to the list whenever its tokens change.
  PlaceAtom(const pnml::Place& place, const Compound* net, int index, std::vector<int>& changed);

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

 private:
  int mInitialTokens;
  int mTokens;
  int mIndex;
  std::vector<int>& mChanged;
  Constraint* mAtOnce;  // of all ports, or null; one of mConstraints
};

// The net. Its state is one leaf with the texts of all places, which prints like a tree of them but
// is much smaller.
class NetSystem : public Compound {
 public:
  // Requires: no transition uses more places than a connector has ports.
  explicit NetSystem(const pnml::Net& net);

  Node* getState() override;
  void setState(Node* state) override;

 private:
  void addPlaces(const pnml::Net& net);
  void addTransitions(const pnml::Net& net);
  const char* currentText();
  void writeText();

  std::vector<PlaceAtom*> mPlaces;             // the components
  std::vector<int> mChanged;                   // places that have changed since mText was right
  MarkingText mText;                           // of the marking at that time
  bool mHasText;                               // false: before the first one
  std::vector<MarkingText::Change> mRestored;  // work space
};

#endif
