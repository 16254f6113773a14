// Mistakes that can be seen of a model without running it.
#ifndef VESK_INSPECT_STRUCTURE_CHECK_HPP
#define VESK_INSPECT_STRUCTURE_CHECK_HPP

namespace Vesk::Inspect {

class Findings;
class Parts;

void checkStructure(const Parts& parts, Findings& findings);

}  // namespace Vesk::Inspect

#endif
