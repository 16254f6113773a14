// Runs by chance, written both as the engine would trace and as it would record them.
#ifndef VESK_TESTS_TRACE_RANDOM_HPP
#define VESK_TESTS_TRACE_RANDOM_HPP

#include <random>
#include <string>

#include "json-text.hpp"

class RandomRun {
 public:
  explicit RandomRun(unsigned seed) : mRandom(seed), mIsTimed(seed % 4 != 0) {
    begin();
    const int steps = below(12);
    for (int step = 1; step <= steps; ++step) add(step);
    finish(steps);
  }

  std::string trace;
  std::string recording;
  int firings = 0;

 private:
  using Json = Vesk::Lts::Json;

  int below(int limit) { return static_cast<int>(mRandom() % static_cast<unsigned>(limit)); }
  static std::string milliseconds(long long time) { return std::to_string(time / 1000) + "ms"; }
  std::string atom(int number) { return "A" + std::to_string(number) + mMark; }
  void addLine(const Json& json) { recording += json.dump() + "\n"; }

  void begin() {
    const char* const MARKS[] = {"", " x", "\xC3\xBC", ".", "\t\"\\"};
    mMark = MARKS[below(5)];
    mAtoms = 1 + below(4);
    Json atoms = Json::array();
    Json ports = Json::array();
    Json states = Json::array();
    for (int i = 0; i < mAtoms; ++i) {
      atoms.push_back("top/" + atom(i));
      ports.push_back("top/" + atom(i) + ".p");
      states.push_back(i % 2 == 0 ? Json("0,") : Json(nullptr));
    }
    trace = "VESK mono-threaded engine. Version: Engines: d20101124\n";
    addLine({{"vesk-recording", 1},
             {"model", "m"},
             {"root", "top"},
             {"arguments", Json::array()},
             {"mode", mIsTimed ? "timed" : "untimed"},
             {"atoms", atoms},
             {"ports", ports},
             {"connectors", {"top/c"}},
             {"states", states}});
  }

  void add(int step) {
    const long long before = mTime;
    mTime += below(3) * (1 + below(4000));
    // Only maximal synchronisation fires several connectors in a step, and no internal port.
    Json fired = Json::array();
    const int count = mIsTimed ? 1 : 1 + below(3);
    for (int i = 0; i < count; ++i) fired.push_back(fire(before));
    Json changed = Json::object();
    if (below(2) == 0) changed["0"] = std::to_string(step) + ",";
    Json line = {{"step", step},   {"before", nullptr},  {"time", nullptr},
                 {"fired", fired}, {"changed", changed}, {"enabled", Json::array()}};
    if (mIsTimed) line["before"] = before;
    if (mIsTimed) line["time"] = mTime;
    addLine(line);
  }

  Json fire(long long before) {
    const bool isInternal = mIsTimed && below(3) == 0;
    Json ports = Json::array();
    std::string label;
    for (int i = 0; i < (isInternal ? 1 : mAtoms); ++i) {
      const int chosen = isInternal ? below(mAtoms) : i;
      ports.push_back(chosen);
      label += (label.empty() ? "" : "|") + atom(chosen) + ":p";
    }
    if (!isInternal) label = "top/c/" + label;
    traceLine(label, before);
    ++firings;
    return {{"label", label}, {"connector", isInternal ? -1 : 0}, {"ports", ports}};
  }

  void traceLine(const std::string& label, long long before) {
    if (!mIsTimed) {
      trace += "scheduler : " + label + "\n";
      return;
    }
    trace += "scheduler [" + milliseconds(before) + "] ";
    if (before < mTime) trace += ", wait for " + milliseconds(mTime) + ", ";
    trace += label + " delayable (" + milliseconds(mTime) + ",_)\n";
  }

  void finish(int steps) {
    Json end = {{"end", "limit"}, {"text", nullptr}, {"steps", steps}, {"time", nullptr}};
    if (mIsTimed) end["time"] = mTime;
    if (below(2) == 0) {
      end["end"] = "deadlock";
      end["text"] =
          mIsTimed ? "scheduler [" + milliseconds(mTime) + "] deadlock!" : "scheduler : deadlock";
      trace += end["text"].get<std::string>() + "\n";
    }
    addLine(end);
  }

  std::mt19937 mRandom;
  bool mIsTimed;
  std::string mMark;
  int mAtoms = 1;
  long long mTime = 0;
};

#endif
