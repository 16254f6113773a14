#include "model.hpp"

#include <cstring>

namespace {

const int PLANNED = 3;  // loaves

// The text of an atom's state, from behind its first separator on.
char* textOf(Node* state) {
  return static_cast<Leaf*>(state)->getAleaf()->getVal() + 1;
}

// A rendezvous of all its ports.
class Together : public Connector {
 public:
  Together(const char* name, const Compound* holder, Port* port)
      : Connector(name, holder, false, {port}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  Together(const char* name, const Compound* holder, Port* one, Port* other)
      : Connector(name, holder, false, {one, other}) {
    declare(Vesk::Locality::REPEATABLE);
  }
  bool isBroadcast() override { return false; }
  using Connector::guard;
  bool guard() override { return maximal(); }
};

}  // namespace

// ---- Atoms -----------------------------------------------------------------------------------

Constraint* Worker::since(LogicalClock* clock, Vesk::Time low, Vesk::Time high, Urgency urgency) {
  if (clock == nullptr) return nullptr;
  Clock* own = new Clock("since", clock);
  mClocks.add(own);
  Constraint* constraint = new Constraint(own, low, high, urgency);
  mConstraints.add(constraint);
  return constraint;
}

void Worker::restartClock() {
  for (int i = 0; i < mClocks.count(); ++i) mClocks[i]->reset();
}

Oven::Oven(const char* name, const Compound* holder) : Worker(name, holder) {
  addPort(new Port("bake", this));
}

void Oven::initialize() {
  mDough = PLANNED;
  mBaked = 0;
  announce();
}

// A loaf takes two milliseconds, and dough does not keep longer than a hundred.
void Oven::initialize(LogicalClock* clock) {
  mBaking = since(clock, Vesk::Time::milliseconds(2), Vesk::Time::milliseconds(100), DELAYABLE);
  initialize();
}

void Oven::execute(Port*) {
  --mDough;
  ++mBaked;
  restartClock();
  announce();
}

Node* Oven::getState() {
  char text[32] = "";
  setVariableState(text, "dough", mDough);
  setVariableState(text, "baked", mBaked);
  return new Leaf(new Atomleaf(text));
}

void Oven::setState(Node* state) {
  char* cursor = textOf(state);
  mDough = getIntVariableState(cursor);
  mBaked = getIntVariableState(cursor);
  announce();
}

void Oven::announce() {
  bake()->setSynced(false);
  rt_sync({{bake(), mDough > 0, mBaking}});
}

Shelf::Shelf(const char* name, const Compound* holder) : Worker(name, holder) {
  addPort(new Port("store", this));
  addPort(new Port("sell", this));
}

void Shelf::initialize() {
  mLoaves = 0;
  mSold = 0;
  announce();
}

// A customer comes a millisecond after the last change at the earliest.
void Shelf::initialize(LogicalClock* clock) {
  mSelling = since(clock, Vesk::Time::milliseconds(1), Vesk::Time::MAX, LAZY);
  initialize();
}

void Shelf::execute(Port* port) {
  if (port == store()) {
    ++mLoaves;
  } else {
    --mLoaves;
    ++mSold;
  }
  restartClock();
  announce();
}

Node* Shelf::getState() {
  char text[32] = "";
  setVariableState(text, "loaves", mLoaves);
  setVariableState(text, "sold", mSold);
  return new Leaf(new Atomleaf(text));
}

void Shelf::setState(Node* state) {
  char* cursor = textOf(state);
  mLoaves = getIntVariableState(cursor);
  mSold = getIntVariableState(cursor);
  announce();
}

void Shelf::announce() {
  store()->setSynced(false);
  sell()->setSynced(false);
  rt_sync({{store(), true, nullptr}, {sell(), mLoaves > 0, mSelling}});
}

// ---- The bakery ------------------------------------------------------------------------------

Bakery::Bakery(const char* name)
    : Compound(name, nullptr), mOven(new Oven("oven", this)), mShelf(new Shelf("shelf", this)) {
  mComponents.add(mOven);
  mComponents.add(mShelf);
  mConnectors.add(new Together("deliver", this, mOven->bake(), mShelf->store()));
  mConnectors.add(new Together("sell", this, mShelf->sell()));
}

ShownBakery::ShownBakery(const char* name)
    : Bakery(name),
      Shown(nullptr),
      mKitchen(this),
      mShownOven(&mKitchen),
      mShop(this),
      mShownShelf(&mShop) {
  showValue("planned", PLANNED);
  showPart("kitchen", mKitchen);
  showPart("shop", mShop);
  mKitchen.showPart("oven", mShownOven);
  mShop.showPart("shelf", mShownShelf);
  mShownOven.showValue("dough", mOven->dough());
  mShownOven.showValue("baked", mOven->baked());
  mShownShelf.showValue("loaves", mShelf->loaves());
  mShownShelf.showValue("sold", mShelf->sold());
}

// ---- Debug support ---------------------------------------------------------------------------

template <class T>
void Shown::Table<T>::add(const char* name, T entry) {
  entries.push_back(entry);
  names.back() = const_cast<char*>(name);  // the console does not write into names
  names.push_back(nullptr);
}

template <class T>
const T* Shown::Table<T>::find(const char* name) const {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (std::strcmp(names[i], name) == 0) return &entries[i];
  }
  return nullptr;
}

void Shown::showValue(const char* name, const int& number) {
  mValues.add(name, &number);
}

void Shown::showPart(const char* name, Shown& part) {
  mParts.add(name, &part);
}

char* Shown::getValue(char* name) {
  const int* const* number = mValues.find(name);
  if (number == nullptr) return nullptr;
  mText = std::to_string(**number);
  return mText.data();
}

VeskDebugElmt* Shown::getSubElement(char* name) {
  Shown* const* part = mParts.find(name);
  return part == nullptr ? nullptr : *part;
}
