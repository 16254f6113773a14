// The model as JSON.
#ifndef VESK_INSPECT_DESCRIPTION_HPP
#define VESK_INSPECT_DESCRIPTION_HPP

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Vesk::Inspect {

class Parts;

nlohmann::ordered_json descriptionOf(const Parts& parts, const std::string& model,
                                     const std::vector<std::string>& arguments);

}  // namespace Vesk::Inspect

#endif
