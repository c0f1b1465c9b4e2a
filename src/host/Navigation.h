#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/SceneBuilder.h"
#include "platform/InterfaceHost.h"
#include "platform/WKExtension.h"
#include "platform/WKInterfaceController.h"

namespace tunevale::host {

/// Which screens are open, which one is seen, and their lifecycle. Screens lie on one another in levels; a
/// level of several pages shows one of them. What a screen asks for while screens change waits until they
/// have, and counts only if that screen is then on top, be it a page that is not seen. Main queue.
class Navigation : public InterfaceHost {
 public:
  enum class Presentation { root, push, modal };
  /// More than a person could ever find the way back from; what would go deeper is ignored.
  static constexpr std::size_t kMostLevels = 32;

  /// Everything handed in outlives it. `didChange` is called after each change of what is seen, and possibly
  /// without one.
  Navigation(const InterfaceLayout& layout, const ControllerRegistry& registry, WKExtension& extension,
             std::function<void()> didChange);
  ~Navigation() override;

  /// Opens the initial scene in the foreground, once, before anything else.
  void start();

  // What is there to be seen.
  const std::shared_ptr<WKInterfaceController>& screen() const { return top().pages[top().page].controller; }
  const std::string& identifier() const { return top().pages[top().page].identifier; }
  Presentation presentation() const { return top().presentation; }
  std::size_t page() const { return top().page; }
  std::size_t pageCount() const { return top().pages.size(); }
  /// Words for the way back: the title of the screen below, or what a modal screen says itself with a title
  /// that begins with "< ". Nothing on the root.
  std::optional<std::string> backLabel() const;
  /// The alert over it all, or null: the first that waits, except for those of a page that is not seen. Going
  /// to another screen may bring another one to the front; a person cannot go anywhere while one is up.
  const WKAlert* alert() const;
  bool isForeground() const { return foreground_; }

  // What a person may do. False when there is nothing of the kind.
  bool back();
  bool showPage(std::size_t index);
  /// Dismisses the alert, then runs the action's handler.
  bool answerAlert(std::size_t action);
  /// Leaves for the watch face, or comes back. On leaving, the extension gets a moment for its snapshot.
  void setForeground(bool foreground);

  void titleDidChange(WKInterfaceController& screen) override;
  void push(WKInterfaceController& from, const std::string& name, const PlistValue& context) override;
  void present(WKInterfaceController& from, const std::vector<Page>& pages) override;
  /// An alert that says and offers what one that is up or waits does is the same alert: it comes once, and an
  /// answer runs the handlers of both.
  void presentAlert(WKInterfaceController& from, WKAlert alert) override;

 private:
  struct Screen {
    std::string identifier;
    std::shared_ptr<WKInterfaceController> controller;
  };
  struct Level {
    Presentation presentation;
    std::vector<Screen> pages;
    std::size_t page = 0;
  };
  struct Opening {
    std::weak_ptr<WKInterfaceController> from;
    Presentation presentation;
    std::vector<Page> pages;
  };

  struct Asked {
    std::weak_ptr<WKInterfaceController> from;
    WKAlert alert;
  };

  const Level& top() const { return levels_.back(); }
  bool isOnTop(const WKInterfaceController& screen) const;
  bool isUnseenPage(const WKInterfaceController* screen) const;
  /// Where the alert that is up waits; past the end when none is.
  std::size_t alertIndex() const;
  void open(WKInterfaceController& from, Presentation presentation, std::vector<Page> pages);
  void runSegue(WKInterfaceController& from, const SegueLayout& segue);
  std::optional<Level> makeLevel(Presentation presentation, const std::vector<Page>& pages);
  void enter(Level level);
  void activateTop();
  void deactivateTop();
  /// Runs a change of screens as a whole, then what was asked for meanwhile.
  void change(const std::function<void()>& steps);
  static void leave(Level& level);

  const InterfaceLayout& layout_;
  const SceneBuilder builder_;
  WKExtension& extension_;
  const std::function<void()> didChange_;
  std::vector<Level> levels_;
  std::deque<Asked> alerts_;
  std::deque<Opening> waiting_;
  bool changing_ = false;
  bool foreground_ = true;
};

}  // namespace tunevale::host
