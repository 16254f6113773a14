#include "run-summary.hpp"

#include <algorithm>

#include "printable.hpp"

namespace Vesk::Traces {

namespace {

using Lts::Json;
using Lts::padded;
using Lts::printable;
using Lts::rightAligned;

constexpr std::size_t BAR = 40;  // columns of the longest one
const char* const CUT_TIMES = "whole milliseconds: the trace has no microseconds";
const char* const EXPORTED = "a recording does not tell which ports fire below an exported one";
const char* const NO_NAMES = "a trace does not tell what never fires: a recording does";

// The bucket of a wait: 0 for none, 1 below 1 ms, then one for each power of ten.
std::size_t bucketOf(Moment wait, std::size_t buckets) {
  if (wait <= 0) return 0;
  std::size_t bucket = 1;
  for (Moment limit = MILLISECOND; wait >= limit && bucket + 1 < buckets; limit *= 10) ++bucket;
  return bucket;
}

// The milliseconds that a bucket goes up to, not included.
std::string limitOf(std::size_t bucket) {
  return "1" + std::string(bucket - 1, '0');
}

std::string bucketText(std::size_t bucket) {
  return bucket == 0 ? "no wait" : "below " + limitOf(bucket) + " ms";
}

void count(std::vector<std::uint64_t>& counts, std::size_t number) {
  if (number >= counts.size()) counts.resize(number + 1);
  ++counts[number];
}

std::uint64_t countOf(const std::vector<std::uint64_t>& counts, std::size_t number) {
  return number < counts.size() ? counts[number] : 0;
}

// A title and a line for each, with a word for what has not fired.
template <class Counts>
std::string countsText(const std::string& title, const Counts& counts, const char* never) {
  if (counts.empty()) return "";
  std::size_t width = title.size();
  for (const auto& entry : counts) width = std::max(width, Lts::columns(entry.name));
  std::string text = "\n" + padded(title, width) + "     fired\n";
  for (const auto& entry : counts) {
    text += padded(entry.name, width) + rightAligned(entry.fired, 10);
    text += entry.fired == 0 ? std::string("  ") + never + "\n" : "\n";
  }
  return text;
}

template <class Counts>
void sortByCount(Counts& counts) {
  std::stable_sort(counts.begin(), counts.end(),
                   [](const auto& a, const auto& b) { return a.fired > b.fired; });
}

template <class Counts>
Json countsJson(const Counts& counts) {
  Json json = Json::object();
  for (const auto& entry : counts) json[entry.name] = entry.fired;
  return json;
}

template <class Counts>
void addNever(Json& json, const Counts& counts) {
  for (const auto& entry : counts) {
    if (entry.fired == 0) json.push_back(entry.name);
  }
}

}  // namespace

void Summary::step(const Run& run, const Step& step) {
  ++mSteps;
  mEnding.see(step);
  if (mSteps == 1) mFirst = step.before;
  if (step.time && *step.time != FOREVER) mLast = step.time;
  addWait(step);
  for (const Firing& firing : step.fired) {
    ++mFired;
    if (firing.connector) count(mConnectorCounts, *firing.connector);
    for (std::size_t connector : firing.exported) count(mConnectorCounts, connector);
    mHasExported = mHasExported || !firing.exported.empty();
    for (std::size_t port : firing.ports) count(mPortCounts, port);
  }
  static_cast<void>(run);
}

void Summary::addWait(const Step& step) {
  if (!step.before || !step.time || *step.time == FOREVER || *step.before == FOREVER) return;
  const Moment wait = std::max<Moment>(0, *step.time - *step.before);
  ++mWaits[bucketOf(wait, WAITS)];
  ++mWaitCount;
  mWaitSum += static_cast<std::uint64_t>(wait);
  mLongestWait = std::max(mLongestWait, wait);
}

void Summary::end(const Run& run, const End& end) {
  mFile = run.file;
  mModel = run.model;
  mIsRecording = run.isRecording;
  mOtherLines = run.otherLines;
  mEnd = end;
  mEndText = mEnding.text(run, end);
  if (end.time && *end.time != FOREVER) {
    if (!mFirst) mFirst = end.time;
    mLast = end.time;
  }
  takeCounts(run);
}

void Summary::takeCounts(const Run& run) {
  const auto& connectors = run.names.connectors();
  for (std::size_t i = 0; i < connectors.size(); ++i) {
    mConnectors.push_back({printable(connectors[i]), countOf(mConnectorCounts, i)});
  }
  for (std::size_t i = 0; i < run.names.ports().size(); ++i) {
    mPorts.push_back({printable(run.names.portText(i)), countOf(mPortCounts, i)});
  }
  sortByCount(mConnectors);
  sortByCount(mPorts);
}

std::string Summary::kind() const {
  return mIsRecording ? "a recording of " + printable(mModel) : "a trace";
}

std::string Summary::timeLine() const {
  if (!mFirst || !mLast) return "none: the run has no time";
  return millisecondsText(*mLast - *mFirst, mIsRecording) + " ms, from " +
         millisecondsText(*mFirst, mIsRecording) + " to " + millisecondsText(*mLast, mIsRecording);
}

std::string Summary::text() const {
  std::string text = "file        : " + printable(mFile) + ", " + kind() + "\n";
  text += "steps       : " + std::to_string(mSteps) + "\n";
  if (mFired != mSteps) text += "fired       : " + std::to_string(mFired) + "\n";
  text += "time        : " + timeLine() + "\n";
  if (mFirst && !mIsRecording) text += std::string("times       : ") + CUT_TIMES + "\n";
  text += "end         : " + mEndText + "\n";
  if (mOtherLines != 0) text += "other lines : " + std::to_string(mOtherLines) + "\n";
  text += countsText("connector", mConnectors, "never");
  text += countsText("port", mPorts, mHasExported ? "not seen" : "never");
  text += waitsText();
  if (!mIsRecording) text += std::string("\n") + NO_NAMES + "\n";
  if (mHasExported) text += std::string("\n") + EXPORTED + "\n";
  return text;
}

std::string Summary::waitsText() const {
  if (mWaitCount == 0) return "";
  const auto mean = static_cast<Moment>(mWaitSum / mWaitCount);
  std::string text = "\nwait for a step     steps   (mean " + millisecondsText(mean, true) +
                     " ms, longest " + millisecondsText(mLongestWait, mIsRecording) + " ms)\n";
  const std::uint64_t most = *std::max_element(mWaits.begin(), mWaits.end());
  for (std::size_t bucket = 0; bucket < WAITS; ++bucket) {
    if (mWaits[bucket] == 0) continue;
    const auto bar = static_cast<std::size_t>((mWaits[bucket] * BAR + most - 1) / most);
    text += padded(bucketText(bucket), 16) + rightAligned(mWaits[bucket], 9) + "   " +
            std::string(bar, '#') + "\n";
  }
  return text;
}

Json Summary::timesJson() const {
  if (!mFirst || !mLast) return nullptr;
  return {{"unit", "us"},
          {"exact", mIsRecording},
          {"from", *mFirst},
          {"to", *mLast},
          {"simulated", *mLast - *mFirst}};
}

Json Summary::waitsJson() const {
  Json buckets = Json::array();
  for (std::size_t bucket = 0; bucket < WAITS; ++bucket) {
    if (mWaits[bucket] == 0) continue;
    const Json below = bucket == 0 ? Json(nullptr) : Json(std::stoll(limitOf(bucket)));
    buckets.push_back({{"below_ms", below}, {"steps", mWaits[bucket]}});
  }
  return {{"steps", mWaitCount},
          {"sum_us", mWaitSum},
          {"longest_us", mLongestWait},
          {"histogram", buckets}};
}

Json Summary::json() const {
  Json never = nullptr;
  if (mIsRecording) {
    never = Json::array();
    addNever(never, mConnectors);
    if (!mHasExported) addNever(never, mPorts);
  }
  return {{"file", mFile},
          {"kind", mIsRecording ? "recording" : "trace"},
          {"model", mIsRecording ? Json(mModel) : Json(nullptr)},
          {"steps", mSteps},
          {"fired", mFired},
          {"time", timesJson()},
          {"end",
           {{"kind", mEnd.kind.empty() ? Json(nullptr) : Json(mEnd.kind)},
            {"text", mEnd.text.empty() ? Json(nullptr) : Json(mEnd.text)},
            {"time_us", mEnd.time ? Json(*mEnd.time) : Json(nullptr)},
            {"end_of_time", mEnding.isEndOfTime(mEnd)}}},
          {"other_lines", mOtherLines},
          {"connectors", countsJson(mConnectors)},
          {"ports", countsJson(mPorts)},
          {"never_fired", never},
          {"waits", waitsJson()}};
}

}  // namespace Vesk::Traces
