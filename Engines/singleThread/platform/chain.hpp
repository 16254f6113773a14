// The elements of an intrusive list as a range. Private to the engine.
#ifndef VESK_CHAIN_HPP
#define VESK_CHAIN_HPP

namespace Vesk {

// The list that starts at a head, which may be null, and goes on through next():
// `for (Port* port : Chain(internals))`. The link of an element is read when its turn is over, so a
// turn may change what stands behind its element.
template <class T>
class Chain {
 public:
  class Iterator {
   public:
    explicit Iterator(T* element) : mElement(element) {}
    T* operator*() const { return mElement; }
    Iterator& operator++() {
      mElement = mElement->next();
      return *this;
    }
    bool operator!=(const Iterator& other) const { return mElement != other.mElement; }

   private:
    T* mElement;
  };

  explicit Chain(T* head) : mHead(head) {}
  Iterator begin() const { return Iterator(mHead); }
  Iterator end() const { return Iterator(nullptr); }

 private:
  T* mHead;
};

}  // namespace Vesk

#endif
