// A Wayland compositor for the tests, with one screen of 1024 x 768 pixels that nobody sees, and with
// a pointer, fingers and a touchpad that do what the lines it reads say. Prints "ready", and "done" after each line.
//
//   TestCompositor [SCALE]    pixels for each point; 1 unless given
//
//   move X Y                  the pointer moves to a place of the screen, in points
//   press BUTTON              1 for the primary, 2 for the middle, 3 for the secondary button
//   release BUTTON
//   wheel LINES               the vertical wheel; downward is positive
//   fingers X Y               two fingers on a touchpad scroll by so many points
//   lift                      the fingers leave the touchpad
//   pinch begin               two fingers on a touchpad pinch, where the pointer is:
//   pinch update DX DY SCALE DEGREES
//                             their middle moves by so many points, their distance is so many times
//                             that at the begin, and they turn clockwise by so many degrees
//   pinch end / cancel
//   swipe FINGERS DX DY       a swipe on a touchpad, as a whole
//   touch ACTION...           fingers on the screen, in one frame. Each is told by a number:
//                             down FINGER X Y, move FINGER X Y, up FINGER
//   cancel                    the compositor takes all fingers over
//   close                     asks the window that has the keyboard to close
//   wait SECONDS
//
// A window comes to the top left corner, takes the keyboard and is the active one until another one
// comes; then it is so again when that has gone. Menus are shown where their windows ask for them.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/host/TestSeat.h"
#include "tests/host/Wlroots.h"

namespace {

using Mivora::tests::Listener;
using Mivora::tests::TestSeat;

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
constexpr int kMillihertz = 60000;

class Compositor {
 public:
    explicit Compositor(float scale);
    ~Compositor();
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    void run();

 private:
    /// A window or a menu.
    struct Surface {
        wlr_xdg_surface* surface;
        std::vector<std::unique_ptr<Listener>> listeners;
    };

    void makeScreen(float scale);
    void showFrame();
    void add(wlr_xdg_surface* surface);
    void activate(wlr_xdg_surface* window);
    void deactivate(wlr_xdg_surface* window);
    void remove(wlr_xdg_surface* surface);
    void readLines();
    void obeyLines();
    void hasWaited();
    bool obey(const std::string& line);

    wl_display* const display_ = wl_display_create();
    wl_event_loop* const loop_ = wl_display_get_event_loop(display_);
    wlr_backend* const backend_ = wlr_headless_backend_create(display_);
    wlr_renderer* const renderer_ = wlr_pixman_renderer_create();
    wlr_allocator* const allocator_ = wlr_allocator_autocreate(backend_, renderer_);
    wlr_scene* const scene_ = wlr_scene_create();
    wlr_output_layout* const layout_ = wlr_output_layout_create();
    wlr_xdg_shell* const shell_ = wlr_xdg_shell_create(display_);
    wlr_output* screen_ = nullptr;
    std::unique_ptr<TestSeat> seat_;
    std::vector<std::unique_ptr<Listener>> listeners_;
    std::vector<std::unique_ptr<Surface>> surfaces_;
    std::vector<wlr_xdg_surface*> windows_;  // that are shown; the last is the active one

    std::string input_;              // what is read, up to the last end of a line
    std::deque<std::string> lines_;  // to be obeyed
    wl_event_source* timer_ = nullptr;
    bool isWaiting_ = false;
};

Compositor::Compositor(float scale) {
    wlr_renderer_init_wl_display(renderer_, display_);
    wlr_compositor_create(display_, renderer_);
    wlr_data_device_manager_create(display_);
    wlr_xdg_output_manager_v1_create(display_, layout_);
    wlr_screencopy_manager_v1_create(display_);
    // Windows without frames, so that their content is at their corner.
    wlr_server_decoration_manager_set_default_mode(wlr_server_decoration_manager_create(display_),
                                                   WLR_SERVER_DECORATION_MANAGER_MODE_SERVER);
    wlr_scene_attach_output_layout(scene_, layout_);
    seat_ = std::make_unique<TestSeat>(display_, backend_, scene_);
    listeners_.push_back(std::make_unique<Listener>(shell_->events.new_surface, [this](void* data) {
        add(static_cast<wlr_xdg_surface*>(data));
    }));
    wlr_backend_start(backend_);
    makeScreen(scale);
    timer_ = wl_event_loop_add_timer(
        loop_,
        [](void* self) {
            static_cast<Compositor*>(self)->hasWaited();
            return 0;
        },
        this);
    wl_event_loop_add_fd(
        loop_, STDIN_FILENO, WL_EVENT_READABLE,
        [](int, std::uint32_t, void* self) {
            static_cast<Compositor*>(self)->readLines();
            return 0;
        },
        this);
}

Compositor::~Compositor() {
    wl_display_destroy_clients(display_);
    listeners_.clear();
    seat_.reset();
    wl_display_destroy(display_);
}

void Compositor::makeScreen(float scale) {
    screen_ = wlr_headless_add_output(backend_, kWidth, kHeight);
    wlr_output_init_render(screen_, allocator_, renderer_);
    wlr_output_set_custom_mode(screen_, kWidth, kHeight, kMillihertz);
    wlr_output_set_scale(screen_, scale);
    wlr_output_enable(screen_, true);
    wlr_output_commit(screen_);
    wlr_output_layout_add_auto(layout_, screen_);
    listeners_.push_back(
        std::make_unique<Listener>(screen_->events.frame, [this](void*) { showFrame(); }));
}

void Compositor::showFrame() {
    wlr_scene_output* const output = wlr_scene_get_scene_output(scene_, screen_);
    wlr_scene_output_commit(output);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    wlr_scene_output_send_frame_done(output, &now);
}

void Compositor::add(wlr_xdg_surface* surface) {
    auto* parent = &scene_->node;
    if (surface->role == WLR_XDG_SURFACE_ROLE_POPUP) {
        parent = static_cast<wlr_scene_node*>(
            wlr_xdg_surface_from_wlr_surface(surface->popup->parent)->data);
    }
    surface->data = wlr_scene_xdg_surface_create(parent, surface);
    auto known = std::make_unique<Surface>();
    known->surface = surface;
    const auto listen = [&](wl_signal& signal, auto call) {
        known->listeners.push_back(std::make_unique<Listener>(signal, std::move(call)));
    };
    listen(surface->events.destroy, [this, surface](void*) { remove(surface); });
    if (surface->role == WLR_XDG_SURFACE_ROLE_TOPLEVEL) {
        listen(surface->events.map, [this, surface](void*) { activate(surface); });
        listen(surface->events.unmap, [this, surface](void*) { deactivate(surface); });
    }
    surfaces_.push_back(std::move(known));
}

void Compositor::activate(wlr_xdg_surface* window) {
    if (!windows_.empty()) {
        wlr_xdg_toplevel_set_activated(windows_.back(), false);
    }
    std::erase(windows_, window);
    windows_.push_back(window);
    wlr_scene_node_raise_to_top(static_cast<wlr_scene_node*>(window->data));
    wlr_xdg_toplevel_set_activated(window, true);
    seat_->focusKeyboard(window->surface);
}

void Compositor::deactivate(wlr_xdg_surface* window) {
    const bool wasActive = windows_.back() == window;
    std::erase(windows_, window);
    if (wasActive && !windows_.empty()) {
        activate(windows_.back());
    }
}

void Compositor::remove(wlr_xdg_surface* surface) {
    std::erase_if(surfaces_, [surface](const auto& known) { return known->surface == surface; });
}

void Compositor::readLines() {
    char bytes[4096];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) {
        wl_display_terminate(display_);
        return;
    }
    input_.append(bytes, static_cast<std::size_t>(count));
    for (std::size_t end = input_.find('\n'); end != std::string::npos; end = input_.find('\n')) {
        lines_.push_back(input_.substr(0, end));
        input_.erase(0, end + 1);
    }
    obeyLines();
}

void Compositor::obeyLines() {
    while (!lines_.empty() && !isWaiting_) {
        const std::string line = lines_.front();
        lines_.pop_front();
        const bool isDone = obey(line);
        wl_display_flush_clients(display_);
        if (!isDone) {
            std::printf("failed: %s\n", line.c_str());
        } else if (!isWaiting_) {
            std::puts("done");
        }
    }
}

void Compositor::hasWaited() {
    isWaiting_ = false;
    std::puts("done");
    obeyLines();
}

bool Compositor::obey(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "wait") {
        double seconds = 0;
        words >> seconds;
        isWaiting_ = wl_event_source_timer_update(
                         timer_, std::max(1, static_cast<int>(seconds * 1000))) == 0;
        return isWaiting_;
    }
    if (command == "close") {
        if (!windows_.empty()) {
            wlr_xdg_toplevel_send_close(windows_.back());
        }
        return !windows_.empty();
    }
    return seat_->obey(command, words);
}

void Compositor::run() {
    const char* const socket = wl_display_add_socket_auto(display_);
    if (socket == nullptr) {
        std::puts("no socket can be made in XDG_RUNTIME_DIR");
        return;
    }
    std::puts("ready");
    wl_display_run(display_);
}

}  // namespace

int main(int count, char** arguments) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    wlr_log_init(WLR_ERROR, nullptr);
    Compositor compositor(count > 1 ? std::strtof(arguments[1], nullptr) : 1.0F);
    compositor.run();
    return 0;
}
