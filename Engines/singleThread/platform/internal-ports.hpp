// The lists of enabled timed internal ports, kept from one activation to the next. Private to the
// engine.
#ifndef VESK_INTERNAL_PORTS_HPP
#define VESK_INTERNAL_PORTS_HPP

#include <array>
#include <cstddef>
#include <vector>

#include "rank-set.hpp"

class Atom;
class Compound;
class Constraint;
class Port;

namespace Vesk {

// Every port of an atom that has internal ports has a rank, its turn in the walk of the tree, and
// the list of the root has those that are enabled with a constraint, the highest rank first. The
// list of a compound below is the part of it that begins with its own last one.
//
// What may change such a port is noted: its atom has moved or announces, or an operation of the
// port is called. The fields of a port are open to the classes of models, so update() looks at the
// ports of all atoms as well, or of many atoms, at some in turns; as soon as it has found a change
// that nobody had noted it looks at all of them every time.
class InternalPorts {
 public:
  // An atom has moved. One that had no internal ports is looked at as well: it may have got its
  // first one.
  static void noteMoved(const Atom& atom) {
    if (sKept > 0) noteMovedAtom(atom);
  }
  // An operation of an internal port has been called, or the port of an atom has become internal.
  static void noteChanged(const Atom& atom) {
    if (sKept > 0) noteChangedAtom(atom);
  }
  // A walk has linked the internal ports of an atom.
  static void noteLinked(const Atom& atom) {
    if (sKept > 0) noteLinkedAtom(atom);
  }
  static bool hasInternalPorts(const Atom& atom);

  InternalPorts();
  InternalPorts(const InternalPorts&) = delete;
  InternalPorts& operator=(const InternalPorts&) = delete;
  ~InternalPorts();

  // Take up the parts of a tree in the order of the walk; begin() after the last one.
  void enter(Compound& compound);
  void add(Atom& atom);
  void leave();
  void begin();

  // Brings the lists up to date. False when they have to be made anew: atoms or ports have come, or
  // somebody else has linked the ports.
  bool update();

  // The ports, by rank, of which something was noted or found in the last update().
  const std::vector<std::size_t>& changed() const { return mChanged; }
  std::size_t ranks() const { return mPorts.size(); }
  // Null when the port is not in the list.
  Port* listed(std::size_t rank) const { return mListed.has(rank) ? mPorts[rank].port : nullptr; }
  // What it keeps about a port and its atom, for Lookahead.
  std::array<const void*, 3> kept(std::size_t rank) const;

 private:
  struct Registry;

  struct Place {
    Port* port;
    std::size_t level;  // of the compound that has its atom
    const Constraint* constraint;
  };
  // A compound with the ranks of all ports below it.
  struct Level {
    Compound* compound;
    std::size_t around;  // index of the level above; its own for the root
    std::size_t first;
    std::size_t end;
  };
  struct Watched {
    Atom* atom;
    std::size_t first;  // rank of its first port
    int ports;
    bool noted;
  };

  static void noteMovedAtom(const Atom& atom);
  static void noteChangedAtom(const Atom& atom);
  static void noteLinkedAtom(const Atom& atom);

  void note(std::size_t index);
  bool look();
  bool looksAtAll() const;
  bool allLookUnchanged() const;
  bool refresh(const Watched& watched, bool noted, bool& differs);
  void list(std::size_t rank, bool listed);
  void setHeads(std::size_t rank);
  void setEnds();
  Port* portAt(std::size_t rank) const;

  static unsigned int sKept;      // how many of these objects there are
  static unsigned int sInternal;  // how often an internal port was noted that none of them has

  std::vector<Place> mPorts;
  std::vector<Level> mLevels;
  std::vector<Watched> mAtoms;
  std::vector<std::size_t> mNoted;    // indices of atoms
  std::vector<std::size_t> mChanged;  // ranks
  RankSet mListed;
  std::size_t mLevel;     // that is being taken up
  std::size_t mLookedAt;  // index of an atom
  unsigned int mInternal;
  bool mDisturbed;
  bool mUnnoted;  // a change was found that nobody had noted
};

}  // namespace Vesk

#endif
