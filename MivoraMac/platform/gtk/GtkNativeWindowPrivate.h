#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/NativeWindow.h"

namespace Mivora::platform {

/// A window of the toolkit that a program made itself.
///
/// Thread: main.
class GtkNativeWindow : public NativeWindow {
 public:
    /// What stands for a window of the toolkit: what `setFor` said, or else an object of this class
    /// that lives as long as the window.
    /// @param root  the topmost widget
    static std::shared_ptr<NativeWindow> of(GtkWidget* root);

    /// Says what stands for a window from here on. Held weakly.
    static void setFor(GtkWidget* root, const std::shared_ptr<NativeWindow>& window);

    ~GtkNativeWindow() override;

    /// 1 when the window is gone.
    double backingScaleFactor() const override;
    bool isMainWindow() const override;

    /// Whether a topmost widget is a window that the user works with.
    static bool isActive(GtkWidget* root);

 private:
    friend struct ::MVMaker;
    explicit GtkNativeWindow(GtkWidget* root);

    GtkWidget* root_;  // null when it is gone
};

}  // namespace Mivora::platform
