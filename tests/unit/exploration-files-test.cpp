#include "exploration/files.hpp"

#include "exploration-fixture.hpp"

using Vesk::ExplorationFiles;
using Vesk::OutputBuffer;

namespace {

std::string header(const std::string& text) {
  std::string area = text + "\n";
  area.resize(37, ' ');
  return area + "\n";
}

std::string headerFor(std::uint64_t transitions, std::uint64_t states) {
  FILE* file = std::tmpfile();
  {
    ExplorationFiles files(file, nullptr, nullptr, nullptr);
    files.begin();
    files.writeTransition(0, "l", 1);
    files.complete(transitions, states);
  }
  std::string content = contentOf(file);
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
  EXPECT_EQ("des(0, 12345678901234, 12345678901234)\n0, label, 1)\n", contentOf(file));
  std::fclose(file);
}

TEST(ExplorationFilesTest, CompletingTwiceLeavesTheLastHeaderAndEveryLine) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  files.begin();
  files.writeTransition(0, "a", 1);
  files.complete(1, 2);
  EXPECT_EQ(header("des(0, 1, 2)") + "(0, a, 1)\n", contentOf(out[0]));
  std::fseek(out[0], 0, SEEK_END);
  files.writeTransition(1, "b", 2);
  files.complete(10, 11);
  EXPECT_EQ(header("des(0, 10, 11)") + "(0, a, 1)\n(1, b, 2)\n", contentOf(out[0]));
  EXPECT_EQ(2U, files.transitions());
}

TEST(ExplorationFilesTest, BlocksLargerThanTheBufferAreWrittenWhole) {
  TemporaryFiles out;
  ExplorationFiles files(out[0], out[1], out[2], out[3]);
  const std::string text(1000000, 'x');
  files.writeState(7, text.data(), text.size());
  files.writeState(8, text.data(), 0);
  files.complete(0, 0);
  EXPECT_EQ("7 : " + text + "\n8 : \n", contentOf(out[1]));
}

TEST(ExplorationFilesTest, NumbersHaveAllTheirDigits) {
  TemporaryFiles out;
  OutputBuffer buffer(out[0]);
  for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{10},
                                     std::uint64_t{4294967296}, UINT64_MAX}) {
    buffer.put(number);
    buffer.put(" ");
  }
  buffer.flush();
  EXPECT_EQ("0 9 10 4294967296 18446744073709551615 ", contentOf(out[0]));
}

TEST(ExplorationFilesTest, WritingStopsAtTheFirstFailure) {
  FILE* full = std::fopen("/dev/full", "w+");
  ASSERT_NE(nullptr, full);
  OutputBuffer buffer(full);
  buffer.put("text");
  EXPECT_TRUE(buffer.isOpen());
  buffer.flush();
  EXPECT_FALSE(buffer.isOpen());
  buffer.put("more");
  buffer.flush();
  EXPECT_NE(0, std::ferror(full));
  EXPECT_EQ(0, std::fclose(full)) << "nothing is left in the stream";
}
