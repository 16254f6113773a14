// Reading files line by line.
#include "lines.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

constexpr useconds_t LONG = 250000;  // microseconds after which work is long

class LinesTest : public testing::Test {
 protected:
  std::vector<std::string> read(const std::string& path) {
    std::vector<std::string> result;
    Lines lines(path, "a file", mFiles.progress());
    for (std::string_view line; lines.next(line);) result.emplace_back(line);
    return result;
  }

  LtsFiles mFiles;
};

TEST_F(LinesTest, ALineMayBeLongerThanManyOthers) {
  const std::string text(3000000, 'x');
  const std::string path = mFiles.write("x", "a\n" + text + "\nb\n\n" + text + text + "c");
  EXPECT_EQ((std::vector<std::string>{"a", text, "b", "", text + text + "c"}), read(path));
}

TEST_F(LinesTest, OnlyTheLastLineMayHaveNoBreak) {
  Lines lines(mFiles.write("x", "a\nb"), "a file", mFiles.progress());
  std::string_view line;
  ASSERT_TRUE(lines.next(line));
  EXPECT_TRUE(lines.wasWhole());
  EXPECT_EQ(1u, lines.number());
  ASSERT_TRUE(lines.next(line));
  EXPECT_FALSE(lines.wasWhole());
  EXPECT_EQ(2u, lines.number());
  EXPECT_EQ("b", line);
  EXPECT_FALSE(lines.next(line));
}

TEST_F(LinesTest, OnlyRegularFilesHaveASize) {
  EXPECT_EQ(3u, Lines(mFiles.write("x", "a\nb"), "a file", mFiles.progress()).fileSize());
  EXPECT_EQ(0u, Lines("/dev/null", "a file", mFiles.progress()).fileSize());
}

TEST_F(LinesTest, AFolderHasNoLines) {
  EXPECT_EQ(":1: the file cannot be read (Is a directory), expected more of it",
            faultOf(mFiles, [&] { read(mFiles.path("")); }));
}

// ---- Standard input ----------------------------------------------------------------------------

// Standard input is this as long as the object lives.
class Input {
 public:
  explicit Input(const std::string& path) : mFormer(dup(STDIN_FILENO)) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file == -1) {
      close(STDIN_FILENO);
    } else if (file != STDIN_FILENO) {
      dup2(file, STDIN_FILENO);
      close(file);
    }
  }
  ~Input() {
    dup2(mFormer, STDIN_FILENO);
    close(mFormer);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

 private:
  const int mFormer;
};

int smallestFreeDescriptor() {
  const int descriptor = dup(STDERR_FILENO);
  close(descriptor);
  return descriptor;
}

TEST_F(LinesTest, StandardInputHasANameAndNoSize) {
  const Input input(mFiles.write("x", "a\nb\n"));
  Lines lines(Lines::standardInput, "here", mFiles.progress());
  EXPECT_EQ("here", lines.path());
  EXPECT_EQ(0u, lines.fileSize());
  std::string_view line;
  ASSERT_TRUE(lines.next(line));
  EXPECT_EQ("a", line);
}

TEST_F(LinesTest, WithoutStandardInputThereAreNoLines) {
  const Input input("/none");
  EXPECT_EQ("here:1: it cannot be read (Bad file descriptor), expected an open standard input",
            faultOf(mFiles, [&] { Lines(Lines::standardInput, "here", mFiles.progress()); }));
}

TEST_F(LinesTest, AllIsClosedInTheEndButStandardInput) {
  const Input input(mFiles.write("x", "a\n"));
  const int free = smallestFreeDescriptor();
  read(mFiles.path("x"));
  EXPECT_EQ(free, smallestFreeDescriptor());
  Lines(Lines::standardInput, "here", mFiles.progress());
  EXPECT_EQ(free, smallestFreeDescriptor());
  EXPECT_NE(-1, fcntl(STDIN_FILENO, F_GETFD));
}

// ---- Signals -----------------------------------------------------------------------------------

volatile sig_atomic_t signals = 0;

void count(int) {
  signals = signals + 1;
}

// Writes a line into the pipe after a signal to the process that waits for it.
[[noreturn]] void writeLate(const std::string& path) {
  {
    std::ofstream pipe(path);
    usleep(LONG);
    kill(getppid(), SIGUSR1);
    usleep(LONG);
    pipe << "late\n";
  }
  _exit(0);
}

TEST_F(LinesTest, ASignalDoesNotEndAFileThatIsStillWritten) {
  struct sigaction action {};
  action.sa_handler = count;  // interrupted calls are not started again
  sigaction(SIGUSR1, &action, nullptr);
  signals = 0;
  const std::string path = mFiles.path("pipe");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  const pid_t writer = fork();
  if (writer == 0) writeLate(path);
  EXPECT_EQ(std::vector<std::string>{"late"}, read(path));
  EXPECT_EQ(1, signals);
  waitpid(writer, nullptr, 0);
}

// ---- Progress ----------------------------------------------------------------------------------

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// What the terminal shows while a long file is read, with a pause behind the first line, and then
// up to '#'.
template <class... Arguments>
std::string shownWhileReading(const Arguments&... arguments) {
  int controller = -1;
  int terminal = -1;
  if (openpty(&controller, &terminal, nullptr, nullptr, nullptr) != 0) return "no terminal";
  const std::unique_ptr<std::FILE, CloseFile> stream(fdopen(terminal, "w"));
  Progress progress(stream.get());
  {
    Lines lines(arguments..., progress);
    std::string_view line;
    lines.next(line);
    usleep(LONG);
    while (lines.next(line)) {
    }
  }
  std::fputs("#", stream.get());
  std::fflush(stream.get());
  std::string text;
  for (char c; ::read(controller, &c, 1) == 1 && c != '#';) text += c;
  close(controller);
  return text;
}

std::string longText() {
  std::string content;
  for (int i = 0; i < 200000; ++i) content += "a line with forty characters, as it seems\n";
  return content;
}

TEST_F(LinesTest, ATerminalSeesHowMuchOfALongFileHasBeenRead) {
  const std::string shown = shownWhileReading(mFiles.write("x", longText()), "a file");
  const std::regex expected("(\r\x1b\\[Kreading [^:]*/x: [1-9][0-9]? %)+\r\x1b\\[K");
  EXPECT_TRUE(std::regex_match(shown, expected)) << shown;
}

TEST_F(LinesTest, ATerminalSeesHowMuchOfALongInputHasBeenRead) {
  const Input input(mFiles.write("x", longText()));
  const std::string shown = shownWhileReading(Lines::standardInput, "input");
  const std::regex expected("(\r\x1b\\[Kreading input: [1-9][0-9]*)+\r\x1b\\[K");
  EXPECT_TRUE(std::regex_match(shown, expected)) << shown;
}

}  // namespace
