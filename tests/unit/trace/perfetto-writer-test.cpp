// Trace events fit together: slices of a track do not overlap, and arrows have both ends.
#include "perfetto-writer.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "json-text.hpp"
#include "trace-files.hpp"
#include "trace-random.hpp"

namespace {

using namespace Vesk::Traces;
using Vesk::Lts::Json;
using Track = std::pair<int, long long>;

class PerfettoWriterTest : public testing::Test {
 protected:
  Json events(const std::string& run) {
    const Json json = Json::parse(mFiles.written<PerfettoWriter>(run), nullptr, false);
    EXPECT_FALSE(json.is_discarded());
    return json.value("traceEvents", Json::array());
  }
  // The slices between ports, each as "NAME START DURATION" in microseconds.
  std::vector<std::string> slices(const std::string& run) {
    std::vector<std::string> result;
    for (const Json& event : events(run)) {
      if (event["ph"] != "X") continue;
      result.push_back(event["name"].get<std::string>() + " " +
                       std::to_string(event["ts"].get<int>()) + " " +
                       std::to_string(event["dur"].get<int>()));
    }
    return result;
  }
  static Track trackOf(const Json& event) {
    return {event["pid"].get<int>(), event["tid"].get<long long>()};
  }

  void checkTracks(const Json& events) {
    std::map<Track, long long> ends;
    std::map<Track, int> open;
    std::map<long long, int> arrows;
    std::map<Track, bool> declared;
    for (const Json& event : events) {
      const std::string phase = event["ph"];
      if (phase == "M") {
        declared[trackOf(event)] = true;
        continue;
      }
      EXPECT_TRUE(declared[trackOf(event)]) << event;
      if (phase == "X") {
        EXPECT_GE(event["ts"].get<long long>(), ends[trackOf(event)]) << event;
        EXPECT_GT(event["dur"].get<long long>(), 0) << event;
        ends[trackOf(event)] = event["ts"].get<long long>() + event["dur"].get<long long>();
      }
      if (phase == "B") ++open[trackOf(event)];
      if (phase == "E") --open[trackOf(event)];
      if (phase == "s") ++arrows[event["id"].get<long long>()];
      if (phase == "f") --arrows[event["id"].get<long long>()];
      const bool isArrow = phase == "s" || phase == "t" || phase == "f";
      EXPECT_TRUE(!isArrow || open[trackOf(event)] == 1) << event;
    }
    for (const auto& [track, count] : open) EXPECT_EQ(0, count);
    for (const auto& [id, count] : arrows) EXPECT_EQ(0, count);
  }

  TraceFiles mFiles;
};

TEST_F(PerfettoWriterTest, EventsOfRandomRunsFitTogether) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    const RandomRun run(seed);
    checkTracks(events(run.trace));
    checkTracks(events(run.recording));
  }
}

TEST_F(PerfettoWriterTest, EveryFiringHasASliceInEachOfItsAtoms) {
  int slices = 0;
  for (const Json& event :
       events("scheduler [0ms] s/c/a:p|b:q|d:r lazy\nscheduler [0ms] a:p lazy\n")) {
    if (event["ph"] == "B") ++slices;
  }
  EXPECT_EQ(4, slices);
}

// Compounds and atoms are shown as two programs with threads.
TEST_F(PerfettoWriterTest, EveryTrackIsInAGroupWithAName) {
  std::map<int, std::string> groups;
  std::map<std::string, std::string> groupOf;
  for (const Json& event : events("scheduler [0ms] s/c/a:p|b:q lazy\n")) {
    if (event["ph"] != "M") continue;
    const std::string name = event["args"]["name"];
    if (event["name"] == "process_name") groups[event["pid"]] = name;
    if (event["name"] == "thread_name") groupOf[name] = groups[event["pid"]];
  }
  EXPECT_EQ(
      (std::map<std::string, std::string>{{"s", "compounds"}, {"a", "atoms"}, {"b", "atoms"}}),
      groupOf);
}

TEST_F(PerfettoWriterTest, AnAtomIsAsItWasUntilItsStateChanges) {
  const std::string run =
      R"({"vesk-recording":1,"atoms":["a"],"ports":["a.p"],"connectors":[],"states":["off"]})"
      "\n"
      R"({"step":1,"before":1000,"time":4000,"fired":[{"label":"a:p","connector":-1,"ports":[0]}],)"
      R"("changed":{"0":"on"}})"
      "\n"
      R"({"end":"limit","text":null,"steps":1,"time":9000})"
      "\n";
  EXPECT_EQ((std::vector<std::string>{"off 1000 3000", "on 4000 5000"}), slices(run));
}

// A trace names an atom when it fires, and may begin late.
TEST_F(PerfettoWriterTest, AnAtomThatIsNamedLaterHasWaitedSinceTheStartOfTheRun) {
  EXPECT_EQ((std::vector<std::string>{"wait for q 5000 3000"}),
            slices("scheduler [5ms] a:p lazy\n"
                   "scheduler [5ms] , wait for 8ms, b:q lazy (8ms,_)\n"));
}

}  // namespace
