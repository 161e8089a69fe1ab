#include "NameMatch.h"

#include <algorithm>
#include <vector>

namespace pyrelux {

namespace {

std::size_t editDistance(const std::string &a, const std::string &b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t substituted = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, substituted});
    }
  }
  return row[b.size()];
}

}  // namespace

std::size_t nameDistance(const std::string &typed, const std::string &name) {
  const std::size_t edits = editDistance(typed, name);
  return !typed.empty() && name.find(typed) != std::string::npos ? std::min<std::size_t>(edits, 1) : edits;
}

}  // namespace pyrelux
