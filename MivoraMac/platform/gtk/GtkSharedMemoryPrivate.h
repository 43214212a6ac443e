#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// Has cairo keep the memory that it shares with an X server for pictures of a size, as long as
/// this is kept. Else it would get new memory for each picture that a window shows, and both
/// processes all its pages.
using GtkSharedMemory = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// @param display  where the pictures are shown
/// @return null on displays of other kinds, and where nothing can be shared
///
/// Thread: main.
GtkSharedMemory keepSharedMemory(GdkDisplay* display, PixelSize size);

}  // namespace Mivora::platform
