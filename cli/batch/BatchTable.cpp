#include "BatchTable.h"

#include <csv.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "MediaErrors.h"
#include "TextFile.h"

namespace pyrelux::cli {

namespace {

using Json = nlohmann::ordered_json;
using Cells = std::vector<std::optional<std::string>>;

/// A cell that nobody would type, and that makes messages and names of files unreadable.
constexpr std::size_t maxCellBytes = 64u << 10;
constexpr std::size_t maxColumns = 1000;

bool endsWith(const std::string &text, const std::string &end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Collects what libcsv tells.
class CsvReader {
 public:
  explicit CsvReader(const std::string &path) : path_(path) {
    csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI | CSV_EMPTY_IS_NULL);
  }
  ~CsvReader() { csv_free(&parser_); }
  CsvReader(const CsvReader &) = delete;
  CsvReader &operator=(const CsvReader &) = delete;

  std::vector<Cells> read(const std::string &text) {
    const std::string header = text.substr(0, text.find('\n'));
    for (const char delimiter : {';', '\t'})
      if (header.find(',') == std::string::npos && header.find(delimiter) != std::string::npos)
        csv_set_delim(&parser_, static_cast<unsigned char>(delimiter));
    const auto takeCell = [](void *bytes, std::size_t size, void *self) {
      static_cast<CsvReader *>(self)->takeCell(static_cast<const char *>(bytes), size);
    };
    const auto takeRow = [](int, void *self) { static_cast<CsvReader *>(self)->takeRow(); };
    const bool isRead = csv_parse(&parser_, text.data(), text.size(), takeCell, takeRow, this) == text.size();
    if (!isRead || csv_fini(&parser_, takeCell, takeRow, this) != 0)
      media::failReading(path_,
                         "row " + std::to_string(rows_.size()) +
                             " has a quote that does not end, or text after one; write \"\" for a quote in quotes");
    return std::move(rows_);
  }

 private:
  // libcsv is C: nothing may be thrown through it, and these only run out of memory.
  void takeCell(const char *bytes, std::size_t size) noexcept {
    row_.push_back(bytes ? std::optional<std::string>(std::string(bytes, size)) : std::nullopt);
  }

  /// An empty line has one cell with nothing in it.
  void takeRow() noexcept {
    if (row_.size() > 1 || (row_.size() == 1 && row_[0])) rows_.push_back(std::move(row_));
    row_.clear();
  }

  const std::string &path_;
  csv_parser parser_;
  Cells row_;
  std::vector<Cells> rows_;
};

BatchTable tableOfCsv(const std::string &path, const std::string &text) {
  std::vector<Cells> rows = CsvReader(path).read(text);
  if (rows.size() < 2) media::failReading(path, "it has no row after the line with the columns' names");
  BatchTable table;
  for (const auto &name : rows[0]) {
    if (!name) media::failReading(path, "a column in its first line has no name");
    if (table.find(*name)) media::failReading(path, "it has two columns '" + *name + "'");
    table.columns.push_back(*name);
  }
  for (std::size_t i = 1; i < rows.size(); ++i) {
    if (rows[i].size() != table.columns.size())
      media::failReading(path, "row " + std::to_string(i) + " has " + std::to_string(rows[i].size()) +
                                   " cells, and the first line names " + std::to_string(table.columns.size()) +
                                   "; put cells with commas into quotes");
    table.rows.push_back({static_cast<int>(i), std::move(rows[i])});
  }
  return table;
}

std::optional<std::string> cellOf(const Json &value) {
  if (value.is_null()) return std::nullopt;
  return value.is_string() ? value.get<std::string>() : value.dump();
}

BatchTable tableOfJson(const std::string &path, const std::string &text) {
  const Json root = Json::parse(text, nullptr, false);
  if (root.is_discarded()) media::failReading(path, "it is not JSON");
  if (!root.is_array() || root.empty()) media::failReading(path, "it is not a list of objects");
  BatchTable table;
  for (const Json &object : root) {
    const int number = static_cast<int>(table.rows.size()) + 1;
    if (!object.is_object()) media::failReading(path, "row " + std::to_string(number) + " is not an object");
    BatchTable::Row row{number, Cells(table.columns.size())};
    for (const auto &[name, value] : object.items()) {
      if (value.is_structured())
        media::failReading(path,
                           "'" + name + "' in row " + std::to_string(number) + " is not a text, number or switch");
      if (!table.find(name)) {
        table.columns.push_back(name);
        if (table.columns.size() > maxColumns) media::failReading(path, "it has more than 1000 columns");
        row.cells.emplace_back();
      }
      row.cells[*table.find(name)] = cellOf(value);
    }
    table.rows.push_back(std::move(row));
  }
  for (BatchTable::Row &row : table.rows) row.cells.resize(table.columns.size());
  return table;
}

void requireShortCells(const std::string &path, const BatchTable &table) {
  for (const BatchTable::Row &row : table.rows)
    for (std::size_t column = 0; column < row.cells.size(); ++column)
      if (row.cells[column] && row.cells[column]->size() > maxCellBytes)
        media::failReading(
            path, "'" + table.columns[column] + "' in row " + std::to_string(row.number) + " is longer than 64 KiB");
}

}  // namespace

std::optional<std::size_t> BatchTable::find(const std::string &column) const {
  const auto found = std::find(columns.begin(), columns.end(), column);
  return found == columns.end() ? std::nullopt : std::optional<std::size_t>(found - columns.begin());
}

BatchTable readBatch(const std::string &path) {
  const bool isJson = endsWith(path, ".json");
  if (!isJson && !endsWith(path, ".csv")) media::failReading(path, "a batch is a .csv or .json file");
  const std::string text = media::readUtf8(path, maxBatchBytes);
  BatchTable table = isJson ? tableOfJson(path, text) : tableOfCsv(path, text);
  requireShortCells(path, table);
  return table;
}

}  // namespace pyrelux::cli
