// The module for MLT: the functions that MLT calls. No exception leaves them. When anything fails, the frame stays as
// it was.

#include <dlfcn.h>
#include <framework/mlt.h>

#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#include "Bundles.h"
#include "Complaint.h"
#include "HostState.h"
#include "KeyframedEffect.h"
#include "MltParameters.h"

namespace pyrelux::adapters {

namespace {

/// The data of one MLT filter. Thread: any; frames take turns.
class MltFilter {
 public:
  /// Draws into `image`, width x height pixels of mlt_image_rgba.
  void render(mlt_filter filter, mlt_frame frame, std::uint8_t *image, int width, int height) {
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
      if (!effect_) {
        if (hasComplained_) return;
        const HostState kept;
        effect_ = std::make_unique<KeyframedEffect>(host::findFilter(host::defaultSearchPath()));
      }
      updateParameters(filter, frame);
      effect_->render(image, image, width, height, mlt_filter_get_position(filter, frame), pixelAspect(filter, frame),
                      compositionOf(mlt_filter_properties(filter)));
    } catch (const std::exception &error) {
      tell(reasonOf(error));
    } catch (...) {
      tell(unknownReason);
    }
  }

 private:
  /// Reads the properties that have changed. Holds the service's lock, as a program does that sets several at once.
  void updateParameters(mlt_filter filter, mlt_frame frame) {
    struct Lock {
      explicit Lock(mlt_service locked) : service(locked) { mlt_service_lock(service); }
      ~Lock() { mlt_service_unlock(service); }
      mlt_service service;
    };
    const mlt_service service = mlt_filter_service(filter);
    const mlt_profile profile = mlt_service_profile(service);
    const Lock lock(service);
    // Returned to the member on success; otherwise the next frame reads everything again.
    std::unique_ptr<MltParameters> parameters = std::move(parameters_);
    const bool isNew = !parameters;
    if (isNew) parameters = std::make_unique<MltParameters>(effect_->defaults());
    Clip clip{mlt_filter_get_length2(filter, frame), 1, 1, {}};
    if (profile) {
      clip.width = profile->width;
      clip.height = profile->height;
      if (mlt_profile_fps(profile) > 0.0) clip.rate = {profile->frame_rate_num, profile->frame_rate_den};
    }
    if (parameters->read(mlt_filter_properties(filter), clip) || isNew)
      effect_->setParameters(parameters->parameters(), parameters->time());
    parameters_ = std::move(parameters);
  }

  static double pixelAspect(mlt_filter filter, mlt_frame frame) {
    const double ofFrame = mlt_frame_get_aspect_ratio(frame);
    return ofFrame > 0.0 ? ofFrame : mlt_profile_sar(mlt_service_profile(mlt_filter_service(filter)));
  }

  Composition compositionOf(mlt_properties properties) {
    const char *output = mlt_properties_get(properties, "output");
    if (!output) return Composition::OverSource;
    const auto composition = readComposition(output);
    if (!composition) tell(("output is over or fire, not '" + std::string(output) + "'").c_str());
    return composition.value_or(Composition::OverSource);
  }

  /// Complains at the first call only, because every frame would have the same message.
  void tell(const char *message) noexcept {
    if (!hasComplained_) complain(message);
    hasComplained_ = true;
  }

  std::mutex mutex_;
  std::unique_ptr<KeyframedEffect> effect_;
  std::unique_ptr<MltParameters> parameters_;
  bool hasComplained_ = false;
};

int getImage(mlt_frame frame, std::uint8_t **image, mlt_image_format *format, int *width, int *height,
             int /*writable*/) {
  const auto filter = static_cast<mlt_filter>(mlt_frame_pop_service(frame));
  *format = mlt_image_rgba;
  const int error = mlt_frame_get_image(frame, image, format, width, height, 1);
  if (error == 0 && *image && *format == mlt_image_rgba)
    static_cast<MltFilter *>(filter->child)->render(filter, frame, *image, *width, *height);
  return error;
}

mlt_frame process(mlt_filter filter, mlt_frame frame) {
  mlt_frame_push_service(frame, filter);
  mlt_frame_push_get_image(frame, getImage);
  return frame;
}

void close(mlt_filter filter) {
  delete static_cast<MltFilter *>(filter->child);
  filter->child = nullptr;
  filter->close = nullptr;
  filter->parent.close = nullptr;
  mlt_service_close(&filter->parent);
}

void *create(mlt_profile, mlt_service_type, const char *, const void *) {
  const auto child = new (std::nothrow) MltFilter;
  const mlt_filter filter = child ? mlt_filter_new() : nullptr;
  if (!filter) {
    delete child;
    return nullptr;
  }
  filter->child = child;
  filter->process = process;
  filter->close = close;
  return filter;
}

constexpr char metadataFile[] = "pyrelux/filter_pyrelux.yml";

/// The data folder that was installed with this module, found from the module's own place after links are resolved.
std::filesystem::path ownData() {
  Dl_info module = {};
  if (!dladdr(metadataFile, &module)) return {};
  return std::filesystem::canonical(module.dli_fname).parent_path() / PYRELUX_MLT_MODULES_TO_DATA;
}

/// Reads the metadata from MLT's data folder or from this module's own.
mlt_properties describe(mlt_service_type, const char *, void *) {
  try {
    const char *dataOfMlt = mlt_environment("MLT_DATA");
    for (const std::filesystem::path &folder : {std::filesystem::path(dataOfMlt ? dataOfMlt : ""), ownData()})
      if (std::filesystem::exists(folder / metadataFile))
        return mlt_properties_parse_yaml((folder / metadataFile).c_str());
  } catch (const std::exception &error) {
    complain(reasonOf(error));
  }
  return nullptr;
}

}  // namespace

}  // namespace pyrelux::adapters

extern "C" __attribute__((visibility("default"))) MLT_REPOSITORY {
  using namespace pyrelux::adapters;
  MLT_REGISTER(mlt_service_filter_type, "pyrelux", create);
  MLT_REGISTER_METADATA(mlt_service_filter_type, "pyrelux", describe, nullptr);
}
