// A check of what an activation leaves, for tests. Private to the engine.
#ifndef VESK_ACTIVATION_CHECK_HPP
#define VESK_ACTIVATION_CHECK_HPP

class Compound;

namespace Vesk {

// Looks at the whole tree below a compound that has just been activated: its lists, the marks that
// priorities leave, and who owns what. A fault ends the program with a message. Takes time in
// proportion to what the activation has found. Only builds with VESK_VALIDATE have it, and call it
// at every step.
void checkActivation(Compound& root);

}  // namespace Vesk

#endif
