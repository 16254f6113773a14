// Shows on a terminal how far long work has come.
#ifndef VESK_LTS_PROGRESS_HPP
#define VESK_LTS_PROGRESS_HPP

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>

namespace Vesk::Lts {

// Writes nothing to a stream that is no terminal, and nothing about work that is done at once.
class Progress {
 public:
  // Null is no terminal.
  explicit Progress(std::FILE* stream);
  ~Progress() { finish(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Names the next work.
  void start(const std::string& what);
  // So much of all is done; 0 of 0 when nobody knows.
  void show(std::uint64_t done, std::uint64_t all);
  // Leaves an empty line to what is printed next.
  void finish();

 private:
  std::FILE* mStream;  // null: not a terminal
  std::string mWhat;
  std::timespec mShown{};
  bool mHasLine = false;
};

}  // namespace Vesk::Lts

#endif
