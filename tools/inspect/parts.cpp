#include "parts.hpp"

#include <algorithm>
#include <memory>

#include "component.hpp"
#include "connector.hpp"
#include "names.hpp"
#include "port.hpp"
#include "states.hpp"

namespace Vesk::Inspect {

namespace {

std::string below(const std::string& path, const char* name) {
  return path + "/" + textOf(name);
}

}  // namespace

// A component is listed before its own ones are, and these before its later neighbours; trees may
// be very deep, so the components that wait are kept aside.
Parts::Parts(Compound& root) {
  std::vector<Waiting> waiting = {{&root, NONE}};
  while (!waiting.empty()) {
    const Waiting next = waiting.back();
    waiting.pop_back();
    if (next.component != nullptr) add(next, waiting);
  }
  for (const Placed<Atom>& atom : mAtoms) {
    for (Port* port : atom.part->ports()) {
      mIndices.emplace(port, mPorts.size());
      mPorts.push_back({port, atom.path + "." + textOf(port->name()), atom.compound});
    }
  }
}

void Parts::add(const Waiting& next, std::vector<Waiting>& waiting) {
  const char* name = textOf(next.component->name());
  const std::string path = next.holder == NONE ? name : below(mCompounds[next.holder].path, name);
  if (next.component->isAtom()) {
    auto* atom = static_cast<Atom*>(next.component);
    mIndices.emplace(atom, mAtoms.size());
    mAtoms.push_back({atom, path, next.holder});
  } else if (next.component->isCompound()) {
    auto* compound = static_cast<Compound*>(next.component);
    const std::size_t index = mCompounds.size();
    mCompounds.push_back({compound, path, next.holder});
    addAllOf(*compound, index);
    for (int i = compound->components().count(); i-- > 0;) {
      waiting.push_back({compound->components()[i], index});
    }
  }
}

void Parts::addAllOf(Compound& compound, std::size_t index) {
  const std::string path = mCompounds[index].path;
  for (Connector* connector : compound.connectors()) {
    mIndices.emplace(connector, mConnectors.size());
    mConnectors.push_back({connector, below(path, connector->name()), index});
  }
  for (Priority* priority : compound.priorities()) mPriorities.push_back({priority, path, index});
}

std::size_t Parts::indexOf(const Atom* atom) const {
  const auto found = mIndices.find(atom);
  return found != mIndices.end() ? found->second : NONE;
}

std::size_t Parts::indexOf(const Connector* connector) const {
  const auto found = mIndices.find(connector);
  return found != mIndices.end() ? found->second : NONE;
}

std::size_t Parts::indexOf(const Port* port) const {
  const auto found = mIndices.find(port);
  return found != mIndices.end() ? found->second : NONE;
}

std::string Parts::nameOf(Port& port) const {
  const std::size_t index = indexOf(&port);
  if (index != NONE) return mPorts[index].path;
  if (port.connHolder() != nullptr) return nameOf(*port.connHolder()) + "." + textOf(port.name());
  return port.label();
}

std::string Parts::nameOf(Connector& connector) const {
  const std::size_t index = indexOf(&connector);
  return index != NONE ? mConnectors[index].path : textOf(connector.name());
}

std::string Parts::nameOf(Atom& atom) const {
  const std::size_t index = indexOf(&atom);
  return index != NONE ? mAtoms[index].path : textOf(atom.name());
}

std::vector<Port*> portsOf(Connector& connector, const BitVector& set) {
  std::vector<Port*> ports;
  for (int i = 0; i < connector.ports().count(); ++i) {
    if (set.in(i) != 0) ports.push_back(connector.ports()[i]);
  }
  return ports;
}

StateText stateOf(Atom& atom) {
  const std::unique_ptr<Node> state(atom.getState());
  if (state == nullptr || !state->isLeaf()) return {};
  const Atomleaf* leaf = static_cast<Leaf*>(state.get())->getAleaf();
  if (leaf == nullptr || leaf->getVal() == nullptr) return {};
  return {true, leaf->getVal()};
}

}  // namespace Vesk::Inspect
