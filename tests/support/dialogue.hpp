// The other side of interactive runs.
#ifndef VESK_TESTS_DIALOGUE_HPP
#define VESK_TESTS_DIALOGUE_HPP

#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

#include "clock.hpp"
#include "draw.hpp"

namespace kit {

// Takes the places of standard input and output for the life of this object.
class Redirected {
 public:
  Redirected(std::streambuf* in, std::streambuf* out)
      : mIn(std::cin.rdbuf(in)), mOut(std::cout.rdbuf(out)) {
    std::cin.clear();
  }
  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;
  ~Redirected() {
    std::cout.rdbuf(mOut);
    std::cin.rdbuf(mIn);
  }

 private:
  std::streambuf* const mIn;
  std::streambuf* const mOut;
};

// An input that has another text whenever one has been read.
class Answers : public std::streambuf {
 protected:
  virtual std::string answer() = 0;

  int_type underflow() override {
    mText = answer();
    setg(&mText[0], &mText[0], &mText[0] + mText.size());
    return mText.empty() ? traits_type::eof() : traits_type::to_int_type(mText[0]);
  }

 private:
  std::string mText;
};

// The same again and again.
class RepeatedAnswers : public Answers {
 public:
  explicit RepeatedAnswers(std::string text) : mAnswer(std::move(text)) {}

 protected:
  std::string answer() override { return mAnswer; }

 private:
  const std::string mAnswer;
};

// Mostly what suits the question that the dialogue of the timed engine ends with: times from now
// on, rows, chance; now and then what is refused.
class SuitableAnswers : public Answers {
 public:
  SuitableAnswers(unsigned int seed, const LogicalClock& clock, const std::ostringstream& dialogue)
      : mDraw(seed), mClock(clock), mDialogue(dialogue) {}

 protected:
  std::string answer() override {
    const std::string asked = mDialogue.str();
    const bool forRow = asked.find("Enter interaction", asked.rfind('\n') + 1) != std::string::npos;
    const int kind = mDraw.below(100);
    if (kind < 3) return kind == 0 ? "l\n" : kind == 1 ? "c 1\n" : "-1\n";
    if (forRow) return kind < 50 ? "r\n" : std::to_string(mDraw.between(1, 6)) + "\n";
    if (kind < 20) return "r\n";
    const long long now = (mClock.time().microseconds() + 999) / 1000;
    return std::to_string(now + (kind < 60 ? 0 : mDraw.below(8))) + "\n";
  }

 private:
  Draw mDraw;
  const LogicalClock& mClock;
  const std::ostringstream& mDialogue;
};

// An output that is lost.
class Nowhere : public std::streambuf {
 protected:
  int_type overflow(int_type sign) override { return traits_type::not_eof(sign); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

}  // namespace kit

#endif
