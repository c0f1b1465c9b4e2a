#include "host/DisplayServer.h"

#include <boost/json.hpp>

#include "host/ImageStore.h"
#include "host/InputHandler.h"
#include "host/Publisher.h"
#include "host/Settler.h"

namespace tunevale::host {

namespace json = boost::json;
using http::Request;
using http::Respond;
using http::Response;

namespace {

const std::string kImages = "/api/image/";

}  // namespace

DisplayServer::DisplayServer(http::HttpServer& server, const Parts& parts) : parts_(parts) {
  live_ = std::make_shared<http::WebSocketEndpoint>(
      [this] { return parts_.publisher.greeting(); },
      [this](http::WebSocketClient& client, std::string_view text) { takeInput(client, text); });
  server.webSocket("/api/live", live_);
  server.get("/api/screen", [this](const Request&, const Respond& respond) {
    respond(Response::json(parts_.publisher.screen()));
  });
  server.post("/api/input",
              [this](const Request& request, const Respond& respond) { answerInput(request, respond); });
  server.get(kImages, [this](const Request& request, const Respond& respond) {
    answerImage(request.path.substr(kImages.size()), respond);
  });
  server.get("/", [this](const Request&, const Respond& respond) {
    respond(http::fileResponse(parts_.webFolder, "index.html"));
  });
  server.folder("/", parts_.webFolder);
}

void DisplayServer::answerImage(const std::string& id, const Respond& respond) {
  if (const auto file = parts_.images.fileOf(id))
    return respond(http::fileResponse(parts_.imageFolder, *file));
  parts_.images.encoded(id, [respond](const ImageStore::Png& png) {
    if (!png) return respond(Response::refusal(404, "there is no such image"));
    Response response;
    response.contentType = "image/png";
    response.body = *png;
    response.cacheControl = "max-age=31536000, immutable";
    respond(std::move(response));
  });
}

void DisplayServer::answerInput(const Request& request, const Respond& respond) {
  const InputOutcome outcome = parts_.inputs.handle(request.body);
  if (outcome.kind != InputOutcome::Kind::done) {
    const bool malformed = outcome.kind == InputOutcome::Kind::malformed;
    return respond(Response::refusal(malformed ? 400 : 409, outcome.why));
  }
  parts_.settler.wait([this, respond] { respond(Response::json(parts_.publisher.screen())); });
}

void DisplayServer::takeInput(http::WebSocketClient& client, std::string_view text) {
  const InputOutcome outcome = parts_.inputs.handle(text);
  if (outcome.kind == InputOutcome::Kind::done) return;
  json::error_code error;
  json::value input = json::parse(text, error);
  if (error) input = nullptr;
  const json::object refusal{{"refused", outcome.why}, {"input", std::move(input)}};
  client.send(std::make_shared<const std::string>(json::serialize(refusal)));
}

}  // namespace tunevale::host
