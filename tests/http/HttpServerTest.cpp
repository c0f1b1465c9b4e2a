#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "http/HttpLimits.h"
#include "http/HttpServer.h"
#include "http/ServerOnThread.h"
#include "http/TestClient.h"

namespace tunevale::http {
namespace {

class HttpServerTest : public testing::Test {
 protected:
  HttpServerTest() {
    server_.onLoop([this] {
      server_->get("/", [](const Request&, const Respond& respond) { respond(Response::json("{}")); });
      server_->get("/under/", [](const Request& request, const Respond& respond) {
        respond(Response::json(request.path + "?" + request.query));
      });
      server_->get("/under/exact",
                   [](const Request&, const Respond& respond) { respond(Response::json("exact")); });
      server_->post("/echo", [](const Request& request, const Respond& respond) {
        respond(Response::json(request.body));
      });
      server_->get("/silent", [](const Request&, const Respond&) {});
    });
  }
  std::string ask(const std::string& method, const std::string& target, const std::string& fields = "",
                  const std::string& body = "") {
    return http::ask(server_.port(), method, target, fields, body);
  }

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
      {431, ask("GET", "/", "X: " + std::string(kMaxHeaderBytes, 'x') + "\r\n")}};
  for (const auto& [status, answer] : answers) EXPECT_EQ(statusOf(answer), status) << answer;
  for (const char* bytes : {"GET / HTTP/1.1\r\nConnection: close\r\n\r\n", "\x16\x03\x01 hello\r\n\r\n"}) {
    TestClient client(server_.port());
    client.send(bytes);
    EXPECT_EQ(statusOf(client.readToEnd()), 400) << bytes;
  }
}

TEST_F(HttpServerTest, FindsRoutesSaysWhatElseItKnowsAndKeepsOthersOut) {
  EXPECT_EQ(bodyOf(ask("GET", "/under/x%20y?a=b")), "/under/x y?a=b");
  EXPECT_EQ(bodyOf(ask("GET", "/under/exact")), "exact");
  EXPECT_EQ(bodyOf(ask("POST", "/echo", "", "hello")), "hello");
  const std::string head = ask("HEAD", "/under/exact");
  EXPECT_EQ(bodyOf(head), "");
  const std::string refused = ask("DELETE", "/echo");
  EXPECT_EQ(bodyOf(refused), R"({"error":"this path does not know that method"})");
  for (const char* field : {"Allow: POST\r\n", "default-src 'none'", "frame-ancestors 'self'",
                            "X-Content-Type-Options: nosniff\r\n", "Referrer-Policy: no-referrer\r\n",
                            "Cross-Origin-Resource-Policy: same-origin\r\n"}) {
    EXPECT_NE(refused.find(field), std::string::npos) << field;
  }
  EXPECT_NE(head.find("Content-Length: 5\r\n"), std::string::npos) << "of what is not sent";
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
    Respond later;
    std::promise<void> asked;
    server_.onLoop([&] {
      server_->get("/later", [&](const Request&, const Respond& respond) {
        later = respond;
        asked.set_value();
      });
    });
    auto client = std::make_unique<TestClient>(server_.port());
    client->send("GET /later HTTP/1.1\r\nConnection: close\r\n" + hostLine(server_.port()) + "\r\n");
    asked.get_future().wait();
    if (!stays) client.reset();
    server_.onLoop([&] {
      later(Response::json("first"));
      later(Response::json("second"));
      later = nullptr;
    });
    if (stays) {
      EXPECT_EQ(bodyOf(client->readToEnd()), "first");
    }
  }
  EXPECT_EQ(statusOf(ask("GET", "/")), 200);
}

TEST_F(HttpServerTest, ServesFilesAndOnlyThose) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(testing::TempDir()) / ("web-" + std::to_string(server_.port()));
  fs::create_directories(folder / "web" / "sub");
  const auto put = [&](const char* name, const char* text) { std::ofstream(folder / name) << text; };
  put("web/app.js", "let x;");
  put("web/sub/a.css", "a{}");
  put("web/.hidden.js", "no");
  put("web/notes.txt", "no");
  put("secret.js", "no");
  server_.onLoop([&] { server_->folder("/web/", folder / "web"); });

  const std::string answer = ask("GET", "/web/app.js");
  EXPECT_EQ(bodyOf(answer), "let x;");
  EXPECT_NE(answer.find("Content-Type: text/javascript; charset=utf-8\r\n"), std::string::npos);
  EXPECT_NE(answer.find("Cache-Control: no-cache\r\n"), std::string::npos);
  EXPECT_EQ(bodyOf(ask("GET", "/web/sub/a.css")), "a{}");
  for (const char* path : {"/web/", "/web/sub", "/web/none.js", "/web/.hidden.js", "/web/notes.txt",
                           "/web/../secret.js", "/web/%2e%2e/secret.js", "/web/sub/../../secret.js",
                           "/web//app.js", "/web/..%2fsecret.js", "/web/%2Fetc/passwd", "/web/app.js/"}) {
    EXPECT_EQ(statusOf(ask("GET", path)), 404) << path;
  }

  const std::size_t start = answer.find("ETag: ") + 6;
  const std::string etag = answer.substr(start, answer.find("\r\n", start) - start);
  const std::string known = ask("GET", "/web/app.js", "If-None-Match: " + etag + "\r\n");
  EXPECT_EQ(statusOf(known), 304);
  EXPECT_EQ(bodyOf(known), "");
  put("web/app.js", "let y;");
  EXPECT_EQ(bodyOf(ask("GET", "/web/app.js", "If-None-Match: " + etag + "\r\n")), "let y;");
  fs::remove_all(folder);
}

TEST(HttpServer, GoesWhileClientsAreConnected) {
  std::optional<TestClient> client;
  {
    ServerOnThread server;
    client.emplace(server.port());
    client->send("GET / HT");
  }
  EXPECT_EQ(client->readToEnd(), "");
}

}  // namespace
}  // namespace tunevale::http
