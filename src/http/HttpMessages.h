#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tunevale::http {

/// What a client asks. HEAD arrives as GET.
struct Request {
  std::string method;  // "GET" or "POST"
  std::string path;    // percent-decoded UTF-8, begins with a slash
  std::string query;   // as sent, without the question mark
  std::string body;    // at most kMaxBodyBytes
};

/// What the server answers.
struct Response {
  int status = 200;
  std::string contentType;
  std::string body;
  std::string cacheControl = "no-store";
  std::string etag;  // without quotes; a client that has it already is answered 304

  static Response json(std::string body, int status = 200);
  /// `{"error": reason}` under a status.
  static Response refusal(int status, std::string_view reason);
};

/// Answers one request: on the loop's thread, at once or later, once (later calls do nothing). Dropping every
/// copy uncalled answers 500. It may be called after the client or the server has gone.
using Respond = std::function<void(Response)>;
using Handler = std::function<void(const Request&, const Respond&)>;

}  // namespace tunevale::http
