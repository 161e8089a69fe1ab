#pragma once

#include <cstddef>
#include <string>

/// Small files that are read and written as a whole.
namespace pyrelux::media {

/// What the file holds; "-" is standard input. Throws InputError: missing, not permitted, a folder, longer than
/// `mostBytes`.
std::string readText(const std::string &path, std::size_t mostBytes);

/// Whether the bytes are UTF-8.
bool isUtf8(const std::string &text);

/// What a file in UTF-8 holds, without a byte order mark. Throws InputError, for null bytes, too.
std::string readUtf8(const std::string &path, std::size_t mostBytes);

/// Writes the file beside its final name and gives it that name when it is complete. Throws OutputError.
void writeText(const std::string &path, const std::string &text);

}  // namespace pyrelux::media
