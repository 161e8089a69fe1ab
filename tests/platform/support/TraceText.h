#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Trace.h"

namespace pyrelux::test {

using Calls = std::vector<platform::TraceCall>;

inline std::string numberText(double number) {
  char text[32];
  // Nine digits distinguish all single-precision numbers; whole numbers such as backend ids have all their digits.
  const bool whole = number == static_cast<double>(static_cast<std::int64_t>(number));
  std::snprintf(text, sizeof text, whole ? "%.0f" : "%.9g", number);
  return text;
}

/// Writes recorded calls as text, such as "glBlendFunc(1, 771)", so that whole streams can be compared and read.
/// Handles appear under the names given to them, null as "null", any other as "?".
class TraceText {
 public:
  explicit TraceText(std::map<const void *, std::string> handles = {}) : handles_(std::move(handles)) {}

  std::string operator()(const platform::TraceCall &call) const {
    std::string text = call.name + "(";
    const char *separator = "";
    for (const auto &argument : call.arguments) {
      text += separator;
      text += argumentText(argument);
      separator = ", ";
    }
    return text + ")";
  }

  std::vector<std::string> operator()(const Calls &calls) const {
    std::vector<std::string> texts;
    for (const auto &call : calls) texts.push_back((*this)(call));
    return texts;
  }

 private:
  std::string argumentText(const platform::TraceArgument &argument) const {
    if (const auto *number = std::get_if<double>(&argument)) return numberText(*number);
    if (const auto *word = std::get_if<std::string>(&argument)) return *word;
    if (const auto *numbers = std::get_if<std::vector<double>>(&argument)) {
      std::string text = "[";
      for (const double number : *numbers) text += (text.size() > 1 ? ", " : "") + numberText(number);
      return text + "]";
    }
    const void *handle = std::get<const void *>(argument);
    if (!handle) return "null";
    const auto found = handles_.find(handle);
    return found == handles_.end() ? "?" : found->second;
  }

  std::map<const void *, std::string> handles_;
};

inline std::vector<std::string> callNames(const Calls &calls) {
  std::vector<std::string> names;
  for (const auto &call : calls) names.push_back(call.name);
  return names;
}

inline double numberArgument(const platform::TraceCall &call, std::size_t index) {
  return std::get<double>(call.arguments.at(index));
}

/// The GL calls alone.
inline Calls glCalls(const Calls &calls) {
  Calls chosen;
  for (const auto &call : calls)
    if (call.layer == "gl") chosen.push_back(call);
  return chosen;
}

}  // namespace pyrelux::test
