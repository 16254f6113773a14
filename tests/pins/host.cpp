#include "host.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

// ---- The model ----------------------------------------------------------------------------------

grey_box_model::~grey_box_model() {
  if (exit != nullptr) exit(this);
  for (matrix_t* matrix : {depends, reads, mayWrite, mustWrite, labelReads}) {
    if (matrix != nullptr) std::free(matrix->cells);
    std::free(matrix);
  }
  delete type;
}

int grey_box_model::put(int typeNumber, const std::string& text) {
  const auto index = static_cast<std::size_t>(typeNumber);
  const auto number = static_cast<int>(chunks[index].size());
  const auto added = chunkNumbers[index].emplace(text, number);
  if (added.second) chunks[index].push_back(text);
  return added.first->second;
}

std::string grey_box_model::text(const State& state, std::size_t slot) const {
  const auto number = static_cast<std::size_t>(state[slot]);
  return chunks[static_cast<std::size_t>(type->slotTypes[slot])][number];
}

grey_box_model::Row grey_box_model::row(const matrix_t& matrix, int index) {
  Row columns;
  for (int column = 0; column < matrix.cols; ++column) {
    if (dm_is_set(&matrix, index, column) != 0) columns.push_back(column);
  }
  return columns;
}

namespace {

template <class T>
void setAt(std::vector<T>& values, int index, const T& value) {
  values.at(static_cast<std::size_t>(index)) = value;
}

void resize(std::vector<std::string>& names, std::vector<int>& types, int count) {
  names.resize(static_cast<std::size_t>(count));
  types.resize(static_cast<std::size_t>(count), -1);
}

}  // namespace

// ---- What a plugin calls ------------------------------------------------------------------------

extern "C" {

void ltsmin_abort(int code) {
  std::exit(code);
}

void dm_create(matrix_t* matrix, const int rows, const int cols) {
  const auto cells = static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
  *matrix = {rows, cols, static_cast<unsigned char*>(std::calloc(cells + 1, 1))};
}
void dm_set(matrix_t* matrix, const int row, const int col) {
  matrix->cells[row * matrix->cols + col] = 1;
}
int dm_is_set(const matrix_t* matrix, const int row, const int col) {
  return matrix->cells[row * matrix->cols + col];
}

lts_type_t lts_type_create() {
  return new lts_type_s;
}
void lts_type_validate(lts_type_t type) {
  for (const auto* numbers : {&type->slotTypes, &type->edgeLabelTypes, &type->stateLabelTypes}) {
    if (std::count(numbers->begin(), numbers->end(), -1) != 0) std::abort();
  }
}
int lts_type_put_type(lts_type_t type, const char* name, data_format_t format, int* is_new) {
  const auto known = std::find(type->types.begin(), type->types.end(), name);
  const auto number = static_cast<int>(known - type->types.begin());
  if (is_new != nullptr) *is_new = known == type->types.end();
  if (known != type->types.end()) return number;
  type->types.push_back(name);
  type->formats.push_back(format);
  return number;
}
void lts_type_set_state_length(lts_type_t type, int length) {
  resize(type->slots, type->slotTypes, length);
}
void lts_type_set_state_name(lts_type_t type, int slot, const char* name) {
  setAt(type->slots, slot, std::string(name));
}
void lts_type_set_state_typeno(lts_type_t type, int slot, int number) {
  setAt(type->slotTypes, slot, number);
}
void lts_type_set_edge_label_count(lts_type_t type, int count) {
  resize(type->edgeLabels, type->edgeLabelTypes, count);
}
void lts_type_set_edge_label_name(lts_type_t type, int label, const char* name) {
  setAt(type->edgeLabels, label, std::string(name));
}
void lts_type_set_edge_label_typeno(lts_type_t type, int label, int number) {
  setAt(type->edgeLabelTypes, label, number);
}
void lts_type_set_state_label_count(lts_type_t type, int count) {
  resize(type->stateLabels, type->stateLabelTypes, count);
}
void lts_type_set_state_label_name(lts_type_t type, int label, const char* name) {
  setAt(type->stateLabels, label, std::string(name));
}
void lts_type_set_state_label_typeno(lts_type_t type, int label, int number) {
  setAt(type->stateLabelTypes, label, number);
}

void GBsetContext(model_t model, void* context) {
  model->context = context;
}
void* GBgetContext(model_t model) {
  return model->context;
}
void GBsetLTStype(model_t model, lts_type_t type) {
  model->type = type;
  model->chunks.resize(type->types.size());
  model->chunkNumbers.resize(type->types.size());
}
void GBsetDMInfo(model_t model, matrix_t* matrix) {
  model->depends = matrix;
}
void GBsetDMInfoRead(model_t model, matrix_t* matrix) {
  model->reads = matrix;
}
void GBsetDMInfoMayWrite(model_t model, matrix_t* matrix) {
  model->mayWrite = matrix;
}
void GBsetDMInfoMustWrite(model_t model, matrix_t* matrix) {
  model->mustWrite = matrix;
}
void GBsetStateLabelInfo(model_t model, matrix_t* matrix) {
  model->labelReads = matrix;
}
void GBsetInitialState(model_t model, int* state) {
  model->initial.assign(state, state + model->type->slots.size());
}
void GBsetNextStateLong(model_t model, next_method_grey_t method) {
  model->nextOfGroup = method;
}
void GBsetNextStateAll(model_t model, next_method_black_t method) {
  model->nextAll = method;
}
void GBsetStateLabelLong(model_t model, get_label_method_t method) {
  model->stateLabel = method;
}
void GBsetExit(model_t model, ExitCB method) {
  model->exit = method;
}

int pins_chunk_put(model_t model, int type, const chunk value) {
  return model->put(type, std::string(value.data, value.len));
}
chunk pins_chunk_get(model_t model, int type, int number) {
  std::string& text =
      model->chunks.at(static_cast<std::size_t>(type)).at(static_cast<std::size_t>(number));
  chunk value;
  value.len = static_cast<chunk_len>(text.size());
  value.data = text.data();
  return value;
}
}

// ---- Exploration --------------------------------------------------------------------------------

namespace PinsHost {

namespace {

using State = grey_box_model::State;

// Takes the transitions out of one state after the other.
class Search {
 public:
  explicit Search(model_t model) : mModel(model) {}

  Exploration run(bool byGroups) {
    number(mModel->initial);
    for (mSource = 0; mSource < static_cast<int>(mFound.states.size()); ++mSource) {
      State state = mFound.states[static_cast<std::size_t>(mSource)];
      const std::size_t before = mFound.transitions.size();
      const int count =
          byGroups ? takeGroups(state) : mModel->nextAll(mModel, state.data(), take, this);
      if (static_cast<std::size_t>(count) != mFound.transitions.size() - before) std::abort();
    }
    return std::move(mFound);
  }

 private:
  int takeGroups(State& state) {
    int count = 0;
    for (int group = 0; group < mModel->depends->rows; ++group) {
      State narrowed = withoutOthers(state, group);
      mBase = &state;
      count += mModel->nextOfGroup(mModel, group, narrowed.data(), take, this);
      mBase = nullptr;
    }
    return count;
  }

  // The vector of a group as a symbolic tool gives it: the slots that the group does not read hold
  // what they held at first.
  State withoutOthers(const State& state, int group) const {
    State narrowed = mModel->initial;
    for (const int slot : grey_box_model::row(*mModel->reads, group)) {
      narrowed[static_cast<std::size_t>(slot)] = state[static_cast<std::size_t>(slot)];
    }
    return narrowed;
  }

  static void take(void* context, transition_info_t* info, int* target, int*) {
    static_cast<Search*>(context)->take(*info, target);
  }

  void take(const transition_info_t& info, const int* target) {
    State state(target, target + mModel->initial.size());
    if (mBase != nullptr) {
      State whole = *mBase;
      for (const int slot : grey_box_model::row(*mModel->mayWrite, info.group)) {
        whole[static_cast<std::size_t>(slot)] = state[static_cast<std::size_t>(slot)];
      }
      state = whole;
    }
    const auto type = static_cast<std::size_t>(mModel->type->edgeLabelTypes[0]);
    const std::string& label = mModel->chunks[type][static_cast<std::size_t>(info.labels[0])];
    mFound.transitions.push_back({mSource, label, number(state), info.group});
  }

  int number(const State& state) {
    const auto added = mNumbers.emplace(state, static_cast<int>(mNumbers.size()));
    if (added.second) mFound.states.push_back(state);
    return added.first->second;
  }

  model_t mModel;
  Exploration mFound;
  std::map<State, int> mNumbers;
  int mSource = 0;
  const State* mBase = nullptr;  // of which a group sees only its slots
};

}  // namespace

Exploration explore(model_t model, bool byGroups) {
  return Search(model).run(byGroups);
}

std::size_t countLabelled(model_t model, const Exploration& found, const std::string& label) {
  const std::vector<std::string>& labels = model->type->stateLabels;
  const auto index =
      static_cast<int>(std::find(labels.begin(), labels.end(), label) - labels.begin());
  return static_cast<std::size_t>(
      std::count_if(found.states.begin(), found.states.end(), [&](const State& state) {
        State copy = state;
        return model->stateLabel(model, index, copy.data()) != 0;
      }));
}

void write(const Exploration& found, const std::string& file) {
  std::ofstream out(file);
  out << "des(0, " << found.transitions.size() << ", " << found.states.size() << ")\n";
  for (const Transition& each : found.transitions) {
    out << "(" << each.source << ", " << each.label << ", " << each.target << ")\n";
  }
}

}  // namespace PinsHost
