// A file that is there whole or not at all.
#ifndef VESK_LTS_OUTPUT_FILE_HPP
#define VESK_LTS_OUTPUT_FILE_HPP

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace Vesk::Lts {

class Progress;

// Writes beside the file and renames at the end. When the program is ended by a signal or by a
// failure before that, nothing is left. Pipes and devices are written directly. One at a time.
class OutputFile {
 public:
  // "" or "-" is standard output. Throws a Fault when the file cannot be written.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), mFile) != text.size()) noteError();
    mWritten += text.size();
    if (++mCalls % CALLS == 0) showProgress();
  }
  // Shows there how much has been written, unless that is standard output.
  void showOn(Progress& progress);
  // All has been written. Throws a Fault when the system could not take it.
  void commit();

 private:
  static constexpr unsigned CALLS = 4096;  // of write() until the progress is shown again

  void openBeside();
  void showProgress() const;
  void noteError();
  [[noreturn]] void fail(int error) const;

  std::string mPath;
  std::string mTemporary;  // empty: written directly
  std::FILE* mFile = nullptr;
  Progress* mProgress = nullptr;
  std::uint64_t mWritten = 0;
  unsigned mCalls = 0;
  int mError = 0;  // of the first write that has failed
};

}  // namespace Vesk::Lts

#endif
