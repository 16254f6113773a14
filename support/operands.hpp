// The operands of a model's command line: the words that are neither options of the engine nor
// values of such options.
#ifndef VESK_SUPPORT_OPERANDS_HPP
#define VESK_SUPPORT_OPERANDS_HPP

#include <getopt.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

// Hands out the operands from left to right. A bad one ends the program with a message and status
// 2, unless the line asks for help or has a bad option: then the engine ends the program, and the
// operands do not count.
class Operands {
 public:
  // The words themselves are neither changed nor reordered.
  Operands(const char* model, int argc, char** argv);

  // The line asks for help or has a bad option; there are no operands then.
  bool engineEndsProgram() const { return mEngineEndsProgram; }
  // The next operand, or null when there is none left.
  const char* word();
  // Whether the next operand is this one, which is then taken.
  bool takes(const char* expected);
  // The next operand, a number from low to high; the given value when there is none left.
  int number(const char* meaning, int value, int low, int high);
  // To be called last: complains about an operand that is left over.
  void finish() const;

 private:
  const char* mModel;         // starts every message
  std::vector<char*> mWords;  // the operands
  std::vector<char*>::size_type mNext = 0;
  bool mEngineEndsProgram = false;
};

inline Operands::Operands(const char* model, int argc, char** argv) : mModel(model) {
  // The engine's options. The values only tell them apart, but those of the last five are its own.
  static const option OPTIONS[] = {{"execute", no_argument, nullptr, 1},
                                   {"explore", no_argument, nullptr, 2},
                                   {"realtime", no_argument, nullptr, 3},
                                   {"random", no_argument, nullptr, 4},
                                   {"quiet", no_argument, nullptr, 5},
                                   {"trace", no_argument, nullptr, 6},
                                   {"dfs", no_argument, nullptr, 7},
                                   {"bfs", no_argument, nullptr, 8},
                                   {"interactive", no_argument, nullptr, 9},
                                   {"opt1", no_argument, nullptr, 10},
                                   {"opt2", no_argument, nullptr, 11},
                                   {"disable-output", no_argument, nullptr, 12},
                                   {"output", required_argument, nullptr, 'o'},
                                   {"limit", required_argument, nullptr, 'l'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {"simout", required_argument, nullptr, 's'},
                                   {"seed", required_argument, nullptr, 'r'},
                                   {nullptr, 0, nullptr, 0}};
  std::vector<char*> words(argv, argv + argc);
  words.push_back(nullptr);
  opterr = 0;
  optind = 0;
  for (int found; (found = getopt_long(argc, words.data(), "o:l:s:r", OPTIONS, nullptr)) != -1;) {
    if (found == 'h' || found == '?' || (found == 'r' && optarg == nullptr)) {
      mEngineEndsProgram = true;
    }
  }
  if (!mEngineEndsProgram) mWords.assign(words.begin() + optind, words.end() - 1);
  opterr = 1;
  optind = 0;
}

inline const char* Operands::word() {
  return mNext < mWords.size() ? mWords[mNext++] : nullptr;
}

inline bool Operands::takes(const char* expected) {
  const bool isNext = mNext < mWords.size() && std::strcmp(mWords[mNext], expected) == 0;
  if (isNext) ++mNext;
  return isNext;
}

inline int Operands::number(const char* meaning, int value, int low, int high) {
  const char* text = word();
  if (text == nullptr) return value;
  const char* end = text + std::strlen(text);
  const std::from_chars_result result = std::from_chars(text, end, value);
  if (result.ec != std::errc() || result.ptr != end || value < low || value > high) {
    std::fprintf(stderr, "%s: %s: '%s' is not a number from %d to %d\n", mModel, meaning, text, low,
                 high);
    std::exit(2);
  }
  return value;
}

inline void Operands::finish() const {
  if (mNext == mWords.size()) return;
  std::fprintf(stderr, "%s: unexpected operand '%s'\n", mModel, mWords[mNext]);
  std::exit(2);
}

#endif
