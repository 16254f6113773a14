// Models that keep the promises of locality.hpp, made at random: the same model again and again,
// each time with another declaration.
#ifndef VESK_TESTS_KIT_PROMISED_MODELS_HPP
#define VESK_TESTS_KIT_PROMISED_MODELS_HPP

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kit/connectors.hpp"
#include "kit/explorations.hpp"
#include "kit/systems.hpp"
#include "vesk.hpp"

namespace kit {

// What a model raises when an atom comes to one of its states.
enum class Signal {
  NONE,
  PRUNE,
  ERROR,
  LEAF,        // faulty_leaf alone: a leaf that is in no tree
  PRUNE_LEAF,  // both
  ERROR_LEAF,
  PRUNE_OWN,  // the leaf that the atom gives
  COUNT
};

// An atom with numbered states and a table of transitions. Without liberties it keeps both
// promises, with them the smaller one.
class PromisedAtom : public Atom {
 public:
  enum Shape { LEAF, RICH_LEAF, TWO_LEAVES };

  // Two states may have one text: setState() then takes the first, with what it announces.
  PromisedAtom(const std::string& name, const Compound* holder, std::vector<std::string> texts);
  ~PromisedAtom() override;

  // A port with its transitions, from state to state. Fired in any other state it changes nothing.
  Port* addPort(const std::string& name, const std::map<int, int>& transitions);
  // The state after the port depends on that of another atom of the connector, too.
  void follow(Port* port, const PromisedAtom* other) { mFollowed[port] = other; }
  int states() const { return static_cast<int>(mTexts.size()); }
  // What connectors may read.
  int value() const { return mState; }

  Shape shape = LEAF;
  std::map<int, Signal> shown;  // by state, the first one with its text: raised by getState()
  // Liberties.
  std::map<int, Signal> raised;  // by state: raised by execute()
  bool restless = false;         // after execute() it announces other ports than after setState()
  bool speaks = false;           // execute() writes to both streams

  using Atom::initialize;
  void initialize() override;
  void execute(Port* port) override;
  Node* getState() override;
  void setState(Node* state) override;

 private:
  void announce(bool other);
  static void raise(const std::map<int, Signal>& signals, int state, Leaf* own);
  Node* makeNode(const std::string& text) const;

  std::vector<std::string> mTexts;
  std::map<std::string, int> mNumbers;  // of the first state with the text
  std::map<const Port*, std::map<int, int>> mTransitions;
  std::map<const Port*, const PromisedAtom*> mFollowed;
  int mState = 0;
};

// A connector whose exported port has a value.
class PromisedConnector : public TestConnector {
 public:
  PromisedConnector(Kind kind, const std::string& name, const Compound* holder, bool subconn);
  ~PromisedConnector() override;

  int value = 0;
};

class PromisedModel {
 public:
  explicit PromisedModel(unsigned int seed) : mSeed(seed) {}

  // The largest promise that the model keeps.
  Vesk::Locality kept() const;
  // The model, with this declaration of all its parts.
  std::unique_ptr<System> make(Vesk::Locality declared) const;

 private:
  unsigned int mSeed;
};

// What an exploration of a model leaves behind that is declared like this, without the rates that a
// busy machine makes it show.
Explored exploredAs(Vesk::Locality declared, Traversal traversal,
                    const std::function<void(System&)>& fill, int limit = 0);

// Declares all atoms and connectors of a system.
void declareAll(Compound& system, Vesk::Locality locality);

inline const char* nameOf(Vesk::Locality locality) {
  static const char* const names[] = {"undeclared", "local", "repeatable"};
  return names[static_cast<int>(locality)];
}

}  // namespace kit

#endif
