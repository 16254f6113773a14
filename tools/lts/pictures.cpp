#include "pictures.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <memory>

extern char** environ;

namespace Vesk::Lts {

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Files without a name, so that neither program waits for the other.
File temporaryWith(const std::string& text) {
  File file(std::tmpfile());
  if (!file) return nullptr;
  std::fwrite(text.data(), 1, text.size(), file.get());
  const bool isWhole = std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
  return isWhole ? std::move(file) : nullptr;
}

std::string contentOf(std::FILE* file) {
  std::rewind(file);
  std::string content;
  char block[4096];
  while (const std::size_t count = std::fread(block, 1, sizeof block, file)) {
    content.append(block, count);
  }
  return content;
}

bool run(const std::vector<std::string>& command, std::FILE* input, std::FILE* output) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  std::rewind(input);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(input), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(output), STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child;
  const int error =
      posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return error == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

}  // namespace

std::optional<std::string> filtered(const std::vector<std::string>& command,
                                    const std::string& input) {
  const File in = temporaryWith(input);
  const File out = temporaryWith("");
  if (!in || !out || !run(command, in.get(), out.get())) return std::nullopt;
  return contentOf(out.get());
}

std::optional<std::string> drawnSvg(const std::string& dot) {
  auto svg = filtered({"dot", "-Tsvg"}, dot);
  const std::size_t start = svg ? svg->find("<svg") : std::string::npos;
  if (start == std::string::npos) return std::nullopt;
  return svg->substr(start);
}

std::optional<std::string> plottedSvg(const std::vector<std::uint64_t>& levelSizes) {
  std::string script =
      "set terminal svg size 800,400 font 'sans-serif,12' background rgb 'white'\n"
      "set xlabel 'level'\nset ylabel 'states'\nset yrange [0:*]\nset xrange [-0.5:" +
      std::to_string(levelSizes.size()) +
      "-0.5]\nset style fill solid 0.6\nset boxwidth 0.9\nunset key\nplot '-' with boxes\n";
  for (std::size_t level = 0; level < levelSizes.size(); ++level) {
    script += std::to_string(level) + " " + std::to_string(levelSizes[level]) + "\n";
  }
  return filtered({"gnuplot"}, script + "e\n");
}

}  // namespace Vesk::Lts
