#pragma once

#include <set>
#include <string>
#include <utility>

#include "link/SessionDelegate.h"
#include "phone/PairingState.h"
#include "phone/PhoneSettings.h"
#include "phone/Player.h"

namespace tunevale::phone {

/// What the parts of the phone share.
struct PhoneState {
  explicit PhoneState(std::function<Player::Time()> now) : player(std::move(now)) {}

  Player player;
  std::string language;          // of the chart
  std::set<std::string> cached;  // ids of the songs that are on the phone
  Switches switches;
  link::LinkState link;
  PairingState pairing;

  PlistArray cachedIds() const {
    PlistArray ids;
    for (const std::string& id : cached) ids.append(id);
    return ids;
  }
};

/// A text of a record, or "".
inline std::string_view textOf(const PlistDictionary& record, std::string_view key) {
  const PlistValue* value = record.find(key);
  return value == nullptr ? std::string_view() : value->string().value_or("");
}

/// The name that a song's or station's artwork is drawn from: its id, or its title when it has none.
inline std::string_view artworkName(const PlistDictionary& record) {
  const std::string_view id = textOf(record, "id");
  return id.empty() ? textOf(record, "title") : id;
}

}  // namespace tunevale::phone
