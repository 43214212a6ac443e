// A pointer and a keyboard for compositors that know the protocols wlr-virtual-pointer-unstable-v1
// and virtual-keyboard-unstable-v1: does what the lines it reads say, and prints "done" after each.
// The argument is the scale of the first output.
//
//   move X Y          to a place of the first output, in its points
//   press BUTTON      1 for the primary, 2 for the middle, 3 for the secondary button
//   release BUTTON
//   wheel LINES       the vertical wheel; downward is positive
//   fingers X Y       two fingers on a touchpad scroll by so many points
//   lift              the fingers leave the touchpad
//   key COMBINATION   presses keys and lets them go: Tab, Escape, control+a, control+shift+Left
//   key-down KEY      the key is held from now on; windows repeat it
//   key-up KEY
//   type TEXT         the keys that write the text: a US keyboard that also has letters as "é"
//   keys [KEY...]     the modifiers that are held from now on, as where their keys were pressed
//                     in another window: shift, control, alt, super
//   wait SECONDS
//
// Names of keys are those of X keysyms; modifiers have the shorter names above, too.
#include <linux/input-event-codes.h>
#include <wayland-client.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include "tests/host/VirtualKeyboard.h"

using Mivora::tests::VirtualKeyboard;

namespace {

// The protocol, as far as it is needed: the requests in the order of their numbers.
extern const wl_interface pointerInterface;
const wl_interface* const kNoTypes[] = {nullptr, nullptr, nullptr, nullptr, nullptr};
const wl_interface* const kCreateTypes[] = {&wl_seat_interface, &pointerInterface};

enum Request : std::uint32_t {
    Motion,
    MotionAbsolute,
    Button,
    Axis,
    Frame,
    Source,
    Stop,
    Discrete
};

const wl_message pointerRequests[] = {
    {"motion", "uff", const_cast<const wl_interface**>(kNoTypes)},
    {"motion_absolute", "uuuuu", const_cast<const wl_interface**>(kNoTypes)},
    {"button", "uuu", const_cast<const wl_interface**>(kNoTypes)},
    {"axis", "uuf", const_cast<const wl_interface**>(kNoTypes)},
    {"frame", "", const_cast<const wl_interface**>(kNoTypes)},
    {"axis_source", "u", const_cast<const wl_interface**>(kNoTypes)},
    {"axis_stop", "uu", const_cast<const wl_interface**>(kNoTypes)},
    {"axis_discrete", "uufi", const_cast<const wl_interface**>(kNoTypes)},
    {"destroy", "", const_cast<const wl_interface**>(kNoTypes)},
};
const wl_interface pointerInterface = {"zwlr_virtual_pointer_v1", 1, 9,
                                       pointerRequests,           0, nullptr};

const wl_message managerRequests[] = {
    {"create_virtual_pointer", "?on", const_cast<const wl_interface**>(kCreateTypes)},
};
const wl_interface managerInterface = {
    "zwlr_virtual_pointer_manager_v1", 1, 1, managerRequests, 0, nullptr};

/// What the compositor offers of what is needed.
struct Globals {
    wl_proxy* manager = nullptr;
    wl_proxy* keyboards = nullptr;
    wl_seat* seat = nullptr;
    wl_output* output = nullptr;
    int width = 0;  // of the output, in pixels
    int height = 0;
    double scale = 1;  // pixels for each of its points
};

const wl_output_listener outputListener = {
    [](void*, wl_output*, int, int, int, int, int, const char*, const char*, int) {},
    [](void* data, wl_output*, std::uint32_t flags, int width, int height, int) {
        if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
            static_cast<Globals*>(data)->width = width;
            static_cast<Globals*>(data)->height = height;
        }
    },
    [](void*, wl_output*) {},
    [](void*, wl_output*, int) {},
    [](void*, wl_output*, const char*) {},
    [](void*, wl_output*, const char*) {},
};

const wl_registry_listener registryListener = {
    [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
       std::uint32_t) {
        auto& globals = *static_cast<Globals*>(data);
        if (std::strcmp(interface, managerInterface.name) == 0) {
            globals.manager =
                static_cast<wl_proxy*>(wl_registry_bind(registry, name, &managerInterface, 1));
        } else if (std::strcmp(interface, VirtualKeyboard::kManagerInterface.name) == 0) {
            globals.keyboards = static_cast<wl_proxy*>(
                wl_registry_bind(registry, name, &VirtualKeyboard::kManagerInterface, 1));
        } else if (std::strcmp(interface, wl_seat_interface.name) == 0) {
            globals.seat =
                static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        } else if (std::strcmp(interface, wl_output_interface.name) == 0 && !globals.output) {
            globals.output =
                static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, 2));
            wl_output_add_listener(globals.output, &outputListener, &globals);
        }
    },
    [](void*, wl_registry*, std::uint32_t) {},
};

std::uint32_t milliseconds() {
    using std::chrono::duration_cast;
    return static_cast<std::uint32_t>(duration_cast<std::chrono::milliseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

class Pointer {
 public:
    Pointer(wl_display* display, const Globals& globals)
        : display_(display),
          globals_(globals),
          proxy_(wl_proxy_marshal_constructor(globals.manager, 0, &pointerInterface, globals.seat,
                                              nullptr)),
          keyboard_(globals.keyboards, globals.seat) {}

    bool obey(const std::string& line) {
        std::istringstream words(line);
        std::string command;
        double first = 0;
        double second = 0;
        words >> command;
        if (command.substr(0, 3) == "key" || command == "type") {
            std::string keys;
            std::getline(words >> std::ws, keys);
            return useKeyboard(command, keys) && wl_display_roundtrip(display_) >= 0;
        }
        words >> first >> second;
        if (command == "move") {
            request(MotionAbsolute, milliseconds(),
                    static_cast<std::uint32_t>(std::lround(first * globals_.scale)),
                    static_cast<std::uint32_t>(std::lround(second * globals_.scale)),
                    static_cast<std::uint32_t>(globals_.width),
                    static_cast<std::uint32_t>(globals_.height));
        } else if (command == "press" || command == "release") {
            request(Button, milliseconds(),
                    first == 1   ? BTN_LEFT
                    : first == 2 ? BTN_MIDDLE
                                 : BTN_RIGHT,
                    command == "press" ? 1U : 0U);
        } else if (command == "wheel") {
            request(Discrete, milliseconds(), WL_POINTER_AXIS_VERTICAL_SCROLL,
                    wl_fixed_from_double(15 * first), static_cast<std::int32_t>(first));
            request(Source, WL_POINTER_AXIS_SOURCE_WHEEL);
        } else if (command == "fingers") {
            scroll(WL_POINTER_AXIS_HORIZONTAL_SCROLL, first);
            scroll(WL_POINTER_AXIS_VERTICAL_SCROLL, second);
        } else if (command == "lift") {
            request(Stop, milliseconds(), WL_POINTER_AXIS_VERTICAL_SCROLL);
            request(Source, WL_POINTER_AXIS_SOURCE_FINGER);
        } else if (command == "wait") {
            std::this_thread::sleep_for(std::chrono::duration<double>(first));
            return true;
        } else {
            return false;
        }
        request(Frame);
        return wl_display_roundtrip(display_) >= 0;
    }

 private:
    bool useKeyboard(const std::string& command, const std::string& keys) {
        return command == "key"        ? keyboard_.stroke(keys)
               : command == "key-down" ? keyboard_.press(keys)
               : command == "key-up"   ? keyboard_.release(keys)
               : command == "type"     ? keyboard_.type(keys)
                                       : command == "keys" && keyboard_.hold(keys);
    }

    // The compositor takes the source for that of the axis named before it.
    void scroll(wl_pointer_axis axis, double points) {
        if (points != 0) {
            request(Axis, milliseconds(), axis, wl_fixed_from_double(points));
            request(Source, WL_POINTER_AXIS_SOURCE_FINGER);
        }
    }

    template <class... Arguments>
    void request(Request number, Arguments... arguments) {
        wl_proxy_marshal(proxy_, number, arguments...);
    }

    wl_display* display_;
    Globals globals_;
    wl_proxy* proxy_;
    VirtualKeyboard keyboard_;
};

}  // namespace

int main(int count, char** arguments) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    wl_display* const display = wl_display_connect(nullptr);
    if (display == nullptr) {
        std::puts("no compositor answers");
        return 1;
    }
    Globals globals;
    globals.scale = count > 1 ? std::atof(arguments[1]) : 1;
    wl_registry* const registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, &globals);
    wl_display_roundtrip(display);
    wl_display_roundtrip(display);
    if (globals.manager == nullptr || globals.keyboards == nullptr || globals.output == nullptr) {
        std::puts("the compositor has no virtual pointers and keyboards");
        return 1;
    }
    Pointer pointer(display, globals);
    std::puts("ready");
    for (std::string line; std::getline(std::cin, line);) {
        if (!pointer.obey(line)) {
            std::printf("failed: %s\n", line.c_str());
            return 1;
        }
        std::puts("done");
    }
    return 0;
}
