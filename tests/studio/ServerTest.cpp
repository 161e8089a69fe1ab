// The server alone, by bytes on its sockets.

#include "Server.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "Fields.h"
#include "Gate.h"
#include "RawClient.h"

namespace pyrelux::studio::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

/// What the server tells, as lines.
class Book : public ServerListener {
 public:
  void connected(PageId page) override { note("+" + std::to_string(page)); }
  void received(PageId page, std::string message) override { note(std::to_string(page) + " " + message); }
  void gone(PageId page) override { note("-" + std::to_string(page)); }
  void headerWanted(HeaderReply reply) override {
    std::thread([reply = std::move(reply)] { reply({'P', 'N', 'G'}); }).detach();
  }

  std::vector<std::string> lines(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, 60s, [&] { return lines_.size() >= count; });
    return lines_;
  }

 private:
  void note(const std::string &line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(line);
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

class ServerTest : public testing::Test {
 protected:
  ServerTest() {
    char name[] = "/tmp/pyrelux-server-XXXXXX";
    folder_ = mkdtemp(name);
  }
  ~ServerTest() override {
    server_.reset();
    fs::remove_all(folder_);
  }

  void start(const ServerLimits &limits = {}) {
    server_ = std::make_unique<Server>(std::nullopt, (folder_ / "uploads").string(), folder_.string(), limits, book_);
    server_->start();
    cookie_ = cookieFor(server_->newAddress(), port());
  }

  unsigned short port() const { return server_->port(); }
  std::string origin() const { return "Origin: http://127.0.0.1:" + std::to_string(port()) + "\r\n"; }

  std::string answerTo(const std::string &request) const {
    RawClient client(port());
    client.send(request);
    return client.readAnswer();
  }
  std::string get(const std::string &target, const std::string &more = {}) const {
    return answerTo(requestHead("GET " + target, port(), cookie_, more));
  }

  /// A page's socket, open.
  std::unique_ptr<RawClient> page() const {
    auto client = std::make_unique<RawClient>(port());
    client->send(requestHead("GET /socket", port(), cookie_, upgradeLines(port())));
    EXPECT_EQ(statusOf(client->readAnswer()), 101);
    return client;
  }

  std::string upload(const std::string &name, const std::string &body) const {
    return requestHead("POST /upload?name=" + name, port(), cookie_,
                       origin() + "Content-Length: " + std::to_string(body.size()) + "\r\n") +
           body;
  }
  std::size_t uploads() const {
    std::error_code error;
    const fs::directory_iterator files(folder_ / "uploads", error);
    return error ? 0 : static_cast<std::size_t>(std::distance(files, fs::directory_iterator()));
  }

  fs::path folder_;
  Book book_;
  std::unique_ptr<Server> server_;
  std::string cookie_;
};

TEST_F(ServerTest, ServesThePageToWhoCameByTheAddress) {
  start();
  const std::string answer = get("/");
  EXPECT_EQ(statusOf(answer), 200);
  EXPECT_THAT(bodyOf(answer), HasSubstr("<!doctype html>"));
  EXPECT_EQ(headerOf(answer, "Content-Type"), "text/html; charset=utf-8");
  EXPECT_EQ(bodyOf(get("/header.png")), "PNG");
}

TEST_F(ServerTest, TellsBrowsersToKeepEverythingToThemselves) {
  start();
  for (const char *target : {"/", "/nothing", "/header.png"}) {
    const std::string answer = get(target);
    EXPECT_EQ(headerOf(answer, "Cache-Control"), "no-store");
    EXPECT_EQ(headerOf(answer, "X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(headerOf(answer, "Cross-Origin-Resource-Policy"), "same-origin");
    EXPECT_EQ(headerOf(answer, "Access-Control-Allow-Origin"), "");
    const std::string policy = headerOf(answer, "Content-Security-Policy");
    EXPECT_THAT(policy, HasSubstr("default-src 'none'"));
    EXPECT_THAT(policy, HasSubstr("script-src 'self';"));
    EXPECT_THAT(policy, testing::Not(HasSubstr("unsafe")));
  }
}

TEST_F(ServerTest, ListensOnThisMachineAlone) {
  start();
  std::ifstream sockets("/proc/net/tcp");
  char place[32];
  std::snprintf(place, sizeof place, ":%04X 00000000:0000 0A", port());
  int found = 0;
  for (std::string line; std::getline(sockets, line);)
    if (line.find(place) != std::string::npos) {
      ++found;
      EXPECT_THAT(line, HasSubstr("0100007F"));
    }
  EXPECT_EQ(found, 1);
}

TEST_F(ServerTest, ExchangesATokenOnce) {
  start();
  const std::string address = server_->newAddress();
  const std::string target = address.substr(address.find("/?"));
  const std::string first = answerTo(requestHead("GET " + target, port(), {}));
  EXPECT_EQ(statusOf(first), 303);
  EXPECT_EQ(headerOf(first, "Location"), "/");
  const std::string cookie = headerOf(first, "Set-Cookie");
  EXPECT_THAT(cookie, HasSubstr("pyrelux-" + std::to_string(port()) + "="));
  EXPECT_THAT(cookie, HasSubstr("HttpOnly; SameSite=Strict; Path=/"));
  EXPECT_EQ(cookie.find(target.substr(8)), std::string::npos);
  EXPECT_EQ(statusOf(answerTo(requestHead("GET " + target, port(), {}))), 403);
  // A reload by who has the cookie.
  EXPECT_EQ(statusOf(get(target)), 303);
}

TEST_F(ServerTest, KnowsItsPagesAgainAfterANewStart) {
  start();
  const std::string before = cookie_;
  const unsigned short usual = port();
  server_.reset();
  server_ = std::make_unique<Server>(usual, (folder_ / "uploads").string(), folder_.string(), ServerLimits(), book_);
  server_->start();
  EXPECT_EQ(statusOf(answerTo(requestHead("GET /", port(), before))), 200);
  EXPECT_EQ(fs::status(folder_ / ("studio-" + std::to_string(port()) + ".cookies")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(ServerTest, RefusesWhoHasNoCookie) {
  start();
  const std::string wrong = "pyrelux-" + std::to_string(port()) + "=00000000000000000000000000000000";
  for (const std::string &cookie : {std::string(), wrong, "other" + cookie_.substr(7)})
    for (const char *target : {"/", "/index.html", "/header.png", "/socket", "/nothing", "/?token=1234"})
      EXPECT_EQ(statusOf(answerTo(requestHead(std::string("GET ") + target, port(), cookie))), 403) << target;
}

TEST_F(ServerTest, RefusesOtherHostsOnEveryRequest) {
  start();
  for (const std::string &host :
       {"evil.example:" + std::to_string(port()), std::string("127.0.0.1"), std::string("127.0.0.1:1"), std::string()})
    for (const char *line : {"GET /", "GET /index.html", "GET /socket", "POST /upload?name=a.png"}) {
      const std::string answer = answerTo(std::string(line) + " HTTP/1.1\r\nHost: " + host + "\r\nCookie: " + cookie_ +
                                          "\r\n" + upgradeLines(port()) + "Content-Length: 0\r\n\r\n");
      EXPECT_EQ(statusOf(answer), 403) << host << " " << line;
    }
  EXPECT_EQ(statusOf(answerTo("GET / HTTP/1.1\r\nCookie: " + cookie_ + "\r\n\r\n")), 403);
  EXPECT_EQ(statusOf(answerTo("GET / HTTP/1.1\r\nHost: localhost:" + std::to_string(port()) + "\r\nCookie: " + cookie_ +
                              "\r\n\r\n")),
            200);
}

TEST_F(ServerTest, RefusesSocketsAndUploadsOfOtherOrigins) {
  start();
  for (const std::string &wrong :
       {std::string(), std::string("Origin: null\r\n"), std::string("Origin: http://evil.example\r\n"),
        "Origin: http://localhost:" + std::to_string(port()) + "\r\n", std::string("Origin: http://127.0.0.1\r\n")}) {
    const std::string lines = wrong + upgradeLines(port()).substr(upgradeLines(port()).find("Upgrade:"));
    EXPECT_EQ(statusOf(get("/socket", lines)), 403) << wrong;
    EXPECT_EQ(statusOf(answerTo(
                  requestHead("POST /upload?name=a.png", port(), cookie_, wrong + "Content-Length: 1\r\n") + "x")),
              403)
        << wrong;
  }
  EXPECT_EQ(uploads(), 0u);
}

TEST_F(ServerTest, RefusesOtherMethodsAndPaths) {
  start();
  for (const char *method : {"PUT", "DELETE", "OPTIONS", "HEAD", "POST", "CONNECT", "TRACE", "PATCH"}) {
    RawClient client(port());
    client.send(requestHead(std::string(method) + " /", port(), cookie_, origin() + "Content-Length: 0\r\n"));
    EXPECT_EQ(statusOf(client.readToEnd()), 405) << method;
  }
  for (const char *target : {"/nothing", "/../etc/passwd", "//etc/passwd", "/etc/passwd", "/%2e%2e/index.html",
                             "/index.html/", "index.html", "*", "/uploads/a.png", "/socket"})
    EXPECT_NE(statusOf(get(target)), 200) << target;
  EXPECT_EQ(statusOf(get("/", "Content-Length: 3\r\n")), 400);
}

TEST_F(ServerTest, PassesMessagesInOrder) {
  start();
  const auto client = page();
  for (int number = 0; number < 100; ++number) client->send(RawClient::frame("message " + std::to_string(number)));
  const auto lines = book_.lines(101);
  EXPECT_EQ(lines[0], "+1");
  for (int number = 0; number < 100; ++number)
    EXPECT_EQ(lines[static_cast<std::size_t>(number) + 1], "1 message " + std::to_string(number));
  for (int number = 0; number < 50; ++number) {
    server_->send(1, "{\"n\":" + std::to_string(number) + "}");
    server_->send(1, std::vector<std::uint8_t>(200000, static_cast<std::uint8_t>(number)));
  }
  for (int number = 0; number < 50; ++number) {
    EXPECT_EQ(client->read()->payload, "{\"n\":" + std::to_string(number) + "}");
    const auto binary = client->read();
    EXPECT_EQ(binary->opcode, 2);
    EXPECT_EQ(binary->payload, std::string(200000, static_cast<char>(number)));
  }
}

TEST_F(ServerTest, PutsMessagesOfPartsTogether) {
  start();
  const auto client = page();
  client->send(RawClient::frame("one ", 1, false) + RawClient::frame("two", 0, true));
  EXPECT_THAT(book_.lines(2), ElementsAre("+1", "1 one two"));
}

TEST_F(ServerTest, EndsWithPagesThatSpeakWrongly) {
  // Who is told so may take that long to say goodbye.
  ServerLimits limits;
  limits.patience = limits.quiet = 500ms;
  start(limits);
  const std::string tooLong = RawClient::frame(std::string(maxMessageBytes + 1, 'x'));
  const std::string endless = std::string("\x81\xff\x7f\xff\xff\xff\xff\xff\xff\xff", 10) + "abcd";
  std::size_t lines = 0;
  for (const std::string &wrong : {RawClient::frame("bytes", 2), RawClient::frame("plain", 1, true, false), tooLong,
                                   endless, RawClient::frame("\xff\xfe"), RawClient::frame("x", 5),
                                   std::string("\xf1\x80\x00\x00\x00\x00", 6), RawClient::frame("go on", 0)}) {
    const auto client = page();
    client->send(wrong);
    client->readToEnd();
    lines += 2;
    EXPECT_EQ(book_.lines(lines).back().substr(0, 1), "-");
  }
  EXPECT_EQ(book_.lines(lines).size(), lines);
}

TEST_F(ServerTest, LetsGoOfThePagesThatTakeNothing) {
  ServerLimits limits;
  limits.queuedBytes = std::size_t{32} << 20;
  // Longer than the test waits, so that silence is not why it is let go.
  limits.quiet = 10min;
  start(limits);
  const auto client = page();
  book_.lines(1);
  for (int count = 0; count < 64; ++count) server_->send(1, std::vector<std::uint8_t>(std::size_t{1} << 20, 7));
  EXPECT_THAT(book_.lines(2), ElementsAre("+1", "-1"));
}

TEST_F(ServerTest, DoesNotWaitForEverForARequest) {
  ServerLimits limits;
  limits.patience = 300ms;
  start(limits);
  for (const std::string &part : {std::string(), std::string("GET /"), std::string("GET / HTTP/1.1\r\nHost: x\r\n")}) {
    RawClient client(port());
    client.send(part);
    EXPECT_EQ(statusOf(client.readToEnd()), 0) << part;
  }
  EXPECT_EQ(statusOf(get("/")), 200);
}

TEST_F(ServerTest, DoesNotWaitForEverForAnUpload) {
  ServerLimits limits;
  limits.patience = 300ms;
  start(limits);
  RawClient client(port());
  const std::string whole = upload("logo.png", std::string(1000, 'x'));
  client.send(whole.substr(0, whole.size() - 1));
  client.readToEnd();
  // The connection ends before the file does.
  for (int tries = 0; tries < 500 && uploads() > 0; ++tries) std::this_thread::sleep_for(10ms);
  EXPECT_EQ(uploads(), 0u);
}

TEST_F(ServerTest, DoesNotWaitForEverForAnUpgradeThatIsNone) {
  start();
  EXPECT_NE(statusOf(get("/socket", origin() + "Upgrade: websocket\r\nConnection: Upgrade\r\n")), 101);
}

TEST_F(ServerTest, HasNoMoreConnectionsAndPagesThanItBears) {
  ServerLimits limits;
  limits.connections = 8;
  limits.pages = 2;
  start(limits);
  const auto first = page();
  const auto second = page();
  book_.lines(2);
  EXPECT_EQ(statusOf(get("/socket", upgradeLines(port()))), 503);
  std::vector<std::unique_ptr<RawClient>> idle;
  for (int count = 0; count < 300; ++count) idle.push_back(std::make_unique<RawClient>(port()));
  // Those beyond the limit are ended at once, and those inside are as good as before.
  RawClient refused(port());
  EXPECT_EQ(refused.readToEnd(), "");
  first->send(RawClient::frame("still there"));
  EXPECT_EQ(book_.lines(3).back(), "1 still there");
  idle.clear();
  std::string answer;
  for (int tries = 0; tries < 500 && statusOf(answer) != 200; ++tries) {
    answer = get("/");
    std::this_thread::sleep_for(10ms);
  }
  EXPECT_EQ(statusOf(answer), 200);
}

TEST_F(ServerTest, BearsHundredsOfConnectionsThatComeAndGo) {
  start();
  for (int round = 0; round < 400; ++round) {
    RawClient client(port());
    if (round % 3 == 0) client.send(requestHead("GET /", port(), cookie_));
    if (round % 3 == 1) client.send("GET / HT");
    if (round % 2) client.reset();
  }
  EXPECT_EQ(statusOf(get("/")), 200);
}

TEST_F(ServerTest, BearsRandomBytes) {
  start();
  std::mt19937 engine(7);
  const auto randomBytes = [&engine](int most) {
    std::string bytes;
    for (int count = std::uniform_int_distribution<int>(0, most)(engine); count > 0; --count)
      bytes += static_cast<char>(std::uniform_int_distribution<int>(0, 255)(engine));
    return bytes;
  };
  for (int round = 0; round < 150; ++round) {
    RawClient visit(port());
    std::string request = requestHead("GET /socket", port(), cookie_, upgradeLines(port()));
    request[std::uniform_int_distribution<std::size_t>(0, request.size() - 1)(engine)] = randomBytes(1)[0];
    visit.send(round % 2 ? request : randomBytes(2000));
    visit.reset();
    const auto client = page();
    client->send(randomBytes(300));
    client->reset();
  }
  EXPECT_EQ(statusOf(get("/")), 200);
}

TEST_F(ServerTest, RefusesHeadsWithoutEnd) {
  start();
  RawClient client(port());
  client.send("GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port()) + "\r\nX: " + std::string(100000, 'x'));
  const std::string answer = client.readToEnd();
  EXPECT_NE(statusOf(answer), 200);
  EXPECT_EQ(statusOf(get("/")), 200);
}

TEST_F(ServerTest, StoresWhatIsDropped) {
  start();
  const std::string answer = answerTo(upload("my%20logo.png", "bytes"));
  EXPECT_EQ(statusOf(answer), 200);
  EXPECT_EQ(bodyOf(answer), "{\"path\":\"uploads/my logo.png\"}");
  std::ostringstream stored;
  stored << std::ifstream(folder_ / "uploads/my logo.png").rdbuf();
  EXPECT_EQ(stored.str(), "bytes");
  const std::string large(5000000, 'x');
  EXPECT_EQ(statusOf(answerTo(upload("large.mov", large))), 200);
  EXPECT_EQ(fs::file_size(folder_ / "uploads/large.mov"), large.size());
}

TEST_F(ServerTest, RefusesUploadsThatAreNone) {
  ServerLimits limits;
  limits.uploadBytes = 1000;
  start(limits);
  EXPECT_EQ(statusOf(answerTo(upload("large.png", std::string(1001, 'x')))), 413);
  EXPECT_EQ(statusOf(answerTo(upload("run.sh", "x"))), 415);
  EXPECT_EQ(statusOf(answerTo(upload("", "x"))), 415);
  EXPECT_EQ(statusOf(answerTo(
                requestHead("POST /upload?name=a.png", port(), cookie_, origin() + "Transfer-Encoding: chunked\r\n"))),
            411);
  const std::string whole = upload("half.png", "half of it");
  {
    RawClient client(port());
    client.send(whole.substr(0, whole.size() - 4));
    client.readSome();
    client.reset();
  }
  EXPECT_EQ(statusOf(answerTo(upload("../../escape.png", "x"))), 200);
  EXPECT_FALSE(fs::exists(folder_ / "escape.png"));
  EXPECT_EQ(uploads(), 1u);
}

TEST_F(ServerTest, AnswersSeveralRequestsOfAConnection) {
  start();
  RawClient client(port());
  for (int count = 0; count < 3; ++count) {
    client.send(requestHead("GET /", port(), cookie_));
    EXPECT_EQ(statusOf(client.readAnswer()), 200);
  }
}

TEST_F(ServerTest, SaysGoodbye) {
  start();
  const auto client = page();
  book_.lines(1);
  server_->stop("{\"type\":\"bye\"}");
  EXPECT_EQ(client->read()->payload, "{\"type\":\"bye\"}");
  EXPECT_EQ(client->read()->opcode, 8);
  EXPECT_THROW(RawClient{port()}, std::runtime_error);
}

TEST_F(ServerTest, TakesTheNextPortUnlessOneIsAskedFor) {
  start();
  const Server next(std::nullopt, "uploads", {}, {}, book_);
  EXPECT_NE(next.port(), port());
  EXPECT_THROW(Server(port(), "uploads", {}, {}, book_), std::runtime_error);
}

}  // namespace
}  // namespace pyrelux::studio::test
