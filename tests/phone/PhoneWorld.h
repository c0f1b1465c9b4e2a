#pragma once

#include <string>
#include <vector>

#include <boost/json.hpp>

#include "ModelWatch.h"

namespace tunevale::test {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// A phone, a watch and the time between them.
struct PhoneWorld : phone::PhoneObserver {
  explicit PhoneWorld(const phone::PhoneSettings& settings = {}) : phone(strand, watch, *this, settings) {
    watch.pairWith(phone);
  }

  void phoneDidEmit(const std::string& event) override {
    events.push_back(boost::json::parse(event).as_object());
  }
  void phoneDidChange() override { ++changes; }
  void phoneDidQuit() override { ++quits; }

  void start(const std::string& run = "run 1") {
    watch.connect(run);
    strand.run();
  }
  void command(const std::string& line, phone::Origin origin = phone::Origin::script) {
    phone.command(line, origin);
    strand.run();
  }
  /// What the phone answers to a request without or with other members.
  phone::Answer ask(const char* request, PlistDictionary more = {}) {
    more.set("request", request);
    phone::Answer answer = phone.didReceiveMessage(more);
    strand.run();
    return answer;
  }
  boost::json::object state() const { return boost::json::parse(phone.consoleState()).as_object(); }
  std::vector<boost::json::object> eventsNamed(std::string_view name) const {
    std::vector<boost::json::object> found;
    for (const auto& event : events) {
      if (event.at("event").as_string() == name) found.push_back(event);
    }
    return found;
  }

  link::ManualStrand strand;
  ModelWatch watch{strand};
  std::vector<boost::json::object> events;
  int changes = 0;
  int quits = 0;
  phone::PhoneApp phone;
};

}  // namespace tunevale::test
