#include "bridge.hpp"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <exception>
#include <string>
#include <utility>

#include "arguments.hpp"
#include "component.hpp"
#include "fault.hpp"

namespace Vesk::Pins {

namespace {

// So many slots have a type each: the numbers of their texts stay small. The multi-core tool has
// room for 500 types.
constexpr std::size_t MOST_TYPES = 400;
constexpr char SHARED_TYPE[] = "text";
// The distributed tool wants so many slots, and others crash when there is none. Those of no atom
// never change.
constexpr std::size_t FEWEST_SLOTS = 2;
constexpr char NO_ATOM[] = "none";
constexpr char ACTION[] =
    "action";  // name and type of the label of transitions, as tools expect it
constexpr char BOOLEAN[] = "bool";
constexpr Number UNKNOWN = UINT32_MAX;
constexpr int NOT_GIVEN = -1;
constexpr int FAILURE = 255;

enum StateLabel { ERROR_LABEL, PRUNE_LABEL, DEADLOCK_LABEL, VALID_END_LABEL, STATE_LABELS };
// With the last one tools do not take a state in which a search ends for a deadlock.
constexpr const char* STATE_LABEL_NAMES[STATE_LABELS] = {"error", "prune", "deadlock",
                                                         "valid_end_state"};

[[noreturn]] void endTool(const std::string& message) {
  std::fprintf(stderr, "vesk: %s\n", message.c_str());
  std::fflush(stderr);
  ltsmin_abort(FAILURE);
}

// Calls the model. What it throws must not pass through the tool, which is written in C.
template <class Call>
auto guarded(Call call) {
  try {
    return call();
  } catch (const std::exception& failure) {
    endTool(failure.what());
  } catch (...) {
    endTool("the model has thrown something that is no std::exception");
  }
}

// ---- One thread --------------------------------------------------------------------------------

constexpr char THREADS[] =
    "a model can be used by one thread only: let the tool work with processes (--procs=N)";

pthread_t loader;
std::atomic_flag isLoaded = ATOMIC_FLAG_INIT;

void refuseThreads() {
  if (pthread_equal(loader, pthread_self()) == 0) endTool(THREADS);
}

// ---- What the tool calls -----------------------------------------------------------------------

Bridge& bridgeOf(model_t host) {
  refuseThreads();
  return *static_cast<Bridge*>(GBgetContext(host));
}

int nextAll(model_t host, int* source, TransitionCB callback, void* context) {
  return guarded([&] { return bridgeOf(host).giveAll(source, callback, context); });
}

int nextOfGroup(model_t host, int group, int* source, TransitionCB callback, void* context) {
  return guarded([&] { return bridgeOf(host).giveGroup(group, source, callback, context); });
}

int stateLabelOf(model_t host, int label, int* state) {
  return guarded([&] { return bridgeOf(host).stateLabel(label, state); });
}

void endModel(model_t host) {
  delete static_cast<Bridge*>(GBgetContext(host));
  GBsetContext(host, nullptr);
}

// ---- The model ---------------------------------------------------------------------------------

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// The arguments live as long as the process: the model may keep pointers into them.
std::unique_ptr<Compound> makeModel(const char* name) {
  static Arguments arguments(name, variable(ARGUMENTS_VARIABLE));
  std::unique_ptr<Compound> root(Compound::Create(arguments.count(), arguments.values()));
  if (root == nullptr) throw Fault(std::string(name) + ": the model has not built a system");
  root->initialize(nullptr);
  return root;
}

}  // namespace

void load(model_t host, const char* name) {
  if (isLoaded.test_and_set()) endTool(THREADS);
  loader = pthread_self();
  guarded([&] {
    auto bridge = std::make_unique<Bridge>(host, makeModel(name));
    bridge->describe();
    GBsetContext(host, bridge.release());
    GBsetExit(host, endModel);
  });
}

Bridge::Bridge(model_t host, std::unique_ptr<Compound> root)
    : mHost(host),
      mRoot(std::move(root)),
      mSystem(System::create(*mRoot, !variable(ONE_GROUP_VARIABLE).empty())),
      mWidth(std::max(mSystem->slots(), FEWEST_SLOTS)),
      mNumbers(mSystem->slots()),
      mState(mSystem->slots()) {}

Bridge::~Bridge() = default;

// ---- What the model is like --------------------------------------------------------------------

void Bridge::describe() {
  GBsetLTStype(mHost, makeType());
  setMatrices();
  setInitialState();
  GBsetNextStateLong(mHost, nextOfGroup);
  GBsetNextStateAll(mHost, nextAll);
  GBsetStateLabelLong(mHost, stateLabelOf);
}

lts_type_t Bridge::makeType() {
  lts_type_t type = lts_type_create();
  nameSlots(type);
  nameLabels(type);
  lts_type_validate(type);
  return type;
}

void Bridge::nameSlots(lts_type_t type) {
  lts_type_set_state_length(type, static_cast<int>(mWidth));
  for (std::size_t slot = 0; slot < mWidth; ++slot) {
    const char* name = slot < mSystem->slots() ? mSystem->slotName(slot).c_str() : NO_ATOM;
    const char* typeName = mWidth <= MOST_TYPES ? name : SHARED_TYPE;
    mTypes.push_back(lts_type_put_type(type, typeName, LTStypeChunk, nullptr));
    lts_type_set_state_name(type, static_cast<int>(slot), name);
    lts_type_set_state_typeno(type, static_cast<int>(slot), mTypes.back());
  }
}

void Bridge::nameLabels(lts_type_t type) {
  mLabelType = lts_type_put_type(type, ACTION, LTStypeChunk, nullptr);
  lts_type_set_edge_label_count(type, 1);
  lts_type_set_edge_label_name(type, 0, ACTION);
  lts_type_set_edge_label_typeno(type, 0, mLabelType);
  const int boolean = lts_type_put_type(type, BOOLEAN, LTStypeBool, nullptr);
  lts_type_set_state_label_count(type, STATE_LABELS);
  for (int label = 0; label < STATE_LABELS; ++label) {
    lts_type_set_state_label_name(type, label, STATE_LABEL_NAMES[label]);
    lts_type_set_state_label_typeno(type, label, boolean);
  }
}

// The tool owns what it gets.
void Bridge::setMatrices() {
  GBsetDMInfo(mHost, makeGroupMatrix());
  GBsetDMInfoRead(mHost, makeGroupMatrix());
  GBsetDMInfoMayWrite(mHost, makeGroupMatrix());
  GBsetDMInfoMustWrite(mHost, makeGroupMatrix());
  GBsetStateLabelInfo(mHost, makeLabelMatrix());
}

matrix_t* Bridge::makeMatrix(std::size_t rows) const {
  auto* matrix = static_cast<matrix_t*>(std::malloc(sizeof(matrix_t)));
  if (matrix == nullptr) throw std::bad_alloc();
  dm_create(matrix, static_cast<int>(rows), static_cast<int>(mWidth));
  return matrix;
}

matrix_t* Bridge::makeGroupMatrix() const {
  const std::size_t groups = mSystem->groups();
  matrix_t* matrix = makeMatrix(groups);
  for (std::size_t group = 0; group < groups; ++group) {
    for (const Index slot : mSystem->slotsOf(group)) {
      dm_set(matrix, static_cast<int>(group), static_cast<int>(slot));
    }
  }
  return matrix;
}

// Every atom may have a marker, and every one may be what keeps a state from being a deadlock.
matrix_t* Bridge::makeLabelMatrix() const {
  matrix_t* matrix = makeMatrix(STATE_LABELS);
  for (int label = 0; label < STATE_LABELS; ++label) {
    for (std::size_t slot = 0; slot < mSystem->slots(); ++slot) {
      dm_set(matrix, label, static_cast<int>(slot));
    }
  }
  return matrix;
}

void Bridge::setInitialState() {
  std::vector<int> state;
  for (const Number number : mSystem->initialState()) {
    state.push_back(toolNumber(state.size(), number));
  }
  while (state.size() < mWidth) state.push_back(putText(mTypes[state.size()], NO_ATOM));
  GBsetInitialState(mHost, state.data());
}

// ---- Numbers -----------------------------------------------------------------------------------

int Bridge::toolNumber(std::size_t slot, Number number) {
  std::vector<int>& known = mNumbers[slot].tool;
  if (number >= known.size()) known.resize(number + 1, NOT_GIVEN);
  if (known[number] != NOT_GIVEN) return known[number];
  known[number] = putText(mTypes[slot], mSystem->texts(slot).text(number));
  return known[number];
}

int Bridge::putText(int type, std::string_view text) {
  chunk piece;
  piece.len = static_cast<chunk_len>(text.size());
  piece.data = const_cast<char*>(text.data());  // which is only read
  return pins_chunk_put(mHost, type, piece);
}

Number Bridge::ownNumber(std::size_t slot, int number) {
  std::vector<Number>& known = mNumbers[slot].own;
  const auto index = static_cast<std::size_t>(number);
  if (index >= known.size()) known.resize(index + 1, UNKNOWN);
  if (known[index] != UNKNOWN) return known[index];
  const chunk piece = pins_chunk_get(mHost, mTypes[slot], number);
  known[index] = mSystem->texts(slot).number(std::string_view(piece.data, piece.len));
  return known[index];
}

int Bridge::toolLabel(const char* label) {
  const auto known = mLabels.find(label);
  if (known != mLabels.end()) return known->second;
  return mLabels.emplace(label, putText(mLabelType, label)).first->second;
}

const Number* Bridge::ownState(const int* state) {
  for (std::size_t slot = 0; slot < mState.size(); ++slot)
    mState[slot] = ownNumber(slot, state[slot]);
  return mState.data();
}

const Number* Bridge::ownState(const int* state, const std::vector<Index>& slots) {
  for (const Index slot : slots) mState[slot] = ownNumber(slot, state[slot]);
  return mState.data();
}

// ---- Transitions and labels ---------------------------------------------------------------------

// Hands transitions out of one state to the tool.
class Bridge::Callback : public EdgeVisitor {
 public:
  Callback(Bridge& bridge, const int* source, TransitionCB callback, void* context)
      : mBridge(bridge), mSource(source), mCallback(callback), mContext(context) {
    mBridge.mTarget.assign(source, source + bridge.mWidth);
  }

  void visit(const Edge& edge) override {
    std::vector<int>& target = mBridge.mTarget;
    const Number* number = edge.numbers;
    for (const Index slot : edge.slots) target[slot] = mBridge.toolNumber(slot, *number++);
    int label = mBridge.toolLabel(edge.label);
    transition_info_t info{};
    info.labels = &label;
    info.group = static_cast<int>(edge.group);
    mCallback(mContext, &info, target.data(), nullptr);
    for (const Index slot : edge.slots) target[slot] = mSource[slot];
    ++mCount;
  }

  int count() const { return mCount; }

 private:
  Bridge& mBridge;
  const int* mSource;
  TransitionCB mCallback;
  void* mContext;
  int mCount = 0;
};

int Bridge::giveAll(int* source, TransitionCB callback, void* context) {
  Callback given(*this, source, callback, context);
  mSystem->visitAll(ownState(source), given);
  return given.count();
}

// A group sees its own slots alone, and so cannot know of a marker in another one.
int Bridge::giveGroup(int group, int* source, TransitionCB callback, void* context) {
  Callback given(*this, source, callback, context);
  const auto index = static_cast<std::size_t>(group);
  mSystem->visitGroup(index, ownState(source, mSystem->slotsOf(index)), given);
  if (mSystem->groups() > 1 && mSystem->hasMarkers()) {
    throw Fault(std::string("the model has states with markers: set the variable ") +
                ONE_GROUP_VARIABLE + ", or let the tool ask for all groups together");
  }
  return given.count();
}

int Bridge::stateLabel(int label, const int* state) {
  const Number* own = ownState(state);
  switch (label) {
    case ERROR_LABEL:
      return mSystem->isError(own);
    case PRUNE_LABEL:
      return mSystem->isPruned(own);
    case DEADLOCK_LABEL:
      return mSystem->isDeadlock(own);
    default:
      return mSystem->isError(own) || mSystem->isPruned(own);
  }
}

}  // namespace Vesk::Pins
