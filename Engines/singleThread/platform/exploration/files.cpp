#include "exploration/files.hpp"

#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

namespace Vesk {

namespace {

constexpr std::size_t BUFFER = std::size_t{1} << 18;
constexpr std::size_t MAX_DIGITS = 20;

// The header is written over this much room at the start of the file. A longer one would run into
// the first transition.
constexpr std::size_t HEADER_ROOM = 38;
constexpr char HEADER[] = "des(0, %llu, %llu)\n";

constexpr char NO_HEADER[] = "vesk: the transition system has no header: %s\n";

}  // namespace

// ---- Buffer ----------------------------------------------------------------------------------

OutputBuffer::OutputBuffer(FILE* file)
    : mFile(file), mData(file != nullptr ? new char[BUFFER] : nullptr), mLength(0) {}

void OutputBuffer::put(const char* text, std::size_t length) {
  if (mFile == nullptr) return;
  while (length > BUFFER - mLength) {
    const std::size_t part = BUFFER - mLength;
    std::memcpy(mData.get() + mLength, text, part);
    mLength = BUFFER;
    drain();
    if (mFile == nullptr) return;
    text += part;
    length -= part;
  }
  if (length != 0) std::memcpy(mData.get() + mLength, text, length);
  mLength += length;
}

void OutputBuffer::put(const char* text) {
  put(text, std::strlen(text));
}

void OutputBuffer::put(std::uint64_t number) {
  char digits[MAX_DIGITS];
  const char* end = std::to_chars(digits, digits + MAX_DIGITS, number).ptr;
  put(digits, static_cast<std::size_t>(end - digits));
}

void OutputBuffer::flush() {
  if (mFile != nullptr) drain();
}

// What the stream could not write is taken out of it, or it would try again when it is closed.
void OutputBuffer::drain() {
  const bool written = std::fwrite(mData.get(), 1, mLength, mFile) == mLength;
  mLength = 0;
  if (std::fflush(mFile) == 0 && written) return;
  __fpurge(mFile);
  mFile = nullptr;
}

// ---- Files -----------------------------------------------------------------------------------

ExplorationFiles::ExplorationFiles(FILE* transitions, FILE* states, FILE* prunedPaths,
                                   FILE* deadlocks)
    : mTransitionFile(transitions),
      mTransitions(transitions),
      mStates(states),
      mPrunedPaths(prunedPaths),
      mDeadlocks(deadlocks),
      mCount(0),
      mHeaderFailed(false) {}

void ExplorationFiles::begin() {
  char room[HEADER_ROOM];
  std::memset(room, ' ', HEADER_ROOM);
  room[HEADER_ROOM - 1] = '\n';
  mTransitions.put(room, HEADER_ROOM);
}

void ExplorationFiles::writeState(std::uint64_t number, const char* text, std::size_t length) {
  mStates.put(number);
  mStates.put(" : ", 3);
  mStates.put(text, length);
  mStates.put("\n", 1);
}

void ExplorationFiles::writeTransition(std::uint64_t source, const char* label,
                                       std::uint64_t target) {
  mTransitions.put("(", 1);
  mTransitions.put(source);
  mTransitions.put(", ", 2);
  mTransitions.put(label);
  mTransitions.put(", ", 2);
  mTransitions.put(target);
  mTransitions.put(")\n", 2);
  ++mCount;
}

void ExplorationFiles::complete(std::uint64_t transitions, std::uint64_t states) {
  mTransitions.flush();
  mStates.flush();
  mPrunedPaths.flush();
  mDeadlocks.flush();
  if (mTransitionFile != nullptr && !mHeaderFailed) writeHeader(transitions, states);
}

// Writes at the start of the file without moving the stream, and needs no space that the file does
// not have already.
void ExplorationFiles::writeHeader(std::uint64_t transitions, std::uint64_t states) {
  char area[sizeof HEADER + 2 * MAX_DIGITS + HEADER_ROOM];
  const int printed =
      std::snprintf(area, sizeof area, HEADER, static_cast<unsigned long long>(transitions),
                    static_cast<unsigned long long>(states));
  auto length = static_cast<std::size_t>(printed);
  if (length < HEADER_ROOM) {
    std::memset(area + length, ' ', HEADER_ROOM - length);
    area[HEADER_ROOM - 1] = '\n';
    length = HEADER_ROOM;
  }
  if (pwrite(fileno(mTransitionFile), area, length, 0) == static_cast<ssize_t>(length)) return;
  mHeaderFailed = true;
  if (mTransitions.isOpen()) std::fprintf(stderr, NO_HEADER, std::strerror(errno));
}

}  // namespace Vesk
