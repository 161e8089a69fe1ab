#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "Refusal.h"

namespace pyrelux::studio {

using Json = nlohmann::ordered_json;

/// The largest text message that a page may send, in bytes.
constexpr std::size_t maxMessageBytes = 1u << 20;

/// A page's message: an object, no deeper than messages are and with no more fields. Throws Refusal.
Json parseMessage(const std::string &text);

/// The message as text; bytes of names that are not UTF-8 are replaced.
std::string textOf(const Json &message);

// The fields of a page's message. Each throws Refusal, which names the field, for a value of another kind and for one
// that is not there.
std::string textIn(const Json &message, const char *key);
double numberIn(const Json &message, const char *key);
/// A whole number in least..most.
std::int64_t wholeIn(const Json &message, const char *key, std::int64_t least, std::int64_t most);
const Json &listIn(const Json &message, const char *key);

// The same of fields that may be null or missing.
bool isIn(const Json &message, const char *key);
std::optional<std::string> optionalTextIn(const Json &message, const char *key);
bool flagIn(const Json &message, const char *key);

}  // namespace pyrelux::studio
