#pragma once

#include <string>

#include <boost/json/fwd.hpp>

#include "phone/PhoneState.h"
#include "phone/Traffic.h"

namespace tunevale::phone {

/// What the phone is doing, for "state" events and the console; docs/phone.md gives the shape.
boost::json::object stateObject(const PhoneState& state);
/// How it is paired, for "pairing" events.
boost::json::object pairingObject(const PairingState& pairing);
/// The same as stateObject() with what moves by itself ("position", "now") and the log of the link.
std::string consoleState(const PhoneState& state, const Traffic& traffic);

}  // namespace tunevale::phone
