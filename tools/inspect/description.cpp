#include "description.hpp"

#include "component.hpp"
#include "connector.hpp"
#include "names.hpp"
#include "parts.hpp"
#include "port.hpp"
#include "priority.hpp"

namespace Vesk::Inspect {

namespace {

using Json = nlohmann::ordered_json;

template <class Placed>
Json placeOf(const Placed& placed, const Parts& parts) {
  Json json;
  json["path"] = utf8(placed.path);
  json["class"] = utf8(className(*placed.part));
  json["compound"] = nullptr;
  if (placed.compound != Parts::NONE) {
    json["compound"] = utf8(parts.compounds()[placed.compound].path);
  }
  return json;
}

Json namesOf(const std::vector<Port*>& ports, const Parts& parts) {
  Json names = Json::array();
  for (Port* port : ports) names.push_back(utf8(parts.nameOf(*port)));
  return names;
}

Json atomJson(const Parts::Placed<Atom>& placed, const Parts& parts) {
  Json json = placeOf(placed, parts);
  json["ports"] = Json::array();
  for (Port* port : placed.part->ports()) {
    json["ports"].push_back({{"name", utf8(textOf(port->name()))},
                             {"internal", port->isInternal()},
                             {"connected", port->isConnected()}});
  }
  return json;
}

Json connectorJson(const Parts::Placed<Connector>& placed, const Parts& parts) {
  Connector& connector = *placed.part;
  Json json = placeOf(placed, parts);
  json["kind"] = connector.isBroadcast() ? "broadcast" : "rendezvous";
  json["subconnector"] = connector.isSubconn();
  json["exported"] = nullptr;
  if (connector.xPort() != nullptr) json["exported"] = utf8(textOf(connector.xPort()->name()));
  json["ports"] = namesOf(portsOf(connector, BitVector::below(connector.ports().count())), parts);
  return json;
}

Json interactionJson(Interaction* interaction, const Parts& parts) {
  if (interaction == nullptr) return nullptr;
  Connector& connector = *interaction->connector();
  return {{"connector", utf8(parts.nameOf(connector))},
          {"ports", namesOf(portsOf(connector, interaction->synced()), parts)}};
}

Json priorityJson(const Parts::Placed<Priority>& placed, const Parts& parts) {
  Priority& priority = *placed.part;
  return {{"compound", utf8(placed.path)},
          {"class", utf8(className(priority))},
          {"low", interactionJson(priority.low(), parts)},
          {"high", interactionJson(priority.high(), parts)},
          {"delay", priority.delay().microseconds()}};
}

Json textsJson(const std::vector<std::string>& texts) {
  Json json = Json::array();
  for (const std::string& text : texts) json.push_back(utf8(text));
  return json;
}

}  // namespace

Json descriptionOf(const Parts& parts, const std::string& model,
                   const std::vector<std::string>& arguments) {
  Json json;
  json["vesk-model"] = 1;
  json["model"] = utf8(model);
  json["root"] = utf8(textOf(parts.compounds().front().part->name()));
  json["arguments"] = textsJson(arguments);
  for (const char* list : {"compounds", "atoms", "connectors", "priorities"}) {
    json[list] = Json::array();
  }
  for (const auto& placed : parts.compounds()) json["compounds"].push_back(placeOf(placed, parts));
  for (const auto& placed : parts.atoms()) json["atoms"].push_back(atomJson(placed, parts));
  for (const auto& placed : parts.connectors()) {
    json["connectors"].push_back(connectorJson(placed, parts));
  }
  for (const auto& placed : parts.priorities()) {
    json["priorities"].push_back(priorityJson(placed, parts));
  }
  return json;
}

}  // namespace Vesk::Inspect
