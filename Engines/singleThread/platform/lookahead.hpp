// Brings memory near before steps need it. Private to the engine.
#ifndef VESK_LOOKAHEAD_HPP
#define VESK_LOOKAHEAD_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>

class Atom;
class Connector;
class Constraint;
class Interaction;
class Port;

namespace Vesk {

// The step of a large system waits for memory most of the time, because its parts lie far from each
// other and each tells where the next one is. Here stands for each connector, and for each internal
// port, where all of that is, so that the processor can fetch it at once: when it is known what
// will fire next, and when a neighbour fires, that is a connector with an atom in common.
//
// What stands here is learned when something fires for the first time. It is a hint and nothing
// else: it is never followed, so what has moved or gone costs time alone.
class Lookahead {
 public:
  // Whether a system with so many connectors and ports does not fit into the caches.
  static bool pays(std::size_t count);

  // For numbers below the limit.
  explicit Lookahead(std::size_t limit);

  // The connector with this number fires: its neighbours may be next.
  void fires(std::size_t number, Connector& connector);
  // The internal port with this number fires. False when it is not known.
  bool fires(std::size_t number, const Port& port);
  // Gets to know a port, with what the engine keeps about it elsewhere. Requires: below the limit.
  void learn(std::size_t number, const Port& port, std::initializer_list<const void*> kept);
  // It will fire, and it may fire after the next ones.
  void bring(std::size_t number);
  void comesNear(std::size_t number) const;
  // The fields of a connector, which may be null, will be read.
  static void comesNear(const Connector* connector);

 private:
  static constexpr std::size_t NEIGHBOURS = 3;
  static constexpr std::size_t LINES = 40;  // more are left out
  static constexpr std::uint32_t NOBODY = 0;
  static constexpr std::uintptr_t REGION = 0x80000000;  // lines of a region

  struct alignas(64) Entry {
    const void* who;                                   // null: not learned
    std::uint32_t brought;                             // when
    std::uint32_t count;                               // of the lines
    std::array<std::uint32_t, NEIGHBOURS> neighbours;  // numbers + 1; NOBODY at the end
    std::array<std::uint32_t, LINES> lines;            // of the caches, by region and place there
  };
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };

  void bringNeighbours(std::size_t number);
  void learn(Entry& entry, Connector& connector);
  void meet(std::size_t number, Connector& connector);
  void addNeighbour(std::size_t number, std::size_t neighbour);
  void noteInteraction(Entry& entry, const Interaction& interaction);
  void notePort(Entry& entry, const Port& port);
  void noteAtom(Entry& entry, Atom& atom);
  void noteConstraint(Entry& entry, Constraint* constraint);
  void note(Entry& entry, const void* object, std::size_t bytes);

  std::size_t mLimit;
  std::uint32_t mNow;                  // counts what fires
  std::unique_ptr<void, Free> mBlock;  // untouched memory where nothing has been learned
  Entry* mEntries;                     // in the block
  // Where the two regions begin in which allocators place things.
  std::array<const char*, 2> mBases;
};

}  // namespace Vesk

#endif
