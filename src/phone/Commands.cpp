#include "phone/Commands.h"

#include <utility>

#include <boost/json.hpp>

#include "foundation/KeyedArchive.h"
#include "phone/Artwork.h"
#include "phone/Catalogue.h"
#include "phone/CommandFile.h"
#include "phone/CommandReader.h"
#include "phone/ConsoleState.h"

namespace tunevale::phone {

namespace json = boost::json;

namespace {

/// Tagged JSON has two levels for each container, and the command one more.
constexpr std::size_t kMostJsonDepth = 2 * 64 + 8;
constexpr std::size_t kLongestRef = 100;
constexpr std::size_t kLongestRefusal = 1000;
constexpr std::int64_t kMostIndex = 1'000'000;

std::string textAt(const json::object& command, std::string_view name) {
  const json::value* value = command.if_contains(name);
  const json::string* text = value == nullptr ? nullptr : value->if_string();
  return text == nullptr ? std::string() : std::string(*text);
}

/// The dictionary with the values of some keys turned into keyed archives.
PlistDictionary withArchives(PlistDictionary body, const std::set<std::string>& keys, CommandReader& reader) {
  for (const std::string& key : keys) {
    const PlistValue* value = body.find(key);
    if (value == nullptr) {
      reader.fail("archive names a key that is not in the body");
    } else {
      body.set(key, archivedDataWithRootObject(PlistValue(*value)));
    }
  }
  return body;
}

}  // namespace

void Commands::obey(std::string_view line, Origin origin) {
  if (line.size() > kMostCommandLine) return events_.error("the line is too long", {});
  json::parse_options options;
  options.max_depth = kMostJsonDepth;
  boost::system::error_code failure;
  const json::value parsed = json::parse(json::string_view(line), failure, {}, options);
  if (failure) return events_.error("not JSON: " + failure.message(), {});
  const json::object* command = parsed.if_object();
  if (command == nullptr) return events_.error("not a JSON object", {});

  std::string ref = textAt(*command, "ref");
  CommandReader reader(*command);
  reader.text("ref");
  if (ref.size() > kLongestRef) {
    reader.fail("ref is too long");
    ref.clear();
  }
  const std::string name = reader.required<std::string>("do", &CommandReader::text);
  const Deed wanted = deed(name, reader, origin);
  if (!reader.finish()) return events_.error(reader.error(), ref);
  wanted();
  events_.emit("done", {{"do", name}}, ref);
}

Commands::Deed Commands::deed(const std::string& name, CommandReader& reader, Origin origin) {
  for (Deed found :
       {sending(name, reader, origin), pushing(name, reader), playing(name, reader), pairing(name, reader)}) {
    if (found) return found;
  }
  if (name == "set") return switching(reader);
  if (name == "cached") return caching(reader);
  if (name == "state") return [this] { events_.emit("state", stateObject(state_)); };
  if (name == "quit") {
    if (origin != Origin::script) reader.fail("only a script may end the phone");
    return [this] { observer_.phoneDidQuit(); };
  }
  reader.fail("do names no command");
  return {};
}

Commands::Deed Commands::sending(const std::string& name, CommandReader& reader, Origin origin) {
  const Label label{"command", reader.text("ref").value_or("")};
  if (name == "message" || name == "user_info" || name == "context") {
    const PlistDictionary body =
        withArchives(reader.requiredDictionary("body"), reader.texts("archive"), reader);
    if (name == "message") return [this, label, body] { traffic_.message(label, body); };
    if (name == "user_info") return [this, label, body] { traffic_.userInfo(label, body); };
    return [this, label, body] { traffic_.context(label, body); };
  }
  if (name == "data") {
    Bytes bytes;
    if (reader.has("raw")) {
      bytes = reader.required<Bytes>("raw", &CommandReader::base64);
    } else {
      bytes = archivedDataWithRootObject(reader.required<PlistValue>("body", &CommandReader::tagged));
    }
    return [this, label, bytes] { traffic_.messageData(label, bytes); };
  }
  if (name == "file") return sendingFile(reader, origin, label);
  return {};
}

Commands::Deed Commands::sendingFile(CommandReader& reader, Origin origin, Label label) {
  PlistDictionary metadata;
  if (reader.has("metadata")) metadata = reader.requiredDictionary("metadata");
  Bytes contents;
  if (reader.has("path")) {
    const std::string path = reader.required<std::string>("path", &CommandReader::text);
    if (origin != Origin::script) {
      reader.fail("only a script may name a path");
    } else if (reader.error().empty()) {
      std::string why;
      contents = readCommandFile(path, why).value_or(Bytes());
      if (!why.empty()) reader.fail("path: " + why);
    }
  } else if (reader.has("artwork")) {
    const std::string name = reader.required<std::string>("artwork", &CommandReader::text);
    const std::string format = reader.text("format").value_or("jpeg");
    if (format != "jpeg" && format != "png") reader.fail("format is neither jpeg nor png");
    contents = Artwork(name).encoded(format == "png" ? PictureFormat::png : PictureFormat::jpeg);
  } else {
    contents = reader.required<Bytes>("data", &CommandReader::base64);
  }
  return [this, label = std::move(label), metadata, contents] { traffic_.file(label, contents, metadata); };
}

Commands::Deed Commands::pushing(const std::string& name, CommandReader& reader) {
  using Thing = Pushes::Thing;
  if (name == "push_chart" || name == "push_user_info") {
    const std::string language = reader.text("language").value_or(state_.language);
    if (!isCatalogueLanguage(language)) reader.fail("language is none of ours");
    const Thing thing = name == "push_chart" ? Thing::chart : Thing::chartUserInfo;
    return [this, language, thing] {
      state_.language = language;
      pushes_.demand(thing);
    };
  }
  if (name == "push_stations") return [this] { pushes_.demand(Thing::stations); };
  if (name == "push_artwork") return [this] { pushes_.demandArtwork(); };
  if (name == "push_cached") return [this] { pushes_.demand(Thing::cachedContext); };
  if (name == "push_now_playing") return [this] { pushes_.demandNowPlaying(); };
  return {};
}

Commands::Deed Commands::player(void (Player::*operation)()) {
  return [this, operation] { (state_.player.*operation)(); };
}

Commands::Deed Commands::playing(const std::string& name, CommandReader& reader) {
  if (name == "play") return player(&Player::play);
  if (name == "pause") return player(&Player::pause);
  if (name == "next") return player(&Player::next);
  if (name == "prev") return player(&Player::previous);
  if (name == "empty_queue") return player(&Player::clear);
  const auto load = [this](PlistArray songs, std::size_t index, Player::AtEnd atEnd) {
    return [this, songs = std::move(songs), index, atEnd] {
      state_.player.load(songs, index, atEnd);
      state_.player.play();
    };
  };
  if (name == "play_song") {
    const PlistArray songs = chartSongs(state_.language);
    const auto last = static_cast<std::int64_t>(songs.size()) - 1;
    return load(songs, static_cast<std::size_t>(reader.requiredNumber("index", 0, last)),
                Player::AtEnd::stop);
  }
  if (name == "play_episode") return load({podcastEpisode()}, 0, Player::AtEnd::stop);
  if (name == "play_station") {
    const PlistDictionary lists = stationLists();
    const PlistValue* list = lists.find(reader.text("type").value_or("featured"));
    const auto index = static_cast<std::size_t>(reader.requiredNumber("index", 0, kMostIndex));
    const PlistValue* station = list == nullptr ? nullptr : list->array()->at(index);
    if (station == nullptr) {
      reader.fail("there is no such station");
      return [] {};
    }
    return load(stationSongs(*station->dictionary()), 0, Player::AtEnd::startOver);
  }
  if (name == "volume") {
    const auto value = static_cast<int>(reader.requiredNumber("value", 0, kLoudest));
    return [this, value] {
      if (value == state_.player.volume()) return;
      state_.player.setVolume(value);
      pushes_.want(Pushes::Thing::volume);
    };
  }
  return {};
}

Commands::Deed Commands::switching(CommandReader& reader) {
  Switches wanted = state_.switches;
  wanted.locked = reader.flag("locked").value_or(wanted.locked);
  wanted.reachable = reader.flag("reachable").value_or(wanted.reachable);
  wanted.silent = reader.flag("silent").value_or(wanted.silent);
  wanted.failing = reader.flag("failing").value_or(wanted.failing);
  wanted.pushes = reader.flag("pushes").value_or(wanted.pushes);
  wanted.refuse = reader.text("refuse").value_or(wanted.refuse);
  if (wanted.refuse.size() > kLongestRefusal) reader.fail("refuse is too long");
  return [this, wanted] {
    const Switches before = std::exchange(state_.switches, wanted);
    // Not even for a moment is the phone reachable in between.
    if (!wanted.reachable && before.reachable) link_.setActive(false);
    if (wanted.locked != before.locked) link_.setLocked(wanted.locked);
    if (wanted.reachable && !before.reachable) link_.setActive(true);
    if (wanted.pushes && !before.pushes && state_.link.connected) pushes_.wantEverything();
  };
}

Commands::Deed Commands::caching(CommandReader& reader) {
  const std::set<std::string> added = reader.texts("add");
  const std::set<std::string> removed = reader.texts("remove");
  return [this, added, removed] {
    const std::set<std::string> before = state_.cached;
    state_.cached.insert(added.begin(), added.end());
    for (const std::string& id : removed) state_.cached.erase(id);
    if (state_.cached != before) pushes_.want(Pushes::Thing::cachedContext);
  };
}

Commands::Deed Commands::pairing(const std::string& name, CommandReader& reader) {
  if (name == "unpair") return [this] { link_.unpair(); };
  if (name == "pair") {
    const auto address =
        link::parsePairingAddress(reader.required<std::string>("address", &CommandReader::text));
    if (!address) reader.fail("address is none to pair with");
    return [this, address] { link_.pair(*address); };
  }
  if (name == "confirm_pairing" || name == "refuse_pairing") {
    const std::string code = reader.required<std::string>("code", &CommandReader::text);
    const PairingState& now = state_.pairing;
    if (now.status.step != link::PairingStatus::Step::comparing || now.status.code != code) {
      reader.fail("that code is not being compared");
    }
    return [this, code, yes = name == "confirm_pairing"] { link_.answerPairing(code, yes); };
  }
  return {};
}

}  // namespace tunevale::phone
