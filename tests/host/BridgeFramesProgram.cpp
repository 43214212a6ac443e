// Looks at every frame that the toolkit draws while a widget in the tree comes and goes: in many
// ways and at any time between two frames, while another widget keeps the toolkit drawing. For the
// scripts beside it; it obeys:
//
//   hide COUNT   takes the widget away and brings it back so many times, and prints "shown N
//   missing
//                N": the frames that showed the widget while it was away, and how often it was away
//                for no frame at all
//   quit         ends the program, as does the end of the input
#include <gtk/gtk.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::GtkWidgetForView;
using Mivora::platform::MainThread;
using Mivora::platform::ViewForGtkWidget;

namespace {

constexpr Mivora::Size2 kSize{60, 40};
constexpr double kPatience = 10;  // in seconds

/// A widget of one colour, which nothing else has. Other than a drawing of its own, the colour of a
/// widget is drawn without asking the program anew.
GtkWidget* newMarker() {
    GtkWidget* const marker = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_add_css_class(marker, "marker");
    GtkCssProvider* const style = gtk_css_provider_new();
    gtk_css_provider_load_from_data(style, ".marker { background-color: rgb(255, 0, 255); }", -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(style),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(style);
    return marker;
}

/// Whether the marker's colour is somewhere in what a window shows.
bool showsMarker(GtkWidget* window) {
    const int width = gtk_widget_get_width(window);
    const int height = gtk_widget_get_height(window);
    // What is recorded of the frame that has just been drawn: none of it has changed since.
    GdkPaintable* const shown = gtk_widget_paintable_new(window);
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(shown, snapshot, width, height);
    GskRenderNode* const node = gtk_snapshot_free_to_node(snapshot);
    g_object_unref(shown);
    cairo_surface_t* const image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    if (node != nullptr) {
        cairo_t* const cairo = cairo_create(image);
        gsk_render_node_draw(node, cairo);
        cairo_destroy(cairo);
        gsk_render_node_unref(node);
    }
    cairo_surface_flush(image);
    bool found = false;
    for (int y = 0; y < height; ++y) {
        const auto* const row = reinterpret_cast<const std::uint32_t*>(
            cairo_image_surface_get_data(image) + y * cairo_image_surface_get_stride(image));
        for (int x = 0; x < width; ++x) {
            found = found || (row[x] & 0xFFFFFFU) == 0xFF00FFU;
        }
    }
    cairo_surface_destroy(image);
    return found;
}

/// Has the application draw frame after frame: one at rest draws what is new at once.
class Pulse : public MVColorView, public MVAnimationClockTick {
 public:
    Pulse() {
        setSize({10, 10});
        setPosition({180, 10});
    }

    void tickVideoSync(double step, double /*sync*/) override {
        setRotation(rotation() + static_cast<float>(step));
    }
};

struct Program {
    std::shared_ptr<MVApplication> application = MVApplication::init();
    GtkWidget* window = nullptr;
    std::shared_ptr<MVView> outer = MVView::init();
    std::shared_ptr<MVView> inner = MVView::init();
    std::shared_ptr<MVBridgeView> bridge;
    std::shared_ptr<Pulse> pulse = MVMake<Pulse>();
    int frames = 0;   // since the widget was last taken away or brought back
    int showing = 0;  // of those
    std::mt19937 random{14};

    Program();
    void frameDrawn();
    void hide(int count);
    void takeAway();
    void bringBack();
    static void wait(const std::function<bool()>& until, double seconds) {
        MainThread::runUntil(until, seconds);
    }
};

Program::Program() {
    bridge = MVBridgeView::initWithBridgeView(ViewForGtkWidget(newMarker()));
    bridge->setSize(kSize);
    bridge->setPosition({20, 20});
    inner->addSubview(bridge);
    outer->addSubview(inner);
    application->window()->addSubview(outer);

    application->window()->addSubview(pulse);
    application->animationClock()->startTick(pulse);

    // It is only drawn: what is laid out anew, too, has all places looked at.
    GtkWidget* const drawn = gtk_drawing_area_new();
    gtk_widget_add_tick_callback(
        drawn,
        [](GtkWidget* widget, GdkFrameClock*, gpointer) -> gboolean {
            gtk_widget_queue_draw(widget);
            return G_SOURCE_CONTINUE;
        },
        nullptr, nullptr);
    auto busy = MVBridgeView::initWithBridgeView(ViewForGtkWidget(drawn));
    busy->setPosition({120, 20});
    busy->setSize({40, 40});
    application->window()->addSubview(busy);

    window = gtk_window_new();
    gtk_window_set_decorated(GTK_WINDOW(window), FALSE);
    gtk_window_set_default_size(GTK_WINDOW(window), 200, 100);
    gtk_window_set_child(GTK_WINDOW(window), GtkWidgetForView(application->renderView()));
    gtk_window_present(GTK_WINDOW(window));
    g_signal_connect_swapped(gtk_widget_get_frame_clock(window), "after-paint",
                             G_CALLBACK(+[](Program* self) { self->frameDrawn(); }), this);
}

void Program::frameDrawn() {
    ++frames;
    showing += showsMarker(window) ? 1 : 0;
}

/// One of the ways in which nothing is seen of the widget.
void Program::takeAway() {
    switch (random() % 8) {
        case 0:
            bridge->setHidden(true);
            break;
        case 1:
            outer->setHidden(true);
            break;
        case 2:
            bridge->removeFromSuperview();
            break;
        case 3:
            inner->removeFromSuperview();
            break;
        case 4:
            bridge->setSize({0, kSize.height});
            break;
        case 5:
            outer->setUniformScale(0);
            break;
        case 6:
            inner->removeFromSuperview();
            inner->setHidden(true);
            outer->addSubview(inner);
            break;
        default:
            bridge->removeFromSuperview();
            bridge->setSize(Mivora::Size2::kZero);
            inner->addSubview(bridge);
            break;
    }
}

void Program::bringBack() {
    outer->setUniformScale(1);
    outer->setHidden(false);
    inner->setHidden(false);
    bridge->setHidden(false);
    bridge->setSize(kSize);
    inner->addSubview(bridge);
    outer->addSubview(inner);
}

void Program::hide(int count) {
    int shown = 0;
    int missing = 0;
    for (int i = 0; i < count; ++i) {
        frames = showing = 0;
        wait([this] { return showing > 0; }, kPatience);
        if (showing == 0) {
            std::printf("not seen after %d frames\n", frames);
            return;
        }
        // At any time between two frames, and for any time.
        const auto some = [this] { return std::uniform_real_distribution<>(0, 0.04)(random); };
        wait([] { return false; }, some());
        application->setPaused(random() % 2 == 0);
        takeAway();
        frames = showing = 0;
        wait([] { return false; }, some());
        shown += showing;
        missing += frames == 0 ? 1 : 0;
        application->setPaused(false);
        bringBack();
    }
    std::printf("shown %d missing %d\n", shown, missing);
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Program program;
    program.application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines([&](const std::string& command, std::istringstream& rest) {
        int count = 0;
        rest >> count;
        if (command == "hide") {
            program.hide(count);
        } else {
            std::printf("unknown command: %s\n", command.c_str());
        }
    });
    gtk_window_destroy(GTK_WINDOW(program.window));
    program.application.reset();
    Mivora::tests::endProgram();
}
