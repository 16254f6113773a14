// Text that is written before what stands in front of it is known.
#ifndef VESK_TRACE_SPOOL_HPP
#define VESK_TRACE_SPOOL_HPP

#include <cstdio>
#include <string_view>

namespace Vesk::Lts {
class OutputFile;
}

namespace Vesk::Traces {

// Kept in a file without a name, so it may be longer than the memory.
class Spool {
 public:
  // Throws a Fault when there is no place for temporary files.
  Spool();
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  void write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), mFile) != text.size()) noteError();
  }
  // All that was written. Throws a Fault when it could not be kept.
  void copyTo(Lts::OutputFile& file);

 private:
  void noteError();

  std::FILE* mFile;
  int mError = 0;  // of the first write that has failed
};

}  // namespace Vesk::Traces

#endif
