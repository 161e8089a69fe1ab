#pragma once

#include <OpenGL/gl.h>

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// The call stream of OpenGL and CGL as data, for tests.

namespace pyrelux::platform {

/// One argument: a number (GL's integers, enums, booleans and floats alike), a list of numbers, a handle, or a word.
using TraceArgument = std::variant<double, std::vector<double>, const void *, std::string>;

struct TraceCall {
  std::string layer;  ///< "gl", "cgl", or what a test's own objects say, such as "host"
  std::string name;   ///< with its prefix: "glBegin"
  std::vector<TraceArgument> arguments;
};

/// Records the calls of this thread from its construction to its destruction: CGL's, and GL's in contexts of the
/// recording backend and where no context is current. One at a time on a thread.
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
