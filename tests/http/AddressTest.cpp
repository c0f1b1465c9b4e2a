#include <gtest/gtest.h>

#include "http/Address.h"
#include "http/OwnNames.h"
#include "http/ServerState.h"

namespace tunevale::http {
namespace {

TEST(Address, ReadsHostAndPortAndRefusesEverythingElse) {
  EXPECT_EQ(parseAddress("127.0.0.1:8080")->host, "127.0.0.1");
  EXPECT_EQ(parseAddress("[::1]:0")->host, "::1");
  EXPECT_EQ(parseAddress("localhost:65535")->port, 65535);
  for (const char* text : {"", ":", "8080", ":8080", "a:", "a:b", "a:65536", "a:-1", "a: 1", "::1:80",
                           "[]:80", "[::1:80", "a b:80", "http://a:80", "a:80/"}) {
    EXPECT_FALSE(parseAddress(text)) << text;
  }
}

TEST(OwnNames, KnowsItselfAndNobodyElse) {
  const OwnNames names("192.168.1.5", 8080);
  for (const char* host : {"localhost:8080", "LocalHost:8080", "127.0.0.1:8080", "[::1]:8080",
                           "192.168.1.5:8080", "10.0.0.1:8080"}) {
    EXPECT_TRUE(names.isOwnHost(host, "10.0.0.1")) << host;
    EXPECT_TRUE(names.isOwnOrigin("http://" + std::string(host), "10.0.0.1")) << host;
  }
  for (const char* host : {"", "localhost", "localhost:80", "localhost:80800", "evil.example:8080",
                           "localhost.evil.example:8080", "localhost:8080.evil.example",
                           "127.0.0.1:8080@evil", "10.0.0.2:8080", "::1:8080", "xlocalhost:8080"}) {
    EXPECT_FALSE(names.isOwnHost(host, "10.0.0.1")) << host;
  }
  for (const char* origin :
       {"null", "", "https://localhost:8080", "file://", "localhost:8080", "http://localhost:8080/"}) {
    EXPECT_FALSE(names.isOwnOrigin(origin, "10.0.0.1")) << origin;
  }
  EXPECT_TRUE(OwnNames("::1", 80).isOwnHost("[::1]", "::1"));
}

TEST(DecodedPath, DecodesAndRefuses) {
  EXPECT_EQ(decodedPath("/a%20b/%E2%82%AC"), "/a b/€");
  for (const char* path : {"", "a", "*", "http://a/", "/%", "/%4", "/%zz", "/%00", "/%0a", "/%ff"}) {
    EXPECT_FALSE(decodedPath(path)) << path;
  }
}

}  // namespace
}  // namespace tunevale::http
