#include <filesystem>
#include <iostream>

#include "Commands.h"
#include "Manifest.h"

namespace pyrelux::cli {

int verify(const std::string &manifest) {
  const FrameRecords records = readManifest(manifest);
  const std::string folder = std::filesystem::path(manifest).parent_path().string();
  std::size_t wrong = 0;
  for (const auto &[frame, record] : records) {
    const RecordState state = stateOf(record, folder.empty() ? "." : folder);
    if (state == RecordState::Right) continue;
    ++wrong;
    std::cout << record.file << (state == RecordState::Missing ? " is missing\n" : " is not what was rendered\n");
  }
  std::cout << records.size() - wrong << " of " << records.size() << " pictures are as they were rendered\n";
  return wrong == 0 ? 0 : 1;
}

}  // namespace pyrelux::cli
