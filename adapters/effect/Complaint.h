#pragma once

#include <exception>
#include <string>

namespace pyrelux::adapters {

/// Writes "pyrelux: …" to standard error. Allocates no memory, because memory may be what is missing. Thread: any.
void complain(const char *message) noexcept;
inline void complain(const std::string &message) noexcept { complain(message.c_str()); }

/// The message to complain with; lives as long as `error`. Allocates no memory.
const char *reasonOf(const std::exception &error) noexcept;

/// The message for what is no std::exception.
constexpr char unknownReason[] = "something unknown went wrong";

}  // namespace pyrelux::adapters
