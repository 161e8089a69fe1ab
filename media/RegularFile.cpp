#include "RegularFile.h"

#include <filesystem>
#include <system_error>

#include "MediaErrors.h"

namespace pyrelux::media {

void requireRegularFile(const std::string &path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) failReading(path, causeNoSuchFile);
  if (error) failReading(path, systemCause(error.value()));
  if (std::filesystem::is_directory(status)) failReading(path, causeFolder);
  // Opening a pipe could wait for ever, and a device never ends.
  if (!std::filesystem::is_regular_file(status)) failReading(path, causeNotRegular);
}

}  // namespace pyrelux::media
