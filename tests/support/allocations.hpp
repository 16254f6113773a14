// Counts the calls of the allocator in the whole program. Include it in one source of a test
// program: it replaces the allocator's functions, or hooks into that of the address sanitizer.
#ifndef VESK_TESTS_ALLOCATIONS_HPP
#define VESK_TESTS_ALLOCATIONS_HPP

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define VESK_TESTS_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_TESTS_UNDER_ASAN 1
#endif
#endif

namespace kit {

// Blocks given out since the program began, and blocks given back. Both are plain numbers: the
// tests run in one thread.
struct Allocations {
  static long made;
  static long freed;
  static long live() { return made - freed; }
};

long Allocations::made = 0;
long Allocations::freed = 0;

}  // namespace kit

#ifdef VESK_TESTS_UNDER_ASAN

// The sanitizer's own; its header is not always installed.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*made)(const volatile void*,
                                                                      std::size_t),
                                                         void (*freed)(const volatile void*));

namespace kit {

const bool COUNTING = __sanitizer_install_malloc_and_free_hooks(
                          [](const volatile void*, std::size_t) { ++Allocations::made; },
                          [](const volatile void*) { ++Allocations::freed; }) != 0;

}  // namespace kit

#else

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept {
  ++kit::Allocations::made;
  return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
  ++kit::Allocations::made;
  return __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) noexcept {
  ++kit::Allocations::made;
  if (block != nullptr) ++kit::Allocations::freed;
  return __libc_realloc(block, size);
}
void free(void* block) noexcept {
  if (block != nullptr) ++kit::Allocations::freed;
  __libc_free(block);
}

}  // extern "C"

namespace kit {

const bool COUNTING = true;

}  // namespace kit

#endif
#endif
