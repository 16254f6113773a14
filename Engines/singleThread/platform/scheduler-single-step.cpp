// Single-step execution: the user says on standard input what fires, and looks at the model's data
// between the steps.

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "chain.hpp"
#include "component.hpp"
#include "connector.hpp"
#include "input-watch.hpp"
#include "run-observer.hpp"
#include "scheduler.hpp"

namespace {

constexpr char LIST_TITLE[] = "List of legal connectors are : \n";
constexpr char LIST_LINE[] = "[%d]    %s\n";
constexpr char PROMPT[] = "Enter connector number (Hit 0 to exit) : ";
constexpr char INVALID[] = "Invalid choice\n";
constexpr char FIRED[] = "scheduler : %s\n";
constexpr char GOODBYE[] = "Exiting ...\n\n";

constexpr int ASK_AGAIN = -1;
constexpr int EXIT = 0;  // the number that ends the run

// Reads the next word, however long it is, and leaves the white space behind it unread. False at
// the end of the input.
bool readWord(std::string& word) {
  const Vesk::InputWatch watch;
  word.clear();
  int c = std::getchar();
  while (c != EOF && std::isspace(c)) c = std::getchar();
  for (; c != EOF && !std::isspace(c); c = std::getchar()) word += static_cast<char>(c);
  if (c != EOF) std::ungetc(c, stdin);
  return !word.empty();
}

// The decimal number at the start of a word; ASK_AGAIN when there is none or it fits no int.
int parseNumber(const std::string& word) {
  char* end = nullptr;
  const long long number = std::strtoll(word.c_str(), &end, 10);
  if (end == word.c_str() || number < INT_MIN || number > INT_MAX) return ASK_AGAIN;
  return static_cast<int>(number);
}

// Writes the question and reads a word of the answer. False at the end of the input.
bool ask(std::string& word) {
  std::printf("%s", PROMPT);
  std::fflush(stdout);
  return readWord(word);
}

bool isConsoleCommand(const std::string& word) {
  return word[0] == 'p' || word[0] == 'l' || word[0] == 'c';
}

// Obeys a command of the console: `p <path>`, `l` or `c <path>`. False when the input ends before
// the path.
bool obeyConsoleCommand(const Scheduler& console, std::string& word) {
  const char command = word[0];
  if (command != 'l' && !readWord(word)) return false;
  if (command == 'p') console.displayElement(word.data());
  if (command == 'l') console.displayList(word.data());
  if (command == 'c') console.setCurrent(word.data());
  return true;
}

// What the user wants to fire: a connector at random, or the one with a number.
struct Answer {
  bool atRandom;
  int number;
};

// Asks until there is an answer, and obeys the commands of the console meanwhile. The end of the
// input, also in the middle of a command, counts as EXIT.
Answer askForConnector(const Scheduler& console) {
  std::string word;
  while (ask(word)) {
    if (word[0] == 'r') return {true, 0};
    if (isConsoleCommand(word)) {
      if (!obeyConsoleCommand(console, word)) break;
      continue;
    }
    const int number = parseNumber(word);
    if (number >= 0) return {false, number};
  }
  return {false, EXIT};
}

// Prints the undominated connectors, numbered from 1, and returns how many there are.
int list(Connector* legals) {
  std::printf("%s", LIST_TITLE);
  int count = 0;
  for (Connector* legal : Vesk::Chain(legals)) {
    if (!legal->dominated()) std::printf(LIST_LINE, ++count, legal->label());
  }
  return count;
}

// The undominated connector with this number. Requires: 1 <= number <= what list() returned.
Connector* undominated(Connector* legal, int number) {
  while (legal->dominated() || --number > 0) legal = legal->next();
  return legal;
}

}  // namespace

void Scheduler::runSinglestepExecution() {
  mSystem->initialize(nullptr);
  initDebugFct();
  Vesk::tellStarted(*mSystem, nullptr);
  for (;;) {
    mLegal = mSystem->activate(true);
    Vesk::tellStep(mLegal, nullptr);
    mConnectorChoice = userChoose();
    if (mConnectorChoice == nullptr) break;
    if (!mQuiet) std::printf(FIRED, mConnectorChoice->label());
    Vesk::tellFiring(*mConnectorChoice);
    mConnectorChoice->execute();
    Vesk::tellStepEnd();
  }
  Vesk::tellEnd(Vesk::RunEnd::NO_CHOICE);
  std::printf("%s", GOODBYE);
}

// 1. Lists the connectors to choose from.
// 2. Asks which of them is to fire.
// 3. Finds that one. Null ends the run: the user has asked for it, or the number is too large.
Connector* Scheduler::userChoose() const {
  const int count = list(mLegal);
  const Answer answer = askForConnector(*this);
  if (answer.atRandom) return choose();
  if (answer.number == EXIT) return nullptr;
  if (answer.number > count) {
    std::printf("%s", INVALID);
    return nullptr;
  }
  return undominated(mLegal, answer.number);
}
