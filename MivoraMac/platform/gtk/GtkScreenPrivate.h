#pragma once

#include <gtk/gtk.h>

#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

/// The monitor that shows the active window of this process, or else the first one.
///
/// Thread: main.
class GtkScreen : public Screen {
 public:
    /// 1 where the display has no monitor.
    double backingScaleFactor() const override;

    /// The monitor that this is; null when the display has none. Owned by the display.
    static GdkMonitor* mainMonitor();

    /// The monitor that shows a widget, or null. Owned by the display.
    static GdkMonitor* monitorOf(GtkWidget* widget);

    /// The time between two refreshes, in seconds; 1/60 where the monitor does not say, and for
    /// null.
    static double refreshPeriod(GdkMonitor* monitor);
};

}  // namespace Mivora::platform
