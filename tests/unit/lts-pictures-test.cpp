// Other programs that make pictures.
#include "pictures.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "limits.hpp"
#include "lts-files.hpp"

namespace {

using namespace Vesk::Lts;

TEST(LtsPicturesTest, AProgramGetsTheInputAndGivesTheOutput) {
  EXPECT_EQ("b\na\n", filtered({"sort", "-r"}, "a\nb\n"));
  EXPECT_EQ("", filtered({"true"}, "x"));
}

TEST(LtsPicturesTest, LargeInputsAndOutputsDoNotBlock) {
  const std::string large(3 * 1000 * 1000, 'x');
  EXPECT_EQ(large, filtered({"cat"}, large));
  EXPECT_EQ("", filtered({"true"}, large));
}

TEST(LtsPicturesTest, AProgramThatFailsOrIsNotThereGivesNothing) {
  EXPECT_FALSE(filtered({"false"}, ""));
  EXPECT_FALSE(filtered({"no-such-program-anywhere"}, ""));
  EXPECT_FALSE(filtered({"sh", "-c", "kill -9 $$"}, ""));
}

TEST(LtsPicturesTest, WordsAreNotReadByAShell) {
  EXPECT_EQ("$(echo x) ; y\n", filtered({"echo", "$(echo x) ; y"}, ""));
}

TEST(LtsPicturesTest, WithoutRoomForTheInputThereIsNoPicture) {
  const FileSizes limited(1000);
  EXPECT_EQ("x", filtered({"cat"}, "x"));
  EXPECT_FALSE(filtered({"true"}, std::string(1001, 'x'))) << "written when it is complete";
  EXPECT_FALSE(filtered({"true"}, std::string(4096, 'x'))) << "written at once";
  EXPECT_FALSE(filtered({"true"}, std::string(100000, 'x')));
}

// The first file is the input.
TEST(LtsPicturesTest, WithoutRoomForAFileThereIsNoPicture) {
  for (const std::size_t more : {0u, 1u}) {
    const MoreFiles limited(more);
    EXPECT_FALSE(filtered({"true"}, "x")) << more;
  }
  const MoreFiles enough(9);
  EXPECT_EQ("", filtered({"true"}, "x"));
}

TEST(LtsPicturesTest, AProgramWhoseEndIsNotToldGivesNothing) {
  const auto former = std::signal(SIGCHLD, SIG_IGN);
  EXPECT_FALSE(filtered({"true"}, ""));
  std::signal(SIGCHLD, former);
}

TEST(LtsPicturesTest, WhatIsNoDrawingIsNotTaken) {
  const LtsFiles files;
  const std::string dot = files.write("dot", "#!/bin/sh\necho '<?xml?>'\necho '<!DOCTYPE svg>'\n");
  chmod(dot.c_str(), 0755);
  const std::string path = std::getenv("PATH");
  setenv("PATH", (files.path("") + ":" + path).c_str(), 1);
  EXPECT_FALSE(drawnSvg("graph {}"));
  files.write("dot", "#!/bin/sh\necho '<?xml?>'\necho '<svg/>'\n");
  EXPECT_EQ("<svg/>\n", drawnSvg("graph {}"));
  setenv("PATH", files.path("").c_str(), 1);
  std::remove(dot.c_str());
  EXPECT_FALSE(drawnSvg("graph {}"));
  setenv("PATH", path.c_str(), 1);
}

}  // namespace
