#include "Joined.h"

namespace pyrelux {

std::string joined(const std::vector<std::string> &texts, const std::string &between) {
  std::string all;
  for (std::size_t i = 0; i < texts.size(); ++i) all += (i ? between : "") + texts[i];
  return all;
}

}  // namespace pyrelux
