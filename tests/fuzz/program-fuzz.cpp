// Bytes as a command line, an environment, a standard input and a model: everything that main does
// with them.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "choices.hpp"
#include "random-system.hpp"
#include "whole-runs.hpp"

namespace {

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "the program breaks its promise: %s\n", what.c_str());
  std::abort();
}

const std::vector<std::string>& knownWords() {
  static const std::vector<std::string> words = {"--execute",
                                                 "--explore",
                                                 "--realtime",
                                                 "--random",
                                                 "--quiet",
                                                 "--trace",
                                                 "--dfs",
                                                 "--bfs",
                                                 "--opt1",
                                                 "--interactive",
                                                 "--opt2",
                                                 "--output",
                                                 "--limit",
                                                 "--help",
                                                 "--simout",
                                                 "--seed",
                                                 "--disable-output",
                                                 "-o",
                                                 "-l",
                                                 "-s",
                                                 "-r",
                                                 "-h",
                                                 "--ex",
                                                 "--l",
                                                 "--seed=x",
                                                 "--limit=-1",
                                                 "-r5",
                                                 "-o.",
                                                 "trace",
                                                 "5",
                                                 "-99999999999",
                                                 "/dev/full",
                                                 "2147483648",
                                                 "-",
                                                 "x.aut"};
  return words;
}

std::string text(kit::Choices& choices, int most) {
  std::string made;
  for (int i = choices.below(most); i > 0; --i) made += static_cast<char>(choices.below(256));
  return made;
}

// Names without folders, and never an end of the options.
std::string operand(kit::Choices& choices) {
  std::string made = text(choices, 70);
  for (char& c : made) {
    if (c == '/' || c == '\0') c = '_';
  }
  return made == "--" ? "---" : made;
}

class Case {
 public:
  explicit Case(kit::ByteChoices& choices) : mStopsEarly(choices.chance(10)) {
    for (int i = choices.below(8); i > 0; --i) addWord(choices);
    addLimit(choices.between(1, 40));
    for (int i = choices.below(20); i > 0; --i) addAnswer(choices);
    mBytes = choices.rest();
  }

  kit::WholeRun run() const {
    static kit::RunFolder folder;
    if (mStopsEarly) {
      setenv("POSIXLY_CORRECT", "1", 1);
    } else {
      unsetenv("POSIXLY_CORRECT");
    }
    return folder.run(mWords, mInput, [this] { return model(); });
  }
  // Whether the trace may stand where a transition system is expected.
  bool tracesIntoFiles() const { return mTracesIntoFiles; }

 private:
  void addWord(kit::Choices& choices) {
    const bool known = choices.below(8) != 7;
    const std::string word = known ? choices.oneOf(knownWords()) : operand(choices);
    const bool limits = word.rfind("--l", 0) == 0 || word.rfind("-l", 0) == 0;
    if (mStopsEarly && limits) return;
    if (word.find('s') < 3) mTracesIntoFiles = true;
    mWords.push_back(word);
  }
  // Without a limit a run may have no end. The word before may take the first one for its argument.
  void addLimit(int steps) {
    const std::string word = "--limit=" + std::to_string(steps);
    if (mStopsEarly) {
      mWords.insert(mWords.begin(), word);
    } else {
      mWords.insert(mWords.end(), {word, word});
    }
  }
  void addAnswer(kit::Choices& choices) {
    const int kind = choices.below(8);
    if (kind < 4) mInput += std::to_string(choices.below(6));
    if (kind == 4) mInput += "rcp0"[choices.below(4)];
    if (kind == 5) mInput += std::to_string(choices.below(10000));
    if (kind > 5) mInput += text(choices, 20);
    mInput += choices.coin() ? '\n' : ' ';
  }
  std::unique_ptr<Compound> model() const {
    kit::ByteChoices choices(reinterpret_cast<const std::uint8_t*>(mBytes.data()), mBytes.size());
    if (choices.chance(3)) return nullptr;
    kit::Habits habits;
    habits.most = 400;
    return kit::makeRandomSystem(choices, habits);
  }

  bool mStopsEarly;
  bool mTracesIntoFiles = false;
  std::vector<std::string> mWords;
  std::string mInput;
  std::string mBytes;
};

// After the two lines of the header come those that it counts, all of them whole; but for the last
// one when an error has ended the search.
void checkTransitions(const std::string& text, bool error) {
  int transitions = -1;
  int states = -1;
  require(std::sscanf(text.c_str(), "des(0, %d, %d)", &transitions, &states) == 2, "a header");
  int lines = -2;
  for (const char c : text) lines += c == '\n';
  const bool counted = lines == transitions || (error && lines == transitions - 1);
  require(text.back() == '\n' && counted, "the header counts: " + text);
}

void checkFiles(const kit::WholeRun& run) {
  const bool error = run.out.find("because an error state was encountered") != std::string::npos;
  for (const kit::RunFile& file : run.files) {
    const std::size_t dot = file.name.rfind(".aut");
    if (dot == std::string::npos || dot + 4 != file.name.size()) continue;
    if (!file.content.empty()) checkTransitions(file.content, error);
  }
}

}  // namespace

// A run that ends by exit() leaves what stands on its stack. The models are looked at for leaks
// elsewhere.
extern "C" const char* __asan_default_options() {
  return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kit::ByteChoices choices(data, size);
  const Case one(choices);
  const kit::WholeRun run = one.run();
  require(run.out.rfind("VESK mono-threaded engine.", 0) == 0, "the banner comes first");
  const bool unknown = run.out.find("\nUnknown: '") != std::string::npos;
  switch (run.status) {
    case 0:
      break;
    case 1:
      require(run.err.find("built no system") != std::string::npos, "no system");
      break;
    case 3:
      require(run.err.find("ends by an exception") != std::string::npos, "an exception");
      break;
    default:
      require(run.status == -1 && unknown, "status " + std::to_string(run.status));
  }
  if (!one.tracesIntoFiles()) checkFiles(run);
  return 0;
}
