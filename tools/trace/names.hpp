// The names that occur in a run, numbered in the order in which they were met.
#ifndef VESK_TRACE_NAMES_HPP
#define VESK_TRACE_NAMES_HPP

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Vesk::Traces {

// A part is an atom, or a compound that takes part through an exported port. A
// recording names the whole path of an atom, "Sys/T0"; a trace only its name, so that atoms of one
// name are one part there. A connector has the path of its compound in front in both.
class Names {
 public:
  struct Port {
    std::size_t part;
    std::string name;
  };

  // The number of what is called like that; a new one when it has not been met before.
  std::size_t part(std::string_view path);
  std::size_t port(std::size_t part, std::string_view name);
  std::size_t connector(std::string_view path);

  // Makes the next number, whatever has the same name: numbers of recordings are places in a list.
  void addPart(std::string_view path);
  // "Sys/T0.give": the atom is the longest path that is known. False when none is.
  bool addPort(std::string_view path);
  void addConnector(std::string_view path);

  const std::vector<std::string>& parts() const { return mParts; }
  const std::vector<Port>& ports() const { return mPorts; }
  const std::vector<std::string>& connectors() const { return mConnectors; }

  std::optional<std::size_t> findConnector(std::string_view path) const;

  // "light.green"
  std::string portText(std::size_t port) const;
  // The compound and the own name of a connector.
  static std::string_view compoundOf(std::string_view connector);
  static std::string_view ownName(std::string_view connector);

 private:
  using Numbers = std::unordered_map<std::string, std::size_t>;

  std::vector<std::string> mParts;
  std::vector<Port> mPorts;
  std::vector<std::string> mConnectors;
  Numbers mPartNumbers;
  Numbers mPortNumbers;  // "<part>:<name>"
  Numbers mConnectorNumbers;
};

}  // namespace Vesk::Traces

#endif
