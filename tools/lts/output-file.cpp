#include "output-file.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "fault.hpp"
#include "printable.hpp"
#include "progress.hpp"

namespace Vesk::Lts {

namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGXCPU};
constexpr std::size_t BUFFER = std::size_t{1} << 18;

char temporaryOfHandler[PATH_MAX];  // empty: there is none

void removeAndEnd(int signal) {
  if (temporaryOfHandler[0] != '\0') unlink(temporaryOfHandler);
  raise(signal);  // which is on its default again
}

// A signal that the caller has the program ignore stays ignored.
void catchSignals() {
  for (int signal : SIGNALS) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action.sa_handler = removeAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
}

void setBlocked(bool blocked) {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : SIGNALS) sigaddset(&set, signal);
  sigprocmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &set, nullptr);
}

// While this lives the name and the file of the handler agree.
struct SignalsBlocked {
  SignalsBlocked() { setBlocked(true); }
  ~SignalsBlocked() { setBlocked(false); }
};

// The file itself when the path is a link to it.
std::string resolved(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  std::string result = real != nullptr ? real : path;
  std::free(real);
  return result;
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return status.st_mode & 0777;
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool isWrittenDirectly(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : mPath(path) {
  if (path.empty() || path == "-") {
    mPath = "standard output";
    mFile = stdout;
    return;
  }
  if (isWrittenDirectly(path)) {
    mFile = std::fopen(path.c_str(), "w");
    if (mFile == nullptr) fail(errno);
  } else {
    mPath = resolved(path);
    openBeside();
  }
  std::setvbuf(mFile, nullptr, _IOFBF, BUFFER);
}

void OutputFile::openBeside() {
  std::string name = mPath + ".XXXXXX";
  if (name.size() >= sizeof temporaryOfHandler) fail(ENAMETOOLONG);
  catchSignals();
  const SignalsBlocked blocked;
  const int descriptor = mkstemp(name.data());
  if (descriptor == -1) fail(errno);
  mTemporary = name;
  std::strcpy(temporaryOfHandler, name.c_str());
  fchmod(descriptor, modeOf(mPath));
  mFile = fdopen(descriptor, "w");
}

OutputFile::~OutputFile() {
  if (mFile != stdout) std::fclose(mFile);
  if (mTemporary.empty()) return;
  const SignalsBlocked blocked;
  unlink(mTemporary.c_str());
  temporaryOfHandler[0] = '\0';
}

void OutputFile::showOn(Progress& progress) {
  if (mFile == stdout) return;
  mProgress = &progress;
  progress.start("bytes written into " + mPath);
}

void OutputFile::showProgress() const {
  if (mProgress != nullptr) mProgress->show(mWritten, 0);
}

// What is done between a write and the end has errors of its own.
void OutputFile::noteError() {
  if (mError == 0) mError = errno;
}

void OutputFile::commit() {
  if (mProgress != nullptr) mProgress->finish();
  if (std::fflush(mFile) != 0) noteError();
  if (mError != 0) fail(mError);
  if (mTemporary.empty()) return;
  const SignalsBlocked blocked;
  if (rename(mTemporary.c_str(), mPath.c_str()) != 0) fail(errno);
  mTemporary.clear();
  temporaryOfHandler[0] = '\0';
}

void OutputFile::fail(int error) const {
  throw Fault(printable(mPath) + ": cannot be written (" + std::strerror(error) +
              "), expected a file that can");
}

}  // namespace Vesk::Lts
