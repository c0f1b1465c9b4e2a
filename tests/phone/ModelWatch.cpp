#include "ModelWatch.h"

#include <utility>

#include "foundation/KeyedArchive.h"
#include "phone/PhoneState.h"

namespace tunevale::test {

using link::ErrorCode;
using phone::Outcome;

std::string text(const PlistDictionary& record, std::string_view key) {
  return std::string(phone::textOf(record, key));
}

void ModelWatch::connect(const std::string& run) {
  connected_ = true;
  phone_->linkStateDidChange({true, true, false, run});
  deliverContexts();
  for (link::Block& block : std::exchange(waiting_, {})) strand_.post(std::move(block));
}

void ModelWatch::cut() {
  connected_ = false;
  phone_->linkStateDidChange({});
}

bool ModelWatch::refuses(const Done& done) {
  if (!failNext && connected_) return false;
  const ErrorCode code = std::exchange(failNext, std::nullopt).value_or(ErrorCode::notReachable);
  strand_.post([done, code] { done({link::makeError(code), {}, {}}); });
  return true;
}

void ModelWatch::request(const PlistDictionary& message) {
  strand_.post([this, message] {
    if (connected_) phone_->didReceiveMessage(message);
  });
}

void ModelWatch::sendMessage(const PlistDictionary& message, Done done) {
  if (refuses(done)) return;
  strand_.post([this, message, done] {
    messages.push_back(message);
    ++counts[text(message, "request")];
    if (text(message, "request") == "volume") volume = message.find("value")->integer();
    if (text(message, "request") == "queue_empty") isPlaying = false;
    done({std::nullopt, {{"request", "success"}}, {}});
  });
}

void ModelWatch::sendMessageData(const Bytes& data, Done done) {
  if (refuses(done)) return;
  strand_.post([this, data, done] {
    takeMessageData(data);
    if (answersMessageData) strand_.post([done] { done({link::makeError(ErrorCode::replyFailed), {}, {}}); });
  });
}

void ModelWatch::takeMessageData(const Bytes& data) {
  const auto decoded = unarchiveObjectWithData(data);
  const PlistDictionary body = decoded && decoded->dictionary() ? *decoded->dictionary() : PlistDictionary();
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

void ModelWatch::takeChart(const PlistDictionary& record, bool asContext) {
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

void ModelWatch::transferUserInfo(const PlistDictionary& userInfo, Done done) {
  waiting_.push_back([this, userInfo, done] {
    ++counts["user_info"];
    if (const PlistValue* chart = userInfo.find("weekly_top_15")) takeChart(*chart->dictionary(), false);
    done({});
  });
  if (connected_) strand_.post(std::exchange(waiting_, {}).back());
}

void ModelWatch::updateApplicationContext(const PlistDictionary& context, Done done) {
  contextDones_.push_back(std::move(done));
  if (context != lastContext_) context_ = context;
  lastContext_ = context;
  if (connected_) deliverContexts();
}

void ModelWatch::deliverContexts() {
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

void ModelWatch::transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) {
  files.push_back(contents);
  waiting_.push_back([this, metadata, done] {
    ++counts["file"];
    takeFile(metadata);
    // Acknowledgements of files come behind the messages.
    strand_.post([this, done] { strand_.post([done] { done({}); }); });
  });
  if (connected_) strand_.post(std::exchange(waiting_, {}).back());
}

void ModelWatch::takeFile(const PlistDictionary& metadata) {
  if (!text(metadata, "radio_image").empty()) {
    artworkFiles.insert(text(metadata, "radio_title"));
  } else if (!text(metadata, "playlist_image").empty()) {
    artworkFiles.insert(text(metadata, "image_name"));
  } else if (nowPlaying) {
    nowPlayingArtwork = text(metadata, "song_id");
  }
}

std::optional<PlistArray> ModelWatch::readableChart() const {
  const auto decoded = unarchiveObjectWithData(&chartData);
  if (!decoded || decoded->array() == nullptr) return std::nullopt;
  return *decoded->array();
}

}  // namespace tunevale::test
