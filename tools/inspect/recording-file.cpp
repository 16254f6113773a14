#include "recording-file.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace Vesk::Inspect {

namespace {

constexpr int LOWEST_DESCRIPTOR = 100;  // those below belong to the model
constexpr std::size_t BUFFER = std::size_t{1} << 16;
// What ends a program from outside, and what ends it by a fault of the model.
constexpr int SIGNALS[] = {SIGINT,  SIGTERM, SIGHUP, SIGXCPU, SIGQUIT,
                           SIGABRT, SIGSEGV, SIGBUS, SIGFPE,  SIGILL};

volatile std::sig_atomic_t busy = 0;
volatile std::sig_atomic_t pending = 0;  // the signal that waits

bool isFault(int signal) {
  return signal == SIGABRT || signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE ||
         signal == SIGILL;
}

int openHigh(const char* path) {
  const int low = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (low == -1) return -1;
  const int high = fcntl(low, F_DUPFD_CLOEXEC, LOWEST_DESCRIPTOR);
  if (high == -1) return low;
  close(low);
  return high;
}

}  // namespace

RecordingFile* RecordingFile::sCurrent = nullptr;

RecordingFile::RecordingFile(const std::string& path) : mDescriptor(openHigh(path.c_str())) {
  if (mDescriptor == -1) {
    std::fprintf(stderr, "vesk: cannot open %s: %s\n", path.c_str(), std::strerror(errno));
    return;
  }
  mBuffer.reserve(2 * BUFFER);
  sCurrent = this;
  catchSignals();
}

RecordingFile::~RecordingFile() {
  sCurrent = nullptr;
  if (mDescriptor != -1) close(mDescriptor);
}

// Faults in the middle of a line are not held up: they have no end.
void RecordingFile::endBySignal(int signal) {
  if (busy != 0 && !isFault(signal)) {
    pending = signal;
    return;
  }
  RecordingFile* file = sCurrent;
  if (file != nullptr && busy == 0) {
    file->write(file->mBuffer.data(), file->mBuffer.size());
    file->write(file->mLastWords.data(), file->mLastWords.size());
  }
  std::signal(signal, SIG_DFL);
  raise(signal);
}

// A signal that the caller has the program ignore stays ignored.
void RecordingFile::catchSignals() {
  for (const int signal : SIGNALS) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN) continue;
    action.sa_handler = endBySignal;
    action.sa_flags = static_cast<int>(SA_NODEFER);
    sigaction(signal, &action, nullptr);
  }
}

RecordingFile::Busy::Busy() {
  busy = 1;
}

RecordingFile::Busy::~Busy() {
  busy = 0;
  if (pending != 0) endBySignal(pending);
}

void RecordingFile::add(const std::string& line) {
  mBuffer += line;
  mBuffer += '\n';
  if (mBuffer.size() >= BUFFER) flush();
}

bool RecordingFile::flush() {
  write(mBuffer.data(), mBuffer.size());
  mBuffer.clear();
  return !mFailed;
}

void RecordingFile::write(const char* text, std::size_t size) {
  while (size > 0 && !mFailed) {
    const ssize_t written = ::write(mDescriptor, text, size);
    if (written == -1 && errno == EINTR) continue;
    if (written <= 0) {
      mFailed = true;
      return;
    }
    text += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace Vesk::Inspect
