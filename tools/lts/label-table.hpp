// Gives each label a number.
#ifndef VESK_LTS_LABEL_TABLE_HPP
#define VESK_LTS_LABEL_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "column.hpp"

namespace Vesk::Lts {

using Label = std::uint32_t;

// Labels count from 0 in the order in which they come.
class LabelTable {
 public:
  static constexpr Label NONE = ~Label{0};

  LabelTable();

  std::size_t size() const { return mStarts.size() - 1; }
  // Holds until the next intern().
  std::string_view text(Label label) const {
    return {mTexts.data() + mStarts[label], mStarts[label + 1] - mStarts[label]};
  }
  // The number of the label, which may be a new one.
  Label intern(std::string_view text);
  // NONE: there is no such label.
  Label find(std::string_view text) const;

 private:
  struct Slot {
    std::uint32_t hash;
    Label label;  // NONE: free
  };

  std::size_t slotOf(std::string_view text, std::uint32_t hash) const;
  void rebuild(std::size_t slots);

  Column<char> mTexts;
  Column<std::size_t> mStarts;
  Column<Slot> mSlots;  // a power of two
};

}  // namespace Vesk::Lts

#endif
