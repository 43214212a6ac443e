#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/threads/ConcurrentQueue.h"

/// The queue on which images are rasterized in the background: the process-wide one for background
/// work. Thread: any.
MIVORA_EXPORT std::shared_ptr<Mivora::platform::ConcurrentQueue> MVImageDispatchQueue();
