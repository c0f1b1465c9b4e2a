#include "http/HttpMessages.h"

#include <boost/json.hpp>

namespace tunevale::http {

Response Response::json(std::string body, int status) {
  Response response;
  response.status = status;
  response.contentType = "application/json";
  response.body = std::move(body);
  return response;
}

Response Response::refusal(int status, std::string_view reason) {
  return json(boost::json::serialize(boost::json::object{{"error", reason}}), status);
}

}  // namespace tunevale::http
