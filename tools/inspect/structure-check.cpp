#include "structure-check.hpp"

#include <map>
#include <string>
#include <unordered_set>

#include "component.hpp"
#include "connector.hpp"
#include "findings.hpp"
#include "names.hpp"
#include "parts.hpp"
#include "port.hpp"
#include "priority.hpp"

namespace Vesk::Inspect {

namespace {

class StructureCheck {
 public:
  StructureCheck(const Parts& parts, Findings& findings) : mParts(parts), mFindings(findings) {}

  void run() {
    for (const auto& placed : mParts.compounds()) checkNames(placed);
    for (const auto& placed : mParts.atoms()) checkPortNames(placed);
    for (const auto& placed : mParts.connectors()) checkConnector(placed);
    for (const auto& placed : mParts.atoms()) checkPortsAreUsed(placed);
    for (const auto& placed : mParts.priorities()) checkPriority(placed);
    addNotes();
  }

 private:
  template <class List>
  void checkTwice(const std::string& place, List& list, const char* kind) {
    std::map<std::string, int> counts;
    for (const auto* part : list) {
      if (part == nullptr || ++counts[textOf(part->name())] != 2) continue;
      mFindings.add(
          {place, "several " + std::string(kind) + " are called \"" + textOf(part->name()) + "\"",
           "traces and files of explorations cannot tell them apart",
           "give each of them a name of its own"});
    }
  }

  void checkNames(const Parts::Placed<Compound>& placed) {
    checkTwice(placed.path, placed.part->components(), "components");
    checkLabels(placed);
  }

  // Connectors may share a name as long as their labels, which have the ports as well, differ.
  void checkLabels(const Parts::Placed<Compound>& placed) {
    std::map<std::string, int> counts;
    for (Connector* connector : placed.part->connectors()) {
      std::string label = std::string(textOf(connector->name())) + "/";
      for (Port* port : connector->ports()) label += port->label() + std::string("|");
      if (++counts[label] != 2) continue;
      mFindings.add({placed.path,
                     "several connectors over the same ports are called \"" +
                         std::string(textOf(connector->name())) + "\"",
                     "traces and files of explorations cannot tell them apart",
                     "give each of them a name of its own"});
    }
  }

  void checkPortNames(const Parts::Placed<Atom>& placed) {
    checkTwice(placed.path, placed.part->ports(), "ports");
  }

  void checkConnector(const Parts::Placed<Connector>& placed) {
    Connector& connector = *placed.part;
    for (Port* port : connector.ports()) checkHolder(placed.path, *port);
    if (connector.xPort() != nullptr && !connector.isSubconn()) {
      mFindings.add({placed.path, "it exports a port and is no sub-connector",
                     "it fires by itself besides taking part in the connectors above",
                     "pass true as the third argument of Connector(), or export nothing"});
    }
    if (!connector.isSubconn()) return;
    const bool used = connector.xPort() != nullptr && connector.links().count() > 0;
    if (used) return;
    mFindings.add({placed.path, "it is a sub-connector, and no connector uses its exported port",
                   "a sub-connector never fires by itself, so this one never fires",
                   "join its exported port in a connector, or pass false as the third argument of "
                   "Connector()"});
  }

  // What a connector joins must be in the tree, or it is neither initialised nor explored.
  void checkHolder(const std::string& place, Port& port) {
    mJoined.insert(&port);
    if (Atom* atom = port.atomHolder()) {
      if (mParts.indexOf(atom) == Parts::NONE) {
        mFindings.add(
            {place,
             "its port " + std::string(port.label()) +
                 " belongs to an atom that is not in the tree",
             "the atom is not initialised, so it announces nothing and the connector never fires",
             "add the atom to components() of its compound"});
      } else if (mParts.indexOf(&port) == Parts::NONE) {
        mFindings.add(
            {place, "its port " + std::string(port.label()) + " is not among the ports of its atom",
             "runs with time do not see it when it is internal, and nothing owns it",
             "call addPort() in the constructor of the atom"});
      }
    } else if (port.connHolder() != nullptr && mParts.indexOf(port.connHolder()) == Parts::NONE) {
      mFindings.add({place,
                     "its port " + std::string(port.label()) +
                         " is exported by a connector that is not in the tree",
                     "nothing owns that connector",
                     "add the connector to connectors() of its compound"});
    }
  }

  void checkPortsAreUsed(const Parts::Placed<Atom>& placed) {
    for (Port* port : placed.part->ports()) {
      if (port->isInternal() || mJoined.count(port) != 0) continue;
      mFindings.add({mParts.nameOf(*port), "it is in no connector and is not internal",
                     "it can never fire", "join it in a connector, or call setInternal()"});
    }
  }

  void checkPriority(const Parts::Placed<Priority>& placed) {
    Interaction* low = placed.part->low();
    Interaction* high = placed.part->high();
    checkIndices(placed, *low);
    checkCanAct(placed, *low->connector());
    if (high == nullptr) return;
    checkIndices(placed, *high);
    checkCanAct(placed, *high->connector());
  }

  // The set of ports may name more of them than the connector has.
  void checkIndices(const Parts::Placed<Priority>& placed, Interaction& interaction) {
    Connector& connector = *interaction.connector();
    for (int i = connector.ports().count(); i < BitVector::CAPACITY; ++i) {
      if (interaction.synced().in(i) == 0) continue;
      mFindings.add({placed.path,
                     "a priority names port " + std::to_string(i) + " of the connector " +
                         textOf(connector.name()) + ", which has " +
                         std::to_string(connector.ports().count()) + " ports",
                     "no interaction has that port, so the priority never holds",
                     "count the ports from 0 in Interaction::Create()"});
    }
  }

  void checkCanAct(const Parts::Placed<Priority>& placed, Connector& connector) {
    const std::string what =
        "a priority names the connector " + std::string(textOf(connector.name()));
    if (mParts.indexOf(&connector) == Parts::NONE) {
      mFindings.add({placed.path, what + ", which is not in the tree", "the priority never holds",
                     "add the connector to connectors() of its compound"});
    } else if (connector.isSubconnSameHolder()) {
      mFindings.add({placed.path, what + ", which is a sub-connector of the same compound",
                     "the engine skips such a priority, with a warning in every step",
                     "name the connectors that use its exported port"});
    }
  }

  bool actEverywhere() const {
    const Compound& root = *mParts.compounds().front().part;
    return root.declaredPriorities() == Priorities::EVERYWHERE;
  }

  void addNotes() {
    if (!mParts.priorities().empty()) {
      mFindings.note(
          std::string("priorities act in timed runs, and in --opt2 as the order of connectors; ") +
          (actEverywhere() ? "the root has declared that they act in explorations and --opt1 too"
                           : "explorations and --opt1 do not know them"));
    }
    for (const auto& placed : mParts.connectors()) {
      if (placed.part->xPort() == nullptr) continue;
      mFindings.note(
          "--opt2 is not made for exported ports: what fires does not queue the connectors above");
      break;
    }
  }

  const Parts& mParts;
  Findings& mFindings;
  std::unordered_set<const Port*> mJoined;  // by a connector
};

}  // namespace

void checkStructure(const Parts& parts, Findings& findings) {
  StructureCheck(parts, findings).run();
}

}  // namespace Vesk::Inspect
