#include "exploration/labels.hpp"

#include <cstdint>
#include <cstring>

#include "connector.hpp"

namespace Vesk {

std::size_t Labels::Hash::operator()(const Key& key) const {
  return key.set.scattered() + reinterpret_cast<std::uintptr_t>(key.connector) / sizeof(void*);
}

// A long label is not copied to LABEL, which has no room for it.
Label Labels::of(Connector& connector, const BitVector& set) {
  const Key key{&connector, set};
  auto kept = mKept.find(key);
  if (kept == mKept.end()) {
    if (mKept.size() >= mMost) clear();
    kept = mKept.emplace(key, connector.rt_label(set)).first;
    mBytes += sizeof *kept + 2 * sizeof(void*) + kept->second.capacity();
  }
  const std::string& text = kept->second;
  if (text.size() < sizeof Connector::LABEL) {
    std::memcpy(Connector::LABEL, text.c_str(), text.size() + 1);
  }
  return {text.c_str(), text.size()};
}

void Labels::clear() {
  mKept.clear();
  mBytes = 0;
}

Label Labels::of(Connector& connector) {
  const Interaction* interaction = connector.feasibleInter();
  return of(connector, interaction != nullptr ? interaction->synced() : BitVector::EMPTY);
}

}  // namespace Vesk
