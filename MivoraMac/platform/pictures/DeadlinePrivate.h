#pragma once

#include <functional>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// What became of work with a deadline.
enum class DeadlineOutcome {
    Done,
    Late,     ///< it goes on, at the lowest priority, and its result is nobody's
    Refused,  ///< not begun: too much late work goes on, or there is no thread to be had
};

/// Runs work that cannot be stopped on a thread of its own and waits for it, up to a time.
///
/// What work reads and writes has to live as long as itself, which may be longer than the call.
/// Work that is late when the process ends goes with it.
/// @param seconds  0 or less, and NaN, refuse
/// Thread: any.
MIVORA_EXPORT DeadlineOutcome runWithin(double seconds, std::function<void()> work);

}  // namespace Mivora::platform
