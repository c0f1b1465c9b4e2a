#pragma once

#include "platform/PhoneSessionDelegate.h"
#include "platform/WKInterfaceController.h"

namespace tunevale {

/// The home screen: a menu of three fixed rows, each of which tells the phone which screen the watch opens
/// and opens it at once. Nothing is checked first and no answer is awaited. Main queue.
class InterfaceController : public WKInterfaceController, public PhoneSessionDelegate {
 public:
  using WKInterfaceController::WKInterfaceController;

  WKInterfaceTable* table = nullptr;

  void connect(Connections& connections) override;
  /// Fills the menu, now and whenever station artwork arrives. That never ends: this is the root screen.
  void awakeWithContext(const PlistValue* context) override;
  /// Nothing at all; reloadData() does what activation should.
  void willActivate() override {}
  void didDeactivate() override;
  void tableDidSelectRowAtIndex(WKInterfaceTable& selectedTable, std::size_t rowIndex) override;
  /// For "RadioHomeSegue" the stored featured stations, if there are any.
  std::optional<PlistValue> contextForSegueWithIdentifier(std::string_view identifier) override;

  void reloadData();
  void openWeeklyTop15();
  void openRadioHomePage();
  void openPlayer();

  // Of the session's delegate, which this screen is able to be but is not: nobody calls these.
  void sessionActivationDidCompleteWithState(PhoneSession&, ActivationState,
                                             const std::optional<SessionError>&) override {}
  void sessionDidBecomeInactive(PhoneSession&) override;
  void sessionDidDeactivate(PhoneSession&) override;
  using PhoneSessionDelegate::sessionDidReceiveMessage;
  void sessionDidReceiveMessage(PhoneSession& session, const PlistDictionary* message);

 private:
  void tellPhone(const char* request);
};

}  // namespace tunevale
