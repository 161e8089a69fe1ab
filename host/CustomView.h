#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Filter.h"
#include "Image.h"

namespace pyrelux::host {

/// The row of the inspector that a filter draws itself: the view that it makes for a parameter of kind Custom. No
/// display is needed: the view is never put on a screen. Thread: one at a time, always the same.
class CustomView {
 public:
  /// Asks the filter for the view. The filter must outlive it. Throws HostError: AppKit has no backend, the filter
  /// makes no view or raises an exception.
  CustomView(Filter &filter, std::uint32_t parameterId);
  ~CustomView();
  CustomView(const CustomView &) = delete;
  CustomView &operator=(const CustomView &) = delete;

  /// The picture that the view shows, with straight alpha. Throws HostError for a view that shows none.
  Image picture() const;

  /// Presses the view as a click does. Returns the addresses that the filter asks the workspace to open meanwhile; none
  /// is opened. Throws HostError.
  std::vector<std::string> press();

 private:
  void *view_ = nullptr;  ///< an NSView, retained
  std::string name_;      ///< of the filter, for messages
};

}  // namespace pyrelux::host
