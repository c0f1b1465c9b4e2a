#include "phone/ConsoleState.h"

#include <utility>

#include <boost/json.hpp>

#include "foundation/Text.h"
#include "phone/Artwork.h"
#include "phone/Catalogue.h"

namespace tunevale::phone {

namespace json = boost::json;

namespace {

constexpr std::size_t kMostQueueShown = 100;  // a queue that a script has made may be any length

const PlistDictionary* dictionaryIn(const PlistDictionary& record, std::string_view key) {
  const PlistValue* value = record.find(key);
  return value == nullptr ? nullptr : value->dictionary();
}

/// The names of the main artists, of the featured ones when there are none, or the show of an episode.
std::string artistOf(const PlistDictionary& song) {
  const PlistDictionary* moreInfo = dictionaryIn(song, "more_info");
  if (moreInfo == nullptr) return {};
  const PlistDictionary* map = dictionaryIn(*moreInfo, "artistMap");
  if (map == nullptr) return plainText(textOf(*moreInfo, "show_title"));
  std::string names;
  for (const std::string_view kind : {"primary_artists", "featured_artists"}) {
    const PlistValue* artists = map->find(kind);
    if (artists == nullptr || artists->array() == nullptr || !names.empty()) continue;
    for (const PlistValue& artist : *artists->array()) {
      if (artist.dictionary() == nullptr) continue;
      const std::string_view name = textOf(*artist.dictionary(), "name");
      if (name.empty() || name == "NULL") continue;
      names += (names.empty() ? "" : ", ") + plainText(name);
    }
  }
  return names;
}

json::object songObject(const PlistDictionary& song) {
  const PlistDictionary* moreInfo = dictionaryIn(song, "more_info");
  return {{"id", textOf(song, "id")},
          {"title", plainText(textOf(song, "title"))},
          {"album", moreInfo == nullptr ? std::string() : plainText(textOf(*moreInfo, "album"))},
          {"artist", artistOf(song)},
          {"type", textOf(song, "type")},
          {"language", textOf(song, "language")},
          {"artwork", Artwork(artworkName(song)).id()},
          {"duration", durationOf(song).count()}};
}

json::object switchesObject(const Switches& switches) {
  return {{"locked", switches.locked},   {"reachable", switches.reachable}, {"silent", switches.silent},
          {"failing", switches.failing}, {"pushes", switches.pushes},       {"refuse", switches.refuse}};
}

json::value textOrNull(std::string_view text) {
  return text.empty() ? json::value() : json::value(json::string(text));
}

json::array logArray(const Traffic& traffic) {
  json::array lines;
  for (auto entry = traffic.log().rbegin(); entry != traffic.log().rend(); ++entry) {
    lines.push_back(json::object{{"n", entry->number},
                                 {"at", entry->at},
                                 {"direction", entry->incoming ? "in" : "out"},
                                 {"transport", entry->transport},
                                 {"what", entry->what},
                                 {"size", entry->size},
                                 {"result", entry->result}});
  }
  return lines;
}

}  // namespace

json::object pairingObject(const PairingState& pairing) {
  return {{"watch", textOrNull(pairing.watch ? link::fingerprint(*pairing.watch) : "")},
          {"step", wordFor(pairing.status.step)},
          {"code", textOrNull(pairing.status.code)},
          {"text", textOrNull(pairing.status.text)},
          {"trouble", textOrNull(wordFor(pairing.trouble))}};
}

json::object stateObject(const PhoneState& state) {
  const Player& player = state.player;
  json::array queue;
  for (std::size_t i = 0; i < player.queue().size() && i < kMostQueueShown; ++i) {
    queue.push_back(songObject(*player.queue().at(i)->dictionary()));
  }
  json::array languages;
  for (const std::string_view language : catalogueLanguages()) languages.push_back(json::string(language));
  json::array cached;
  for (const std::string& id : state.cached) cached.push_back(json::string(id));
  return {{"song", player.song() == nullptr ? json::value() : json::value(songObject(*player.song()))},
          {"playing", player.isPlaying()},
          {"index", player.index()},
          {"queue", std::move(queue)},
          {"queue_length", player.queue().size()},
          {"volume", player.volume()},
          {"language", state.language},
          {"languages", std::move(languages)},
          {"cached", std::move(cached)},
          {"switches", switchesObject(state.switches)},
          {"link", {{"connected", state.link.connected}, {"reachable", state.link.reachable}}},
          {"pairing", pairingObject(state.pairing)}};
}

std::string consoleState(const PhoneState& state, const Traffic& traffic) {
  json::object object = stateObject(state);
  object["position"] = state.player.position().count();
  object["duration"] = state.player.duration().count();
  object["now"] = traffic.now();
  object["log"] = logArray(traffic);
  return json::serialize(object);
}

}  // namespace tunevale::phone
