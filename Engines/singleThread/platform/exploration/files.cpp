#include "exploration/files.hpp"

#include <fcntl.h>
#include <limits.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "exploration/decimal.hpp"
#include "exploration/signals.hpp"
#include "reports.hpp"

namespace Vesk {

namespace {

constexpr std::size_t BUFFER = std::size_t{1} << 16;
constexpr std::size_t PUNCTUATION = 8;  // of a line, or less

// The header is written over this much room at the start of the file. A longer one would run into
// the first transition.
constexpr std::size_t HEADER_ROOM = 38;
constexpr char HEADER[] = "des(0, %llu, %llu)\n";

constexpr std::size_t HEADER_AREA = sizeof HEADER + 2 * MAX_DIGITS + HEADER_ROOM;
constexpr char NO_HEADER[] = "vesk: the transition system has no header: %s\n";

constexpr int PIPE_ATTEMPTS = 21;
constexpr useconds_t PIPE_PAUSE = 50000;  // microseconds

// Writes out what the stream has buffered, and moves the descriptor to the position of the stream.
int takeDescriptor(FILE* file) {
  const int descriptor = fileno(file);
  if (descriptor == -1) return -1;
  const off_t position = ftello(file);
  std::fflush(file);
  if (position != -1) lseek(descriptor, position, SEEK_SET);
  return descriptor;
}

// Waits a second for a reader. Without one errno is ENXIO.
int openPipe(const char* name) {
  for (int attempt = 1;; ++attempt) {
    const int pipe = open(name, O_WRONLY | O_NONBLOCK);
    if (pipe != -1) fcntl(pipe, F_SETFL, fcntl(pipe, F_GETFL) & ~O_NONBLOCK);
    if (pipe != -1 || errno != ENXIO || attempt == PIPE_ATTEMPTS) return pipe;
    usleep(PIPE_PAUSE);
  }
}

// Returns the length: that of the room, or more.
std::size_t formatHeader(char (&area)[HEADER_AREA], std::uint64_t transitions,
                         std::uint64_t states) {
  const int printed =
      std::snprintf(area, sizeof area, HEADER, static_cast<unsigned long long>(transitions),
                    static_cast<unsigned long long>(states));
  const auto length = static_cast<std::size_t>(printed);
  if (length >= HEADER_ROOM) return length;
  std::memset(area + length, ' ', HEADER_ROOM - length);
  area[HEADER_ROOM - 1] = '\n';
  return HEADER_ROOM;
}

}  // namespace

// ---- Opening ---------------------------------------------------------------------------------

// A pipe is opened for nothing but writing, or the process would be a reader of its own.
FILE* openOutput(const char* name, const char* mode) {
  struct stat status;
  if (stat(name, &status) == -1 || !S_ISFIFO(status.st_mode)) return std::fopen(name, mode);
  const int pipe = openPipe(name);
  return pipe != -1 ? fdopen(pipe, "w") : nullptr;
}

// ---- Buffer ----------------------------------------------------------------------------------

OutputBuffer::OutputBuffer(FILE* file, const char* what)
    : mFile(file),
      mDescriptor(file != nullptr ? takeDescriptor(file) : -1),
      mKind(kindOf(mDescriptor)),
      mWhat(what),
      mOwner(getpid()),
      mData(file != nullptr ? new char[BUFFER] : nullptr),
      mCapacity(file != nullptr ? BUFFER : 0),
      mLength(0),
      mLines(0),
      mIsCut(false) {}

OutputBuffer::Kind OutputBuffer::kindOf(int descriptor) {
  struct stat status;
  if (descriptor == -1 || fstat(descriptor, &status) != 0) return OTHER;
  if (S_ISFIFO(status.st_mode)) return PIPE;
  return S_ISREG(status.st_mode) ? REGULAR : OTHER;
}

void OutputBuffer::put(const char* text, std::size_t length) {
  if (mFile == nullptr) return;
  if (length > mCapacity - mLength && !makeRoom(length)) return;
  if (length != 0) std::memcpy(mData.get() + mLength, text, length);
  mLength += length;
}

void OutputBuffer::put(const char* text) {
  put(text, std::strlen(text));
}

void OutputBuffer::put(std::uint64_t number) {
  char digits[MAX_DIGITS];
  const char* end = putNumber(digits, number);
  put(digits, static_cast<std::size_t>(end - digits));
}

// A line that is longer than the buffer makes it grow. False when the file takes no more.
bool OutputBuffer::makeRoom(std::size_t length) {
  flush();
  if (mFile == nullptr) return false;
  if (length <= mCapacity - mLength) return true;
  std::size_t capacity = mCapacity;
  while (capacity - mLength < length) capacity *= 2;
  std::unique_ptr<char[]> larger(new char[capacity]);
  std::memcpy(larger.get(), mData.get(), mLength);
  mData.swap(larger);
  mCapacity = capacity;
  return true;
}

void OutputBuffer::flush() {
  if (mFile == nullptr || mEnds.empty()) return;
  if (getpid() != mOwner) return drop();
  const std::size_t whole = mEnds.back();
  const std::size_t written = handOver(whole);
  if (written != whole) return giveUp(written);
  mLines += mEnds.size();
  mEnds.clear();
  mLength -= whole;
  std::memmove(mData.get(), mData.get() + whole, mLength);
}

// Returns how much the file has taken. What a stream could not write is taken out of it, or it
// would try again when it is closed.
std::size_t OutputBuffer::handOver(std::size_t length) {
  if (mDescriptor != -1) return writeOut(length);
  if (std::fwrite(mData.get(), 1, length, mFile) == length && std::fflush(mFile) == 0) {
    return length;
  }
  __fpurge(mFile);
  return 0;
}

// Not by the stream, which would lose what an interrupted call has not written.
std::size_t OutputBuffer::writeOut(std::size_t length) {
  std::size_t done = 0;
  while (done != length) {
    const std::size_t end = partEnd(done, length);
    const ssize_t count = write(mDescriptor, mData.get() + done, end - done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR || graceIsOver()) {
      break;
    }
  }
  return done;
}

// As many whole lines as stay whole in one call, or a line that may not: a pipe takes up to
// PIPE_BUF characters at once or not at all. A file takes all: a kill in the middle may cut a line,
// but the header does not count it yet, and a call for each page would make the search slower by a
// tenth.
std::size_t OutputBuffer::partEnd(std::size_t start, std::size_t length) const {
  if (mKind != PIPE) return length;
  auto end = std::upper_bound(mEnds.begin(), mEnds.end(), start + PIPE_BUF);
  if (end != mEnds.begin() && end[-1] > start) --end;
  return end != mEnds.end() ? *end : length;
}

void OutputBuffer::giveUp(std::size_t written) {
  const auto missing = std::upper_bound(mEnds.begin(), mEnds.end(), written);
  mLines += static_cast<std::uint64_t>(missing - mEnds.begin());
  cutOff(written - (missing != mEnds.begin() ? missing[-1] : 0));
  mIsCut = true;
  reportLost(mWhat);
  drop();
}

// The part of a line with which the file ends.
void OutputBuffer::cutOff(std::size_t length) {
  if (length == 0 || mKind != REGULAR) return;
  const off_t end = lseek(mDescriptor, 0, SEEK_CUR) - static_cast<off_t>(length);
  if (end >= 0 && ftruncate(mDescriptor, end) == 0) lseek(mDescriptor, end, SEEK_SET);
}

void OutputBuffer::drop() {
  mFile = nullptr;
  mEnds.clear();
}

// ---- Files -----------------------------------------------------------------------------------

ExplorationFiles::ExplorationFiles(FILE* transitions, FILE* states, FILE* prunedPaths,
                                   FILE* deadlocks)
    : mTransitionFile(transitions),
      mOwner(getpid()),
      mTransitions(transitions, "the transition system"),
      mStates(states, "the list of states"),
      mPrunedPaths(prunedPaths, "the list of pruned paths"),
      mDeadlocks(deadlocks, "the list of deadlocks"),
      mCount(0),
      mFound(1),
      mInHeader(0),
      mHeaderFailed(false) {}

// Where one can go back the room has a header from the first, or a kill could leave it blank.
void ExplorationFiles::begin() {
  char area[HEADER_AREA];
  std::memset(area, ' ', HEADER_ROOM);
  if (mTransitions.isRegular()) formatHeader(area, 0, mFound);
  mTransitions.put(area, HEADER_ROOM - 1);
  mTransitions.endLine();
  mTransitions.flush();
  writeHeader(0, mFound, PROVISIONAL);
}

void ExplorationFiles::writeState(std::uint64_t number, const char* text, std::size_t length) {
  char* const line = mStates.room(length + MAX_DIGITS + PUNCTUATION);
  if (line == nullptr) return;
  char* end = putNumber(line, number);
  end = putText(end, " : ", 3);
  end = putText(end, text, length);
  mStates.take(static_cast<std::size_t>(end - line));
  mStates.endLine();
}

void ExplorationFiles::writeTransition(std::uint64_t source, const Label& label,
                                       std::uint64_t target) {
  if (char* const line =
          mTransitions.room(sizeof mStart + label.length + MAX_DIGITS + PUNCTUATION)) {
    beginWith(source);
    std::memcpy(line, mStart, sizeof mStart);
    char* end = putText(line + mStartLength, label.text, label.length);
    end = putText(end, ", ", 2);
    end = putNumber(end, target);
    *end++ = ')';
    mTransitions.take(static_cast<std::size_t>(end - line));
    mTransitions.endLine();
  }
  ++mCount;
  mFound = std::max(mFound, target + 1);
  if (mTransitions.lines() != mInHeader) writeHeader(transitionsInFile(), mFound, PROVISIONAL);
}

// Most transitions have the source of the one before.
void ExplorationFiles::beginWith(std::uint64_t source) {
  if (mStartLength != 0 && source == mSource) return;
  char* end = putText(mStart, "(", 1);
  end = putNumber(end, source);
  end = putText(end, ", ", 2);
  mStartLength = static_cast<std::size_t>(end - mStart);
  mSource = source;
}

void ExplorationFiles::complete(std::uint64_t transitions, std::uint64_t states) {
  mTransitions.flush();
  mStates.flush();
  mPrunedPaths.flush();
  mDeadlocks.flush();
  writeHeader(mTransitions.isCut() ? transitionsInFile() : transitions, states, FINAL);
}

// The first line of the file is the header.
std::uint64_t ExplorationFiles::transitionsInFile() const {
  return mTransitions.lines() != 0 ? mTransitions.lines() - 1 : 0;
}

// What fails on the way may succeed later, but in a file in which one cannot go back.
void ExplorationFiles::writeHeader(std::uint64_t transitions, std::uint64_t states,
                                   HeaderKind kind) {
  if (mTransitionFile == nullptr || mHeaderFailed || getpid() != mOwner) return;
  mInHeader = mTransitions.lines();
  char area[HEADER_AREA];
  const std::size_t length = formatHeader(area, transitions, states);
  if (writeAtStart(area, length)) return;
  mHeaderFailed = kind == FINAL || errno == ESPIPE;
  if (!mHeaderFailed) return;
  if (mTransitions.isOpen()) std::fprintf(stderr, NO_HEADER, std::strerror(errno));
}

// Overwrites the start of the file. The position for further writing stays, and no more space is
// needed, so this also works on a full disk.
bool ExplorationFiles::writeAtStart(const char* text, std::size_t length) const {
  const int descriptor = fileno(mTransitionFile);
  if (descriptor == -1) {
    const off_t position = ftello(mTransitionFile);
    return fseeko(mTransitionFile, 0, SEEK_SET) == 0 &&
           std::fwrite(text, 1, length, mTransitionFile) == length &&
           fseeko(mTransitionFile, position, SEEK_SET) == 0 && std::fflush(mTransitionFile) == 0;
  }
  std::size_t done = 0;
  while (done != length) {
    const ssize_t count = pwrite(descriptor, text + done, length - done, static_cast<off_t>(done));
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR || graceIsOver()) {
      break;
    }
  }
  if (done == length) return true;
  const bool partOfIt = done > 0 && mTransitions.lines() == 0;
  if (partOfIt && ftruncate(descriptor, 0) != 0) errno = EIO;
  return false;
}

}  // namespace Vesk
