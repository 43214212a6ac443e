#include "tests/host/TestSeat.h"

#include <linux/input-event-codes.h>

#include <chrono>

namespace Mivora::tests {

namespace {

std::uint32_t milliseconds() {
    using std::chrono::duration_cast;
    return static_cast<std::uint32_t>(duration_cast<std::chrono::milliseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

/// Lets fingers go without a word to the client, which has been told already.
const wlr_touch_grab_interface kSilence = {
    [](wlr_seat_touch_grab*, std::uint32_t, wlr_touch_point*) -> std::uint32_t { return 0; },
    [](wlr_seat_touch_grab*, std::uint32_t, wlr_touch_point*) {},
    [](wlr_seat_touch_grab*, std::uint32_t, wlr_touch_point*) {},
    [](wlr_seat_touch_grab*, std::uint32_t, wlr_touch_point*) {},
    [](wlr_seat_touch_grab*) {},
    [](wlr_seat_touch_grab*) {},
    [](wlr_seat_touch_grab*, wlr_surface*) {},
};

}  // namespace

TestSeat::TestSeat(wl_display* display, wlr_backend* backend, wlr_scene* scene)
    : scene_(scene),
      seat_(wlr_seat_create(display, "seat0")),
      gestures_(wlr_pointer_gestures_v1_create(display)),
      keyboardDevice_(wlr_headless_add_input_device(backend, WLR_INPUT_DEVICE_KEYBOARD)),
      keyboard_(keyboardDevice_->keyboard) {
    useKeymap();
    wlr_seat_set_keyboard(seat_, keyboardDevice_);
    wlr_seat_set_capabilities(
        seat_, WL_SEAT_CAPABILITY_POINTER | WL_SEAT_CAPABILITY_KEYBOARD | WL_SEAT_CAPABILITY_TOUCH);
}

void TestSeat::focusKeyboard(wlr_surface* surface) {
    wlr_seat_keyboard_notify_enter(seat_, surface, keyboard_->keycodes, keyboard_->num_keycodes,
                                   &keyboard_->modifiers);
}

bool TestSeat::obey(const std::string& command, std::istringstream& rest) {
    if (command == "move") {
        Place to;
        return rest >> to.x >> to.y && movePointer(to);
    }
    if (command == "press" || command == "release") {
        int button = 0;
        return rest >> button && pressButton(button, command == "press");
    }
    if (command == "wheel") {
        int lines = 0;
        if (!(rest >> lines)) {
            return false;
        }
        scroll(WLR_AXIS_ORIENTATION_VERTICAL, 15.0 * lines, lines, WLR_AXIS_SOURCE_WHEEL);
    } else if (command == "fingers") {
        Place step;
        if (!(rest >> step.x >> step.y)) {
            return false;
        }
        scroll(WLR_AXIS_ORIENTATION_HORIZONTAL, step.x, 0, WLR_AXIS_SOURCE_FINGER);
        scroll(WLR_AXIS_ORIENTATION_VERTICAL, step.y, 0, WLR_AXIS_SOURCE_FINGER);
    } else if (command == "lift") {
        wlr_seat_pointer_notify_axis(seat_, milliseconds(), WLR_AXIS_ORIENTATION_VERTICAL, 0, 0,
                                     WLR_AXIS_SOURCE_FINGER);
    } else if (command == "touch") {
        return touch(rest);
    } else if (command == "cancel") {
        return cancelFingers();
    } else if (command == "pinch") {
        return pinch(rest);
    } else if (command == "swipe") {
        return swipe(rest);
    } else {
        return false;
    }
    wlr_seat_pointer_notify_frame(seat_);
    return true;
}

wlr_surface* TestSeat::surfaceAt(Place place, Place& within) const {
    wlr_scene_node* const node =
        wlr_scene_node_at(&scene_->node, place.x, place.y, &within.x, &within.y);
    return node != nullptr && node->type == WLR_SCENE_NODE_SURFACE
               ? wlr_scene_surface_from_node(node)->surface
               : nullptr;
}

bool TestSeat::movePointer(Place to) {
    if (seat_->pointer_state.button_count == 0) {
        Place within;
        wlr_surface* const surface = surfaceAt(to, within);
        pointerOrigin_ = {to.x - within.x, to.y - within.y};
        if (surface != nullptr) {
            wlr_seat_pointer_notify_enter(seat_, surface, within.x, within.y);
        } else {
            wlr_seat_pointer_notify_clear_focus(seat_);
        }
    }
    wlr_seat_pointer_notify_motion(seat_, milliseconds(), to.x - pointerOrigin_.x,
                                   to.y - pointerOrigin_.y);
    wlr_seat_pointer_notify_frame(seat_);
    return true;
}

bool TestSeat::pressButton(int button, bool isPress) {
    if (button < 1 || button > 3) {
        return false;
    }
    constexpr std::uint32_t kButtons[] = {BTN_LEFT, BTN_MIDDLE, BTN_RIGHT};
    wlr_seat_pointer_notify_button(seat_, milliseconds(), kButtons[button - 1],
                                   isPress ? WLR_BUTTON_PRESSED : WLR_BUTTON_RELEASED);
    wlr_seat_pointer_notify_frame(seat_);
    return true;
}

void TestSeat::scroll(wlr_axis_orientation axis, double points, int lines, wlr_axis_source source) {
    if (points != 0) {
        wlr_seat_pointer_notify_axis(seat_, milliseconds(), axis, points, lines, source);
    }
}

/// Fingers, in one frame.
bool TestSeat::touch(std::istringstream& words) {
    bool isDone = true;
    std::string what;
    int finger = 0;
    while (words >> what >> finger) {
        Place place;
        if (what == "up") {
            isDone = lift(finger) && isDone;
        } else if (what == "down") {
            isDone = words >> place.x >> place.y && land(finger, place) && isDone;
        } else {
            isDone = what == "move" && words >> place.x >> place.y && moveFinger(finger, place) &&
                     isDone;
        }
    }
    wlr_seat_touch_notify_frame(seat_);
    return isDone;
}

bool TestSeat::land(int finger, Place at) {
    Place within;
    wlr_surface* const surface = surfaceAt(at, within);
    if (surface == nullptr || fingers_.contains(finger)) {
        return false;
    }
    fingers_[finger] = {at.x - within.x, at.y - within.y};
    wlr_seat_touch_notify_down(seat_, surface, milliseconds(), finger, within.x, within.y);
    return true;
}

bool TestSeat::moveFinger(int finger, Place to) {
    const auto found = fingers_.find(finger);
    if (found == fingers_.end()) {
        return false;
    }
    wlr_seat_touch_notify_motion(seat_, milliseconds(), finger, to.x - found->second.x,
                                 to.y - found->second.y);
    return true;
}

bool TestSeat::lift(int finger) {
    if (fingers_.erase(finger) == 0) {
        return false;
    }
    wlr_seat_touch_notify_up(seat_, milliseconds(), finger);
    return true;
}

/// As where the system takes the fingers for a gesture of its own.
bool TestSeat::cancelFingers() {
    if (fingers_.empty()) {
        return false;
    }
    if (const auto* const point = wlr_seat_touch_get_point(seat_, fingers_.begin()->first)) {
        wlr_seat_touch_notify_cancel(seat_, point->surface);
    }
    wlr_seat_touch_grab grab = {&kSilence, seat_, nullptr};
    wlr_seat_touch_start_grab(seat_, &grab);
    for (const auto& [finger, origin] : fingers_) {
        wlr_seat_touch_notify_up(seat_, milliseconds(), finger);
    }
    wlr_seat_touch_end_grab(seat_);
    fingers_.clear();
    return true;
}

bool TestSeat::pinch(std::istringstream& words) {
    std::string phase;
    words >> phase;
    if (phase == "begin") {
        wlr_pointer_gestures_v1_send_pinch_begin(gestures_, seat_, milliseconds(), 2);
    } else if (phase == "update") {
        Place step;
        double scale = 1;
        double degrees = 0;
        if (!(words >> step.x >> step.y >> scale >> degrees)) {
            return false;
        }
        wlr_pointer_gestures_v1_send_pinch_update(gestures_, seat_, milliseconds(), step.x, step.y,
                                                  scale, degrees);
    } else if (phase == "end" || phase == "cancel") {
        wlr_pointer_gestures_v1_send_pinch_end(gestures_, seat_, milliseconds(), phase == "cancel");
    } else {
        return false;
    }
    return true;
}

/// A whole swipe of some fingers.
bool TestSeat::swipe(std::istringstream& words) {
    std::uint32_t fingers = 0;
    Place step;
    if (!(words >> fingers >> step.x >> step.y)) {
        return false;
    }
    wlr_pointer_gestures_v1_send_swipe_begin(gestures_, seat_, milliseconds(), fingers);
    wlr_pointer_gestures_v1_send_swipe_update(gestures_, seat_, milliseconds(), step.x, step.y);
    wlr_pointer_gestures_v1_send_swipe_end(gestures_, seat_, milliseconds(), false);
    return true;
}

/// Windows wait for a keymap before they take keys.
void TestSeat::useKeymap() {
    const xkb_rule_names names = {"evdev", "pc105", "us", "", ""};
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap* const keymap =
        xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    wlr_keyboard_set_keymap(keyboard_, keymap);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
}

}  // namespace Mivora::tests
