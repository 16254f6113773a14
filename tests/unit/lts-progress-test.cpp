// Progress of long work on a terminal, and nowhere else.
#include "progress.hpp"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "lts-files.hpp"
#include "output-file.hpp"

namespace {

using Vesk::Lts::OutputFile;
using Vesk::Lts::Progress;

constexpr useconds_t LONG = 250000;  // microseconds after which work is long

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

void work(std::FILE* stream) {
  Progress progress(stream);
  progress.start("reading \x1b.aut");
  usleep(LONG);
  progress.show(2, 4);
  usleep(LONG);
  progress.show(7, 0);
}

// A terminal gives what has come so far.
std::string readUpTo(char end, int descriptor) {
  std::string text;
  for (char c; read(descriptor, &c, 1) == 1 && c != end;) text += c;
  return text;
}

TEST(LtsProgressTest, ATerminalSeesHowFarLongWorkIsAndAnEmptyLineInTheEnd) {
  int controller = -1;
  int terminal = -1;
  ASSERT_EQ(0, openpty(&controller, &terminal, nullptr, nullptr, nullptr));
  const File stream(fdopen(terminal, "w"));
  work(stream.get());
  std::fputs("#", stream.get());
  std::fflush(stream.get());
  EXPECT_EQ("\r\x1b[Kreading \\x1b.aut: 50 %\r\x1b[Kreading \\x1b.aut: 7\r\x1b[K",
            readUpTo('#', controller));
  close(controller);
}

TEST(LtsProgressTest, TheLineIsTakenAwayOnce) {
  int controller = -1;
  int terminal = -1;
  ASSERT_EQ(0, openpty(&controller, &terminal, nullptr, nullptr, nullptr));
  const File stream(fdopen(terminal, "w"));
  {
    Progress progress(stream.get());
    progress.start("x");
    usleep(LONG);
    progress.show(7, 0);
    progress.finish();
    progress.finish();
  }
  std::fputs("#", stream.get());
  std::fflush(stream.get());
  EXPECT_EQ("\r\x1b[Kx: 7\r\x1b[K", readUpTo('#', controller));
  close(controller);
}

// Standard output may be the same terminal.
TEST(LtsProgressTest, OnlyAFileShowsHowMuchIsWritten) {
  const LtsFiles files;
  const std::string path = files.path("x");
  const std::string shown = "\r\x1b[Kbytes written into " + path + ": 0\r\x1b[K";
  for (const std::string& name : {path, std::string("-")}) {
    int controller = -1;
    int terminal = -1;
    ASSERT_EQ(0, openpty(&controller, &terminal, nullptr, nullptr, nullptr));
    const File stream(fdopen(terminal, "w"));
    Progress progress(stream.get());
    OutputFile file(name);
    file.showOn(progress);
    usleep(LONG);
    for (int i = 0; i < 5000; ++i) file.write("");
    file.commit();
    std::fputs("#", stream.get());
    std::fflush(stream.get());
    EXPECT_EQ(name == path ? shown : "", readUpTo('#', controller));
    close(controller);
  }
}

TEST(LtsProgressTest, AnythingElseSeesNothing) {
  const File stream(std::tmpfile());
  work(stream.get());
  EXPECT_EQ(0, std::ftell(stream.get()));
}

}  // namespace
