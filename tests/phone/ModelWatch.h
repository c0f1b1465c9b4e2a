#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "link/ManualStrand.h"
#include "phone/PhoneApp.h"

namespace tunevale::test {

/// A watch that keeps what it is sent in the forms that a watch keeps it in, and acknowledges as a watch
/// does, behind a link that can be cut. Contexts, user infos and files wait for it; messages fail.
class ModelWatch : public phone::WatchLink {
 public:
  explicit ModelWatch(link::ManualStrand& strand) : strand_(strand) {}
  void pairWith(phone::PhoneApp& phone) { phone_ = &phone; }

  /// The watch's program starts, or starts anew, in reach; what waits for it arrives.
  void connect(const std::string& run);
  void cut();

  void sendMessage(const PlistDictionary& message, Done done) override;
  void sendMessageData(const Bytes& data, Done done) override;
  void transferUserInfo(const PlistDictionary& userInfo, Done done) override;
  void updateApplicationContext(const PlistDictionary& context, Done done) override;
  void transferFile(const Bytes& contents, const PlistDictionary& metadata, Done done) override;
  void setActive(bool active) override { phoneActive = active; }
  void setLocked(bool locked) override { phoneLocked = locked; }

  /// The chart as the watch's screens read it back: nothing while it is stored in its other form.
  std::optional<PlistArray> readableChart() const;

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
  std::optional<link::ErrorCode> failNext;

  std::map<std::string, int> counts;  // of what arrived, by its key or request
  std::vector<Bytes> files;
  std::vector<PlistDictionary> messages;

 private:
  bool refuses(const Done& done);
  void request(const PlistDictionary& message);
  void takeChart(const PlistDictionary& record, bool asContext);
  void takeMessageData(const Bytes& data);
  void takeFile(const PlistDictionary& metadata);
  void deliverContexts();

  link::ManualStrand& strand_;
  phone::PhoneApp* phone_ = nullptr;
  bool connected_ = false;
  std::optional<PlistDictionary> context_;  // not delivered yet
  PlistDictionary lastContext_;
  std::vector<Done> contextDones_;
  std::vector<link::Block> waiting_;
};

std::string text(const PlistDictionary& record, std::string_view key);

}  // namespace tunevale::test
