#include "run-observer.hpp"

namespace Vesk {

RunObserver* runObserver = nullptr;

void watchRuns(RunObserver* observer) {
  runObserver = observer;
}

}  // namespace Vesk
