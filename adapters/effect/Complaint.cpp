#include "Complaint.h"

#include <cstdio>
#include <new>

namespace pyrelux::adapters {

void complain(const char *message) noexcept { std::fprintf(stderr, "pyrelux: %s\n", message); }

const char *reasonOf(const std::exception &error) noexcept {
  return dynamic_cast<const std::bad_alloc *>(&error) ? "there is not enough memory" : error.what();
}

}  // namespace pyrelux::adapters
