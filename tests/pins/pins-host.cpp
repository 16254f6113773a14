// Explores with a plugin: pins-host [--groups] <plugin> <name>. Writes <name>.aut, and prints how
// many states, transitions, deadlocks, pruned states and errors there are.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "host.hpp"

namespace {

using Loader = void (*)(model_t);

Loader loaderOf(const char* plugin) {
  void* library = dlopen(plugin, RTLD_NOW);
  void* loader = library != nullptr ? dlsym(library, "pins_model_init") : nullptr;
  if (loader == nullptr || dlsym(library, "pins_plugin_name") == nullptr) {
    std::fprintf(stderr, "pins-host: %s\n", dlerror());
    return nullptr;
  }
  return reinterpret_cast<Loader>(loader);
}

void print(model_t model, const PinsHost::Exploration& found) {
  std::printf("states %zu\ntransitions %zu\n", found.states.size(), found.transitions.size());
  for (const char* label : {"deadlock", "prune", "error"}) {
    std::printf("%s %zu\n", label, PinsHost::countLabelled(model, found, label));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool byGroups = argc == 4 && std::strcmp(argv[1], "--groups") == 0;
  if (argc != 3 && !byGroups) {
    std::fprintf(stderr, "usage: pins-host [--groups] <plugin> <name>\n");
    return 2;
  }
  const Loader load = loaderOf(argv[argc - 2]);
  if (load == nullptr) return 2;
  grey_box_model model;
  load(&model);
  const PinsHost::Exploration found = PinsHost::explore(&model, byGroups);
  PinsHost::write(found, std::string(argv[argc - 1]) + ".aut");
  print(&model, found);
}
