// What fired how often, how long it was waited for, and from when to when.
#include "run-summary.hpp"

#include <gtest/gtest.h>

#include <string>

#include "trace-files.hpp"

namespace {

using namespace Vesk::Traces;

const std::string START =
    R"({"vesk-recording":1,"model":"m","root":"S","arguments":[],"mode":"timed",)"
    R"("atoms":["S/a"],"ports":["S/a.p","S/a.q"],"connectors":["S/k","S/b/x","S/never"],)"
    R"("states":["0"]})"
    "\n";

// A step that fires the port p in the connector k.
std::string step(int number, const std::string& before, const std::string& time) {
  return R"({"step":)" + std::to_string(number) + R"(,"before":)" + before + R"(,"time":)" + time +
         R"(,"fired":[{"label":"S/k/a:p","connector":0,"ports":[0]}]})" + "\n";
}

class RunSummaryTest : public testing::Test {
 protected:
  Summary summaryOf(const std::string& content) {
    Summary summary;
    const auto reader = mFiles.open(content);
    show(*reader, summary);
    return summary;
  }
  static bool has(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
  }
  TraceFiles mFiles;
};

TEST_F(RunSummaryTest, ARecordingTellsWhatNeverFires) {
  const Summary summary = summaryOf(START + step(1, "0", "0") + step(2, "0", "1500"));
  const std::string text = summary.text();
  EXPECT_NE(text.find(", a recording of m\n"), std::string::npos) << text;
  EXPECT_TRUE(has(text, "time        : 1.500 ms, from 0.000 to 1.500")) << text;
  EXPECT_TRUE(has(text, "S/k               2")) << text;
  EXPECT_TRUE(has(text, "S/never           0  never")) << text;
  EXPECT_TRUE(has(text, "S/a.q         0  never")) << text;
  EXPECT_TRUE(has(text, "no wait                 1   ########################################"))
      << text;
  EXPECT_TRUE(has(text, "below 10 ms             1   ########################################"))
      << text;
  const auto json = summary.json();
  EXPECT_EQ("m", json["model"]);
  EXPECT_EQ(3u, json["never_fired"].size());
  EXPECT_TRUE(json["waits"]["histogram"][0]["below_ms"].is_null());
  EXPECT_EQ(10, json["waits"]["histogram"][1]["below_ms"]);
  EXPECT_EQ(1500, json["time"]["simulated"]);
}

TEST_F(RunSummaryTest, WaitsWithoutAnEndAreNotCounted) {
  const Summary summary =
      summaryOf(START + step(1, "0", "2147483647") + step(2, "2147483647", "2147483647") +
                step(3, "null", "0") + step(4, "0", "null") + step(5, "2147483647", "0"));
  EXPECT_EQ(0, summary.json()["waits"]["steps"]);
  EXPECT_EQ(summary.text().find("wait for a step"), std::string::npos);
}

TEST_F(RunSummaryTest, TheEndMayBeTheOnlyTime) {
  const Summary late = summaryOf(START + R"({"end":"deadlock","text":null,"time":2000})" + "\n");
  EXPECT_TRUE(has(late.text(), "time        : 0.000 ms, from 2.000 to 2.000")) << late.text();
  const Summary never =
      summaryOf(START + R"({"end":"deadlock","text":null,"time":2147483647})" + "\n");
  EXPECT_TRUE(has(never.text(), "time        : none: the run has no time")) << never.text();
  EXPECT_TRUE(never.json()["time"].is_null());
}

TEST_F(RunSummaryTest, AStartWithoutAnEndIsNoTime) {
  const Summary summary = summaryOf(START + step(1, "0", "null"));
  EXPECT_TRUE(has(summary.text(), "time        : none: the run has no time")) << summary.text();
  EXPECT_TRUE(summary.json()["time"].is_null());
}

TEST_F(RunSummaryTest, ATraceHasWholeMillisecondsAndNoNames) {
  const Summary summary = summaryOf("scheduler [0ms] , wait for 10ms, S/k/a:p lazy\n");
  const std::string text = summary.text();
  EXPECT_NE(text.find(", a trace\n"), std::string::npos) << text;
  EXPECT_TRUE(has(text, "times       : whole milliseconds: the trace has no microseconds"));
  EXPECT_TRUE(has(text,
                  "end         : unknown: the file does not say, as after a limit without "
                  "time"))
      << text;
  EXPECT_TRUE(has(text, "below 100 ms            1   ########################################"))
      << text;
  EXPECT_TRUE(summary.json()["never_fired"].is_null());
  EXPECT_TRUE(summary.json()["model"].is_null());
}

TEST_F(RunSummaryTest, PortsBelowAnExportedOneAreNotSeen) {
  const std::string fired =
      R"({"step":1,"before":0,"time":0,"fired":[{"label":"S/k/b:x","connector":0,"ports":[-1]}]})"
      "\n";
  const Summary summary = summaryOf(START + fired);
  const std::string text = summary.text();
  EXPECT_TRUE(has(text, "S/b/x             1")) << text;
  EXPECT_TRUE(has(text, "S/a.p         0  not seen")) << text;
  EXPECT_EQ(Vesk::Lts::Json::array({"S/never"}), summary.json()["never_fired"]);
}

}  // namespace
