#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Frei0rPlugIn.h"
#include "Look.h"
#include "StaticEffect.h"

namespace pyrelux::adapters {

/// One use of the plug-in in a host. Thread: any; the calls of an instance take turns.
class Frei0rInstance {
 public:
  /// For pictures of width x height pixels. Complains when nothing can draw; frames then pass through. Throws
  /// std::runtime_error when the host's rows are padded in an unknown way.
  Frei0rInstance(int width, int height);

  /// Set and get the parameter number `index`; `value` points at frei0r's type for it. They ignore invalid arguments.
  void set(const void *value, int index);
  void get(void *value, int index);

  /// Draws a frame. `time` is in the host's unit. `input` and `output` have the host's rows, from the top, of red,
  /// green, blue and straight alpha. A frame that can't be drawn becomes the input; the first one complains.
  void update(double time, const std::uint32_t *input, std::uint32_t *output) noexcept;

 private:
  /// Returns false, and leaves `output` as it was, when the frame can't be drawn.
  bool draw(double time, const std::uint8_t *input, std::uint8_t *output) noexcept;
  /// Draws by way of a copy without the rows' padding.
  void drawWithoutPadding(double time, const std::uint8_t *input, std::uint8_t *output);
  /// Complains at the first call only, because every frame would have the same reason.
  void complainOnce(const char *reason) noexcept;
  const Frei0rParameter *parameterAt(int index) const;
  const host::ParameterDeclaration &declarationOf(const Frei0rParameter &parameter) const;
  void setOfFilter(const Frei0rParameter &parameter, const void *value);
  /// Tells the effect what was set since the last frame.
  void applySettings();
  /// Complains of a text that the parameter can't be, except of a preset or seed, which are read with the next frame.
  void setOfPlugIn(const Frei0rParameter &parameter, const std::string &text);
  /// False when the parameter can't be this text.
  bool readSetting(Frei0rParameter::Kind kind, const std::string &text);
  std::string &textOf(Frei0rParameter::Kind kind);
  /// The number of the frame at a time. Without a time it is the one after the previous frame: FFmpeg loses the time of
  /// frames that it copies to pad their rows.
  std::int64_t frameAt(double time);

  std::mutex mutex_;  ///< some hosts call an instance from several threads
  int width_;
  int height_;
  bool isCalledByFFmpeg_;
  int rowPixels_;  ///< pixels from one row to the next
  std::vector<std::uint8_t> packed_;
  std::shared_ptr<const Frei0rPlugIn> plugIn_;
  std::unique_ptr<StaticEffect> effect_;  ///< null when nothing can be drawn
  Frei0rSettings settings_;
  host::ParameterSet values_;  ///< as the host has set them
  Look look_;
  bool isNew_ = true;           ///< something was set that the effect has not been told of
  std::int64_t nextFrame_ = 0;  ///< the one after the last frame drawn
  std::string frameRate_ = "25";
  std::string timeUnit_ = "auto";
  std::string output_ = "over";
  std::string preset_ = Look::noPreset;
  std::string seed_ = "0";
  std::atomic<bool> hasComplained_{false};
};

}  // namespace pyrelux::adapters
