#include "svg-sequence.hpp"

#include <algorithm>

#include "printable.hpp"

namespace Vesk::Traces {

namespace {

constexpr int MARGIN = 20;
constexpr int ROW = 26;    // height
constexpr int LETTER = 8;  // width, roughly
constexpr int LOOP = 24;   // width of an arrow that comes back
constexpr int HEAD = 34;   // height of the names
const char* const STYLE =
    "font-family=\"sans-serif\" font-size=\"13\" stroke-width=\"1\" fill=\"none\"";

int widthOf(const std::string& text) {
  return LETTER * static_cast<int>(Lts::columns(text));
}

std::string escaped(const std::string& text) {
  std::string result;
  for (char c : text) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else {
      result += c;
    }
  }
  return result;
}

std::string textAt(int x, int y, const std::string& anchor, const std::string& colour,
                   const std::string& text) {
  return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) + "\" text-anchor=\"" +
         anchor + "\" fill=\"" + colour + "\" stroke=\"none\">" + escaped(text) + "</text>\n";
}

std::string pathOf(const std::string& way, const std::string& more) {
  return "<path d=\"" + way + "\" " + more + "/>\n";
}

std::string point(int x, int y) {
  return std::to_string(x) + "," + std::to_string(y);
}

}  // namespace

void SvgSequence::addColumn(std::size_t, const std::string& name) {
  mNames.push_back(name);
}

void SvgSequence::addTime(const std::string& text) {
  mRows.push_back({true, 0, 0, text});
}

void SvgSequence::addArrow(std::size_t from, std::size_t to, const std::string& text) {
  mRows.push_back({false, from, to, text});
}

void SvgSequence::finish(const std::string& text) {
  placeColumns();
  const int bottom = HEAD + MARGIN + ROW * static_cast<int>(mRows.size() + 1);
  const int width = std::max(mPlaces.back() + MARGIN, widthOf(text) + 2 * MARGIN);
  write("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(width) +
        "\" height=\"" + std::to_string(bottom + ROW) + "\" " + STYLE + ">\n" +
        "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n");
  writeColumns(bottom - ROW / 2);
  int y = HEAD + MARGIN;
  for (const Row& row : mRows) writeRow(row, y += ROW);
  write(textAt(MARGIN, bottom + ROW / 2, "start", "black", text) + "</svg>\n");
}

// From the left, behind the times, so that names and the texts of arrows between neighbours have
// room. The last place is the right end of all.
void SvgSequence::placeColumns() {
  int times = 0;
  for (const Row& row : mRows) times = std::max(times, row.isTime ? widthOf(row.text) : 0);
  mPlaces.assign(mNames.size() + 1, MARGIN + times);
  for (std::size_t i = 0; i < mNames.size(); ++i) {
    const int half = widthOf(mNames[i]) / 2 + 12;
    if (i == 0) mPlaces[0] += half;
    const int next = i + 1 < mNames.size() ? widthOf(mNames[i + 1]) / 2 + 12 : 0;
    mPlaces[i + 1] = mPlaces[i] + half + next;
    for (const Row& row : mRows) {
      const auto [left, right] = std::minmax(row.from, row.to);
      if (!row.isTime && right == i + 1 && left != right) {
        keepApart(left, right, widthOf(row.text) + 2 * MARGIN);
      }
      if (!row.isTime && left == i && left == right) {
        keepApart(left, left + 1, widthOf(row.text) + LOOP + MARGIN);
      }
    }
  }
}

void SvgSequence::keepApart(std::size_t left, std::size_t right, int distance) {
  mPlaces[right] = std::max(mPlaces[right], mPlaces[left] + distance);
}

void SvgSequence::writeColumns(int bottom) {
  for (std::size_t i = 0; i < mNames.size(); ++i) {
    const int half = widthOf(mNames[i]) / 2 + 6;
    write("<rect x=\"" + std::to_string(mPlaces[i] - half) + "\" y=\"" +
          std::to_string(MARGIN / 2) + "\" width=\"" + std::to_string(2 * half) + "\" height=\"" +
          std::to_string(HEAD - 8) + "\" fill=\"#e8f0fa\" stroke=\"#335577\"/>\n");
    write(textAt(mPlaces[i], MARGIN / 2 + 18, "middle", "black", mNames[i]));
    write(pathOf("M" + point(mPlaces[i], HEAD + 2) + " V" + std::to_string(bottom),
                 "stroke=\"#99aabb\" stroke-dasharray=\"4 3\""));
  }
}

void SvgSequence::writeRow(const Row& row, int y) {
  if (!row.isTime) return writeArrow(row, y);
  const int right = mPlaces[mNames.size() - 1];
  write(pathOf("M" + point(MARGIN, y) + " H" + std::to_string(std::max(right, MARGIN) + MARGIN),
               "stroke=\"#dddddd\""));
  write(textAt(MARGIN, y - 4, "start", "#aa5500", row.text));
}

void SvgSequence::writeArrow(const Row& row, int y) {
  const int from = mPlaces[row.from];
  const int to = mPlaces[row.to];
  if (row.from == row.to) {
    write(pathOf("M" + point(from, y - 10) + " h" + std::to_string(LOOP - 8) + " v10 h-" +
                     std::to_string(LOOP - 8) + " m6,-4 l-6,4 l6,4",
                 "stroke=\"#335577\""));
    write(textAt(from + LOOP, y, "start", "black", row.text));
    return;
  }
  const std::string back = to > from ? "-8" : "8";
  write(pathOf("M" + point(from, y) + " H" + std::to_string(to) + " m" + back + ",-4 L" +
                   point(to, y) + " l" + back + ",4",
               "stroke=\"#335577\""));
  write(textAt((from + to) / 2, y - 4, "middle", "black", row.text));
}

}  // namespace Vesk::Traces
