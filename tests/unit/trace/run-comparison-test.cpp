// Traces and recordings of the same runs, and of runs that part.
#include "run-comparison.hpp"

#include <gtest/gtest.h>

#include "csv-writer.hpp"
#include "trace-files.hpp"
#include "trace-random.hpp"

namespace {

using namespace Vesk::Traces;

class TraceComparisonTest : public testing::Test {
 protected:
  std::string compare(const std::string& a, const std::string& b,
                      Comparison::Options options = {}) {
    const auto first = mFiles.openPath(mFiles.files().write("a", a));
    const auto second = mFiles.openPath(mFiles.files().write("b", b));
    return Comparison(*first, *second, options).text();
  }
  static std::string theSame(int steps) {
    return "the same: " + std::to_string(steps) + (steps == 1 ? " step\n" : " steps\n");
  }
  TraceFiles mFiles;
};

TEST_F(TraceComparisonTest, ARecordingIsTheSameAsItsTrace) {
  for (unsigned seed = 0; seed < 1000; ++seed) {
    const RandomRun run(seed);
    ASSERT_EQ(theSame(run.firings), compare(run.trace, run.recording))
        << run.trace << run.recording;
  }
  EXPECT_EQ(0u, mFiles.said().size());
}

TEST_F(TraceComparisonTest, TheOrderOfTheTwoDoesNotCount) {
  for (unsigned seed = 0; seed < 50; ++seed) {
    const RandomRun run(seed);
    ASSERT_EQ(theSame(run.firings), compare(run.recording, run.trace)) << seed;
    ASSERT_EQ(theSame(run.firings), compare(run.recording, run.recording)) << seed;
  }
}

TEST_F(TraceComparisonTest, ARecordingHasTheRowsOfItsTrace) {
  CsvWriter::Options cut;
  cut.cutsTimes = true;
  for (unsigned seed = 0; seed < 100; ++seed) {
    const RandomRun run(seed);
    ASSERT_EQ(mFiles.written<CsvWriter>(run.trace, CsvWriter::Options()),
              mFiles.written<CsvWriter>(run.recording, cut))
        << seed;
  }
}

TEST_F(TraceComparisonTest, TheFirstDifferenceIsFound) {
  std::string a;
  for (int i = 0; i < 9; ++i) a += "scheduler : s/c" + std::to_string(i) + "/a:p\n";
  for (int i = 0; i < 9; ++i) {
    const std::string name = "c" + std::to_string(i);
    std::string b = a;
    b.replace(b.find(name), 2, "other");
    const std::string start = "the runs part at step " + std::to_string(i + 1) + ": something else";
    EXPECT_EQ(start, compare(a, b).substr(0, start.size()));
  }
}

TEST_F(TraceComparisonTest, ARunThatGoesOnIsAnotherOne) {
  const std::string a = "scheduler : s/c/a:p\n";
  EXPECT_EQ("the runs part at step 2: only B goes on\n\n  1: s/c/a:p\nB 2: s/c/a:p\n",
            compare(a, a + a));
}

TEST_F(TraceComparisonTest, MicrosecondsCountBetweenRecordings) {
  const std::string start =
      R"({"vesk-recording":1,"atoms":["a"],"ports":["a.p"],"connectors":[],"states":[null]})"
      "\n";
  const auto step = [&](const std::string& time) {
    return start + R"({"step":1,"before":0,"time":)" + time +
           R"(,"fired":[{"label":"a:p","connector":-1,"ports":[0]}]})"
           "\n";
  };
  EXPECT_EQ(
      "the runs part at step 1: it fires at 5.000 ms in A and at 5.001 ms in B\n\n"
      "A 1: 5.000 ms  a:p\nB 1: 5.001 ms  a:p\n",
      compare(step("5000"), step("5001")));
  const std::string trace = "scheduler [0ms] , wait for 5ms, a:p lazy (5ms,_)\n";
  EXPECT_EQ(theSame(1), compare(step("5999"), trace));
  EXPECT_NE(theSame(1), compare(step("6000"), trace));
}

TEST_F(TraceComparisonTest, ARunWithoutTimesIsComparedByWhatFires) {
  EXPECT_EQ(theSame(1), compare("scheduler : s/c/a:p\n", "scheduler [3ms] s/c/a:p lazy\n"));
}

// After a limit without time a trace ends without a word, and a recording with one.
TEST_F(TraceComparisonTest, AnEndThatIsNotToldDiffersFromNone) {
  const std::string step = "scheduler : s/c/a:p\n";
  EXPECT_EQ(theSame(1), compare(step, step + "scheduler : deadlock\n"));
  EXPECT_NE(theSame(1), compare(step + "Exiting ...\n", step + "scheduler : deadlock\n"));
}

// Two recordings of a system with two atoms, each line one step with these fields.
class RecordingComparisonTest : public TraceComparisonTest {
 protected:
  static std::string recording(const std::string& fields, const std::string& end = "") {
    return R"({"vesk-recording":1,"atoms":["S/a","S/b"],"ports":[],"connectors":[],)"
           R"("states":["0","0"]})"
           "\n"
           R"({"step":1,"fired":[{"label":"S/k/a:p","connector":-1,"ports":[]}],)" +
           fields + "}\n" + end;
  }
  std::string difference(const std::string& a, const std::string& b,
                         Comparison::Options options = {}) {
    const std::string text = compare(a, b, options);
    return text.substr(0, text.find('\n'));
  }
};

TEST_F(RecordingComparisonTest, TheStartOfAStepCountsWhenItFiresAtTheSameTime) {
  const std::string a = recording(R"("before":0,"time":2000)");
  const std::string b = recording(R"("before":1500,"time":2000)");
  EXPECT_EQ("the runs part at step 1: the step starts at 0.000 ms in A and at 1.500 ms in B",
            difference(a, b));
  Comparison::Options options;
  options.ignoresTimes = true;
  EXPECT_EQ(theSame(1), compare(a, b, options));
  EXPECT_EQ(theSame(1), compare(a, recording(R"("before":null,"time":2000)")));
}

TEST_F(RecordingComparisonTest, TheFirstAtomThatChangesInAnotherWayIsNamed) {
  const std::string both = recording(R"("changed":{"0":"1","1":"1"})");
  EXPECT_EQ(R"(the runs part at step 1: in A "S/b" becomes "1", in B "S/b" becomes "2")",
            difference(both, recording(R"("changed":{"0":"1","1":"2"})")));
  EXPECT_EQ(R"(the runs part at step 1: in A "S/b" becomes "1", in B no other atom changes)",
            difference(both, recording(R"("changed":{"0":"1"})")));
  EXPECT_EQ(R"(the runs part at step 1: in A no other atom changes, in B "S/a" becomes "1")",
            difference(recording(R"("changed":{})"), both));
}

TEST_F(RecordingComparisonTest, EndsAtOtherTimesAreDifferent) {
  const auto ends = [](const std::string& kind, const std::string& time) {
    return recording(R"("before":0,"time":0)",
                     R"({"end":")" + kind + R"(","text":null,"time":)" + time + "}\n");
  };
  EXPECT_EQ("the runs part at step 2: A ends at 1.000 ms and B at 2.000 ms",
            difference(ends("deadlock", "1000"), ends("deadlock", "2000")));
  EXPECT_EQ(R"(the runs part at step 2: A ends with "limit" and B with "deadlock")",
            difference(ends("limit", "1000"), ends("deadlock", "1000")));
  EXPECT_EQ(theSame(1), compare(ends("deadlock", "1000"), ends("deadlock", "1000")));
  EXPECT_EQ(theSame(1), compare(ends("deadlock", "1000"), ends("deadlock", "null")));
}

TEST_F(RecordingComparisonTest, OnlyOneOfTheTwoMayGoOn) {
  const std::string shorter = recording(R"("before":0,"time":0)");
  const std::string longer = shorter + R"({"step":2,"before":0,"time":0,"fired":[]})" + "\n";
  EXPECT_EQ("the runs part at step 2: only A goes on", difference(longer, shorter));
  EXPECT_EQ("the runs part at step 2: only B goes on", difference(shorter, longer));
}

}  // namespace
