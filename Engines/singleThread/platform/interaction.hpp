// Interactions: the sets of ports of a connector that may fire together.
//
// A connector numbers its ports in the order in which they were given. For a given connector and
// set there is one Interaction object, kept in a global table.
//
// A model names interactions in its priorities, and looks at them in the hooks of its connectors:
//
//     // That ports 0 and 2 of a connector fire together, and no other one.
//     Interaction* senderAndSecond(Connector* connector) {
//       return Interaction::Create(connector, {0, 2});
//     }
//
//     // In a guard: whether port 1 takes part.
//     bool takesPart(Connector& connector) { return connector.feasibleInter()->synced().in(1) != 0;
//     }
#ifndef VESK_INTERACTION_HPP
#define VESK_INTERACTION_HPP

#include <initializer_list>

#include "executable.hpp"
#include "structure.hpp"

class Connector;
class Priority;

// A hash table of 511 chains of cells. A new element stands first in its chain.
// Constant-initialised, so that it works before any constructor of a global has run, and never
// destroyed, so that it works after any destructor. It owns neither elements nor order: whoever
// stores an element takes it out again.
template <class T>
class HashTable {
 public:
  static constexpr unsigned int CHAINS = 511;

  // Holds one element of a chain.
  class Cell {
   public:
    Cell* next() const { return mNext; }
    T* element() const { return mElement; }

   private:
    friend class HashTable;
    Cell* mNext;
    T* mElement;
    Cell** mLink;  // the pointer that points at this cell
  };

  constexpr HashTable() : mHeads{}, mCount(0) {}

  // Elements in the table.
  int count() const { return mCount; }
  // First cell of a chain, or null. Requires: number < CHAINS.
  Cell* chain(unsigned int number) const { return mHeads[number]; }
  // Stores an element at the front of a chain. The cell stays valid until it is removed.
  Cell* add(unsigned int number, T* element) {
    Cell* cell = new Cell;
    add(number, element, *cell);
    return cell;
  }
  // The same with a cell that belongs to the caller.
  void add(unsigned int number, T* element, Cell& cell) {
    cell.mNext = mHeads[number];
    cell.mElement = element;
    cell.mLink = &mHeads[number];
    if (cell.mNext != nullptr) cell.mNext->mLink = &cell.mNext;
    mHeads[number] = &cell;
    ++mCount;
  }
  // Takes an element out; the element itself stays.
  void remove(Cell* cell) {
    takeOut(*cell);
    delete cell;
  }
  // The same for a cell that belongs to the caller.
  void takeOut(Cell& cell) {
    *cell.mLink = cell.mNext;
    if (cell.mNext != nullptr) cell.mNext->mLink = cell.mLink;
    --mCount;
  }

 private:
  Cell* mHeads[CHAINS];
  int mCount;
};

// A set of ports of one connector that fire together. Owns its constraint, which is null when no
// port of the set is timed.
class Interaction : public Executable {
 public:
  // All interactions that Create() has made, by connector and set.
  static HashTable<Interaction> TABLE;

  // The one interaction of this connector and set, made when there is none yet. It belongs to the
  // connector. The second form takes the n port indices as int.
  static Interaction* Create(const Connector* connector, const BitVector& set);
  static Interaction* Create(const Connector* connector, int n, ...);
  // The same with the port indices in a list: Create(connector, {0, 2}).
  static Interaction* Create(const Connector* connector, std::initializer_list<int> indices);
  // The same, with the intersection of the constraints of the set's ports as its constraint. Null
  // when that is empty. The set of enabled ports plays no part.
  static Interaction* CreateRealTime(const Connector* connector, const BitVector& enabled,
                                     const BitVector& set);

  // An interaction outside the table.
  Interaction(const Connector* connector, const BitVector& set);
  // A copy outside the table with a constraint of its own, mark and dominated flag of the other, no
  // inhibitors and no successor.
  Interaction(const Interaction& other);
  ~Interaction() override;
  // A new copy that the caller owns.
  Interaction* copy() const;

  // Slot order is fixed: generated code is built against it.
  // "compound/connector/atom:port|atom:port". The text is shared by all connectors: the next label
  // overwrites it.
  char* label() override;
  // Fires every port of the set in index order, and marks the connector's exported port as not
  // enabled before that.
  void execute(const Vesk::Time& t) override;
  // Moves the data down: the connector's dn(), then every port of the set in index order.
  void actuate(const Vesk::Time& t) override;
  // Without a constraint the deadline is MAX and the next time is t: it may fire at any time.
  Vesk::Time deadline(const Vesk::Time& t) const override;
  Vesk::Time next(const Vesk::Time& t) const override;
  // The clock of the compound that holds the connector; null in a run without time.
  GenericClock* displayClock() const override;

  // Link of a connector's list of feasible interactions, rebuilt at every evaluation. The connector
  // holds the head; in a broadcast the set found last stands first.
  Interaction* next() const { return mNext; }
  void setNext(Interaction* interaction) { mNext = interaction; }
  // Never null. Not owned.
  Connector* connector() const { return mConnector; }
  // The port indices.
  const BitVector& synced() const { return mSynced; }
  // The priorities in which this is the low interaction, in the order of their setup. Not owned.
  Array<Priority, false>& inhibitors() { return mInhibitors; }
  // Same connector and same set.
  bool equal(const Interaction* other) const;
  // Same connector and this set contained in the other's; equal tells whether the sets are the
  // same.
  bool isSubset(const Interaction* other, bool& equal) const;
  // A number below n from the connector's name and the set, the same on all machines. Requires: n
  // is not 0.
  unsigned int hash(unsigned int n) const;
  // Writes the names of the ports, separated by "|", to standard output.
  void print() const;

 protected:
  Connector* mConnector;
  BitVector mSynced;
  Array<Priority, false> mInhibitors;
  Interaction* mNext;

  // Makes the intersection of the constraints of the set's ports its constraint. False when that is
  // empty: there is no time at which it is possible.
  bool intersectPortConstraints();

 private:
  void noteFired() const;
  void resetConstraint();
};

#endif
