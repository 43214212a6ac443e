#pragma once

namespace Mivora::platform {

/// The modifier keys that are held, left or right alike. Of the super key GTK 4.8 says nothing
/// under Wayland.
struct Modifiers {
    bool shift = false;    ///< that of capital letters
    bool control = false;  ///< that of commands
    bool alt = false;      ///< that of menus
    bool super = false;    ///< that with the sign of the desktop

    /// Equal are the same keys.
    friend bool operator==(const Modifiers& a, const Modifiers& b) = default;
};

}  // namespace Mivora::platform
