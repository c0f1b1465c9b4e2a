#include "http/HttpSession.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message_generator.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include "http/HttpLimits.h"
#include "http/WebSocketSession.h"

namespace tunevale::http {

namespace beast = boost::beast;
using boost::asio::ip::tcp;
using boost::system::error_code;

namespace {

/// Answers in the handler's stead when it forgets to.
class Answer {
 public:
  explicit Answer(std::function<void(const Response&)> write) : write_(std::move(write)) {}
  ~Answer() { give(Response::refusal(500, "there was no answer")); }
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;
  void give(const Response& response) {
    if (auto write = std::exchange(write_, nullptr)) write(response);
  }

 private:
  std::function<void(const Response&)> write_;
};

/// Nothing from elsewhere is loaded, and no page from elsewhere frames or reads ours.
void setSecurityFields(beast::http::fields& fields) {
  fields.set(
      "Content-Security-Policy",
      "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; font-src 'self'; "
      "connect-src 'self'; manifest-src 'self'; frame-src 'self'; frame-ancestors 'self'; "
      "base-uri 'none'; form-action 'none'");
  fields.set("X-Content-Type-Options", "nosniff");
  fields.set("Referrer-Policy", "no-referrer");
  fields.set("Cross-Origin-Resource-Policy", "same-origin");
}

}  // namespace

HttpSession::HttpSession(tcp::socket socket, std::shared_ptr<ServerState> state)
    : state_(std::move(state)), stream_(std::move(socket)) {
  error_code ignored;
  const tcp::endpoint local = stream_.socket().local_endpoint(ignored);
  reached_ = local.address().to_string();
  state_->connections.insert(this);
}

HttpSession::~HttpSession() {
  state_->connections.erase(this);
}

void HttpSession::stop() {
  stream_.close();
}

void HttpSession::readRequest() {
  parser_.emplace();
  parser_->header_limit(kMaxHeaderBytes);
  parser_->body_limit(kMaxBodyBytes);
  stream_.expires_after(kRequestTime);
  beast::http::async_read(
      stream_, buffer_, *parser_,
      [self = shared_from_this()](error_code error, std::size_t) { self->requestDidArrive(error); });
}

void HttpSession::requestDidArrive(error_code error) {
  namespace http = beast::http;
  if (state_->stopped) return;
  if (!error) return dispatch();
  if (error == http::error::body_limit) return refuseAndClose(413, "the body is too large");
  if (error == http::error::header_limit) return refuseAndClose(431, "the header is too large");
  if (error == http::error::end_of_stream || error == http::error::partial_message) return linger();
  if (error.category() == http::make_error_code(http::error::bad_method).category()) {
    return refuseAndClose(400, "this is no HTTP request");
  }
}

std::optional<Response> HttpSession::refusalOf(const Parser::value_type& message) const {
  using beast::http::field;
  if (message.count(field::host) != 1) return Response::refusal(400, "there must be one Host");
  if (!state_->names.isOwnHost(message[field::host], reached_)) {
    return Response::refusal(403, "this server does not answer under that Host");
  }
  const auto origin = message.find(field::origin);
  if (origin != message.end() && !state_->names.isOwnOrigin(origin->value(), reached_)) {
    return Response::refusal(403, "this server answers only its own pages");
  }
  return std::nullopt;
}

void HttpSession::dispatch() {
  using beast::http::verb;
  const auto& message = parser_->get();
  if (const auto refusal = refusalOf(message)) return write(*refusal);

  const std::string_view target = message.target();
  const std::size_t question = target.find('?');
  const auto path = decodedPath(target.substr(0, question));
  if (!path) return write(Response::refusal(400, "this is no path"));
  const std::string_view query =
      question == std::string_view::npos ? std::string_view() : target.substr(question + 1);

  const Route* const route = state_->routeOf(*path);
  if (route == nullptr) return write(Response::refusal(404, "there is nothing at this path"));
  const verb method = message.method();
  if (route->webSocket && method == verb::get) {
    if (beast::websocket::is_upgrade(message)) return upgrade(route->webSocket);
    if (!route->get) return write(Response::refusal(426, "this path speaks WebSocket"));
  }
  const bool reads = method == verb::get || method == verb::head;
  const Handler handler = reads ? route->get : method == verb::post ? route->post : Handler();
  if (!handler) {
    return write(Response::refusal(405, "this path does not know that method"), route->allowed());
  }
  call(handler, *path, query);
}

void HttpSession::call(const Handler& handler, const std::string& path, std::string_view query) {
  auto& message = parser_->get();
  const bool posts = message.method() == beast::http::verb::post;
  const Request request{posts ? "POST" : "GET", path, std::string(query), std::move(message.body())};
  // The clock stands while the handler works.
  stream_.expires_never();
  const auto answer = std::make_shared<Answer>(
      [self = shared_from_this()](const Response& response) { self->write(response); });
  handler(request, [answer](const Response& response) { answer->give(response); });
}

void HttpSession::write(const Response& response, std::string_view allow) {
  namespace http = beast::http;
  using http::field;
  if (state_->stopped) return;
  const auto& request = parser_->get();
  const std::string etag = response.etag.empty() ? "" : '"' + response.etag + '"';
  const bool known = !etag.empty() && response.status == 200 && request[field::if_none_match] == etag;
  const bool bodiless = known || request.method() == http::verb::head;

  http::response<http::string_body> message(
      known ? http::status::not_modified : http::int_to_status(static_cast<unsigned>(response.status)),
      request.version());
  setSecurityFields(message);
  if (!response.contentType.empty()) message.set(field::content_type, response.contentType);
  message.set(field::cache_control, response.cacheControl);
  if (!etag.empty()) message.set(field::etag, etag);
  if (!allow.empty()) message.set(field::allow, allow);
  if (response.status == 426) message.set(field::upgrade, "websocket");
  message.keep_alive(request.keep_alive());
  if (!known) message.content_length(response.body.size());
  if (!bodiless) message.body() = response.body;

  stream_.expires_after(kRequestTime);
  const auto written = [self = shared_from_this()](bool more, error_code error) {
    if (error || self->state_->stopped) return;
    more ? self->readRequest() : self->linger();
  };
  const bool more = message.keep_alive();
  if (bodiless) {
    // The length of what is not sent stays in the header.
    http::response<http::empty_body> head(std::move(message.base()));
    beast::async_write(stream_, http::message_generator(std::move(head)),
                       [written, more](error_code error, std::size_t) { written(more, error); });
    return;
  }
  beast::async_write(stream_, http::message_generator(std::move(message)),
                     [written, more](error_code error, std::size_t) { written(more, error); });
}

void HttpSession::refuseAndClose(int status, std::string_view reason) {
  parser_->get().keep_alive(false);
  write(Response::refusal(status, reason));
}

void HttpSession::upgrade(std::shared_ptr<WebSocketEndpoint> endpoint) {
  stream_.expires_never();
  std::make_shared<WebSocketSession>(std::move(stream_), state_, std::move(endpoint))
      ->accept(parser_->release());
}

void HttpSession::linger() {
  error_code ignored;
  stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
  stream_.expires_after(kLingerTime);
  discard();
}

void HttpSession::discard() {
  buffer_.clear();
  stream_.async_read_some(buffer_.prepare(kMaxBodyBytes),
                          [self = shared_from_this()](error_code error, std::size_t) {
                            if (!error && !self->state_->stopped) self->discard();
                          });
}

}  // namespace tunevale::http
