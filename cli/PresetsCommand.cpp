#include <algorithm>
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Presets.h"

namespace pyrelux::cli {

int listPresets(bool json) {
  if (json) {
    auto document = nlohmann::ordered_json::array();
    for (const Preset &preset : presets())
      document.push_back({{"name", preset.name}, {"description", preset.description}, {"settings", preset.settings}});
    std::cout << document.dump(2) << '\n';
    return 0;
  }
  std::size_t widest = 0;
  for (const Preset &preset : presets()) widest = std::max(widest, preset.name.size());
  for (const Preset &preset : presets())
    std::cout << std::left << std::setw(static_cast<int>(widest) + 2) << preset.name << preset.description << '\n';
  return 0;
}

}  // namespace pyrelux::cli
