// The arguments of a model that no command line starts. Private to the plugin.
#ifndef VESK_PINS_ARGUMENTS_HPP
#define VESK_PINS_ARGUMENTS_HPP

#include <string>
#include <vector>

namespace Vesk::Pins {

// Divides a line into words at blanks. Quotes of either kind keep blanks together; a backslash
// keeps the next character, within double quotes too. A quote that is not closed reaches to the
// end.
std::vector<std::string> wordsOf(const std::string& line);

// A command line as main() gets it: a program's name and the words of a line.
class Arguments {
 public:
  Arguments(const std::string& program, const std::string& line);

  int count() const { return static_cast<int>(mWords.size()); }
  // Ended by a null pointer. Valid as long as this object.
  char** values() { return mValues.data(); }

 private:
  std::vector<std::string> mWords;
  std::vector<char*> mValues;
};

}  // namespace Vesk::Pins

#endif
