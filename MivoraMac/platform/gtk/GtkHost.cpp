#include "MivoraMac/platform/gtk/GtkHostPrivate.h"

#include <dlfcn.h>
#include <gtk/gtk.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "MivoraMac/platform/gtk/GtkDisplayLinkPrivate.h"
#include "MivoraMac/platform/gtk/GtkGLContextPrivate.h"
#include "MivoraMac/platform/gtk/GtkPlatformWindowPrivate.h"
#include "MivoraMac/platform/gtk/GtkScreenPrivate.h"
#include "MivoraMac/platform/threads/MainThread.h"

using Mivora::platform::GtkHost;
using Mivora::platform::Host;

extern "C" {

/// What the link line of programs refers to, so that linkers keep this library, and of an archive
/// this object, although nothing else in a program may name it.
extern MIVORA_EXPORT const bool mivoraGtkHostIsLinked;
const bool mivoraGtkHostIsLinked =
    (Host::registerDesktopHost(GtkHost::kName, GtkHost::create), true);

}  // extern "C"

namespace Mivora::platform {

namespace {

/// GL is used on a thread of its own, over the toolkit's connection to an X server. Xlib has to be
/// told so before its first use; libX11 1.8 needs no telling.
void allowThreadsInXlib() {
    using Initialize = int (*)();
    if (const auto initialize = reinterpret_cast<Initialize>(dlsym(RTLD_DEFAULT, "XInitThreads"))) {
        initialize();
    }
}

/// Where frames are copied although there is GL, that is GL in software: the toolkit's renderers
/// for it would upload each frame, draw it and read it back for the screen. Its drawing in memory
/// is faster. A program that chooses, in the toolkit's way, is left alone.
void preferDrawingInMemory() {
    constexpr const char* kChoice = "gsk-renderer";  // where the toolkit looks first
    GObject* const display = G_OBJECT(gdk_display_get_default());
    if (std::getenv("GSK_RENDERER") == nullptr && g_object_get_data(display, kChoice) == nullptr &&
        GtkGLContext::forMainThread() != nullptr && !GtkGLContext::isShared()) {
        g_object_set_data_full(display, kChoice, g_strdup("cairo"), g_free);
    }
}

}  // namespace

std::unique_ptr<Host> GtkHost::create() {
    if (gtk_is_initialized() == FALSE) {
        allowThreadsInXlib();
        // How numbers are written is the program's to decide.
        gtk_disable_setlocale();
    }
    return gtk_init_check() != FALSE ? std::make_unique<GtkHost>() : nullptr;
}

GtkHost::GtkHost()
    : screen_(std::make_shared<GtkScreen>()),
      refreshPeriod_(GtkScreen::refreshPeriod(GtkScreen::mainMonitor())) {
    preferDrawingInMemory();
    g_signal_connect(gdk_display_get_monitors(gdk_display_get_default()), "items-changed",
                     G_CALLBACK(+[](GListModel*, guint, guint, guint, gpointer self) {
                         static_cast<GtkHost*>(self)->refreshPeriod_ =
                             GtkScreen::refreshPeriod(GtkScreen::mainMonitor());
                     }),
                     this);
}

GtkHost::~GtkHost() {
    g_signal_handlers_disconnect_by_data(gdk_display_get_monitors(gdk_display_get_default()), this);
}

std::shared_ptr<Screen> GtkHost::mainScreen() {
    return screen_;
}

std::shared_ptr<NativeGLContext> GtkHost::createNativeGLContext() {
    std::shared_ptr<NativeGLContext> context;
    MainThread::performAndWait([&] { context = GtkGLContext::create(); });
    return context ? context : Host::createNativeGLContext();
}

ClickSettings GtkHost::clickSettings() {
    ClickSettings click;
    GtkSettings* const settings = gtk_settings_get_default();
    if (settings == nullptr) {
        return click;
    }
    int milliseconds = 0;
    int distance = 0;
    guint longPress = 0;
    g_object_get(settings, "gtk-double-click-time", &milliseconds, "gtk-double-click-distance",
                 &distance, "gtk-long-press-time", &longPress, nullptr);
    click.doubleClickSeconds = std::max(milliseconds, 0) / 1e3;
    click.doubleClickDistance = std::max(distance, 0);
    click.longPressSeconds = longPress / 1e3;
    return click;
}

std::unique_ptr<DisplayLink> GtkHost::createDisplayLink(std::function<void()> refreshed) {
    return std::make_unique<GtkDisplayLink>(std::move(refreshed), refreshPeriod_);
}

std::shared_ptr<Window> GtkHost::createWindow(const std::string& title, const Rect& content) {
    return GtkPlatformWindow::create(title, content);
}

}  // namespace Mivora::platform
