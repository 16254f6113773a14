#include "part-options.hpp"

#include <string>

#include "fault.hpp"
#include "printable.hpp"

namespace Vesk::Lts {

PartOptions::PartOptions(CLI::App& options) {
  CLI::Option* around = options.add_option("--around", mAround, "Only what lies around this state")
                            ->type_name("STATE");
  options.add_option("--radius", mRadius, "How many transitions around it, forwards or backwards")
      ->type_name("N")
      ->capture_default_str()
      ->needs(around);
}

Part PartOptions::part(const Exploration& exploration) const {
  const Graph& graph = exploration.graph();
  if (!mAround) return Part(graph);
  if (*mAround < graph.states()) return Part(graph, static_cast<State>(*mAround), mRadius);
  throw Fault("there is no state " + std::to_string(*mAround) + " in " +
              printable(exploration.files().transitions) + ", expected a number below " +
              std::to_string(graph.states()));
}

}  // namespace Vesk::Lts
