#pragma once

#include <glib-object.h>

#include "MivoraMac/platform/threads/MainThread.h"

namespace Mivora::platform {

/// Gives up a reference to an object of the toolkit in one of the next turns of the main loop.
///
/// The toolkit goes on using the windows and widgets that it calls out about; what a program does
/// in such a call, such as closing the window, is not to free them.
///
/// Thread: main.
inline void unrefLater(gpointer object) {
    MainThread::perform([object] { g_object_unref(object); });
}

/// Keeps an object of the toolkit until then.
inline void keepForThisTurn(gpointer object) {
    unrefLater(g_object_ref(object));
}

}  // namespace Mivora::platform
