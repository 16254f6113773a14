// Text that waits in a temporary file, also when the system does not take it.
#include "spool.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <string>

#include "limits.hpp"
#include "lts-files.hpp"
#include "output-file.hpp"

namespace {

using Vesk::Lts::OutputFile;
using Vesk::Traces::Spool;

std::string faultFor(const std::string& reason) {
  return "a temporary file cannot be used (" + reason + "), expected room for one";
}

class SpoolTest : public testing::Test {
 protected:
  std::string copyOf(Spool& spool) {
    OutputFile file(mFiles.path("copy"));
    spool.copyTo(file);
    file.commit();
    return mFiles.read("copy");
  }
  std::string faultOfCopy(Spool& spool) {
    return faultOf(mFiles, [&] { copyOf(spool); });
  }

  LtsFiles mFiles;
};

TEST_F(SpoolTest, AllThatWasWrittenIsCopied) {
  Spool spool;
  std::string text;
  for (int i = 0; i < 50000; ++i) {
    spool.write("line " + std::to_string(i) + "\n");
    text += "line " + std::to_string(i) + "\n";
  }
  EXPECT_EQ(text, copyOf(spool));
}

// A sanitizer looks at an exception with descriptors of its own.
TEST_F(SpoolTest, WithoutADescriptorThereIsNone) {
  std::exception_ptr fault;
  {
    const MoreFiles none(0);
    try {
      Spool();
    } catch (...) {
      fault = std::current_exception();
    }
  }
  ASSERT_NE(nullptr, fault);
  EXPECT_EQ(faultFor("Too many open files"),
            faultOf(mFiles, [&] { std::rethrow_exception(fault); }));
}

TEST_F(SpoolTest, WhatCouldNotBeKeptIsAFault) {
  Spool spool;
  spool.write("text");
  OutputFile file(mFiles.path("copy"));
  std::string fault;
  {
    const FileSizes limited(0);
    fault = faultOf(mFiles, [&] { spool.copyTo(file); });
  }
  EXPECT_EQ(faultFor("File too large"), fault);
}

// What was lost before does not come back when there is room again.
TEST_F(SpoolTest, WhatWasLostBeforeIsAFault) {
  Spool spool;
  {
    const FileSizes limited(0);
    spool.write(std::string(1000000, 'x'));
  }
  EXPECT_EQ("a temporary file cannot be used (", faultOfCopy(spool).substr(0, 33));
}

// Small pieces wait in a buffer, large ones are written at once.
TEST_F(SpoolTest, TheFirstErrorIsNamedHoweverMuchIsWrittenAtOnce) {
  for (const std::size_t size : {1001u, 4096u, 200000u}) {
    const FileSizes limited(1000);
    Spool spool;
    spool.write(std::string(size, 'x'));
    errno = 0;
    spool.write(std::string(200000, 'x'));
    errno = 0;
    EXPECT_EQ(faultFor("File too large"), faultOfCopy(spool)) << size;
  }
}

int smallestFreeDescriptor() {
  const int descriptor = dup(STDERR_FILENO);
  close(descriptor);
  return descriptor;
}

TEST_F(SpoolTest, ItsFileIsClosedInTheEnd) {
  const int free = smallestFreeDescriptor();
  Spool().write("text");
  EXPECT_EQ(free, smallestFreeDescriptor());
}

// The file gets the smallest free descriptor, behind which another one is put.
TEST_F(SpoolTest, WhatCannotBeReadBackIsAFault) {
  const int next = smallestFreeDescriptor();
  Spool spool;
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  ASSERT_EQ(next, dup2(nowhere, next));
  close(nowhere);
  EXPECT_EQ(faultFor("Bad file descriptor"), faultOfCopy(spool));
}

}  // namespace
