#include "MivoraMac/input/MVCursor.h"

#include <array>
#include <cstddef>

const char* MVCursorName(MVCursor cursor) {
    constexpr std::array kNames = {
        "",          "default",    "none",        "context-menu", "help",        "pointer",
        "progress",  "wait",       "cell",        "crosshair",    "text",        "vertical-text",
        "alias",     "copy",       "move",        "no-drop",      "not-allowed", "grab",
        "grabbing",  "all-scroll", "col-resize",  "row-resize",   "n-resize",    "e-resize",
        "s-resize",  "w-resize",   "ne-resize",   "nw-resize",    "se-resize",   "sw-resize",
        "ew-resize", "ns-resize",  "nesw-resize", "nwse-resize",  "zoom-in",     "zoom-out"};
    static_assert(kNames.size() == static_cast<std::size_t>(MVCursor::ZoomOut) + 1);
    const auto index = static_cast<std::size_t>(cursor);
    return index < kNames.size() ? kNames[index] : "";
}
