// Whether the parts of a model do what they have declared.
#ifndef VESK_INSPECT_PROMISES_HPP
#define VESK_INSPECT_PROMISES_HPP

#include "program.hpp"

namespace Vesk::Inspect {

// Prints the first part that breaks its word, with the state and the difference; NEGATIVE then.
Status checkPromises(Arguments& arguments);

}  // namespace Vesk::Inspect

#endif
