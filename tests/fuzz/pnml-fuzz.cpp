// Feeds the reader with any bytes. What it takes for a net must be one.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "reader.hpp"

namespace {

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "the reader breaks its promise: %s\n", what);
  std::abort();
}

void checkNet(const pnml::Net& net) {
  for (const pnml::Place& place : net.places) {
    require(!place.id.empty() && place.tokens >= 0, "places have an id and tokens");
  }
  std::vector<const pnml::Transition*> user(net.places.size());
  for (const pnml::Transition& transition : net.transitions) {
    require(!transition.id.empty(), "transitions have an id");
    for (const pnml::Use& use : transition.uses) {
      const auto place = static_cast<std::size_t>(use.place);
      require(place < net.places.size(), "a use names a place");
      require(user[place] != &transition, "a transition uses a place once");
      user[place] = &transition;
      require(use.consumed >= 0 && use.produced >= 0 && use.below >= 0, "weights are positive");
      require(use.consumed + static_cast<long long>(use.produced) + use.below > 0,
              "a use does something");
    }
  }
}

void checkMessage(const pnml::Message& message) {
  require(message.at.line > 0 && message.at.column > 0, "positions count from 1");
  require(message.text.find(", expected ") != std::string::npos, "messages say what was expected");
  for (char c : message.text) {
    require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "messages are one line");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  std::FILE* document = fmemopen(bytes.data(), bytes.size(), "rb");
  if (document == nullptr) return 0;
  const pnml::Reading reading = pnml::readNet(document);
  std::fclose(document);
  if (reading.net) {
    checkNet(*reading.net);
  } else {
    if (reading.errors.empty()) std::abort();
    for (const pnml::Message& error : reading.errors) checkMessage(error);
  }
  for (const pnml::Message& warning : reading.warnings) checkMessage(warning);
  return 0;
}
