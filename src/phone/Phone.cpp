#include "phone/Phone.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

#include "link/Connector.h"
#include "link/LinkLoop.h"
#include "link/MemoryStore.h"
#include "phone/SessionWatchLink.h"

namespace tunevale::phone {

namespace {

namespace fs = std::filesystem;

/// A folder of this process alone.
class ScratchFolder {
 public:
  ScratchFolder() : path_((fs::temp_directory_path() / "tunevale-phone-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make a folder as " + path_);
    fs::create_directory(spool());
  }
  ~ScratchFolder() {
    std::error_code ignored;  // what is left is in the temporary folder, where it is swept away some day
    fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::string& path() const { return path_; }
  std::string spool() const { return path_ + "/spool"; }

 private:
  std::string path_;
};

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
      : watchLink(loop, scratch.path(), options.timing),
        session(loop, store, {link::Role::phone, scratch.spool(), options.timing}, watchLink, turn(), turn()),
        app(loop, watchLink, observers, options.settings),
        connector(loop, session, link::tcpDial(loop, options.watch, options.timing), options.timing) {
    watchLink.connect(session, app);
    session.activate();
  }
  link::Executor turn() {
    return [this](link::Block block) { loop.post(std::move(block)); };
  }

  const ScratchFolder scratch;
  link::LinkLoop loop{"phone"};
  link::MemoryStore store{link::newEpoch(loop)};
  Observers observers;
  SessionWatchLink watchLink;
  link::Session session;
  PhoneApp app;
  link::Connector connector;
};

Phone::Phone(PhoneOptions options) : parts_(std::make_unique<Parts>(options)) {}

Phone::~Phone() {
  stop();
}

void Phone::addObserver(std::shared_ptr<PhoneObserver> observer) {
  parts_->observers.all.push_back(std::move(observer));
}

void Phone::start() {
  parts_->loop.post([parts = parts_.get()] { parts->connector.start(); });
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
