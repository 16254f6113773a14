// A model as LTSmin sees it: what its tools ask of a plugin, answered by a system. Private to the
// plugin.
#ifndef VESK_PINS_BRIDGE_HPP
#define VESK_PINS_BRIDGE_HPP

#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ltsmin-interface.hpp"
#include "system.hpp"

class Compound;

namespace Vesk::Pins {

// Names the variable with the arguments of the model.
constexpr char ARGUMENTS_VARIABLE[] = "VESK_ARGUMENTS";
// Names the variable that asks for one group of transitions.
constexpr char ONE_GROUP_VARIABLE[] = "VESK_PINS_ONE_GROUP";

// Builds the model and tells the tool all about it. Ends the tool with a message when that cannot
// be done.
void load(model_t host, const char* name);

class Bridge {
 public:
  Bridge(model_t host, std::unique_ptr<Compound> root);
  Bridge(const Bridge&) = delete;
  Bridge& operator=(const Bridge&) = delete;
  ~Bridge();

  // Tells the tool what the model is like.
  void describe();
  // Transitions, each given to the tool by its callback; returns how many there are. The vectors
  // are those of the tool.
  int giveAll(int* source, TransitionCB callback, void* context);
  int giveGroup(int group, int* source, TransitionCB callback, void* context);
  int stateLabel(int label, const int* state);

 private:
  class Callback;

  // The numbers of a slot's texts in the tool and in this process.
  struct SlotNumbers {
    std::vector<int> tool;    // by this process's number
    std::vector<Number> own;  // by the tool's number
  };

  lts_type_t makeType();
  void nameSlots(lts_type_t type);
  void nameLabels(lts_type_t type);
  void setMatrices();
  matrix_t* makeMatrix(std::size_t rows) const;
  matrix_t* makeGroupMatrix() const;
  matrix_t* makeLabelMatrix() const;
  void setInitialState();
  Number ownNumber(std::size_t slot, int number);
  int toolNumber(std::size_t slot, Number number);
  int putText(int type, std::string_view text);
  int toolLabel(const char* label);
  const Number* ownState(const int* state);
  const Number* ownState(const int* state, const std::vector<Index>& slots);

  model_t mHost;
  std::unique_ptr<Compound> mRoot;
  std::unique_ptr<System> mSystem;
  std::size_t mWidth;       // of the vector: the slots of the system, and more if these are too few
  std::vector<int> mTypes;  // per slot
  int mLabelType = 0;
  std::vector<SlotNumbers> mNumbers;  // per slot
  std::unordered_map<const char*, int> mLabels;
  std::vector<Number> mState;  // that is looked at
  std::vector<int> mTarget;    // of the transition that is given
};

}  // namespace Vesk::Pins

#endif
