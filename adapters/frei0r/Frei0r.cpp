// The frei0r plug-in: the C functions that a host calls. No exception leaves them, and whatever goes wrong, the host
// gets its own picture back.

extern "C" {
#include <frei0r.h>
}

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "Bundles.h"
#include "Effect.h"
#include "FFmpegRows.h"
#include "FrameRate.h"
#include "Frei0rParameters.h"
#include "HostProgram.h"
#include "HostState.h"

namespace pyrelux::adapters {

namespace {

constexpr char unknownReason[] = "something unknown went wrong";

/// What all instances share: the filter and its parameters as the host sees them.
struct PlugIn {
  host::FilterInfo filter;
  bool hasFilter = false;
  std::vector<host::ParameterDeclaration> declarations;
  std::vector<Frei0rParameter> parameters;

  PlugIn() {
    const HostState kept;
    try {
      filter = host::findFilter(host::defaultSearchPath());
      declarations = parametersOf(filter).declarations();
      hasFilter = true;
    } catch (const std::exception &error) {
      complain(reasonOf(error));
    }
    parameters = frei0rParameters(declarations);
  }
};

std::mutex plugInMutex;
int initialisations = 0;
std::shared_ptr<const PlugIn> loaded;

/// Hosts that ask before they initialise get an answer, too.
std::shared_ptr<const PlugIn> plugIn() {
  const std::lock_guard<std::mutex> lock(plugInMutex);
  if (!loaded) loaded = std::make_shared<const PlugIn>();
  return loaded;
}

class Instance {
 public:
  Instance(int width, int height)
      : width_(width),
        height_(height),
        isCalledByFFmpeg_(isCalledByFFmpeg()),
        rowPixels_(isCalledByFFmpeg_ && !isAskingForRows() ? rowPixelsOfFFmpeg(width) : width),
        plugIn_(plugIn()) {
    if (rowPixels_ < width_)
      throw std::runtime_error("this program does not show how its rows of " + std::to_string(width_) +
                               " pixels lie in memory; scale or pad the picture to a multiple of 16 pixels of width");
    if (!plugIn_->hasFilter || isAskingForRows()) return;
    try {
      effect_ = std::make_unique<Effect>(plugIn_->filter);
    } catch (const std::exception &error) {
      complain(reasonOf(error));
    }
  }

  void set(const void *value, int index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Frei0rParameter *parameter = parameterAt(index);
    if (!parameter || !value) return;
    switch (parameter->kind) {
      case Frei0rParameter::Kind::Number:
      case Frei0rParameter::Kind::Colour:
        if (effect_) setOfFilter(*parameter, value);
        break;
      default:
        if (const char *text = *static_cast<char *const *>(value)) setOfPlugIn(*parameter, text);
    }
  }

  void get(void *value, int index) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Frei0rParameter *parameter = parameterAt(index);
    if (!parameter || !value) return;
    const auto current = [&] {
      return effect_ ? effect_->parameters().value(parameter->id, 0.0) : declarationOf(*parameter).defaultValue;
    };
    switch (parameter->kind) {
      case Frei0rParameter::Kind::Number:
        *static_cast<f0r_param_double *>(value) = toUnit(declarationOf(*parameter), current()[parameter->component]);
        break;
      case Frei0rParameter::Kind::Colour: {
        const host::ParameterValue colour = current();
        *static_cast<f0r_param_color_t *>(value) = {static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                                                    static_cast<float>(colour[2])};
        break;
      }
      default:
        *static_cast<f0r_param_string *>(value) = textOf(parameter->kind).data();
    }
  }

  void update(double time, const std::uint32_t *input, std::uint32_t *output) noexcept {
    if (!draw(time, reinterpret_cast<const std::uint8_t *>(input), reinterpret_cast<std::uint8_t *>(output)) &&
        width_ > 0 && height_ > 0)
      std::memmove(output, input, rowBytes(rowPixels_) * static_cast<std::size_t>(height_));
  }

 private:
  /// False when `output` was left alone.
  bool draw(double time, const std::uint8_t *input, std::uint8_t *output) noexcept {
    try {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!effect_) return false;
      if (rowPixels_ == width_)
        effect_->render(input, output, width_, height_, frameAt(time), 1.0, settings_.composition);
      else
        drawWithoutPadding(time, input, output);
      return true;
    } catch (const std::exception &error) {
      complainOnce(reasonOf(error));
    } catch (...) {
      complainOnce(unknownReason);
    }
    return false;
  }

  static std::size_t rowBytes(int pixels) { return static_cast<std::size_t>(pixels) * 4; }

  void drawWithoutPadding(double time, const std::uint8_t *input, std::uint8_t *output) {
    const std::size_t bytes = rowBytes(width_);
    packed_.resize(bytes * static_cast<std::size_t>(height_));
    for (int y = 0; y < height_; ++y) std::memcpy(&packed_[y * bytes], input + y * rowBytes(rowPixels_), bytes);
    effect_->render(packed_.data(), packed_.data(), width_, height_, frameAt(time), 1.0, settings_.composition);
    for (int y = 0; y < height_; ++y) std::memcpy(output + y * rowBytes(rowPixels_), &packed_[y * bytes], bytes);
  }

  /// Since every frame would have the same to say.
  void complainOnce(const char *reason) noexcept {
    if (!hasComplained_.exchange(true)) complain(reason);
  }

  const Frei0rParameter *parameterAt(int index) const {
    return index >= 0 && static_cast<std::size_t>(index) < plugIn_->parameters.size()
               ? &plugIn_->parameters[static_cast<std::size_t>(index)]
               : nullptr;
  }

  const host::ParameterDeclaration &declarationOf(const Frei0rParameter &parameter) const {
    for (const host::ParameterDeclaration &declaration : plugIn_->declarations)
      if (declaration.id == parameter.id) return declaration;
    throw std::logic_error("a parameter that was not declared");
  }

  void setOfFilter(const Frei0rParameter &parameter, const void *value) {
    const host::ParameterDeclaration &declaration = declarationOf(parameter);
    host::ParameterValue whole = effect_->parameters().value(parameter.id, 0.0);
    if (parameter.kind == Frei0rParameter::Kind::Colour) {
      const auto &colour = *static_cast<const f0r_param_color_t *>(value);
      const auto channel = [](float sample) { return sample > 0.0f ? std::min<double>(sample, 1.0) : 0.0; };
      whole = {channel(colour.r), channel(colour.g), channel(colour.b)};
    } else {
      whole[parameter.component] = fromUnit(declaration, *static_cast<const f0r_param_double *>(value));
    }
    effect_->edit(declaration, whole);
  }

  void setOfPlugIn(const Frei0rParameter &parameter, const std::string &text) {
    bool isKnown = true;
    if (parameter.kind == Frei0rParameter::Kind::FrameRate) {
      const auto rate = readFrameRate(text);
      if (rate) settings_.framesPerSecond = rate->perSecond();
      isKnown = rate.has_value();
    } else if (parameter.kind == Frei0rParameter::Kind::TimeUnit) {
      if (text == "auto")
        settings_.timeUnit = TimeUnit::Auto;
      else if (text == "seconds")
        settings_.timeUnit = TimeUnit::Seconds;
      else if (text == "milliseconds")
        settings_.timeUnit = TimeUnit::Milliseconds;
      else
        isKnown = false;
    } else {
      if (text == "over")
        settings_.composition = Composition::OverSource;
      else if (text == "fire")
        settings_.composition = Composition::FireAlone;
      else
        isKnown = false;
    }
    if (isKnown)
      textOf(parameter.kind) = text;
    else
      complain("'" + text + "' is nothing for " + parameter.name + ": " + parameter.explanation);
  }

  std::string &textOf(Frei0rParameter::Kind kind) {
    return kind == Frei0rParameter::Kind::FrameRate  ? frameRate_
           : kind == Frei0rParameter::Kind::TimeUnit ? timeUnit_
                                                     : output_;
  }

  /// The frame of a time, or, without one, the frame after the one before: FFmpeg loses the time of frames that it has
  /// to copy for their rows' sake.
  double frameAt(double time) {
    const bool isMilliseconds =
        settings_.timeUnit == TimeUnit::Auto ? isCalledByFFmpeg_ : settings_.timeUnit == TimeUnit::Milliseconds;
    const double seconds = isMilliseconds ? time / 1000.0 : time;
    // What FFmpeg makes of "no time" lies centuries before the start, however fine it counts.
    constexpr double earliest = -1e9;
    // Hosts' times are rounded; a frame is a whole number.
    const double frame = seconds >= earliest ? std::round(seconds * settings_.framesPerSecond) : nextFrame_;
    nextFrame_ = std::clamp(frame, -host::farthestFrame, host::farthestFrame) + 1.0;
    return nextFrame_ - 1.0;
  }

  std::mutex mutex_;  ///< some hosts call an instance from several threads
  int width_;
  int height_;
  bool isCalledByFFmpeg_;
  int rowPixels_;  ///< from one row to the next
  std::vector<std::uint8_t> packed_;
  std::shared_ptr<const PlugIn> plugIn_;
  std::unique_ptr<Effect> effect_;  ///< null when nothing can be drawn
  Frei0rSettings settings_;
  double nextFrame_ = 0.0;  ///< after the last that was drawn
  std::string frameRate_ = "25";
  std::string timeUnit_ = "auto";
  std::string output_ = "over";
  std::atomic<bool> hasComplained_{false};
};

/// Does the work; what it throws is told and ends here.
template <typename Work>
void shielded(Work work) noexcept {
  try {
    work();
  } catch (const std::exception &error) {
    complain(reasonOf(error));
  } catch (...) {
    complain(unknownReason);
  }
}

/// Does the work on an instance, if there is one: for want of memory there may be none.
template <typename Work>
void shielded(f0r_instance_t instance, Work work) noexcept {
  if (instance) shielded([&] { work(*static_cast<Instance *>(instance)); });
}

}  // namespace

}  // namespace pyrelux::adapters

#define PYRELUX_FREI0R extern "C" __attribute__((visibility("default")))

using namespace pyrelux::adapters;

PYRELUX_FREI0R int f0r_init() {
  shielded([] {
    const std::lock_guard<std::mutex> lock(plugInMutex);
    ++initialisations;
  });
  shielded([] { plugIn(); });
  return 1;
}

PYRELUX_FREI0R void f0r_deinit() {
  shielded([] {
    const std::lock_guard<std::mutex> lock(plugInMutex);
    if (initialisations > 0 && --initialisations == 0) loaded.reset();
  });
}

PYRELUX_FREI0R void f0r_get_plugin_info(f0r_plugin_info_t *info) {
  *info = {"Pyrelux",
           "Morvane",
           F0R_PLUGIN_TYPE_FILTER,
           F0R_COLOR_MODEL_RGBA8888,
           FREI0R_MAJOR_VERSION,
           PYRELUX_VERSION_MAJOR,
           PYRELUX_VERSION_MINOR,
           0,
           "Sets titles, logos and mattes on fire"};
  shielded([info] { info->num_params = static_cast<int>(plugIn()->parameters.size()); });
}

PYRELUX_FREI0R void f0r_get_param_info(f0r_param_info_t *info, int index) {
  shielded([info, index] {
    // Kept by the plug-in until the last f0r_deinit().
    const auto &parameters = plugIn()->parameters;
    if (index < 0 || static_cast<std::size_t>(index) >= parameters.size()) return;
    const Frei0rParameter &parameter = parameters[static_cast<std::size_t>(index)];
    *info = {parameter.name.c_str(), parameter.type(), parameter.explanation.c_str()};
  });
}

PYRELUX_FREI0R f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  Instance *instance = nullptr;
  shielded([&] { instance = new Instance(static_cast<int>(width), static_cast<int>(height)); });
  return instance;
}

PYRELUX_FREI0R void f0r_destruct(f0r_instance_t instance) {
  shielded([=] { delete static_cast<Instance *>(instance); });
}

PYRELUX_FREI0R void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  shielded(instance, [=](Instance &its) { its.set(value, index); });
}

PYRELUX_FREI0R void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  shielded(instance, [=](Instance &its) { its.get(value, index); });
}

PYRELUX_FREI0R void f0r_update(f0r_instance_t instance, double time, const uint32_t *input, uint32_t *output) {
  shielded(instance, [=](Instance &its) { its.update(time, input, output); });
}
