// Random systems in every mode, and what comes out as hashes, which must be the same for every
// compiler, width and build type.
//
//     run-models check FILE FIRST LAST   compares the blocks of FILE between two seeds
//     run-models write FIRST LAST        the lines of such a file
//     run-models hashes FIRST LAST       a line for each seed, to find one that differs between two
//     builds run-models show SEED               all bytes of a seed, to find the difference
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "random-system.hpp"
#include "whole-runs.hpp"

namespace {

using Arguments = std::vector<std::string>;

constexpr unsigned int BLOCK = 50;  // seeds

// Answers to the dialogue: rows, times, what is no answer, and the end.
constexpr char INPUT[] = "r 1 r 2 r r 1 x r -4 3 1 99999 1 r 1 2 c 1 r 1 p 1 r r r 1 r 4 1\n";

struct Way {
  Arguments arguments;
  bool declared = false;  // what the parts keep is declared
};

std::vector<Way> waysFor(unsigned int seed) {
  const std::string limit = std::to_string(10 + seed % 40);
  const std::string many = std::to_string(30 + seed % 200);
  const Arguments search = {seed % 2 == 0 ? "--bfs" : "--dfs", "--limit", many};
  std::vector<Way> ways = {{{"--limit", limit}},
                           {{"--random", "--limit", limit, "--seed", std::to_string(seed)}},
                           {{"--realtime", "--limit", "8"}},
                           {{"--interactive", "--limit", limit}},
                           {{"--opt1", "--limit", limit}},
                           {{"--opt2", "--limit", limit}},
                           {{"--bfs", "--limit", many}},
                           {{"--dfs", "--limit", many}}};
  ways.push_back({search, true});
  return ways;
}

std::unique_ptr<kit::RandomRoot> makeModel(unsigned int seed, bool declared) {
  kit::SeededChoices choices(seed);
  std::unique_ptr<kit::RandomRoot> root = kit::makeRandomSystem(choices, kit::Habits());
  if (declared) root->declareAll(root->kept());
  return root;
}

std::string textOf(unsigned int seed, const Way& way) {
  static kit::RunFolder folder;
  return textOf(folder.run(way.arguments, INPUT, [&]() -> std::unique_ptr<Compound> {
    return makeModel(seed, way.declared);
  }));
}

// Calls back with the title and the bytes of every run of a seed but the last one, whose
// declaration must change nothing.
void forEachRun(unsigned int seed,
                const std::function<void(const std::string&, const std::string&)>& use) {
  std::map<std::string, std::string> found;
  for (const Way& way : waysFor(seed)) {
    std::string title = std::to_string(seed);
    for (const std::string& argument : way.arguments) title += " " + argument;
    const std::string text = textOf(seed, way);
    if (!way.declared) {
      use(title, found[title] = text);
    } else if (text != found.at(title)) {
      std::printf("%s: declared, it differs:\n%s", title.c_str(), text.c_str());
      std::exit(1);
    }
  }
}

class Hash {
 public:
  void add(const std::string& text) {
    for (const char c : text) mValue = (mValue ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  }
  std::string text() const {
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(mValue));
    return digits;
  }

 private:
  std::uint64_t mValue = 0xCBF29CE484222325u;
};

std::string hashOf(unsigned int first, unsigned int last) {
  Hash hash;
  for (unsigned int seed = first; seed <= last; ++seed) {
    forEachRun(seed, [&](const std::string&, const std::string& text) { hash.add(text); });
  }
  return hash.text();
}

// ---- Commands ----------------------------------------------------------------------------------

void printHashes(unsigned int first, unsigned int last, unsigned int block) {
  for (; first <= last; first += block) {
    const unsigned int end = first + block - 1 < last ? first + block - 1 : last;
    std::printf("%u %u %s\n", first, end, hashOf(first, end).c_str());
    std::fflush(stdout);
  }
}

int check(const char* name, unsigned int from, unsigned int to) {
  std::ifstream file(name);
  unsigned int first = 0;
  unsigned int last = 0;
  std::string expected;
  unsigned int models = 0;
  int differing = 0;
  while (file >> first >> last >> expected) {
    if (first < from || to < last) continue;
    const std::string found = hashOf(first, last);
    models += last - first + 1;
    if (found == expected) continue;
    ++differing;
    std::printf("seeds %u to %u: %s, expected %s\n", first, last, found.c_str(), expected.c_str());
  }
  std::printf("%u models, %d blocks differ\n", models, differing);
  return models > 0 && differing == 0 ? 0 : 1;
}

unsigned int number(const char* text) {
  return static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "check" && argc == 5) return check(argv[2], number(argv[3]), number(argv[4]));
  if (command == "write" && argc == 4) {
    printHashes(number(argv[2]), number(argv[3]), BLOCK);
  } else if (command == "hashes" && argc == 4) {
    printHashes(number(argv[2]), number(argv[3]), 1);
  } else if (command == "show" && argc == 3) {
    forEachRun(number(argv[2]), [](const std::string& title, const std::string& text) {
      std::printf("######## %s\n%s", title.c_str(), text.c_str());
    });
  } else {
    std::fprintf(
        stderr,
        "run-models check FILE FIRST LAST | write FIRST LAST | hashes FIRST LAST | show SEED\n");
    return 2;
  }
  return 0;
}
