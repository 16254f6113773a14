// The flags by which a model speaks to a search: global_error, global_prune and faulty_leaf.
// Private to the engine.
#ifndef VESK_EXPLORATION_FLAGS_HPP
#define VESK_EXPLORATION_FLAGS_HPP

#include "states.hpp"

namespace Vesk {

// Lowers the flags that model code raises.
inline void clearFlags() {
  global_error = false;
  global_prune = false;
  faulty_leaf = nullptr;
}

// Puts the flags back as they were when this object was made.
class KeptFlags {
 public:
  KeptFlags() : mError(global_error), mPrune(global_prune), mLeaf(faulty_leaf) {}
  KeptFlags(const KeptFlags&) = delete;
  KeptFlags& operator=(const KeptFlags&) = delete;
  ~KeptFlags() {
    global_error = mError;
    global_prune = mPrune;
    faulty_leaf = mLeaf;
  }

 private:
  const bool mError;
  const bool mPrune;
  Leaf* const mLeaf;
};

}  // namespace Vesk

#endif
