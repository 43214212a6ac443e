#pragma once

#include <functional>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

extern "C" {
struct _GSource;
}

namespace Mivora::platform {

class RunLoop;

/// A repeating timer on the thread of a run loop.
///
/// It is due at whole multiples of its period after its start, so late firings do not add up to a
/// drift. A firing that takes longer than the period is followed by the next one at once; further
/// ones that passed meanwhile are left out.
///
/// Thread: the loop's.
class MIVORA_EXPORT Timer {
 public:
    /// A timer that fires first after one period, while `loop` turns.
    /// @param loop     the loop of the calling thread
    /// @param seconds  the period; below 0.0001 and NaN count as 0.0001, above 1e9 as 1e9
    /// @param fired    what to call; what it throws is logged. It may invalidate or drop the timer
    /// @throws MVException (invalid argument) when `loop` is null or another thread's;
    ///         std::system_error when the system has no timer to give
    static std::shared_ptr<Timer> scheduledTimer(const std::shared_ptr<RunLoop>& loop,
                                                 double seconds, std::function<void()> fired);

    /// Invalidates the timer.
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// Stops the timer for good. `fired` is destroyed, at the latest when a call under way ends.
    void invalidate();

    /// Stops firing until `resume`; nothing wakes the thread meanwhile. May be called by `fired`.
    /// No effect on a timer that is suspended or invalid.
    void suspend();

    /// Goes on after `suspend` with the first moment of the same schedule that has not passed.
    /// Firings that passed meanwhile are left out. No effect on a timer that is not suspended.
    void resume();

    /// Whether the timer is still to fire, now or once it is resumed: `invalidate` has not been
    /// called.
    bool isValid() const { return source_ != nullptr; }

 private:
    friend struct ::MVMaker;

    struct Source;

    explicit Timer(_GSource* source) : source_(source) {}

    _GSource* source_;
};

}  // namespace Mivora::platform
