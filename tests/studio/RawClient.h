#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace pyrelux::studio::test {

/// A connection whose bytes a test chooses. All waits end after a long time, and then nothing came.
class RawClient {
 public:
  explicit RawClient(unsigned short port);
  ~RawClient();
  RawClient(const RawClient &) = delete;
  RawClient &operator=(const RawClient &) = delete;

  /// Returns whether all was taken.
  bool send(const std::string &bytes);

  /// What comes until the other side ends or resets the connection, or until `mostBytes` are there.
  std::string readToEnd(std::size_t mostBytes = std::size_t{1} << 30);

  /// One answer of HTTP with its body, as its Content-Length says.
  std::string readAnswer();

  /// What comes within a moment.
  std::string readSome();

  /// Ends the connection without a word.
  void reset();

  // Of a socket for messages, after its answer "101".

  /// A frame as clients send it; `opcode`: 1 for a text, 2 for bytes, 8 for the end.
  static std::string frame(const std::string &payload, int opcode = 1, bool isLast = true, bool isMasked = true);

  struct Message {
    int opcode = 0;
    std::string payload;
  };
  /// Nothing when the connection ends.
  std::optional<Message> read();

  /// Texts and pictures' headers; a picture's bytes are in "picture".
  std::optional<nlohmann::json> readJson();
  /// The next one with that at that key; others are lost.
  nlohmann::json readUntil(const std::string &key, const nlohmann::json &value);
  void sendJson(const nlohmann::json &message);
  /// Sends it as a request, and reads its answer.
  nlohmann::json ask(nlohmann::json message);

 private:
  bool need(std::size_t count);

  int socket_ = -1;
  std::string buffer_;
  int requests_ = 0;
};

/// The status of an answer: 200, 403 and so on; 0 for none.
int statusOf(const std::string &answer);
/// A header's value; empty for none.
std::string headerOf(const std::string &answer, const std::string &name);
std::string bodyOf(const std::string &answer);

/// A request of the page's own browser, without its last empty line; `more`: further lines with their ends.
std::string requestHead(const std::string &line, unsigned short port, const std::string &cookie,
                        const std::string &more = {});

/// The cookie that an address with a token gives.
std::string cookieFor(const std::string &address, unsigned short port);

/// The lines that ask for a socket for messages.
std::string upgradeLines(unsigned short port);

}  // namespace pyrelux::studio::test
