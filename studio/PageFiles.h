#pragma once

#include <cstddef>
#include <string_view>

namespace pyrelux::studio {

/// A file of the page, which the program holds: nothing is read from the disk.
struct PageFile {
  const char *name;  ///< "app.js"
  const char *mime;
  const unsigned char *bytes;
  std::size_t size;
};

/// The file of that name; null for none.
const PageFile *pageFile(std::string_view name);

}  // namespace pyrelux::studio
