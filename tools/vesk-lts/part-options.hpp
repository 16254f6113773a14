// The options that choose a part of a system.
#ifndef VESK_LTS_PART_OPTIONS_HPP
#define VESK_LTS_PART_OPTIONS_HPP

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>

#include "exploration.hpp"
#include "part.hpp"

namespace Vesk::Lts {

class PartOptions {
 public:
  explicit PartOptions(CLI::App& options);
  // Throws a Fault when there is no such state.
  Part part(const Exploration& exploration) const;

 private:
  std::optional<std::uint64_t> mAround;
  std::uint64_t mRadius = 3;
};

}  // namespace Vesk::Lts

#endif
