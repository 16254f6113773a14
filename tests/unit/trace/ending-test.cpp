// A deadlock of the model and the end of time.
#include "ending.hpp"

#include <gtest/gtest.h>

#include "run-summary.hpp"
#include "trace-files.hpp"

namespace {

using namespace Vesk::Traces;

class EndingTest : public testing::Test {
 protected:
  // Whether the run ends because time does.
  bool isEndOfTime(const std::string& run) {
    const auto reader = mFiles.open(run);
    Ending ending;
    Step step;
    while (reader->next(step)) ending.see(step);
    return ending.isEndOfTime(reader->end());
  }
  TraceFiles mFiles;
};

TEST_F(EndingTest, TimeEndsWhenTheNextWaitWouldNotFit) {
  EXPECT_TRUE(isEndOfTime(
      "scheduler [2140000ms] , wait for 2147000ms, a:p lazy\nscheduler [2147000ms] deadlock!\n"));
  EXPECT_TRUE(isEndOfTime(
      "scheduler [0ms] , wait for 2147000ms, a:p lazy\nscheduler [2147000ms] deadlock!\n"));
}

TEST_F(EndingTest, ADeadlockWithTimeLeftIsOneOfTheModel) {
  EXPECT_FALSE(isEndOfTime(
      "scheduler [2146900ms] , wait for 2147000ms, a:p lazy\nscheduler [2147000ms] deadlock!\n"));
  EXPECT_FALSE(isEndOfTime("scheduler [7ms] a:p lazy\nscheduler [7ms] deadlock!\n"));
  EXPECT_FALSE(isEndOfTime("scheduler : s/c/a:p\nscheduler : deadlock\n"));
}

TEST_F(EndingTest, ALimitIsNotTheEndOfTime) {
  EXPECT_FALSE(isEndOfTime(
      "scheduler [0ms] , wait for 2147483ms, a:p lazy\nExecution limit size (1) reached!\n"));
  EXPECT_FALSE(
      isEndOfTime(R"({"vesk-recording":1,"atoms":[],"ports":[],"connectors":[],"states":[]})"
                  "\n"
                  R"({"step":1,"before":0,"time":2147000000,"fired":[]})"
                  "\n"
                  R"({"end":"limit","text":null,"time":2147000000})"
                  "\n"));
}

TEST_F(EndingTest, AWaitWithoutEndIsNone) {
  EXPECT_FALSE(isEndOfTime("scheduler [0ms] , wait for _, a:p lazy\nscheduler [7ms] deadlock!\n"));
  EXPECT_FALSE(isEndOfTime("scheduler [_] , wait for 7ms, a:p lazy\nscheduler [7ms] deadlock!\n"));
}

}  // namespace
