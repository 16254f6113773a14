// What is recorded of steps that whole programs do not take.
#include "recorder.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "kit/output.hpp"
#include "kit/schedulers.hpp"
#include "kit/systems.hpp"
#include "recording-file.hpp"

using namespace kit;

using Vesk::Time;
using Vesk::Inspect::Recorder;
using Vesk::Inspect::RecordingFile;

namespace {

using Json = nlohmann::ordered_json;

class RecorderTest : public testing::Test {
 protected:
  std::vector<Json> lines() const {
    std::vector<Json> result;
    std::istringstream text(mFolder.content("run"));
    for (std::string line; std::getline(text, line);) result.push_back(Json::parse(line));
    return result;
  }

  Folder mFolder;
  RecordingFile mFile{mFolder.name("run")};
  Recorder recorder{mFile, "m", {}};
  System system{"s"};
};

}  // namespace

TEST_F(RecorderTest, AConnectorThatIsImpossibleAtTimeZeroFiresNoPort) {
  TestAtom* a = system.atom("A");
  TestConnector* later = system.rendezvous("later", a->enabled("p", a->within(Time(5), Time(9))));
  TestConnector* never = system.rendezvous("never", a->port("q"));
  TestConnector* now = system.rendezvous("now", a->enabled("r", a->within(Time(0), Time(9))));
  recorder.started(system, nullptr);
  recorder.stepBegins(system.activate(true), nullptr);
  for (TestConnector* connector : {later, never, now}) recorder.firing(*connector);
  recorder.stepEnds();
  recorder.finish();
  const Json fired = lines().at(1)["fired"];
  ASSERT_EQ(3u, fired.size());
  EXPECT_EQ(Json::array(), fired[0]["ports"]);
  EXPECT_EQ(Json::array(), fired[1]["ports"]);
  EXPECT_EQ(Json::array({2}), fired[2]["ports"]);
}

namespace {

// A constraint over a clock that was reset at 100, and one over none.
class RecorderIntervalsTest : public RecorderTest {
 protected:
  RecorderIntervalsTest() {
    clock.wait(Time(100));
    TestAtom* a = system.atom("A");
    auto* own = new Clock("own", clock);
    a->clocks().add(own);
    own->reset();
    auto* since = new Constraint(own, Time(5), Time(9), EAGER);
    a->constraints().add(since);
    system.rendezvous("k", a->enabled("p", a->within(Time(5), Time(9))));
    system.rendezvous("m", a->enabled("q", since));
  }
  Json enabledIn(LogicalClock* logical) {
    system.setClock(logical);  // as a run does
    recorder.started(system, logical);
    recorder.stepBegins(system.activate(false), nullptr);
    recorder.stepEnds();
    recorder.finish();
    return lines().at(1)["enabled"];
  }

  SimuClock platform{"p"};
  LogicalClock clock{"l", platform};
};

}  // namespace

TEST_F(RecorderIntervalsTest, AreInTheModelsTimeInARunWithTime) {
  const Json enabled = enabledIn(&clock);
  EXPECT_EQ(Json::parse(R"([[105,109,"eager"]])"), enabled[0]["intervals"]);
  EXPECT_EQ(Json::parse(R"([[5,9,"lazy"]])"), enabled[1]["intervals"]);
}

TEST_F(RecorderIntervalsTest, AreAsTheyStandInARunWithout) {
  const Json enabled = enabledIn(nullptr);
  EXPECT_EQ(Json::parse(R"([[5,9,"eager"]])"), enabled[0]["intervals"]);
  EXPECT_EQ(Json::parse(R"([[5,9,"lazy"]])"), enabled[1]["intervals"]);
}

TEST_F(RecorderIntervalsTest, AreAsTheyStandForAnInternalPortWithoutAClock) {
  Port* port = system.atom("B")->enabled("i", system.atom("C")->within(Time(5), Time(9)));
  port->setInternal();
  system.setClock(&clock);
  recorder.started(system, &clock);
  recorder.stepBegins(nullptr, (system.activate(false), system.internals()));
  recorder.stepEnds();
  recorder.finish();
  EXPECT_EQ(Json::parse(R"([[5,9,"lazy"]])"), lines().at(1)["enabled"].at(0)["intervals"]);
}

TEST_F(RecorderTest, NothingIsSaidOfARunThatHasNotBegun) {
  recorder.configured(&system, OpenScheduler(&system, 0, Vesk::EXECUTE));
  EXPECT_EQ("", errorsOf([this] { recorder.finish(); }));
}

TEST_F(RecorderTest, AnExplorationIsSaidNotToBeRecorded) {
  recorder.configured(&system, OpenScheduler(&system, 0, Vesk::EXPLORE));
  EXPECT_EQ("vesk: nothing is recorded of an exploration\n",
            errorsOf([this] { recorder.finish(); }));
}
