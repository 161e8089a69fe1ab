#include "EGLLibrary.h"

#include <dlfcn.h>

#include <cstring>
#include <vector>

namespace pyrelux::platform {

namespace {

EGLLibrary load() {
  EGLLibrary library;
  // Deliberate: the library is never closed, because some drivers crash then.
  void *handle = dlopen("libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
  if (!handle) return library;
  library.loaded = true;
#define PYRELUX_LOAD(name)                                                             \
  library.name = reinterpret_cast<decltype(library.name)>(dlsym(handle, "egl" #name)); \
  library.loaded = library.loaded && library.name;
  PYRELUX_EGL_FUNCTIONS(PYRELUX_LOAD)
#undef PYRELUX_LOAD
  return library;
}

bool contains(const char *extensions, const char *name) { return extensions && std::strstr(extensions, name); }

/// Whether the display can create contexts of desktop OpenGL that need no surface.
bool isUsable(EGLDisplay display) {
  if (display == EGL_NO_DISPLAY || !egl().Initialize(display, nullptr, nullptr)) return false;
  const char *extensions = egl().QueryString(display, EGL_EXTENSIONS);
  const bool fit = contains(extensions, "EGL_KHR_surfaceless_context") &&
                   contains(extensions, "EGL_KHR_no_config_context") && egl().BindAPI(EGL_OPENGL_API);
  if (fit) {
    const EGLContext context = egl().CreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, nullptr);
    if (context != EGL_NO_CONTEXT) {
      egl().DestroyContext(display, context);
      return true;
    }
  }
  egl().Terminate(display);
  return false;
}

template <typename Function>
Function extension(const char *name) {
  return reinterpret_cast<Function>(egl().GetProcAddress(name));
}

std::vector<EGLDisplay> deviceDisplays(EGLKind kind) {
  const auto queryDevices = extension<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
  const auto queryDeviceString = extension<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
  const char *clientExtensions = egl().QueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
  std::vector<EGLDisplay> displays;
  if (!queryDevices || !queryDeviceString || !contains(clientExtensions, "EGL_EXT_platform_device")) return displays;

  EGLint count = 0;
  if (!queryDevices(0, nullptr, &count) || count == 0) return displays;
  std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
  if (!queryDevices(count, devices.data(), &count)) return displays;
  devices.resize(static_cast<std::size_t>(count));
  for (const EGLDeviceEXT device : devices) {
    const bool software = contains(queryDeviceString(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
    if (software == (kind == EGLKind::Software))
      displays.push_back(egl().GetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr));
  }
  return displays;
}

ChosenDisplay choose(EGLKind kind) {
  if (!egl().loaded) return {EGL_NO_DISPLAY, "there is no libEGL.so.1; install it (package libegl1)"};
  for (const EGLDisplay display : deviceDisplays(kind))
    if (isUsable(display)) return {display, {}};
  if (kind == EGLKind::Hardware)
    return {EGL_NO_DISPLAY, "EGL finds no GPU; install its driver, and see that /dev/dri may be opened"};
  const EGLDisplay surfaceless = egl().GetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
  if (isUsable(surfaceless)) return {surfaceless, {}};
  return {EGL_NO_DISPLAY, "EGL finds no Mesa to draw with; install it (packages libegl-mesa0 and libgl1-mesa-dri)"};
}

}  // namespace

const EGLLibrary &egl() {
  static const EGLLibrary library = load();
  return library;
}

const ChosenDisplay &chosenDisplay(EGLKind kind) {
  if (kind == EGLKind::Hardware) {
    static const ChosenDisplay hardware = choose(EGLKind::Hardware);
    return hardware;
  }
  static const ChosenDisplay software = choose(EGLKind::Software);
  return software;
}

}  // namespace pyrelux::platform
