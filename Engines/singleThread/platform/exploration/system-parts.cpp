#include "exploration/system-parts.hpp"

#include <algorithm>

#include "component.hpp"
#include "connector.hpp"
#include "port.hpp"
#include "priority.hpp"
#include "work-stack.hpp"

namespace Vesk {

namespace {

bool hasConstraints(Atom& atom) {
  if (atom.constraints().count() != 0) return true;
  for (Port* port : atom.ports()) {
    if (port->constraint() != nullptr) return true;
  }
  return false;
}

bool isSubconnector(const Interaction* interaction) {
  return interaction != nullptr && interaction->connector()->isSubconnSameHolder();
}

}  // namespace

SystemParts::SystemParts(Compound& root) {
  listComponents(root);
  if (mAtoms.empty() && mConnectors.empty()) limit(Locality::UNDECLARED);
  const auto count = static_cast<Index>(mConnectors.size());
  std::vector<Index> seen(count, count);
  for (Index i = 0; i < count && mLocality != Locality::UNDECLARED; ++i) findMembers(i, seen);
  mAtomIndices = {};  // the parts may be kept for as long as a search takes
  mConnectorIndices = {};
  if (mLocality == Locality::UNDECLARED) return;
  for (Index i = 0; i < count; ++i) {
    for (const Index atom : mConnectors[i].members) mAtoms[atom].connectors.push_back(i);
  }
}

void SystemParts::limit(Locality locality) {
  mLocality = std::min(mLocality, locality);
}

// The connectors of a compound come after those of the compounds within.
void SystemParts::listComponents(Compound& root) {
  struct Visit {
    Compound* compound;
    int next;  // component
  };
  WorkStack<Visit> visits;
  visits.push({&root, 0});
  while (!visits.empty()) {
    Visit& visit = visits.top();
    if (visit.next == visit.compound->components().count()) {
      listConnectorsOf(*visits.pop().compound);
      continue;
    }
    Component* component = visit.compound->components()[visit.next++];
    if (component->isCompound()) {
      visits.push({static_cast<Compound*>(component), 0});
    } else if (component->isAtom()) {
      auto* atom = static_cast<Atom*>(component);
      limit(hasConstraints(*atom) ? Locality::UNDECLARED : atom->locality());
      mAtomIndices.emplace(atom, static_cast<Index>(mAtoms.size()));
      mAtoms.push_back({atom, {}});
    } else {
      limit(Locality::UNDECLARED);
    }
  }
}

void SystemParts::listConnectorsOf(Compound& compound) {
  for (Connector* connector : compound.connectors()) {
    limit(connector->locality());
    mConnectorIndices.emplace(connector, static_cast<Index>(mConnectors.size()));
    mConnectors.push_back({connector, {}});
  }
  checkPriorities(compound);
}

void SystemParts::checkPriorities(Compound& compound) {
  for (Priority* priority : compound.priorities()) {
    if (isSubconnector(priority->low()) || isSubconnector(priority->high())) {
      limit(Locality::UNDECLARED);
    }
  }
}

// Each connector below is looked at once; `seen` tells for which connector it was seen last. A ring
// comes back to the connector itself.
void SystemParts::findMembers(Index index, std::vector<Index>& seen) {
  ConnectorPart& part = mConnectors[index];
  std::vector<Connector*> below{part.connector};
  for (std::size_t i = 0; i < below.size(); ++i) {
    for (Port* port : below[i]->ports()) {
      if (port->connHolder() != nullptr) {
        const auto provider = mConnectorIndices.find(port->connHolder());
        if (provider == mConnectorIndices.end() || provider->second == index) {
          return limit(Locality::UNDECLARED);
        }
        if (seen[provider->second] != index) below.push_back(port->connHolder());
        seen[provider->second] = index;
        continue;
      }
      const auto atom = mAtomIndices.find(port->atomHolder());
      if (atom == mAtomIndices.end()) return limit(Locality::UNDECLARED);
      part.members.push_back(atom->second);
    }
    mMembers += static_cast<std::size_t>(below[i]->ports().count());
    if (mMembers > MOST_MEMBERS) return limit(Locality::UNDECLARED);
  }
  std::sort(part.members.begin(), part.members.end());
  part.members.erase(std::unique(part.members.begin(), part.members.end()), part.members.end());
}

}  // namespace Vesk
