// Counts every call of the allocator. Include it in one source of a test program. The sanitizers
// have allocators of their own, which are left alone: there VESK_COUNTS_ALLOCATIONS is 0.
#ifndef VESK_TESTS_ALLOCATION_COUNT_HPP
#define VESK_TESTS_ALLOCATION_COUNT_HPP

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define VESK_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef VESK_COUNTS_ALLOCATIONS
#define VESK_COUNTS_ALLOCATIONS 1
#endif

#if VESK_COUNTS_ALLOCATIONS

inline long allocationCount = 0;

// operator new comes here as well.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) {
  ++allocationCount;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  ++allocationCount;
  return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  ++allocationCount;
  return __libc_realloc(block, size);
}
}

#endif
#endif
