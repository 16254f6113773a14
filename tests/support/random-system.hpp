// Whole systems, made of choices: trees of compounds, atoms with clocks, constraints and internal
// ports, rendezvous and broadcasts with guards and exported ports, priorities with guards, port
// priorities. Some raise flags, throw, or do what a model should not do. The same choices give the
// same system.
#ifndef VESK_TESTS_RANDOM_SYSTEM_HPP
#define VESK_TESTS_RANDOM_SYSTEM_HPP

#include <memory>
#include <string>
#include <vector>

#include "choices.hpp"
#include "vesk.hpp"

namespace kit {

// What systems may do.
struct Habits {
  bool raises = true;  // hooks raise flags for the searches
  bool throws = true;  // hooks throw
  bool lies = true;    // hooks contradict themselves from call to call
  int most = 1 << 30;  // so many transitions of atoms, then the model throws
  int wide = 3;        // so many of a hundred have dozens of atoms
  bool busy = false;   // and those have dozens of connectors as well
  // Who is called by the engine, and what it sees then; null: nobody asks.
  std::vector<std::string>* calls = nullptr;
};

class RandomRoot : public Compound {
 public:
  using Compound::Compound;
  // What the atoms and connectors keep when they are declared.
  virtual Vesk::Locality kept() const = 0;
  // Declares all atoms and connectors.
  virtual void declareAll(Vesk::Locality locality) = 0;
};

std::unique_ptr<RandomRoot> makeRandomSystem(Choices& choices, const Habits& habits);

}  // namespace kit

#endif
