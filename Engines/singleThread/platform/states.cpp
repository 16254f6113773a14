// This source has what is inline elsewhere. Here it stays out of line: trees may be very deep, and
// the frames of what walks them must be small.
#define VESK_STATES_INLINE __attribute__((noinline))
#include "states.hpp"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "exploration/state-text.hpp"
#include "structure.hpp"

bool global_error = false;
bool global_prune = false;
Leaf* faulty_leaf = nullptr;

namespace {

const char SEPARATOR = ',';
const char SEPARATORS[] = ",";

const char* orEmpty(const char* text) {
  return text != nullptr ? text : "";
}

const char* textOf(const Atomleaf* atom) {
  return atom != nullptr ? orEmpty(atom->getVal()) : "";
}

const char* textOf(const Node* leaf) {
  return textOf(static_cast<const Leaf*>(leaf)->getAleaf());
}

const Nonleaf* inner(const Node* node) {
  return static_cast<const Nonleaf*>(node);
}

int differ(const char* one, const char* other) {
  return std::strcmp(one, other) != 0 ? 1 : 0;
}

unsigned int hashFirst(const char* text, unsigned int size) {
  if (size == 0) return 0;
  const auto first = static_cast<signed char>(text[0]);
  return static_cast<unsigned int>(static_cast<int>(first)) % size;
}

// Null equals null and nothing else.
int differ(const Node* one, Node* other) {
  if (one == nullptr) return other == nullptr ? 0 : 1;
  return one->compare(other);
}

bool identical(const Node* one, const Node* other) {
  if (one == nullptr || other == nullptr) return one == other;
  if (one->isLeaf() != other->isLeaf()) return false;
  if (one->isLeaf()) {
    return static_cast<const Leaf*>(one)->getAleaf() == static_cast<const Leaf*>(other)->getAleaf();
  }
  const int n = inner(one)->getNumChild();
  if (n != inner(other)->getNumChild()) return false;
  for (int i = 0; i < n; ++i) {
    if (!identical(inner(one)->getChild(i), inner(other)->getChild(i))) return false;
  }
  return true;
}

int countLeaves(const Node* node) {
  if (node == nullptr) return 0;
  if (node->isLeaf()) return 1;
  int count = 0;
  for (int i = 0; i < inner(node)->getNumChild(); ++i)
    count += countLeaves(inner(node)->getChild(i));
  return count;
}

// Deliberate: child j is asked for leaf pos - j, however many leaves stand before it, because this
// is made for nodes whose children are all leaves.
// (docs/decisions/0019-leaves-are-found-by-position.md)
Leaf* findLeaf(Node* node, std::int64_t pos) {
  if (node == nullptr) return nullptr;
  if (node->isLeaf()) return pos < 1 ? static_cast<Leaf*>(node) : nullptr;
  const int n = inner(node)->getNumChild();
  for (int j = 0; j < n; ++j) {
    Leaf* found = findLeaf(inner(node)->getChild(j), pos - j);
    if (found != nullptr) return found;
  }
  return nullptr;
}

void appendText(char* st, const char* text) {
  if (st == nullptr) return;
  const std::size_t length = std::strlen(text);
  char* end = st + std::strlen(st);
  std::memmove(end, text, length);
  end[length] = '\0';
}

int clampToInt(long value) {
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<int>(value);
}

}  // namespace

// ---- Atomleaf ------------------------------------------------------------------------------

Atomleaf::Atomleaf(const Atomleaf& other) : Pooled(), value(copyOf(other.value)) {}

void Atomleaf::setVal(const char* text) {
  char* former = value;
  value = copyOf(text);
  if (former != mShort) delete[] former;
}

char* Atomleaf::copyOfLong(const char* text) {
  const std::size_t bytes = std::strlen(text) + 1;
  char* copy = new char[bytes];
  std::memcpy(copy, text, bytes);
  return copy;
}

int Atomleaf::compare(const Atomleaf* other) const {
  return differ(textOf(this), textOf(other));
}

unsigned int Atomleaf::hash(unsigned int size) const {
  return hashFirst(textOf(this), size);
}

Atomleaf* Atomleaf::copy() const {
  return new Atomleaf(*this);
}

// ---- Node ----------------------------------------------------------------------------------

bool Node::equals(Node* other) {
  return identical(this, other);
}

bool Node::operator==(Node& other) {
  return compare(&other) == 0;
}

char* Node::printNode() const {
  Vesk::StateText text;
  text.append(this);
  return text.release();
}

char* Node::string2veskState(char*& cursor) {
  return getVariableState(cursor);
}

char* Node::string2objState(char*& cursor) {
  return getVariableState(cursor);
}

int Node::string2int(char*& cursor) {
  return getIntVariableState(cursor);
}

float Node::string2float(char*& cursor) {
  return getFloatVariableState(cursor);
}

bool Node::string2bool(char*& cursor) {
  return getBoolVariableState(cursor);
}

bool Node::string2bool(const char* text) {
  const char first = orEmpty(text)[0];
  return first != '\0' && first != 'F';
}

// ---- Leaf ----------------------------------------------------------------------------------

Leaf::Leaf(const Leaf& other)
    : Node(other), aleaf(other.aleaf != nullptr ? other.aleaf->copy() : nullptr) {}

int Leaf::compare(Node* other) const {
  if (other == nullptr || !other->isLeaf()) return 1;
  return differ(textOf(this), textOf(other));
}

unsigned int Leaf::hash(unsigned int size) const {
  return hashFirst(textOf(this), size);
}

Node* Leaf::copy() {
  return new Leaf(*this);
}

void Leaf::setAleaf(Atomleaf* text) {
  if (text == aleaf) return;
  Atomleaf* previous = aleaf;
  aleaf = text;
  delete previous;
}

// ---- Nonleaf -------------------------------------------------------------------------------

Nonleaf::Nonleaf(int n)
    : Node(false),
      numChild(n > 0 ? n : 0),
      children(new Node* [static_cast<std::size_t>(numChild)] {}) {}

// The fresh node is complete before the first child is copied, so that it is destroyed with the
// copies made so far when there is no memory for the next.
Nonleaf::Nonleaf(const Nonleaf& other) : Nonleaf(other.numChild) {
  index = other.index;
  for (int i = 0; i < numChild; ++i) {
    if (other.children[i] != nullptr) children[i] = other.children[i]->copy();
  }
}

int Nonleaf::compare(Node* other) const {
  if (other == nullptr || other->isLeaf()) return 1;
  if (inner(other)->getNumChild() != numChild) return 1;
  for (int i = 0; i < numChild; ++i) {
    if (differ(children[i], inner(other)->getChild(i)) != 0) return 1;
  }
  return 0;
}

unsigned int Nonleaf::hash(unsigned int size) const {
  if (size == 0) return 0;
  unsigned int sum = 0;
  for (int i = 0; i < numChild; ++i) {
    if (children[i] != nullptr) sum += children[i]->hash(size) * (static_cast<unsigned int>(i) + 1);
  }
  return sum % size;
}

Node* Nonleaf::copy() {
  return new Nonleaf(*this);
}

int Nonleaf::getNumLeaf() const {
  return countLeaves(this);
}

Leaf* Nonleaf::getLeaf(int pos) {
  return findLeaf(this, pos);
}

// ---- Writers -------------------------------------------------------------------------------

void setVariableState(char* st, const char*, const char* value) {
  appendText(st, orEmpty(value));
}

void setVariableState(char* st, const char*, bool value) {
  appendText(st, value ? ",T" : ",F");
}

void setVariableState(char* st, const char*, int value) {
  char text[16] = {SEPARATOR};
  *std::to_chars(text + 1, text + sizeof text - 1, value).ptr = '\0';
  appendText(st, text);
}

void setVariableState(char* st, const char*, float value) {
  char text[64];  // FLT_MAX has 39 digits before the point
  std::snprintf(text, sizeof text, ",%f", static_cast<double>(value));
  appendText(st, text);
}

void setStatePlace(char* st, const char*, bool value) {
  appendText(st, value ? "T," : "F,");
}

// ---- Readers -------------------------------------------------------------------------------

char* vesk_strtok(char*& start, char token, int) {
  if (start == nullptr || *start == '\0') return nullptr;
  std::size_t length = 0;
  while (start[length] != '\0' && start[length] != token) ++length;
  char* text = static_cast<char*>(Vesk::reallocate(nullptr, length + 1));
  std::memcpy(text, start, length);
  text[length] = '\0';
  start += length;
  if (*start != '\0') ++start;
  return text;
}

char* getVariableState(char*& cursor) {
  return vesk_strtok(cursor, SEPARATOR, 5000);
}

// Reading a number stops at the separator, so the text need not be copied up to there.
int getIntVariableState(char*& cursor) {
  if (cursor == nullptr) return 0;
  char* end = nullptr;
  const int value = clampToInt(std::strtol(cursor, &end, 10));
  cursor = end + std::strcspn(end, SEPARATORS);
  if (*cursor != '\0') ++cursor;
  return value;
}

float getFloatVariableState(char*& cursor) {
  char* text = vesk_strtok(cursor, SEPARATOR, 20);
  float value = 0.0F;
  if (std::sscanf(orEmpty(text), "%f", &value) != 1) value = 0.0F;
  std::free(text);
  return value;
}

bool getBoolVariableState(char*& cursor) {
  if (cursor == nullptr || *cursor == '\0') return false;
  const bool value = *cursor != 'F';
  ++cursor;
  if (*cursor != '\0') ++cursor;
  return value;
}
