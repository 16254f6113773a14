// What the writers make of runs that have no times, no ports or no end.
#include <gtest/gtest.h>

#include <string>

#include "csv-writer.hpp"
#include "perfetto-writer.hpp"
#include "plantuml-sequence.hpp"
#include "run-comparison.hpp"
#include "table-writer.hpp"
#include "trace-files.hpp"
#include "vcd-writer.hpp"

namespace {

using namespace Vesk::Traces;

const std::string START =
    R"({"vesk-recording":1,"atoms":["S/a","S/b"],"ports":["S/a.p"],"connectors":["S/k"],)"
    R"("states":["0","0"]})"
    "\n";

std::string step(const std::string& fields) {
  return R"({"step":1,)" + fields + "}\n";
}

class TraceWritersTest : public testing::Test {
 protected:
  std::string tableOf(const std::string& content, TableWriter::Options options = {}) {
    return mFiles.written<TableWriter>(content, options);
  }
  static bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
  TraceFiles mFiles;
};

TEST_F(TraceWritersTest, AnEndWithoutTimeAddsNone) {
  const std::string fired = START + step(R"("before":0,"time":1000,"fired":[])");
  for (const char* time : {"null", "2147483647"}) {
    const std::string end = R"({"end":"deadlock","text":null,"time":)" + std::string(time) + "}\n";
    const std::string vcd = mFiles.written<VcdWriter>(fired + end, std::string("V"));
    EXPECT_TRUE(has(vcd, "#1000\n")) << vcd;
    EXPECT_FALSE(has(vcd, "#2147483647")) << vcd;
    EXPECT_FALSE(has(mFiles.written<PerfettoWriter>(fired + end), "2147483647"));
  }
}

// As every program reads it that knows comma-separated values.
TEST_F(TraceWritersTest, AFieldWithACommaOrAQuoteHasQuotesAroundItAndTwoForEachOfItsOwn) {
  EXPECT_EQ(
      "number,before_ms,time_ms,compound,connector,ports,label\n"
      "1,,,s,\"c\"\"d\",a:p,\"s/c\"\"d/a:p\"\n"
      "2,,,s,\"c,d\",a:p,\"s/c,d/a:p\"\n"
      "3,,,s,c d,a:p,s/c d/a:p\n",
      mFiles.written<CsvWriter>("scheduler : s/c\"d/a:p\nscheduler : s/c,d/a:p\n"
                                "scheduler : s/c d/a:p\n",
                                CsvWriter::Options()));
}

TEST_F(TraceWritersTest, AConnectorMayFireNoPort) {
  const std::string text = mFiles.written<PlantUmlSequence>(
      START + step(R"("fired":[{"label":"S/k/","connector":0,"ports":[]}])"), std::uint64_t{9});
  EXPECT_TRUE(has(text, "@startuml")) << text;
  EXPECT_TRUE(has(text, "@enduml")) << text;
}

TEST_F(TraceWritersTest, DoubledSignsOfMarkupAreNone) {
  const std::string text = mFiles.written<PlantUmlSequence>(
      R"({"vesk-recording":1,"atoms":["S/a__b","S/_c","S/d_e"],"ports":["S/a__b.p","S/_c.p","S/d_e.p"],)"
      R"("connectors":["S/k"],"states":[]})"
      "\n" +
          step(R"("fired":[{"label":"S/k/x","connector":0,"ports":[0,1,2]}])"),
      std::uint64_t{9});
  EXPECT_TRUE(has(text, "a_<U+005F>b")) << text;
  EXPECT_TRUE(has(text, "_c")) << text;
  EXPECT_TRUE(has(text, "d_e")) << text;
}

TEST_F(TraceWritersTest, ATableLeavesOutAtomsThatWereNotAskedFor) {
  TableWriter::Options options;
  options.atoms.emplace("S/a");
  const std::string text = tableOf(
      START + step(R"("before":0,"time":0,"fired":[],"changed":{"0":"x1","1":"y1"})"), options);
  EXPECT_TRUE(has(text, "x1")) << text;
  EXPECT_FALSE(has(text, "y1")) << text;
}

// As with maximal synchronisation.
TEST_F(TraceWritersTest, ATableNamesEverythingThatHasFiredInAStep) {
  const std::string text = tableOf(
      START + step(R"("before":0,"time":0,"fired":[{"label":"S/k/a:p","connector":0,"ports":[0]},)"
                   R"({"label":"b:q","connector":-1,"ports":[]},)"
                   R"({"label":"b:r","connector":-1,"ports":[]}])"));
  EXPECT_TRUE(has(text, "  S/k/a:p; b:q; b:r\n")) << text;
}

TEST_F(TraceWritersTest, BetweenTimesWithoutEndNothingPasses) {
  for (const char* times : {R"("before":2147483647,"time":2147483647)", R"("before":0)",
                            R"("time":0)", R"("before":0,"time":2147483647)"}) {
    EXPECT_TRUE(has(tableOf(START + step(std::string(times) + R"(,"fired":[])")), "1")) << times;
  }
}

TEST_F(TraceWritersTest, TheSelfTimedLoopMayHaveWrittenSomethingElse) {
  EXPECT_TRUE(mFiles.stepsOf("scheduler [l: 0ms, r: 0ms]choose nothing\n").empty());
  EXPECT_EQ(1u, mFiles.said().size());
}

// A note of a time stands over the atoms.
TEST_F(TraceWritersTest, AStepBeforeTheFirstAtomHasNoTimeInASequence) {
  const std::string idle = step(R"("before":0,"time":1000,"fired":[])");
  const std::string fired =
      step(R"("before":1000,"time":2000,"fired":[{"label":"S/k/a:p","connector":0,"ports":[0]}])");
  const std::string text = mFiles.written<PlantUmlSequence>(START + idle + fired, std::uint64_t{9});
  EXPECT_FALSE(has(text, "1.000 ms")) << text;
  EXPECT_TRUE(has(text, "2.000 ms")) << text;
}

}  // namespace
