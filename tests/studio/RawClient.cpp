#include "RawClient.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace pyrelux::studio::test {

namespace {

void setPatience(int socket, long seconds, long microseconds) {
  timeval patience = {seconds, microseconds};
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

constexpr long patient = 60;

}  // namespace

RawClient::RawClient(unsigned short port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(socket_, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
    throw std::runtime_error("nobody listens");
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setPatience(socket_, patient, 0);
}

RawClient::~RawClient() { close(socket_); }

bool RawClient::send(const std::string &bytes) {
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t sent = ::send(socket_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    done += static_cast<std::size_t>(sent);
  }
  return true;
}

bool RawClient::need(std::size_t count) {
  while (buffer_.size() < count) {
    char part[65536];
    const ssize_t got = recv(socket_, part, sizeof part, 0);
    if (got <= 0) return false;
    buffer_.append(part, static_cast<std::size_t>(got));
  }
  return true;
}

std::string RawClient::readToEnd(std::size_t mostBytes) {
  need(mostBytes);
  return std::exchange(buffer_, {});
}

std::string RawClient::readSome() {
  setPatience(socket_, 0, 300000);
  need(std::size_t{1} << 30);
  setPatience(socket_, patient, 0);
  return std::exchange(buffer_, {});
}

std::string RawClient::readAnswer() {
  std::size_t end = 0;
  while ((end = buffer_.find("\r\n\r\n")) == std::string::npos)
    if (!need(buffer_.size() + 1)) return std::exchange(buffer_, {});
  end += 4;
  const std::string length = headerOf(buffer_.substr(0, end), "Content-Length");
  if (!length.empty()) {
    const std::size_t whole = end + std::stoul(length);
    need(whole);
    end = whole;
  }
  const std::string answer = buffer_.substr(0, end);
  buffer_.erase(0, end);
  return answer;
}

void RawClient::reset() {
  const linger now = {1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
  close(std::exchange(socket_, -1));
}

std::string RawClient::frame(const std::string &payload, int opcode, bool isLast, bool isMasked) {
  std::string bytes(1, static_cast<char>((isLast ? 0x80 : 0) | opcode));
  const auto masked = static_cast<char>(isMasked ? 0x80 : 0);
  const std::size_t size = payload.size();
  if (size < 126) {
    bytes += static_cast<char>(masked | static_cast<char>(size));
  } else if (size < 65536) {
    bytes += static_cast<char>(masked | 126);
    for (const int shift : {8, 0}) bytes += static_cast<char>(size >> shift);
  } else {
    bytes += static_cast<char>(masked | 127);
    for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(size >> shift);
  }
  if (!isMasked) return bytes + payload;
  const char mask[] = {0x11, 0x22, 0x33, 0x44};
  bytes.append(mask, 4);
  for (std::size_t at = 0; at < size; ++at) bytes += static_cast<char>(payload[at] ^ mask[at % 4]);
  return bytes;
}

std::optional<RawClient::Message> RawClient::read() {
  if (!need(2)) return std::nullopt;
  std::size_t size = static_cast<unsigned char>(buffer_[1]) & 127;
  std::size_t head = 2;
  if (size >= 126) {
    const std::size_t count = size == 126 ? 2 : 8;
    if (!need(head + count)) return std::nullopt;
    size = 0;
    for (std::size_t at = 0; at < count; ++at) size = size << 8 | static_cast<unsigned char>(buffer_[head + at]);
    head += count;
  }
  if (!need(head + size)) return std::nullopt;
  Message message{buffer_[0] & 15, buffer_.substr(head, size)};
  buffer_.erase(0, head + size);
  return message;
}

std::optional<nlohmann::json> RawClient::readJson() {
  const auto message = read();
  if (!message || message->opcode == 8) return std::nullopt;
  if (message->opcode == 1) return nlohmann::json::parse(message->payload);
  if (message->opcode != 2) return nlohmann::json::object();
  const std::string &bytes = message->payload;
  std::size_t size = 0;
  for (std::size_t at = 0; at < 4; ++at)
    size |= static_cast<std::size_t>(static_cast<unsigned char>(bytes[at])) << 8 * at;
  nlohmann::json json = nlohmann::json::parse(bytes.substr(4, size));
  const std::string picture = bytes.substr(4 + size);
  json["picture"] = nlohmann::json::binary({picture.begin(), picture.end()});
  return json;
}

nlohmann::json RawClient::readUntil(const std::string &key, const nlohmann::json &value) {
  while (const auto json = readJson())
    if (json->is_object() && json->contains(key) && (*json)[key] == value) return *json;
  ADD_FAILURE() << "no message with " << key << " " << value;
  return nlohmann::json::object();
}

void RawClient::sendJson(const nlohmann::json &message) { send(frame(message.dump())); }

nlohmann::json RawClient::ask(nlohmann::json message) {
  message["request"] = ++requests_;
  sendJson(message);
  return readUntil("request", requests_);
}

int statusOf(const std::string &answer) {
  return answer.rfind("HTTP/1.1 ", 0) == 0 ? std::atoi(answer.c_str() + 9) : 0;
}

std::string headerOf(const std::string &answer, const std::string &name) {
  const std::string head = answer.substr(0, answer.find("\r\n\r\n"));
  const std::size_t at = head.find("\r\n" + name + ": ");
  if (at == std::string::npos) return {};
  const std::size_t from = at + name.size() + 4;
  return head.substr(from, head.find("\r\n", from) - from);
}

std::string bodyOf(const std::string &answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? std::string() : answer.substr(end + 4);
}

std::string requestHead(const std::string &line, unsigned short port, const std::string &cookie,
                        const std::string &more) {
  return line + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" +
         (cookie.empty() ? "" : "Cookie: " + cookie + "\r\n") + more + "\r\n";
}

std::string cookieFor(const std::string &address, unsigned short port) {
  RawClient client(port);
  client.send(requestHead("GET " + address.substr(address.find("/?")), port, {}));
  const std::string cookie = headerOf(client.readAnswer(), "Set-Cookie");
  return cookie.substr(0, cookie.find(';'));
}

std::string upgradeLines(unsigned short port) {
  return "Origin: http://127.0.0.1:" + std::to_string(port) +
         "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n"
         "Sec-WebSocket-Version: 13\r\n";
}

}  // namespace pyrelux::studio::test
