#include "exploration/state-table.hpp"

#include <cstring>
#include <new>
#include <stdexcept>
#include <typeinfo>
#include <utility>

namespace Vesk {

namespace {

constexpr std::size_t BLOCK = std::size_t{1} << 20;
constexpr std::size_t FIRST_SLOTS = 1024;
constexpr std::uint32_t MAX_STATES = UINT32_MAX - 1;
constexpr std::size_t FEW = 8;
constexpr unsigned char LONG = 255;  // stands before the length of a text of so many characters

const char TOO_MANY_STATES[] = "too many states";

std::uint64_t mix(std::uint64_t word) {
  word *= 0x9E3779B97F4A7C15u;
  return word ^ (word >> 32);
}

// Reads eight characters at a time, the rest as one padded word.
std::uint32_t hashOf(const char* text, std::size_t length) {
  std::uint64_t hash = mix(length);
  for (; length >= sizeof hash; text += sizeof hash, length -= sizeof hash) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    hash = mix(hash ^ word);
  }
  std::uint64_t rest = 0;
  if (length != 0) std::memcpy(&rest, text, length);
  hash = mix(mix(hash ^ rest));
  return static_cast<std::uint32_t>(hash >> 16);
}

void appendLength(std::vector<unsigned char>& lengths, std::size_t length) {
  if (length < LONG) {
    lengths.push_back(static_cast<unsigned char>(length));
    return;
  }
  lengths.push_back(LONG);
  unsigned char bytes[sizeof length];
  std::memcpy(bytes, &length, sizeof length);
  lengths.insert(lengths.end(), bytes, bytes + sizeof bytes);
}

std::size_t readLength(const unsigned char*& cursor) {
  if (*cursor < LONG) return *cursor++;
  std::size_t length;
  std::memcpy(&length, cursor + 1, sizeof length);
  cursor += 1 + sizeof length;
  return length;
}

// Most texts are a few characters long.
std::size_t lengthOf(const char* text) {
  for (std::size_t length = 0; length < FEW; ++length) {
    if (text[length] == '\0') return length;
  }
  return FEW + std::strlen(text + FEW);
}

// The text of a leaf that can be built again from its text, else null.
const char* plainText(const Node& node) {
  const Atomleaf* atom = static_cast<const Leaf&>(node).getAleaf();
  if (atom == nullptr || typeid(*atom) != typeid(Atomleaf)) return nullptr;
  return atom->getVal();
}

bool isPlainInner(const Node& node) {
  return typeid(node) == typeid(Nonleaf);
}

bool isPlainLeaf(const Node& node) {
  return typeid(node) == typeid(Leaf) && plainText(node) != nullptr;
}

// Collects the atoms of a tree that can be built again; false when it cannot.
bool collectAtoms(Node* node, std::vector<Atomleaf*>& atoms) {
  if (node == nullptr) return false;
  if (isPlainLeaf(*node)) {
    atoms.push_back(static_cast<Leaf*>(node)->getAleaf());
    return true;
  }
  if (!isPlainInner(*node)) return false;
  auto* inner = static_cast<Nonleaf*>(node);
  for (int i = 0; i < inner->getNumChild(); ++i) {
    if (!collectAtoms(inner->getChild(i), atoms)) return false;
  }
  return true;
}

bool packLike(const Node& shape, const Node* node, StateText& text,
              std::vector<unsigned char>& lengths) {
  if (node == nullptr || typeid(*node) != typeid(shape)) return false;
  if (shape.isLeaf()) {
    const char* own = plainText(*node);
    if (own == nullptr) return false;
    const std::size_t length = lengthOf(own);
    text.append(own, length);
    appendLength(lengths, length);
    return true;
  }
  const auto& inner = static_cast<const Nonleaf&>(*node);
  const auto& outline = static_cast<const Nonleaf&>(shape);
  const int n = outline.getNumChild();
  if (inner.getNumChild() != n) return false;
  for (int i = 0; i < n; ++i) {
    if (!packLike(*outline.getChild(i), inner.getChild(i), text, lengths)) return false;
  }
  return true;
}

}  // namespace

// ---- Arena -----------------------------------------------------------------------------------

char* TextArena::allocate(std::size_t length) {
  if (length > mRoom) {
    const std::size_t size = length > BLOCK / 4 ? length : BLOCK;
    mBlocks.push_back(std::unique_ptr<char[]>(new char[size]));
    if (size != BLOCK) return mBlocks.back().get();
    mFree = mBlocks.back().get();
    mRoom = size;
  }
  char* text = mFree;
  mFree += length;
  mRoom -= length;
  return text;
}

// ---- Shape -----------------------------------------------------------------------------------

void StateShape::take(Node* tree) {
  mAtoms.clear();
  mTree.reset();
  if (!collectAtoms(tree, mAtoms)) return;
  mTree.reset(tree->copy());
  mAtoms.clear();
  collectAtoms(mTree.get(), mAtoms);
}

bool StateShape::pack(const Node* tree, StateText& text,
                      std::vector<unsigned char>& lengths) const {
  return mTree != nullptr && packLike(*mTree, tree, text, lengths);
}

// Most leaves have the text already that the state before gave them.
Node* StateShape::unpack(const char* text, const unsigned char* lengths) {
  for (Atomleaf* atom : mAtoms) {
    const std::size_t length = readLength(lengths);
    const char* present = atom->getVal();
    if (std::strncmp(present, text, length) != 0 || present[length] != '\0') {
      mWord.assign(text, text + length);
      mWord.push_back('\0');
      atom->setVal(mWord.data());
    }
    text += length;
  }
  return mTree.get();
}

// ---- Table -----------------------------------------------------------------------------------

StateTable::StateTable() : mSlots(FIRST_SLOTS, Slot{0, 0}), mPacked(false), mRestored(nullptr) {}

StateTable::Found StateTable::insert(Node* tree) {
  if (count() == 0) mShape.take(tree);
  mPacked = pack(tree);
  const std::uint32_t hash = hashOf(mText.data(), mText.length());
  const std::size_t slot = find(hash);
  if (mSlots[slot].used != 0) return {mSlots[slot].used - 1, false};
  return {add(slot, hash), true};
}

bool StateTable::pack(Node* tree) {
  mText.clear();
  mLengths.clear();
  if (mShape.pack(tree, mText, mLengths)) return true;
  mText.clear();
  mLengths.clear();
  mText.append(tree);
  return false;
}

// Nothing is changed until there is memory for everything.
StateNumber StateTable::add(std::size_t slot, std::uint32_t hash) {
  const StateNumber number = count();
  if (number == MAX_STATES) throw std::length_error(TOO_MANY_STATES);
  if (2 * (std::size_t{number} + 1) > mSlots.size()) {
    grow();
    slot = find(hash);
  }
  char* text = mArena.allocate(mText.length() + mLengths.size());
  if (mText.length() != 0) std::memcpy(text, mText.data(), mText.length());
  if (!mLengths.empty()) std::memcpy(text + mText.length(), mLengths.data(), mLengths.size());
  mTexts.push_back({text, mText.length()});
  mSlots[slot] = {hash, number + 1};
  return number;
}

// Where the text that is looked up is, or would be.
std::size_t StateTable::find(std::uint32_t hash) const {
  const std::size_t last = mSlots.size() - 1;
  std::size_t slot = hash & last;
  while (mSlots[slot].used != 0 && !holds(mSlots[slot], hash)) slot = (slot + 1) & last;
  return slot;
}

bool StateTable::holds(const Slot& slot, std::uint32_t hash) const {
  if (slot.hash != hash) return false;
  const Text& text = mTexts[slot.used - 1];
  if (text.length != mText.length()) return false;
  return text.length == 0 || std::memcmp(text.data, mText.data(), text.length) == 0;
}

void StateTable::grow() {
  std::vector<Slot> larger(2 * mSlots.size(), Slot{0, 0});
  const std::size_t last = larger.size() - 1;
  for (const Slot& old : mSlots) {
    if (old.used == 0) continue;
    std::size_t slot = old.hash & last;
    while (larger[slot].used != 0) slot = (slot + 1) & last;
    larger[slot] = old;
  }
  mSlots.swap(larger);
}

void StateTable::keep(StateNumber number, std::unique_ptr<Node>& tree) {
  if (mPacked) return;
  if (tree != nullptr) tree->setIndex(number);
  mKept.emplace(number, nullptr).first->second = std::move(tree);
}

Node* StateTable::restore(StateNumber number) {
  const auto kept = mKept.find(number);
  if (kept != mKept.end()) return kept->second.get();
  if (mRestored != nullptr && mRestored->getIndex() == number) return mRestored;
  const Text& text = mTexts[number];
  mRestored =
      mShape.unpack(text.data, reinterpret_cast<const unsigned char*>(text.data + text.length));
  mRestored->setIndex(number);
  return mRestored;
}

void StateTable::forget(StateNumber number) {
  mKept.erase(number);
}

const Node* StateTable::kept(StateNumber number) const {
  const auto kept = mKept.find(number);
  return kept != mKept.end() ? kept->second.get() : nullptr;
}

}  // namespace Vesk
