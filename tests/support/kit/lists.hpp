// The model's lists and sets as values that compare and print well.
#ifndef VESK_TESTS_KIT_LISTS_HPP
#define VESK_TESTS_KIT_LISTS_HPP

#include <initializer_list>
#include <string>
#include <vector>

#include "vesk.hpp"

namespace kit {

// The elements of a list linked through next(), from its head.
template <class T>
std::vector<T*> listOf(T* head) {
  std::vector<T*> list;
  for (T* element = head; element != nullptr; element = element->next()) list.push_back(element);
  return list;
}

template <class T, bool Owning>
std::vector<T*> elements(const Array<T, Owning>& array) {
  std::vector<T*> list;
  for (int i = 0; i < array.count(); ++i) list.push_back(array[i]);
  return list;
}

BitVector setOf(std::initializer_list<int> indices);

// "{0,2}".
std::string text(const BitVector& set);

// The sets of a list of interactions, "{0,1} {0}", or "none".
std::string sets(Interaction* head);

// The names of a list of connectors, "k2 k1", or "none".
std::string names(Connector* head);

std::string text(const Vesk::Time& t);

// Bounds in microseconds and what departs from lazy, observable and not dominated:
// "[0,10] [20,MAX] eager dominated hidden"; "none" without intervals, "null" without constraint.
std::string spans(const Constraint* constraint);

}  // namespace kit

#endif
