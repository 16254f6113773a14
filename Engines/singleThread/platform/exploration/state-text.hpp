// The text of a state: the texts of all leaves in order, without separators, in one buffer that
// grows as needed and can be used again for the next state. Private to the engine.
#ifndef VESK_EXPLORATION_STATE_TEXT_HPP
#define VESK_EXPLORATION_STATE_TEXT_HPP

#include <cstddef>
#include <cstring>

class Node;

namespace Vesk {

class StateText {
 public:
  StateText() : mData(nullptr), mLength(0), mCapacity(0) {}
  StateText(const StateText&) = delete;
  StateText& operator=(const StateText&) = delete;
  ~StateText();

  // Appends what the tree holds. A null tree or child adds nothing and is reported on standard
  // error.
  void append(const Node* tree);
  void append(const char* text, std::size_t length) {
    if (length == 0) return;
    if (length > mCapacity - mLength) reserve(length);
    std::memcpy(mData + mLength, text, length);
    mLength += length;
  }
  // Room for so many characters, which become part of the text when take() says how many there are.
  char* room(std::size_t length) {
    if (length > mCapacity - mLength) reserve(length);
    return mData + mLength;
  }
  void take(std::size_t length) { mLength += length; }
  // Makes the text empty and keeps the buffer.
  void clear() { mLength = 0; }
  // Not terminated; stays valid until the next append. Null as long as nothing was ever appended.
  const char* data() const { return mData; }
  std::size_t length() const { return mLength; }
  // Gives the terminated text away; the caller releases it with free().
  char* release();

 private:
  // Makes room for so many characters more.
  void reserve(std::size_t more);

  char* mData;  // malloc; freed by the destructor
  std::size_t mLength;
  std::size_t mCapacity;
};

}  // namespace Vesk

#endif
