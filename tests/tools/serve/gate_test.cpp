// Which Host and Origin headers a server takes.
#include "tools/serve/gate.hpp"

#include <gtest/gtest.h>

namespace korrin_test {
namespace {

using korrin_tool::serve::Gate;
using Header = std::optional<std::string>;

bool lets(const Gate& gate, const Header& host, const Header& origin = std::nullopt) {
  return !gate.refusalOf(host, origin);
}

TEST(Gate, TakesTheNamesOfTheLoopbackAtItsOwnPort) {
  const Gate gate("127.0.0.1", 8080);
  for (const char* host :
       {"127.0.0.1:8080", "localhost:8080", "LOCALHOST:8080", "[::1]:8080", "127.0.0.2:8080"}) {
    EXPECT_TRUE(lets(gate, host)) << host;
  }
}

TEST(Gate, RefusesNamesThatOnlyPretend) {
  const Gate gate("127.0.0.1", 8080);
  for (const char* host : {"evil.example:8080", "evil.example", "localhost.evil.example:8080",
                           "127.0.0.1.evil:8080", "127.evil.example:8080", "192.168.1.2:8080", "",
                           ":8080", "[::1:8080", "[::1]8080", "127.0.0.1:8081", "127.0.0.1",
                           "localhost:", "127.0.0.1:8080:8080", "user@localhost:8080"}) {
    EXPECT_FALSE(lets(gate, host)) << host;
  }
  EXPECT_FALSE(lets(gate, std::nullopt));
}

TEST(Gate, TakesAHostWithoutAPortAtThePortThatBrowsersLeaveOut) {
  EXPECT_TRUE(lets(Gate("127.0.0.1", 80), "localhost"));
  EXPECT_TRUE(lets(Gate("127.0.0.1", 80), "localhost:80"));
}

TEST(Gate, TakesNoOriginOrItsOwn) {
  const Gate gate("127.0.0.1", 8080);
  const Header host = "127.0.0.1:8080";
  EXPECT_TRUE(lets(gate, host, "http://127.0.0.1:8080"));
  EXPECT_TRUE(lets(gate, host, "http://localhost:8080"));
  for (const char* origin : {"http://evil.example", "https://127.0.0.1:8080", "null", "",
                             "http://127.0.0.1:3000", "http://127.0.0.1", "file://"}) {
    EXPECT_FALSE(lets(gate, host, origin)) << origin;
  }
}

TEST(Gate, TellsWhichHeaderIsForeign) {
  const Gate gate("127.0.0.1", 8080);
  EXPECT_EQ(gate.refusalOf("evil.example", std::nullopt).value(),
            "requests must be for this server by its own name");
  EXPECT_EQ(gate.refusalOf("localhost:8080", "http://evil.example").value(),
            "pages of other sites may not ask this server");
}

TEST(Gate, OfAnOpenHostTakesItsNameAndAddressesInNumbers) {
  const Gate named("robot.local", 8080);
  EXPECT_TRUE(lets(named, "Robot.local:8080"));
  EXPECT_TRUE(lets(named, "192.168.1.2:8080"));
  EXPECT_TRUE(lets(named, "[fe80::1]:8080"));
  EXPECT_FALSE(lets(named, "evil.example:8080"));
  const Gate all("0.0.0.0", 8080);
  EXPECT_TRUE(lets(all, "192.168.1.2:8080", "http://192.168.1.2:8080"));
  EXPECT_FALSE(lets(all, "robot.local:8080"));
}

}  // namespace
}  // namespace korrin_test
