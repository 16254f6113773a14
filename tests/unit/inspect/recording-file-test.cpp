// The file of a recording when signals come, and when it takes no more.
#include "recording-file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "alarms.hpp"
#include "kit/output.hpp"
#include "kit/processes.hpp"

using Vesk::Inspect::RecordingFile;

namespace {

constexpr int SIGNALLED = 1000;  // is added to the number of a signal that ends a process

class RecordingFileTest : public testing::Test {
 protected:
  // How a process ends that records into `file`.
  template <class Body>
  int statusOf(const Body& body) {
    return kit::isolated([&] {
             const rlimit none = {0, 0};
             setrlimit(RLIMIT_CORE, &none);
             RecordingFile file(mFolder.name("file"));
             body(file);
             return 0;
           })
        .status;
  }
  static void addLine(RecordingFile& file) {
    const RecordingFile::Busy busy;
    file.add("line");
    file.setLastWords("last\n");
  }
  std::string content() const { return mFolder.content("file"); }

  kit::Folder mFolder;
};

}  // namespace

TEST_F(RecordingFileTest, ASignalHandsOverTheLinesAndTheLastWords) {
  EXPECT_EQ(SIGNALLED + SIGTERM, statusOf([](RecordingFile& file) {
              addLine(file);
              raise(SIGTERM);
            }));
  EXPECT_EQ("line\nlast\n", content());
}

TEST_F(RecordingFileTest, ASignalWaitsWhileALineIsMade) {
  EXPECT_EQ(SIGNALLED + SIGHUP, statusOf([](RecordingFile& file) {
              addLine(file);
              const RecordingFile::Busy busy;
              raise(SIGHUP);
              file.add("more");
            }));
  EXPECT_EQ("line\nmore\nlast\n", content());
}

TEST_F(RecordingFileTest, AFaultWhileALineIsMadeEndsTheProgramAtOnce) {
  for (const int fault : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
    EXPECT_EQ(SIGNALLED + fault, statusOf([&](RecordingFile& file) {
                addLine(file);
                const RecordingFile::Busy busy;
                raise(fault);
                file.add("never");
              }));
    EXPECT_EQ("", content());
  }
}

TEST_F(RecordingFileTest, AFaultBetweenTheLinesHandsThemOver) {
  EXPECT_EQ(SIGNALLED + SIGSEGV, statusOf([](RecordingFile& file) {
              addLine(file);
              raise(SIGSEGV);
            }));
  EXPECT_EQ("line\nlast\n", content());
}

TEST_F(RecordingFileTest, BehindTheEndOfTheFileASignalOnlyEndsTheProgram) {
  EXPECT_EQ(SIGNALLED + SIGTERM, kit::isolated([&] {
                                   { RecordingFile file(mFolder.name("file")); }
                                   raise(SIGTERM);
                                   return 0;
                                 }).status);
  EXPECT_EQ("", content());
}

TEST_F(RecordingFileTest, AnIgnoredSignalStaysIgnored) {
  EXPECT_EQ(0, kit::isolated([&] {
                 std::signal(SIGINT, SIG_IGN);
                 RecordingFile file(mFolder.name("file"));
                 raise(SIGINT);
                 return 0;
               }).status);
}

TEST_F(RecordingFileTest, AFileThatTakesNoMoreStaysFailed) {
  RecordingFile file("/dev/full");
  const RecordingFile::Busy busy;
  file.add("line");
  EXPECT_FALSE(file.flush());
  file.add("line");
  EXPECT_FALSE(file.flush());
}

TEST_F(RecordingFileTest, ManyLinesAreHandedOverBeforeTheEnd) {
  RecordingFile file(mFolder.name("file"));
  const RecordingFile::Busy busy;
  const std::string line(999, 'x');
  for (int i = 0; i < 100; ++i) file.add(line);
  EXPECT_GE(content().size(), 65536u);
  EXPECT_TRUE(file.flush());
  EXPECT_EQ(100000u, content().size());
}

TEST_F(RecordingFileTest, WithFewDescriptorsTheFileHasALowOne) {
  EXPECT_EQ(0, kit::isolated([&] {
                 rlimit few;
                 getrlimit(RLIMIT_NOFILE, &few);
                 few.rlim_cur = 50;
                 setrlimit(RLIMIT_NOFILE, &few);
                 RecordingFile file(mFolder.name("file"));
                 addLine(file);
                 return file.isOpen() && file.flush() ? 0 : 1;
               }).status);
  EXPECT_EQ("line\n", content());
}

TEST_F(RecordingFileTest, AFileThatCannotBeOpenedIsReported) {
  const std::string name = mFolder.name("missing/file");
  EXPECT_EQ("vesk: cannot open " + name + ": No such file or directory\n",
            kit::errorsOf([&] { EXPECT_FALSE(RecordingFile(name).isOpen()); }));
}

TEST_F(RecordingFileTest, SignalsWhileAPipeIsFullLoseNothing) {
  const std::string pipe = mFolder.name("pipe");
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  const auto line = [](int number) {
    return std::string(1000, static_cast<char>('a' + number % 26));
  };
  std::string all;
  for (int i = 0; i < 500; ++i) all += line(i) + "\n";
  const pid_t reader = fork();
  if (reader == 0) {
    const int descriptor = open(pipe.c_str(), O_RDONLY);
    usleep(100000);
    std::string text;
    char block[4096];
    for (ssize_t length; (length = read(descriptor, block, sizeof block)) > 0;) {
      text.append(block, static_cast<std::size_t>(length));
    }
    _exit(text == all ? 0 : 1);
  }
  {
    RecordingFile file(pipe);
    const Alarms often;
    for (int i = 0; i < 500; ++i) file.add(line(i));
    EXPECT_TRUE(file.flush());
    EXPECT_GT(Alarms::count, 0);
  }
  int status = 0;
  waitpid(reader, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}
