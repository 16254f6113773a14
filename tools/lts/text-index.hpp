// Finds states by their texts, each of them once.
#ifndef VESK_LTS_TEXT_INDEX_HPP
#define VESK_LTS_TEXT_INDEX_HPP

#include <string_view>
#include <unordered_map>

#include "column.hpp"
#include "graph.hpp"
#include "state-texts.hpp"

namespace Vesk::Lts {

class TextIndex {
 public:
  // The texts must live as long.
  TextIndex(const StateTexts& texts, std::size_t states);
  // The next state with this text: of several in the order of their numbers, the last one again and
  // again. Graph::NO_STATE: there is none.
  State next(std::string_view text);

 private:
  std::size_t slotOf(std::string_view text) const;

  const StateTexts& mTexts;
  Column<State> mSlots;                       // a power of two; NO_STATE: free
  std::unordered_map<State, State> mFurther;  // to the next state with the same text
};

}  // namespace Vesk::Lts

#endif
