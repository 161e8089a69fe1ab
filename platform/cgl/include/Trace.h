#pragma once

#include <OpenGL/gl.h>

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// Records the calls of OpenGL and CGL as data, for tests.

namespace pyrelux::platform {

/// One argument: a number (any of GL's integers, enums, booleans and floats), a list of numbers, a handle, or a string.
using TraceArgument = std::variant<double, std::vector<double>, const void *, std::string>;

struct TraceCall {
  std::string layer;  ///< "gl", "cgl", or a name that a test's own objects use, such as "host"
  std::string name;   ///< with its prefix, such as "glBegin"
  std::vector<TraceArgument> arguments;
};

/// Records the calls of this thread from its construction to its destruction: all CGL calls, and GL calls in contexts
/// of the recording backend or without a current context. A thread has at most one recorder at a time.
class __attribute__((visibility("default"))) Trace {
 public:
  Trace();
  ~Trace();
  Trace(const Trace &) = delete;
  Trace &operator=(const Trace &) = delete;

  std::vector<TraceCall> &calls() { return calls_; }
  std::vector<TraceCall> takeCalls() { return std::exchange(calls_, {}); }

  /// The thread's recorder, or null.
  static Trace *current();

 private:
  std::vector<TraceCall> calls_;
};

inline TraceArgument traceArgument(const void *handle) { return handle; }
inline TraceArgument traceArgument(const char *word) { return std::string(word); }
inline TraceArgument traceArgument(std::vector<double> numbers) { return numbers; }
template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
TraceArgument traceArgument(Number number) {
  return static_cast<double>(number);
}

/// Adds a call to the thread's recorder, if there is one.
template <typename... Arguments>
void trace(const char *layer, const char *name, Arguments... arguments) {
  if (Trace *recorder = Trace::current()) recorder->calls().push_back({layer, name, {traceArgument(arguments)...}});
}

}  // namespace pyrelux::platform
