#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "TitleFrame.h"

extern "C" {
#include <frei0r.h>
}

// The plug-in's C functions, loaded as a host does.

namespace pyrelux::adapters::test {

/// Loads and initialises the library while the object lives.
class Library {
 public:
  Library() : handle_(dlopen(PYRELUX_FREI0R_MODULE, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(dlerror());
    find(init, "f0r_init");
    find(deinit, "f0r_deinit");
    find(pluginInfo, "f0r_get_plugin_info");
    find(paramInfo, "f0r_get_param_info");
    find(construct, "f0r_construct");
    find(destruct, "f0r_destruct");
    find(set, "f0r_set_param_value");
    find(get, "f0r_get_param_value");
    find(update, "f0r_update");
    EXPECT_EQ(init(), 1);
  }
  ~Library() {
    deinit();
    dlclose(handle_);
  }
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;

  decltype(&f0r_init) init = nullptr;
  decltype(&f0r_deinit) deinit = nullptr;
  decltype(&f0r_get_plugin_info) pluginInfo = nullptr;
  decltype(&f0r_get_param_info) paramInfo = nullptr;
  decltype(&f0r_construct) construct = nullptr;
  decltype(&f0r_destruct) destruct = nullptr;
  decltype(&f0r_set_param_value) set = nullptr;
  decltype(&f0r_get_param_value) get = nullptr;
  decltype(&f0r_update) update = nullptr;

  f0r_plugin_info_t info() const {
    f0r_plugin_info_t info = {};
    pluginInfo(&info);
    return info;
  }

  int indexOf(const std::string &name) const {
    for (int index = 0; index < info().num_params; ++index) {
      f0r_param_info_t parameter = {};
      paramInfo(&parameter, index);
      if (name == parameter.name) return index;
    }
    throw std::runtime_error("no parameter " + name);
  }

 private:
  template <typename Function>
  void find(Function &function, const char *name) {
    function = reinterpret_cast<Function>(dlsym(handle_, name));
    if (!function) throw std::runtime_error(name);
  }

  void *handle_;
};

class Instance {
 public:
  explicit Instance(const Library &library, int pictureWidth = width, int pictureHeight = height)
      : library_(library),
        instance_(library.construct(static_cast<unsigned>(pictureWidth), static_cast<unsigned>(pictureHeight))) {
    setText("Time unit", "seconds");
    // The fewest copies keep this fast. Without a bundle the parameter does not exist.
    if (library.info().num_params > 5) setNumber("Steps", 0.0);
  }
  ~Instance() { library_.destruct(instance_); }
  Instance(const Instance &) = delete;
  Instance &operator=(const Instance &) = delete;

  void setNumber(const std::string &name, double value) { library_.set(instance_, &value, library_.indexOf(name)); }
  void setText(const std::string &name, std::string value) {
    char *text = value.data();
    library_.set(instance_, &text, library_.indexOf(name));
  }
  double number(int index) const {
    double value = -1.0;
    library_.get(instance_, &value, index);
    return value;
  }
  std::string text(const std::string &name) const {
    char *value = nullptr;
    library_.get(instance_, &value, library_.indexOf(name));
    return value;
  }
  Frame update(double time, const Frame &input = title()) {
    Frame output(input.size(), 77);
    library_.update(instance_, time, reinterpret_cast<const std::uint32_t *>(input.data()),
                    reinterpret_cast<std::uint32_t *>(output.data()));
    return output;
  }
  f0r_instance_t get() const { return instance_; }

 private:
  const Library &library_;
  f0r_instance_t instance_;
};

}  // namespace pyrelux::adapters::test
