#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

#include "apps/CommandLine.h"
#include "apps/watch/Controllers.h"
#include "apps/watch/Demo.h"
#include "apps/watch/PairingTerminal.h"
#include "apps/watch/PhoneSide.h"
#include "apps/watch/WatchOptions.h"
#include "complication/ComplicationController.h"
#include "core/ExtensionDelegate.h"
#include "core/WKExtensionMain.h"
#include "host/ControllerRegistry.h"
#include "host/HomeFolder.h"
#include "host/LinkPhoneSession.h"
#include "host/Logs.h"
#include "host/PairingControl.h"
#include "host/RunLoop.h"
#include "host/Services.h"
#include "host/WatchDisplay.h"
#include "http/HttpServer.h"

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

host::WatchDisplay::Options displayOptions(const WatchOptions& options, PhoneSide& phoneSide) {
  const std::string resources = TUNEVALE_RESOURCES;
  return {.layoutFile = resources + "/layout/Interface.xml",
          .webFolder = resources + "/web",
          .address = options.display,
          .pendingRequests = [&phoneSide] { return phoneSide.pendingRequests(); },
          .pairing = phoneSide.link() != nullptr ? &phoneSide.link()->pairing() : nullptr};
}

/// Says where everything is, and opens pairing where the command line wants it.
std::unique_ptr<PairingTerminal> announce(const WatchOptions& options, host::WatchDisplay& display,
                                          host::LinkPhoneSession* link) {
  std::printf("Display: %s/\n", display.server().url().c_str());
  std::unique_ptr<PairingTerminal> terminal;
  if (link != nullptr) {
    std::printf("Link: %s:%u\n", options.link.host.c_str(), static_cast<unsigned>(link->port()));
    if (options.pair) terminal = std::make_unique<PairingTerminal>(link->pairing());
    if (options.pair || options.pairingToken) {
      std::printf("Pairing: %s\n", link->pairing().open(options.pair, options.pairingToken).c_str());
    }
  }
  std::fflush(stdout);
  return terminal;
}

/// However a run ends: the phone goes first, then what it sent is handled, and what waits for an answer lets
/// go, while everything that it reaches still stands.
struct Ending {
  ~Ending() {
    demo.reset();
    terminal.reset();
    phoneSide.reset();
    loop.dropBlocks();
  }

  host::RunLoop& loop;
  std::unique_ptr<PhoneSide>& phoneSide;
  std::unique_ptr<PairingTerminal>& terminal;
  std::unique_ptr<Demo> demo{};
};

/// Runs the extension until the process is told to end.
int runWatch(const WatchOptions& options) {
  ::umask(077);  // what this process makes is its owner's alone, in whatever folder
  const std::unique_ptr<Log> log = makeLog(options);
  const host::HomeFolder home(homePath(options));
  host::RunLoop loop;
  loop.handleSignals();
  host::Services services(home, loop, *log);
  auto phoneSide = std::make_unique<PhoneSide>(loop, home, *log, options);
  Platform platform = services.makePlatform(phoneSide->session());
  ExtensionDelegate delegate(platform);
  platform.sharedExtension.setDelegate(&delegate);

  host::ControllerRegistry registry(platform);
  addControllers(registry);
  ComplicationController complications;
  host::WatchDisplay display(platform, loop, registry, complications, displayOptions(options, *phoneSide));
  std::unique_ptr<PairingTerminal> terminal = announce(options, display, phoneSide->link());
  phoneSide->setChangeHandler([&display, &terminal] {
    display.phoneStateDidChange();
    if (terminal != nullptr) terminal->update();
  });

  Ending ending{loop, phoneSide, terminal};
  delegate.applicationDidFinishLaunching();
  display.start();
  if (options.demo) {
    ending.demo = Demo::start(loop, display, *phoneSide->link(), options.link.host, home.path() + "/Demo");
    if (!ending.demo) log->write("This watch is paired with another phone: the demo phone stays away.");
  }
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
