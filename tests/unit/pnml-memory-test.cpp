// A reader without memory says so. The allocator of this program can fail.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

#include "reader.hpp"

#if defined(__SANITIZE_ADDRESS__)
#define VESK_TESTS_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_TESTS_UNDER_ASAN 1
#endif
#endif

namespace {

long allocations = 0;  // so many until one fails, once; below 1: none does

}  // namespace

#ifndef VESK_TESTS_UNDER_ASAN

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
  return --allocations == 0 ? nullptr : __libc_malloc(size);
}
void* realloc(void* block, std::size_t size) noexcept {
  return --allocations == 0 ? nullptr : __libc_realloc(block, size);
}

}  // extern "C"

#endif

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Which of the allocations fails; 0: none.
pnml::Reading readFailing(const std::string& document, long number) {
  std::string text = document;
  const std::unique_ptr<std::FILE, CloseFile> file(fmemopen(text.data(), text.size(), "rb"));
  allocations = number;
  pnml::Reading reading = pnml::readNet(file.get());
  const bool failed = number != 0 && allocations <= 0;
  allocations = 0;
  if (!failed) reading.warnings.push_back({{}, "nothing has failed"});
  return reading;
}

}  // namespace

TEST(PnmlMemoryTest, WhereverMemoryIsMissingTheReaderSaysSo) {
#ifdef VESK_TESTS_UNDER_ASAN
  GTEST_SKIP() << "the allocator is the sanitizer's";
#endif
  std::string body;
  for (int i = 0; i < 40; ++i) {
    const std::string number = std::to_string(i);
    body += "<place id='a-place-with-a-long-name-" + number + "'><name><text>" +
            std::string(40, 'x') + "</text></name></place><transition id='t" + number +
            "'/><arc id='c" + number + "' source='a-place-with-a-long-name-" + number +
            "' target='t" + number + "'/>";
  }
  const std::string document = "<pnml><net id='n'>" + body + "</net></pnml>";
  const std::string expected = "the net is too large, expected one that fits into memory";
  int failed = 0;
  for (long number = 1;; ++number) {
    const pnml::Reading reading = readFailing(document, number);
    if (!reading.warnings.empty()) break;
    ++failed;
    if (reading.net) {  // the parser has gone on without
      ASSERT_EQ(40u, reading.net->places.size()) << number;
      continue;
    }
    ASSERT_EQ(1u, reading.errors.size()) << number;
    ASSERT_EQ(expected, reading.errors[0].text) << number;
  }
  EXPECT_GT(failed, 100);
  EXPECT_EQ(40u, readFailing(document, 0).net->places.size());
}
