// The debug console of single-step execution, and the reconstruction of a path from a file of
// transitions.

#include "debug.hpp"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "component.hpp"
#include "scheduler.hpp"

VeskDebugElmt* veskCurrentDebug = nullptr;

namespace {

constexpr char NO_DEBUG_SUPPORT[] = "at least a library is not generated with debug option\n";
constexpr char NO_PATH[] = "nothing to print\n";
constexpr char NO_ELEMENT[] = "vesk: the path names no element\n";
constexpr char MISSING[] = "%s does not exist\n";
constexpr char SUB_ELEMENTS[] = "SUBELEMENTS:\n";
constexpr char VALUES[] = "VALUES:\n";
constexpr char NAME[] = "%s\n";
constexpr char VALUE[] = "%s = %s\n";
constexpr char DEPTH[] = "Error found at depth %d\n";
constexpr char INITIAL_STATE[] = "*** Initial state ***\n";
constexpr char ERROR_STATE[] = "*** Error state ***\n";

constexpr int LINE_SIZE = 1000;     // of a line of a path, with its NUL
constexpr int TRACE_LENGTH = 1000;  // entries of a path

// The scheduler that has set veskCurrentDebug last, and to what. Model code may set it as well.
const Scheduler* setter = nullptr;
VeskDebugElmt* lastSet = nullptr;

// True when the model has debug support; otherwise reports that it has none.
bool hasDebugSupport() {
  if (veskCurrentDebug != nullptr) return true;
  std::fprintf(stderr, "%s", NO_DEBUG_SUPPORT);
  std::fflush(stderr);
  return false;
}

// The components of a dotted path; empty ones are left out. A null path has none.
std::vector<std::string> split(const char* path) {
  std::vector<std::string> names;
  if (path == nullptr) return names;
  for (path += std::strspn(path, "."); *path != '\0'; path += std::strspn(path, ".")) {
    const std::size_t length = std::strcspn(path, ".");
    names.emplace_back(path, length);
    path += length;
  }
  return names;
}

// The first or the last token in a buffer, which the result points into; null when there is none.
char* firstToken(const char* text, const char* delims, std::string& buffer) {
  if (text == nullptr) return nullptr;
  text += std::strspn(text, delims);
  buffer.assign(text, std::strcspn(text, delims));
  return buffer.empty() ? nullptr : buffer.data();
}

char* lastToken(const char* text, const char* delims, std::string& buffer) {
  if (text == nullptr) return nullptr;
  const char* end = text + std::strlen(text);
  while (end != text && std::strchr(delims, end[-1]) != nullptr) --end;
  const char* start = end;
  while (start != text && std::strchr(delims, start[-1]) == nullptr) --start;
  buffer.assign(start, end);
  return buffer.empty() ? nullptr : buffer.data();
}

void printNames(const char* title, char** names) {
  std::printf("%s", title);
  if (names == nullptr) return;
  for (; *names != nullptr; ++names) std::printf(NAME, *names);
}

// The texts that an operation has given last: eight and more results stay valid side by side.
class Results {
 public:
  // Room for the next result, in the place of the oldest one.
  std::string& next() {
    mNewest = (mNewest + 1) % COUNT;
    return mTexts[mNewest];
  }

 private:
  static constexpr std::size_t COUNT = 16;
  std::string mTexts[COUNT];
  std::size_t mNewest = 0;
};

char* sourceOf(const char* line, std::string& buffer) {
  std::string part;
  return lastToken(firstToken(line, ",", part), "(", buffer);
}

char* targetOf(const char* line, std::string& buffer) {
  std::string part;
  std::string state;
  return lastToken(firstToken(lastToken(line, ",", part), ")", state), "(", buffer);
}

bool readLine(FILE* file, std::string& line) {
  char buffer[LINE_SIZE];
  if (std::fgets(buffer, LINE_SIZE, file) == nullptr) return false;
  line = buffer;
  return true;
}

// Reads the file from its start to its end; returns the number of lines, and the last one.
int countLines(FILE* file, std::string& last) {
  std::rewind(file);
  int count = 0;
  while (readLine(file, last)) ++count;
  return count;
}

}  // namespace

// ---- The console -----------------------------------------------------------------------------

void Scheduler::enterConsole(VeskDebugElmt* element) const {
  veskCurrentDebug = lastSet = element;
  setter = this;
}

// An element that somebody else has set stays.
void Scheduler::leaveConsole() const {
  if (setter != this) return;
  if (veskCurrentDebug == lastSet) veskCurrentDebug = nullptr;
  setter = nullptr;
}

void Scheduler::initDebugFct() const {
  enterConsole(dynamic_cast<VeskDebugElmt*>(mSystem));
}

void Scheduler::displayList(char*) const {
  if (!hasDebugSupport()) return;
  printNames(SUB_ELEMENTS, veskCurrentDebug->getSubElementsNames());
  printNames(VALUES, veskCurrentDebug->getValuedElementNames());
}

void Scheduler::displayElement(char* path) const {
  if (!hasDebugSupport()) return;
  std::vector<std::string> names = split(path);
  if (names.empty()) {
    std::fprintf(stderr, "%s", NO_PATH);
    return;
  }
  std::string name = names.back();
  names.pop_back();
  VeskDebugElmt* element = veskCurrentDebug;
  for (std::string& part : names) {
    element = element->getSubElement(part.data());
    if (element == nullptr) {
      std::fprintf(stderr, MISSING, part.c_str());
      return;
    }
  }
  const char* value = element->getValue(name.data());
  if (value == nullptr) {
    std::fprintf(stderr, MISSING, name.c_str());
  } else {
    std::printf(VALUE, path, value);
  }
}

// Above the top there is nothing: a path that leads there leaves the current element as it is.
void Scheduler::setCurrent(char* path) const {
  if (!hasDebugSupport()) return;
  std::vector<std::string> names = split(path);
  if (names.empty()) {
    std::fprintf(stderr, "%s", NO_ELEMENT);
    return;
  }
  VeskDebugElmt* element = veskCurrentDebug;
  for (std::string& name : names) {
    const bool up = name == "-";
    element = up ? element->getParent() : element->getSubElement(name.data());
    if (element != nullptr) continue;
    if (!up) std::fprintf(stderr, MISSING, name.c_str());
    return;
  }
  enterConsole(element);
}

// ---- The path to an error --------------------------------------------------------------------

char* Scheduler::getFirstChar(char* s, const char* delims) const {
  static Results results;
  return firstToken(s, delims, results.next());
}

char* Scheduler::getLastChar(char* s, const char* delims) const {
  static Results results;
  return lastToken(s, delims, results.next());
}

// "12" of "(12, a, 7)".
char* Scheduler::fromState(char* line) const {
  static Results results;
  return sourceOf(line, results.next());
}

// Deliberate: " 7" of "(12, a, 7)", with the blank, so that it never equals what fromState() gives
// for a line that exploration writes. Files without the blank can be followed.
// (docs/decisions/0028-no-predecessor-in-a-path.md)
char* Scheduler::toState(char* line) const {
  static Results results;
  return targetOf(line, results.next());
}

bool Scheduler::matchToState(char* line, char* state) const {
  std::string buffer;
  const char* to = targetOf(line, buffer);
  return to != nullptr && state != nullptr && std::strcmp(to, state) == 0;
}

void Scheduler::getInteraction(char* dst, FILE* file, char* state, int limit) const {
  std::rewind(file);
  std::string line;
  for (int count = 1; count <= limit && readLine(file, line); ++count) {
    if (matchToState(line.data(), state)) std::strcpy(dst, line.c_str());
  }
}

void Scheduler::getPath(FILE* file) const {
  const long position = aut_file == nullptr ? -1 : std::ftell(aut_file);
  std::string line;
  int limit = countLines(file, line);
  std::vector<std::string> trace;
  while (!line.empty() && static_cast<int>(trace.size()) < TRACE_LENGTH) {
    trace.push_back(line);
    std::string state;
    if (sourceOf(line.c_str(), state) == nullptr || state == "0") break;
    std::vector<char> predecessor(LINE_SIZE, '\0');
    getInteraction(predecessor.data(), file, state.data(), --limit);
    line = predecessor.data();
  }
  std::printf(DEPTH, static_cast<int>(trace.size()));
  std::printf("%s", INITIAL_STATE);
  for (auto entry = trace.rbegin(); entry != trace.rend(); ++entry) {
    std::printf("%s", entry->c_str());
  }
  std::printf("%s", ERROR_STATE);
  if (position >= 0) std::fseek(aut_file, position, SEEK_SET);
}
