#include "MivoraMac/platform/gtk/GtkScreenPrivate.h"

namespace Mivora::platform {

namespace {

GtkWidget* activeWindow() {
    GListModel* const windows = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
        g_autoptr(GtkWindow) window = GTK_WINDOW(g_list_model_get_item(windows, i));
        if (gtk_window_is_active(window) != FALSE) {
            return GTK_WIDGET(window);
        }
    }
    return nullptr;
}

}  // namespace

double GtkScreen::backingScaleFactor() const {
    GdkMonitor* const monitor = mainMonitor();
    return monitor != nullptr ? gdk_monitor_get_scale_factor(monitor) : 1;
}

GdkMonitor* GtkScreen::mainMonitor() {
    if (GtkWidget* const window = activeWindow()) {
        if (GdkMonitor* const monitor = monitorOf(window)) {
            return monitor;
        }
    }
    GListModel* const monitors = gdk_display_get_monitors(gdk_display_get_default());
    g_autoptr(GdkMonitor) first = GDK_MONITOR(g_list_model_get_item(monitors, 0));
    return first;
}

GdkMonitor* GtkScreen::monitorOf(GtkWidget* widget) {
    GtkNative* const native = gtk_widget_get_native(widget);
    GdkSurface* const surface = native != nullptr ? gtk_native_get_surface(native) : nullptr;
    return surface != nullptr
               ? gdk_display_get_monitor_at_surface(gdk_surface_get_display(surface), surface)
               : nullptr;
}

double GtkScreen::refreshPeriod(GdkMonitor* monitor) {
    constexpr double kUsualHertz = 60;
    const int millihertz = monitor != nullptr ? gdk_monitor_get_refresh_rate(monitor) : 0;
    return millihertz > 0 ? 1000.0 / millihertz : 1 / kUsualHertz;
}

}  // namespace Mivora::platform
