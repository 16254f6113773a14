// The four files of an exploration. Private to the engine.
#ifndef VESK_EXPLORATION_FILES_HPP
#define VESK_EXPLORATION_FILES_HPP

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "exploration/labels.hpp"

namespace Vesk {

// Opens a file for writing, in a mode of fopen(). A pipe gets a second to be read by somebody and
// does not become its own reader. Null when that fails; errno says why.
FILE* openOutput(const char* name, const char* mode);

// Writes lines to a stdio file through a large buffer. Only whole lines are handed over. The file
// stays the caller's. When it takes no more, that is reported on standard error, what it holds of a
// line is cut off if it is a regular file, and all that follows is dropped: the file is a prefix of
// what was meant. A process forked by model code writes nothing.
class OutputBuffer {
 public:
  // Null: everything is dropped. what: its name in reports, which must outlive this object.
  OutputBuffer(FILE* file, const char* what);

  bool isOpen() const { return mFile != nullptr; }
  // A file of a file system: one can go back in it.
  bool isRegular() const { return mKind == REGULAR; }
  void put(const char* text, std::size_t length);
  void put(const char* text);
  void put(std::uint64_t number);
  void endLine() {
    if (mFile == nullptr || (mLength == mCapacity && !makeRoom(1))) return;
    mData[mLength++] = '\n';
    mEnds.push_back(mLength);
  }
  // Room for so many characters, which become part of a line when take() says how many there are.
  // Null when the file takes no more.
  char* room(std::size_t length) {
    const bool fits = mFile != nullptr && (length <= mCapacity - mLength || makeRoom(length));
    return fits ? mData.get() + mLength : nullptr;
  }
  void take(std::size_t length) { mLength += length; }
  // Hands all whole lines over to the system.
  void flush();

  // The lines that the file has been given, and whether it was cut behind the last of them.
  std::uint64_t lines() const { return mLines; }
  bool isCut() const { return mIsCut; }

 private:
  enum Kind { REGULAR, PIPE, OTHER };

  static Kind kindOf(int descriptor);
  bool makeRoom(std::size_t length);
  std::size_t handOver(std::size_t length);
  std::size_t writeOut(std::size_t length);
  std::size_t partEnd(std::size_t start, std::size_t length) const;
  void giveUp(std::size_t written);
  void cutOff(std::size_t length);
  void drop();

  FILE* mFile;
  int mDescriptor;  // -1: the file has none
  Kind mKind;
  const char* mWhat;
  pid_t mOwner;
  std::unique_ptr<char[]> mData;
  std::size_t mCapacity;
  std::size_t mLength;
  std::vector<std::size_t> mEnds;  // of the lines in the buffer
  std::uint64_t mLines;
  bool mIsCut;
};

class ExplorationFiles {
 public:
  // Null files are left out. The files stay the caller's.
  ExplorationFiles(FILE* transitions, FILE* states, FILE* prunedPaths, FILE* deadlocks);

  OutputBuffer& states() { return mStates; }
  OutputBuffer& prunedPaths() { return mPrunedPaths; }
  OutputBuffer& deadlocks() { return mDeadlocks; }
  bool hasTransitions() const { return mTransitions.isOpen(); }

  // Makes room for the header and writes that of the initial state alone. First of all.
  void begin();
  void writeState(std::uint64_t number, const char* text, std::size_t length);
  // The header is kept right for the transitions that the file has been given.
  void writeTransition(std::uint64_t source, const Label& label, std::uint64_t target);
  // How many writeTransition() has written.
  std::uint64_t transitions() const { return mCount; }

  // Brings the files up to date: everything is handed over to the system, then the header is
  // written; in a file that was cut it counts the transitions that are there. Can be called again
  // when there is more. A file that has no place for a header is reported the first time.
  void complete(std::uint64_t transitions, std::uint64_t states);

 private:
  enum HeaderKind { PROVISIONAL, FINAL };

  void beginWith(std::uint64_t source);
  std::uint64_t transitionsInFile() const;
  void writeHeader(std::uint64_t transitions, std::uint64_t states, HeaderKind kind);
  bool writeAtStart(const char* text, std::size_t length) const;

  FILE* mTransitionFile;
  const pid_t mOwner;
  OutputBuffer mTransitions;
  OutputBuffer mStates;
  OutputBuffer mPrunedPaths;
  OutputBuffer mDeadlocks;
  std::uint64_t mCount;
  std::uint64_t mFound;     // states that transitions name, and the initial one
  std::uint64_t mInHeader;  // lines of the transition file when the header was written
  bool mHeaderFailed;       // and is not tried again
  char mStart[32];          // of a transition line
  std::size_t mStartLength = 0;
  std::uint64_t mSource = 0;  // that stands in it
};

}  // namespace Vesk

#endif
