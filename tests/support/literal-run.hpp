// Runs in their plainest form: in every step the whole tree is walked, every executable is asked,
// and nothing is kept from one step to the next. What the engine does is compared with it.
#ifndef VESK_TESTS_LITERAL_RUN_HPP
#define VESK_TESTS_LITERAL_RUN_HPP

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "kit/lists.hpp"
#include "literal-activation.hpp"
#include "vesk.hpp"

namespace kit::literal {

using Vesk::Time;

enum class Policy { DEADLINE, DELTA, EVERYTHING, RANDOM, DIALOGUE };

// Told of each step: what is enabled before any filter, and what fires when the filters and the
// policy are done.
struct Watcher {
  std::function<void(Connector*, Port*)> begins;
  std::function<void(Executable&, Time)> fires;
  std::function<void(Connector&)> firesWithoutTime;
};

// With time.
class TimedRun {
 public:
  // Delta is the margin of the policy of that name.
  TimedRun(Compound& system, LogicalClock& clock, PlatformClock& platform, Policy policy,
           Time delta, unsigned int limit, std::ostream& trace, int seed, Time maxDrift,
           const Watcher& watcher)
      : mSystem(system),
        mClock(clock),
        mPlatform(platform),
        mPolicy(policy),
        mDelta(delta),
        mLimit(limit),
        mTrace(trace),
        mSeed(policy == Policy::DIALOGUE ? 1 : seed),
        mMaxDrift(maxDrift),
        mWatcher(watcher) {}

  void run() {
    mSystem.setup(nullptr);
    mSystem.initialize(&mClock);
    std::srand(static_cast<unsigned int>(mSeed));
    while (step()) {
    }
  }

 private:
  static constexpr unsigned int CLOSED = 1;
  static constexpr unsigned int LATER = 2;

  bool step() {
    Connector* legals = activate(mSystem, true);
    take(legals, mSystem.internals());
    mWatcher.begins(legals, mSystem.internals());
    mTrace << "scheduler [" << mClock.time();
    mLow = mClock.time();
    mHigh = Time::MAX;
    applySemantics();
    if (left().empty()) return end("] deadlock!");
    catchUp();
    mTrace << "] ";
    if (mHigh < mClock.time()) {
      mTrace << "urgency violated! (at least one transition is urgent at " << mHigh;
      return end(")");
    }
    const Time drift = mClock.drift(&mPlatform);
    if (drift > mMaxDrift) {
      mTrace << "too much drift beetween logical clock and real-time clock! (drift is " << drift;
      return end(")");
    }
    schedule();
    choose();
    if (mChoice == nullptr) {
      return end(
          "Interactions computation error: deadlock found that does not exist! (there is an engine "
          "bug)");
    }
    fire();
    return !limitReached();
  }

  bool end(const char* text) {
    mTrace << text << std::endl;
    return false;
  }

  void take(Connector* legals, Port* internals) {
    mAll.clear();
    for (Connector* legal : listOf(legals)) {
      for (Interaction* feasible : listOf(legal->feasibleInter())) mAll.push_back(feasible);
    }
    for (Port* port : listOf(internals)) mAll.push_back(port);
    mAll.erase(std::remove_if(mAll.begin(), mAll.end(),
                              [](Executable* executable) { return executable->dominated(); }),
               mAll.end());
    for (Executable* executable : mAll) executable->setMark(0);
  }

  std::vector<Executable*> visible(unsigned int mask) const {
    std::vector<Executable*> result;
    for (Executable* executable : mAll) {
      if ((executable->mark() & mask) == 0) result.push_back(executable);
    }
    return result;
  }
  std::vector<Executable*> left() const { return visible(~0u); }

  void applySemantics() {
    const std::vector<Executable*> asked = visible(CLOSED);
    for (Executable* one : asked) mHigh = std::min(mHigh, one->deadline(mLow));
    for (Executable* one : asked) {
      const Time next = one->next(mLow);
      if (next == Time::MAX || next > mHigh) one->setMark(one->mark() | CLOSED);
    }
  }

  void catchUp() {
    const Time now = mClock.time();
    if (mHigh > now) {
      mClock.update();
      mLow = mClock.time();
      applySemantics();
      if (mClock.time() != now) mTrace << "-> " << mClock.time();
    } else {
      const Time platform = mPlatform.time();
      if (platform != now) mTrace << " (platform=" << platform << ")";
    }
  }

  void schedule() {
    if (mPolicy != Policy::DEADLINE && mPolicy != Policy::DELTA) return;
    const std::vector<Executable*> asked = visible(CLOSED | LATER);
    std::pair<Time, Time> urgent(Time::MAX, Time::MAX);   // deadline, next
    std::pair<Time, Time> soonest(Time::MAX, Time::MAX);  // next, deadline
    for (Executable* one : asked) {
      const Time next = one->next(mLow);
      const Time deadline = one->deadline(mLow);
      urgent = std::min(urgent, std::make_pair(deadline, next));
      soonest = std::min(soonest, std::make_pair(next, deadline));
    }
    const bool margin = mPolicy == Policy::DELTA && mDelta != Time::MAX;
    if (margin && soonest.first + mDelta < urgent.first) {
      urgent = {soonest.second, soonest.first};
    }
    for (Executable* one : asked) {
      if (one->next(mLow) > urgent.second || one->deadline(mLow) > urgent.first) {
        one->setMark(one->mark() | LATER);
      }
    }
  }

  static long double fraction() { return std::rand() / 2147483648.0L; }

  void choose() {
    if (mPolicy == Policy::DIALOGUE) return ask();
    if (mPolicy == Policy::RANDOM) {
      const Time width = mHigh - mLow;
      const long double offset = fraction() * width.microseconds();
      mLow = mLow + Time(static_cast<long long>(offset));
      applySemantics();
    }
    mChoice = nullptr;
    mTime = mLow;
    const std::vector<Executable*> candidates = left();
    if (candidates.empty()) return;
    const auto index = static_cast<std::size_t>(candidates.size() * fraction());
    mChoice = candidates[index];
    mTime = mChoice->next(mLow);
  }

  void ask() {
    mChoice = nullptr;
    mTime = mLow;
    Time chosen;
    if (!askTime(chosen)) return;
    mClock.wait(chosen);
    mLow = mTime = chosen;
    applySemantics();
    std::cout << "List of legal interactions or internal ports at " << chosen << ":\n";
    const std::vector<Executable*> rows = left();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      std::cout << "[" << i + 1 << "]    " << rows[i] << "\n";
    }
    const long long number = askNumber(static_cast<long long>(rows.size()));
    if (number < 1 || number > static_cast<long long>(rows.size())) return;
    mChoice = rows[static_cast<std::size_t>(number - 1)];
    mTime = mChoice->next(chosen);
  }

  bool askTime(Time& chosen) {
    const Interval wait(mLow, mHigh, LAZY, false, true);
    for (;;) {
      std::cout << "Enter a new value for current time in " << wait << ": " << std::flush;
      std::string word;
      if (!(std::cin >> word)) return false;
      if (refused(word, "Debug options not supported yet!\n")) continue;
      if (word[0] == 'r') {
        const Time width = mHigh - mLow;
        const long double offset = (width.microseconds() + 1.0L) * fraction();
        chosen = mLow + Time(static_cast<long long>(offset));
        std::cout << "  random choice: " << chosen << "\n";
        return true;
      }
      chosen = Time(1000 * std::atoll(word.c_str()));
      if (mLow <= chosen && chosen <= mHigh) return true;
      std::cout << "Invalid choice!\n";
    }
  }

  static long long askNumber(long long rows) {
    for (;;) {
      std::cout << "Enter interaction or internal port number (hit 0 to exit): " << std::flush;
      std::string word;
      if (!(std::cin >> word)) return 0;
      if (refused(word, "Not supported yet!\n")) continue;
      long long number = std::atoll(word.c_str());
      if (word[0] == 'r') {
        number = static_cast<long long>(rows * fraction() + 1);
        std::cout << "  random choice: " << number << "\n";
        return number;
      }
      if (0 <= number && number <= rows) return number;
      std::cout << "Invalid choice!\n";
    }
  }

  static bool refused(const std::string& word, const char* text) {
    if (word[0] != 'c' && word[0] != 'p' && word[0] != 'l') return false;
    std::string operand;
    if (word[0] != 'l') std::cin >> operand;
    std::cout << text;
    return true;
  }

  void fire() {
    if (mClock.time() < mTime) {
      mTrace << ", wait for " << mTime << ", ";
      mClock.wait(mTime);
    }
    mTrace << mChoice << std::endl;
    mWatcher.fires(*mChoice, mTime);
    mChoice->actuate(mTime);
    mChoice->execute(mTime);
  }

  bool limitReached() {
    if (mLimit == 0 || ++mSteps != mLimit) return false;
    mTrace << "Execution limit size (" << mSteps;
    return !end(") reached!");
  }

  Compound& mSystem;
  LogicalClock& mClock;
  PlatformClock& mPlatform;
  const Policy mPolicy;
  const Time mDelta;
  const unsigned int mLimit;
  std::ostream& mTrace;
  const int mSeed;
  const Time mMaxDrift;
  const Watcher& mWatcher;
  std::vector<Executable*> mAll;  // in the order of the lists, without those that are dominated
  Time mLow;
  Time mHigh;
  Executable* mChoice = nullptr;
  Time mTime;
  unsigned int mSteps = 0;
};

// Without time: every step fires all legal connectors.
inline void runMaximalSteps(Compound& system, unsigned int limit, std::ostream& trace,
                            const Watcher& watcher) {
  system.initialize(nullptr);
  unsigned int fired = 0;
  for (;;) {
    Connector* legal = activate(system, true);
    watcher.begins(legal, nullptr);
    if (legal == nullptr || legal->dominated()) {
      trace << "scheduler : deadlock" << std::endl;
      return;
    }
    for (; legal != nullptr && !legal->dominated(); legal = legal->next()) {
      trace << "scheduler : " << legal->label() << std::endl;
      watcher.firesWithoutTime(*legal);
      legal->execute();
      if (++fired == limit) return;
    }
  }
}

}  // namespace kit::literal

#endif
