// Brings memory near before steps need it. Private to the engine.
#ifndef VESK_LOOKAHEAD_HPP
#define VESK_LOOKAHEAD_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class Atom;
class Connector;
class Constraint;
class Interaction;
class Port;

namespace Vesk {

// The step of a large system waits for memory most of the time, because its parts lie far from each
// other and each tells where the next one is. Here stands for each connector, and for each internal
// port, where all of that is, so that the processor can fetch it at once: when it is known what will
// fire next, and when a neighbour fires, that is a connector with an atom in common.
//
// What stands here is learned when something fires for the first time. It is a hint and nothing
// else: it is never followed, so what has moved or gone costs time alone.
class Lookahead {
 public:
  // Whether a system with so many connectors and ports does not fit into the caches.
  static bool pays(std::size_t count) { return count >= 4096; }

  // For numbers below the limit.
  explicit Lookahead(std::size_t limit);

  // The connector with this number fires: its neighbours may be next.
  void fires(std::size_t number, Connector& connector);
  // The internal port with this number fires.
  void fires(std::size_t number, const Port& port);
  // It will fire.
  void bring(std::size_t number);

 private:
  static constexpr std::size_t NEIGHBOURS = 3;
  static constexpr std::size_t LINES = 32;  // for each number, on average
  static constexpr std::size_t MOST_LINES = 256;  // for one; more are left out
  static constexpr std::uint32_t NOBODY = 0;

  struct Entry {
    const void* who;  // null: not learned
    std::uint32_t first;
    std::uint32_t count;
    std::uint32_t brought;  // when
    std::array<std::uint32_t, NEIGHBOURS> neighbours;  // numbers + 1; NOBODY at the end
  };
  struct Free {
    void operator()(Entry* entries) const;
  };

  bool hasRoom() const { return mLines.size() + MOST_LINES <= mLines.capacity(); }
  void bringNeighbours(std::size_t number);
  void learn(std::size_t number, Connector& connector);
  void meet(std::size_t number, Connector& connector);
  void addNeighbour(std::size_t number, std::size_t neighbour);
  void begin(std::size_t number, const void* who);
  void end(std::size_t number);
  void noteInteraction(const Interaction& interaction);
  void notePort(const Port& port);
  void noteAtom(Atom& atom);
  void noteConstraint(Constraint* constraint);
  void note(const void* object, std::size_t bytes);

  std::size_t mLimit;
  std::uint32_t mNow;    // counts what fires
  std::uintptr_t mBase;  // number of the line from which the lines count
  std::unique_ptr<Entry[], Free> mEntries;  // untouched memory where nothing has been learned
  std::vector<std::uint32_t> mLines;        // of the caches
};

}  // namespace Vesk

#endif
