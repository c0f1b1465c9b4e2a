#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "foundation/KeyedArchive.h"
#include "link/ManualStrand.h"
#include "phone/PhoneApp.h"
#include "phone/PhoneState.h"

namespace tunevale::test {

using link::ErrorCode;

inline std::string text(const PlistDictionary& record, std::string_view key) {
  return std::string(phone::textOf(record, key));
}

/// A watch that keeps what it is sent in the forms that a watch keeps it in, and acknowledges as a watch
/// does, behind a link that can be cut. Contexts, user infos and files wait for it; messages fail.
class ModelWatch : public phone::WatchLink {
 public:
  explicit ModelWatch(link::ManualStrand& strand) : strand_(strand) {}
  void pairWith(phone::PhoneApp& phone) { phone_ = &phone; }

  /// The watch's program starts, or starts anew, in reach; what waits for it arrives.
  void connect(const std::string& run) {
    connected_ = true;
    phone_->linkStateDidChange({true, true, false, run});
    deliverContexts();
    for (link::Block& block : std::exchange(waiting_, {})) strand_.post(std::move(block));
  }
  void cut() {
    connected_ = false;
    phone_->linkStateDidChange({});
  }

  void sendMessage(const PlistDictionary& message, Done done) override {
    if (refuses(done)) return;
    strand_.post([this, message, done] {
      ++counts[text(message, "request")];
      if (text(message, "request") == "volume") volume = message.find("value")->integer();
      if (text(message, "request") == "queue_empty") isPlaying = false;
      done({std::nullopt, {{"request", "success"}}, {}});
    });
  }
  void sendMessageData(const Bytes& data, Done done) override {
    if (refuses(done)) return;
    strand_.post([this, data, done] {
      takeMessageData(data);
      if (answersMessageData)
        strand_.post([done] { done({link::makeError(ErrorCode::replyFailed), {}, {}}); });
    });
  }
  void transferUserInfo(const PlistDictionary& userInfo, Done done) override {
    waiting_.push_back([this, userInfo, done] {
      ++counts["user_info"];
      if (const PlistValue* chart = userInfo.find("weekly_top_15")) takeChart(*chart->dictionary(), false);
      done({});
    });
    if (connected_) strand_.post(std::exchange(waiting_, {}).back());
  }
  void updateApplicationContext(const PlistDictionary& context, Done done) override {
    contextDones_.push_back(std::move(done));
    if (context != lastContext_) context_ = context;
    lastContext_ = context;
    if (connected_) deliverContexts();
  }
  void transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) override {
    files.push_back(contents);
    if (std::exchange(failFile, false))
      return strand_.post([done] { done({link::makeError(ErrorCode::deliveryFailed), {}, {}}); });
    waiting_.push_back([this, metadata, done] {
      ++counts["file"];
      takeFile(metadata);
      // Acknowledgements of files come behind the messages.
      strand_.post([this, done] { strand_.post([done] { done({}); }); });
    });
    if (connected_) strand_.post(std::exchange(waiting_, {}).back());
  }
  void setActive(bool active) override { phoneActive = active; }
  void setLocked(bool locked) override { phoneLocked = locked; }

  /// The chart as the watch's screens read it back: nothing while it is stored in its other form.
  std::optional<PlistArray> readableChart() const {
    const auto decoded = unarchiveObjectWithData(&chartData);
    if (!decoded || decoded->array() == nullptr) return std::nullopt;
    return *decoded->array();
  }

  // What the watch keeps.
  PlistValue chartData;  // a record, or the bytes of an archived list
  std::string language;
  std::optional<PlistArray> cachedPids;
  std::optional<PlistDictionary> stations;
  std::set<std::string> artworkFiles;
  std::optional<PlistDictionary> nowPlaying;
  bool isPlaying = false;
  std::string nowPlayingArtwork;  // the song that it is of
  std::optional<std::int64_t> volume;
  int purges = 0;
  bool phoneActive = true;
  bool phoneLocked = false;

  // How the link behaves.
  bool answersMessageData = true;  // with error 7011, that is; otherwise never
  std::optional<ErrorCode> failNext;
  bool failFile = false;  // the next one

  std::map<std::string, int> counts;  // of what arrived, by its key or request
  std::vector<Bytes> files;

 private:
  bool refuses(const Done& done) {
    if (!failNext && connected_) return false;
    const ErrorCode code = std::exchange(failNext, std::nullopt).value_or(ErrorCode::notReachable);
    strand_.post([done, code] { done({link::makeError(code), {}, {}}); });
    return true;
  }
  void request(const PlistDictionary& message) {
    strand_.post([this, message] {
      if (connected_) phone_->didReceiveMessage(message);
    });
  }
  void takeChart(const PlistDictionary& record, bool asContext) {
    if (!language.empty() && language != text(record, "language")) {
      ++purges;
      artworkFiles.clear();
      stations.reset();
      request({{"request", "watch_purged_cache"}});
    }
    language = text(record, "language");
    chartData = asContext ? PlistValue(archivedDataWithRootObject(*record.find("list"))) : PlistValue(record);
    request({{"request", "weekly_top_15"}, {"received", "success"}});
  }
  void takeMessageData(const Bytes& data) {
    const auto decoded = unarchiveObjectWithData(data);
    const PlistDictionary body =
        decoded && decoded->dictionary() ? *decoded->dictionary() : PlistDictionary();
    for (const char* key : {"weekly_top_15", "radio_stations", "appPlaying", "appPaused"}) {
      const PlistValue* value = body.find(key);
      if (value == nullptr || value->dictionary() == nullptr) continue;
      ++counts[key];
      if (std::string_view(key) == "weekly_top_15") {
        takeChart(*value->dictionary(), false);
      } else if (std::string_view(key) == "radio_stations") {
        stations = *value->dictionary();
        request({{"request", "radio_stations"}, {"received", "success"}});
      } else {
        nowPlaying = *value->dictionary();
        isPlaying = std::string_view(key) == "appPlaying";
        if (const PlistValue* level = body.find("volume")) volume = level->integer();
      }
      return;
    }
  }
  void takeFile(const PlistDictionary& metadata) {
    if (!text(metadata, "radio_image").empty()) {
      artworkFiles.insert(text(metadata, "radio_title"));
    } else if (!text(metadata, "playlist_image").empty()) {
      artworkFiles.insert(text(metadata, "image_name"));
    } else if (nowPlaying) {
      nowPlayingArtwork = text(metadata, "song_id");
    }
  }
  void deliverContexts() {
    strand_.post([this] {
      if (!connected_ || !context_) return;
      const PlistDictionary context = *std::exchange(context_, std::nullopt);
      ++counts["context"];
      if (const PlistValue* chart = context.find("weekly_top_15")) {
        ++counts["chart_context"];
        takeChart(*unarchiveObjectWithData(chart)->dictionary(), true);
      } else if (context.find("cachedSongList") != nullptr) {
        cachedPids = *context.find("pids")->array();
      }
      for (const Done& done : std::exchange(contextDones_, {})) done({});
    });
  }

  link::ManualStrand& strand_;
  phone::PhoneApp* phone_ = nullptr;
  bool connected_ = false;
  std::optional<PlistDictionary> context_;  // not delivered yet
  PlistDictionary lastContext_;
  std::vector<Done> contextDones_;
  std::vector<link::Block> waiting_;
};

}  // namespace tunevale::test
