#pragma once

// The headers of wlroots 0.15, which are made for C: arrays of a least length are no C++. What they
// include themselves comes before, so that it is read as it is.
#include <pixman.h>
#include <wayland-server-core.h>
#include <wayland-server-protocol.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdbool>
#include <cstddef>
#include <cstdint>
#include <ctime>

#pragma GCC diagnostic push
#ifdef __clang__
#pragma GCC diagnostic ignored "-Wkeyword-macro"
#endif
#define static
extern "C" {
#include <wlr/backend.h>
#include <wlr/backend/headless.h>
#include <wlr/interfaces/wlr_keyboard.h>
#include <wlr/render/allocator.h>
#include <wlr/render/pixman.h>
#include <wlr/render/wlr_renderer.h>
#include <wlr/types/wlr_compositor.h>
#include <wlr/types/wlr_data_device.h>
#include <wlr/types/wlr_input_device.h>
#include <wlr/types/wlr_keyboard.h>
#include <wlr/types/wlr_output.h>
#include <wlr/types/wlr_output_layout.h>
#include <wlr/types/wlr_pointer_gestures_v1.h>
#include <wlr/types/wlr_scene.h>
#include <wlr/types/wlr_screencopy_v1.h>
#include <wlr/types/wlr_seat.h>
#include <wlr/types/wlr_server_decoration.h>
#include <wlr/types/wlr_xdg_output_v1.h>
#include <wlr/types/wlr_xdg_shell.h>
#include <wlr/util/log.h>
}
#undef static
#pragma GCC diagnostic pop

#include <functional>
#include <utility>

namespace Mivora::tests {

/// Calls a function whenever a signal is emitted, as long as it lives. It may go within the call.
class Listener : private wl_listener {
 public:
    Listener(wl_signal& signal, std::function<void(void* data)> call)
        : wl_listener{}, call_(std::move(call)) {
        notify = [](wl_listener* self, void* data) {
            const auto kept = static_cast<Listener*>(self)->call_;
            kept(data);
        };
        wl_signal_add(&signal, this);
    }
    ~Listener() { wl_list_remove(&link); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

 private:
    std::function<void(void* data)> call_;
};

}  // namespace Mivora::tests
