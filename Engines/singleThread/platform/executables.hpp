// The timed engine's view of what is enabled: the feasible interactions of the legal connectors, in
// the order of the lists, then the enabled internal ports. Nothing is owned or copied; walking
// allocates nothing. The walk is valid until the next activation.
//
//     // In a policy: what can fire at once, of all that the filters have left.
//     int countEnabledNow(const Executables& executables, const Vesk::Time& now) {
//       int count = 0;
//       for (auto it = executables.begin(); it != executables.end(); ++it) {
//         if ((*it)->next(now) == now) ++count;
//       }
//       return count;
//     }
#ifndef VESK_EXECUTABLES_HPP
#define VESK_EXECUTABLES_HPP

#include "executable.hpp"

class Connector;
class Interaction;
class Port;

// An executable is visible under a mask when it is not dominated and carries no mark bit of the
// mask. Mask 0 sees everything that is not dominated; the full mask sees what no filter has
// removed. Order, for all operations: the connectors as they stand in their list, for each of them
// its feasible interactions as they stand in theirs, then the internal ports.
class Executables {
 public:
  static constexpr unsigned int FULL_MASK = ~0u;

  // A position in the walk under one mask.
  class iterator {
   public:
    // A position in no walk, equal to end(0).
    iterator() : mMask(0), mConnector(nullptr), mInteraction(nullptr), mInternal(nullptr) {}
    iterator(const iterator&) = default;
    // begin() and end() make positions.
    iterator(unsigned int mask, Connector* connector, Interaction* interaction, Port* internal)
        : mMask(mask), mConnector(connector), mInteraction(interaction), mInternal(internal) {}
    iterator& operator=(const iterator&) = default;

    // The parts of a position: the connector and its interaction, both null when the walk has come
    // to the ports; the port then, and before that the first port of the list. All three are null
    // at the end. Setting one by itself may give a position that no walk has.
    unsigned int mask() const { return mMask; }
    void setMask(unsigned int mask) { mMask = mask; }
    Connector* connector() const { return mConnector; }
    void setConnector(Connector* connector) { mConnector = connector; }
    Interaction* interaction() const { return mInteraction; }
    void setInteraction(Interaction* interaction) { mInteraction = interaction; }
    Port* internal() const { return mInternal; }
    void setInternal(Port* internal) { mInternal = internal; }

    // To the next visible executable; stays at the end.
    void next();
    // As next().
    iterator& operator++();
    // As next(), and gives the position before that.
    iterator operator++(int);
    // n times next(); nothing for n < 1.
    iterator& operator+=(int n);
    // The position that += leads to.
    iterator operator+(int n) const;
    // The interaction, else the internal port; null at the end.
    Executable* operator*() const;
    // All four fields equal: positions under different masks never are, not even their ends.
    bool operator==(const iterator& other) const;
    bool operator!=(const iterator& other) const { return !(*this == other); }

   protected:
    unsigned int mMask;
    Connector* mConnector;
    Interaction* mInteraction;
    Port* mInternal;
  };

  // Nothing to walk: count() is 0.
  Executables() : mConnector(nullptr), mInternals(nullptr) {}
  virtual ~Executables() {}

  // Heads of the two lists that are walked.
  Connector* connector() const { return mConnector; }
  void setConnector(Connector* connector) { mConnector = connector; }
  Port* internals() const { return mInternals; }
  void setInternals(Port* internals) { mInternals = internals; }
  // Sets both heads. The engine does at the start of each step.
  void initialize(Connector* connector, Port* internals);

  // The first position that is visible under the mask, and the one behind the last, which are equal
  // when nothing is visible. What is marked or dominated later is skipped when the walk gets there.
  // Both ends of a loop need the same mask.
  iterator begin(unsigned int mask = FULL_MASK) const;
  iterator end(unsigned int mask = FULL_MASK) const {
    return iterator(mask, nullptr, nullptr, nullptr);
  }
  // How many are visible; walks them, so the cost grows with their number.
  int count(unsigned int mask = FULL_MASK) const;
  // Number i of those visible under the full mask, from 0, as the dialogue lists them from 1; null
  // beyond the last. Walks up to it.
  Executable* operator[](unsigned int i) const;

  // Adds mark bits to the executable at a position, which may hide it from a walk that is under
  // way; the walk goes on all the same. Requires: not the end.
  void mark(iterator position, unsigned int bits);
  // Deliberate: any bits but 0 clear all marks of the executable; 0 keeps only bit 0. Policies of
  // models expect it. (docs/decisions/0017-marks-are-cleared-together.md)
  void unmark(iterator position, unsigned int bits);
  // mark() and unmark() for everything that is not dominated. What is dominated keeps its marks, so
  // it may come back with them when its domination ends.
  void markAll(unsigned int bits = FULL_MASK);
  void unmarkAll(unsigned int bits = FULL_MASK);

 protected:
  Connector* mConnector;
  Port* mInternals;

 private:
  static void init(Connector*& connector, Interaction*& interaction, Port*& internal);
  static void advance(unsigned int mask, Connector*& connector, Interaction*& interaction,
                      Port*& internal);
  static void next(unsigned int mask, Connector*& connector, Interaction*& interaction,
                   Port*& internal);
};

#endif
