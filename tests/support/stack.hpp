// Runs a function on a stack of the size that a program starts with by default.
#ifndef VESK_TESTS_STACK_HPP
#define VESK_TESTS_STACK_HPP

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <functional>

namespace kit {

constexpr std::size_t DEFAULT_STACK = 8u * 1024u * 1024u;

inline void* callFunction(void* function) {
  (*static_cast<std::function<void()>*>(function))();
  return nullptr;
}

// Returns when the function has returned. A stack overflow ends the test program.
inline void onDefaultStack(std::function<void()> function) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, DEFAULT_STACK), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, callFunction, &function), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

}  // namespace kit

#endif
