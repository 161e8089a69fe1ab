#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace pyrelux::farm {

using Json = nlohmann::ordered_json;

// Files of a farm's folder. What is written is whole on the disk before it has its name, so that readers on other
// machines see all of a file or nothing. Nothing is appended to: network file systems mix what several machines append.

/// Reads an object of JSON. Throws media::InputError: missing, no object.
Json readJson(const std::filesystem::path &path);

/// Writes it, replacing what is there. Throws media::OutputError.
void writeJson(const std::filesystem::path &path, const Json &json);

/// Writes it if there is no such file, whoever else tries at the same time. Returns whether it did. Throws
/// media::OutputError.
bool writeNewJson(const std::filesystem::path &path, const Json &json);

/// Copies a file beside its new name, and calls `giveName` with where it is once it is on the disk. Throws
/// media::InputError, media::OutputError.
void copyBeside(const std::filesystem::path &from, const std::filesystem::path &to,
                const std::function<void(const std::string &temporary)> &giveName);

/// Renames a file that is on the disk, and waits until its name is there, too. Throws media::OutputError.
void giveName(const std::string &temporary, const std::filesystem::path &to);

/// Copies a file, whole or not at all; the time of its last change comes along. Throws as above.
void copyFile(const std::filesystem::path &from, const std::filesystem::path &to);

/// Makes a folder and those around it. Throws media::OutputError.
void makeFolder(const std::filesystem::path &path);

/// What is in a folder, in alphabetical order, without hidden names; nothing without a folder. The folder is opened
/// anew, which has network file systems look for what other machines wrote.
std::vector<std::filesystem::path> listFolder(const std::filesystem::path &path);

/// This machine's name, as file names may hold it.
std::string nodeName();

/// A word that no other has: 16 hexadecimal digits.
std::string uniqueWord();

/// Seconds since 1970.
double now();

}  // namespace pyrelux::farm
