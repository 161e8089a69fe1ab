#include "EGLDisplays.h"


#include <cstdlib>
#include <cstring>
#include <vector>

namespace pyrelux::platform {

namespace {

template <typename Function>
Function eglFunction(const char *name) {
  return reinterpret_cast<Function>(eglGetProcAddress(name));
}

bool contains(const char *extensions, const char *name) { return extensions && std::strstr(extensions, name); }

bool softwareOnly() {
  const char *value = std::getenv("LIBGL_ALWAYS_SOFTWARE");
  return value && *value && std::strcmp(value, "0") != 0 && std::strcmp(value, "false") != 0;
}

/// Whether the display makes contexts of the desktop's OpenGL that need no surface.
bool isUsable(EGLDisplay display) {
  if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) return false;
  const char *extensions = eglQueryString(display, EGL_EXTENSIONS);
  const bool fit = contains(extensions, "EGL_KHR_surfaceless_context") &&
                   contains(extensions, "EGL_KHR_no_config_context") && eglBindAPI(EGL_OPENGL_API);
  if (fit) {
    const EGLContext context = eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, nullptr);
    if (context != EGL_NO_CONTEXT) {
      eglDestroyContext(display, context);
      return true;
    }
  }
  eglTerminate(display);
  return false;
}

std::vector<EGLDisplay> hardwareDisplays() {
  const auto queryDevices = eglFunction<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  const auto queryDeviceString = eglFunction<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
  const char *clientExtensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  std::vector<EGLDisplay> displays;
  if (!queryDevices || !queryDeviceString || !contains(clientExtensions, "EGL_EXT_platform_device")) return displays;

  EGLint count = 0;
  if (!queryDevices(0, nullptr, &count) || count == 0) return displays;
  std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
  if (!queryDevices(count, devices.data(), &count)) return displays;
  devices.resize(static_cast<std::size_t>(count));
  for (const EGLDeviceEXT device : devices)
    if (!contains(queryDeviceString(device, EGL_EXTENSIONS), "EGL_MESA_device_software"))
      displays.push_back(eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
  return displays;
}

ChosenDisplay choose() {
  if (!softwareOnly())
    for (const EGLDisplay display : hardwareDisplays())
      if (isUsable(display)) return {display, {}};
  const EGLDisplay surfaceless = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (isUsable(surfaceless)) return {surfaceless, {}};
  return {EGL_NO_DISPLAY,
          "EGL offers no OpenGL that draws without a window; install a graphics driver or Mesa's software renderer "
          "(packages libegl-mesa0 and libgl1-mesa-dri)"};
}

}  // namespace

const ChosenDisplay &chosenDisplay() {
  static const ChosenDisplay chosen = choose();
  return chosen;
}

}  // namespace pyrelux::platform
