// What is written to descriptors, for tests that look at very many runs.
#ifndef VESK_TESTS_KIT_SCRATCH_HPP
#define VESK_TESTS_KIT_SCRATCH_HPP

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#ifdef __SANITIZE_ADDRESS__
extern "C" void __sanitizer_set_report_fd(void* descriptor);
#endif

namespace kit {

// A file that can be used again and again.
class ScratchFile {
 public:
  ScratchFile() : mFile(std::tmpfile()) {}
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() { std::fclose(mFile); }

  FILE* file() const { return mFile; }
  void clear() {
    std::rewind(mFile);
    if (ftruncate(fileno(mFile), 0) != 0) std::abort();
  }
  std::string content() const {
    std::fflush(mFile);
    std::string text;
    char block[4096];
    for (off_t at = 0;;) {
      const ssize_t length = pread(fileno(mFile), block, sizeof block, at);
      if (length <= 0) return text;
      text.append(block, static_cast<std::size_t>(length));
      at += length;
    }
  }

 private:
  FILE* mFile;
};

// Takes what is written to a descriptor, from start() to stop().
class Redirection {
 public:
  Redirection(int descriptor, FILE* stream) : mDescriptor(descriptor), mStream(stream) {}
  void start() {
    flush();
    mFile.clear();
    mKept = dup(mDescriptor);
    dup2(fileno(mFile.file()), mDescriptor);
    lseek(mDescriptor, 0, SEEK_SET);
    sendReportsTo(mKept);
  }
  std::string stop() {
    flush();
    sendReportsTo(STDERR_FILENO);
    dup2(mKept, mDescriptor);
    close(mKept);
    return mFile.content();
  }

 private:
  void flush() {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(mStream);
  }

  // What a sanitizer finds meanwhile is for the reader of the test.
  void sendReportsTo([[maybe_unused]] int descriptor) const {
#ifdef __SANITIZE_ADDRESS__
    if (mDescriptor == STDERR_FILENO) {
      __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)));
    }
#endif
  }

  int mDescriptor;
  FILE* mStream;
  int mKept = -1;
  ScratchFile mFile;
};

}  // namespace kit

#endif
