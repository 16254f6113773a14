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
  const std::size_t hash = Hash()(key);
  Recent& recent = mRecent[hash % RECENT];
  if (!(recent.key == key)) recent = {key, &find(connector, key)};
  const std::string& text = *recent.text;
  if (text.size() < sizeof Connector::LABEL) {
    std::memcpy(Connector::LABEL, text.c_str(), text.size() + 1);
  }
  return {text.c_str(), text.size()};
}

const std::string& Labels::find(Connector& connector, const Key& key) {
  const auto kept = mKept.find(key);
  if (kept != mKept.end()) return kept->second;
  if (mKept.size() >= mMost) clear();
  const auto added = mKept.emplace(key, connector.rt_label(key.set)).first;
  mBytes += sizeof *added + 2 * sizeof(void*) + added->second.capacity();
  return added->second;
}

void Labels::clear() {
  mKept.clear();
  mRecent.assign(RECENT, Recent());
  mBytes = 0;
}

Label Labels::of(Connector& connector) {
  const Interaction* interaction = connector.feasibleInter();
  return of(connector, interaction != nullptr ? interaction->synced() : BitVector::EMPTY);
}

}  // namespace Vesk
