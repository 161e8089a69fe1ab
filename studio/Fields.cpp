#include "Fields.h"

#include <array>
#include <cmath>

namespace pyrelux::studio {

namespace {

const Json &valueIn(const Json &message, const char *key) {
  const auto found = message.find(key);
  if (found == message.end()) throw Refusal(std::string("'") + key + "' is missing", key);
  return *found;
}

[[noreturn]] void refuse(const char *key, const std::string &takes) {
  throw Refusal(std::string("'") + key + "' takes " + takes, key);
}

}  // namespace

Json parseMessage(const std::string &text) {
  constexpr int deepest = 8;
  // Each is compared with all before it.
  constexpr std::size_t mostFields = 100;
  std::array<std::size_t, deepest + 2> fields{};
  const auto keep = [&fields](int depth, Json::parse_event_t event, const Json &) {
    if (depth > deepest) throw Refusal("the message is nested too deep");
    if (event == Json::parse_event_t::object_start) fields[depth + 1] = 0;
    if (event == Json::parse_event_t::key && ++fields[depth] > mostFields)
      throw Refusal("an object of the message has too many fields");
    return true;
  };
  Json message = Json::parse(text, keep, false);
  if (!message.is_object()) throw Refusal("the message is no object");
  return message;
}

std::string textOf(const Json &message) { return message.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::string textIn(const Json &message, const char *key) {
  const Json &value = valueIn(message, key);
  if (!value.is_string()) refuse(key, "a text");
  return value.get<std::string>();
}

double numberIn(const Json &message, const char *key) {
  const Json &value = valueIn(message, key);
  if (!value.is_number()) refuse(key, "a number");
  const double number = value.get<double>();
  if (!std::isfinite(number)) refuse(key, "a finite number");
  return number;
}

std::int64_t wholeIn(const Json &message, const char *key, std::int64_t least, std::int64_t most) {
  const double number = numberIn(message, key);
  if (number != std::floor(number) || number < static_cast<double>(least) || number > static_cast<double>(most))
    refuse(key, "a whole number in " + std::to_string(least) + ".." + std::to_string(most));
  return static_cast<std::int64_t>(number);
}

const Json &listIn(const Json &message, const char *key) {
  const Json &value = valueIn(message, key);
  if (!value.is_array()) refuse(key, "a list");
  return value;
}

bool isIn(const Json &message, const char *key) {
  const auto found = message.find(key);
  return found != message.end() && !found->is_null();
}

std::optional<std::string> optionalTextIn(const Json &message, const char *key) {
  return isIn(message, key) ? std::optional<std::string>(textIn(message, key)) : std::nullopt;
}

bool flagIn(const Json &message, const char *key) {
  if (!isIn(message, key)) return false;
  if (!message[key].is_boolean()) refuse(key, "true or false");
  return message[key].get<bool>();
}

}  // namespace pyrelux::studio
