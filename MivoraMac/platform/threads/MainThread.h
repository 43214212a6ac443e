#pragma once

#include <functional>
#include <type_traits>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The thread that owns windows, events and view trees: the one that runs GLib's default main
/// context. Until somebody does, it is the thread that loaded the library.
///
/// A closure that throws is logged and ends.
class MIVORA_EXPORT MainThread {
 public:
    /// Whether the calling thread is the main thread.
    static bool isMainThread();

    /// Runs `closure` on the main thread in one of its next turns, in order of submission, also
    /// when called on the main thread itself. Thread: any.
    static void perform(std::function<void()> closure);

    /// Runs `closure` on the main thread and returns when it has run: at once when called there,
    /// and otherwise after whatever was submitted before. The main thread must be running its loop
    /// and must not itself be waiting for the caller. Thread: any.
    static void performAndWait(const std::function<void()>& closure);

    /// Runs the main loop on the calling thread until `quit`. Calls may nest; each `quit` ends the
    /// innermost one.
    static void run();

    /// Runs the main loop until `condition` holds, asking before the first turn and after each.
    /// @param timeoutSeconds  how long to try; not above zero or NaN: one pass over what is ready
    /// @return whether the condition held
    static bool runUntil(const std::function<bool()>& condition, double timeoutSeconds);

    /// Ends the innermost `run` once its current turn is over; ignored while none runs.
    /// Thread: any.
    static void quit();
};

}  // namespace Mivora::platform
