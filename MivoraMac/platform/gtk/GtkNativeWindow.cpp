#include "MivoraMac/platform/gtk/GtkNativeWindowPrivate.h"

namespace Mivora::platform {

namespace {

struct Standing {
    std::shared_ptr<NativeWindow> own;
    std::weak_ptr<NativeWindow> given;
};

/// What stands for the window, kept with it.
Standing& standing(GtkWidget* root) {
    static const GQuark quark = g_quark_from_static_string("mivora-native-window");
    auto* known = static_cast<Standing*>(g_object_get_qdata(G_OBJECT(root), quark));
    if (known == nullptr) {
        known = std::make_unique<Standing>().release();
        g_object_set_qdata_full(G_OBJECT(root), quark, known, [](gpointer data) {
            std::unique_ptr<Standing>(static_cast<Standing*>(data)).reset();
        });
    }
    return *known;
}

}  // namespace

std::shared_ptr<NativeWindow> GtkNativeWindow::of(GtkWidget* root) {
    Standing& known = standing(root);
    if (auto given = known.given.lock()) {
        return given;
    }
    if (!known.own) {
        known.own = MVMake<GtkNativeWindow>(root);
    }
    return known.own;
}

void GtkNativeWindow::setFor(GtkWidget* root, const std::shared_ptr<NativeWindow>& window) {
    standing(root).given = window;
}

GtkNativeWindow::GtkNativeWindow(GtkWidget* root) : root_(root) {
    g_object_add_weak_pointer(G_OBJECT(root_), reinterpret_cast<gpointer*>(&root_));
}

GtkNativeWindow::~GtkNativeWindow() {
    if (root_ != nullptr) {
        g_object_remove_weak_pointer(G_OBJECT(root_), reinterpret_cast<gpointer*>(&root_));
    }
}

double GtkNativeWindow::backingScaleFactor() const {
    return root_ != nullptr ? gtk_widget_get_scale_factor(root_) : 1;
}

bool GtkNativeWindow::isMainWindow() const {
    return root_ != nullptr && isActive(root_);
}

bool GtkNativeWindow::isActive(GtkWidget* root) {
    if (!GTK_IS_WINDOW(root)) {
        return false;
    }
    // The toolkit calls a window active once it has the keyboard, which not every desktop has.
    GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(root));
    return gtk_window_is_active(GTK_WINDOW(root)) != FALSE ||
           (surface != nullptr &&
            (gdk_toplevel_get_state(GDK_TOPLEVEL(surface)) & GDK_TOPLEVEL_STATE_FOCUSED) != 0);
}

}  // namespace Mivora::platform
