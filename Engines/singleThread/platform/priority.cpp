#include "priority.hpp"

#include <unordered_set>

#include "component.hpp"
#include "connector.hpp"
#include "structure.hpp"
#include "work-stack.hpp"

Priority::Priority(Compound* holder, Interaction* low, Interaction* high, Vesk::Time delay)
    : mHolder(holder), mLow(low), mHigh(high), mEvaluated(false), mApplied(false), mDelay(delay) {}

void Priority::setup() {
  mLow->inhibitors().add(this);
  Connector* lowConnector = mLow->connector();
  lowConnector->setDominatedPriority(this);
  if (mHigh != nullptr) {
    mHigh->connector()->setDominatorPriority(this);
    return;
  }
  for (Connector* connector : lowConnector->holder()->connectors()) {
    if (connector != lowConnector) connector->setDominatorPriority(this);
  }
}

void Priority::apply(Executable& low, Executable& high) {
  high.dominate(low, mDelay);
  mApplied = true;
}

void Priority::reset() {
  mEvaluated = false;
  mApplied = false;
}

// ---- Static levels -----------------------------------------------------------------------------

namespace {

// One walk from a priority through the inhibitors of the interactions whose connectors get a level:
// depth first, in the order of the lists, on a stack of its own so that long chains do not
// overflow the program's. The priorities are asked through their virtual operation, which finds
// the walk that is under way.
class LevelWalk {
 public:
  static LevelWalk* underWay;

  LevelWalk() { underWay = this; }
  LevelWalk(const LevelWalk&) = delete;
  LevelWalk& operator=(const LevelWalk&) = delete;
  ~LevelWalk() { underWay = nullptr; }

  // Without level. A connector that got the number of "no level" as its level in this walk is not
  // given another one, or the walk might not end.
  bool isOpen(const Connector* connector) const {
    return connector->noPrio() && mAtNoLevel.count(connector) == 0;
  }
  void assign(Connector* connector, int level) {
    connector->setPriority(level);
    if (connector->noPrio()) mAtNoLevel.insert(connector);
  }
  // The priorities added come out first, in the order of the list.
  void visitLater(const Array<Priority, false>& priorities) {
    for (int i = priorities.count() - 1; i >= 0; --i) mPending.push(priorities[i]);
  }
  void finish() {
    while (!mPending.empty()) mPending.pop()->setupPrioLevel();
  }

 private:
  Vesk::WorkStack<Priority*> mPending;
  std::unordered_set<const Connector*> mAtNoLevel;
};

LevelWalk* LevelWalk::underWay = nullptr;

void assignLevels(LevelWalk& walk, Interaction& low, Interaction& high) {
  Connector* lower = low.connector();
  Connector* higher = high.connector();
  const bool lowerOpen = walk.isOpen(lower);
  const bool higherOpen = walk.isOpen(higher);
  if (lowerOpen) walk.assign(lower, higherOpen ? 0 : higher->getPriority() - 1);
  if (higherOpen) walk.assign(higher, lowerOpen ? 1 : lower->getPriority() + 1);
  if (higherOpen) walk.visitLater(high.inhibitors());
  if (lowerOpen) walk.visitLater(low.inhibitors());
}

}  // namespace

void Priority::setupPrioLevel() {
  if (mHigh == nullptr) return;
  if (LevelWalk::underWay != nullptr) {
    assignLevels(*LevelWalk::underWay, *mLow, *mHigh);
    return;
  }
  LevelWalk walk;
  assignLevels(walk, *mLow, *mHigh);
  walk.finish();
}
