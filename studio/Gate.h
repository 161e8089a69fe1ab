#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace pyrelux::studio {

/// Who may talk to the studio: a browser that came by an address with a token. Thread: any.
class Gate {
 public:
  /// `port`: the one that is listened on. `memory`: a file that keeps the cookies, so that a page finds back when the
  /// program is started again on that port; only its owner may read it, and without it nothing is kept.
  explicit Gate(unsigned short port, std::string memory = {});

  /// A token for one browser, 32 hexadecimal digits. Of those that were not used the newest few count.
  std::string newToken();

  /// Takes a token for the value of a cookie; nothing for one that is unknown or was used. Throws std::runtime_error
  /// when there are no random numbers, as newToken() does.
  std::optional<std::string> exchange(std::string_view token);

  /// Whether the "Host" of a request names this machine and port: a page of another name that leads here is refused.
  bool allowsHost(std::string_view host) const;

  /// Whether the "Origin" is that of the page itself, as it was asked for by that "Host".
  bool allowsOrigin(std::string_view origin, std::string_view host) const;

  /// Whether the "Cookie" of a request holds ours.
  bool knows(std::string_view cookies) const;

  /// The "Set-Cookie" for a value of exchange().
  std::string setCookie(const std::string &value) const;

 private:
  void remember() const;

  std::string cookieName_;
  std::string port_;
  mutable std::mutex mutex_;
  std::string newest_[4];  ///< tokens that nobody has used yet
  std::size_t next_ = 0;
  std::string memory_;
  std::deque<std::string> cookies_;  ///< the newest last
};

}  // namespace pyrelux::studio
