// Executables and clocks that do what a test tells them and record what they are asked.
#ifndef VESK_TESTS_KIT_SCRIPTED_HPP
#define VESK_TESTS_KIT_SCRIPTED_HPP

#include <cstddef>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kit/atoms.hpp"
#include "vesk.hpp"

namespace kit {

using Log = Events;

// "name.operation(microseconds)".
inline std::string entry(const std::string& name, const char* operation, const Vesk::Time& t) {
  return name + "." + operation + "(" + std::to_string(t.microseconds()) + ")";
}

// When a scripted executable is enabled, and by when it must fire.
struct Window {
  Vesk::Time from = Vesk::Time(0);
  Vesk::Time until = Vesk::Time::MAX;
  Vesk::Time due = Vesk::Time::MAX;
};

// An executable that is enabled from .. until and must fire by due, whatever its ports and its
// constraint say.
template <class Base>
class Scripted : public Base {
 public:
  template <class... Arguments>
  Scripted(const char* name, const Window& times, Log* log, const Arguments&... arguments)
      : Base(arguments...), window(times), mLabel(name), mLog(log) {}

  char* label() override { return &mLabel[0]; }
  void actuate(const Vesk::Time& t) override { record("actuate", t); }
  void execute(const Vesk::Time& t) override {
    record("execute", t);
    if (onExecute) onExecute();
  }
  Vesk::Time deadline(const Vesk::Time& t) const override {
    record("deadline", t);
    return window.due;
  }
  Vesk::Time next(const Vesk::Time& t) const override {
    record("next", t);
    if (t < window.from) return window.from;
    return t <= window.until ? t : Vesk::Time::MAX;
  }
  GenericClock* displayClock() const override { return nullptr; }

  Window window;
  std::function<void()> onExecute;

 private:
  void record(const char* operation, const Vesk::Time& t) const {
    if (mLog != nullptr) mLog->push_back(entry(mLabel, operation, t));
  }

  std::string mLabel;
  Log* mLog;
};

// An interaction of a connector, outside the table.
class ScriptedInteraction : public Scripted<Interaction> {
 public:
  ScriptedInteraction(const Connector& connector, const char* name, const Window& times = {},
                      Log* log = nullptr)
      : Scripted<Interaction>(name, times, log, &connector, BitVector::EMPTY) {}
};

// An internal port that is announced for ever.
class ScriptedPort : public Scripted<Port> {
 public:
  explicit ScriptedPort(const char* name, const Window& times = {}, Log* log = nullptr,
                        const Atom* holder = nullptr)
      : Scripted<Port>(name, times, log, name, holder) {
    setInternal();
    setSynced(true);
    useOwnConstraint(nullptr);
  }
};

// An atom whose scripted ports come into the compound's list of internal ports by themselves. The
// list has the port added last in front.
class ScriptedAtom : public Atom {
 public:
  explicit ScriptedAtom(Compound& holder) : Atom("atom", &holder) { holder.components().add(this); }

  ScriptedPort& add(const char* name, const Window& times = {}, Log* log = nullptr) {
    ScriptedPort* port = new ScriptedPort(name, times, log, this);
    addPort(port);
    return *port;
  }
  void initialize(LogicalClock* clock) override {
    initializedWith = clock;
    ++initializations;
  }
  void execute(Port*) override {}
  Node* getState() override { return nullptr; }
  void setState(Node*) override {}

  LogicalClock* initializedWith = nullptr;
  int initializations = 0;
};

// A platform clock that gives the scripted readings in turn and then the last one again and again.
// Waiting makes the waited-for time the only reading, unless it is stuck.
class ScriptedClock : public PlatformClock {
 public:
  explicit ScriptedClock(std::vector<Vesk::Time> times = {Vesk::Time(0)}, Log* log = nullptr)
      : PlatformClock("scripted"), readings(std::move(times)), mNext(0), mLog(log) {}

  Vesk::Time time() const override {
    const Vesk::Time reading = readings[mNext];
    if (mNext + 1 < readings.size()) ++mNext;
    if (mLog != nullptr) mLog->push_back(entry("platform", "time", reading));
    return reading;
  }
  void wait(const Vesk::Time& t) override {
    if (mLog != nullptr) mLog->push_back(entry("platform", "wait", t));
    if (!stuck) set({t});
  }
  void set(std::vector<Vesk::Time> times) {
    readings = std::move(times);
    mNext = 0;
  }

  std::vector<Vesk::Time> readings;
  bool stuck = false;

 private:
  mutable std::size_t mNext;
  Log* mLog;
};

}  // namespace kit

#endif
