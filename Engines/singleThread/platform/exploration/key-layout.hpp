// Where the numbers of a state's atoms stand in its key. Private to the engine.
#ifndef VESK_EXPLORATION_KEY_LAYOUT_HPP
#define VESK_EXPLORATION_KEY_LAYOUT_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace Vesk {

// A key is a row of numbers, one per atom. Each has one, two or four bytes, as the largest number
// of its atom needs.
class KeyLayout {
 public:
  using Number = std::uint32_t;

  KeyLayout() = default;
  // One byte for each.
  explicit KeyLayout(std::size_t atoms);

  std::size_t bytes() const { return mOwners.size(); }
  // The largest number that there is room for.
  Number most(std::size_t atom) const { return MOST[mFields[atom].width]; }
  Number get(const unsigned char* key, std::size_t atom) const {
    const Field& field = mFields[atom];
    if (field.width == 1) return key[field.offset];
    Number number = 0;
    if (field.width == 2) {
      std::uint16_t narrow;
      std::memcpy(&narrow, key + field.offset, sizeof narrow);
      number = narrow;
    } else {
      std::memcpy(&number, key + field.offset, sizeof number);
    }
    return number;
  }
  // Requires: number <= most(atom).
  void set(unsigned char* key, std::size_t atom, Number number) const {
    const Field& field = mFields[atom];
    if (field.width == 1) {
      key[field.offset] = static_cast<unsigned char>(number);
    } else if (field.width == 2) {
      const auto narrow = static_cast<std::uint16_t>(number);
      std::memcpy(key + field.offset, &narrow, sizeof narrow);
    } else {
      std::memcpy(key + field.offset, &number, sizeof number);
    }
  }
  // The atom whose number a byte of the key belongs to.
  std::size_t owner(std::size_t byte) const { return mOwners[byte]; }
  // With room for larger numbers of one atom.
  KeyLayout widened(std::size_t atom) const;
  // Copies a key of another layout.
  void convert(const KeyLayout& from, const unsigned char* key, unsigned char* to) const;

 private:
  static constexpr Number MOST[] = {0, UINT8_MAX, UINT16_MAX, 0, UINT32_MAX};

  struct Field {
    std::uint32_t offset;
    std::uint32_t width;
  };

  void arrange();

  std::vector<Field> mFields;          // per atom
  std::vector<std::uint32_t> mOwners;  // per byte
};

}  // namespace Vesk

#endif
