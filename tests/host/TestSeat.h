#pragma once

#include <cstdint>
#include <map>
#include <sstream>
#include <string>

#include "tests/host/Wlroots.h"

namespace Mivora::tests {

/// The pointer, the fingers and the touchpad of the compositor for the tests: they do what words say,
/// and the windows in the scene are told.
///
/// Places are in points of the scene. What begins over a surface stays with it: a button that is
/// held, and a finger.
class TestSeat {
 public:
    TestSeat(wl_display* display, wlr_backend* backend, wlr_scene* scene);

    /// Does what a line says; TestCompositor.cpp has the list.
    /// @return whether that could be done
    bool obey(const std::string& command, std::istringstream& rest);

    /// Has a surface receive the keys from now on. There is a keyboard, which nobody touches.
    void focusKeyboard(wlr_surface* surface);

 private:
    struct Place {
        double x = 0;
        double y = 0;
    };

    bool movePointer(Place to);
    bool pressButton(int button, bool isPress);
    void scroll(wlr_axis_orientation axis, double points, int lines, wlr_axis_source source);
    bool touch(std::istringstream& words);
    bool land(int finger, Place at);
    bool moveFinger(int finger, Place to);
    bool lift(int finger);
    bool cancelFingers();
    bool pinch(std::istringstream& words);
    bool swipe(std::istringstream& words);
    void useKeymap();
    wlr_surface* surfaceAt(Place place, Place& within) const;

    wlr_scene* scene_;
    wlr_seat* seat_;
    wlr_pointer_gestures_v1* gestures_;
    wlr_input_device* keyboardDevice_;
    wlr_keyboard* keyboard_;
    Place pointerOrigin_;           // of the surface that has the pointer
    std::map<int, Place> fingers_;  // that are down, with the origin of the surface of each
};

}  // namespace Mivora::tests
