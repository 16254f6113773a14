#include "exploration/words.hpp"

#include <gtest/gtest.h>

#include <string>

#include <cstring>

using Vesk::WORD;
using Vesk::wordAt;

TEST(WordsTest, AWordIsReadFromAnyPlace) {
  const unsigned char one[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const unsigned char other[9] = {1, 2, 3, 4, 5, 6, 7, 8, 0};
  EXPECT_EQ(wordAt(one), wordAt(other));
  EXPECT_NE(wordAt(one + 1), wordAt(other + 1));
}

TEST(WordsTest, TheFirstByteIsTheOneThatStandsFirstInMemory) {
  for (std::size_t first = 0; first < WORD; ++first) {
    unsigned char bytes[WORD] = {};
    std::memset(bytes + first, 0x80, WORD - first);
    EXPECT_EQ(first, Vesk::firstByte(wordAt(bytes)));
    bytes[first] = 1;
    EXPECT_EQ(first, Vesk::firstByte(wordAt(bytes)));
  }
}

// What stands behind the zero does not matter, whatever it borrows.
TEST(WordsTest, TheBytesBeforeAZeroAreCounted) {
  for (const int filler : {1, 0x7F, 0x80, 0xFF}) {
    for (const int behind : {0, 1, 0x80, 0xFF}) {
      for (std::size_t length = 0; length < WORD; ++length) {
        unsigned char bytes[WORD];
        std::memset(bytes, filler, WORD);
        std::memset(bytes + length, behind, WORD - length);
        bytes[length] = 0;
        EXPECT_EQ(length, Vesk::bytesBeforeZero(wordAt(bytes))) << filler << ' ' << behind;
      }
    }
  }
}

TEST(WordsTest, AWordWithoutZeroIsFull) {
  for (const int filler : {1, 0x7F, 0x80, 0xFF}) {
    unsigned char bytes[WORD];
    std::memset(bytes, filler, WORD);
    EXPECT_EQ(WORD, Vesk::bytesBeforeZero(wordAt(bytes))) << filler;
  }
}

TEST(WordsTest, TextsOfAllLengthsAreCopied) {
  const std::string text =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcdefghijkl";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    std::string copy(text.size() + 1, '.');
    EXPECT_EQ(copy.data() + length, Vesk::putText(copy.data(), text.data(), length));
    EXPECT_EQ(text.substr(0, length), copy.substr(0, length));
    EXPECT_EQ(std::string(copy.size() - length, '.'), copy.substr(length));
  }
}

TEST(WordsTest, OnlySoManyBytesAreReplaced) {
  for (std::size_t count = 0; count <= Vesk::WORD; ++count) {
    char bytes[] = "........";
    Vesk::putBytes(bytes, "abcdefgh", count);
    EXPECT_EQ(std::string("abcdefgh", count) + std::string(Vesk::WORD - count, '.'), bytes);
  }
}
