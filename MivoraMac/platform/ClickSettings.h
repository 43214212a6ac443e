#pragma once

namespace Mivora::platform {

/// What the desktop calls a click, and what a long press. The values here are those of hosts that
/// know no better.
struct ClickSettings {
    double doubleClickSeconds = 0.4;  ///< from one press to the next
    double doubleClickDistance = 5;   ///< between two presses, along each axis, in points
    double longPressSeconds = 0.5;    ///< how long a finger rests for a long press
};

}  // namespace Mivora::platform
