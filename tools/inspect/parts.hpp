// The parts of a model as lists, each with the place where it stands.
#ifndef VESK_INSPECT_PARTS_HPP
#define VESK_INSPECT_PARTS_HPP

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

class Atom;
class BitVector;
class Component;
class Compound;
class Connector;
class Interaction;
class Port;
class Priority;

namespace Vesk::Inspect {

// In the order of the tree: a compound before what it has, and each list as the model has filled
// it. A path has the names of the compounds above and of the part, joined by slashes.
class Parts {
 public:
  static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

  template <class Part>
  struct Placed {
    Part* part;
    std::string path;
    std::size_t compound;  // that it belongs to; NONE for the root
  };

  explicit Parts(Compound& root);

  const std::vector<Placed<Compound>>& compounds() const { return mCompounds; }
  const std::vector<Placed<Atom>>& atoms() const { return mAtoms; }
  const std::vector<Placed<Connector>>& connectors() const { return mConnectors; }
  // The path is that of the compound.
  const std::vector<Placed<Priority>>& priorities() const { return mPriorities; }
  // Those of the atoms, with the path of the atom, a dot and the name.
  const std::vector<Placed<Port>>& ports() const { return mPorts; }

  // NONE for what is no part of the tree.
  std::size_t indexOf(const Atom* atom) const;
  std::size_t indexOf(const Connector* connector) const;
  std::size_t indexOf(const Port* port) const;

  // Path and name, also of an exported port. What is no part of the tree has its label.
  std::string nameOf(Port& port) const;
  std::string nameOf(Connector& connector) const;
  std::string nameOf(Atom& atom) const;

 private:
  struct Waiting {
    Component* component;
    std::size_t holder;
  };

  void add(const Waiting& next, std::vector<Waiting>& waiting);
  void addAllOf(Compound& compound, std::size_t index);

  std::vector<Placed<Compound>> mCompounds;
  std::vector<Placed<Atom>> mAtoms;
  std::vector<Placed<Connector>> mConnectors;
  std::vector<Placed<Priority>> mPriorities;
  std::vector<Placed<Port>> mPorts;
  std::unordered_map<const void*, std::size_t> mIndices;  // of atoms, connectors and ports
};

// The ports of an interaction, in the order of its connector.
std::vector<Port*> portsOf(Connector& connector, const BitVector& set);

// The text of its state; null when it gives none. Asks the atom alone, which raises no flag.
struct StateText {
  bool given = false;
  std::string text;
  bool operator==(const StateText& other) const {
    return given == other.given && text == other.text;
  }
};
StateText stateOf(Atom& atom);

}  // namespace Vesk::Inspect

#endif
