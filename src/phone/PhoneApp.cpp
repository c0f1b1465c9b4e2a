#include "phone/PhoneApp.h"

#include <utility>

#include <boost/json.hpp>

#include "phone/ConsoleState.h"
#include "phone/PhoneCore.h"

namespace tunevale::phone {

PhoneApp::PhoneApp(link::Strand& strand, WatchLink& link, PhoneObserver& observer,
                   const PhoneSettings& settings)
    : core_(std::make_unique<PhoneCore>(strand, link, observer, settings)) {}

PhoneApp::~PhoneApp() = default;

void PhoneApp::linkStateDidChange(const link::LinkState& state) {
  core_->catchUp();
  const link::LinkState before = std::exchange(core_->state.link, state);
  core_->events.emit("link", {{"connected", state.connected}, {"reachable", state.reachable}});
  core_->pushes.linkStateDidChange(before);
  core_->settle();
}

void PhoneApp::pairingDidChange(const PairingState& pairing) {
  core_->state.pairing = pairing;
  core_->events.emit("pairing", pairingObject(pairing));
  core_->settle();
}

void PhoneApp::queuesDidReset() {
  core_->events.emit("queue_reset", {});
}

Answer PhoneApp::didReceiveMessage(const PlistDictionary& message) {
  core_->catchUp();
  Answer answer = core_->requests.answer(message);
  core_->traffic.answered(message, answer);
  core_->settle();
  return answer;
}

DataAnswer PhoneApp::didReceiveMessageData(ByteView data) {
  core_->catchUp();
  DataAnswer answer = core_->requests.answerData(data);
  core_->traffic.answered(data, answer);
  core_->settle();
  return answer;
}

void PhoneApp::didReceiveUserInfo(const PlistDictionary& userInfo) {
  core_->traffic.received("user_info", userInfo);
  core_->settle();
}

void PhoneApp::didReceiveApplicationContext(const PlistDictionary& context) {
  core_->traffic.received("context", context);
  core_->settle();
}

void PhoneApp::didReceiveFile(std::size_t size, const PlistDictionary& metadata) {
  core_->traffic.receivedFile(size, metadata);
  core_->settle();
}

void PhoneApp::command(std::string_view line, Origin origin) {
  core_->catchUp();
  core_->commands.obey(line, origin);
  core_->settle();
}

void PhoneApp::rejectCommand(std::string_view why) {
  core_->events.error(why, {});
}

std::string PhoneApp::consoleState() const {
  return phone::consoleState(core_->state, core_->traffic);
}

}  // namespace tunevale::phone
