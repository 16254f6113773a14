// Lines of files, also of those that the system gives reluctantly.
#include "lines.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "alarms.hpp"
#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

class LtsLinesTest : public testing::Test {
 protected:
  LtsFiles mFiles;
};

TEST_F(LtsLinesTest, ALineWithoutABreakIsNotWhole) {
  Lines lines(mFiles.write("x", "one\ntwo"), "lines", mFiles.progress());
  std::string_view line;
  ASSERT_TRUE(lines.next(line));
  EXPECT_EQ("one", line);
  EXPECT_TRUE(lines.wasWhole());
  ASSERT_TRUE(lines.next(line));
  EXPECT_EQ("two", line);
  EXPECT_FALSE(lines.wasWhole());
  EXPECT_FALSE(lines.next(line));
}

TEST_F(LtsLinesTest, WhatCannotBeReadIsNamed) {
  EXPECT_EQ("x/:1: the file cannot be read (Is a directory), expected more of it",
            faultOf(mFiles, [&] {
              std::filesystem::create_directory(mFiles.path("x"));
              Lines lines(mFiles.path("x/"), "lines", mFiles.progress());
              std::string_view line;
              lines.next(line);
            }));
}

TEST_F(LtsLinesTest, ASignalDoesNotEndTheReading) {
  const std::string pipe = mFiles.path("pipe");
  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  const pid_t writer = fork();
  if (writer == 0) {
    std::FILE* file = std::fopen(pipe.c_str(), "w");
    usleep(100000);
    std::fputs("late\n", file);
    std::fclose(file);
    _exit(0);
  }
  Lines lines(pipe, "lines", mFiles.progress());
  {
    const Alarms often;
    std::string_view line;
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ("late", line);
    EXPECT_FALSE(lines.next(line));
  }
  EXPECT_GT(Alarms::count, 0);
  waitpid(writer, nullptr, 0);
}

}  // namespace
