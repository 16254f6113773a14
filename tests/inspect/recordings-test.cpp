// What is recorded of a run is what its trace shows.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "kit/output.hpp"

namespace {

using Json = nlohmann::json;

constexpr char MODES[][40] = {"--limit 60", "--limit 60 --random --seed 7", "--limit 60 --opt1",
                              "--limit 60 --opt2", "--limit 3 --quiet"};

class RecordingTest : public testing::TestWithParam<std::tuple<const char*, const char*>> {
 protected:
  // Runs a model and records it; the recording line by line.
  std::vector<Json> record(const std::string& options) {
    const std::string model = std::get<0>(GetParam());
    const std::string all = "cd '" + mFolder.path() + "' && '" PROGRAMS "/" + model +
                            "-inspect' --record run.jsonl " + options + " >out 2>err </dev/null";
    EXPECT_EQ(0, std::system(all.c_str())) << mFolder.content("err");
    std::vector<Json> lines;
    std::istringstream recording(mFolder.content("run.jsonl"));
    for (std::string line; std::getline(recording, line);) lines.push_back(Json::parse(line));
    return lines;
  }

  // The labels that the trace shows, in order.
  std::vector<std::string> tracedLabels() const {
    static const std::regex TIMED(
        R"(^scheduler \[[^\]]*\] (?:, wait for [^,]*, )?(\S+[/:]\S*) .*)");
    static const std::regex UNTIMED(R"(^scheduler : (\S+/\S*)$)");
    std::vector<std::string> labels;
    std::istringstream trace(mFolder.content("out"));
    std::smatch match;
    for (std::string line; std::getline(trace, line);) {
      if (std::regex_match(line, match, TIMED) || std::regex_match(line, match, UNTIMED)) {
        labels.push_back(match[1]);
      }
    }
    return labels;
  }

  kit::Folder mFolder;
};

std::vector<std::string> recordedLabels(const std::vector<Json>& lines) {
  std::vector<std::string> labels;
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    for (const Json& fired : lines[i]["fired"]) labels.push_back(fired["label"]);
  }
  return labels;
}

// Whether an index is -1 or one of the list.
void expectIndex(const Json& index, const Json& list) {
  EXPECT_GE(index.get<long>(), -1);
  EXPECT_LT(index.get<long>(), static_cast<long>(list.size()));
}

void expectStep(const Json& step, const Json& head, Json& states) {
  for (const Json& fired : step["fired"]) {
    expectIndex(fired["connector"], head["connectors"]);
    for (const Json& port : fired["ports"]) expectIndex(port, head["ports"]);
  }
  for (const auto& [atom, text] : step["changed"].items()) {
    const std::size_t index = std::stoul(atom);
    ASSERT_LT(index, states.size());
    EXPECT_NE(states[index], text) << "is said to have changed";
    states[index] = text;
  }
  for (const Json& enabled : step["enabled"]) {
    for (const Json& interval : enabled["intervals"]) EXPECT_EQ(3u, interval.size());
  }
}

}  // namespace

TEST_P(RecordingTest, HasTheStepsOfTheTrace) {
  const std::string options = std::get<1>(GetParam());
  const std::vector<Json> lines = record(options);
  ASSERT_GE(lines.size(), 2u);
  const Json& head = lines.front();
  const Json& end = lines.back();
  EXPECT_EQ(1, head["vesk-recording"]);
  EXPECT_EQ(std::get<0>(GetParam()), head["model"]);
  EXPECT_EQ(head["atoms"].size(), head["states"].size());
  const bool untimed = options.find("--opt") != std::string::npos;
  EXPECT_EQ(untimed ? "untimed" : "timed", head["mode"]);
  if (options.find("--quiet") == std::string::npos) {
    EXPECT_EQ(tracedLabels(), recordedLabels(lines));
  }
  EXPECT_EQ(lines.size() - 2, end["steps"]);
  EXPECT_EQ(untimed, end["time"].is_null());
}

// What fires was enabled, what is said to have changed has, and time goes forward.
TEST_P(RecordingTest, HasStepsThatFitTogether) {
  const std::vector<Json> lines = record(std::get<1>(GetParam()));
  const Json& head = lines.front();
  Json states = head["states"];
  long long now = 0;
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    const Json& step = lines[i];
    EXPECT_EQ(i, step["step"]);
    ASSERT_FALSE(step["fired"].empty());
    expectStep(step, head, states);
    if (head["mode"] == "untimed") continue;
    EXPECT_LE(now, step["before"].get<long long>());
    EXPECT_LE(step["before"], step["time"]);
    now = step["time"];
    bool wasEnabled = false;
    for (const Json& enabled : step["enabled"]) {
      wasEnabled = wasEnabled || enabled["label"] == step["fired"][0]["label"];
    }
    EXPECT_TRUE(wasEnabled) << step;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Examples, RecordingTest,
    testing::Combine(
        testing::Values("broadcast-bus", "counters", "gateway", "gear-box", "heartbeat", "markers",
                        "periodic-tasks", "philosophers", "priority-mutex", "producer-consumer",
                        "timed-broadcast", "timed-internal", "token-ring", "traffic-light"),
        testing::ValuesIn(std::vector<const char*>(std::begin(MODES), std::end(MODES)))));

// ---- The ends of a recording -----------------------------------------------------------------

class RecordingEndTest : public testing::Test {
 protected:
  Json endOf(const std::string& command) {
    const std::string all = "cd '" + mFolder.path() +
                            "' && PATH='" PROGRAMS "':'" MODELS "':$PATH && { " + command +
                            "; } >out 2>err";
    mStatus = std::system(all.c_str());
    std::istringstream recording(mFolder.content("run.jsonl"));
    std::string last;
    for (std::string line; std::getline(recording, line);) last = line;
    return Json::parse(last);
  }

  kit::Folder mFolder;
  int mStatus = 0;
};

TEST_F(RecordingEndTest, ASignalIsTheEndOfARecordingThatIsWholeBeforeIt) {
  const Json end = endOf(
      "token-ring-inspect --record run.jsonl --quiet & "
      "while [ ! -s run.jsonl ]; do sleep 0.01; done; kill -TERM $!; wait $!; echo $? >status");
  EXPECT_EQ("signal", end["end"]);
  EXPECT_EQ("143\n", mFolder.content("status"));
  std::istringstream recording(mFolder.content("run.jsonl"));
  std::size_t lines = 0;
  for (std::string line; std::getline(recording, line); ++lines) {
    EXPECT_TRUE(Json::accept(line)) << line;
  }
  EXPECT_EQ(lines - 2, end["steps"]);
}

TEST_F(RecordingEndTest, AnExceptionIsAnErrorWithTheStatusOfTheModel) {
  const Json end = endOf("wrong-model-inspect --record run.jsonl exception");
  EXPECT_EQ("error", end["end"]);
  EXPECT_EQ(0u, end["steps"]);
  EXPECT_EQ(3, WEXITSTATUS(mStatus));
  EXPECT_EQ("vesk: the run ends by an exception: no more\n", mFolder.content("err"));
}

TEST_F(RecordingEndTest, AnInteractiveRunThatIsLeftHasEndedByTheUser) {
  const Json end = endOf("echo 0 0 | traffic-light-inspect --record run.jsonl --interactive");
  EXPECT_EQ("quit", end["end"]);
}

TEST_F(RecordingEndTest, TheLimitAndAMissedUrgencyAreTold) {
  EXPECT_EQ("limit", endOf("token-ring-inspect --record run.jsonl --limit 2")["end"]);
  const Json end = endOf("periodic-tasks-inspect --record run.jsonl --quiet 3 200");
  EXPECT_EQ("error", end["end"]);
  EXPECT_EQ("scheduler [32ms-> 40ms] urgency violated! (at least one transition is urgent at 38ms)",
            end["text"]);
}

TEST_F(RecordingEndTest, TextsThatAreNotUtf8HaveACharacterForEachByte) {
  const std::string word = "\xE9t\xE9";
  endOf("wrong-model-inspect --record run.jsonl --limit 1 '" + word + "'");
  std::istringstream recording(mFolder.content("run.jsonl"));
  std::string head;
  std::getline(recording, head);
  EXPECT_EQ("\u00E9t\u00E9", Json::parse(head)["arguments"][2]);
}
