#include "spool.hpp"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "fault.hpp"
#include "output-file.hpp"

namespace Vesk::Traces {

namespace {

constexpr std::size_t BLOCK = std::size_t{1} << 16;

[[noreturn]] void fail(int error) {
  throw Lts::Fault(std::string("a temporary file cannot be used (") + std::strerror(error) +
                   "), expected room for one");
}

}  // namespace

Spool::Spool() : mFile(std::tmpfile()) {
  if (mFile == nullptr) fail(errno);
}

Spool::~Spool() {
  std::fclose(mFile);
}

void Spool::noteError() {
  if (mError == 0) mError = errno;
}

void Spool::copyTo(Lts::OutputFile& file) {
  if (std::fflush(mFile) != 0) noteError();
  if (mError != 0) fail(mError);
  std::rewind(mFile);
  std::vector<char> block(BLOCK);
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), mFile)) {
    file.write({block.data(), count});
  }
  if (std::ferror(mFile) != 0) fail(errno);
}

}  // namespace Vesk::Traces
