// The labels of transitions, each made once. Private to the engine.
#ifndef VESK_EXPLORATION_LABELS_HPP
#define VESK_EXPLORATION_LABELS_HPP

#include <cstddef>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "structure.hpp"

class Connector;

namespace Vesk {

struct Label {
  Label(const char* label = "") : Label(label, std::strlen(label)) {}
  Label(const char* label, std::size_t size) : text(label), length(size) {}

  const char* text;  // terminated
  std::size_t length;
};

class Labels {
 public:
  // Forgets all when there are more: the sets of a large broadcast are many.
  explicit Labels(std::size_t most = std::size_t{1} << 16) : mMost(most) {}

  // The label of a set of a connector's ports; Connector::LABEL holds it too, as if it had been
  // made now. Valid until all labels are forgotten.
  Label of(Connector& connector, const BitVector& set);
  // The label of what the connector is going to fire.
  Label of(Connector& connector);
  // What all this takes, about.
  std::size_t bytes() const { return mBytes; }
  void clear();

 private:
  struct Key {
    const Connector* connector;
    BitVector set;
    bool operator==(const Key& other) const {
      return connector == other.connector && set == other.set;
    }
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };

  // The labels that were asked for last, by a part of their hash.
  struct Recent {
    Key key{nullptr, BitVector()};
    const std::string* text = nullptr;
  };
  static constexpr std::size_t RECENT = 256;

  const std::string& find(Connector& connector, const Key& key);

  const std::size_t mMost;
  std::size_t mBytes = 0;
  std::unordered_map<Key, std::string, Hash> mKept;
  std::vector<Recent> mRecent{RECENT};
};

}  // namespace Vesk

#endif
