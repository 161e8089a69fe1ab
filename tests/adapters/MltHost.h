#pragma once

#include <framework/mlt.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Bundles.h"
#include "KeyframedEffect.h"
#include "TitleFrame.h"

// MLT with our module, in this process, as in a program that is linked with MLT.

namespace pyrelux::adapters::test {

constexpr int length = 25;

/// A folder of modules that has only ours.
class Repository {
 public:
  Repository() {
    char folder[] = "/tmp/pyrelux-mlt-XXXXXX";
    if (!mkdtemp(folder)) throw std::runtime_error("no temporary folder");
    folder_ = folder;
    std::filesystem::create_symlink(PYRELUX_MLT_MODULE, folder_ / std::filesystem::path(PYRELUX_MLT_MODULE).filename());
  }
  ~Repository() { std::filesystem::remove_all(folder_); }
  Repository(const Repository &) = delete;
  Repository &operator=(const Repository &) = delete;

  const char *folder() const { return folder_.c_str(); }

 private:
  std::filesystem::path folder_;
};

inline const Repository &repository() {
  static const Repository only;
  return only;
}

/// Loads MLT's modules while the object lives.
class Mlt {
 public:
  Mlt() {
    initialise();
    profile_ = mlt_profile_init(nullptr);
    profile_->width = width;
    profile_->height = height;
    profile_->sample_aspect_num = profile_->sample_aspect_den = 1;
  }
  ~Mlt() {
    mlt_profile_close(profile_);
    mlt_factory_close();
  }
  Mlt(const Mlt &) = delete;
  Mlt &operator=(const Mlt &) = delete;

  mlt_profile profile() const { return profile_; }

 private:
  static void initialise() {
#ifdef __SANITIZE_ADDRESS__
    // mlt_repository_init() makes a list that MLT never frees.
    const __lsan::ScopedDisabler unwatched;
#endif
    if (!mlt_factory_init(repository().folder())) throw std::runtime_error("no MLT");
  }

  mlt_profile profile_;
};

using Settings = std::vector<std::pair<std::string, std::string>>;

/// An MLT filter on a clip of `length` frames.
class Burner {
 public:
  explicit Burner(const Mlt &mlt, const Settings &settings = {})
      : filter_(mlt_factory_filter(mlt.profile(), "pyrelux", nullptr)) {
    if (!filter_) throw std::runtime_error("no filter pyrelux");
    mlt_filter_set_in_and_out(filter_, 0, length - 1);
    set("steps", "10");
    for (const auto &[name, value] : settings) set(name, value);
  }
  ~Burner() { mlt_filter_close(filter_); }
  Burner(const Burner &) = delete;
  Burner &operator=(const Burner &) = delete;

  void set(const std::string &name, const std::string &value) {
    mlt_properties_set(mlt_filter_properties(filter_), name.c_str(), value.c_str());
  }

  Frame burn(int position, const Frame &input = title(), int pictureWidth = width, int pictureHeight = height) {
    Frame burnt = input;
    burnInPlace(burnt, position, pictureWidth, pictureHeight);
    return burnt;
  }

  /// The same without any memory of its own.
  void burnInPlace(Frame &picture, int position, int pictureWidth, int pictureHeight) {
    const std::unique_ptr<mlt_frame_s, decltype(&mlt_frame_close)> frame(mlt_frame_init(nullptr), mlt_frame_close);
    const int bytes = static_cast<int>(picture.size());
    auto *pixels = static_cast<std::uint8_t *>(mlt_pool_alloc(bytes));
    std::memcpy(pixels, picture.data(), picture.size());
    mlt_frame_set_image(frame.get(), pixels, bytes, mlt_pool_release);
    const mlt_properties properties = mlt_frame_properties(frame.get());
    mlt_properties_set_int(properties, "format", mlt_image_rgba);
    mlt_properties_set_int(properties, "width", pictureWidth);
    mlt_properties_set_int(properties, "height", pictureHeight);
    mlt_frame_set_aspect_ratio(frame.get(), 1.0);
    mlt_frame_set_position(frame.get(), position);
    mlt_filter_process(filter_, frame.get());
    std::uint8_t *image = nullptr;
    mlt_image_format format = mlt_image_rgba;
    EXPECT_EQ(mlt_frame_get_image(frame.get(), &image, &format, &pictureWidth, &pictureHeight, 0), 0);
    EXPECT_EQ(format, mlt_image_rgba);
    std::memcpy(picture.data(), image, picture.size());
  }

 private:
  mlt_filter filter_;
};

inline const Settings animated{{"turbulence-speed", "0=0;12=100;20~=0;24=50"}, {"glow", "0=-50;24=80"}};

class MltModule : public testing::Test {
 protected:
  Mlt mlt;
};

/// Draws the same frame with the filter itself, and composes it; with ten steps unless they are set.
class Reference {
 public:
  Reference() : effect_(host::findFilter(host::defaultSearchPath())), parameters_(effect_.defaults()) {
    set("steps", {10.0});
  }

  host::FilterTime time;

  const host::ParameterSet &parameters() const { return parameters_; }
  void set(const std::string &name, const host::ParameterValue &value) {
    parameters_.set(parameters_.named(name), value);
  }
  void setKeyframes(const std::string &name, const std::vector<host::Keyframe> &keyframes) {
    parameters_.setKeyframes(parameters_.named(name), keyframes);
  }

  Frame burn(int position, Frame frame = title(), int pictureWidth = width, int pictureHeight = height) {
    effect_.setParameters(parameters_, time);
    effect_.render(frame.data(), frame.data(), pictureWidth, pictureHeight, position, 1.0, Composition::OverSource);
    return frame;
  }

 private:
  KeyframedEffect effect_;
  host::ParameterSet parameters_;
};

}  // namespace pyrelux::adapters::test
