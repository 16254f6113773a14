// Where a generator of models takes its choices from: a random generator, or the bytes of a fuzzer.
#ifndef VESK_TESTS_CHOICES_HPP
#define VESK_TESTS_CHOICES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "draw.hpp"

namespace kit {

class Choices {
 public:
  virtual ~Choices() {}
  // A number in 0 .. n-1.
  virtual int below(int n) = 0;

  // A number in low .. high.
  int between(int low, int high) { return low + below(high - low + 1); }
  bool coin() { return below(2) == 1; }
  // True in so many of a hundred cases. A source that gives nothing but 0 never says yes.
  bool chance(int percent) { return below(100) >= 100 - percent; }
  template <class T>
  const T& oneOf(const std::vector<T>& list) {
    return list[static_cast<std::size_t>(below(static_cast<int>(list.size())))];
  }
};

class SeededChoices : public Choices {
 public:
  explicit SeededChoices(unsigned int seed) : mDraw(seed) {}
  int below(int n) override { return mDraw.below(n); }

 private:
  Draw mDraw;
};

// One byte for a choice among up to 256, two for others; 0 when the bytes are used up.
class ByteChoices : public Choices {
 public:
  ByteChoices(const std::uint8_t* data, std::size_t size) : mNext(data), mEnd(data + size) {}
  int below(int n) override {
    if (n <= 1) return 0;
    unsigned int number = byte();
    if (n > 256) number = number * 256u + byte();
    return static_cast<int>(number % static_cast<unsigned int>(n));
  }
  bool isEmpty() const { return mNext == mEnd; }
  // All that is left.
  std::string rest() {
    const std::string text(mNext, mEnd);
    mNext = mEnd;
    return text;
  }

 private:
  unsigned int byte() { return mNext != mEnd ? *mNext++ : 0u; }

  const std::uint8_t* mNext;
  const std::uint8_t* mEnd;
};

}  // namespace kit

#endif
