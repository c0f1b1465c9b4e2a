#include "phone/Console.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include "http/HttpServer.h"
#include "phone/Artwork.h"
#include "phone/Phone.h"

namespace tunevale::phone {

namespace {

constexpr std::string_view kArtworkPath = "/phone/artwork/";

void answerArtwork(const http::Request& request, const http::Respond& respond) {
  const auto artwork = Artwork::withId(std::string_view(request.path).substr(kArtworkPath.size()));
  if (!artwork) {
    respond(http::Response::refusal(404, "no such picture"));
    return;
  }
  http::Response response;
  response.contentType = "image/jpeg";
  response.body = asText(artwork->encoded(PictureFormat::jpeg));
  response.cacheControl = "max-age=86400";  // an id stands for one picture
  respond(std::move(response));
}

}  // namespace

/// Runs on the server's loop, but for what it hears of the phone.
struct Console::State : std::enable_shared_from_this<State>, PhoneObserver {
  State(Phone& which, boost::asio::io_context& where)
      : phone(which), loop(where), latest(which.firstState()) {}

  // On the phone's thread.
  void phoneDidEmit(const std::string& event) override {
    if (!event.starts_with(R"({"event":"done")") && !event.starts_with(R"({"event":"error")")) return;
    onLoop([text = R"({"event":)" + event + "}"](State& self) { self.live->broadcast(text); });
  }
  void phoneDidChange() override {
    onLoop([](State& self) {
      if (self.live->clientCount() > 0) self.ask();
    });
  }
  void onLoop(std::function<void(State&)> block) {
    boost::asio::post(loop, [weak = weak_from_this(), block = std::move(block)] {
      const auto self = weak.lock();
      if (self != nullptr && self->open) block(*self);
    });
  }

  /// Has the phone tell its state, at most one question at a time.
  void ask() {
    changedSince = asked;
    if (std::exchange(asked, true)) return;
    phone.state([weak = weak_from_this()](std::string json) {
      if (const auto self = weak.lock()) {
        self->onLoop([json = std::move(json)](State& state) mutable { state.didHear(std::move(json)); });
      }
    });
  }
  void didHear(std::string json) {
    latest = std::move(json);
    for (const http::Respond& respond : std::exchange(waiting, {})) respond(http::Response::json(latest));
    live->broadcast(stateText());
    asked = false;
    if (std::exchange(changedSince, false)) ask();
  }
  std::string stateText() const { return R"({"state":)" + latest + "}"; }

  Phone& phone;
  boost::asio::io_context& loop;
  std::string latest;
  std::shared_ptr<http::WebSocketEndpoint> live;
  std::vector<http::Respond> waiting;
  bool asked = false;
  bool changedSince = false;
  bool open = true;
};

Console::Console(Phone& phone, http::HttpServer& server, boost::asio::io_context& loop,
                 const std::filesystem::path& webFolder)
    : state_(std::make_shared<State>(phone, loop)) {
  const std::weak_ptr<State> weak = state_;
  state_->live = std::make_shared<http::WebSocketEndpoint>(
      [weak] {
        const auto state = weak.lock();
        if (state == nullptr) return std::string();
        if (state->open) state->ask();  // what was heard last may be old
        return state->stateText();
      },
      [weak](http::WebSocketClient&, std::string_view text) {
        const auto state = weak.lock();
        if (state != nullptr && state->open) state->phone.perform(std::string(text), Origin::console);
      });
  phone.addObserver(state_);
  server.get("/phone", [webFolder](const http::Request&, const http::Respond& respond) {
    respond(http::fileResponse(webFolder / "phone", "index.html"));
  });
  server.folder("/phone/", webFolder / "phone");
  server.folder("/common/", webFolder / "common");
  server.get("/phone/state", [weak](const http::Request&, const http::Respond& respond) {
    const auto state = weak.lock();
    if (state == nullptr || !state->open) return;  // 500: the phone has gone
    state->waiting.push_back(respond);
    state->ask();
  });
  server.get(std::string(kArtworkPath), answerArtwork);
  server.webSocket("/phone/live", state_->live);
}

Console::~Console() {
  state_->open = false;
  state_->waiting.clear();
}

}  // namespace tunevale::phone
