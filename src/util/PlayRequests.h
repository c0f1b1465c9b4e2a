#pragma once

#include "platform/Color.h"

namespace tunevale {
class WKInterfaceController;
class WKInterfaceGroup;
}  // namespace tunevale

/// What the screens that start something on the phone have in common. Main queue.
namespace tunevale::WatchUtil {

/// Whether the phone can take a request now: the session is activated, the phone was unlocked since it
/// started, and it is reachable. The first of these that fails is told by its alert on the screen.
bool phoneIsReady(WKInterfaceController& screen);

/// The background of a play button, and the one it has for a moment after a tap.
inline constexpr Color kPlayColor = Color::ofBytes(43, 171, 72);
inline constexpr Color kPressedColor = Color::ofBytes(171, 43, 72);

/// Shows a tap on a play button: the pressed colour now, the play colour 0.1 s later. The screen, to which
/// the group belongs, lives at least until then.
void flashPlayButton(WKInterfaceController& screen, WKInterfaceGroup& playButtonGroup);

}  // namespace tunevale::WatchUtil
