// Finds states by their texts.
#ifndef VESK_LTS_TEXT_INDEX_HPP
#define VESK_LTS_TEXT_INDEX_HPP

#include <string_view>

#include "column.hpp"
#include "graph.hpp"
#include "state-texts.hpp"

namespace Vesk::Lts {

class TextIndex {
 public:
  // The texts must live as long. Of several states with one text, the first counts.
  TextIndex(const StateTexts& texts, std::size_t states);
  // Graph::NO_STATE: there is none.
  State find(std::string_view text) const { return mSlots[slotOf(text)]; }

 private:
  std::size_t slotOf(std::string_view text) const;

  const StateTexts& mTexts;
  Column<State> mSlots;  // a power of two; NO_STATE: free
};

}  // namespace Vesk::Lts

#endif
