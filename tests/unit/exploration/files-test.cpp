#include "exploration/files.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "alarms.hpp"
#include "kit/explorations.hpp"
#include "kit/output.hpp"
#include "limits.hpp"

using namespace kit;

using Vesk::ExplorationFiles;
using Vesk::OutputBuffer;

namespace {

struct stat statusOf(FILE* file) {
  struct stat status = {};
  fstat(fileno(file), &status);
  return status;
}

// What stands in the file, whatever its stream holds back.
std::string inFile(FILE* file, std::size_t size) {
  std::string text(size, '\0');
  EXPECT_EQ(static_cast<ssize_t>(size), pread(fileno(file), text.data(), size, 0));
  return text;
}

std::string headerFor(std::uint64_t transitions, std::uint64_t states) {
  FILE* file = std::tmpfile();
  {
    ExplorationFiles files(file, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "l", 1);
    files.complete(transitions, states);
  }
  std::string content = contents(file);
  std::fclose(file);
  EXPECT_EQ("(0, l, 1)\n", content.substr(38));
  return content.substr(0, 38);
}

}  // namespace

TEST(ExplorationFilesTest, TheHeaderHas38BytesForAllCounts) {
  EXPECT_EQ(header("des(0, 0, 1)"), headerFor(0, 1));
  EXPECT_EQ(header("des(0, 2147483647, 2147483647)"), headerFor(2147483647, 2147483647));
  EXPECT_EQ(header("des(0, 2147483649, 2147483648)"), headerFor(2147483649, 2147483648));
  EXPECT_EQ(header("des(0, 10000000000000, 9999999999999)"),
            headerFor(10000000000000, 9999999999999));
  // 27 digits are the most that fit: then the header's newline is the last byte.
  EXPECT_EQ("des(0, 12345678901234, 1234567890123)\n", headerFor(12345678901234, 1234567890123));
}

TEST(ExplorationFilesTest, AHeaderThatIsTooLongRunsIntoTheFirstTransition) {  // Deliberate
  FILE* file = std::tmpfile();
  ExplorationFiles files(file, nullptr, nullptr, nullptr);
  files.begin();
  files.writeTransition(0, "label", 1);
  files.complete(12345678901234, 12345678901234);
  EXPECT_EQ("des(0, 12345678901234, 12345678901234)\n0, label, 1)\n", contents(file));
  std::fclose(file);
}

TEST(ExplorationFilesTest, CompletingTwiceLeavesTheLastHeaderAndEveryLine) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  files.begin();
  files.writeTransition(0, "a", 1);
  files.complete(1, 2);
  EXPECT_EQ(header("des(0, 1, 2)") + "(0, a, 1)\n", contents(out[0]));
  std::fseek(out[0], 0, SEEK_END);
  files.writeTransition(1, "b", 2);
  files.complete(10, 11);
  EXPECT_EQ(header("des(0, 10, 11)") + "(0, a, 1)\n(1, b, 2)\n", contents(out[0]));
  EXPECT_EQ(2U, files.transitions());
}

TEST(ExplorationFilesTest, BlocksLargerThanTheBufferAreWrittenWhole) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  const std::string text(1000000, 'x');
  files.writeState(7, text.data(), text.size());
  files.writeState(8, text.data(), 0);
  files.complete(0, 0);
  EXPECT_EQ("7 : " + text + "\n8 : \n", contents(out[1]));
}

TEST(ExplorationFilesTest, NumbersHaveAllTheirDigits) {
  TemporaryFiles out;
  OutputBuffer buffer(out[0], "it");
  for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{10},
                                     std::uint64_t{4294967296}, UINT64_MAX}) {
    buffer.put(number);
    buffer.put(" ");
  }
  buffer.endLine();
  buffer.flush();
  EXPECT_EQ("0 9 10 4294967296 18446744073709551615 \n", contents(out[0]));
}

TEST(ExplorationFilesTest, AStreamWithoutDescriptorGetsAHeaderToo) {
  char* text = nullptr;
  std::size_t size = 0;
  FILE* memory = open_memstream(&text, &size);
  {
    ExplorationFiles files(memory, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "a", 1);
    files.complete(1, 2);
    files.writeTransition(1, "b", 2);
    files.complete(2, 3);
  }
  std::fclose(memory);
  EXPECT_EQ(header("des(0, 2, 3)") + "(0, a, 1)\n(1, b, 2)\n", std::string(text, size));
  std::free(text);
}

namespace {

// What a stream without descriptor has handed over.
struct Handed {
  std::string text;
  std::size_t position = 0;
};

ssize_t take(void* cookie, const char* text, std::size_t size) {
  auto& handed = *static_cast<Handed*>(cookie);
  handed.text.resize(std::max(handed.text.size(), handed.position + size));
  handed.text.replace(handed.position, size, text, size);
  handed.position += size;
  return static_cast<ssize_t>(size);
}

int go(void* cookie, off64_t* offset, int whence) {
  auto& handed = *static_cast<Handed*>(cookie);
  const auto start = whence == SEEK_SET   ? std::size_t{0}
                     : whence == SEEK_CUR ? handed.position
                                          : handed.text.size();
  handed.position = static_cast<std::size_t>(static_cast<off64_t>(start) + *offset);
  *offset = static_cast<off64_t>(handed.position);
  return 0;
}

}  // namespace

// A kill would lose what the stream holds back.
TEST(ExplorationFilesTest, AStreamWithoutDescriptorHoldsNothingBack) {
  Handed handed;
  cookie_io_functions_t calls = {};
  calls.write = take;
  calls.seek = go;
  FILE* stream = fopencookie(&handed, "w", calls);
  {
    ExplorationFiles files(stream, nullptr, nullptr, nullptr);
    files.begin();
    EXPECT_EQ(header("des(0, 0, 1)"), handed.text);
    files.writeTransition(0, "a", 1);
    files.complete(1, 2);
    EXPECT_EQ(header("des(0, 1, 2)") + "(0, a, 1)\n", handed.text);
  }
  std::fclose(stream);
}

// Without a descriptor the stream itself is asked, for the header as well.
TEST(ExplorationFilesTest, AStreamWithoutDescriptorThatFailsIsGivenUp) {
  cookie_io_functions_t calls = {};
  calls.write = [](void*, const char*, std::size_t) -> ssize_t { return 0; };
  FILE* broken = fopencookie(nullptr, "w", calls);
  testing::internal::CaptureStderr();
  {
    ExplorationFiles files(broken, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "a", 1);
    files.complete(1, 2);
  }
  EXPECT_EQ("vesk: the transition system could not be written completely\n",
            testing::internal::GetCapturedStderr());
  std::fclose(broken);
}

TEST(ExplorationFilesTest, AStreamWithoutDescriptorThatCannotGoBackHasNoHeader) {
  cookie_io_functions_t calls = {};
  calls.write = [](void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); };
  FILE* forward = fopencookie(nullptr, "w", calls);
  testing::internal::CaptureStderr();
  {
    ExplorationFiles files(forward, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "a", 1);
    files.complete(1, 2);
  }
  EXPECT_EQ(0u, testing::internal::GetCapturedStderr().find(
                    "vesk: the transition system has no header: "));
  std::fclose(forward);
}

TEST(ExplorationFilesTest, BehindEveryBlockTheHeaderIsRight) {
  FILE* file = std::tmpfile();
  ExplorationFiles files(file, nullptr, nullptr, nullptr);
  files.begin();
  std::size_t former = 0;
  int blocks = 0;
  for (unsigned int i = 0; i < 40000; ++i) {
    const struct stat status = statusOf(file);
    if (static_cast<std::size_t>(status.st_size) != former) {
      const std::string content = inFile(file, static_cast<std::size_t>(status.st_size));
      EXPECT_EQ('\n', content.back()) << i;
      const auto lines = std::count(content.begin(), content.end(), '\n') - 2;
      // The transitions in the buffer have led to states already.
      EXPECT_EQ(header("des(0, " + std::to_string(lines) + ", " + std::to_string(i + 1) + ")"),
                content.substr(0, 38))
          << i;
      former = content.size();
      ++blocks;
    }
    files.writeTransition(i, "label", i + 1);
  }
  EXPECT_LT(2, blocks);
  std::fclose(file);
}

// Lines may hold line breaks of a model, and stand anywhere in a block.
TEST(ExplorationFilesTest, AFileThatIsFullEndsWithItsLastWholeLine) {
  const std::string line = "7 : one\ntwo\n";
  signal(SIGXFSZ, SIG_IGN);
  rlimit former;
  getrlimit(RLIMIT_FSIZE, &former);
  for (const unsigned int size : {0U, 1U, 12U, 13U, 25U, 26U, 27U, 300000U, 479999U}) {
    TemporaryFiles out;
    testing::internal::CaptureStderr();
    const rlimit full = {size, former.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    ExplorationFiles files(out[0], out[1], out[2], out[3]);
    for (int i = 0; i < 40000; ++i) files.writeState(7, "one\ntwo", 7);
    files.complete(0, 0);
    setrlimit(RLIMIT_FSIZE, &former);
    testing::internal::GetCapturedStderr();
    std::string expected;
    while (expected.size() + line.size() <= size) expected += line;
    EXPECT_TRUE(contents(out[1]) == expected) << size;
    EXPECT_FALSE(files.states().isOpen()) << size;
  }
  signal(SIGXFSZ, SIG_DFL);
}

TEST(ExplorationFilesTest, TheHeaderOfACutFileCountsWhatItHoldsAndAllStates) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit former;
  getrlimit(RLIMIT_FSIZE, &former);
  FILE* file = std::tmpfile();
  testing::internal::CaptureStderr();
  const rlimit full = {38 + 25, former.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  ExplorationFiles files(file, nullptr, nullptr, nullptr);
  files.begin();
  for (unsigned int i = 0; i < 9; ++i) files.writeTransition(i, "a", i + 1);
  files.complete(9, 10);
  files.writeTransition(9, "a", 10);
  files.complete(10, 11);
  setrlimit(RLIMIT_FSIZE, &former);
  EXPECT_EQ("vesk: the transition system could not be written completely\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ(header("des(0, 2, 11)") + "(0, a, 1)\n(1, a, 2)\n", contents(file));
  std::fclose(file);
  signal(SIGXFSZ, SIG_DFL);
}

// Nobody reads, so the pipe is full after sixteen pages.
TEST(ExplorationFilesTest, APipeThatIsGivenUpEndsWithAWholeLine) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  FILE* file = fdopen(ends[1], "w");
  testing::internal::CaptureStderr();
  {
    OutputBuffer buffer(file, "it");
    for (int i = 0; i < 40000; ++i) {
      buffer.put("1234567");
      buffer.endLine();
    }
    buffer.flush();
    EXPECT_TRUE(buffer.isCut());
  }
  EXPECT_EQ("vesk: it could not be written completely\n", testing::internal::GetCapturedStderr());
  std::fclose(file);
  std::string content(1 << 20, '\0');
  std::size_t length = 0;
  for (ssize_t n; (n = read(ends[0], &content[length], content.size() - length)) > 0;) {
    length += static_cast<std::size_t>(n);
  }
  close(ends[0]);
  EXPECT_LT(4096U, length);
  EXPECT_EQ(0U, length % 8);
}

// ---- Pipes -----------------------------------------------------------------------------------

namespace {

// What happens instead of sleeping; null: it sleeps.
std::function<void(useconds_t)>* waiting = nullptr;

// A pipe with a name.
class NamedPipe {
 public:
  NamedPipe() {
    std::string folder = (std::filesystem::temp_directory_path() / "pipe-XXXXXX").string();
    mFolder = mkdtemp(folder.data());
    mkfifo(name().c_str(), 0600);
  }
  ~NamedPipe() { std::filesystem::remove_all(mFolder); }
  NamedPipe(const NamedPipe&) = delete;
  NamedPipe& operator=(const NamedPipe&) = delete;
  std::string name() const { return mFolder / "pipe"; }

 private:
  std::filesystem::path mFolder;
};

}  // namespace

// The engine's, too.
extern "C" int usleep(useconds_t time) {
  if (waiting != nullptr) {
    (*waiting)(time);
    return 0;
  }
  const timespec wait = {static_cast<time_t>(time / 1000000),
                         static_cast<long>(time % 1000000) * 1000};
  return nanosleep(&wait, nullptr);
}

TEST(OpenOutputTest, APipeThatNobodyReadsIsGivenUpAfterASecond) {
  const NamedPipe pipe;
  useconds_t waited = 0;
  std::function<void(useconds_t)> wait = [&](useconds_t time) { waited += time; };
  waiting = &wait;
  FILE* file = Vesk::openOutput(pipe.name().c_str(), "w+");
  waiting = nullptr;
  EXPECT_EQ(nullptr, file);
  EXPECT_EQ(1000000u, waited);
}

TEST(OpenOutputTest, AReaderMayComeWithinASecond) {
  const NamedPipe pipe;
  int reader = -1;
  useconds_t waited = 0;
  std::function<void(useconds_t)> wait = [&](useconds_t time) {
    waited += time;
    if (waited >= 900000 && reader == -1) reader = open(pipe.name().c_str(), O_RDONLY | O_NONBLOCK);
  };
  waiting = &wait;
  FILE* file = Vesk::openOutput(pipe.name().c_str(), "w+");
  waiting = nullptr;
  ASSERT_NE(nullptr, file);
  EXPECT_EQ(0, fcntl(fileno(file), F_GETFL) & O_NONBLOCK) << "later a full pipe is waited for";
  std::fputs("text", file);
  std::fclose(file);
  char text[8] = {};
  EXPECT_EQ(4, read(reader, text, sizeof text));
  EXPECT_STREQ("text", text);
  close(reader);
}

TEST(ExplorationFilesTest, WritingStopsAtTheFirstFailure) {
  FILE* full = std::fopen("/dev/full", "w+");
  ASSERT_NE(nullptr, full);
  OutputBuffer buffer(full, "it");
  buffer.put("text");
  buffer.endLine();
  EXPECT_TRUE(buffer.isOpen());
  testing::internal::CaptureStderr();
  buffer.flush();
  EXPECT_FALSE(buffer.isOpen());
  EXPECT_TRUE(buffer.isCut());
  buffer.put("more");
  buffer.endLine();
  buffer.flush();
  EXPECT_EQ("vesk: it could not be written completely\n", testing::internal::GetCapturedStderr());
  EXPECT_EQ(0U, buffer.lines());
  EXPECT_EQ(0, std::fclose(full)) << "nothing is left in the stream";
}

// The buffer is a power of two, and grows to the next one.
TEST(OutputBufferTest, ALineMayFillTheBufferToItsLastCharacter) {
  const std::string line(std::size_t{1} << 22, 'x');
  FILE* file = std::tmpfile();
  {
    OutputBuffer buffer(file, "the file");
    buffer.put(line.data(), line.size());
    buffer.endLine();
    buffer.put("y");
    buffer.endLine();
    buffer.flush();
    EXPECT_EQ(2U, buffer.lines());
  }
  EXPECT_TRUE(contents(file) == line + "\ny\n");
  std::fclose(file);
}

TEST(OutputBufferTest, ALineThatFillsTheBufferMayFindAFullDisk) {
  const std::string rest((std::size_t{1} << 16) - 2, 'x');
  FILE* file = std::tmpfile();
  testing::internal::CaptureStderr();
  {
    const FileSizes full(1);
    OutputBuffer buffer(file, "the file");
    buffer.put(std::string(std::size_t{1} << 22, 'x').c_str());
    buffer.endLine();
    EXPECT_TRUE(buffer.isOpen()) << "it has grown";
    buffer.flush();
    EXPECT_FALSE(buffer.isOpen());
    OutputBuffer second(file, "the file");
    second.put("a");
    second.endLine();
    second.put(rest.data(), rest.size());
    second.endLine();
    EXPECT_FALSE(second.isOpen());
  }
  testing::internal::GetCapturedStderr();  // which is a file, too
  EXPECT_EQ("", contents(file));
  std::fclose(file);
}

TEST(OutputBufferTest, SignalsWhileAPipeIsFullLoseNothing) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  const std::string line(1000, 'x');
  const pid_t reader = fork();
  if (reader == 0) {
    close(ends[1]);
    usleep(100000);
    std::size_t count = 0;
    char block[4096];
    for (ssize_t length; (length = read(ends[0], block, sizeof block)) > 0;) {
      count += static_cast<std::size_t>(length);
    }
    _exit(count == 500 * 1001 ? 0 : 1);
  }
  close(ends[0]);
  FILE* file = fdopen(ends[1], "w");
  {
    const Alarms often;
    OutputBuffer buffer(file, "the pipe");
    for (int i = 0; i < 500; ++i) {
      buffer.put(line.c_str());
      buffer.endLine();
    }
    buffer.flush();
    EXPECT_EQ(500U, buffer.lines());
    EXPECT_GT(Alarms::count, 0);
  }
  std::fclose(file);
  int status = 0;
  waitpid(reader, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}
