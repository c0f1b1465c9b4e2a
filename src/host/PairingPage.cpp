#include "host/PairingPage.h"

#include <array>

#include <boost/json.hpp>

#include "host/QrCode.h"
#include "http/HttpServer.h"

namespace tunevale::host {

namespace json = boost::json;
using http::Request;
using http::Respond;
using http::Response;

namespace {

constexpr std::array<std::string_view, 7> kSteps{"closed", "open",       "comparing", "waiting",
                                                 "paired", "incomplete", "failed"};
constexpr std::array<std::string_view, 3> kTroubles{"none", "incomplete", "other key"};

json::value keyJson(const std::optional<link::KeyHash>& key) {
  return key ? json::value(link::fingerprint(*key)) : json::value();
}

json::value textOrNull(const std::string& text) {
  return text.empty() ? json::value() : json::value(text);
}

const std::string* textIn(const json::value& value, std::string& place) {
  if (!value.is_string()) return nullptr;
  place = std::string(value.get_string());
  return &place;
}

}  // namespace

json::object pairingJson(const PairingView& view) {
  json::object pairing;
  pairing["phone"] = keyJson(view.peer);
  pairing["step"] = kSteps[static_cast<std::size_t>(view.status.step)];
  pairing["code"] = textOrNull(view.status.code);
  pairing["text"] = textOrNull(view.status.text);
  pairing["caller"] =
      view.status.code.empty() ? json::value() : json::value(link::fingerprint(view.status.peer));
  pairing["trouble"] = view.trouble == PairingView::Trouble::none
                           ? json::value()
                           : json::value(kTroubles[static_cast<std::size_t>(view.trouble)]);
  pairing["stranger"] = keyJson(view.stranger);
  pairing["address"] = textOrNull(view.address);
  const auto closes = std::chrono::duration_cast<std::chrono::milliseconds>(view.closesAt.time_since_epoch());
  pairing["closes_at"] = view.address.empty() ? json::value() : json::value(closes.count());
  return pairing;
}

PairingRefusal obeyPairing(PairingControl& control, std::string_view body) {
  json::error_code error;
  const json::value input = json::parse(body, error);
  if (error || !input.is_object() || input.get_object().size() != 1) {
    return {400, "the body is no JSON object with one member"};
  }
  const auto& [key, value] = *input.get_object().begin();
  const std::string_view what = key;
  const bool isTrue = value == json::value(true);
  const PairingView view = control.view();
  std::string code;
  if (what == "open" && isTrue) {
    control.open(true, true);
  } else if (what == "close" && isTrue) {
    control.close();
  } else if ((what == "yes" || what == "no") && textIn(value, code) != nullptr) {
    if (view.status.step != link::PairingStatus::Step::comparing || view.status.code != code) {
      return {409, "that code is not being compared"};
    }
    control.answer(code, what == "yes");
  } else if (what == "unpair" && isTrue) {
    if (!view.peer) return {409, "no phone is paired"};
    if (const auto why = control.unpair()) return {409, *why};
  } else if (what == "dismiss" && isTrue) {
    control.dismissTrouble();
  } else {
    return {400, "this is nothing that pairing knows"};
  }
  return {};
}

void addPairingRoutes(http::HttpServer& server, PairingControl& control) {
  server.get("/api/pairing", [&control](const Request&, const Respond& respond) {
    respond(Response::json(json::serialize(pairingJson(control.view()))));
  });
  server.post("/api/pairing", [&control](const Request& request, const Respond& respond) {
    const PairingRefusal refusal = obeyPairing(control, request.body);
    if (refusal.status != 0) return respond(Response::refusal(refusal.status, refusal.why));
    respond(Response::json(json::serialize(pairingJson(control.view()))));
  });
  server.get("/api/pairing/qr.svg", [&control](const Request&, const Respond& respond) {
    Response response;
    response.contentType = "image/svg+xml";
    response.body = qrCodeSvg(control.view().address);
    if (response.body.empty()) return respond(Response::refusal(404, "there is no address now"));
    respond(std::move(response));
  });
}

}  // namespace tunevale::host
