// PNML documents as texts, for tests.
#ifndef VESK_TESTS_PNML_TEXT_HPP
#define VESK_TESTS_PNML_TEXT_HPP

#include <string>
#include <vector>

// The parts of a document. What stands in a net begins in line 2.
inline std::string netDocument(const std::string& body) {
  return "<pnml xmlns=\"http://www.pnml.org/version-2009/grammar/pnml\"><net id=\"n\" "
         "type=\"http://www.pnml.org/version-2009/grammar/ptnet\">\n" +
         body + "\n</net></pnml>\n";
}

inline std::string placeText(const std::string& id, long long tokens) {
  return "<place id=\"" + id + "\"><initialMarking><text>" + std::to_string(tokens) +
         "</text></initialMarking></place>\n";
}

inline std::string transitionText(const std::string& id) {
  return "<transition id=\"" + id + "\"/>\n";
}

inline std::string arcText(const std::string& source, const std::string& target,
                           long long weight = 1) {
  return "<arc source=\"" + source + "\" target=\"" + target + "\"><inscription><text>" +
         std::to_string(weight) + "</text></inscription></arc>\n";
}

inline std::string inhibitorText(const std::string& place, const std::string& transition,
                                 long long weight = 1) {
  return "<arc source=\"" + place + "\" target=\"" + transition + "\"><type value=\"inhibitor\"/>" +
         "<inscription><text>" + std::to_string(weight) + "</text></inscription></arc>\n";
}

// A transition with an arc from each of the first places and to each of the second.
inline std::string stepText(const std::string& id, const std::vector<std::string>& from,
                            const std::vector<std::string>& to) {
  std::string text = transitionText(id);
  for (const std::string& place : from) text += arcText(place, id);
  for (const std::string& place : to) text += arcText(id, place);
  return text;
}

#endif
