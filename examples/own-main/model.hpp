// A bakery: an oven bakes loaves while there is dough, a shelf keeps them until they are sold. Runs
// with time and without.
#ifndef VESK_EXAMPLES_OWN_MAIN_MODEL_HPP
#define VESK_EXAMPLES_OWN_MAIN_MODEL_HPP

#include <string>
#include <vector>

#include "vesk.hpp"

// An atom with one clock, which reads the time since the atom did something.
class Worker : public Atom {
 public:
  Worker(const char* name, const Compound* holder) : Atom(name, holder) {
    declare(Vesk::Locality::REPEATABLE);  // an exploration has no clock
  }

 protected:
  // A constraint over the clock; null in a run without time.
  Constraint* since(LogicalClock* clock, Vesk::Time low, Vesk::Time high, Urgency urgency);
  void restartClock();
};

class Oven : public Worker {
 public:
  Oven(const char* name, const Compound* holder);
  Port* bake() { return mPorts[0]; }
  const int& dough() const { return mDough; }
  const int& baked() const { return mBaked; }

  void initialize() override;
  void initialize(LogicalClock* clock) override;
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* state) override;

 private:
  void announce();

  int mDough = 0;
  int mBaked = 0;
  Constraint* mBaking = nullptr;
};

class Shelf : public Worker {
 public:
  Shelf(const char* name, const Compound* holder);
  Port* store() { return mPorts[0]; }
  Port* sell() { return mPorts[1]; }
  const int& loaves() const { return mLoaves; }
  const int& sold() const { return mSold; }

  void initialize() override;
  void initialize(LogicalClock* clock) override;
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* state) override;

 private:
  void announce();

  int mLoaves = 0;
  int mSold = 0;
  Constraint* mSelling = nullptr;
};

class Bakery : public Compound {
 public:
  explicit Bakery(const char* name);

 protected:
  Oven* mOven;    // the compound's
  Shelf* mShelf;  // the compound's
};

// A part of the model as the console shows it: named numbers and named parts.
class Shown : public VeskDebugElmt {
 public:
  explicit Shown(Shown* parent) : mParent(parent) {}

  // Neither the number nor the part is owned; both must live as long as this object.
  void showValue(const char* name, const int& number);
  void showPart(const char* name, Shown& part);

  char* getValue(char* name) override;
  VeskDebugElmt* getSubElement(char* name) override;
  char** getValuedElementNames() override { return mValues.names.data(); }
  char** getSubElementsNames() override { return mParts.names.data(); }
  VeskDebugElmt* getParent() override { return mParent; }

 private:
  template <class T>
  struct Table {
    void add(const char* name, T entry);
    const T* find(const char* name) const;

    std::vector<T> entries;
    std::vector<char*> names = {nullptr};  // of the entries, then a null
  };

  Shown* mParent;
  Table<const int*> mValues;
  Table<Shown*> mParts;
  std::string mText;  // of the value asked for last
};

// The bakery, built with debug support:
//   planned, kitchen.oven.dough, kitchen.oven.baked, shop.shelf.loaves, shop.shelf.sold
class ShownBakery : public Bakery, public Shown {
 public:
  explicit ShownBakery(const char* name);

 private:
  Shown mKitchen;
  Shown mShownOven;
  Shown mShop;
  Shown mShownShelf;
};

#endif
