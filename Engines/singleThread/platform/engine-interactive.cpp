// The dialogue in which the user chooses the time of a step and what fires.
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <string>

#include "clock.hpp"
#include "engine.hpp"
#include "filter.hpp"
#include "input-watch.hpp"
#include "plain-output.hpp"
#include "random-draw.hpp"
#include "selection.hpp"

namespace {

constexpr char ASK_TIME[] = "Enter a new value for current time in ";
constexpr char ASK_TIME_END[] = ": ";
constexpr char NO_DEBUG_OPTIONS[] = "Debug options not supported yet!\n";
constexpr char LIST[] = "List of legal interactions or internal ports at ";
constexpr char LIST_END[] = ":\n";
constexpr char ROW[] = "[";
constexpr char ROW_NUMBER_END[] = "]    ";
constexpr char ASK_NUMBER[] = "Enter interaction or internal port number (hit 0 to exit): ";
constexpr char NOT_SUPPORTED[] = "Not supported yet!\n";
constexpr char RANDOM_CHOICE[] = "  random choice: ";
constexpr char INVALID[] = "Invalid choice!\n";

constexpr int IGNORED_SEED = 1;

// The number that a whole word spells; false when it spells none or one beyond 64 bits.
bool parse(const std::string& word, long long& number) {
  char* end = nullptr;
  errno = 0;
  number = std::strtoll(word.c_str(), &end, 10);
  return end == word.c_str() + word.size() && errno == 0;
}

// The time of so many milliseconds; false for those beyond 64 bits of microseconds.
bool toTime(long long milliseconds, Vesk::Time& time) {
  constexpr long long LIMIT = 0x7FFFFFFFFFFFFFFFLL / 1000;
  if (milliseconds < -LIMIT || milliseconds > LIMIT) return false;
  time = Vesk::Time(milliseconds * 1000);
  return true;
}

// False at the end of input.
bool readWord(std::string& word) {
  const Vesk::InputWatch watch;
  return static_cast<bool>(std::cin >> word);
}

// Writes a question and reads a word of the answer. False at the end of input.
template <class Question>
bool ask(const Question& question, std::string& word) {
  question(Vesk::PlainOutput(std::cout));
  std::cout << std::flush;
  return readWord(word);
}

// Refuses the commands `c`, `p` and `l`, which only the single-step console obeys, and skips the
// operand of the first two. False for any other word.
bool refuseDebugWord(const std::string& word, const char* refusal) {
  if (word[0] != 'c' && word[0] != 'p' && word[0] != 'l') return false;
  std::string operand;
  if (word[0] != 'l') readWord(operand);
  Vesk::PlainOutput(std::cout) << refusal;
  return true;
}

}  // namespace

InteractiveExecuter::InteractiveExecuter(Compound& system, LogicalClock& clock, Filter& semantics,
                                         Filter& scheduler, bool quiet, unsigned int maxSimLimit,
                                         std::ostream& simout, Vesk::Time maxDrift)
    : Executer(system, clock, semantics, scheduler, quiet, maxSimLimit, simout, IGNORED_SEED,
               maxDrift) {}

// For classes of a program: a selection that knows no policy asks the filters.
void InteractiveExecuter::choose() {
  Vesk::Selection walk({system(), logicalClock(), interactions(), wait(), semantics(), scheduler()},
                       false);
  askFor(walk);
}

void InteractiveExecuter::askFor(Vesk::Selection& selection) {
  setChoice(nullptr);
  setTime(wait().low());
  Vesk::Time chosen;
  if (!askTime(chosen)) return;
  logicalClock().wait(chosen);
  wait().setLow(chosen);
  selection.applySemantics();
  setTime(chosen);
  const int rows = listExecutables(selection);
  int number = 0;
  if (!askNumber(rows, number) || number < 1 || number > rows) return;
  setChoice(selection.left()[static_cast<std::size_t>(number - 1)]);
  setTime(choice()->next(chosen));
}

bool InteractiveExecuter::askTime(Vesk::Time& chosen) {
  const auto question = [this](const Vesk::PlainOutput& out) {
    out << ASK_TIME << wait() << ASK_TIME_END;
  };
  std::string word;
  while (ask(question, word)) {
    if (refuseDebugWord(word, NO_DEBUG_OPTIONS)) continue;
    if (word[0] == 'r') {
      chosen = randomTime();
      Vesk::PlainOutput(std::cout) << RANDOM_CHOICE << chosen << '\n';
      return true;
    }
    long long milliseconds = 0;
    if (parse(word, milliseconds) && toTime(milliseconds, chosen) && wait().in(chosen)) return true;
    Vesk::PlainOutput(std::cout) << INVALID;
  }
  return false;
}

// Deliberate: the width is one unit larger than that of RandomExecuter, so the latest possible time
// can be drawn, and a seed gives the times that it has always given.
// (docs/decisions/0013-the-latest-time-of-a-random-draw.md)
Vesk::Time InteractiveExecuter::randomTime() {
  const Vesk::Time width = wait().high() - wait().low();
  const long double offset = (width.microseconds() + 1.0L) * randomFraction();
  return wait().low() + Vesk::Time(static_cast<long long>(offset));
}

// Writes the rows of the second question and returns their number.
int InteractiveExecuter::listExecutables(Vesk::Selection& selection) {
  const Vesk::PlainOutput plain(std::cout);
  plain << LIST << time() << LIST_END;
  selection.collectLeft();
  int rows = 0;
  for (Executable* row : selection.left()) plain << ROW << ++rows << ROW_NUMBER_END << row << '\n';
  return rows;
}

bool InteractiveExecuter::askNumber(int rows, int& number) {
  const auto question = [](const Vesk::PlainOutput& out) { out << ASK_NUMBER; };
  std::string word;
  while (ask(question, word)) {
    if (refuseDebugWord(word, NOT_SUPPORTED)) continue;
    if (word[0] == 'r') {
      number = 1 + static_cast<int>(Vesk::RandomDraw().of(rows));
      Vesk::PlainOutput(std::cout) << RANDOM_CHOICE << number << '\n';
      return true;
    }
    long long answer = 0;
    if (parse(word, answer) && answer >= 0 && answer <= rows) {
      number = static_cast<int>(answer);
      return true;
    }
    Vesk::PlainOutput(std::cout) << INVALID;
  }
  return false;
}
