// The timed engine's view of what is enabled: the feasible interactions of the legal connectors, in
// the order of the lists, then the enabled internal ports. Nothing is owned or copied; walking
// allocates nothing.
#ifndef VESK_EXECUTABLES_HPP
#define VESK_EXECUTABLES_HPP

#include "executable.hpp"

class Connector;
class Interaction;
class Port;

// An executable is visible under a mask when it is not dominated and carries no mark bit of the
// mask. Mask 0 sees everything that is not dominated; the full mask sees what no filter has
// removed.
class Executables {
 public:
  static constexpr unsigned int FULL_MASK = ~0u;

  // A position in the walk under one mask.
  class iterator {
   public:
    iterator() : mMask(0), mConnector(nullptr), mInteraction(nullptr), mInternal(nullptr) {}
    iterator(const iterator&) = default;
    // begin() and end() make positions.
    iterator(unsigned int mask, Connector* connector, Interaction* interaction, Port* internal)
        : mMask(mask), mConnector(connector), mInteraction(interaction), mInternal(internal) {}
    iterator& operator=(const iterator&) = default;

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
    // All four fields equal: positions under different masks never are.
    bool operator==(const iterator& other) const;
    bool operator!=(const iterator& other) const { return !(*this == other); }

   protected:
    unsigned int mMask;
    Connector* mConnector;
    Interaction* mInteraction;
    Port* mInternal;
  };

  Executables() : mConnector(nullptr), mInternals(nullptr) {}
  virtual ~Executables() {}

  // Heads of the two lists that are walked.
  Connector* connector() const { return mConnector; }
  void setConnector(Connector* connector) { mConnector = connector; }
  Port* internals() const { return mInternals; }
  void setInternals(Port* internals) { mInternals = internals; }
  void initialize(Connector* connector, Port* internals);

  // The first position that is visible under the mask, and the one behind the last.
  iterator begin(unsigned int mask = FULL_MASK) const;
  iterator end(unsigned int mask = FULL_MASK) const {
    return iterator(mask, nullptr, nullptr, nullptr);
  }
  // How many are visible; walks them.
  int count(unsigned int mask = FULL_MASK) const;
  // Number i of those visible under the full mask, from 0; null beyond the last.
  Executable* operator[](unsigned int i) const;

  // Adds mark bits to the executable at a position. Requires: not the end.
  void mark(iterator position, unsigned int bits);
  // Deliberate: any bits but 0 clear all marks of the executable; 0 keeps only bit 0. Policies of
  // models expect it. (docs/decisions/0017-marks-are-cleared-together.md)
  void unmark(iterator position, unsigned int bits);
  // mark() and unmark() for everything that is not dominated.
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
