#include "promises.hpp"

#include <optional>
#include <string>

#include "arguments.hpp"
#include "component.hpp"
#include "exploration/promise-check.hpp"
#include "names.hpp"

namespace Vesk::Inspect {

namespace {

const char* const NOTHING =
    "nothing is promised: not every atom and connector is declared, or promises are not enough for "
    "this model, such as one with timing constraints\n";

std::string wordFor(Locality promise) {
  return promise == Locality::REPEATABLE ? "REPEATABLE" : "LOCAL";
}

// How far the search has come.
std::string examined(const PromiseCheck& check, std::size_t most) {
  if (check.isUnfinished()) {
    const std::string number = std::to_string(most);
    return "the first " + number + " states and " + number + " steps at random";
  }
  return check.states() == 1 ? "the only state"
                             : "all " + std::to_string(check.states()) + " states";
}

}  // namespace

Status checkPromises(Arguments& arguments) {
  const std::unique_ptr<Compound> root = build(arguments);
  if (root == nullptr) return FAILURE;
  const std::size_t steps = arguments.request().steps;
  std::optional<PromiseCheck> check;
  std::optional<BrokenPromise> broken;
  {
    const OutputAside aside(OutputAside::TO_NOWHERE);
    check.emplace(*root);
    broken = check->run(steps);
    if (!broken && check->isUnfinished()) broken = check->walk(steps, arguments.seed());
  }
  if (check->promise() == Locality::UNDECLARED) return print(NOTHING);
  if (!broken) {
    return print("kept in " + examined(*check, steps) + ": " + wordFor(check->promise()) + "\n");
  }
  const Status printed = print("broken: " + utf8(broken->message()));
  return printed == SUCCESS ? NEGATIVE : printed;
}

}  // namespace Vesk::Inspect
