// The text of a marking: for each place the number of its tokens and a comma.
#ifndef VESK_PNML_MARKING_TEXT_HPP
#define VESK_PNML_MARKING_TEXT_HPP

#include <cstddef>
#include <string>
#include <vector>

// Knows where the number of each place stands. One marking differs from the next in a few places
// only, so texts are changed and compared there, not written and read from end to end.
class MarkingText {
 public:
  struct Change {
    int place;
    int tokens;
  };

  // Appends the text of one place.
  static void append(std::string& text, int tokens);
  // Reads the text of one place and moves the cursor behind it.
  static int read(const char*& cursor);

  const char* data() const { return mText.c_str(); }
  // Writes the text anew: clear(), then add() for every place in order.
  void clear();
  void add(int tokens);
  // Replaces the number of a place. False, and nothing is changed, when that number has more or
  // fewer digits.
  bool replace(const Change& change);
  // How another text differs from this one. False when some number stands elsewhere in it; the
  // list is of no use then.
  bool differences(const char* other, std::vector<Change>& changes) const;

 private:
  bool compareBlock(const char* other, std::size_t first, std::size_t last,
                    std::vector<Change>& changes) const;
  std::size_t lengthOf(int place) const;

  std::string mText;
  std::vector<std::size_t> mStarts;  // of the numbers, and the end of the text
  std::vector<int> mPlaces;          // for each character, the place it belongs to
};

#endif
