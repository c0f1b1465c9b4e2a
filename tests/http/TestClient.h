#pragma once

#include <stdexcept>
#include <string>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

namespace tunevale::http {

/// A connection that sends and reads bytes as the test says, waiting for each.
class TestClient {
 public:
  explicit TestClient(std::uint16_t port) {
    socket_.connect({boost::asio::ip::make_address("127.0.0.1"), port});
  }
  /// Sends what it can: the server may have closed already.
  void send(const std::string& bytes) {
    boost::system::error_code ignored;
    boost::asio::write(socket_, boost::asio::buffer(bytes), ignored);
  }
  /// Everything up to the server's end of the connection, or the first bytes.
  std::string readToEnd(std::size_t most = SIZE_MAX) {
    std::string bytes;
    boost::system::error_code ended;
    boost::asio::read(socket_, boost::asio::dynamic_buffer(bytes, most), ended);
    return bytes;
  }

  boost::asio::ip::tcp::socket& socket() { return socket_; }

 private:
  boost::asio::io_context context_;
  boost::asio::ip::tcp::socket socket_{context_};
};

inline std::string hostLine(std::uint16_t port) {
  return "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
}

/// What comes back for these bytes on a connection of its own: up to the server's end, or so many bytes.
inline std::string answerTo(std::uint16_t port, const std::string& bytes, std::size_t most = SIZE_MAX) {
  TestClient client(port);
  client.send(bytes);
  return client.readToEnd(most);
}

/// The whole answer to one request on a connection of its own. `fields` are header lines with their ends.
inline std::string ask(std::uint16_t port, const std::string& method, const std::string& target,
                       const std::string& fields = "", const std::string& body = "") {
  return answerTo(port, method + " " + target + " HTTP/1.1\r\nConnection: close\r\n" +
                            (fields.find("Host:") == std::string::npos ? hostLine(port) : "") + fields +
                            (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
                            "\r\n" + body);
}

inline int statusOf(const std::string& answer) {
  return answer.size() > 12 && answer.starts_with("HTTP/1.") ? std::stoi(answer.substr(9, 3)) : 0;
}

inline std::string bodyOf(const std::string& answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? "" : answer.substr(end + 4);
}

/// What asks for a WebSocket, after the request line and the host (RFC 6455, 4.1).
inline constexpr const char* kUpgradeFields =
    "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

/// A WebSocket that reads when told to, with frames as in RFC 6455, 5.2.
class TestWebSocket {
 public:
  static constexpr unsigned char kText = 1, kBytes = 2, kClose = 8, kLast = 0x80, kMasked = 0x80;

  TestWebSocket(std::uint16_t port, const std::string& path) : client_(port) {
    client_.send("GET " + path + " HTTP/1.1\r\n" + hostLine(port) + kUpgradeFields + "\r\n");
    std::string head;
    while (!head.ends_with("\r\n\r\n")) head += take(1);
    if (statusOf(head) != 101) throw std::runtime_error("no WebSocket: " + head);
  }
  /// The next whole message, or "closed CODE" (7.4) when that comes instead. Throws at the connection's end.
  std::string read() {
    std::string message;
    while (true) {
      const std::string head = take(2);
      const auto first = static_cast<unsigned char>(head[0]);
      std::uint64_t length = static_cast<unsigned char>(head[1]);
      if (length > 125) length = number(take(length == 126 ? 2 : 8));
      const std::string payload = take(length);
      if (first == (kLast | kClose)) return "closed " + std::to_string(number(payload.substr(0, 2)));
      message += payload;
      if ((first & kLast) != 0) return message;
    }
  }
  void send(const std::string& message, unsigned char kind = kText) {
    const std::size_t size = message.size();
    const std::size_t length = size < 126 ? size : size < 65536 ? 126 : 127;
    std::string frame{static_cast<char>(kLast | kind), static_cast<char>(kMasked | length)};
    for (int byte = length < 126 ? 0 : length == 126 ? 2 : 8; byte-- > 0;)
      frame += static_cast<char>(size >> (8 * byte));
    client_.send(frame + std::string(4, '\0') + message);  // a mask of zeros leaves the message as it is
  }
  TestClient& client() { return client_; }

 private:
  /// Exactly so many bytes.
  std::string take(std::size_t size) {
    std::string bytes = client_.readToEnd(size);
    if (bytes.size() < size) throw std::runtime_error("the connection has ended");
    return bytes;
  }
  static std::uint64_t number(const std::string& bigEndian) {
    std::uint64_t value = 0;
    for (const char c : bigEndian) value = value << 8 | static_cast<unsigned char>(c);
    return value;
  }

  TestClient client_;
};

}  // namespace tunevale::http
