#include <gtest/gtest.h>

#include "http/HttpLimits.h"
#include "http/ServerOnThread.h"
#include "http/TestClient.h"

namespace tunevale::http {
namespace {

class WebSocketTest : public testing::Test {
 protected:
  WebSocketTest() {
    endpoint_ = std::make_shared<WebSocketEndpoint>(
        [this] { return "state " + std::to_string(state_); },
        [](WebSocketClient& client, std::string_view text) {
          client.send(std::make_shared<const std::string>("echo " + std::string(text)));
        });
    server_.onLoop([this] { server_->webSocket("/live", endpoint_); });
  }
  void broadcast(const std::string& text) {
    server_.onLoop([&] { endpoint_->broadcast(text); });
  }
  std::size_t clientCount() {
    std::size_t count = 0;
    server_.onLoop([&] { count = endpoint_->clientCount(); });
    return count;
  }

  int state_ = 1;
  ServerOnThread server_;
  std::shared_ptr<WebSocketEndpoint> endpoint_;
};

TEST_F(WebSocketTest, GreetsThenBroadcastsInOrderAndForgetsWhoHasGone) {
  std::optional<TestWebSocket> gone(std::in_place, server_.port(), "/live");
  TestWebSocket one(server_.port(), "/live");
  TestWebSocket two(server_.port(), "/live");
  EXPECT_EQ(one.read(), "state 1");
  EXPECT_EQ(two.read(), "state 1");
  gone->read();
  EXPECT_EQ(clientCount(), 3U);
  gone.reset();
  for (int i = 0; i < 100000 && clientCount() > 2; ++i) {
  }
  EXPECT_EQ(clientCount(), 2U);
  for (const char* text : {"a", "b", "c"}) broadcast(text);
  one.send("x");
  for (const char* text : {"a", "b", "c", "echo x"}) EXPECT_EQ(one.read(), text);
  for (const char* text : {"a", "b", "c"}) EXPECT_EQ(two.read(), text);
}

TEST_F(WebSocketTest, RefusesStrangersAndPlainRequests) {
  const std::string upgrade =
      "Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
  const auto askWith = [&](const std::string& fields) {
    TestClient client(server_.port());
    client.send("GET /live HTTP/1.1\r\nConnection: Upgrade\r\n" + upgrade + fields + "\r\n");
    std::string head(12, ' ');
    boost::asio::read(client.socket(), boost::asio::buffer(head));
    return head.substr(9, 3);
  };
  EXPECT_EQ(askWith(hostLine(server_.port())), "101");
  EXPECT_EQ(askWith(hostLine(server_.port()) + "Origin: http://evil.example\r\n"), "403");
  EXPECT_EQ(askWith("Host: evil.example\r\n"), "403");
  EXPECT_EQ(statusOf(ask(server_.port(), "GET", "/live")), 426);
  EXPECT_EQ(statusOf(ask(server_.port(), "POST", "/live", "", "x")), 405);
}

TEST_F(WebSocketTest, GivesASlowReaderTheStateInsteadOfWhatItMissed) {
  TestWebSocket slow(server_.port(), "/live");
  EXPECT_EQ(slow.read(), "state 1");
  slow.stream().next_layer().set_option(boost::asio::socket_base::receive_buffer_size(64 * 1024));
  // More than the sockets' buffers take, so that it stays under way.
  const std::string large(16 * 1024 * 1024, 'x');
  broadcast(large);
  broadcast("missed");
  server_.onLoop([this] { state_ = 2; });
  broadcast("missed");
  EXPECT_TRUE(slow.read() == large);
  EXPECT_EQ(slow.read(), "state 2");
  broadcast("after");
  EXPECT_EQ(slow.read(), "after");
}

TEST_F(WebSocketTest, BreaksWithWhoSendsTooMuchOrBytes) {
  TestWebSocket large(server_.port(), "/live");
  large.read();
  boost::system::error_code error;
  large.stream().write(boost::asio::buffer(std::string(kMaxBodyBytes + 1, 'x')), error);
  boost::beast::flat_buffer buffer;
  large.stream().read(buffer, error);
  EXPECT_TRUE(error);

  TestWebSocket bytes(server_.port(), "/live");
  bytes.read();
  bytes.stream().binary(true);
  bytes.send("x");
  bytes.stream().read(buffer, error);
  EXPECT_EQ(bytes.stream().reason().code, boost::beast::websocket::close_code::unknown_data);
  EXPECT_EQ(clientCount(), 0U);
}

TEST_F(WebSocketTest, EndsWithItsServer) {
  ServerOnThread other;
  auto endpoint = std::make_shared<WebSocketEndpoint>([] { return "hello"; }, WebSocketEndpoint::Received());
  other.onLoop([&] { other->webSocket("/live", endpoint); });
  TestWebSocket client(other.port(), "/live");
  EXPECT_EQ(client.read(), "hello");
  client.send("to no receiver");
  endpoint.reset();
}

}  // namespace
}  // namespace tunevale::http
