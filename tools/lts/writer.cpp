#include "writer.hpp"

#include <functional>
#include <optional>
#include <string_view>

#include "json-text.hpp"
#include "output-file.hpp"
#include "printable.hpp"
#include "state-texts.hpp"

namespace Vesk::Lts {

namespace {

// Beyond this many transitions a layout by levels may take minutes; that by springs takes seconds.
constexpr std::uint64_t MAX_HIERARCHICAL = 150;

// The most columns of a text that is shown in a drawing.
constexpr std::size_t MAX_TEXT = 24;

using Write = std::function<void(const std::string&)>;

// The numbers that the states of a part have in a file that knows no others.
class Numbers {
 public:
  explicit Numbers(const Graph& graph, const Part& part) {
    if (part.isAll()) return;
    mNew.resize(graph.states());
    State next = 0;
    part.eachState([&](State state) { mNew[state] = next++; });
  }
  State of(State state) const { return mNew.empty() ? state : mNew[state]; }

 private:
  Column<State> mNew;  // empty: they stay
};

// ---- dot -------------------------------------------------------------------------------------

// In quotes; entities of HTML and escapes of Graphviz stand for themselves.
std::string dotQuoted(std::string_view text) {
  std::string result = "\"";
  for (char c : printable(text)) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '"' || c == '\\') {
      result.append("\\").append(1, c);
    } else {
      result += c;
    }
  }
  return result + "\"";
}

const char* dotStyleOf(const Exploration& exploration, State state) {
  if (exploration.errorState() == state)
    return ", style=filled, fillcolor=\"#f4a582\", shape=octagon";
  if (exploration.isDeadlock(state)) return ", style=filled, fillcolor=\"#f4a582\", peripheries=2";
  if (exploration.isPruned(state)) return ", style=dashed";
  if (exploration.isUnexpanded(state)) return ", style=dotted";
  if (state == exploration.graph().initial()) return ", style=filled, fillcolor=\"#d1e5f0\"";
  return "";
}

// A short text stands below the number.
std::string dotLabel(const std::string& number, const std::optional<std::string_view>& text,
                     bool isSmall) {
  if (!isSmall || !text || text->empty() || columns(printable(*text)) > MAX_TEXT) {
    return "\"" + number + "\"";
  }
  return "\"" + number + "\\n" + dotQuoted(*text).substr(1);
}

std::string dotState(const Exploration& exploration, State state, const StateTexts& texts,
                     const std::string& link, bool isSmall) {
  const std::string number = std::to_string(state);
  const auto text = texts.of(state);
  std::string line = "  " + number + " [label=" + dotLabel(number, text, isSmall);
  line += dotStyleOf(exploration, state);
  if (!link.empty()) line += ", URL=\"" + link + number + "\"";
  if (text && !text->empty()) line += ", tooltip=" + dotQuoted(*text);
  return line + "];\n";
}

void writeDotTo(const Write& write, const Exploration& exploration, const Part& part,
                const StateTexts& texts, const std::string& link) {
  const Graph& graph = exploration.graph();
  const bool isSmall = part.transitions() <= MAX_HIERARCHICAL;
  write("digraph lts {\n");
  write(isSmall ? "  layout=dot; rankdir=TB;\n"
                : "  layout=sfdp; overlap=prism; outputorder=edgesfirst;\n");
  write("  node [shape=ellipse, fontname=\"sans-serif\", fontsize=12];\n");
  write("  edge [fontname=\"sans-serif\", fontsize=10];\n");
  if (part.has(graph.initial())) {
    write("  start [shape=point, label=\"\", xlabel=\"\"];\n");
    write("  start -> " + std::to_string(graph.initial()) + ";\n");
  }
  part.eachState([&](State state) { write(dotState(exploration, state, texts, link, isSmall)); });
  part.eachTransition([&](State source, const Edge& edge) {
    const std::string label = dotQuoted(graph.labels().text(edge.label));
    write("  " + std::to_string(source) + " -> " + std::to_string(edge.target) +
          (isSmall ? " [label=" : " [tooltip=") + label + "];\n");
  });
  write("}\n");
}

// ---- csv -------------------------------------------------------------------------------------

// RFC 4180: fields with separators are quoted, quotes in them are doubled.
std::string csvField(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string result = "\"";
  for (char c : text) {
    if (c == '"') result += c;
    result += c;
  }
  return result + "\"";
}

}  // namespace

// ---- Formats ---------------------------------------------------------------------------------

std::string kindsOf(const Exploration& exploration, State state) {
  std::string kinds;
  const auto add = [&](bool has, const char* kind) {
    if (has) kinds.append(kinds.empty() ? "" : " ").append(kind);
  };
  add(state == exploration.graph().initial(), "initial");
  add(exploration.isDeadlock(state), "deadlock");
  add(exploration.isPruned(state), "pruned");
  add(exploration.errorState() == state, "error");
  add(exploration.isUnexpanded(state), "unexpanded");
  return kinds;
}

void writeAut(const Exploration& exploration, const Part& part, const std::string& loopLabel,
              OutputFile& file) {
  const Graph& graph = exploration.graph();
  const Numbers numbers(graph, part);
  std::uint64_t transitions = part.transitions();
  if (!loopLabel.empty()) {
    for (State state : exploration.deadlocks()) transitions += part.has(state);
  }
  file.write("des (" + std::to_string(numbers.of(part.start())) + "," +
             std::to_string(transitions) + "," + std::to_string(part.states()) + ")\n");
  std::vector<std::string> labels;  // as they are written
  for (Label i = 0; i < graph.labels().size(); ++i) {
    labels.push_back(",\"" + hexEscaped(graph.labels().text(i)) + "\",");
  }
  std::string line;
  part.eachState([&](State state) {
    const std::string source = "(" + std::to_string(numbers.of(state));
    for (const Edge& edge : graph.out(state)) {
      if (!part.has(edge.target)) continue;
      line.assign(source).append(labels[edge.label]);
      line.append(std::to_string(numbers.of(edge.target))).append(")\n");
      file.write(line);
    }
    if (loopLabel.empty() || !exploration.isDeadlock(state)) return;
    file.write(source + ",\"" + hexEscaped(loopLabel) + "\"," + source.substr(1) + ")\n");
  });
}

void writeDot(const Exploration& exploration, const Part& part, const StateTexts& texts,
              const std::string& link, OutputFile& file) {
  writeDotTo([&](const std::string& text) { file.write(text); }, exploration, part, texts, link);
}

std::string dotText(const Exploration& exploration, const Part& part, const StateTexts& texts,
                    const std::string& link) {
  std::string result;
  writeDotTo([&](const std::string& text) { result += text; }, exploration, part, texts, link);
  return result;
}

void writeJson(const Exploration& exploration, const Part& part, const StateTexts& texts,
               OutputFile& file) {
  const Graph& graph = exploration.graph();
  file.write("{\n\"initial\": " + std::to_string(graph.initial()) + ",\n\"states\": [");
  const char* separator = "\n";
  part.eachState([&](State state) {
    const auto text = texts.of(state);
    const std::string kinds = kindsOf(exploration, state);
    Json entry = {{"state", state}, {"text", text ? Json(*text) : Json()}};
    if (!kinds.empty()) entry["kind"] = kinds;
    file.write(separator + jsonText(entry));
    separator = ",\n";
  });
  file.write("\n],\n\"transitions\": [");
  separator = "\n";
  part.eachTransition([&](State source, const Edge& edge) {
    file.write(separator + jsonText({{"from", source},
                                     {"label", graph.labels().text(edge.label)},
                                     {"to", edge.target}}));
    separator = ",\n";
  });
  file.write("\n]\n}\n");
}

void writeTransitionsCsv(const Exploration& exploration, const Part& part, OutputFile& file) {
  const LabelTable& labels = exploration.graph().labels();
  file.write("from,label,to\n");
  part.eachTransition([&](State source, const Edge& edge) {
    file.write(std::to_string(source) + "," + csvField(labels.text(edge.label)) + "," +
               std::to_string(edge.target) + "\n");
  });
}

void writeStatesCsv(const Exploration& exploration, const Part& part, const StateTexts& texts,
                    OutputFile& file) {
  file.write("state,kind,text\n");
  part.eachState([&](State state) {
    file.write(std::to_string(state) + "," + kindsOf(exploration, state) + "," +
               csvField(texts.of(state).value_or("")) + "\n");
  });
}

}  // namespace Vesk::Lts
