// Recordings, also those that were cut or that somebody has changed.
#include "recording-reader.hpp"

#include <gtest/gtest.h>

#include "trace-files.hpp"

namespace {

using namespace Vesk::Traces;
using Texts = std::vector<std::string>;

const std::string START =
    R"({"vesk-recording":1,"model":"m","root":"S","arguments":["2"],"mode":"timed",)"
    R"("atoms":["S/a","S/a.b"],"ports":["S/a.p","S/a.b.q"],"connectors":["S/c"],)"
    R"("states":["n,",null]})"
    "\n";
const std::string STEP =
    R"({"step":1,"before":0,"time":1500,"fired":[{"label":"S/c/a:p|a.b:q","connector":0,)"
    R"("ports":[0,1]}],"changed":{"1":"x"},"enabled":[]})"
    "\n";
const std::string END = R"({"end":"deadlock","text":"deadlock!","steps":1,"time":1500})"
                        "\n";

class RecordingReaderTest : public testing::Test {
 protected:
  // The fault of a run that starts like that.
  std::string faultOf(const std::string& content) {
    return ::faultOf(mFiles.files(), [&] { mFiles.open(content); });
  }
  TraceFiles mFiles;
};

TEST_F(RecordingReaderTest, TheFirstLineHasAllNames) {
  const auto reader = mFiles.open(START);
  const auto& run = reader->run();
  EXPECT_TRUE(run.isRecording);
  EXPECT_EQ("m", run.model);
  EXPECT_EQ((Texts{"S/a", "S/a.b"}), run.names.parts());
  EXPECT_EQ((Texts{"S/c"}), run.names.connectors());
  EXPECT_EQ("n,", run.states[0]);
  EXPECT_FALSE(run.states[1]);
}

TEST_F(RecordingReaderTest, APortBelongsToTheAtomWithTheLongestName) {
  const auto reader = mFiles.open(START);
  const Names& names = reader->run().names;
  EXPECT_EQ(0u, names.ports()[0].part);
  EXPECT_EQ(1u, names.ports()[1].part);
  EXPECT_EQ("q", names.ports()[1].name);
}

TEST_F(RecordingReaderTest, AStepHasMicrosecondsPortsAndStates) {
  const auto reader = mFiles.open(START + STEP + END);
  Step step;
  ASSERT_TRUE(reader->next(step));
  EXPECT_EQ(0, step.before);
  EXPECT_EQ(1500, step.time);
  ASSERT_EQ(1u, step.fired.size());
  EXPECT_EQ(0u, step.fired[0].connector);
  EXPECT_EQ((std::vector<std::size_t>{0, 1}), step.fired[0].ports);
  ASSERT_EQ(1u, step.changed.size());
  EXPECT_EQ("x", step.changed[0].second);
  EXPECT_FALSE(reader->next(step));
  EXPECT_EQ("deadlock", reader->end().kind);
  EXPECT_EQ(1500, reader->end().time);
}

TEST_F(RecordingReaderTest, BothInfinitiesAreForever) {
  EXPECT_EQ((Texts{"1 2147483647 2147483647"}),
            mFiles.stepsOf(START + R"({"step":1,"before":-2147483648,"time":2147483647,"fired":[]})"
                                   "\n"));
}

TEST_F(RecordingReaderTest, StatesChangeInTheOrderOfTheAtoms) {
  std::string start = START;
  start.replace(start.find(R"("S/a","S/a.b")"), 13,
                R"("S/a","S/a.b","2","3","4","5","6","7","8","9","10")");
  const auto reader =
      mFiles.open(start + R"({"step":1,"fired":[],"changed":{"10":"x","9":"y"}})" + "\n");
  Step step;
  ASSERT_TRUE(reader->next(step));
  ASSERT_EQ(2u, step.changed.size());
  EXPECT_EQ(9u, step.changed[0].first);
}

TEST_F(RecordingReaderTest, NothingIsReadBehindTheEnd) {
  const auto reader = mFiles.open(START + END + STEP);
  Step step;
  EXPECT_FALSE(reader->next(step));
  EXPECT_EQ("deadlock", reader->end().kind);
  EXPECT_FALSE(reader->next(step));
}

TEST_F(RecordingReaderTest, WhatWasCutEndsWithTheLastWholeLine) {
  const auto reader = mFiles.open(START + STEP + END.substr(0, 20));
  EXPECT_EQ(1u, mFiles.steps(*reader).size());
  EXPECT_EQ("", reader->end().kind);
  EXPECT_EQ((Texts{"run:3: the last line is cut, expected the end of an object; left out"}),
            mFiles.said());
}

TEST_F(RecordingReaderTest, AStartThatCannotBeReadIsAFault) {
  for (const std::string& start :
       {std::string(R"({"vesk-recording":)"), std::string(R"({"vesk-recording":2})"),
        std::string(
            R"({"vesk-recording":1,"atoms":[],"ports":["a.p"],"connectors":[],"states":[]})"),
        std::string(R"({"vesk-recording":1,"atoms":[1],"ports":[],"connectors":[],"states":[]})"),
        std::string(R"({"vesk-recording":1,"atoms":{},"ports":[],"connectors":[],"states":[]})"),
        std::string(R"({"vesk-recording":1})"), std::string(R"({"vesk-recording":1,"atoms":[]})"),
        std::string(R"({"vesk-recording":1,"atoms":[],"ports":[]})"),
        std::string(R"({"vesk-recording":1,"atoms":[],"ports":[],"connectors":[]})"),
        std::string(R"({"vesk-recording":1,"atoms":[],"ports":[],"connectors":[],"states":{}})")}) {
    EXPECT_EQ("run:1: this is no start of a recording", faultOf(start + "\n").substr(0, 38))
        << start;
  }
}

// The label has the compound and the connector that exports the port.
TEST_F(RecordingReaderTest, AnExportedPortIsThatOfItsCompound) {
  const auto reader = mFiles.open(
      R"({"vesk-recording":1,"atoms":["S/a"],"ports":["S/a.p"],"connectors":["S/c","S/sub/all"],)"
      R"("states":["n,"]})"
      "\n"
      R"({"step":1,"fired":[{"label":"S/c/|sub:all|a:p","connector":0,"ports":[-1,0]}],)"
      R"("changed":{"0":"m,"}})"
      "\n"
      R"({"step":2,"fired":[],"changed":{"1":"no atom"}})"
      "\n");
  Step step;
  ASSERT_TRUE(reader->next(step));
  const Names& names = reader->run().names;
  ASSERT_EQ(2u, step.fired[0].ports.size());
  EXPECT_EQ("S/sub.all", names.portText(step.fired[0].ports[0]));
  EXPECT_EQ("S/a.p", names.portText(step.fired[0].ports[1]));
  EXPECT_EQ((std::vector<std::size_t>{1}), step.fired[0].exported);
  EXPECT_FALSE(reader->next(step));
  EXPECT_EQ(1u, mFiles.said().size());
}

TEST_F(RecordingReaderTest, AStepThatCannotBeReadIsLeftOut) {
  for (const char* step :
       {R"({"step":1})",
        R"({"step":"1","fired":[]})",
        R"({"step":-1,"fired":[]})",
        R"([])",
        R"({"step":1,"fired":[{"label":"x","connector":1,"ports":[]}]})",
        R"({"step":1,"fired":[{"label":"x","connector":-2,"ports":[]}]})",
        R"({"step":1,"fired":[{"label":"x","connector":0,"ports":[2]}]})",
        R"({"step":1,"fired":[{"label":"x","connector":0}]})",
        R"({"step":1,"fired":{}})",
        R"({"step":1,"fired":[{"label":"x","ports":[]}]})",
        R"({"fired":[]})",
        R"({"step":1,"fired":[{"label":"x","connector":0,"ports":{}}]})",
        R"({"step":1,"fired":[{"label":"x","connector":0,"ports":["0"]}]})",
        R"({"step":1,"fired":[],"changed":{"0x":"y"}})",
        R"({"step":1,"fired":[{"label":"x","connector":0,"ports":[18446744073709551615]}]})",
        R"({"step":1,"fired":[1]})",
        R"({"step":1,"fired":[],"changed":{"2":"x"}})",
        R"({"step":1,"fired":[],"changed":{"a":"x"}})",
        R"({"step":1,"fired":[],"changed":{"0":5}})",
        R"({"step":1,"fired":[],"changed":{"":"x"}})",
        "{\"step\":1,\"fired\":[{\"label\":\"\xFF\"}]}"}) {
    TraceFiles files;
    EXPECT_EQ(1u, files.stepsOf(START + step + "\n" + STEP).size()) << step;
    EXPECT_EQ(1u, files.said().size()) << step;
  }
}

TEST_F(RecordingReaderTest, AStateThatBecomesNoneAndATimeThatIsNoNumberAreNoFaults) {
  const auto reader =
      mFiles.open(START + R"({"step":1,"before":"soon","time":1.5,"fired":[],"changed":{"0":null}})"
                          "\n");
  Step step;
  ASSERT_TRUE(reader->next(step));
  EXPECT_FALSE(step.before);
  EXPECT_FALSE(step.time);
  EXPECT_TRUE(step.changed.empty());
  EXPECT_TRUE(mFiles.said().empty());
}

// The label does not name the ports, or no connector that is known exports this one.
TEST_F(RecordingReaderTest, AnExportedPortThatCannotBeFoundIsLeftOut) {
  const auto fired = [&](const std::string& firing) {
    const auto reader = mFiles.open(START + R"({"step":1,"fired":[)" + firing + "]}\n");
    Step step;
    EXPECT_TRUE(reader->next(step));
    return step.fired.at(0);
  };
  EXPECT_TRUE(fired(R"({"label":"S/c/a:p","connector":-1,"ports":[-1]})").ports.empty());
  EXPECT_TRUE(fired(R"({"label":"S/c/a:p|a:q","connector":0,"ports":[-1]})").ports.empty());
  const Firing unknown = fired(R"({"label":"S/c/sub:all","connector":0,"ports":[-1]})");
  EXPECT_EQ(1u, unknown.ports.size());
  EXPECT_TRUE(unknown.exported.empty());
}

TEST_F(RecordingReaderTest, APortNeedsAnAtom) {
  const auto startOf = [](const std::string& port) {
    return R"({"vesk-recording":1,"atoms":["S/a"],"ports":[")" + port +
           R"("],"connectors":[],"states":[]})"
           "\n";
  };
  EXPECT_EQ("", faultOf(startOf("S/a.p")));
  EXPECT_EQ("", faultOf(startOf("S/a.p.q"))) << "a name may have dots";
  for (const char* port : {"S/a", "S/b.p", ".p", "..p", "p"}) {
    EXPECT_NE("", faultOf(startOf(port))) << port;
  }
}

}  // namespace
