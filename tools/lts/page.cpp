#include "page.hpp"

#include <string_view>

#include "page-parts.hpp"
#include "printable.hpp"
#include "state-texts.hpp"
#include "summary.hpp"
#include "writer.hpp"

namespace Vesk::Lts {

namespace {

// JSON within an element of HTML must not end it.
std::string withoutTags(std::string json) {
  std::string result;
  result.reserve(json.size());
  for (char c : json) {
    if (c == '<') {
      result += "\\u003c";
    } else if (c == '>') {
      result += "\\u003e";
    } else if (c == '&') {
      result += "\\u0026";
    } else {
      result += c;
    }
  }
  return result;
}

std::string htmlText(std::string_view text) {
  std::string result;
  for (char c : text) {
    if (c == '<') {
      result += "&lt;";
    } else if (c == '>') {
      result += "&gt;";
    } else if (c == '&') {
      result += "&amp;";
    } else {
      result += c;
    }
  }
  return result;
}

// Puts text in the place that the template has for it. What is put in is not looked at again.
std::string filledIn(std::string_view page,
                     const std::vector<std::pair<std::string_view, std::string>>& parts) {
  std::string result;
  for (const auto& [place, text] : parts) {
    const std::size_t at = page.find(place);
    result.append(page, 0, at).append(text);
    page.remove_prefix(at + place.size());
  }
  return result.append(page);
}

// Only the kinds of states that are special, as pairs of place and kind.
void addStates(Json& data, const Exploration& exploration, const Part& part,
               const StateTexts& texts) {
  Json numbers = Json::array();
  Json list = Json::array();
  Json kinds = Json::array();
  part.eachState([&](State state) {
    const std::string kind = kindsOf(exploration, state);
    if (!kind.empty()) kinds.push_back({numbers.size(), kind});
    const auto text = texts.of(state);
    numbers.push_back(state);
    list.push_back(text ? Json(*text) : Json());
  });
  data["numbers"] = std::move(numbers);
  data["texts"] = std::move(list);
  data["kinds"] = std::move(kinds);
}

void addTransitions(Json& data, const Exploration& exploration, const Part& part) {
  const LabelTable& table = exploration.graph().labels();
  Json labels = Json::array();
  Json transitions = Json::array();  // from, label, to, from, ...
  std::vector<Label> numberOf(table.size(), LabelTable::NONE);
  part.eachTransition([&](State source, const Edge& edge) {
    if (numberOf[edge.label] == LabelTable::NONE) {
      numberOf[edge.label] = static_cast<Label>(labels.size());
      labels.push_back(table.text(edge.label));
    }
    transitions.push_back(source);
    transitions.push_back(numberOf[edge.label]);
    transitions.push_back(edge.target);
  });
  data["labels"] = std::move(labels);
  data["transitions"] = std::move(transitions);
}

}  // namespace

Json pageData(const Exploration& exploration, const Part& part, const StateTexts& texts) {
  Json data;
  data["name"] = exploration.files().transitions;
  data["start"] = part.start();
  data["isAll"] = part.isAll();
  data["centre"] = part.centre();
  data["allStates"] = exploration.statesFound();
  data["allTransitions"] = exploration.graph().transitions();
  addStates(data, exploration, part, texts);
  addTransitions(data, exploration, part);
  return data;
}

std::string pageText(const Json& data, const std::optional<std::string>& drawing) {
  const std::string name = data["name"].get<std::string>();
  return filledIn(PAGE_TEMPLATE, {{"@TITLE@", htmlText(printable(name))},
                                  {"@DRAWING@", drawing.value_or("")},
                                  {"@DATA@", withoutTags(jsonText(data))}});
}

}  // namespace Vesk::Lts
