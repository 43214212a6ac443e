#pragma once

#include <cstdint>

namespace Mivora::platform {

/// What is on a key, as `Event::key` says it: the number that the desktop's key symbols have, the
/// same under X11 and Wayland.
///
/// A key that writes a character of Latin-1 has that character's number ('a' is 0x61, 'A' 0x41, a
/// space 0x20), any other character 0x01000000 added to its number in Unicode or, in old alphabets,
/// a number of its own: for what is written, see `Event::text`. The constants name keys that write
/// nothing, or something else than their symbol says.
struct KeySymbol {
    enum : std::uint32_t {
        None = 0,
        Space = 0x20,

        BackSpace = 0xff08,
        Tab = 0xff09,
        BackTab = 0xfe20,  ///< Tab with Shift, as some keyboards say it
        Return = 0xff0d,
        Escape = 0xff1b,
        Delete = 0xffff,
        Insert = 0xff63,
        Menu = 0xff67,

        Home = 0xff50,
        Left = 0xff51,
        Up = 0xff52,
        Right = 0xff53,
        Down = 0xff54,
        PageUp = 0xff55,
        PageDown = 0xff56,
        End = 0xff57,

        KeypadSpace = 0xff80,
        KeypadTab = 0xff89,
        KeypadEnter = 0xff8d,
        KeypadHome = 0xff95,
        KeypadLeft = 0xff96,
        KeypadUp = 0xff97,
        KeypadRight = 0xff98,
        KeypadDown = 0xff99,
        KeypadPageUp = 0xff9a,
        KeypadPageDown = 0xff9b,
        KeypadEnd = 0xff9c,

        F1 = 0xffbe,
        F2 = 0xffbf,
        F3 = 0xffc0,
        F4 = 0xffc1,
        F5 = 0xffc2,
        F6 = 0xffc3,
        F7 = 0xffc4,
        F8 = 0xffc5,
        F9 = 0xffc6,
        F10 = 0xffc7,
        F11 = 0xffc8,
        F12 = 0xffc9,

        ShiftLeft = 0xffe1,
        ShiftRight = 0xffe2,
        ControlLeft = 0xffe3,
        ControlRight = 0xffe4,
        CapsLock = 0xffe5,
        MetaLeft = 0xffe7,
        MetaRight = 0xffe8,
        AltLeft = 0xffe9,
        AltRight = 0xffea,
        SuperLeft = 0xffeb,
        SuperRight = 0xffec,
        HyperRight = 0xffee,
        AltGraph = 0xfe03,
        NumLock = 0xff7f,
    };

    /// Whether a key only changes what others mean, as Shift does.
    static constexpr bool isModifier(std::uint32_t symbol) {
        return (symbol >= ShiftLeft && symbol <= HyperRight) ||
               (symbol >= 0xfe01 && symbol <= 0xfe0f) || symbol == NumLock || symbol == 0xff7e;
    }
};

}  // namespace Mivora::platform
