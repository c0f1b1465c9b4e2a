#pragma once

#include <string>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

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

/// A WebSocket that reads when told to.
class TestWebSocket {
 public:
  TestWebSocket(std::uint16_t port, const std::string& path) : stream_(context_) {
    stream_.next_layer().connect({boost::asio::ip::make_address("127.0.0.1"), port});
    stream_.handshake("127.0.0.1:" + std::to_string(port), path);
  }
  std::string read() {
    boost::beast::flat_buffer buffer;
    stream_.read(buffer);
    return boost::beast::buffers_to_string(buffer.data());
  }
  void send(const std::string& text) { stream_.write(boost::asio::buffer(text)); }
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket>& stream() { return stream_; }

 private:
  boost::asio::io_context context_;
  boost::beast::websocket::stream<boost::asio::ip::tcp::socket> stream_;
};

}  // namespace tunevale::http
