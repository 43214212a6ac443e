#pragma once

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <string>

namespace Mivora::tests {

/// A keyboard of a compositor that knows the protocol virtual-keyboard-unstable-v1, for tests: a US
/// one, with more letters by the right Alt key ("é" is that and "e", an acute accent that is put on
/// the next letter that and "'").
///
/// Keys go to the window that has the focus; those that are held are repeated by it. Keys have the
/// names of X keysyms ("Tab", "Escape", "Left", "a", "Return", "Shift_L"), and modifiers shorter
/// ones besides: "shift", "control", "alt", "altgr", "super".
///
/// What the operations answer is whether there are such keys.
class VirtualKeyboard {
 public:
    /// Of how the manager of the protocol is found.
    static const wl_interface kManagerInterface;

    /// @param manager  bound to the interface above
    VirtualKeyboard(wl_proxy* manager, wl_seat* seat);
    ~VirtualKeyboard();
    VirtualKeyboard(const VirtualKeyboard&) = delete;
    VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;

    /// Presses a key, or lets it go.
    bool press(const std::string& key) { return change(key, true); }
    bool release(const std::string& key) { return change(key, false); }

    /// Presses keys one after the other and lets them go, the last one first.
    /// @param combination  as "Tab" or "control+shift+z"
    bool stroke(const std::string& combination);

    /// Presses the keys that write a text, with Shift and the right Alt key where they are needed.
    /// @param text  UTF-8
    bool type(const std::string& text);

    /// Says that modifiers are held without their keys being pressed.
    /// @param keys  "shift", "control", "alt", "super", with blanks between
    bool hold(const std::string& keys);

 private:
    bool change(const std::string& key, bool pressed);
    void send(xkb_keycode_t code, bool pressed);
    void sendModifiers();
    void sendKeymap();
    xkb_keycode_t codeOf(xkb_keysym_t keysym, xkb_level_index_t& level) const;

    wl_proxy* proxy_;
    xkb_context* context_;
    xkb_keymap* keymap_;
    xkb_state* state_;
    xkb_mod_mask_t held_ = 0;
};

}  // namespace Mivora::tests
