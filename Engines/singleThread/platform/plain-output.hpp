// Texts and numbers on a stream, the same whatever format a model has left on it. Private to the
// engine.
#ifndef VESK_PLAIN_OUTPUT_HPP
#define VESK_PLAIN_OUTPUT_HPP

#include <iosfwd>
#include <type_traits>

namespace Vesk {

// Writes to a stream for the life of this object. Base, sign, width, fill and locale of the stream
// count for nothing and stay as they are, but for the width: it is used up, as by any other output.
class __attribute__((visibility("hidden"))) PlainOutput {
 public:
  explicit PlainOutput(std::ostream& out);

  // A null text makes the stream bad, as the stream's own operator does.
  const PlainOutput& operator<<(const char* text) const;
  const PlainOutput& operator<<(char* text) const {
    return *this << static_cast<const char*>(text);
  }
  const PlainOutput& operator<<(char sign) const;
  const PlainOutput& operator<<(int number) const { return decimal(number); }
  const PlainOutput& operator<<(unsigned int number) const { return decimal(number); }
  const PlainOutput& operator<<(long long number) const { return decimal(number); }
  // What has an operator of its own, which is as plain.
  template <class T>
  const PlainOutput& operator<<(const T& item) const {
    static_assert(!std::is_arithmetic_v<T>, "numbers are written by the operators above");
    mOut << item;
    return *this;
  }
  // Ends the line and hands it over.
  enum LineEnd { END_LINE };
  const PlainOutput& operator<<(LineEnd) const;

 private:
  const PlainOutput& decimal(long long number) const;

  std::ostream& mOut;
};

}  // namespace Vesk

#endif
