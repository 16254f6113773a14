#include "exploration/state-text.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "states.hpp"
#include "structure.hpp"

namespace Vesk {

namespace {

const char MISSING_CHILD[] = "at least a library is not generated with explore option\n";

}  // namespace

StateText::~StateText() {
  std::free(mData);
}

void StateText::append(const Node* node) {
  if (node == nullptr) {
    std::fputs(MISSING_CHILD, stderr);
    std::fflush(stderr);
  } else if (node->isLeaf()) {
    const Atomleaf* atom = static_cast<const Leaf*>(node)->getAleaf();
    const char* text = atom != nullptr ? atom->getVal() : nullptr;
    if (text != nullptr) append(text, std::strlen(text));
  } else {
    const auto* inner = static_cast<const Nonleaf*>(node);
    const int n = inner->getNumChild();
    for (int i = 0; i < n; ++i) append(inner->getChild(i));
  }
}

void StateText::append(const char* text, std::size_t length) {
  if (length == 0) return;
  reserve(length);
  std::memcpy(mData + mLength, text, length);
  mLength += length;
}

char* StateText::release() {
  reserve(1);
  mData[mLength] = '\0';
  char* text = mData;
  mData = nullptr;
  mLength = mCapacity = 0;
  return text;
}

void StateText::reserve(std::size_t more) {
  if (more <= mCapacity - mLength) return;
  std::size_t capacity = mCapacity < 64 ? 64 : mCapacity;
  while (capacity - mLength < more) capacity *= 2;
  mData = static_cast<char*>(reallocate(mData, capacity));
  mCapacity = capacity;
}

}  // namespace Vesk
