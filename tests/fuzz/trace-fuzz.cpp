// Feeds the readers with any bytes. Of what they take for a run every output must be well formed.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "bad-lines.hpp"
#include "csv-writer.hpp"
#include "fault.hpp"
#include "json-text.hpp"
#include "mermaid-sequence.hpp"
#include "output-file.hpp"
#include "perfetto-writer.hpp"
#include "plantuml-sequence.hpp"
#include "progress.hpp"
#include "run-comparison.hpp"
#include "run-summary.hpp"
#include "svg-sequence.hpp"
#include "table-writer.hpp"
#include "vcd-writer.hpp"

namespace {

using namespace Vesk::Traces;
using Vesk::Lts::Json;

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "the readers break their promise: %s\n", what);
  std::abort();
}

void checkLine(const std::string& text) {
  for (char c : text) {
    require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "messages are one line");
  }
  require(text.find(", expected ") != std::string::npos || text.find("more lines") != text.npos,
          "messages say what was expected");
}

// The file of a run and one for outputs, in a folder of this process.
class Files {
 public:
  explicit Files(std::string_view data) {
    require(mkdtemp(mFolder) != nullptr, "there is a folder for the files");
    std::ofstream(run(), std::ios::binary) << data;
  }
  ~Files() {
    unlink(run().c_str());
    unlink(output().c_str());
    rmdir(mFolder);
  }
  std::string run() const { return std::string(mFolder) + "/run"; }
  std::string output() const { return std::string(mFolder) + "/output"; }

 private:
  char mFolder[32] = "/dev/shm/trace-fuzz-XXXXXX";
};

class Runs {
 public:
  explicit Runs(std::string_view data) : mFiles(data) {}

  std::unique_ptr<Reader> open() { return openReader(mFiles.run(), mProgress, mBadLines); }

  template <class Writer, class... Options>
  std::string written(Options... options) {
    const auto reader = open();
    Vesk::Lts::OutputFile file(mFiles.output());
    Writer writer(file, options...);
    show(*reader, writer);
    file.commit();
    std::ifstream output(mFiles.output(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(output), {});
  }

 private:
  Files mFiles;
  Vesk::Lts::Progress mProgress{nullptr};
  BadLines mBadLines{false, checkLine};
};

void checkDump(const std::string& dump) {
  std::istringstream lines(dump.substr(dump.find("\n#0\n") + 1));
  long long now = -1;
  for (std::string line; std::getline(lines, line);) {
    if (line[0] != '#') continue;
    const long long time = std::stoll(line.substr(1));
    require(time > now, "the times of a dump grow");
    now = time;
  }
}

void checkRows(const std::string& text) {
  std::size_t fields = 1;
  std::size_t first = 0;
  bool isQuoted = false;
  for (char c : text) {
    if (c == '"') isQuoted = !isQuoted;
    if (isQuoted) continue;
    if (c == ',') ++fields;
    if (c != '\n') continue;
    if (first == 0) first = fields;
    require(fields == first, "rows have the same number of fields");
    fields = 1;
  }
  require(!isQuoted, "quotes are closed");
}

void checkText(const std::string& text) {
  for (char c : text) require(c == '\n' || c >= 0x20 || c < 0, "what is to be read is printable");
}

void checkJson(const std::string& text) {
  require(!Json::parse(text, nullptr, false).is_discarded(), "JSON is JSON");
}

void checkOutputs(Runs& runs) {
  constexpr std::uint64_t MOST = 50;
  checkDump(runs.written<VcdWriter>(std::string("VESK")));
  checkJson(runs.written<PerfettoWriter>());
  checkRows(runs.written<CsvWriter>(CsvWriter::Options{false, true}));
  checkText(runs.written<TableWriter>(TableWriter::Options()));
  checkText(runs.written<PlantUmlSequence>(MOST));
  checkText(runs.written<MermaidSequence>(MOST));
  checkText(runs.written<SvgSequence>(MOST));
  const auto reader = runs.open();
  Summary summary;
  show(*reader, summary);
  checkText(summary.text());
  checkJson(Vesk::Lts::jsonText(summary.json()));
}

void checkComparison(Runs& runs) {
  const auto a = runs.open();
  const auto b = runs.open();
  const Comparison comparison(*a, *b, Comparison::Options());
  require(comparison.same(), "a run is the same as itself");
  checkText(comparison.text());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Runs runs({reinterpret_cast<const char*>(data), size});
  try {
    checkOutputs(runs);
    checkComparison(runs);
  } catch (const Vesk::Lts::Fault& fault) {
    checkLine(fault.what());
  }
  return 0;
}
