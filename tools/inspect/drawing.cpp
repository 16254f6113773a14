#include "drawing.hpp"

#include <cstddef>
#include <map>
#include <sstream>
#include <vector>

#include "component.hpp"
#include "connector.hpp"
#include "names.hpp"
#include "parts.hpp"
#include "port.hpp"
#include "priority.hpp"

namespace Vesk::Inspect {

namespace {

const char* const HEAD =
    "// Atoms are boxes with their ports, connectors are ellipses, broadcasts hexagons; dashed "
    "ones are\n"
    "// sub-connectors, and the dots are the ports that these export. Dashed arrows are priorities "
    "and\n"
    "// lead to the interaction that wins.\n";
const char* const STYLE =
    "  graph [labelloc=t, fontname=\"Helvetica\", ranksep=0.8]\n"
    "  node [fontname=\"Helvetica\", style=filled, fillcolor=white]\n"
    "  edge [fontname=\"Helvetica\", dir=none]\n";
const char* const COLOURS[] = {"#dde8f6", "#f6ecd9", "#e0f0dc", "#f3dfe9", "#e7e2f4", "#eeeeee"};
constexpr std::size_t COLOUR_COUNT = sizeof COLOURS / sizeof *COLOURS;

// A text between quotes.
std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : utf8(text)) {
    if (c == '"' || c == '\\') result += '\\';
    result += c == '\n' ? ' ' : c;
  }
  return result + "\"";
}

// A text in a field of a record, whose signs Graphviz would read.
std::string fieldText(const std::string& text) {
  std::string result;
  for (const char c : utf8(text)) {
    if (std::string("{}|<>\"\\ ").find(c) != std::string::npos) result += '\\';
    result += c == '\n' ? ' ' : c;
  }
  return result;
}

class Drawing {
 public:
  Drawing(const Parts& parts, const std::string& run) : mParts(parts), mRun(run) {
    for (std::size_t i = 0; i < parts.atoms().size(); ++i) {
      mAtomsOf[parts.atoms()[i].compound].push_back(i);
    }
    for (std::size_t i = 0; i < parts.connectors().size(); ++i) {
      mConnectorsOf[parts.connectors()[i].compound].push_back(i);
    }
  }

  std::string text() {
    const std::string root = textOf(mParts.compounds().front().part->name());
    mText = HEAD + ("digraph " + quoted(root)) + " {\n" + STYLE +
            "  label=" + quoted(root + " (" + mRun + ")") + "\n";
    addCompounds();
    for (std::size_t i = 0; i < mParts.connectors().size(); ++i) addEdgesOf(i);
    for (const auto& placed : mParts.priorities()) addPriority(*placed.part, placed.compound);
    return mText + "}\n";
  }

 private:
  // The compounds stand in the order of the tree, so each is closed before the next one that does
  // not lie in it.
  void addCompounds() {
    const auto& compounds = mParts.compounds();
    std::vector<std::size_t> open = {0};
    addPartsOf(0);
    for (std::size_t i = 1; i < compounds.size(); ++i) {
      for (; open.back() != compounds[i].compound; open.pop_back()) line(open.size() - 1, "}");
      line(open.size(), "subgraph cluster_" + std::to_string(i) + " {");
      open.push_back(i);
      line(open.size(), "label=" + quoted(textOf(compounds[i].part->name())));
      addPartsOf(i);
    }
    for (; open.size() > 1; open.pop_back()) line(open.size() - 1, "}");
  }

  void addPartsOf(std::size_t compound) {
    std::size_t depth = 1;
    for (std::size_t i = compound; i != 0; i = mParts.compounds()[i].compound) ++depth;
    for (const std::size_t atom : mAtomsOf[compound]) addAtom(atom, depth);
    for (const std::size_t connector : mConnectorsOf[compound]) addConnector(connector, depth);
  }

  void addAtom(std::size_t index, std::size_t depth) {
    Atom& atom = *mParts.atoms()[index].part;
    std::string fields;
    for (int i = 0; i < atom.ports().count(); ++i) {
      Port& port = *atom.ports()[i];
      if (i > 0) fields += '|';
      fields += "<p" + std::to_string(i) + ">" + fieldText(textOf(port.name()));
      if (port.isInternal()) fields += "\\ (internal)";
      if (!port.isInternal() && !port.isConnected()) fields += "\\ (not\\ connected)";
    }
    const std::string label = "{" + fieldText(textOf(atom.name())) + "|{" + fields + "}}";
    line(depth, "a" + std::to_string(index) + " [shape=record, fillcolor=\"" + colourOf(atom) +
                    "\", label=\"" + label + "\"]");
  }

  void addConnector(std::size_t index, std::size_t depth) {
    Connector& connector = *mParts.connectors()[index].part;
    std::string look = connector.isBroadcast() ? "hexagon" : "ellipse";
    if (connector.isSubconn()) look += ", style=\"filled,dashed\"";
    line(depth, "c" + std::to_string(index) + " [shape=" + look +
                    ", label=" + quoted(textOf(connector.name())) + "]");
    if (connector.xPort() == nullptr) return;
    line(depth, "x" + std::to_string(index) +
                    " [shape=point, width=0.15, fillcolor=black, xlabel=" +
                    quoted(textOf(connector.xPort()->name())) + "]");
    line(depth, "c" + std::to_string(index) + " -> x" + std::to_string(index));
  }

  // The first port stands above its connector, the others below.
  void addEdgesOf(std::size_t index) {
    Connector& connector = *mParts.connectors()[index].part;
    const std::string self = "c" + std::to_string(index);
    for (int i = 0; i < connector.ports().count(); ++i) {
      const std::string end = endAt(*connector.ports()[i]);
      line(1, i == 0 ? end + " -> " + self : self + " -> " + end);
    }
  }

  // A port of an atom, or the dot of an exported port. What is not in the tree gets a node of its
  // own.
  std::string endAt(Port& port) {
    if (Atom* atom = port.atomHolder()) {
      const std::size_t index = mParts.indexOf(atom);
      for (int i = 0; index != Parts::NONE && i < atom->ports().count(); ++i) {
        if (atom->ports()[i] == &port)
          return "a" + std::to_string(index) + ":p" + std::to_string(i);
      }
    } else if (Connector* connector = port.connHolder()) {
      const std::size_t index = mParts.indexOf(connector);
      if (index != Parts::NONE && connector->xPort() == &port) return "x" + std::to_string(index);
    }
    return quoted(mParts.nameOf(port) + " (not in the tree)");
  }

  void addPriority(Priority& priority, std::size_t compound) {
    const std::string low = nodeOf(*priority.low());
    std::string high = "any" + std::to_string(compound);
    if (priority.high() != nullptr) {
      high = nodeOf(*priority.high());
    } else {
      line(1, high + " [shape=plaintext, fillcolor=none, label=\"all others\"]");
    }
    line(1, low + " -> " + high + " [dir=forward, style=dashed, constraint=false" +
                labelOf(priority) + "]");
  }

  std::string nodeOf(Interaction& interaction) {
    const std::size_t index = mParts.indexOf(interaction.connector());
    if (index != Parts::NONE) return "c" + std::to_string(index);
    return quoted(mParts.nameOf(*interaction.connector()) + " (not in the tree)");
  }

  // What is not the plain case: some ports of a connector, a delay, a guard.
  std::string labelOf(Priority& priority) {
    std::string text = partOf(*priority.low());
    if (priority.high() != nullptr && !partOf(*priority.high()).empty()) {
      text += (text.empty() ? "" : " ") + ("< " + partOf(*priority.high()));
    }
    const auto add = [&text](const std::string& more) {
      text += (text.empty() ? "" : ", ") + more;
    };
    if (priority.delay() != Vesk::Time(0)) {
      std::ostringstream delay;
      delay << priority.delay();
      add("delay " + delay.str());
    }
    const std::string name = className(priority);
    if (name != "Priority" && !name.empty()) add("guard of " + name);
    return text.empty() ? "" : ", label=" + quoted(text);
  }

  // The names of the ports when an interaction is not that of all ports.
  std::string partOf(Interaction& interaction) {
    Connector& connector = *interaction.connector();
    const std::vector<Port*> ports = portsOf(connector, interaction.synced());
    if (static_cast<int>(ports.size()) == connector.ports().count()) return "";
    std::string names;
    for (Port* port : ports) {
      names +=
          (names.empty() ? "" : "|") + std::string(port->labelHolder()) + ":" + port->labelName();
    }
    return "{" + names + "}";
  }

  const char* colourOf(const Atom& atom) {
    const std::size_t next = mColours.size();
    return COLOURS[mColours.emplace(className(atom), next).first->second % COLOUR_COUNT];
  }

  void line(std::size_t depth, const std::string& text) {
    mText += std::string(2 * depth, ' ') + text + "\n";
  }

  const Parts& mParts;
  const std::string mRun;
  std::map<std::size_t, std::vector<std::size_t>> mAtomsOf;
  std::map<std::size_t, std::vector<std::size_t>> mConnectorsOf;
  std::map<std::string, std::size_t> mColours;  // of the classes of atoms
  std::string mText;
};

}  // namespace

std::string drawingOf(const Parts& parts, const std::string& run) {
  return Drawing(parts, run).text();
}

}  // namespace Vesk::Inspect
