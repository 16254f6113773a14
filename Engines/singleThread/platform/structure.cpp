#include "structure.hpp"

#include <cstdint>
#include <cstring>
#include <iostream>
#include <new>

#include "blocks.hpp"

namespace Vesk {

namespace {

// Longer lists are few, and the heap makes them longer where they stand.
constexpr std::size_t LONG_LIST = 128;

bool isShort(std::size_t bytes) {
  return bytes <= LONG_LIST && Blocks::fits(bytes);
}

// How large the block of a list was that models ask to grow to so many bytes which were compiled
// before there was growList(): n pointers became n + n / 3 + 1.
std::size_t bytesBefore(std::size_t bytes) {
  return bytes / sizeof(void*) * 3 / 4 * sizeof(void*);
}

}  // namespace

void* reallocate(void* block, std::size_t bytes) {
  assert(bytes > 0);
  if (block != nullptr && Blocks::has(block)) return growList(block, bytesBefore(bytes), bytes);
  for (;;) {
    if (void* moved = std::realloc(block, bytes)) return moved;
    // Lets the new-handler make room, and reports exhausted memory when it cannot.
    ::operator delete(::operator new(bytes));
  }
}

void* growList(void* former, std::size_t formerBytes, std::size_t bytes) {
  if (former != nullptr && !Blocks::has(former)) return reallocate(former, bytes);
  void* const block = isShort(bytes) ? Blocks::take(bytes) : reallocate(nullptr, bytes);
  if (former == nullptr) return block;
  std::memcpy(block, former, formerBytes);
  Blocks::giveBack(former, formerBytes);
  return block;
}

void endList(void* block, std::size_t bytes) noexcept {
  if (Blocks::has(block)) {
    Blocks::giveBack(block, bytes);
  } else {
    std::free(block);
  }
}

char* duplicate(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t bytes = std::strlen(text) + 1;
  void* block = std::malloc(bytes);
  if (block == nullptr) block = reallocate(nullptr, bytes);
  return static_cast<char*>(std::memcpy(block, text, bytes));
}

}  // namespace Vesk

namespace {

constexpr BitVector NOTHING;
constexpr BitVector FIRST(0);

}  // namespace

// Constant-initialised, as the constexpr copies prove: models use both while their own statics are
// initialised.
const BitVector BitVector::EMPTY = NOTHING;
const BitVector BitVector::SINGLE = FIRST;

BitVector& BitVector::operator&=(const BitVector& other) {
  m_data[0] &= other.m_data[0];
  m_data[1] &= other.m_data[1];
  m_data[2] &= other.m_data[2];
  m_data[3] &= other.m_data[3];
  return *this;
}

BitVector& BitVector::operator|=(const BitVector& other) {
  m_data[0] |= other.m_data[0];
  m_data[1] |= other.m_data[1];
  m_data[2] |= other.m_data[2];
  m_data[3] |= other.m_data[3];
  return *this;
}

// Deliberate: moves every number down, where an arithmetic shift would move it up, because 0 stands
// first in the printed form. (docs/decisions/0006-opposite-shift-operators.md)
BitVector& BitVector::operator<<(int n) {
  assert(0 <= n && n < 32);
  if (n == 0) return *this;  // a word shift by 32 is undefined
  const int carry = 32 - n;
  m_data[0] = (m_data[1] << carry) | (m_data[0] >> n);
  m_data[1] = (m_data[2] << carry) | (m_data[1] >> n);
  m_data[2] = (m_data[3] << carry) | (m_data[2] >> n);
  m_data[3] = m_data[3] >> n;
  return *this;
}

// Deliberate: moves every number up, where an arithmetic shift would move it down, because 0 stands
// first in the printed form. (docs/decisions/0006-opposite-shift-operators.md)
BitVector& BitVector::operator>>(int n) {
  assert(0 <= n && n < 32);
  if (n == 0) return *this;
  const int carry = 32 - n;
  m_data[3] = (m_data[3] << n) | (m_data[2] >> carry);
  m_data[2] = (m_data[2] << n) | (m_data[1] >> carry);
  m_data[1] = (m_data[1] << n) | (m_data[0] >> carry);
  m_data[0] = m_data[0] << n;
  return *this;
}

// Multiplies by odd constants and keeps the upper halves, where the products are mixed best.
std::size_t BitVector::scattered() const {
  std::uint64_t mixed = 0;
  for (const unsigned int word : m_data)
    mixed = (mixed ^ word) * 0x9E3779B97F4A7C15u + (mixed >> 32);
  return static_cast<std::size_t>((mixed ^ (mixed >> 29)) >> 3);
}

// Deliberate: each sum wraps at 2^32 before it is reduced, because whoever walks the table of
// interactions knows the chains that follow. (docs/decisions/0016-the-hash-number-of-a-set.md)
unsigned int BitVector::hash(unsigned int n) const {
  assert(n != 0);
  unsigned int h = 0;
  for (const unsigned int word : m_data) {
    h += word;
    if (h >= n) h %= n;  // most sums are small, and divisions take long
  }
  return h;
}

void BitVector::print() const {
  int highest = CAPACITY - 1;
  while (highest > 0 && !in(highest)) --highest;
  char text[CAPACITY + sizeof "[] "];
  char* end = text;
  *end++ = '[';
  for (int i = 0; i <= highest; ++i) *end++ = in(i) ? '1' : '0';
  *end++ = ']';
  *end++ = ' ';
  std::cout.write(text, end - text);  // never padded, whatever width the model has left
}
