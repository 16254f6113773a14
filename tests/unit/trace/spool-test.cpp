// Text that waits in a file without a name.
#include "spool.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "limits.hpp"
#include "lts-files.hpp"
#include "output-file.hpp"

namespace {

using Vesk::Lts::OutputFile;
using Vesk::Traces::Spool;

const std::string NO_ROOM = "), expected room for one";

class SpoolTest : public testing::Test {
 protected:
  std::string copied(Spool& spool) {
    OutputFile file(mFiles.path("out"));
    spool.copyTo(file);
    file.commit();
    return mFiles.read("out");
  }
  LtsFiles mFiles;
};

TEST_F(SpoolTest, ItGivesWhatItWasGiven) {
  Spool spool;
  EXPECT_EQ("", copied(spool));
  const std::string large(200000, 'x');
  spool.write("a");
  spool.write("");
  spool.write(large);
  EXPECT_EQ("a" + large, copied(spool));
}

TEST_F(SpoolTest, WithoutAPlaceForFilesItFails) {
  const MoreFiles none(0);
  EXPECT_EQ("a temporary file cannot be used (Too many open files" + NO_ROOM,
            faultOf(mFiles, [] { Spool spool; }));
}

// Small pieces wait in a buffer, large ones are written at once.
TEST_F(SpoolTest, WithoutRoomItFailsHoweverMuchIsWrittenAtOnce) {
  for (const std::size_t size : {1001u, 4096u, 200000u}) {
    const FileSizes limited(1000);
    Spool spool;
    spool.write(std::string(size, 'x'));
    errno = 0;
    spool.write(std::string(200000, 'x'));
    errno = 0;
    EXPECT_EQ("a temporary file cannot be used (File too large" + NO_ROOM,
              faultOf(mFiles, [&] { copied(spool); }))
        << size;
  }
}

}  // namespace
