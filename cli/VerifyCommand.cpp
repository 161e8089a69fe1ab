#include <algorithm>
#include <filesystem>
#include <iostream>
#include <vector>

#include "Commands.h"
#include "Manifest.h"
#include "Message.h"

namespace pyrelux::cli {

namespace {

const char *whatIsWrong(RecordState state) {
  switch (state) {
    case RecordState::Missing:
      return " is missing";
    case RecordState::Unreadable:
      return " can't be read";
    default:
      return " is not what was rendered";
  }
}

}  // namespace

int verify(const std::string &manifest) {
  const PictureRecords records = readManifest(manifest);
  const std::string folder = std::filesystem::path(manifest).parent_path().string();
  std::vector<PictureRecords::const_iterator> inOrder;
  for (auto record = records.begin(); record != records.end(); ++record) inOrder.push_back(record);
  std::stable_sort(inOrder.begin(), inOrder.end(),
                   [](const auto &a, const auto &b) { return a->second.frame < b->second.frame; });
  std::size_t wrong = 0;
  for (const auto &record : inOrder) {
    const RecordState state = stateOf(record->first, record->second, folder.empty() ? "." : folder);
    if (state == RecordState::Right) continue;
    ++wrong;
    std::cout << printable(record->first) << whatIsWrong(state) << '\n';
  }
  std::cout << records.size() - wrong << " of " << records.size() << " pictures are as they were rendered\n";
  return wrong == 0 ? 0 : 1;
}

}  // namespace pyrelux::cli
