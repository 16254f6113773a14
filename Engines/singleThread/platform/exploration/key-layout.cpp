#include "exploration/key-layout.hpp"

namespace Vesk {

KeyLayout::KeyLayout(std::size_t atoms) : mFields(atoms, Field{0, 1}) {
  arrange();
}

void KeyLayout::arrange() {
  mOwners.clear();
  for (std::size_t atom = 0; atom < mFields.size(); ++atom) {
    mFields[atom].offset = static_cast<std::uint32_t>(mOwners.size());
    mOwners.insert(mOwners.end(), mFields[atom].width, static_cast<std::uint32_t>(atom));
  }
}

KeyLayout KeyLayout::widened(std::size_t atom) const {
  KeyLayout wider = *this;
  wider.mFields[atom].width *= 2;
  wider.arrange();
  return wider;
}

void KeyLayout::convert(const KeyLayout& from, const unsigned char* key, unsigned char* to) const {
  for (std::size_t atom = 0; atom < mFields.size(); ++atom) set(to, atom, from.get(key, atom));
}

}  // namespace Vesk
