#include "host/WatchDisplay.h"

#include <boost/json.hpp>

#include "host/DisplayServer.h"
#include "host/ImageStore.h"
#include "host/InputHandler.h"
#include "host/LayoutReader.h"
#include "host/Navigation.h"
#include "host/PairingPage.h"
#include "host/Publisher.h"
#include "host/RunLoop.h"
#include "host/ScreenState.h"
#include "host/Settler.h"
#include "host/WatchFace.h"
#include "platform/Platform.h"

namespace tunevale::host {

struct WatchDisplay::Parts {
  Parts(Platform& thePlatform, RunLoop& theLoop, const ControllerRegistry& registry,
        CLKComplicationDataSource& complications, Options options)
      : platform(thePlatform),
        loop(theLoop),
        layout(readLayout(options.layoutFile, registry)),
        navigation(layout, registry, platform.sharedExtension, changed),
        face(complications, changed),
        images(layout, platform.imageCodec, platform.mainQueue,
               platform.makeSerialQueue("com.tunevale.watch.imageEncoding")),
        publisher([this] { return currentScreen(); },
                  [this](std::string message) { display.broadcast(std::move(message)); }),
        settler(platform.mainQueue, std::move(options.pendingRequests)),
        inputs(navigation),
        server(loop.context(), options.address),
        display(server, {publisher, inputs, settler, images, layout.imageFolder, options.webFolder}),
        pairing(options.pairing) {
    if (pairing != nullptr) addPairingRoutes(server, *pairing);
    loop.setTurnEndHandler([this] { turnDidEnd(); });
  }
  ~Parts() { loop.setTurnEndHandler(nullptr); }

  boost::json::object currentScreen() {
    phone = PhoneState::of(platform.defaultSession);
    face.setShown(!navigation.isForeground());
    boost::json::object screen = screenJson(navigation, face.answers(), phone, images);
    if (pairing != nullptr) pairingView = pairing->view();
    screen["pairing"] = pairing != nullptr ? boost::json::value(pairingJson(pairingView)) : nullptr;
    return screen;
  }

  void turnDidEnd() {
    const bool pairingChanged = pairing != nullptr && pairing->view() != pairingView;
    if (pairingChanged || PhoneState::of(platform.defaultSession) != phone) publisher.markChanged();
    if (display.hasDisplays()) publisher.publish();
    settler.turnDidEnd();
  }

  Platform& platform;
  RunLoop& loop;
  const std::function<void()> changed = [this] { publisher.markChanged(); };
  const InterfaceLayout layout;
  Navigation navigation;
  PhoneState phone;
  WatchFace face;
  ImageStore images;
  Publisher publisher;
  Settler settler;
  InputHandler inputs;
  http::HttpServer server;
  DisplayServer display;
  PairingControl* const pairing;
  PairingView pairingView;
};

WatchDisplay::WatchDisplay(Platform& platform, RunLoop& loop, const ControllerRegistry& registry,
                           CLKComplicationDataSource& complications, Options options)
    : parts_(std::make_unique<Parts>(platform, loop, registry, complications, std::move(options))) {}

WatchDisplay::~WatchDisplay() = default;

void WatchDisplay::start() {
  parts_->navigation.start();
}

void WatchDisplay::phoneStateDidChange() {
  // Any turn of the loop looks at the phone; this makes sure of one.
  parts_->loop.async([] {});
}

http::HttpServer& WatchDisplay::server() {
  return parts_->server;
}

}  // namespace tunevale::host
