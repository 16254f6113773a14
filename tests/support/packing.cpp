#include "packing.hpp"

#ifdef VESK_MOST_PENDING_NODES
const bool PACKS = true;
#else
const bool PACKS = false;
#endif
