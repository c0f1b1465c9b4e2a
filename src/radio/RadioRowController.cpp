#include "radio/RadioRowController.h"

#include "platform/Connections.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"

namespace tunevale {

void RadioRowController::connect(Connections& connections) {
  connections.outlet("radioName", radioName);
  connections.outlet("radioImage", radioImage);
  connections.outlet("radioLanguage", radioLanguage);
  connections.outlet("radioBackgroundGroup", radioBackgroundGroup);
}

}  // namespace tunevale
