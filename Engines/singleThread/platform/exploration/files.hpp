// The four files of an exploration. Private to the engine.
#ifndef VESK_EXPLORATION_FILES_HPP
#define VESK_EXPLORATION_FILES_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace Vesk {

// Writes to a stdio file through a large buffer. The file stays the caller's. What cannot be
// written is dropped, and so is all that follows, so that the file holds a prefix of what was
// meant; the file keeps its error indicator.
class OutputBuffer {
 public:
  // Null: everything is dropped.
  explicit OutputBuffer(FILE* file);

  bool isOpen() const { return mFile != nullptr; }
  void put(const char* text, std::size_t length);
  void put(const char* text);
  void put(std::uint64_t number);
  // Hands everything over to the system.
  void flush();

 private:
  void drain();

  FILE* mFile;
  std::unique_ptr<char[]> mData;
  std::size_t mLength;
};

class ExplorationFiles {
 public:
  // Null files are left out. The files stay the caller's.
  ExplorationFiles(FILE* transitions, FILE* states, FILE* prunedPaths, FILE* deadlocks);

  OutputBuffer& states() { return mStates; }
  OutputBuffer& prunedPaths() { return mPrunedPaths; }
  OutputBuffer& deadlocks() { return mDeadlocks; }
  bool hasTransitions() const { return mTransitions.isOpen(); }

  // Leaves room for the header. First of all.
  void begin();
  void writeState(std::uint64_t number, const char* text, std::size_t length);
  void writeTransition(std::uint64_t source, const char* label, std::uint64_t target);
  // How many writeTransition() has written.
  std::uint64_t transitions() const { return mCount; }

  // Brings the files up to date: everything is handed over to the system, then the header is
  // written. Can be called again when there is more. A file that has no place for a header is
  // reported the first time.
  void complete(std::uint64_t transitions, std::uint64_t states);

 private:
  void writeHeader(std::uint64_t transitions, std::uint64_t states);

  FILE* mTransitionFile;
  OutputBuffer mTransitions;
  OutputBuffer mStates;
  OutputBuffer mPrunedPaths;
  OutputBuffer mDeadlocks;
  std::uint64_t mCount;
  bool mHeaderFailed;
};

}  // namespace Vesk

#endif
