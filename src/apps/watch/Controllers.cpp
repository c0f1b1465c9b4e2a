#include "apps/watch/Controllers.h"

#include "complication/NotificationController.h"
#include "host/ControllerRegistry.h"
#include "radio/RadioHomeInterfaceController.h"
#include "radio/RadioInterfaceController.h"
#include "radio/RadioRowController.h"
#include "screens/InterfaceController.h"
#include "screens/InterfaceRowController.h"
#include "screens/PlayerInterfaceController.h"
#include "screens/PlaylistInterfaceController.h"
#include "screens/SongRowController.h"

namespace tunevale {

void addControllers(host::ControllerRegistry& registry) {
  registry.add<InterfaceController>("InterfaceController");
  registry.add<NotificationController>("NotificationController");
  registry.add<PlayerInterfaceController>("PlayerInterfaceController");
  registry.add<PlaylistInterfaceController>("PlaylistInterfaceController");
  registry.add<RadioHomeInterfaceController>("RadioHomeInterfaceController");
  registry.add<RadioInterfaceController>("RadioInterfaceController");
  registry.addRow<InterfaceRowController>("InterfaceRowController");
  registry.addRow<RadioRowController>("RadioRowController");
  registry.addRow<SongRowController>("SongRowController");
}

}  // namespace tunevale
