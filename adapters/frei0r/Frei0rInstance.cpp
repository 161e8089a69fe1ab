#include "Frei0rInstance.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>

#include "Complaint.h"
#include "FFmpegRows.h"
#include "FrameRate.h"
#include "HostProgram.h"

namespace pyrelux::adapters {

namespace {

std::optional<TimeUnit> readTimeUnit(const std::string &text) {
  if (text == "auto") return TimeUnit::Auto;
  if (text == "seconds") return TimeUnit::Seconds;
  if (text == "milliseconds") return TimeUnit::Milliseconds;
  return std::nullopt;
}

std::size_t rowBytes(int pixels) { return static_cast<std::size_t>(pixels) * 4; }

}  // namespace

Frei0rInstance::Frei0rInstance(int width, int height)
    : width_(width),
      height_(height),
      isCalledByFFmpeg_(isCalledByFFmpeg()),
      rowPixels_(isCalledByFFmpeg_ && !isAskingForRows() ? rowPixelsOfFFmpeg(width) : width),
      plugIn_(plugIn()),
      values_(plugIn_->declarations),
      look_(values_) {
  if (rowPixels_ < width_)
    throw std::runtime_error("this program does not show how its rows of " + std::to_string(width_) +
                             " pixels lie in memory; scale or pad the picture to a multiple of 16 pixels of width");
  if (!plugIn_->hasFilter || isAskingForRows()) return;
  try {
    effect_ = std::make_unique<StaticEffect>(plugIn_->filter);
  } catch (const std::exception &error) {
    complain(reasonOf(error));
  }
}

void Frei0rInstance::set(const void *value, int index) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Frei0rParameter *parameter = parameterAt(index);
  if (!parameter || !value) return;
  isNew_ = true;
  switch (parameter->kind) {
    case Frei0rParameter::Kind::Number:
    case Frei0rParameter::Kind::Colour:
      setOfFilter(*parameter, value);
      break;
    default:
      if (const char *text = *static_cast<char *const *>(value)) setOfPlugIn(*parameter, text);
  }
}

void Frei0rInstance::get(void *value, int index) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Frei0rParameter *parameter = parameterAt(index);
  if (!parameter || !value) return;
  const auto current = [&] { return values_.value(parameter->id, 0.0); };
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

void Frei0rInstance::update(double time, const std::uint32_t *input, std::uint32_t *output) noexcept {
  if (!draw(time, reinterpret_cast<const std::uint8_t *>(input), reinterpret_cast<std::uint8_t *>(output)) &&
      width_ > 0 && height_ > 0)
    std::memmove(output, input, rowBytes(rowPixels_) * static_cast<std::size_t>(height_));
}

bool Frei0rInstance::draw(double time, const std::uint8_t *input, std::uint8_t *output) noexcept {
  try {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!effect_) return false;
    applySettings();
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

void Frei0rInstance::drawWithoutPadding(double time, const std::uint8_t *input, std::uint8_t *output) {
  const std::size_t bytes = rowBytes(width_);
  packed_.resize(bytes * static_cast<std::size_t>(height_));
  for (int y = 0; y < height_; ++y) std::memcpy(&packed_[y * bytes], input + y * rowBytes(rowPixels_), bytes);
  effect_->render(packed_.data(), packed_.data(), width_, height_, frameAt(time), 1.0, settings_.composition);
  for (int y = 0; y < height_; ++y) std::memcpy(output + y * rowBytes(rowPixels_), &packed_[y * bytes], bytes);
}

void Frei0rInstance::complainOnce(const char *reason) noexcept {
  if (!hasComplained_.exchange(true)) complain(reason);
}

const Frei0rParameter *Frei0rInstance::parameterAt(int index) const {
  return index >= 0 && static_cast<std::size_t>(index) < plugIn_->parameters.size()
             ? &plugIn_->parameters[static_cast<std::size_t>(index)]
             : nullptr;
}

const host::ParameterDeclaration &Frei0rInstance::declarationOf(const Frei0rParameter &parameter) const {
  for (const host::ParameterDeclaration &declaration : plugIn_->declarations)
    if (declaration.id == parameter.id) return declaration;
  throw std::logic_error("a parameter that was not declared");
}

void Frei0rInstance::setOfFilter(const Frei0rParameter &parameter, const void *value) {
  const host::ParameterDeclaration &declaration = declarationOf(parameter);
  host::ParameterValue whole = values_.value(parameter.id, 0.0);
  if (parameter.kind == Frei0rParameter::Kind::Colour) {
    const auto &colour = *static_cast<const f0r_param_color_t *>(value);
    const auto channel = [](float sample) { return sample > 0.0f ? std::min<double>(sample, 1.0) : 0.0; };
    whole = {channel(colour.r), channel(colour.g), channel(colour.b)};
  } else {
    whole[parameter.component] = fromUnit(declaration, *static_cast<const f0r_param_double *>(value));
  }
  values_.set(declaration, whole);
}

void Frei0rInstance::applySettings() {
  if (!isNew_) return;
  look_.choose(preset_, seed_, settings_.frameRate);
  host::ParameterSet parameters = look_.parameters();
  for (const host::ParameterDeclaration &declaration : values_.declarations()) {
    const host::ParameterValue value = values_.value(declaration.id, 0.0);
    if (values_.isSet(declaration.id) && !look_.holdsInsteadOf(declaration, value)) parameters.set(declaration, value);
  }
  effect_->setParameters(parameters, look_.time());
  isNew_ = false;
}

void Frei0rInstance::setOfPlugIn(const Frei0rParameter &parameter, const std::string &text) {
  if (readSetting(parameter.kind, text))
    textOf(parameter.kind) = text;
  else
    complain("'" + text + "' is nothing for " + parameter.name + ": " + parameter.explanation);
}

bool Frei0rInstance::readSetting(Frei0rParameter::Kind kind, const std::string &text) {
  if (kind == Frei0rParameter::Kind::Preset || kind == Frei0rParameter::Kind::Seed) return true;
  if (kind == Frei0rParameter::Kind::FrameRate) {
    const auto rate = readFrameRate(text);
    settings_.frameRate = rate.value_or(settings_.frameRate);
    return rate.has_value();
  }
  if (kind == Frei0rParameter::Kind::TimeUnit) {
    const auto unit = readTimeUnit(text);
    settings_.timeUnit = unit.value_or(settings_.timeUnit);
    return unit.has_value();
  }
  const auto composition = readComposition(text);
  settings_.composition = composition.value_or(settings_.composition);
  return composition.has_value();
}

std::string &Frei0rInstance::textOf(Frei0rParameter::Kind kind) {
  switch (kind) {
    case Frei0rParameter::Kind::FrameRate:
      return frameRate_;
    case Frei0rParameter::Kind::TimeUnit:
      return timeUnit_;
    case Frei0rParameter::Kind::Preset:
      return preset_;
    case Frei0rParameter::Kind::Seed:
      return seed_;
    default:
      return output_;
  }
}

std::int64_t Frei0rInstance::frameAt(double time) {
  const bool isMilliseconds =
      settings_.timeUnit == TimeUnit::Auto ? isCalledByFFmpeg_ : settings_.timeUnit == TimeUnit::Milliseconds;
  const double seconds = isMilliseconds ? time / 1000.0 : time;
  // FFmpeg turns "no time" into a time centuries before the start, whatever its time base.
  constexpr double earliest = -1e9;
  // Hosts round times; a frame's number is whole.
  const double number =
      seconds >= earliest ? std::round(seconds * settings_.frameRate.perSecond()) : static_cast<double>(nextFrame_);
  const auto frame = static_cast<std::int64_t>(std::clamp(number, -host::maxFrame, host::maxFrame));
  nextFrame_ = frame + 1;
  return frame;
}

}  // namespace pyrelux::adapters
