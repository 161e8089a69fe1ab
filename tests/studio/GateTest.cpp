#include "Gate.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace pyrelux::studio {
namespace {

std::string cookieOf(Gate &gate) { return *gate.exchange(gate.newToken()); }

TEST(Gate, TakesATokenOnce) {
  Gate gate(8000);
  const std::string token = gate.newToken();
  EXPECT_EQ(token.size(), 32u);
  EXPECT_TRUE(gate.exchange(token));
  EXPECT_FALSE(gate.exchange(token));
}

TEST(Gate, TakesNoOtherToken) {
  Gate gate(8000);
  std::string token = gate.newToken();
  token[31] = token[31] == '0' ? '1' : '0';
  for (const std::string &wrong : {token, token.substr(0, 31), token + "0", std::string(), std::string(32, '\0')})
    EXPECT_FALSE(gate.exchange(wrong)) << wrong;
}

TEST(Gate, KeepsTheNewestTokens) {
  Gate gate(8000);
  const std::string first = gate.newToken();
  const std::string second = gate.newToken();
  for (int count = 0; count < 3; ++count) gate.newToken();
  EXPECT_FALSE(gate.exchange(first));
  EXPECT_TRUE(gate.exchange(second));
}

TEST(Gate, KnowsItsCookiesAmongOthers) {
  Gate gate(8000);
  const std::string value = cookieOf(gate);
  EXPECT_TRUE(gate.knows("pyrelux-8000=" + value));
  EXPECT_TRUE(gate.knows("a=b; pyrelux-8000=" + value + "; c=d"));
  EXPECT_TRUE(gate.knows("pyrelux-8000=old; pyrelux-8000=" + value));
}

TEST(Gate, KnowsNoOtherCookies) {
  Gate gate(8000);
  const std::string value = cookieOf(gate);
  for (const std::string &wrong :
       {std::string(), "pyrelux-8001=" + value, "pyrelux-8000=" + value.substr(1), "pyrelux-8000=" + value + "0",
        "xpyrelux-8000=" + value, value, std::string("pyrelux-8000="), std::string(";;;=;"),
        "pyrelux-8000=" + gate.newToken()})
    EXPECT_FALSE(gate.knows(wrong)) << wrong;
  Gate other(8000);
  EXPECT_FALSE(other.knows("pyrelux-8000=" + value));
}

TEST(Gate, DoesNotTrustAFileThatOthersCanRead) {
  char folder[] = "/tmp/pyrelux-gate-XXXXXX";
  const std::string memory = std::string(mkdtemp(folder)) + "/cookies";
  Gate first(8000, memory);
  const std::string cookie = "pyrelux-8000=" + cookieOf(first);
  EXPECT_TRUE(Gate(8000, memory).knows(cookie));
  std::filesystem::permissions(memory, std::filesystem::perms::group_write, std::filesystem::perm_options::add);
  EXPECT_FALSE(Gate(8000, memory).knows(cookie));
  std::filesystem::remove_all(folder);
}

TEST(Gate, NamesItsCookieByPortAndKeepsItFromScriptsAndOtherSites) {
  EXPECT_EQ(Gate(8000).setCookie("v"), "pyrelux-8000=v; HttpOnly; SameSite=Strict; Path=/");
}

TEST(Gate, AllowsThisMachinesNamesAlone) {
  const Gate gate(8000);
  EXPECT_TRUE(gate.allowsHost("127.0.0.1:8000"));
  EXPECT_TRUE(gate.allowsHost("localhost:8000"));
  for (const char *wrong : {"", "127.0.0.1", "127.0.0.1:8001", "evil.example:8000", "localhost:8000.evil.example",
                            "evil.example", "127.0.0.1:8000 ", "LOCALHOST"})
    EXPECT_FALSE(gate.allowsHost(wrong)) << wrong;
}

TEST(Gate, AllowsThePagesOwnOriginAlone) {
  const Gate gate(8000);
  EXPECT_TRUE(gate.allowsOrigin("http://127.0.0.1:8000", "127.0.0.1:8000"));
  EXPECT_TRUE(gate.allowsOrigin("http://localhost:8000", "localhost:8000"));
  for (const char *wrong : {"", "null", "http://127.0.0.1", "https://127.0.0.1:8000", "http://localhost:8000",
                            "http://evil.example", "http://127.0.0.1:8000/", "http://127.0.0.1:80001"})
    EXPECT_FALSE(gate.allowsOrigin(wrong, "127.0.0.1:8000")) << wrong;
  EXPECT_FALSE(gate.allowsOrigin("http://evil.example:8000", "evil.example:8000"));
}

}  // namespace
}  // namespace pyrelux::studio
