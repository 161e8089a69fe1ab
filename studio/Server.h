#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Preview.h"

namespace pyrelux::studio {

class Gate;

/// Is told what comes from pages. Called on the server's thread; must not wait.
class ServerListener {
 public:
  virtual ~ServerListener() = default;
  virtual void connected(PageId page) = 0;
  virtual void received(PageId page, std::string message) = 0;
  virtual void gone(PageId page) = 0;

  using HeaderReply = std::function<void(std::vector<std::uint8_t> png)>;
  /// Answers with the picture of the filter's own row, or nothing if there is none; from any thread, once.
  virtual void headerWanted(HeaderReply reply) = 0;
};

/// What a server bears.
struct ServerLimits {
  std::size_t connections = 64;
  std::size_t pages = 16;
  std::uint64_t uploadBytes = std::uint64_t{2} << 30;
  std::size_t queuedBytes = std::size_t{64} << 20;  ///< that a page has not taken yet; then it is let go
  std::chrono::milliseconds patience{10000};        ///< for a request's head, and for each part of an upload
  std::chrono::milliseconds quiet{30000};           ///< without a word of a page, which is asked in between
};

/// Serves the page, its files and its sockets on 127.0.0.1, on a thread of its own. Nothing is read from the disk.
/// Thread: any.
class Server {
 public:
  /// Listens. `port`: otherwise the first one of a few that is free. `uploads`: the folder for files that are dropped
  /// on a page, made when the first comes. `state`: the folder that keeps what lets pages in again; empty for none.
  /// Throws std::runtime_error when the port is taken.
  Server(std::optional<unsigned short> port, std::string uploads, const std::string &state, const ServerLimits &limits,
         ServerListener &listener);
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  unsigned short port() const;
  Gate &gate();

  /// "http://127.0.0.1:PORT/?token=…", for one browser.
  std::string newAddress();

  /// Begins to answer.
  void start();

  /// Says a last text to every page and ends all connections.
  void stop(const std::string &lastMessage);

  // Messages arrive in order, or the connection ends.
  void send(PageId page, std::string text);
  void sendToAll(std::string text);
  void send(PageId page, std::vector<std::uint8_t> bytes);

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

}  // namespace pyrelux::studio
