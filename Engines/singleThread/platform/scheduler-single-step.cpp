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
#include "scheduler.hpp"

namespace {

constexpr char LIST_TITLE[] = "List of legal connectors are : \n";
constexpr char LIST_LINE[] = "[%d]    %s\n";
constexpr char PROMPT[] = "Enter connector number (Hit 0 to exit) : ";
constexpr char INVALID[] = "Invalid choice\n";
constexpr char FIRED[] = "scheduler : %s\n";
constexpr char GOODBYE[] = "Exiting ...\n\n";

constexpr int ASK_AGAIN = -1;

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
  for (;;) {
    mLegal = mSystem->activate(true);
    mConnectorChoice = userChoose();
    if (mConnectorChoice == nullptr) break;
    if (!mQuiet) std::printf(FIRED, mConnectorChoice->label());
    mConnectorChoice->execute();
  }
  std::printf("%s", GOODBYE);
}

// The end of the input, also in the middle of a command, ends the run as 0 does.
Connector* Scheduler::userChoose() const {
  const int count = list(mLegal);
  int number = ASK_AGAIN;
  std::string word;
  while (number < 0) {
    std::printf("%s", PROMPT);
    std::fflush(stdout);
    if (!readWord(word)) return nullptr;
    switch (word[0]) {
      case 'r':
        return choose();
      case 'p':
        if (!readWord(word)) return nullptr;
        displayElement(word.data());
        break;
      case 'l':
        displayList(word.data());
        break;
      case 'c':
        if (!readWord(word)) return nullptr;
        setCurrent(word.data());
        break;
      default:
        number = parseNumber(word);
    }
  }
  if (number > count) std::printf("%s", INVALID);
  if (number > count || number == 0) return nullptr;
  return undominated(mLegal, number);
}
