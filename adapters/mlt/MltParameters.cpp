#include "MltParameters.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "Complaint.h"
#include "HostError.h"
#include "ParameterText.h"

namespace pyrelux::adapters {

namespace {

using host::Keyframe;
using host::ParameterDeclaration;
using host::ParameterKind;
using host::ParameterValue;

/// One parameter's text, interpreted by MLT. It is a copy in a property list of its own, because MLT parses keyframes
/// in place and rewrites them, and another thread may use the filter's properties meanwhile.
class Property {
 public:
  Property(mlt_properties ofFilter, const ParameterDeclaration &declaration, std::string text, const Clip &clip)
      : declaration_(declaration),
        text_(std::move(text)),
        clip_(clip),
        isInPercent_(text_.find('%') != std::string::npos),
        properties_(mlt_properties_new(), mlt_properties_close) {
    if (!properties_) throw std::bad_alloc();
    // MLT needs the locale for decimal commas, and the profile for the times of keyframes.
    if (const char *locale = mlt_properties_get_lcnumeric(ofFilter))
      mlt_properties_set_lcnumeric(properties_.get(), locale);
    void *profile = mlt_properties_get_data(ofFilter, "_profile", nullptr);
    mlt_properties_set_data(properties_.get(), "_profile", profile, 0, nullptr, nullptr);
    mlt_properties_set(properties_.get(), name, text_.c_str());
  }

  /// Sets the parameter to the value or keyframes of the text, or to the look's where they hold.
  static void apply(const std::shared_ptr<const Property> &property, const Look &look, host::ParameterSet &parameters) {
    const Property &its = *property;
    // Getting a number makes MLT parse keyframes; getting a text would make it forget them.
    mlt_properties_anim_get_double(its.properties_.get(), name, 0, its.clip_.length);
    const mlt_animation animation = mlt_properties_get_animation(its.properties_.get(), name);
    const int keys = animation ? mlt_animation_key_count(animation) : 0;
    const bool isPopup = its.declaration_.kind == ParameterKind::Popup;
    // Some programs write a constant as a single keyframe.
    const std::optional<ParameterValue> constant = its.constantOf(animation, keys);
    if (constant && look.holdsInsteadOf(its.declaration_, *constant))
      parameters.setKeyframes(its.declaration_, look.parameters().keyframes(its.declaration_));
    else if (keys == 0)
      parameters.set(its.declaration_, *constant);
    else if (isPopup)
      parameters.setKeyframes(its.declaration_, its.held(animation, keys));
    else
      parameters.setCurve(its.declaration_, [property, last = its.lastFrame(animation, keys)](double timeFrames) {
        return property->valueAt(static_cast<int>(std::clamp(std::floor(timeFrames), 0.0, last)));
      });
  }

 private:
  static constexpr char name[] = "value";

  /// The value, unless there are several keyframes.
  std::optional<ParameterValue> constantOf(mlt_animation animation, int keys) const {
    if (keys > 1) return std::nullopt;
    if (declaration_.kind != ParameterKind::Popup) return valueAt(0);
    return keys == 0 ? entryNamed(text_) : held(animation, keys).at(0).value;
  }

  /// A popup's keyframes. Each holds its entry until the next, whatever interpolation it asks for.
  std::vector<Keyframe> held(mlt_animation animation, int keys) const {
    const std::unique_ptr<mlt_property_s, decltype(&mlt_property_close)> entry(mlt_property_init(), mlt_property_close);
    std::vector<Keyframe> keyframes;
    for (int key = 0; key < keys; ++key) {
      mlt_animation_item_s item = {};
      item.property = entry.get();
      if (mlt_animation_key_get(animation, &item, key)) break;
      const char *text = mlt_property_get_string(entry.get());
      keyframes.push_back({static_cast<double>(item.frame), entryNamed(text ? text : ""), host::Ease::Hold});
    }
    return keyframes;
  }

  /// The last keyframe in the clip.
  double lastFrame(mlt_animation animation, int keys) const {
    mlt_animation_item_s last = {};
    mlt_animation_key_get(animation, &last, keys - 1);
    return std::max(0, clip_.length > 0 ? std::min(last.frame, clip_.length - 1) : last.frame);
  }

  ParameterValue entryNamed(const std::string &text) const {
    try {
      return host::clampToLegal(declaration_, host::parseValue(declaration_, text));
    } catch (const host::HostError &error) {
      complain(error.what());
      return declaration_.defaultValue;
    }
  }

  ParameterValue valueAt(int frame) const { return host::clampToLegal(declaration_, anyValueAt(frame)); }

  ParameterValue anyValueAt(int frame) const {
    switch (declaration_.kind) {
      case ParameterKind::Colour: {
        const mlt_color colour = mlt_properties_anim_get_color(properties_.get(), name, frame, clip_.length);
        return {colour.r / 255.0, colour.g / 255.0, colour.b / 255.0};
      }
      case ParameterKind::Point: {
        // Missing numbers of a rectangle count as 0.
        const mlt_rect place = mlt_properties_anim_get_rect(properties_.get(), name, frame, clip_.length);
        const double x = place.x + place.w / 2.0;
        const double y = place.y + place.h / 2.0;
        return isInPercent_ ? ParameterValue{x, 1.0 - y} : ParameterValue{x / clip_.width, 1.0 - y / clip_.height};
      }
      default: {
        // MLT reads 40% as 0.4.
        const double number = mlt_properties_anim_get_double(properties_.get(), name, frame, clip_.length);
        return {isShare(declaration_) && !isInPercent_ ? number / 100.0 : number};
      }
    }
  }

  ParameterDeclaration declaration_;
  std::string text_;
  Clip clip_;
  bool isInPercent_;  ///< whether the text has a %; without one, points are in pixels and shares 0 .. 100
  std::unique_ptr<mlt_properties_s, decltype(&mlt_properties_close)> properties_;
};

}  // namespace

bool isShare(const ParameterDeclaration &declaration) {
  return declaration.kind == ParameterKind::Float && declaration.minimum == 0.0 && declaration.maximum == 1.0;
}

bool MltParameters::read(mlt_properties properties, const Clip &clip) {
  const auto textOf = [properties](const std::string &name) {
    const char *text = mlt_properties_get(properties, name.c_str());
    return std::string(text ? text : "");
  };
  bool hasChanged = look_.choose(textOf("preset"), textOf("seed"), clip.rate);
  if (hasChanged) {
    parameters_ = look_.parameters();
    texts_.clear();
  }
  for (const ParameterDeclaration &declaration : look_.parameters().declarations()) {
    if (declaration.kind == ParameterKind::Custom) continue;
    const std::string now = textOf(declaration.keySlug());
    std::string &before = texts_[declaration.id];
    if (now == before && (clip == clip_ || now.empty())) continue;
    hasChanged = true;
    before = now;
    if (now.empty())
      parameters_.setKeyframes(declaration, look_.parameters().keyframes(declaration));
    else
      Property::apply(std::make_shared<const Property>(properties, declaration, now, clip), look_, parameters_);
  }
  clip_ = clip;
  return hasChanged;
}

}  // namespace pyrelux::adapters
