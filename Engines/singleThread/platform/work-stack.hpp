// A stack for walks that must not recurse. Private to the engine.
#ifndef VESK_WORK_STACK_HPP
#define VESK_WORK_STACK_HPP

#include <cstddef>
#include <vector>

#include "immortal.hpp"

namespace Vesk {

// All uses of one element type share their storage, so
// that a walk of a steady state allocates nothing; a use may begin while another is under way, and
// ends before it.
template <class T>
class WorkStack {
 public:
  WorkStack() : mItems(storage()), mBottom(mItems.size()) {}
  WorkStack(const WorkStack&) = delete;
  WorkStack& operator=(const WorkStack&) = delete;
  ~WorkStack() {
    while (!empty()) mItems.pop_back();
  }

  bool empty() const { return mItems.size() == mBottom; }
  void push(const T& item) { mItems.push_back(item); }
  // The item pushed last; valid until the next push. Requires for both: not empty.
  T& top() { return mItems.back(); }
  T pop() {
    const T item = mItems.back();
    mItems.pop_back();
    return item;
  }

 private:
  static std::vector<T>& storage() {
    static Immortal<std::vector<T>> items;
    return *items;
  }

  std::vector<T>& mItems;
  const std::size_t mBottom;
};

}  // namespace Vesk

#endif
