// The frei0r plug-in: the C functions that a host calls. No exception leaves them. When anything fails, the host gets
// its own picture back.

extern "C" {
#include <frei0r.h>
}

#include <exception>

#include "Complaint.h"
#include "Frei0rInstance.h"
#include "Frei0rPlugIn.h"

namespace pyrelux::adapters {

namespace {

/// Does the work. An exception ends here with a complaint.
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

/// Does the work on an instance. Does nothing without one: f0r_construct may have run out of memory.
template <typename Work>
void shielded(f0r_instance_t instance, Work work) noexcept {
  if (instance) shielded([&] { work(*static_cast<Frei0rInstance *>(instance)); });
}

}  // namespace

}  // namespace pyrelux::adapters

#define PYRELUX_FREI0R extern "C" __attribute__((visibility("default")))

using namespace pyrelux::adapters;

PYRELUX_FREI0R int f0r_init() {
  shielded(initialise);
  shielded([] { plugIn(); });
  return 1;
}

PYRELUX_FREI0R void f0r_deinit() { shielded(finish); }

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
    // The texts live as long as the plug-in, until the last f0r_deinit().
    const auto &parameters = plugIn()->parameters;
    if (index < 0 || static_cast<std::size_t>(index) >= parameters.size()) return;
    const Frei0rParameter &parameter = parameters[static_cast<std::size_t>(index)];
    *info = {parameter.name.c_str(), parameter.type(), parameter.explanation.c_str()};
  });
}

PYRELUX_FREI0R f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  Frei0rInstance *instance = nullptr;
  shielded([&] { instance = new Frei0rInstance(static_cast<int>(width), static_cast<int>(height)); });
  return instance;
}

PYRELUX_FREI0R void f0r_destruct(f0r_instance_t instance) {
  shielded([=] { delete static_cast<Frei0rInstance *>(instance); });
}

PYRELUX_FREI0R void f0r_set_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  shielded(instance, [=](Frei0rInstance &its) { its.set(value, index); });
}

PYRELUX_FREI0R void f0r_get_param_value(f0r_instance_t instance, f0r_param_t value, int index) {
  shielded(instance, [=](Frei0rInstance &its) { its.get(value, index); });
}

PYRELUX_FREI0R void f0r_update(f0r_instance_t instance, double time, const uint32_t *input, uint32_t *output) {
  shielded(instance, [=](Frei0rInstance &its) { its.update(time, input, output); });
}
