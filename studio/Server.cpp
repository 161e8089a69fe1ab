#include "Server.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <cctype>
#include <deque>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <thread>
#include <utility>

#include "Fields.h"
#include "Gate.h"
#include "PageFiles.h"
#include "Uploads.h"

namespace pyrelux::studio {

namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = net::ip::tcp;
using boost::system::error_code;

std::string_view viewOf(boost::string_view text) { return {text.data(), text.size()}; }

int digitOf(char letter) {
  if (letter >= '0' && letter <= '9') return letter - '0';
  const char low = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return low >= 'a' && low <= 'f' ? low - 'a' + 10 : -1;
}

/// With the characters for "%20" and the like.
std::string decoded(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool isCode =
        text[at] == '%' && at + 2 < text.size() && digitOf(text[at + 1]) >= 0 && digitOf(text[at + 2]) >= 0;
    if (isCode) {
      result += static_cast<char>(digitOf(text[at + 1]) * 16 + digitOf(text[at + 2]));
      at += 2;
    } else {
      result += text[at];
    }
  }
  return result;
}

/// The value of "?name=value"; empty if there is none.
std::string queryValue(std::string_view target, std::string_view name) {
  const std::size_t question = target.find('?');
  if (question == std::string_view::npos) return {};
  for (std::string_view rest = target.substr(question + 1); !rest.empty();) {
    const std::size_t end = rest.find('&');
    const std::string_view pair = rest.substr(0, end);
    if (pair.size() > name.size() && pair.substr(0, name.size()) == name && pair[name.size()] == '=')
      return decoded(pair.substr(name.size() + 1));
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  return {};
}

std::string_view pathOf(std::string_view target) { return target.substr(0, target.find('?')); }

}  // namespace

struct Server::Core : std::enable_shared_from_this<Core> {
  class Visit;
  class Page;

  Core(std::string folder, const ServerLimits &given, ServerListener &told)
      : listener(told), uploads(std::move(folder)), limits(given) {}

  void accept();
  void run();

  ServerListener &listener;
  const std::string uploads;
  const ServerLimits limits;
  unsigned short port = 0;
  // Used on the server's thread, and by what ends with `io`.
  PageId nextPage = 1;
  std::size_t connections = 0;
  bool isEnding = false;
  net::io_context io{1};
  tcp::acceptor acceptor{io};
  net::steady_timer pause{io};
  std::unique_ptr<Gate> gate;
  std::map<PageId, std::shared_ptr<Page>> pages;
  /// Who waits for the picture of the filter's row, by numbers: whoever makes it may outlive them all.
  std::map<int, std::shared_ptr<Visit>> waiting;
  int nextWaiting = 0;
  std::thread thread;
};

/// A page's socket. Thread: the server's.
class Server::Core::Page : public std::enable_shared_from_this<Page> {
 public:
  Page(Core &core, beast::tcp_stream stream) : core_(core), id_(core.nextPage++), socket_(std::move(stream)) {}
  ~Page() { --core_.connections; }
  Page(const Page &) = delete;
  Page &operator=(const Page &) = delete;

  PageId id() const { return id_; }

  void accept(const http::request<http::empty_body> &request) {
    beast::get_lowest_layer(socket_).expires_never();
    websocket::stream_base::timeout timeouts{};
    timeouts.handshake_timeout = core_.limits.patience;
    timeouts.idle_timeout = core_.limits.quiet;
    timeouts.keep_alive_pings = true;
    socket_.set_option(timeouts);
    socket_.auto_fragment(false);
    socket_.read_message_max(maxMessageBytes);
    websocket::permessage_deflate plain;
    plain.server_enable = false;
    socket_.set_option(plain);
    socket_.async_accept(request, [self = shared_from_this()](error_code error) {
      if (error) return;
      self->core_.pages[self->id_] = self;
      self->core_.listener.connected(self->id_);
      self->read();
    });
  }

  void send(std::vector<std::uint8_t> bytes, bool isText) {
    if (isClosing_) return;
    queuedBytes_ += bytes.size();
    // One that takes nothing must not fill the memory.
    if (queuedBytes_ > core_.limits.queuedBytes) return end();
    queue_.push_back({std::move(bytes), isText});
    if (queue_.size() == 1) write();
  }

  /// Closes once everything is sent.
  void close() {
    isClosing_ = true;
    if (queue_.empty()) closeNow();
  }

  void end() {
    error_code ignored;
    beast::get_lowest_layer(socket_).socket().close(ignored);
    leave();
  }

 private:
  struct Message {
    std::vector<std::uint8_t> bytes;
    bool isText;
  };

  void read() {
    socket_.async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t) {
      // Pages send texts.
      if (error || !self->socket_.got_text()) return self->end();
      std::string text = beast::buffers_to_string(self->buffer_.data());
      self->buffer_.consume(self->buffer_.size());
      self->core_.listener.received(self->id_, std::move(text));
      self->read();
    });
  }

  void write() {
    socket_.text(queue_.front().isText);
    socket_.async_write(net::buffer(queue_.front().bytes), [self = shared_from_this()](error_code error, std::size_t) {
      if (error) return self->end();
      self->queuedBytes_ -= self->queue_.front().bytes.size();
      self->queue_.pop_front();
      if (!self->queue_.empty())
        self->write();
      else if (self->isClosing_)
        self->closeNow();
    });
  }

  void closeNow() {
    socket_.async_close(websocket::close_code::going_away, [self = shared_from_this()](error_code) { self->end(); });
  }

  void leave() {
    if (core_.pages.erase(id_)) core_.listener.gone(id_);
    if (core_.isEnding && core_.pages.empty()) core_.io.stop();
  }

  Core &core_;
  PageId id_;
  websocket::stream<beast::tcp_stream> socket_;
  beast::flat_buffer buffer_;
  std::deque<Message> queue_;
  std::size_t queuedBytes_ = 0;
  bool isClosing_ = false;
};

/// A connection that asks for files. Thread: the server's.
class Server::Core::Visit : public std::enable_shared_from_this<Visit> {
 public:
  Visit(Core &core, tcp::socket socket) : core_(core), stream_(std::move(socket)) { ++core_.connections; }
  ~Visit() {
    if (!isHandedOn_) --core_.connections;
  }
  Visit(const Visit &) = delete;
  Visit &operator=(const Visit &) = delete;

  void read() {
    constexpr std::uint32_t mostHead = 16384;
    head_.emplace();
    head_->header_limit(mostHead);
    head_->body_limit(core_.limits.uploadBytes);
    stream_.expires_after(core_.limits.patience);
    http::async_read_header(stream_, buffer_, *head_, [self = shared_from_this()](error_code error, std::size_t) {
      if (error == http::error::end_of_stream) return self->close();
      if (error == http::error::body_limit)
        return self->refuse(http::status::payload_too_large, "the file is too large");
      if (error == beast::error::timeout || error == net::error::operation_aborted) return;
      if (error) return self->refuse(http::status::bad_request, "that is no request");
      self->answer();
    });
  }

 private:
  using Request = http::request_parser<http::empty_body>;

  std::string_view field(http::field name) const { return viewOf(head_->get()[name]); }
  std::string_view target() const { return viewOf(head_->get().target()); }

  void answer() {
    const auto &request = head_->get();
    const Gate &guard = *core_.gate;
    if (!guard.allowsHost(field(http::field::host))) return refuse(http::status::forbidden, "this is another host");
    const bool isGet = request.method() == http::verb::get;
    const bool isUpload = request.method() == http::verb::post && pathOf(target()) == "/upload";
    if (!isGet && !isUpload) return refuse(http::status::method_not_allowed, "that can't be done here");
    if (isGet && (head_->chunked() || head_->content_length().value_or(0) > 0))
      return refuse(http::status::bad_request, "that takes no body");
    const std::string token = queryValue(target(), "token");
    const bool isKnown = guard.knows(field(http::field::cookie));
    if (isGet && pathOf(target()) == "/" && !token.empty()) return enter(token, isKnown);
    if (!isKnown) return refuse(http::status::forbidden, "open the address that the program printed");
    const bool isPage = websocket::is_upgrade(request) && pathOf(target()) == "/socket";
    if ((isPage || isUpload) && !guard.allowsOrigin(field(http::field::origin), field(http::field::host)))
      return refuse(http::status::forbidden, "this is another page");
    if (isPage) return handOn();
    if (isUpload) return upload();
    serve();
  }

  /// Gives a cookie for a token. A reload of the start address by who has one is no second exchange.
  void enter(const std::string &token, bool isKnown) {
    const auto cookie = isKnown ? std::nullopt : core_.gate->exchange(token);
    if (!isKnown && !cookie) return refuse(http::status::forbidden, "that address was used already");
    auto response = made<http::empty_body>(http::status::see_other);
    response.set(http::field::location, "/");
    if (cookie) response.set(http::field::set_cookie, core_.gate->setCookie(*cookie));
    send(std::move(response));
  }

  void serve() {
    const std::string_view path = pathOf(target());
    if (path == "/header.png") return serveHeader();
    const PageFile *file = pageFile(path == "/" ? "index.html" : path.substr(std::min<std::size_t>(1, path.size())));
    if (!file) return refuse(http::status::not_found, "there is no such file");
    auto response = made<http::string_body>(http::status::ok);
    response.set(http::field::content_type, file->mime);
    response.body().assign(reinterpret_cast<const char *>(file->bytes), file->size);
    send(std::move(response));
  }

  void serveHeader() {
    const int number = core_.nextWaiting++;
    core_.waiting[number] = shared_from_this();
    stream_.expires_never();
    core_.listener.headerWanted([core = core_.weak_from_this(), number](std::vector<std::uint8_t> png) {
      const std::shared_ptr<Core> kept = core.lock();
      if (!kept) return;
      net::post(kept->io, [waiting = &kept->waiting, number, png = std::move(png)] {
        const auto visit = waiting->extract(number);
        if (visit) visit.mapped()->serveMadeHeader(png);
      });
    });
  }

  void serveMadeHeader(const std::vector<std::uint8_t> &png) {
    stream_.expires_after(core_.limits.patience);
    if (png.empty()) return refuse(http::status::not_found, "the filter has no row of its own");
    auto response = made<http::string_body>(http::status::ok);
    response.set(http::field::content_type, "image/png");
    response.body().assign(png.begin(), png.end());
    send(std::move(response));
  }

  void handOn() {
    if (core_.pages.size() >= core_.limits.pages)
      return refuse(http::status::service_unavailable, "too many pages are open");
    const auto page = std::make_shared<Page>(core_, std::move(stream_));
    isHandedOn_ = true;
    page->accept(head_->get());
  }

  void upload() {
    const auto name = uploadName(queryValue(target(), "name"));
    if (!name) return refuse(http::status::unsupported_media_type, "files of that name can't be used");
    if (!head_->content_length()) return refuse(http::status::length_required, "the file's length is missing");
    try {
      upload_ = std::make_unique<Upload>(core_.uploads, *name);
    } catch (const std::runtime_error &error) {
      return refuse(http::status::internal_server_error, error.what());
    }
    body_.emplace(std::move(*head_));
    if (viewOf(body_->get()[http::field::expect]) == "100-continue") {
      continue_ = {http::status::continue_, 11};
      http::async_write(stream_, continue_, [self = shared_from_this()](error_code error, std::size_t) {
        if (!error) self->readPart();
      });
      return;
    }
    readPart();
  }

  void readPart() {
    part_.resize(std::size_t{1} << 18);
    body_->get().body().data = part_.data();
    body_->get().body().size = part_.size();
    stream_.expires_after(core_.limits.patience);
    http::async_read_some(stream_, buffer_, *body_, [self = shared_from_this()](error_code error, std::size_t) {
      self->takePart(error == http::error::need_buffer ? error_code() : error);
    });
  }

  void takePart(error_code error) {
    if (error) return upload_.reset();  // and with it what came of the file
    std::string stored;
    try {
      upload_->write(part_.data(), part_.size() - body_->get().body().size);
      if (!body_->is_done()) return readPart();
      stored = upload_->finish();
    } catch (const std::runtime_error &failure) {
      upload_.reset();
      return refuse(http::status::insufficient_storage, failure.what());
    }
    upload_.reset();
    auto response = made<http::string_body>(http::status::ok);
    response.set(http::field::content_type, "application/json");
    response.body() = textOf(Json{{"path", "uploads/" + stored}});
    send(std::move(response));
  }

  template <typename Body>
  http::response<Body> made(http::status status) const {
    http::response<Body> response{status, 11};
    const std::string host(core_.gate->allowsHost(field(http::field::host)) ? field(http::field::host) : "");
    response.set(http::field::cache_control, "no-store");
    response.set("Content-Security-Policy",
                 "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
                 "connect-src 'self'" +
                     (host.empty() ? "" : " ws://" + host) +
                     "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set("Cross-Origin-Opener-Policy", "same-origin");
    response.set("Referrer-Policy", "no-referrer");
    return response;
  }

  void refuse(http::status status, const std::string &message) {
    auto response = made<http::string_body>(status);
    response.set(http::field::content_type, "application/json");
    response.body() = textOf(Json{{"message", message}});
    // What comes after a refused request need not be one.
    isLast_ = true;
    send(std::move(response));
  }

  template <typename Body>
  void send(http::response<Body> response) {
    const bool goesOn = !isLast_ && head_->get().version() == 11 && head_->get().keep_alive() && !body_;
    response.keep_alive(goesOn);
    response.prepare_payload();
    const auto kept = std::make_shared<http::response<Body>>(std::move(response));
    stream_.expires_after(core_.limits.patience);
    http::async_write(stream_, *kept, [self = shared_from_this(), kept, goesOn](error_code error, std::size_t) {
      if (error) return;
      if (goesOn)
        self->read();
      else
        self->close();
    });
  }

  void close() {
    error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
  }

  Core &core_;
  beast::tcp_stream stream_;
  bool isHandedOn_ = false;
  bool isLast_ = false;
  beast::flat_buffer buffer_;
  std::optional<Request> head_;
  std::optional<http::request_parser<http::buffer_body>> body_;
  http::response<http::empty_body> continue_;
  std::vector<char> part_;
  std::unique_ptr<Upload> upload_;
};

void Server::Core::accept() {
  acceptor.async_accept([this](error_code error, tcp::socket socket) {
    if (isEnding) return;
    if (error) {
      // Without files to open, asking again at once would keep a core busy.
      pause.expires_after(std::chrono::milliseconds(100));
      return pause.async_wait([this](error_code) {
        if (!isEnding) accept();
      });
    }
    if (connections < limits.connections) {
      error_code ignored;
      socket.set_option(tcp::no_delay(true), ignored);
      std::make_shared<Visit>(*this, std::move(socket))->read();
    }
    accept();
  });
}

void Server::Core::run() { io.run(); }

Server::Server(std::optional<unsigned short> port, std::string uploads, const std::string &state,
               const ServerLimits &limits, ServerListener &listener)
    : core_(std::make_shared<Core>(std::move(uploads), limits, listener)) {
  constexpr unsigned short usual = 7717;
  constexpr unsigned short tries = 100;
  const unsigned short first = port.value_or(usual);
  tcp::acceptor &acceptor = core_->acceptor;
  acceptor.open(tcp::v4());
  acceptor.set_option(net::socket_base::reuse_address(true));
  for (unsigned short number = 0;; ++number) {
    error_code error;
    acceptor.bind({net::ip::address_v4::loopback(), static_cast<unsigned short>(first + number)}, error);
    if (!error) acceptor.listen(net::socket_base::max_listen_connections, error);
    if (!error) break;
    if (port || number + 1 == tries)
      throw std::runtime_error("the port " + std::to_string(first) + " can't be listened on: " + error.message());
    acceptor.close();
    acceptor.open(tcp::v4());
    acceptor.set_option(net::socket_base::reuse_address(true));
  }
  core_->port = acceptor.local_endpoint().port();
  const std::string memory = state.empty() ? "" : state + "/studio-" + std::to_string(core_->port) + ".cookies";
  core_->gate = std::make_unique<Gate>(core_->port, memory);
}

Server::~Server() { stop({}); }

unsigned short Server::port() const { return core_->port; }

Gate &Server::gate() { return *core_->gate; }

std::string Server::newAddress() {
  return "http://127.0.0.1:" + std::to_string(port()) + "/?token=" + core_->gate->newToken();
}

void Server::start() {
  core_->accept();
  core_->thread = std::thread([this] { core_->run(); });
}

void Server::stop(const std::string &lastMessage) {
  if (!core_->thread.joinable()) return;
  constexpr std::chrono::milliseconds farewell{1000};
  net::steady_timer timer(core_->io);
  net::post(core_->io, [&] {
    core_->isEnding = true;
    error_code ignored;
    core_->acceptor.close(ignored);
    const auto pages = core_->pages;
    for (const auto &[id, page] : pages) {
      if (!lastMessage.empty()) page->send({lastMessage.begin(), lastMessage.end()}, true);
      page->close();
    }
    // Whoever has not taken it by then does not get it.
    timer.expires_after(core_->pages.empty() ? std::chrono::milliseconds(0) : farewell);
    timer.async_wait([&](error_code) { core_->io.stop(); });
  });
  core_->thread.join();
}

void Server::send(PageId page, std::string text) {
  net::post(core_->io, [core = core_.get(), page, text = std::move(text)] {
    if (const auto found = core->pages.find(page); found != core->pages.end())
      std::shared_ptr(found->second)->send({text.begin(), text.end()}, true);
  });
}

void Server::sendToAll(std::string text) {
  net::post(core_->io, [core = core_.get(), text = std::move(text)] {
    const auto pages = core->pages;
    for (const auto &[id, page] : pages) page->send({text.begin(), text.end()}, true);
  });
}

void Server::send(PageId page, std::vector<std::uint8_t> bytes) {
  net::post(core_->io, [core = core_.get(), page, bytes = std::move(bytes)]() mutable {
    if (const auto found = core->pages.find(page); found != core->pages.end())
      std::shared_ptr(found->second)->send(std::move(bytes), false);
  });
}

}  // namespace pyrelux::studio
