#include "arguments.hpp"

#include <cstddef>

namespace Vesk::Pins {

namespace {

constexpr char BLANKS[] = " \t\n";

// Takes words from a line, one after the other.
class Words {
 public:
  explicit Words(const std::string& line) : mLine(line) {}

  // False when there is none left.
  bool next(std::string& word) {
    mAt = mLine.find_first_not_of(BLANKS, mAt);
    if (mAt == std::string::npos) return false;
    word.clear();
    char quote = '\0';
    while (mAt < mLine.size() && (quote != '\0' || !isBlank(mLine[mAt]))) take(word, quote);
    return true;
  }

 private:
  static bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n';
  }

  void take(std::string& word, char& quote) {
    const char character = mLine[mAt++];
    if (character == '\\' && quote != '\'' && mAt < mLine.size()) {
      word += mLine[mAt++];
    } else if (quote == '\0' && (character == '\'' || character == '"')) {
      quote = character;
    } else if (quote != '\0' && character == quote) {
      quote = '\0';
    } else {
      word += character;
    }
  }

  const std::string& mLine;
  std::size_t mAt = 0;
};

}  // namespace

std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> all;
  Words words(line);
  for (std::string word; words.next(word);) all.push_back(word);
  return all;
}

Arguments::Arguments(const std::string& program, const std::string& line) : mWords(wordsOf(line)) {
  mWords.insert(mWords.begin(), program);
  for (std::string& word : mWords) mValues.push_back(word.data());
  mValues.push_back(nullptr);
}

}  // namespace Vesk::Pins
