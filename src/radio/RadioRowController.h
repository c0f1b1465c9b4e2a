#pragma once

#include "platform/RowController.h"

namespace tunevale {

class WKInterfaceGroup;
class WKInterfaceImage;
class WKInterfaceLabel;

/// One station of the station list, row type "RadioRow".
class RadioRowController : public RowController {
 public:
  void connect(Connections& connections) override;

  WKInterfaceLabel* radioName = nullptr;
  WKInterfaceImage* radioImage = nullptr;  // of artist lists
  WKInterfaceLabel* radioLanguage = nullptr;
  WKInterfaceGroup* radioBackgroundGroup = nullptr;  // coloured in featured lists
};

}  // namespace tunevale
