#include "kit/processes.hpp"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "kit/output.hpp"

namespace kit {

namespace {

// Does not return.
void runInChild(const Folder& folder, const std::function<int()>& body) {
  std::filesystem::current_path(folder.name("work"));
  if (std::freopen(folder.name("stdin").c_str(), "r", stdin) == nullptr ||
      std::freopen(folder.name("stdout").c_str(), "w", stdout) == nullptr ||
      std::freopen(folder.name("stderr").c_str(), "w", stderr) == nullptr) {
    _exit(99);
  }
  alarm(60);
  std::exit(body());
}

}  // namespace

Outcome isolated(const std::function<int()>& body, const std::string& input) {
  const Folder folder;
  std::ofstream(folder.name("stdin"), std::ios::binary) << input;
  std::filesystem::create_directory(folder.name("work"));
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) runInChild(folder, body);
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status),
          folder.content("stdout"), folder.content("stderr")};
}

CommandLine::CommandLine(const std::vector<std::string>& arguments) : mTexts(arguments) {
  mTexts.insert(mTexts.begin(), "model");
  for (std::string& text : mTexts) mPointers.push_back(text.data());
  mPointers.push_back(nullptr);
}

int engineMain(const std::vector<std::string>& arguments) {
  void* library = dlopen("libvesk.so.1", RTLD_NOW | RTLD_NOLOAD);
  using Main = int(int, char**);
  Main* entry = library == nullptr ? nullptr : reinterpret_cast<Main*>(dlsym(library, "main"));
  if (entry == nullptr) std::abort();
  CommandLine line(arguments);
  return entry(line.count(), line.values());
}

}  // namespace kit
