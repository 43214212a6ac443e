#include "MivoraMac/platform/gtk/GtkSharedMemoryPrivate.h"

#ifdef GDK_WINDOWING_X11
#include <cairo-xlib.h>
#include <gdk/x11/gdkx.h>
#endif

namespace Mivora::platform {

GtkSharedMemory keepSharedMemory([[maybe_unused]] GdkDisplay* display,
                                 [[maybe_unused]] PixelSize size) {
    GtkSharedMemory kept(nullptr, cairo_surface_destroy);
#ifdef GDK_WINDOWING_X11
    if (display == nullptr || !GDK_IS_X11_DISPLAY(display)) {
        return kept;
    }
    Display* const server = gdk_x11_display_get_xdisplay(display);
    const int screen = DefaultScreen(server);
    const GtkSharedMemory root(cairo_xlib_surface_create(server, RootWindow(server, screen),
                                                         DefaultVisual(server, screen), 1, 1),
                               cairo_surface_destroy);
    // Cairo shares a block of several times the size, out of which the pictures come. One that is
    // small, but lies in there, keeps it.
    const GtkSharedMemory picture(cairo_surface_create_similar_image(
                                      root.get(), CAIRO_FORMAT_ARGB32, size.width, size.height),
                                  cairo_surface_destroy);
    constexpr int kLeast = 64;  // smaller ones are not shared
    kept.reset(cairo_surface_create_similar_image(root.get(), CAIRO_FORMAT_ARGB32, kLeast, kLeast));
#endif
    return kept;
}

}  // namespace Mivora::platform
