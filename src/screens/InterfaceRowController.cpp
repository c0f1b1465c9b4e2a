#include "screens/InterfaceRowController.h"

#include "platform/Connections.h"
#include "platform/WKInterfaceGroup.h"
#include "platform/WKInterfaceImage.h"
#include "platform/WKInterfaceLabel.h"

namespace tunevale {

void InterfaceRowController::connect(Connections& connections) {
  connections.outlet("headerTitle", headerTitle);
  connections.outlet("subTitle", subTitle);
  connections.outlet("image", image);
  connections.outlet("backgroundGroup", backgroundGroup);
}

}  // namespace tunevale
