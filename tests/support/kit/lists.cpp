#include <initializer_list>
#include <string>

#include "kit/lists.hpp"

namespace kit {

BitVector setOf(std::initializer_list<int> indices) {
  BitVector set;
  for (int index : indices) set.add(index);
  return set;
}

std::string text(const BitVector& set) {
  std::string list;
  for (int i = 0; i < BitVector::CAPACITY; ++i) {
    if (set.in(i) == 0) continue;
    list += (list.empty() ? "" : ",") + std::to_string(i);
  }
  return "{" + list + "}";
}

std::string sets(Interaction* head) {
  std::string list;
  for (Interaction* interaction : listOf(head)) {
    list += (list.empty() ? "" : " ") + text(interaction->synced());
  }
  return list.empty() ? "none" : list;
}

std::string names(Connector* head) {
  std::string list;
  for (Connector* connector : listOf(head)) {
    list += (list.empty() ? "" : " ") + std::string(connector->name());
  }
  return list.empty() ? "none" : list;
}

std::string text(const Vesk::Time& t) {
  if (t == Vesk::Time::MIN) return "MIN";
  if (t == Vesk::Time::MAX) return "MAX";
  return std::to_string(t.microseconds());
}

std::string spans(const Constraint* constraint) {
  if (constraint == nullptr) return "null";
  std::string list;
  for (unsigned int i = 0; i < constraint->size(); ++i) {
    const Interval interval = (*constraint)[i];
    list += (list.empty() ? "[" : " [") + text(interval.low()) + "," + text(interval.high()) + "]";
    if (interval.urgency() == DELAYABLE) list += " delayable";
    if (interval.urgency() == EAGER) list += " eager";
    if (interval.dominated()) list += " dominated";
    if (!interval.observable()) list += " hidden";
  }
  return list.empty() ? "none" : list;
}

}  // namespace kit
