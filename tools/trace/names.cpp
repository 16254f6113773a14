#include "names.hpp"

namespace Vesk::Traces {

namespace {

std::string portKey(std::size_t part, std::string_view name) {
  return std::to_string(part) + ":" + std::string(name);
}

}  // namespace

std::size_t Names::part(std::string_view path) {
  const auto [found, isNew] = mPartNumbers.try_emplace(std::string(path), mParts.size());
  if (isNew) mParts.emplace_back(path);
  return found->second;
}

std::size_t Names::port(std::size_t part, std::string_view name) {
  const auto [found, isNew] = mPortNumbers.try_emplace(portKey(part, name), mPorts.size());
  if (isNew) mPorts.push_back({part, std::string(name)});
  return found->second;
}

std::size_t Names::connector(std::string_view path) {
  const auto [found, isNew] = mConnectorNumbers.try_emplace(std::string(path), mConnectors.size());
  if (isNew) mConnectors.emplace_back(path);
  return found->second;
}

void Names::addPart(std::string_view path) {
  mPartNumbers.try_emplace(std::string(path), mParts.size());
  mParts.emplace_back(path);
}

bool Names::addPort(std::string_view path) {
  for (std::size_t dot = path.rfind('.'); dot != std::string_view::npos;
       dot = dot == 0 ? std::string_view::npos : path.rfind('.', dot - 1)) {
    const auto found = mPartNumbers.find(std::string(path.substr(0, dot)));
    if (found == mPartNumbers.end()) continue;
    const std::string_view name = path.substr(dot + 1);
    mPortNumbers.try_emplace(portKey(found->second, name), mPorts.size());
    mPorts.push_back({found->second, std::string(name)});
    return true;
  }
  return false;
}

void Names::addConnector(std::string_view path) {
  mConnectorNumbers.try_emplace(std::string(path), mConnectors.size());
  mConnectors.emplace_back(path);
}

std::optional<std::size_t> Names::findConnector(std::string_view path) const {
  const auto found = mConnectorNumbers.find(std::string(path));
  if (found == mConnectorNumbers.end()) return std::nullopt;
  return found->second;
}

std::string Names::portText(std::size_t port) const {
  return mParts[mPorts[port].part] + "." + mPorts[port].name;
}

std::string_view Names::compoundOf(std::string_view connector) {
  const std::size_t slash = connector.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : connector.substr(0, slash);
}

std::string_view Names::ownName(std::string_view connector) {
  const std::size_t slash = connector.rfind('/');
  return slash == std::string_view::npos ? connector : connector.substr(slash + 1);
}

}  // namespace Vesk::Traces
