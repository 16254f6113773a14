#include "part-options.hpp"

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
  if (!mAround) return Part(exploration.graph());
  return Part(exploration.graph(), exploration.stateNumbered(*mAround), mRadius);
}

}  // namespace Vesk::Lts
