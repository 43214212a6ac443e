// The carousel example in a window of a real X server, with the GTK host.
//
// Held constant: 1280 x 800 points at scale 1, 4 samples a pixel, an X server in memory that this
// program starts, everything rasterised in software. Each measurement is a process of its own,
// which this program starts again with the name of the measurement:
// - startup: from the start of the process to the first frame that the toolkit has put on the
//   screen; the median of five. Next to it the same of a window with nothing in it but a colour of
//   the toolkit's, as the reference.
// - rest: ten seconds with the pointer away and nothing moving.
// - moving: ten seconds of the ring turning. A frame is drawn when it has been presented, and shown
//   when the toolkit has painted a picture that it was not in before.
// - hover: a view as large as the window changes its colour with every move of the pointer. From
//   the move, which another connection to the server asks for, to the changed pixel, which that
//   connection reads off the screen; the median of 40, after ten that do not count.
// - memory: what the process holds after ten seconds and after two minutes of the ring turning, and
//   an empty window of the toolkit's after ten seconds.

#include <gtk/gtk.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "bench/support/Bench.h"
#include "examples/carousel/Carousel.h"

// Its macros would change the names of others. clang-format off
#include <X11/Xlib.h>
#include <X11/Xutil.h>
// clang-format on

using namespace Mivora::bench;
using Mivora::platform::GtkWidgetForView;
using Mivora::platform::Host;
using Mivora::platform::MainThread;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr double kSeconds = 10;
constexpr const char* kStartVariable = "MIVORA_BENCH_START";

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// In the measured processes

/// Turns the main loop, without looking at anything meanwhile.
void turnMainLoopFor(double seconds) {
    const guint timer = g_timeout_add(
        static_cast<guint>(seconds * 1e3),
        [](gpointer) -> gboolean {
            MainThread::quit();
            return G_SOURCE_REMOVE;
        },
        nullptr);
    MainThread::run();
    static_cast<void>(timer);
}

/// A window of the toolkit that calls `painted` after everything it paints.
class PaintedWindow {
 public:
    PaintedWindow(GtkWidget* content, std::function<void()> painted)
        : window_(gtk_window_new()), painted_(std::move(painted)) {
        gtk_window_set_decorated(GTK_WINDOW(window_), FALSE);
        gtk_window_set_default_size(GTK_WINDOW(window_), kWidth, kHeight);
        gtk_window_set_child(GTK_WINDOW(window_), content);
        gtk_window_present(GTK_WINDOW(window_));
        g_signal_connect_swapped(gtk_widget_get_frame_clock(window_), "after-paint",
                                 G_CALLBACK(+[](PaintedWindow* self) { self->painted_(); }), this);
    }
    ~PaintedWindow() { gtk_window_destroy(GTK_WINDOW(window_)); }
    PaintedWindow(const PaintedWindow&) = delete;
    PaintedWindow& operator=(const PaintedWindow&) = delete;

 private:
    GtkWidget* window_;
    std::function<void()> painted_;
};

/// The carousel in a window.
class Scene {
 public:
    Scene()
        : carousel_(Carousel::make(application_->animationClock())),
          window_(GtkWidgetForView(application_->renderView()), [this] { painted(); }) {
        carousel_->setSize({kWidth, kHeight});
        application_->window()->setFarDistance(3000);
        application_->window()->addSubview(carousel_);
        application_->setActive(true);
    }
    ~Scene() { application_->setActive(false); }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    Carousel& carousel() { return *carousel_; }

    std::uint64_t drawnFrames() const {
        const auto context = application_->renderView()->openGLContext();
        return context ? context->drawable().latestFrame().serial : 0;
    }
    int shownFrames() const { return shown_; }

 private:
    void painted() {
        // What is there before a paint is in it.
        const std::uint64_t latest = drawnFrames();
        if (latest != painted_) {
            painted_ = latest;
            ++shown_;
        }
    }

    std::shared_ptr<MVApplication> application_ = MVApplication::init();
    std::shared_ptr<Carousel> carousel_;
    std::uint64_t painted_ = 0;
    int shown_ = 0;
    PaintedWindow window_;
};

/// Kicks the ring on, which would come to rest, as long as this lasts.
class Motion {
 public:
    explicit Motion(Carousel& carousel)
        : timer_(g_timeout_add(
              250,
              [](gpointer kicked) -> gboolean {
                  static_cast<Carousel*>(kicked)->spin(1);
                  return G_SOURCE_CONTINUE;
              },
              &carousel)) {}
    ~Motion() { g_source_remove(timer_); }
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

 private:
    const guint timer_;
};

void print(const std::vector<double>& values) {
    for (const double value : values) {
        std::printf("%.9g ", value);
    }
    std::printf("\n");
}

double secondsSinceStart() {
    const char* start = std::getenv(kStartVariable);
    return now() - (start != nullptr ? std::strtod(start, nullptr) : 0);
}

int measureStartup() {
    Scene scene;
    MainThread::runUntil([&] { return scene.shownFrames() > 0; }, 30);
    print({secondsSinceStart()});
    return EXIT_SUCCESS;
}

int measureEmptyStartup() {
    gtk_init();
    bool painted = false;
    PaintedWindow window(gtk_frame_new(nullptr), [&] { painted = true; });
    while (!painted) {
        g_main_context_iteration(nullptr, TRUE);
    }
    print({secondsSinceStart()});
    return EXIT_SUCCESS;
}

int measureRest() {
    Scene scene;
    turnMainLoopFor(2);
    const double before = processorSeconds();
    const std::uint64_t drawn = scene.drawnFrames();
    const double start = now();
    turnMainLoopFor(kSeconds);
    print({(processorSeconds() - before) / (now() - start) * 100,
           static_cast<double>(scene.drawnFrames() - drawn)});
    return EXIT_SUCCESS;
}

int measureMoving() {
    Scene scene;
    turnMainLoopFor(2);
    const Motion motion(scene.carousel());
    turnMainLoopFor(1);
    const std::uint64_t drawn = scene.drawnFrames();
    const int shown = scene.shownFrames();
    const double start = now();
    turnMainLoopFor(kSeconds);
    const double seconds = now() - start;
    print({static_cast<double>(scene.drawnFrames() - drawn) / seconds,
           static_cast<double>(scene.shownFrames() - shown) / seconds});
    return EXIT_SUCCESS;
}

/// What the process holds, in MiB.
double residentMebibytes() {
    std::ifstream file("/proc/self/statm");
    double all = 0;
    double resident = 0;
    file >> all >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

int measureMemory() {
    Scene scene;
    const Motion motion(scene.carousel());
    turnMainLoopFor(kSeconds);
    const double early = residentMebibytes();
    turnMainLoopFor(120 - kSeconds);
    print({early, residentMebibytes()});
    return EXIT_SUCCESS;
}

int measureEmptyMemory() {
    gtk_init();
    PaintedWindow window(gtk_frame_new(nullptr), [] {});
    const double end = now() + kSeconds;
    while (now() < end) {
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(1000);
    }
    print({residentMebibytes()});
    return EXIT_SUCCESS;
}

/// Bright while the pointer is in its right half, else dark.
class Signal : public MVColorView {
 public:
    Signal() : MVColorView({0, 0, 0, 1}) {
        setSize({kWidth, kHeight});
        setMouseHoverEnabled(true);
    }
    void mouseHoverBegan(const std::shared_ptr<MVMouse>& mouse) override { follow(mouse); }
    void mouseHoverMoved(const std::shared_ptr<MVMouse>& mouse) override { follow(mouse); }

 private:
    void follow(const std::shared_ptr<MVMouse>& mouse) {
        const float level = mouse->locationInView(shared_from_this()).x > kWidth / 2 ? 1 : 0;
        setColor({level, level, level, 1});
    }
};

/// Moves the pointer and waits for the pixel to change, over a connection of its own.
/// @return the milliseconds that each took; fewer where a pixel never came
std::vector<double> moveAndWait() {
    constexpr int kWarmUpMoves = 10;
    constexpr int kMoves = 40;
    constexpr double kLongest = 5;
    Display* const display = XOpenDisplay(nullptr);
    const ::Window root = DefaultRootWindow(display);
    const auto pixel = [&] {
        XImage* const image = XGetImage(display, root, 600, 400, 1, 1, AllPlanes, ZPixmap);
        const unsigned long value = XGetPixel(image, 0, 0);
        XDestroyImage(image);
        return value;
    };
    // There is no window manager that would make the window the main one, which alone hears of
    // hovers.
    XWarpPointer(display, None, root, 0, 0, 0, 0, 300, 300);
    ::Window parent = 0;
    ::Window child = 0;
    int x = 0;
    int y = 0;
    unsigned buttons = 0;
    XQueryPointer(display, root, &parent, &child, &x, &y, &x, &y, &buttons);
    XSetInputFocus(display, child, RevertToParent, CurrentTime);
    XSync(display, False);
    g_usleep(500'000);
    std::vector<double> milliseconds;
    for (int i = 0; i < kWarmUpMoves + kMoves; ++i) {
        const unsigned long before = pixel();
        const double start = now();
        XWarpPointer(display, None, root, 0, 0, 0, 0, i % 2 == 0 ? 900 : 300, 300);
        XFlush(display);
        while (pixel() == before) {
            if (now() - start > kLongest) {
                XCloseDisplay(display);
                return {};
            }
            g_usleep(500);
        }
        if (i >= kWarmUpMoves) {
            milliseconds.push_back((now() - start) * 1e3);
        }
        g_usleep(150'000 + static_cast<gulong>(i % 7) * 3'000);  // at any time between two frames
    }
    XCloseDisplay(display);
    return milliseconds;
}

int measureHover() {
    const auto application = MVApplication::init();
    application->window()->addSubview(MVMake<Signal>());
    PaintedWindow window(GtkWidgetForView(application->renderView()), [] {});
    application->setActive(true);
    turnMainLoopFor(2);
    std::vector<double> milliseconds;
    std::thread mover([&] {
        milliseconds = moveAndWait();
        MainThread::perform([] { MainThread::quit(); });
    });
    MainThread::run();
    mover.join();
    application->setActive(false);
    if (milliseconds.empty()) {
        throw std::runtime_error("the pixel does not change");
    }
    print({median(milliseconds)});
    return EXIT_SUCCESS;
}

// In the process that starts them

/// An X server in memory until the end of the scope; `DISPLAY` names it.
class Server {
 public:
    Server() {
        std::array<int, 2> ends{};
        if (::pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
        process_ = ::fork();
        if (process_ == 0) {
            ::close(ends[0]);
            const std::string number = std::to_string(ends[1]);
            std::freopen("/dev/null", "w", stderr);
            ::execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1400x900x24",
                     static_cast<char*>(nullptr));
            ::_exit(127);
        }
        ::close(ends[1]);
        std::string display;
        char character = 0;
        while (::read(ends[0], &character, 1) == 1 && character != '\n') {
            display += character;
        }
        ::close(ends[0]);
        if (display.empty()) {
            throw std::runtime_error("Xvfb does not start (package xvfb)");
        }
        ::setenv("DISPLAY", (":" + display).c_str(), 1);
        ::setenv("GDK_BACKEND", "x11", 1);
        ::setenv("MIVORA_HOST", "gtk", 1);
        ::unsetenv("WAYLAND_DISPLAY");
    }
    ~Server() {
        ::kill(process_, SIGTERM);
        ::waitpid(process_, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

 private:
    pid_t process_;
};

/// Runs this program for a measurement.
/// @return the numbers it prints
std::vector<double> measure(const char* program, const std::string& what) {
    std::array<char, 64> start{};
    std::snprintf(start.data(), start.size(), "%.9f", now());
    ::setenv(kStartVariable, start.data(), 1);
    const std::string command = std::string("'") + program + "' " + what + " 2>/dev/null";
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::array<char, 256> line{};
    const bool read = output != nullptr && std::fgets(line.data(), line.size(), output) != nullptr;
    const int status = output != nullptr ? ::pclose(output) : -1;
    if (!read || status != 0) {
        throw std::runtime_error("the measurement \"" + what + "\" failed");
    }
    std::istringstream numbers(line.data());
    std::vector<double> values;
    for (double value = 0; numbers >> value;) {
        values.push_back(value);
    }
    return values;
}

int run(const char* program) {
    const Server server;
    std::vector<double> startup;
    std::vector<double> empty;
    for (int i = 0; i < 5; ++i) {
        startup.push_back(measure(program, "startup").at(0) * 1e3);
        empty.push_back(measure(program, "empty-startup").at(0) * 1e3);
    }
    const std::vector<double> rest = measure(program, "rest");
    const std::vector<double> moving = measure(program, "moving");
    const std::vector<double> hover = measure(program, "hover");
    const std::vector<double> emptyMemory = measure(program, "empty-memory");
    const std::vector<double> memory = measure(program, "memory");

    Report report("host");
    report.condition("window", "1280 x 800, 4 samples a pixel, X server in memory");
    report.add("startup_ms", median(startup), "to the first frame shown; median of 5");
    report.add("empty_startup_ms", median(empty), "the same of an empty window of the toolkit");
    report.add("idle_cpu_percent", rest.at(0), "of one core, at rest; target: below 2");
    report.add("idle_presents", rest.at(1), "target: 0");
    report.add("drawn_fps", moving.at(0), "frames presented a second, while it turns");
    report.add("shown_fps", moving.at(1), "of these, painted by the toolkit");
    report.add("hover_to_pixel_ms", hover.at(0), "from a move to its pixel; median of 40");
    report.add("rss_mib_10s", memory.at(0), "after ten seconds of motion");
    report.add("rss_mib", memory.at(1), "after two minutes of motion; target: 1.1 times that");
    report.add("empty_rss_mib", emptyMemory.at(0),
               "an empty window of the toolkit; target: rss_mib at most 100 above");
    return report.finish();
}

}  // namespace

int main(int count, char** arguments) {
    const std::string what = count > 1 ? arguments[1] : "";
    try {
        if (what == "startup") {
            return measureStartup();
        }
        if (what == "empty-startup") {
            return measureEmptyStartup();
        }
        if (what == "rest") {
            return measureRest();
        }
        if (what == "hover") {
            return measureHover();
        }
        if (what == "memory") {
            return measureMemory();
        }
        if (what == "empty-memory") {
            return measureEmptyMemory();
        }
        if (what == "moving") {
            return measureMoving();
        }
        return run(arguments[0]);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "host: %s\n", exception.what());
        return EXIT_FAILURE;
    }
}
