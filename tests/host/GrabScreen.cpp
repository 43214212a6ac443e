#include "tests/host/GrabScreen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdint>

namespace Mivora::tests {

platform::Picture grabScreen() {
    Display* const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        return {};
    }
    const Window root = DefaultRootWindow(display);
    XWindowAttributes attributes;
    XGetWindowAttributes(display, root, &attributes);
    XImage* const image = XGetImage(display, root, 0, 0, static_cast<unsigned>(attributes.width),
                                    static_cast<unsigned>(attributes.height), AllPlanes, ZPixmap);
    platform::Picture picture{{attributes.width, attributes.height}, {}};
    for (int y = 0; y < attributes.height; ++y) {
        for (int x = 0; x < attributes.width; ++x) {
            const unsigned long pixel = XGetPixel(image, x, y);
            for (const int shift : {16, 8, 0}) {
                picture.rgba.push_back(static_cast<std::uint8_t>(pixel >> shift));
            }
            picture.rgba.push_back(255);
        }
    }
    XDestroyImage(image);
    XCloseDisplay(display);
    return picture;
}

}  // namespace Mivora::tests
