// Explores an example model with the literal search: operand, bfs or dfs, limit (0: none), base of
// the names of the files (-: none).

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "literal-exploration.hpp"

int main(int, char** argv) {
  char* operands[] = {argv[0], argv[1], nullptr};
  Compound* system = Compound::Create(2, operands);
  const std::string base = argv[4];
  FILE* files[4] = {};
  if (base != "-") {
    const char* const suffixes[] = {".aut", ".state", ".pruned", ".deadlock"};
    for (int i = 0; i < 4; ++i) files[i] = std::fopen((base + suffixes[i]).c_str(), "w+");
  }
  LiteralExploration exploration(*system, std::strtoull(argv[3], nullptr, 10), stdout, files[0],
                                 files[1], files[2], files[3]);
  if (std::strcmp(argv[2], "dfs") == 0) {
    exploration.depthFirst();
  } else {
    exploration.breadthFirst();
  }
  for (FILE* file : files) {
    if (file != nullptr) std::fclose(file);
  }
  delete system;
  return 0;
}
