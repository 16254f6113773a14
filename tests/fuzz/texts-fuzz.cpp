// Bytes as the texts of states: written by the helpers and read back, read from any text, and as
// trees that are copied, compared, hashed and printed.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "choices.hpp"
#include "states.hpp"

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "the texts of states break their promise: %s\n", what);
  std::abort();
}

// A text in a block of just its size, so that a sanitizer sees every byte beyond it that is read.
class ExactText {
 public:
  explicit ExactText(const std::string& text)
      : mSize(text.size()), mBlock(new char[text.size() + 1]) {
    std::memcpy(mBlock.get(), text.c_str(), mSize + 1);
  }
  char* begin() const { return mBlock.get(); }
  bool holds(const char* place) const { return begin() <= place && place <= begin() + mSize; }

 private:
  std::size_t mSize;
  std::unique_ptr<char[]> mBlock;
};

// ---- Written and read back ---------------------------------------------------------------------

struct Value {
  int kind;  // 0: bool, 1: int, 2: float
  int number;
  float fraction;
};

Value someValue(kit::Choices& choices) {
  Value value{choices.below(3), 0, 0};
  std::uint32_t bits = 0;
  for (int i = 0; i < 4; ++i) bits = bits * 256u + static_cast<std::uint32_t>(choices.below(256));
  value.number = static_cast<int>(bits);
  std::memcpy(&value.fraction, &bits, sizeof bits);
  return value;
}

void write(char* text, const Value& value) {
  if (value.kind == 0) setVariableState(text, "b", value.number % 2 != 0);
  if (value.kind == 1) setVariableState(text, "i", value.number);
  if (value.kind == 2) setVariableState(text, "f", value.fraction);
}

// Six decimals are kept, of large numbers all that a float holds.
bool isClose(float one, float other) {
  if (std::isnan(one)) return std::isnan(other);
  if (std::isinf(one)) return one == other;
  return std::fabs(one - other) <= 1e-6f * std::fmax(1.0f, std::fabs(one));
}

void readBack(char*& cursor, const Value& value) {
  if (value.kind == 0) {
    require(getBoolVariableState(cursor) == (value.number % 2 != 0), "a truth value comes back");
  } else if (value.kind == 1) {
    require(getIntVariableState(cursor) == value.number, "a number comes back");
  } else {
    require(isClose(value.fraction, getFloatVariableState(cursor)), "a fraction comes back");
  }
}

void checkRoundTrip(kit::ByteChoices& choices) {
  std::vector<Value> values;
  while (!choices.isEmpty() && values.size() < 40) values.push_back(someValue(choices));
  if (values.empty()) return;
  std::vector<char> buffer(values.size() * 64 + 1, '\0');
  for (const Value& value : values) write(buffer.data(), value);
  const ExactText text(buffer.data());
  char* cursor = text.begin() + 1;  // behind the first separator
  for (const Value& value : values) {
    readBack(cursor, value);
    require(text.holds(cursor), "the cursor stays in the text");
  }
  require(*cursor == '\0', "all has been read");
}

// ---- Any text ----------------------------------------------------------------------------------

void readOne(char*& cursor, int reader, int size) {
  switch (reader) {
    case 0:
      getBoolVariableState(cursor);
      return;
    case 1:
      getIntVariableState(cursor);
      return;
    case 2:
      getFloatVariableState(cursor);
      return;
    case 3:
      std::free(getVariableState(cursor));
      return;
    case 4:
      std::free(vesk_strtok(cursor, ',', size));
      return;
    case 5:
      std::free(Node::string2objState(cursor));
      return;
    case 6:
      std::free(Node::string2veskState(cursor));
      return;
    case 7:
      Node::string2float(cursor);
      return;
    default:
      Node::string2int(cursor);
  }
}

void checkReaders(kit::ByteChoices& choices) {
  std::vector<int> readers;
  for (int i = choices.below(30); i > 0; --i) readers.push_back(choices.below(9));
  const int size = choices.below(40);
  const ExactText text(choices.rest().c_str());
  char* cursor = text.begin();
  for (int reader : readers) {
    const char* before = cursor;
    readOne(cursor, reader, size);
    require(text.holds(cursor) && before <= cursor, "readers go on in the text");
    require(cursor != before || *cursor == '\0' || *cursor == ',', "readers come to an end");
  }
}

// ---- Trees -------------------------------------------------------------------------------------

// Appends what the tree shows.
Node* makeTree(kit::Choices& choices, int depth, std::string& shown) {
  if (depth == 0 || choices.below(3) == 0) {
    std::string text;
    for (int i = choices.below(choices.chance(5) ? 20000 : 40); i > 0; --i) {
      text += static_cast<char>(choices.below(255) + 1);
    }
    shown += text;
    return new Leaf(new Atomleaf(text.c_str()));
  }
  const int count = choices.below(4);
  auto* tree = new Nonleaf(count);
  for (int i = 0; i < count; ++i) tree->setChild(makeTree(choices, depth - 1, shown), i);
  return tree;
}

std::string shownBy(const Node& tree) {
  char* text = tree.printNode();
  const std::string shown = text;
  std::free(text);
  return shown;
}

void checkTrees(kit::ByteChoices& choices) {
  std::string shown;
  const std::unique_ptr<Node> tree(makeTree(choices, choices.below(6), shown));
  require(shownBy(*tree) == shown, "a tree shows the texts of its leaves in order");
  const std::unique_ptr<Node> copy(tree->copy());
  require(shownBy(*copy) == shown, "a copy shows the same");
  require(tree->compare(copy.get()) == 0 && *tree == *copy, "a copy is equal");
  require(tree->hash(511) == copy->hash(511), "equal trees have equal hashes");
  require(tree->hash(0) == 0, "there is a hash without places");
  std::string otherShown;
  const std::unique_ptr<Node> other(makeTree(choices, choices.below(6), otherShown));
  const bool equal = tree->compare(other.get()) == 0;
  require(equal == (other->compare(tree.get()) == 0), "equality has no direction");
  require(!equal || shown == otherShown, "equal trees show the same");
  require(!equal || tree->hash(7919) == other->hash(7919), "equal trees have equal hashes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kit::ByteChoices choices(data, size);
  switch (choices.below(3)) {
    case 0:
      checkRoundTrip(choices);
      break;
    case 1:
      checkReaders(choices);
      break;
    default:
      checkTrees(choices);
  }
  return 0;
}
