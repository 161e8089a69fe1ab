#include "InputFiles.h"

#include <fstream>
#include <system_error>

#include "Fingerprint.h"
#include "MediaErrors.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

std::uintmax_t lengthOf(const fs::path &path) {
  std::error_code error;
  const std::uintmax_t bytes = fs::file_size(path, error);
  if (error) media::failReading(path.string(), media::systemCause(error.value()));
  return bytes;
}

}  // namespace

std::string inputFingerprint(const fs::path &path) {
  constexpr std::uintmax_t part = 1 << 20;
  constexpr std::uintmax_t parts = 64;
  const std::uintmax_t bytes = lengthOf(path);
  if (bytes <= part * parts) return record::fingerprintOfFile(path.string());
  record::Fingerprint fingerprint;
  fingerprint.add(std::to_string(bytes));
  std::ifstream file(path, std::ios::binary);
  std::string buffer(part, '\0');
  for (std::uintmax_t index = 0; index < parts; ++index) {
    file.seekg(static_cast<std::streamoff>((bytes - part) / (parts - 1) * index));
    if (!file.read(buffer.data(), static_cast<std::streamsize>(part)))
      media::failReading(path.string(), media::causeCutOff);
    fingerprint.add(buffer);
  }
  return fingerprint.text();
}

InputFile describe(const fs::path &path) { return {path.string(), lengthOf(path), inputFingerprint(path)}; }

void requireSame(const std::vector<InputFile> &files, const fs::path &folder) {
  for (const InputFile &file : files) {
    const fs::path path = folder / file.path;
    if (lengthOf(path) != file.bytes || inputFingerprint(path) != file.fingerprint)
      media::failReading(path.string(),
                         "it is not the file that the farm was planned for; put that one back, or plan anew");
  }
}

}  // namespace pyrelux::farm
