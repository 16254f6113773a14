#include "net-system.hpp"

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

std::string nameOf(const pnml::Use& use) {
  std::string name;
  if (use.consumed > 0) name += "-" + std::to_string(use.consumed);
  if (use.produced > 0) name += "+" + std::to_string(use.produced);
  if (use.below > 0) name += "<" + std::to_string(use.below);
  return name;
}

bool isSimulated(LogicalClock& clock) {
  return dynamic_cast<const SimuClock*>(&clock.platformClock()) != nullptr;
}

}  // namespace

// ---- Ports and places --------------------------------------------------------------------------

ArcPort::ArcPort(const pnml::Use& use, const Atom* place)
    : Port(nameOf(use).c_str(), place),
      mConsumed(use.consumed),
      mProduced(use.produced),
      mBelow(use.below > 0 ? use.below : LLONG_MAX) {}

PlaceAtom::PlaceAtom(const pnml::Place& place, const Compound* net)
    : Atom(place.id.c_str(), net),
      mInitialTokens(place.tokens),
      mTokens(0),
      mIsInGroup(false),
      mAtOnce(nullptr) {
  declare(Vesk::Locality::REPEATABLE);
}

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
  // The heap of an untimed run is told by the engine what depends on the ports of a connector, but
  // not what depends on those of a group.
  if (mIsInGroup) notifyDependentConn();
}

void PlaceAtom::joinThroughGroup(const Connector& transition) {
  mIsInGroup = true;
  mLinks.add(&transition);
}

void PlaceAtom::setTokens(int tokens) {
  mTokens = tokens;
  for (int i = 0; i < mPorts.count(); ++i) {
    ArcPort* port = static_cast<ArcPort*>(mPorts[i]);
    const bool enabled = port->enabledBy(tokens);
    if (enabled == port->synced()) continue;
    port->setSynced(false);
    rt_sync(1, static_cast<Port*>(port), int(enabled), mAtOnce);
  }
}

Node* PlaceAtom::getState() {
  return new Leaf(new Atomleaf((std::to_string(mTokens) + ",").c_str()));
}

void PlaceAtom::setState(Node* state) {
  const char* text = static_cast<Leaf*>(state)->getAleaf()->getVal();
  const int tokens = static_cast<int>(std::strtol(text, nullptr, 10));
  if (tokens != mTokens) setTokens(tokens);
}

// ---- The net -----------------------------------------------------------------------------------

NetSystem::NetSystem(const pnml::Net& net, int mostPorts) : Compound(net.id.c_str(), nullptr) {
  addPlaces(net);
  addTransitions(net, mostPorts);
}

// Groups become components unless the heap of an untimed run is used, which would fire them by
// themselves.
void NetSystem::initialize(LogicalClock* clock) {
  if (clock != nullptr || !isRunByHeap()) {
    for (auto& group : mGroups) mComponents.add(group.release());
    mGroups.clear();
  }
  Compound::initialize(clock);
}

// Only a scheduler that has a heap to keep makes itself known to atoms without clocks.
bool NetSystem::isRunByHeap() const {
  return !mPlaces.empty() && mPlaces.front()->mScheduler != nullptr;
}

void NetSystem::addPlaces(const pnml::Net& net) {
  mPlaces.reserve(net.places.size());
  for (const pnml::Place& place : net.places) {
    mPlaces.push_back(new PlaceAtom(place, this));
    mComponents.add(mPlaces.back());
  }
}

void NetSystem::addTransitions(const pnml::Net& net, int mostPorts) {
  std::map<Way, ArcPort*> known;
  for (const pnml::Transition& transition : net.transitions) {
    std::vector<Port*> ports;
    for (const pnml::Use& use : transition.uses) ports.push_back(portFor(use, known));
    const std::size_t groups = mGroups.size();
    ports = groupedPorts(std::move(ports), mostPorts, this, mGroups);
    Connector* connector = new Rendezvous(transition.id, this, false, ports);
    mConnectors.add(connector);
    if (mGroups.size() == groups) continue;
    for (const pnml::Use& use : transition.uses) {
      placeOf(use).joinThroughGroup(*connector);
    }
  }
}

// Transitions that use a place in the same way share a port of it.
Port* NetSystem::portFor(const pnml::Use& use, std::map<Way, ArcPort*>& known) {
  ArcPort*& port = known[{use.place, use.consumed, use.produced, use.below}];
  if (port == nullptr) placeOf(use).addPort(port = new ArcPort(use, &placeOf(use)));
  return port;
}
