// A host for plugins, small and slow: all that a plugin tells it can be looked at.
#ifndef VESK_TESTS_PINS_HOST_HPP
#define VESK_TESTS_PINS_HOST_HPP

#include <map>
#include <string>
#include <vector>

#include "ltsmin-interface.hpp"

struct lts_type_s {
  std::vector<std::string> types;
  std::vector<data_format_t> formats;
  std::vector<std::string> slots;
  std::vector<int> slotTypes;
  std::vector<std::string> edgeLabels;
  std::vector<int> edgeLabelTypes;
  std::vector<std::string> stateLabels;
  std::vector<int> stateLabelTypes;
};

// The model as a plugin describes it.
struct grey_box_model {
  using State = std::vector<int>;
  using Row = std::vector<int>;  // the columns that are set

  void* context = nullptr;
  lts_type_t type = nullptr;
  matrix_t* depends = nullptr;
  matrix_t* reads = nullptr;
  matrix_t* mayWrite = nullptr;
  matrix_t* mustWrite = nullptr;
  matrix_t* labelReads = nullptr;
  State initial;
  next_method_grey_t nextOfGroup = nullptr;
  next_method_black_t nextAll = nullptr;
  get_label_method_t stateLabel = nullptr;
  ExitCB exit = nullptr;
  std::vector<std::vector<std::string>> chunks;          // per type, by number
  std::vector<std::map<std::string, int>> chunkNumbers;  // per type

  grey_box_model() = default;
  grey_box_model(const grey_box_model&) = delete;
  grey_box_model& operator=(const grey_box_model&) = delete;
  ~grey_box_model();

  int put(int typeNumber, const std::string& text);
  std::string text(const State& state, std::size_t slot) const;
  static Row row(const matrix_t& matrix, int index);
};

namespace PinsHost {

struct Transition {
  int source;
  std::string label;
  int target;
  int group;
};

// The states that can be reached, in the order in which they are found, and the transitions between
// them.
struct Exploration {
  std::vector<std::vector<int>> states;
  std::vector<Transition> transitions;
};

// By all groups together, or by one after the other.
Exploration explore(model_t model, bool byGroups);
// How many of the states have a label.
std::size_t countLabelled(model_t model, const Exploration& found, const std::string& label);
// A transition system in the format of the engine's own.
void write(const Exploration& found, const std::string& file);

}  // namespace PinsHost

#endif
