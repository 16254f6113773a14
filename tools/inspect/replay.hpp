// Follows the path of an exploration with priorities and time.
#ifndef VESK_INSPECT_REPLAY_HPP
#define VESK_INSPECT_REPLAY_HPP

#include "program.hpp"

namespace Vesk::Inspect {

// The path is a file that `vesk-lts path --json` has written. Prints when each step fires, and
// whether the end is reached, as a deadlock if it is one there; NEGATIVE when it is not, with the
// reason.
Status replay(Arguments& arguments);

}  // namespace Vesk::Inspect

#endif
