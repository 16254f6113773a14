// How the engine makes the lists of its own classes. Private to the engine.
#ifndef VESK_ON_DEMAND_HPP
#define VESK_ON_DEMAND_HPP

namespace Vesk {

// An Array that is made with this has no block before its first element. Models know the name
// alone, so their lists have the room that they ask for.
class OnDemand {};

inline constexpr OnDemand ON_DEMAND;

}  // namespace Vesk

#endif
