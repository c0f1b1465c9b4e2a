#pragma once

#include "platform/RowController.h"

namespace tunevale {

class WKInterfaceGroup;
class WKInterfaceImage;
class WKInterfaceLabel;

/// One row of the home screen's menu, row type "InterfaceRow".
class InterfaceRowController : public RowController {
 public:
  void connect(Connections& connections) override;

  WKInterfaceLabel* headerTitle = nullptr;
  WKInterfaceLabel* subTitle = nullptr;
  WKInterfaceImage* image = nullptr;
  WKInterfaceGroup* backgroundGroup = nullptr;
};

}  // namespace tunevale
