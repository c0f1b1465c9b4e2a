#include "phone/Phone.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

#include "link/LinkLoop.h"
#include "link/Session.h"
#include "link/SqliteStore.h"
#include "phone/PairingClerk.h"
#include "phone/SessionWatchLink.h"

namespace tunevale::phone {

namespace {

namespace fs = std::filesystem;

/// The given folder, or one of this process alone.
class PhoneFolder {
 public:
  explicit PhoneFolder(const std::string& given) : path_(given), scratch_(given.empty()) {
    if (!scratch_) return;
    path_ = (fs::temp_directory_path() / "tunevale-phone-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make a folder as " + path_);
  }
  ~PhoneFolder() {
    std::error_code ignored;  // what is left is in the temporary folder, where it is swept away some day
    if (scratch_) fs::remove_all(path_, ignored);
  }
  PhoneFolder(const PhoneFolder&) = delete;
  PhoneFolder& operator=(const PhoneFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  const bool scratch_;
};

link::Epoch newEpoch() {
  link::Epoch epoch{};
  link::fillRandom(epoch);
  return epoch;
}

/// Tells everybody.
class Observers : public PhoneObserver {
 public:
  void phoneDidEmit(const std::string& event) override {
    for (const auto& one : all) one->phoneDidEmit(event);
  }
  void phoneDidChange() override {
    for (const auto& one : all) one->phoneDidChange();
  }
  void phoneDidQuit() override {
    for (const auto& one : all) one->phoneDidQuit();
  }
  std::vector<std::shared_ptr<PhoneObserver>> all;
};

}  // namespace

struct Phone::Parts {
  explicit Parts(const PhoneOptions& options)
      : folder(options.folder),
        identity(link::Identity::loadOrCreate(folder.path())),
        store({.path = folder.path() + "/link.sqlite", .vfs = {}}, newEpoch()),
        watchLink(loop, folder.path(), options.timing),
        session(
            loop, store,
            {.role = link::Role::phone, .spoolFolder = folder.path() + "/Spool", .timing = options.timing},
            watchLink, turn(), turn()),
        app(loop, watchLink, observers, options.settings),
        clerk({.loop = loop,
               .identity = identity,
               .store = store,
               .session = session,
               .timing = options.timing,
               .changed = [this](const PairingState& state) { app.pairingDidChange(state); }}) {
    clerk.setEndpoint(options.watch);
    watchLink.connect(session, app, clerk);
    session.activate();
  }
  link::Executor turn() {
    return [this](link::Block block) { loop.post(std::move(block)); };
  }

  const PhoneFolder folder;
  link::LinkLoop loop{"phone"};
  const link::Identity identity;
  link::SqliteStore store;
  Observers observers;
  SessionWatchLink watchLink;
  link::Session session;
  PhoneApp app;
  PairingClerk clerk;
};

Phone::Phone(PhoneOptions options) : parts_(std::make_unique<Parts>(options)) {}

Phone::~Phone() {
  stop();
}

void Phone::addObserver(std::shared_ptr<PhoneObserver> observer) {
  parts_->observers.all.push_back(std::move(observer));
}

const link::KeyHash& Phone::keyHash() const {
  return parts_->identity.keyHash();
}

std::optional<link::KeyHash> Phone::watch() const {
  return parts_->store.pin();
}

void Phone::start(std::optional<link::PairingAddress> pair) {
  parts_->loop.post([parts = parts_.get(), pair = std::move(pair)] {
    if (parts->store.pin()) parts->app.pairingDidChange(parts->clerk.state());
    if (pair) {
      parts->clerk.pair(*pair);
    } else {
      parts->clerk.connect();
    }
  });
  parts_->loop.start();
}

void Phone::stop() {
  parts_->loop.stop();
}

void Phone::perform(std::string command, Origin origin) {
  parts_->loop.post(
      [app = &parts_->app, command = std::move(command), origin] { app->command(command, origin); });
}

void Phone::reject(std::string why) {
  parts_->loop.post([app = &parts_->app, why = std::move(why)] { app->rejectCommand(why); });
}

void Phone::state(std::function<void(std::string json)> receive) {
  parts_->loop.post([app = &parts_->app, receive = std::move(receive)] { receive(app->consoleState()); });
}

std::string Phone::firstState() const {
  return parts_->app.consoleState();
}

boost::asio::io_context& Phone::context() {
  return parts_->loop.context();
}

}  // namespace tunevale::phone
