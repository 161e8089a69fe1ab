#pragma once

#include <unistd.h>

#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace pyrelux::media::test {

/// Gives up the superuser's rights, before which no permission holds, while it lives. The folder stays reachable.
class Unprivileged {
 public:
  explicit Unprivileged(const std::string &folder) {
    std::filesystem::permissions(folder, std::filesystem::perms::others_read | std::filesystem::perms::others_exec,
                                 std::filesystem::perm_options::add);
    constexpr uid_t nobody = 65534;
    if (isSuperuser_ && seteuid(nobody) != 0) throw std::runtime_error("cannot give up rights");
  }
  ~Unprivileged() {
    if (isSuperuser_ && seteuid(0) != 0) std::terminate();
  }
  Unprivileged(const Unprivileged &) = delete;
  Unprivileged &operator=(const Unprivileged &) = delete;

 private:
  const bool isSuperuser_ = geteuid() == 0;
};

}  // namespace pyrelux::media::test
