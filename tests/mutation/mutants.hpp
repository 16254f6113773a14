// What instrumented sources call: every mutant is compiled in, and the variable VESK_MUTANT chooses
// the one that acts. It is included before everything else, by the compiler's command line.

#ifndef VESK_MUTANTS_HPP
#define VESK_MUTANTS_HPP

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vesk_mutants {

// The mutant that acts, or -1.
inline int chosenFromEnvironment() {
  const char* text = getenv("VESK_MUTANT");
  return text ? atoi(text) : -1;
}

// A byte for each mutant in the file VESK_MUTANTS_REACHED, which exists and is large enough. It is
// shared, so that nothing is lost when the process is killed. Null: nobody asks.
inline char* reachedFromEnvironment() {
  const char* path = getenv("VESK_MUTANTS_REACHED");
  const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) {
    return nullptr;
  }
  struct stat status;
  void* bytes = fstat(file, &status) == 0 ? mmap(nullptr, static_cast<size_t>(status.st_size),
                                                 PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                                          : MAP_FAILED;
  close(file);
  return bytes == MAP_FAILED ? nullptr : static_cast<char*>(bytes);
}

inline int chosen = chosenFromEnvironment();
inline char* reached = reachedFromEnvironment();

inline bool actsNow(int mutant) {
  if (reached) {
    reached[mutant] = 1;
  }
  return chosen == mutant;
}

// Whether the mutant acts. Constants that the compiler computes stay as they are.
constexpr bool acts(int mutant) {
  return __builtin_is_constant_evaluated() ? false : actsNow(mutant);
}

// The operators that differ when the mutant acts.
#define VESK_MUTANT_BINARY(name, usual, other)                                      \
  template <class Left, class Right>                                                \
  constexpr auto name(int mutant, const Left& left, const Right& right)             \
      ->decltype(left usual right) {                                                \
    return acts(mutant) ? static_cast<decltype(left usual right)>(left other right) \
                        : (left usual right);                                       \
  }
VESK_MUTANT_BINARY(less, <, <=)
VESK_MUTANT_BINARY(notGreater, <=, <)
VESK_MUTANT_BINARY(greater, >, >=)
VESK_MUTANT_BINARY(notLess, >=, >)
VESK_MUTANT_BINARY(sum, +, -)
VESK_MUTANT_BINARY(difference, -, +)
VESK_MUTANT_BINARY(product, *, +)
VESK_MUTANT_BINARY(quotient, /, *)
VESK_MUTANT_BINARY(rest, %, *)
VESK_MUTANT_BINARY(common, &, |)
VESK_MUTANT_BINARY(united, |, &)
VESK_MUTANT_BINARY(either, ^, |)
VESK_MUTANT_BINARY(shiftedLeft, <<, >>)
VESK_MUTANT_BINARY(shiftedRight, >>, <<)
#undef VESK_MUTANT_BINARY

#define VESK_MUTANT_ASSIGNMENT(name, usual, other)                   \
  template <class Left, class Right>                                 \
  constexpr Left& name(int mutant, Left& left, const Right& right) { \
    if (acts(mutant)) {                                              \
      left other right;                                              \
    } else {                                                         \
      left usual right;                                              \
    }                                                                \
    return left;                                                     \
  }
VESK_MUTANT_ASSIGNMENT(increase, +=, -=)
VESK_MUTANT_ASSIGNMENT(decrease, -=, +=)
VESK_MUTANT_ASSIGNMENT(multiply, *=, +=)
VESK_MUTANT_ASSIGNMENT(divide, /=, *=)
VESK_MUTANT_ASSIGNMENT(reduce, %=, *=)
VESK_MUTANT_ASSIGNMENT(intersect, &=, |=)
VESK_MUTANT_ASSIGNMENT(unite, |=, &=)
VESK_MUTANT_ASSIGNMENT(exclude, ^=, |=)
VESK_MUTANT_ASSIGNMENT(shiftLeft, <<=, >>=)
VESK_MUTANT_ASSIGNMENT(shiftRight, >>=, <<=)
#undef VESK_MUTANT_ASSIGNMENT

template <class Value>
constexpr Value& countUp(int mutant, Value& value) {
  return acts(mutant) ? --value : ++value;
}
template <class Value>
constexpr Value& countDown(int mutant, Value& value) {
  return acts(mutant) ? ++value : --value;
}
template <class Value>
constexpr Value countedUp(int mutant, Value& value) {
  return acts(mutant) ? value-- : value++;
}
template <class Value>
constexpr Value countedDown(int mutant, Value& value) {
  return acts(mutant) ? value++ : value--;
}

}  // namespace vesk_mutants

#endif
