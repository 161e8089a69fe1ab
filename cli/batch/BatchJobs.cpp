#include "BatchJobs.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <utility>

#include "HostError.h"
#include "Settings.h"
#include "ValueError.h"

namespace pyrelux::cli {

namespace {

/// Options that are for the whole batch.
const std::set<std::string> &commonOptions() {
  static const std::set<std::string> names{"--batch", "--output",  "--overwrite", "--resume",       "--progress",
                                           "--quiet", "--verbose", "--backend",   "--save-project", "--set"};
  return names;
}

bool isParameter(const host::ParameterSet &parameters, const std::string &name) {
  try {
    parameters.named(name);
    return true;
  } catch (const host::HostError &) {
    return false;
  }
}

const Option *optionNamed(const std::vector<Option> &options, const std::string &column) {
  const std::string name = column == "input" ? "INPUT" : column.rfind("--", 0) == 0 ? column : "--" + column;
  const auto found = std::find_if(options.begin(), options.end(), [&](const Option &row) {
    return std::find(row.names.begin(), row.names.end(), name) != row.names.end();
  });
  return found == options.end() ? nullptr : &*found;
}

/// Whether an option that is on or off is on.
bool isOn(const std::string &cell) {
  for (const char *word : {"true", "yes", "on", "1"})
    if (cell == word) return true;
  for (const char *word : {"false", "no", "off", "0"})
    if (cell == word) return false;
  throw ValueError("'" + cell + "' is not yes or no");
}

void fillOption(const Option &option, const std::string &cell) {
  if (option.isFlag()) {
    if (isOn(cell)) option.fill("");
    return;
  }
  const bool isKnown = option.takesOthers || option.choices.empty() ||
                       std::any_of(option.choices.begin(), option.choices.end(),
                                   [&](const Choice &choice) { return choice.word == cell; });
  if (!isKnown) {
    std::string words;
    for (const Choice &choice : option.choices) words += (words.empty() ? "" : ", ") + choice.word;
    throw ValueError("'" + cell + "' is not one of " + words);
  }
  if (option.check)
    if (const std::string why = option.check(cell); !why.empty()) throw ValueError(why);
  option.fill(cell);
}

/// As much of a text as a file's name has place for, not within a character of several bytes.
std::string shortened(const std::string &text) {
  constexpr std::size_t maxBytes = 100;
  if (text.size() <= maxBytes) return text;
  std::size_t end = maxBytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

}  // namespace

std::string fileNameOf(const std::string &cell) {
  std::string name = shortened(cell);
  for (char &letter : name) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x20 || byte == 0x7F || std::string("/\\%#:*?\"<>|").find(letter) != std::string::npos) letter = '_';
  }
  if (name.empty()) return "_";
  for (const std::size_t end : {std::size_t{0}, name.size() - 1})
    if (name[end] == '.' || name[end] == ' ' || (end == 0 && name[end] == '-')) name[end] = '_';
  return name;
}

BatchJobs::BatchJobs(BatchTable table, const job::RenderRequest &common, const std::vector<Option> &options,
                     job::RenderRequest &request, const host::ParameterSet &parameters)
    : table_(std::move(table)),
      common_(common),
      request_(request),
      parameters_(parameters),
      pattern_(partsOf(common.output)),
      uses_(findUses(options)) {
  std::unordered_map<std::string, int> rowsByOutput;
  for (const BatchTable::Row &row : table_.rows) {
    fill(row);
    const auto [other, isNew] = rowsByOutput.emplace(outputOf(row), row.number);
    if (!isNew)
      throw ValueError("the rows " + std::to_string(other->second) + " and " + std::to_string(row.number) +
                       " have the same output '" + other->first +
                       "'; put a column that tells them apart, or {row}, into its name");
  }
}

job::RenderRequest BatchJobs::request(std::size_t index) {
  const BatchTable::Row &row = table_.rows[index];
  fill(row);
  request_.output = outputOf(row);
  if (!request_.scene.seed) request_.scene.seed = row.number % (project::maxSeed + 1);
  return request_;
}

std::vector<BatchJobs::Part> BatchJobs::partsOf(const std::string &pattern) {
  std::vector<Part> parts;
  std::size_t at = 0;
  for (std::size_t open; (open = pattern.find('{', at)) != std::string::npos;) {
    const std::size_t close = pattern.find('}', open);
    if (close == std::string::npos) throw ValueError("the '{' in '" + pattern + "' has no '}'");
    parts.push_back({false, pattern.substr(at, open - at)});
    parts.push_back({true, pattern.substr(open + 1, close - open - 1)});
    at = close + 1;
  }
  parts.push_back({false, pattern.substr(at)});
  return parts;
}

std::vector<BatchJobs::Use> BatchJobs::findUses(const std::vector<Option> &options) const {
  const auto isPart = [&](const std::string &column) {
    return std::any_of(pattern_.begin(), pattern_.end(),
                       [&](const Part &part) { return part.isColumn && part.text == column; });
  };
  std::vector<Use> uses;
  for (const std::string &column : table_.columns) {
    const Option *option = optionNamed(options, column);
    if (option && commonOptions().count(option->names.back()))
      throw ValueError("the column '" + column + "' is an option of the whole batch; give it on the command line");
    const bool isSetting = !option && isParameter(parameters_, column);
    if (!option && !isSetting && !isPart(column))
      throw ValueError("the column '" + column + "' is no option and no parameter, and the output's name has no {" +
                       column + "}");
    uses.push_back({option, isSetting});
  }
  return uses;
}

/// Sets what a row says in the request.
void BatchJobs::fill(const BatchTable::Row &row) {
  request_ = common_;
  for (std::size_t column = 0; column < uses_.size(); ++column) {
    const auto &cell = row.cells[column];
    if (!cell) continue;
    try {
      if (uses_[column].option) fillOption(*uses_[column].option, *cell);
      if (!uses_[column].isSetting) continue;
      const project::Setting setting{table_.columns[column], *cell};
      host::ParameterSet tried = parameters_;
      project::applySetting(tried, setting);
      request_.settings.push_back(setting);
    } catch (const ValueError &error) {
      throw ValueError("row " + std::to_string(row.number) + ", column '" + table_.columns[column] +
                       "': " + error.what());
    }
  }
}

std::string BatchJobs::outputOf(const BatchTable::Row &row) const {
  std::string output;
  for (const Part &part : pattern_) {
    if (!part.isColumn) {
      output += part.text;
      continue;
    }
    const auto column = table_.find(part.text);
    if (!column && part.text != "row")
      throw ValueError("the output's name has {" + part.text + "}, and the batch has no such column");
    output += column ? fileNameOf(row.cells[*column].value_or("")) : std::to_string(row.number);
  }
  return output;
}

}  // namespace pyrelux::cli
