#include "lines.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "fault.hpp"
#include "progress.hpp"

namespace Vesk::Lts {

namespace {

constexpr std::size_t BLOCK = std::size_t{1} << 18;

}  // namespace

Lines::Lines(const std::string& path, const std::string& expected, Progress& progress)
    : mPath(path),
      mProgress(progress),
      mDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      mBlock(BLOCK) {
  struct stat status {};
  if (mDescriptor == -1 || fstat(mDescriptor, &status) == -1) {
    const std::string reason = std::strerror(errno);
    if (mDescriptor != -1) close(mDescriptor);
    throw Fault(path, 1, "the file cannot be opened (" + reason + "), expected " + expected);
  }
  if (S_ISREG(status.st_mode)) mFileSize = static_cast<std::uint64_t>(status.st_size);
  mBegin = mEnd = mBlock.data();
  mProgress.start("reading " + path);
}

// What is closed at the end is a copy.
Lines::Lines(StandardInput, const std::string& name, Progress& progress)
    : mPath(name),
      mProgress(progress),
      mDescriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)),
      mBlock(BLOCK) {
  if (mDescriptor == -1) {
    const std::string reason = std::strerror(errno);
    throw Fault(name, 1, "it cannot be read (" + reason + "), expected an open standard input");
  }
  mBegin = mEnd = mBlock.data();
  mProgress.start("reading " + name);
}

Lines::~Lines() {
  close(mDescriptor);
  mProgress.finish();
}

const char* Lines::findEnd() const {
  return static_cast<const char*>(
      std::memchr(mBegin, '\n', static_cast<std::size_t>(mEnd - mBegin)));
}

// A line may come in many small parts, so each is searched alone.
bool Lines::nextFromFile(std::string_view& line) {
  while (const std::size_t added = fill()) {
    if (std::memchr(mEnd - added, '\n', added) != nullptr) return next(line);
  }
  if (mBegin == mEnd) return false;
  mWasWhole = false;
  ++mNumber;
  line = std::string_view(mBegin, static_cast<std::size_t>(mEnd - mBegin));
  mBegin = mEnd;
  return true;
}

// What is left moves to the start, and the rest of the block is read. Returns how much that is; 0
// at the end of the file.
std::size_t Lines::fill() {
  const auto left = static_cast<std::size_t>(mEnd - mBegin);
  if (mBegin != mBlock.data()) std::memmove(mBlock.data(), mBegin, left);
  if (left == mBlock.size()) mBlock.resize(2 * mBlock.size());
  mBegin = mBlock.data();
  mEnd = mBegin + left;
  const char* const end = mEnd;
  readMore();
  return static_cast<std::size_t>(mEnd - end);
}

void Lines::readMore() {
  ssize_t count;
  do {
    char* const end = mBlock.data() + (mEnd - mBegin);
    count = read(mDescriptor, end, mBlock.size() - static_cast<std::size_t>(mEnd - mBegin));
  } while (count == -1 && errno == EINTR);
  if (count == -1) {
    const std::string reason = std::strerror(errno);
    throw Fault(mPath, mNumber + 1,
                "the file cannot be read (" + reason + "), expected more of it");
  }
  mEnd += count;
  mRead += static_cast<std::uint64_t>(count);
  mProgress.show(mRead, mFileSize);
}

}  // namespace Vesk::Lts
