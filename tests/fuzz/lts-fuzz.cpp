// Feeds the readers with any bytes: a file for each part between lines of "%%", in the order .aut,
// .state, .deadlock, .pruned. What they take for an exploration must be one.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "comparison.hpp"
#include "exploration.hpp"
#include "fault.hpp"
#include "json-text.hpp"
#include "part.hpp"
#include "path-report.hpp"
#include "printable.hpp"
#include "progress.hpp"
#include "state-texts.hpp"
#include "summary.hpp"
#include "writer.hpp"

namespace {

using namespace Vesk::Lts;

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "the readers break their promise: %s\n", what);
  std::abort();
}

// The files of an exploration in a folder of this process.
class Folder {
 public:
  Folder() { require(mkdtemp(mName) != nullptr, "there is a folder for the files"); }
  ~Folder() {
    for (const char* suffix : SUFFIXES) unlink(path(suffix).c_str());
    rmdir(mName);
  }
  std::string path(const std::string& suffix) const { return std::string(mName) + "/x" + suffix; }

  // A part that is missing is a file that is missing.
  void write(std::string_view data) const {
    for (const char* suffix : SUFFIXES) {
      const std::size_t end = data.find("\n%%\n");
      writeFile(path(suffix), data.substr(0, end == std::string_view::npos ? end : end + 1));
      if (end == std::string_view::npos) return;
      data.remove_prefix(end + 4);
    }
  }

 private:
  static constexpr const char* SUFFIXES[] = {".aut", ".state", ".deadlock", ".pruned"};

  static void writeFile(const std::string& name, std::string_view content) {
    std::FILE* file = std::fopen(name.c_str(), "wb");
    require(file != nullptr, "files can be written");
    if (!content.empty()) std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
  }

  char mName[32] = "/dev/shm/lts-fuzz-XXXXXX";
};

void checkLine(const std::string& text) {
  for (char c : text) {
    require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "messages are one line");
  }
}

void checkGraph(const Graph& graph) {
  require(graph.initial() < graph.states(), "the initial state is a state");
  std::size_t transitions = 0;
  for (State state = 0; state < graph.states(); ++state) {
    for (const Edge& edge : graph.out(state)) {
      require(edge.target < graph.states(), "transitions lead to states");
      require(edge.label < graph.labels().size(), "transitions have labels");
      ++transitions;
    }
  }
  require(transitions == graph.transitions(), "every transition has a source");
}

void checkReports(const Exploration& exploration, Progress& progress) {
  require(jsonText(Summary(exploration).json()).find('\n') == std::string::npos, "JSON is a line");
  for (char c : Summary(exploration).text()) require(c == '\n' || c >= 0x20 || c < 0, "texts");
  const auto path =
      ShortestPaths(exploration.graph(), exploration.graph().initial()).toState([&](State state) {
        return exploration.isDeadlock(state);
      });
  if (path) PathReport(exploration, *path, progress).text();
  const StateTexts texts(exploration, progress);
  const Part part(exploration.graph(), exploration.graph().initial(), 2);
  require(part.states() <= exploration.graph().states(), "a part is a part");
  for (char c : dotText(exploration, part, texts, "#")) {
    require(c == '\n' || c >= 0x20 || c < 0, "drawings have printable texts");
  }
  for (Label label = 0; label < exploration.graph().labels().size(); ++label) {
    const std::string_view text = exploration.graph().labels().text(label);
    require(hexUnescaped(hexEscaped(text)) == text, "escaped labels can be taken back");
  }
  for (State state : exploration.deadlocks()) {
    require(!exploration.isUnexpanded(state), "a deadlock was expanded");
  }
}

void checkComparison(const Exploration& exploration, Progress& progress) {
  try {
    const Comparison comparison(exploration, exploration, 3, progress);
    comparison.text(progress);
    comparison.json(progress);
  } catch (const Fault& fault) {
    checkLine(fault.what());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Folder folder;
  folder.write({reinterpret_cast<const char*>(data), size});
  Progress progress(stdin);
  try {
    const Exploration exploration(folder.path(""), progress);
    checkGraph(exploration.graph());
    checkReports(exploration, progress);
    checkComparison(exploration, progress);
    for (const std::string& warning : exploration.warnings()) checkLine(warning);
  } catch (const Fault& fault) {
    checkLine(fault.what());
    require(std::string(fault.what()).find(", expected ") != std::string::npos,
            "messages say what was expected");
  }
  return 0;
}
