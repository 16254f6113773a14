// Reads a file line by line, in large blocks.
#ifndef VESK_LTS_LINES_HPP
#define VESK_LTS_LINES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Vesk::Lts {

class Progress;

class Lines {
 public:
  // Throws a Fault when the file cannot be opened; expected says what it should hold.
  Lines(const std::string& path, const std::string& expected, Progress& progress);
  // Standard input, under this name in messages.
  struct StandardInput {};
  static constexpr StandardInput standardInput{};
  Lines(StandardInput, const std::string& name, Progress& progress);
  ~Lines();
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  // The next line without its end; false at the end of the file. The view holds until the next
  // call.
  bool next(std::string_view& line) {
    if (const char* end = findEnd()) {
      line = std::string_view(mBegin, static_cast<std::size_t>(end - mBegin));
      mBegin = end + 1;
      ++mNumber;
      return true;
    }
    return nextFromFile(line);
  }
  // Whether a line break ended the last line. Only the last one of a file may have none.
  bool wasWhole() const { return mWasWhole; }
  // Of the last line, from 1.
  std::uint64_t number() const { return mNumber; }
  // Of the whole file in bytes; 0 when it is no regular file.
  std::uint64_t fileSize() const { return mFileSize; }
  const std::string& path() const { return mPath; }

 private:
  const char* findEnd() const;
  bool nextFromFile(std::string_view& line);
  std::size_t fill();
  void readMore();

  std::string mPath;
  Progress& mProgress;
  int mDescriptor;
  std::uint64_t mFileSize = 0;
  std::uint64_t mRead = 0;
  std::vector<char> mBlock;
  const char* mBegin = nullptr;  // what has not been given out of the block
  const char* mEnd = nullptr;
  std::uint64_t mNumber = 0;
  bool mWasWhole = true;
};

}  // namespace Vesk::Lts

#endif
