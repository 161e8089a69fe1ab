#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace pyrelux::cli {

/// A table of renders: each row is one, each column an option, a setting, or a word for the outputs' names.
struct BatchTable {
  struct Row {
    int number;                                     ///< counted from 1, without the line of names
    std::vector<std::optional<std::string>> cells;  ///< one for each column; nothing where the row says nothing
  };
  std::vector<std::string> columns;  ///< each once
  std::vector<Row> rows;             ///< at least one

  /// The place of a column; nothing if there is none of that name.
  std::optional<std::size_t> find(const std::string &column) const;
};

/// The largest batch file that is read, in bytes.
constexpr std::size_t maxBatchBytes = 256u << 20;

/// Reads a .csv file (UTF-8; names in the first line; commas, semicolons or tabs between cells; an empty cell says
/// nothing) or a .json file (a list of objects). Throws media::InputError, which names the place.
BatchTable readBatch(const std::string &path);

}  // namespace pyrelux::cli
