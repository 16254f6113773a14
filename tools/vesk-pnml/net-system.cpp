#include "net-system.hpp"

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <map>
#include <stdexcept>
#include <tuple>

namespace {

std::string nameOf(const pnml::Use& use) {
  std::string name;
  if (use.consumed > 0) name += "-" + std::to_string(use.consumed);
  if (use.produced > 0) name += "+" + std::to_string(use.produced);
  if (use.below > 0) name += "<" + std::to_string(use.below);
  return name;
}

const char* textOf(Node* state) {
  return static_cast<Leaf*>(state)->getAleaf()->getVal();
}

bool isSimulated(LogicalClock& clock) {
  return dynamic_cast<const SimuClock*>(&clock.platformClock()) != nullptr;
}

// A transition: all of its ports together.
class TransitionConnector : public Connector {
 public:
  TransitionConnector(const pnml::Transition& transition, const Compound* net)
      : Connector(transition.id.c_str(), net, false) {}

  void addPort(ArcPort* port) { addPorts(1, static_cast<Port*>(port)); }

  using Connector::guard;
  bool isBroadcast() override { return false; }
  bool guard() override { return maximal(); }

 private:
  void addPorts(int n, ...) {
    va_list ports;
    va_start(ports, n);
    setVarPorts(n, ports);
    va_end(ports);
  }
};

}  // namespace

// ---- Ports and places --------------------------------------------------------------------------

ArcPort::ArcPort(const pnml::Use& use, const Atom* place)
    : Port(nameOf(use).c_str(), place),
      mConsumed(use.consumed),
      mProduced(use.produced),
      mBelow(use.below > 0 ? use.below : LLONG_MAX) {}

PlaceAtom::PlaceAtom(const pnml::Place& place, const Compound* net, int index,
                     std::vector<int>& changed)
    : Atom(place.id.c_str(), net),
      mInitialTokens(place.tokens),
      mTokens(0),
      mIndex(index),
      mChanged(changed),
      mAtOnce(nullptr) {}

void PlaceAtom::initialize(LogicalClock* clock) {
  if (clock != nullptr && mAtOnce == nullptr && isSimulated(*clock)) {
    mAtOnce = new Constraint(clock, Vesk::Time::MIN, Vesk::Time::MAX, EAGER);
    mConstraints.add(mAtOnce);
  }
  Atom::initialize(clock);
}

void PlaceAtom::execute(Port* port) {
  const long long tokens = static_cast<ArcPort*>(port)->after(mTokens);
  if (tokens > INT_MAX) {
    throw std::overflow_error("place " + std::string(name()) + " gets " + std::to_string(tokens) +
                              " tokens, at most " + std::to_string(INT_MAX) + " are possible");
  }
  setTokens(static_cast<int>(tokens));
}

void PlaceAtom::setTokens(int tokens) {
  mTokens = tokens;
  mChanged.push_back(mIndex);
  for (int i = 0; i < mPorts.count(); ++i) {
    ArcPort* port = static_cast<ArcPort*>(mPorts[i]);
    const bool enabled = port->enabledBy(tokens);
    if (enabled == port->synced()) continue;
    port->setSynced(false);
    rt_sync(1, static_cast<Port*>(port), int(enabled), mAtOnce);
  }
}

Node* PlaceAtom::getState() {
  std::string text;
  MarkingText::append(text, mTokens);
  return new Leaf(new Atomleaf(text.c_str()));
}

void PlaceAtom::setState(Node* state) {
  const char* cursor = textOf(state);
  setTokens(MarkingText::read(cursor));
}

// ---- The net -----------------------------------------------------------------------------------

NetSystem::NetSystem(const pnml::Net& net) : Compound(net.id.c_str(), nullptr), mHasText(false) {
  addPlaces(net);
  addTransitions(net);
}

void NetSystem::addPlaces(const pnml::Net& net) {
  mPlaces.reserve(net.places.size());
  for (const pnml::Place& place : net.places) {
    mPlaces.push_back(new PlaceAtom(place, this, mComponents.count(), mChanged));
    mComponents.add(mPlaces.back());
  }
}

// Transitions that use a place in the same way share a port of it.
void NetSystem::addTransitions(const pnml::Net& net) {
  std::map<std::tuple<int, int, int, int>, ArcPort*> ports;
  for (const pnml::Transition& transition : net.transitions) {
    TransitionConnector* connector = new TransitionConnector(transition, this);
    mConnectors.add(connector);
    for (const pnml::Use& use : transition.uses) {
      ArcPort*& port = ports[{use.place, use.consumed, use.produced, use.below}];
      if (port == nullptr) {
        PlaceAtom* place = mPlaces[static_cast<std::size_t>(use.place)];
        place->addPort(port = new ArcPort(use, place));
      }
      connector->addPort(port);
    }
  }
}

Node* NetSystem::getState() {
  return new Leaf(new Atomleaf(currentText()));
}

void NetSystem::setState(Node* state) {
  const char* cursor = textOf(state);
  currentText();
  if (mText.differences(cursor, mRestored)) {
    for (const MarkingText::Change& change : mRestored) {
      mPlaces[static_cast<std::size_t>(change.place)]->setTokens(change.tokens);
    }
    return;
  }
  for (PlaceAtom* place : mPlaces) {
    const int tokens = MarkingText::read(cursor);
    if (tokens != place->tokens()) place->setTokens(tokens);
  }
}

const char* NetSystem::currentText() {
  for (int index : mChanged) {
    if (mHasText && mText.replace({index, mPlaces[static_cast<std::size_t>(index)]->tokens()})) {
      continue;
    }
    writeText();
    break;
  }
  mChanged.clear();
  return mText.data();
}

void NetSystem::writeText() {
  mText.clear();
  for (const PlaceAtom* place : mPlaces) mText.add(place->tokens());
  mHasText = true;
}
