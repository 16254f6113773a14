// Looks for mistakes in a model.
#ifndef VESK_INSPECT_CHECK_HPP
#define VESK_INSPECT_CHECK_HPP

#include "program.hpp"

namespace Vesk::Inspect {

// Prints what it has found; NEGATIVE when that is anything.
Status check(Arguments& arguments);

}  // namespace Vesk::Inspect

#endif
