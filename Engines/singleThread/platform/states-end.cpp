// How state trees end. A search ends one for every transition that it takes, so this source has the
// inline pool, unlike the one with the rest of the nodes.
#include "states.hpp"
#include "virtual-table.hpp"

namespace {

// Null until the library is initialised; no object has that as its table.
const void* const PLAIN_TEXT = Vesk::tableOf(Atomleaf());
const void* const PLAIN_LEAF = Vesk::tableOf(Leaf(nullptr));

// What an object of exactly this class does when it is deleted, without looking up its class.
template <class T>
void end(T* object) {
  object->T::~T();
  T::operator delete(object, sizeof(T));
}

}  // namespace

Atomleaf::~Atomleaf() {
  if (value != mShort) delete[] value;
}

Leaf::~Leaf() {
  if (aleaf != nullptr && Vesk::tableOf(*aleaf) == PLAIN_TEXT) {
    end(aleaf);
  } else {
    delete aleaf;
  }
}

Nonleaf::~Nonleaf() {
  for (int i = 0; i < numChild; ++i) {
    Node* const child = children[i];
    if (child != nullptr && Vesk::tableOf(*child) == PLAIN_LEAF) {
      end(static_cast<Leaf*>(child));
    } else {
      delete child;
    }
  }
  delete[] children;
}
