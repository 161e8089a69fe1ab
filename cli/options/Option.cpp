#include "Option.h"

#include <sstream>

namespace pyrelux::cli {

Option option(const std::string &names, std::string value, std::string brief, std::string details) {
  Option row;
  std::istringstream list(names);
  for (std::string name; std::getline(list, name, ',');) row.names.push_back(name);
  row.value = std::move(value);
  row.brief = std::move(brief);
  row.details = std::move(details);
  const bool isFile = row.isPositional() || row.value.find("FILE") != std::string::npos;
  row.kind = isFile ? ValueKind::File : ValueKind::Text;
  return row;
}

Option &&Option::in(std::string heading) && {
  group = std::move(heading);
  return std::move(*this);
}

Option &&Option::required() && {
  isRequired = true;
  return std::move(*this);
}

Option &&Option::needing(std::string name) && {
  needs = std::move(name);
  return std::move(*this);
}

Option &&Option::excluding(std::string name) && {
  excludes = std::move(name);
  return std::move(*this);
}

Option &&Option::ofKind(ValueKind wanted) && {
  kind = wanted;
  return std::move(*this);
}

Option &&Option::refusing(std::function<std::string(const std::string &)> why) && {
  check = std::move(why);
  return std::move(*this);
}

Option &&Option::repeatable() && {
  isRepeatable = true;
  return std::move(*this);
}

Option &&Option::oneOf(const std::vector<std::string> &words) && {
  kind = ValueKind::Choice;
  for (const std::string &word : words) choices.push_back({word, ""});
  return std::move(*this);
}

Option &&Option::suggesting(const std::vector<std::string> &words) && {
  takesOthers = true;
  return std::move(*this).oneOf(words);
}

Option &&Option::calling(std::function<void(const std::string &)> take) && {
  fill = std::move(take);
  return std::move(*this);
}

}  // namespace pyrelux::cli
