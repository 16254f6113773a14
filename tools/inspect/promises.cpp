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

std::string counted(std::size_t states) {
  return std::to_string(states) + (states == 1 ? " state" : " states");
}

}  // namespace

Status checkPromises(Arguments& arguments) {
  const std::unique_ptr<Compound> root = build(arguments);
  if (root == nullptr) return FAILURE;
  std::optional<PromiseCheck> check;
  std::optional<BrokenPromise> broken;
  {
    const OutputAside aside(OutputAside::TO_NOWHERE);
    check.emplace(*root);
    broken = check->run(arguments.request().steps);
  }
  if (check->promise() == Locality::UNDECLARED) return print(NOTHING);
  if (!broken) {
    return print("kept in " + counted(check->states()) + ": " + wordFor(check->promise()) + "\n");
  }
  const Status printed = print("broken: " + utf8(broken->message()));
  return printed == SUCCESS ? NEGATIVE : printed;
}

}  // namespace Vesk::Inspect
