// Bytes as a model and what somebody types: in the dialogue of timed runs, in single steps with the
// console, in the loops of a scheduler that main never starts, and as the arguments of the
// console's operations. All of it ends, and says no more than the input and the steps ask for.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "choices.hpp"
#include "random-system.hpp"
#include "whole-runs.hpp"

namespace {

constexpr int STEPS = 20;

void require(bool condition, const std::string& what) {
  if (condition) return;
  std::fprintf(stderr, "a dialogue breaks its promise: %s\n", what.c_str());
  std::abort();
}

kit::RunFolder& folder() {
  static kit::RunFolder one;
  return one;
}

// ---- What is typed -----------------------------------------------------------------------------

std::string word(kit::Choices& choices) {
  static const std::vector<std::string> known = {
      "0", "1", "2", "3", "-1",  "r",  "c",          "p",
      "l", "-", "a", "b", "a.b", "-.", "2147483648", "9223372036854775808"};
  const int kind = choices.below(10);
  if (kind < 7) return choices.oneOf(known);
  std::string made;
  for (int i = choices.below(kind == 9 ? 300 : 12); i > 0; --i) {
    made += static_cast<char>(choices.below(256));
  }
  return made;
}

std::string typed(kit::Choices& choices) {
  std::string text;
  for (int i = choices.below(40); i > 0; --i) text += word(choices) + " \n\t "[choices.below(4)];
  return text;
}

// ---- A model with something to look at ---------------------------------------------------------

// An element with any number of others below it, or with nothing where nothing is allowed.
class Element : public VeskDebugElmt {
 public:
  Element(kit::Choices& choices, VeskDebugElmt* parent, int depth) : mParent(parent) {
    mNull = choices.chance(20);
    for (const char* name : {"a", "b", "-", ""}) {
      if (depth > 0 && choices.chance(50)) {
        mSubs[name] = std::make_unique<Element>(choices, this, depth - 1);
        mSubNames.add(name);
      }
      if (choices.chance(50)) mValueNames.add(name);
    }
    mValue = std::string(static_cast<std::size_t>(choices.below(300)), '%');
  }
  char* getValue(char* name) override {
    return mNull || std::strcmp(name, "b") == 0 ? nullptr : mValue.data();
  }
  VeskDebugElmt* getSubElement(char* name) override {
    const auto found = mSubs.find(name);
    return found == mSubs.end() ? nullptr : found->second.get();
  }
  char** getValuedElementNames() override { return mNull ? nullptr : mValueNames.array(); }
  char** getSubElementsNames() override { return mNull ? nullptr : mSubNames.array(); }
  VeskDebugElmt* getParent() override { return mParent; }

 private:
  class Names {
   public:
    void add(const char* name) { mTexts.push_back(name); }
    char** array() {
      mPointers.clear();
      for (std::string& text : mTexts) mPointers.push_back(text.data());
      mPointers.push_back(nullptr);
      return mPointers.data();
    }

   private:
    std::vector<std::string> mTexts;
    std::vector<char*> mPointers;
  };

  VeskDebugElmt* mParent;
  bool mNull;
  std::string mValue;
  std::map<std::string, std::unique_ptr<Element>> mSubs;
  Names mSubNames;
  Names mValueNames;
};

// A compound around the random one, which can be looked at.
class Debugged : public Compound, public Element {
 public:
  explicit Debugged(kit::Choices& choices) : Compound("D", nullptr), Element(choices, nullptr, 3) {
    mComponents.add(kit::makeRandomSystem(choices, kit::Habits()).release());
  }
};

std::unique_ptr<Compound> model(kit::Choices& choices) {
  if (choices.chance(70)) return std::make_unique<Debugged>(choices);
  return kit::makeRandomSystem(choices, kit::Habits());
}

// ---- Runs --------------------------------------------------------------------------------------

void checkLength(const kit::WholeRun& run, const std::string& input) {
  // A step lists a few hundred labels at most.
  const std::size_t most = (input.size() + STEPS + 1) * 200000;
  require(run.out.size() + run.err.size() < most, "a dialogue that goes on without input");
}

void checkTimedDialogue(kit::ByteChoices& choices) {
  const std::string input = typed(choices);
  const kit::WholeRun run = folder().run(
      {"--interactive", "--limit", std::to_string(STEPS)}, input,
      [&]() -> std::unique_ptr<Compound> { return kit::makeRandomSystem(choices, kit::Habits()); });
  require(run.status == 0 || run.status == 3, "a status");
  checkLength(run, input);
}

// What a program with a main of its own does with one of the scheduler's loops.
int schedule(Compound& system, int mode, bool traces) {
  Scheduler scheduler(&system, mode, false, Vesk::EXECUTE, Vesk::DEPTH_FIRST,
                      Vesk::NO_OPTIMIZATION);
  std::vector<std::string> words = {"model", "--limit", std::to_string(STEPS)};
  if (traces) words.push_back("--trace");
  std::vector<char*> argv;
  for (std::string& one : words) argv.push_back(&one[0]);
  argv.push_back(nullptr);
  scheduler.parseCmdFile(static_cast<int>(words.size()), argv.data());
  scheduler.run();
  return 0;
}

void checkLoop(kit::ByteChoices& choices) {
  const int mode = choices.below(3);
  const bool traces = choices.coin();
  const std::string input = typed(choices);
  const std::unique_ptr<Compound> system = model(choices);
  const kit::WholeRun run = folder().run(input, [&] {
    try {
      return schedule(*system, mode, traces);
    } catch (...) {
      return 3;
    }
  });
  checkLength(run, input);
}

// ---- The operations of the console -------------------------------------------------------------

std::string line(kit::Choices& choices) {
  static const std::vector<std::string> parts = {"(", ")", ", ", "\"", "0",
                                                 "1", "[", "]",  "a",  "des "};
  std::string made;
  for (int i = choices.below(30); i > 0; --i) {
    made += choices.chance(70) ? choices.oneOf(parts)
                               : std::string(1, static_cast<char>(choices.below(256)));
  }
  return made.c_str();
}

void usePaths(Scheduler& scheduler, kit::Choices& choices) {
  std::string path;
  for (int i = choices.below(12); i > 0; --i) path += ".-ab"[choices.below(4)];
  std::string one = line(choices);
  std::string other = line(choices);
  char* const given = choices.chance(10) ? nullptr : path.data();
  switch (choices.below(7)) {
    case 0:
      return scheduler.displayList(given);
    case 1:
      return scheduler.displayElement(given);
    case 2:
      return scheduler.setCurrent(given);
    case 3:
      scheduler.getFirstChar(one.data(), other.c_str());
      scheduler.getLastChar(one.data(), other.c_str());
      return;
    case 4:
      scheduler.fromState(one.data());
      scheduler.toState(one.data());
      return;
    case 5:
      scheduler.matchToState(one.data(), other.data());
      return;
    default:
      return scheduler.initDebugFct();
  }
}

void readPath(const Scheduler& scheduler, kit::ByteChoices& choices) {
  std::string text;
  while (!choices.isEmpty()) text += line(choices) + '\n';
  if (text.empty()) return;
  std::FILE* file = fmemopen(text.data(), text.size(), "rb");
  scheduler.getPath(file);
  std::fclose(file);
}

void checkConsole(kit::ByteChoices& choices) {
  Debugged system(choices);
  folder().run("", [&] {
    Scheduler scheduler(&system, Vesk::INTERACTIVE, false, Vesk::EXECUTE, Vesk::DEPTH_FIRST,
                        Vesk::NO_OPTIMIZATION);
    for (int i = choices.below(20); i > 0; --i) usePaths(scheduler, choices);
    readPath(scheduler, choices);
    return 0;
  });
  require(veskCurrentDebug == nullptr, "the console forgets its element");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kit::ByteChoices choices(data, size);
  switch (choices.below(4)) {
    case 0:
      checkTimedDialogue(choices);
      break;
    case 1:
      checkConsole(choices);
      break;
    default:
      checkLoop(choices);
  }
  return 0;
}
