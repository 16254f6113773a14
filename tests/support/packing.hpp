// Which engine a test program has.

#ifndef VESK_TESTS_PACKING_HPP
#define VESK_TESTS_PACKING_HPP

// Whether it packs all pending states that it can. The library starts when there are many.
extern const bool PACKS;

#endif
