#pragma once

#include <memory>

#include "MivoraMac/Export.h"

class MVView;

namespace Mivora::platform {
class ConcurrentQueue;
class SerialQueue;
}  // namespace Mivora::platform

/// Makes a serial queue for the layout of a view, which the queue knows without keeping it alive.
/// @param view  may be null, which makes a queue that counts as no view's
MIVORA_EXPORT std::shared_ptr<Mivora::platform::SerialQueue> MVViewCreateLayoutDispatchQueue(
    MVView* view);

/// Whether the calling code runs on a view's layout queue.
/// @param view  the view whose queue is meant; null for that of any
MIVORA_EXPORT bool MVViewIsExecutingOnLayoutDispatchQueue(const MVView* view);

/// The process-wide concurrent queue, for laying out subviews that do not depend on each other.
MIVORA_EXPORT std::shared_ptr<Mivora::platform::ConcurrentQueue> MVViewSubviewLayoutDispatchQueue();
