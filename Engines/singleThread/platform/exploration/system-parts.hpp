// The atoms and connectors of a system as two lists, and who touches whom. Private to the engine.
#ifndef VESK_EXPLORATION_SYSTEM_PARTS_HPP
#define VESK_EXPLORATION_SYSTEM_PARTS_HPP

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "locality.hpp"

class Atom;
class Compound;
class Connector;

namespace Vesk {

class SystemParts {
 public:
  using Index = std::uint32_t;

  struct AtomPart {
    Atom* atom;
    std::vector<Index> connectors;  // those that it is a member of, in order
  };
  struct ConnectorPart {
    Connector* connector;
    std::vector<Index> members;  // the atoms of its ports and of the connectors below, in order
  };

  // Takes the list of a system. One of the lists may be incomplete when locality() is UNDECLARED.
  explicit SystemParts(Compound& root);

  // What all parts have promised. UNDECLARED also when the promises are not enough:
  // - there is no part that could have promised anything;
  // - a component is neither atom nor compound, or a connector reaches outside of the system;
  // - exported ports form a ring;
  // - there are timing constraints, whose effect depends on more than texts;
  // - a priority names a sub-connector of its own compound, which is reported at every activation.
  // Other priorities take nothing away from an exploration.
  Locality locality() const { return mLocality; }
  // In the order of the state tree.
  const std::vector<AtomPart>& atoms() const { return mAtoms; }
  // In the order in which activation evaluates them.
  const std::vector<ConnectorPart>& connectors() const { return mConnectors; }

 private:
  // So many places of atoms in connectors are worth their memory.
  static constexpr std::size_t MOST_MEMBERS = std::size_t{1} << 24;

  void listComponents(Compound& root);
  void listConnectorsOf(Compound& compound);
  void findMembers(Index index, std::vector<Index>& seen);
  void limit(Locality locality);
  void checkPriorities(Compound& compound);

  Locality mLocality = Locality::REPEATABLE;
  std::vector<AtomPart> mAtoms;
  std::vector<ConnectorPart> mConnectors;
  std::unordered_map<const Atom*, Index> mAtomIndices;
  std::unordered_map<const Connector*, Index> mConnectorIndices;
  std::size_t mMembers = 0;  // of all connectors
};

}  // namespace Vesk

#endif
