// Value change dumps of runs that the format does not foresee.
#include "vcd-writer.hpp"

#include <gtest/gtest.h>

#include "trace-files.hpp"
#include "trace-random.hpp"

namespace {

using namespace Vesk::Traces;

class VcdWriterTest : public testing::Test {
 protected:
  std::string dump(const std::string& run) {
    return mFiles.written<VcdWriter>(run, std::string("V"));
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
  TraceFiles mFiles;
};

TEST_F(VcdWriterTest, TimesNeverGoBack) {
  const std::string text = dump(
      "scheduler [-5ms] a:p lazy\nscheduler [7ms] a:p lazy\nscheduler [3ms] a:p lazy\n"
      "scheduler [7ms] , wait for _, a:p lazy\nscheduler [8ms] a:p lazy\n");
  EXPECT_EQ("#0\n$dumpvars\n$end\n1\"\nsp !\n#7\n1\"\nsp !\n1\"\nsp !\n1\"\nsp !\n#8\n1\"\nsp !\n",
            text.substr(text.find("#0")));
}

TEST_F(VcdWriterTest, AUnitIsAStepInARunWithoutTime) {
  const std::string text = dump("scheduler : s/c/a:p\nscheduler : s/c/a:p\n");
  EXPECT_TRUE(has(text, "The run has no time: a unit is a step."));
  EXPECT_TRUE(has(text, "#1\n")) << text;
  EXPECT_TRUE(has(text, "#2\n")) << text;
}

TEST_F(VcdWriterTest, NamesAreWords) {
  const std::string text = dump("scheduler : my system/$end/a b:p q\n");
  EXPECT_TRUE(has(text, "$scope module my_system $end\n")) << text;
  EXPECT_TRUE(has(text, " _end $end\n")) << text;
  EXPECT_TRUE(has(text, "$scope module a_b $end\n")) << text;
  EXPECT_TRUE(has(text, " p_q $end\n")) << text;
  EXPECT_TRUE(has(text, "sp\\x20q ")) << text;
}

TEST_F(VcdWriterTest, TextsKeepEveryVisibleSignButTheBackslash) {
  const std::string text = dump("scheduler : s/c/a:p!~\\\x7f\n");
  EXPECT_TRUE(has(text, "sp!~\\x5c\\x7f ")) << text;
}

// Every variable has an identifier of its own, also when one character is not enough.
TEST_F(VcdWriterTest, IdentifiersAreDistinct) {
  std::string run;
  for (int i = 0; i < 4000; ++i) run += "scheduler : s/c" + std::to_string(i) + "/a:p\n";
  const std::string text = dump(run);
  std::vector<std::string> ids;
  for (std::size_t at = 0; (at = text.find("$var ", at)) != std::string::npos; ++at) {
    std::istringstream words(text.substr(at, 60));
    std::string word;
    for (int i = 0; i < 4; ++i) words >> word;
    ids.push_back(word);
  }
  EXPECT_EQ(4002u, ids.size());
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids.end(), std::unique(ids.begin(), ids.end()));
  for (const std::string& id : ids) {
    for (const char c : id) EXPECT_TRUE('!' <= c && c <= '~') << id;
  }
}

TEST_F(VcdWriterTest, WhatIsDeeperThanReadersTakeKeepsItsSlashes) {
  std::string path;
  for (int level = 1; level <= 55; ++level) path += "c" + std::to_string(level) + "/";
  const std::string text = dump("scheduler : s/k/" + path + "a:p\n");
  EXPECT_TRUE(has(text, "$scope module c49 $end\n")) << text;
  EXPECT_FALSE(has(text, "$scope module c50 $end\n")) << text;
  EXPECT_TRUE(has(text, "$scope module c50/c51/c52/c53/c54/c55/a $end\n")) << text;
}

}  // namespace
