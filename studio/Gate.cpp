#include "Gate.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace pyrelux::studio {

namespace {

constexpr std::size_t tokenBytes = 16;
constexpr std::size_t mostCookies = 32;

std::string randomDigits() {
  std::array<std::uint8_t, tokenBytes> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("the system gives no random numbers");
  std::string digits;
  for (const std::uint8_t byte : bytes)
    for (const int shift : {4, 0}) digits += "0123456789abcdef"[(byte >> shift) & 15];
  return digits;
}

/// Takes the same time wherever the texts differ.
bool isSame(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return false;
  unsigned different = 0;
  for (std::size_t at = 0; at < one.size(); ++at) different |= static_cast<unsigned char>(one[at] ^ other[at]);
  return different == 0;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

// Cookies ignore ports: another studio's would be sent here under the same name.
Gate::Gate(unsigned short port, std::string memory)
    : cookieName_("pyrelux-" + std::to_string(port)), port_(std::to_string(port)), memory_(std::move(memory)) {
  if (memory_.empty()) return;
  struct stat status = {};
  // Whoever else could write there could let himself in.
  const bool isOwn = lstat(memory_.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
                     (status.st_mode & 077) == 0;
  if (!isOwn) return;
  std::ifstream file(memory_);
  for (std::string line; cookies_.size() < mostCookies && std::getline(file, line);)
    if (line.size() == 2 * tokenBytes) cookies_.push_back(line);
}

void Gate::remember() const {
  if (memory_.empty()) return;
  const std::string beside = memory_ + ".new";
  unlink(beside.c_str());
  const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) return;
  std::string text;
  for (const std::string &cookie : cookies_) text += cookie + "\n";
  const bool isWhole = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(file);
  if (isWhole) rename(beside.c_str(), memory_.c_str());
}

std::string Gate::newToken() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return newest_[next_++ % std::size(newest_)] = randomDigits();
}

std::optional<std::string> Gate::exchange(std::string_view token) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (std::string &known : newest_)
    if (!known.empty() && isSame(known, token)) {
      known.clear();
      cookies_.push_back(randomDigits());
      if (cookies_.size() > mostCookies) cookies_.pop_front();
      remember();
      return cookies_.back();
    }
  return std::nullopt;
}

bool Gate::allowsHost(std::string_view host) const {
  return host == "127.0.0.1:" + port_ || host == "localhost:" + port_;
}

bool Gate::allowsOrigin(std::string_view origin, std::string_view host) const {
  return allowsHost(host) && origin == "http://" + std::string(host);
}

bool Gate::knows(std::string_view cookies) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (;;) {
    const std::size_t end = cookies.find(';');
    const std::string_view cookie = trimmed(cookies.substr(0, end));
    const std::size_t equals = cookie.find('=');
    if (equals != std::string_view::npos && cookie.substr(0, equals) == cookieName_)
      for (const std::string &known : cookies_)
        if (isSame(known, cookie.substr(equals + 1))) return true;
    if (end == std::string_view::npos) return false;
    cookies.remove_prefix(end + 1);
  }
}

std::string Gate::setCookie(const std::string &value) const {
  return cookieName_ + "=" + value + "; HttpOnly; SameSite=Strict; Path=/";
}

}  // namespace pyrelux::studio
