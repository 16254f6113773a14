// Limits of the process, for tests of what happens when the system refuses something.
#ifndef VESK_TESTS_LIMITS_HPP
#define VESK_TESTS_LIMITS_HPP

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <vector>

// As long as this lives, no file can be longer. A write beyond that fails.
class FileSizes {
 public:
  explicit FileSizes(rlim_t most) : mSignal(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &mFormer);
    rlimit limit = mFormer;
    limit.rlim_cur = most;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizes() {
    setrlimit(RLIMIT_FSIZE, &mFormer);
    std::signal(SIGXFSZ, mSignal);
  }
  FileSizes(const FileSizes&) = delete;
  FileSizes& operator=(const FileSizes&) = delete;

 private:
  rlimit mFormer{};
  void (*mSignal)(int);
};

// As long as this lives, no more than so many files can be opened.
class MoreFiles {
 public:
  explicit MoreFiles(std::size_t more) {
    getrlimit(RLIMIT_NOFILE, &mFormer);
    std::vector<int> next;
    while (next.size() <= more) next.push_back(dup(STDERR_FILENO));
    for (const int descriptor : next) close(descriptor);
    rlimit limit = mFormer;
    limit.rlim_cur = static_cast<rlim_t>(next.back());
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  ~MoreFiles() { setrlimit(RLIMIT_NOFILE, &mFormer); }
  MoreFiles(const MoreFiles&) = delete;
  MoreFiles& operator=(const MoreFiles&) = delete;

 private:
  rlimit mFormer{};
};

#endif
