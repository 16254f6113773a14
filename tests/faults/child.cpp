#include "child.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr int PATIENCE = 60;  // seconds in which this process is not stopped itself
constexpr int TICKS = 4;      // a second
constexpr rlim_t LARGEST_FILE = rlim_t{256} << 20;  // a program that writes for ever stops there

std::vector<char*> pointers(const std::vector<std::string>& words) {
  std::vector<char*> result;
  for (const std::string& word : words) result.push_back(const_cast<char*>(word.c_str()));
  result.push_back(nullptr);
  return result;
}

// The end of a child must not be over before this process waits for it.
void blockChildSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

void limitChildren() {
  rlimit limit = {LARGEST_FILE, RLIM_INFINITY};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = LARGEST_FILE;
  setrlimit(RLIMIT_FSIZE, &limit);
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

// At most for a tick.
void pauseUntilSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  const timespec tick = {0, 1000000000 / TICKS};
  sigtimedwait(&signals, nullptr, &tick);
}

class Actions {
 public:
  explicit Actions(const std::string& folder) {
    posix_spawn_file_actions_init(&mActions);
    posix_spawn_file_actions_addchdir_np(&mActions, folder.c_str());
  }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;
  ~Actions() { posix_spawn_file_actions_destroy(&mActions); }

  void stream(int descriptor, int given, const std::string& file, int flags) {
    if (given == -1) {
      posix_spawn_file_actions_addclose(&mActions, descriptor);
    } else if (given != Start::FILE_OF_FOLDER) {
      posix_spawn_file_actions_adddup2(&mActions, given, descriptor);
    } else {
      posix_spawn_file_actions_addopen(&mActions, descriptor, file.c_str(), flags, 0600);
    }
  }
  const posix_spawn_file_actions_t* get() const { return &mActions; }

 private:
  posix_spawn_file_actions_t mActions;
};

// All signals do what they do by default, none is blocked.
class Attributes {
 public:
  Attributes() {
    posix_spawnattr_init(&mAttributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&mAttributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&mAttributes, &signals);
    posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  ~Attributes() { posix_spawnattr_destroy(&mAttributes); }
  const posix_spawnattr_t* get() const { return &mAttributes; }

 private:
  posix_spawnattr_t mAttributes;
};

std::map<std::string, std::string> filesIn(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && !entry.is_symlink()) {
      files[entry.path().filename().string()] = kit::contents(entry.path().string());
    }
  }
  return files;
}

}  // namespace

std::string Outcome::file(const std::string& name) const {
  const auto found = files.find(name);
  return found != files.end() ? found->second : "";
}

std::string nameOfStatus(const Outcome& outcome) {
  if (outcome.hung) return "no end";
  if (WIFSIGNALED(outcome.status)) return "signal " + std::to_string(WTERMSIG(outcome.status));
  return "exit status " + std::to_string(WEXITSTATUS(outcome.status));
}

ChildFolder::ChildFolder() {
  blockChildSignal();
  limitChildren();
}

Outcome ChildFolder::run(const Start& start) {
  clear();
  return end(begin(start));
}

void ChildFolder::clear() {
  std::filesystem::remove_all(mFolder.name("work"));
  std::filesystem::create_directory(mFolder.name("work"));
}

pid_t ChildFolder::begin(const Start& start) {
  std::ofstream(mFolder.name("in"), std::ios::binary) << start.input;
  Actions actions(mFolder.name("work"));
  actions.stream(STDIN_FILENO, Start::FILE_OF_FOLDER, "../in", O_RDONLY);
  constexpr int OUTPUT = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
  actions.stream(STDOUT_FILENO, start.out, "../out", OUTPUT);
  actions.stream(STDERR_FILENO, start.err, "../err", OUTPUT);
  std::vector<std::string> words = start.arguments;
  words.insert(words.begin(), start.program);
  std::vector<std::string> environment = start.environment;
  environment.emplace_back("LC_ALL=C");
  environment.emplace_back("PATH=/usr/bin:/bin");
  pid_t child = -1;
  if (posix_spawn(&child, start.program.c_str(), actions.get(), Attributes().get(),
                  pointers(words).data(), pointers(environment).data()) != 0) {
    std::abort();
  }
  return child;
}

Outcome ChildFolder::end(pid_t child) {
  Outcome outcome;
  outcome.hung = !waitFor(child);
  if (outcome.hung) kill(child, SIGKILL);
  waitpid(child, &outcome.status, 0);
  outcome.out = mFolder.content("out");
  outcome.err = mFolder.content("err");
  outcome.files = filesIn(mFolder.name("work"));
  return outcome;
}

bool ChildFolder::waitFor(pid_t child) {
  for (int tick = 0; tick < PATIENCE * TICKS; ++tick) {
    siginfo_t ended = {};
    if (waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
        ended.si_pid == child) {
      return true;
    }
    pauseUntilSignal();
  }
  return false;
}
