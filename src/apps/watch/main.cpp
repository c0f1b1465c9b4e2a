#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "apps/CommandLine.h"
#include "apps/watch/Controllers.h"
#include "apps/watch/WatchOptions.h"
#include "complication/ComplicationController.h"
#include "core/ExtensionDelegate.h"
#include "core/WKExtensionMain.h"
#include "host/ControllerRegistry.h"
#include "host/HomeFolder.h"
#include "host/LinkPhoneSession.h"
#include "host/Logs.h"
#include "host/RunLoop.h"
#include "host/Services.h"
#include "host/ThreadQueue.h"
#include "host/WatchDisplay.h"
#include "http/HttpServer.h"
#include "phone/Console.h"
#include "phone/Phone.h"

namespace tunevale {

namespace {

constexpr int kUnusable = 2;  // exit status: the command line, a directory or an address cannot be used

std::string homePath(const WatchOptions& options) {
  if (!options.home.empty()) return options.home;
  const auto path = host::HomeFolder::defaultPath();
  if (!path) throw std::runtime_error("no home: set HOME or give --home");
  return *path;
}

std::unique_ptr<Log> makeLog(const WatchOptions& options) {
  if (options.syslog) return std::make_unique<host::SyslogLog>();
  return std::make_unique<host::StderrLog>();
}

/// The folder for files on their way in; emptied, since what a crash left there is sent again.
std::string spoolFolder(const host::HomeFolder& home) {
  const std::string path = home.path() + "/Spool";
  std::filesystem::remove_all(path);
  std::filesystem::create_directory(path);
  return path;
}

host::LinkPhoneSession::Options sessionOptions(const WatchOptions& options, const host::HomeFolder& home) {
  return {.listenOn = {options.link.host, options.link.port}, .spoolFolder = spoolFolder(home)};
}

host::WatchDisplay::Options displayOptions(const WatchOptions& options,
                                           const host::LinkPhoneSession& session) {
  const std::string resources = TUNEVALE_RESOURCES;
  return {.layoutFile = resources + "/layout/Interface.xml",
          .webFolder = resources + "/web",
          .address = options.display,
          .pendingRequests = [&session] { return session.pendingRequests(); }};
}

/// The demo phone, with its console on the watch's own display server.
struct Demo {
  Demo(host::RunLoop& loop, host::WatchDisplay& display, std::uint16_t linkPort, const std::string& linkHost)
      : phone({.watch = {linkHost, linkPort}}),
        console(phone, display.server(), loop.context(), std::string(TUNEVALE_RESOURCES) + "/web") {
    phone.start();
  }
  phone::Phone phone;
  phone::Console console;
};

/// However a run ends: the phone goes first, then what it sent is handled, and what waits for an answer lets
/// go, while everything that it reaches still stands.
struct Ending {
  Ending(host::RunLoop& runLoop, std::unique_ptr<host::LinkPhoneSession>& linkSession)
      : loop(runLoop), session(linkSession) {}
  ~Ending() {
    demo.reset();
    session.reset();
    loop.dropBlocks();
  }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

  host::RunLoop& loop;
  std::unique_ptr<host::LinkPhoneSession>& session;
  std::unique_ptr<Demo> demo;
};

/// Runs the extension until the process is told to end.
int runWatch(const WatchOptions& options) {
  const std::unique_ptr<Log> log = makeLog(options);
  const host::HomeFolder home(homePath(options));
  host::RunLoop loop;
  loop.handleSignals();
  host::Services services(home, loop, *log);
  auto session = std::make_unique<host::LinkPhoneSession>(
      loop, std::make_unique<host::ThreadQueue>("delivery"), sessionOptions(options, home));
  Platform platform = services.makePlatform(*session);
  ExtensionDelegate delegate(platform);
  platform.sharedExtension.setDelegate(&delegate);

  host::ControllerRegistry registry(platform);
  addControllers(registry);
  ComplicationController complications;
  host::WatchDisplay display(platform, loop, registry, complications, displayOptions(options, *session));
  session->setChangeHandler([&display] { display.phoneStateDidChange(); });
  std::printf("Display: %s/\nLink: %s:%u\n", display.server().url().c_str(), options.link.host.c_str(),
              static_cast<unsigned>(session->port()));
  std::fflush(stdout);

  Ending ending(loop, session);
  delegate.applicationDidFinishLaunching();
  display.start();
  if (options.demo) ending.demo = std::make_unique<Demo>(loop, display, session->port(), options.link.host);
  loop.run();
  return 0;
}

int watchMain(int count, char** words) {
  try {
    const WatchOptions options = readWatchOptions(count, words);
    if (options.help) {
      std::fputs(kWatchUsage, stdout);
    } else if (options.version) {
      std::puts("tunevale-watch " TUNEVALE_VERSION);
    } else {
      return runWatch(options);
    }
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "tunevale-watch: %s\n", failure.what());
    return kUnusable;
  }
}

}  // namespace

}  // namespace tunevale

int main(int count, char** words) {
  return tunevale::WKExtensionMain(count, words, tunevale::watchMain);
}
