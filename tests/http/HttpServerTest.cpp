#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "http/Address.h"
#include "http/HttpLimits.h"
#include "http/OwnNames.h"
#include "http/ServerOnThread.h"
#include "http/ServerState.h"
#include "http/TestClient.h"

namespace tunevale::http {
namespace {

TEST(Address, ReadsHostAndPortAndRefusesEverythingElse) {
  EXPECT_EQ(parseAddress("127.0.0.1:8080")->host, "127.0.0.1");
  EXPECT_EQ(parseAddress("[::1]:0")->host, "::1");
  EXPECT_EQ(parseAddress("localhost:65535")->port, 65535);
  for (const char* text : {"", ":", "8080", ":8080", "a:", "a:b", "a:65536", "a:-1", "a: 1", "::1:80",
                           "[]:80", "[::1:80", "a b:80", "http://a:80", "a:80/"})
    EXPECT_FALSE(parseAddress(text)) << text;
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
                           "127.0.0.1:8080@evil", "10.0.0.2:8080", "::1:8080", "xlocalhost:8080"})
    EXPECT_FALSE(names.isOwnHost(host, "10.0.0.1")) << host;
  for (const char* origin :
       {"null", "", "https://localhost:8080", "localhost:8080", "http://localhost:8080/"})
    EXPECT_FALSE(names.isOwnOrigin(origin, "10.0.0.1")) << origin;
  EXPECT_TRUE(OwnNames("::1", 80).isOwnHost("[::1]", "::1"));
}

TEST(DecodedPath, DecodesAndRefuses) {
  EXPECT_EQ(decodedPath("/a%20b/%E2%82%AC"), "/a b/€");
  for (const char* path : {"", "a", "*", "http://a/", "/%", "/%4", "/%zz", "/%00", "/%0a", "/%ff"})
    EXPECT_FALSE(decodedPath(path)) << path;
}

class HttpServerTest : public testing::Test {
 protected:
  HttpServerTest() {
    server_.onLoop([this] {
      const auto answer = [](const Request&, const Respond& respond) { respond(Response::json("{}")); };
      server_->get("/", answer);
      server_->get("/under/", [](const Request& request, const Respond& respond) {
        respond(Response::json(request.path + "?" + request.query));
      });
      server_->get("/under/exact", answer);
      server_->post("/under/exact", answer);
      server_->post("/echo", [](const Request& request, const Respond& respond) {
        respond(Response::json(request.body));
      });
      server_->get("/silent", [](const Request&, const Respond&) {});
      server_->webSocket("/live", endpoint_);
    });
  }
  std::string ask(const std::string& method, const std::string& target, const std::string& fields = "",
                  const std::string& body = "") {
    return http::ask(server_.port(), method, target, fields, body);
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
  std::string heard_;
  std::shared_ptr<WebSocketEndpoint> endpoint_ = std::make_shared<WebSocketEndpoint>(
      [this] { return "state " + std::to_string(state_); },
      [this](WebSocketClient& client, std::string_view text) {
        heard_ = text;
        client.send(std::make_shared<const std::string>("echo " + std::string(text)));
      });
  ServerOnThread server_;
};

TEST_F(HttpServerTest, AnswersItsOwnNamesAndPagesWithinItsLimits) {
  const std::string own = "127.0.0.1:" + std::to_string(server_.port()) + "\r\n";
  const std::string most(kMaxBodyBytes, 'x');
  const std::pair<int, std::string> answers[] = {
      {404, ask("GET", "/nowhere")},
      {400, ask("GET", "/%zz")},
      {500, ask("GET", "/silent")},
      {405, ask("GET", "/echo")},
      {405, ask("POST", "/")},
      {403, ask("GET", "/", "Host: evil.example\r\n")},
      {400, ask("GET", "/", "Host: " + own + "Host: " + own)},
      {403, ask("POST", "/echo", "Origin: http://evil.example\r\n", "x")},
      {200, ask("POST", "/echo", "Origin: http://" + own, "x")},
      {200, ask("POST", "/echo", "", most)},
      {413, ask("POST", "/echo", "", most + "x")},
      {413, ask("POST", "/echo", "Transfer-Encoding: chunked\r\n\r\n20000\r\n" + most + most)},
      {431, ask("GET", "/", "X: " + std::string(kMaxHeaderBytes, 'x') + "\r\n")},
      {400, answerTo(server_.port(), "GET / HTTP/1.1\r\nConnection: close\r\n\r\n")},
      {400, answerTo(server_.port(), "\x16\x03\x01 hello\r\n\r\n")}};
  for (const auto& [status, answer] : answers) EXPECT_EQ(statusOf(answer), status) << answer;
}

TEST_F(HttpServerTest, FindsRoutesSaysWhatElseItKnowsAndKeepsOthersOut) {
  EXPECT_EQ(bodyOf(ask("GET", "/under/x%20y?a=b")), "/under/x y?a=b");
  EXPECT_EQ(bodyOf(ask("GET", "/under/exact")), "{}");
  EXPECT_EQ(bodyOf(ask("POST", "/echo", "", "hello")), "hello");
  const std::string head = ask("HEAD", "/under/exact");
  EXPECT_TRUE(bodyOf(head).empty() && head.find("Content-Length: 2\r\n") != std::string::npos) << head;
  EXPECT_NE(ask("DELETE", "/under/exact").find("Allow: GET, HEAD, POST\r\n"), std::string::npos);
  const std::string refused = ask("DELETE", "/echo");
  EXPECT_EQ(bodyOf(refused), R"({"error":"this path does not know that method"})");
  for (const char* field : {"Allow: POST\r\n", "default-src 'none'", "frame-ancestors 'self'",
                            "X-Content-Type-Options: nosniff\r\n", "Referrer-Policy: no-referrer\r\n",
                            "Cross-Origin-Resource-Policy: same-origin\r\n"}) {
    EXPECT_NE(refused.find(field), std::string::npos) << field;
  }
}

TEST_F(HttpServerTest, TurnsAwayTheConnectionTooMany) {
  std::vector<std::unique_ptr<TestClient>> clients;
  for (std::size_t i = 0; i < kMaxConnections; ++i)
    clients.push_back(std::make_unique<TestClient>(server_.port()));
  EXPECT_EQ(statusOf(TestClient(server_.port()).readToEnd()), 503);
  clients.pop_back();
  // The server learns of the end in its own time.
  int status = 503;
  for (int i = 0; i < 1000 && status != 200; ++i) status = statusOf(ask("GET", "/"));
  EXPECT_EQ(status, 200);
}

TEST_F(HttpServerTest, AnswersLaterAndOnceOnlyEvenIfTheClientHasGone) {
  for (const bool stays : {true, false}) {
    std::promise<Respond> asked;
    server_.onLoop([&] {
      server_->get("/later", [&](const Request&, const Respond& respond) { asked.set_value(respond); });
    });
    auto client = std::make_unique<TestClient>(server_.port());
    client->send("GET /later HTTP/1.1\r\nConnection: close\r\n" + hostLine(server_.port()) + "\r\n");
    Respond later = asked.get_future().get();
    if (!stays) client.reset();
    server_.onLoop([&] {
      later(Response::json("first"));
      later(Response::json("second"));
      later = nullptr;
    });
    EXPECT_EQ(stays ? bodyOf(client->readToEnd()) : "first", "first");
  }
  EXPECT_EQ(statusOf(ask("GET", "/")), 200);
}

TEST_F(HttpServerTest, ServesFilesAndOnlyThose) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(testing::TempDir()) / ("web-" + std::to_string(server_.port()));
  fs::create_directories(folder / "web" / "sub");
  const auto put = [&](const char* name, const char* text) { std::ofstream(folder / name) << text; };
  for (const char* name : {"web/app.js", "web/sub/a.svg", "web/.hidden.js", "web/notes.txt", "secret.js"})
    put(name, name);
  server_.onLoop([&] { server_->folder("/web/", folder / "web"); });

  const std::string answer = ask("GET", "/web/app.js");
  EXPECT_EQ(bodyOf(answer), "web/app.js");
  for (const char* field :
       {"Content-Type: text/javascript; charset=utf-8\r\n", "Cache-Control: no-cache\r\n"})
    EXPECT_NE(answer.find(field), std::string::npos) << answer;
  const std::string drawing = ask("GET", "/web/sub/a.svg");
  EXPECT_NE(drawing.find("Content-Type: image/svg+xml\r\n"), std::string::npos);
  EXPECT_EQ(bodyOf(drawing), "web/sub/a.svg");
  for (const char* path : {"/web/", "/web/sub", "/web/none.js", "/web/.hidden.js", "/web/notes.txt",
                           "/web/../secret.js", "/web/%2e%2e/secret.js", "/web/sub/../../secret.js",
                           "/web//app.js", "/web/..%2fsecret.js", "/web/%2Fetc/passwd", "/web/app.js/"})
    EXPECT_EQ(statusOf(ask("GET", path)), 404) << path;

  const std::string etag = answer.substr(answer.find("ETag: ") + 6);
  const std::string unlessKnown = "If-None-Match: " + etag.substr(0, etag.find('\n') + 1);
  const std::string known = ask("GET", "/web/app.js", unlessKnown);
  EXPECT_TRUE(statusOf(known) == 304 && bodyOf(known).empty()) << known;
  put("web/app.js", "new");
  EXPECT_EQ(bodyOf(ask("GET", "/web/app.js", unlessKnown)), "new");
  fs::remove_all(folder);
}

TEST_F(HttpServerTest, GreetsThenBroadcastsInOrderAndForgetsWhoHasGone) {
  std::optional<TestWebSocket> gone(std::in_place, server_.port(), "/live");
  TestWebSocket one(server_.port(), "/live");
  TestWebSocket two(server_.port(), "/live");
  for (TestWebSocket* each : {&one, &two, &*gone}) EXPECT_EQ(each->read(), "state 1");
  EXPECT_EQ(clientCount(), 3U);
  gone.reset();
  for (int i = 0; i < 100000 && clientCount() > 2; ++i) continue;
  EXPECT_EQ(clientCount(), 2U);
  for (const char* text : {"a", "b", "c"}) broadcast(text);
  one.send("x");
  for (const char* text : {"a", "b", "c", "echo x"}) EXPECT_EQ(one.read(), text);
  for (const char* text : {"a", "b", "c"}) EXPECT_EQ(two.read(), text);
}

TEST_F(HttpServerTest, RefusesStrangersOnItsWebSocketsAndPlainRequests) {
  const std::string own = hostLine(server_.port());
  for (const auto& [fields, status] : {std::pair(own, "101"),
                                       {own + "Origin: http://evil.example\r\n", "403"},
                                       {"Host: evil.example\r\n", "403"}}) {
    const std::string request = "GET /live HTTP/1.1\r\n" + (kUpgradeFields + fields) + "\r\n";
    EXPECT_EQ(answerTo(server_.port(), request, 12).substr(9), status) << fields;
  }
  EXPECT_EQ(statusOf(ask("GET", "/live")), 426);
  EXPECT_EQ(statusOf(ask("POST", "/live", "", "x")), 405);
}

TEST_F(HttpServerTest, GivesASlowReaderTheStateInsteadOfWhatItMissed) {
  TestWebSocket slow(server_.port(), "/live");
  EXPECT_EQ(slow.read(), "state 1");
  slow.client().socket().set_option(boost::asio::socket_base::receive_buffer_size(64 * 1024));
  // More than the sockets' buffers take, so that it stays under way.
  const std::string large(16 * 1024 * 1024, 'x');
  broadcast(large);
  broadcast("missed");
  server_.onLoop([this] { state_ = 2; });
  broadcast("missed");
  slow.send("meanwhile");
  for (bool heard = false; !heard;) server_.onLoop([&] { heard = heard_ == "meanwhile"; });
  EXPECT_TRUE(slow.read() == large);
  EXPECT_EQ(slow.read(), "state 2");
  slow.send("x");
  EXPECT_EQ(slow.read(), "echo x") << "who has caught up is heard again";
  server_.onLoop([this] {  // the second while the first is under way
    for (const char* text : {"after", "and after"}) endpoint_->broadcast(text);
  });
  for (const char* text : {"after", "and after"}) EXPECT_EQ(slow.read(), text);
}

TEST_F(HttpServerTest, BreaksWithWhoSendsTooMuchOrBytes) {
  for (const auto& [message, kind, answer] :
       {std::tuple(std::string(kMaxBodyBytes + 1, 'x'), TestWebSocket::kText, "closed 1009"),
        {"x", TestWebSocket::kBytes, "closed 1003"}}) {
    TestWebSocket live(server_.port(), "/live");
    live.read();
    live.send(message, kind);
    EXPECT_EQ(live.read(), answer);
  }
  EXPECT_EQ(clientCount(), 0U);
}

TEST(HttpServer, GoesWhileClientsAreConnected) {
  std::optional<ServerOnThread> server(std::in_place);
  auto endpoint = std::make_shared<WebSocketEndpoint>([] { return "hello"; }, WebSocketEndpoint::Received());
  server->onLoop([&] { (*server)->webSocket("/live", endpoint); });
  TestWebSocket live(server->port(), "/live");
  EXPECT_EQ(live.read(), "hello");
  live.send("to no receiver");
  endpoint.reset();
  TestClient client(server->port());
  client.send("GET / HT");
  server.reset();
  EXPECT_EQ(client.readToEnd(), "");
}

}  // namespace
}  // namespace tunevale::http
