#pragma once

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// Ends the program with a message that names `operation`, unless on the main thread.
MIVORA_EXPORT void requireMainThread(const char* operation);

}  // namespace Mivora::platform

/// In builds with assertions: stops where an operation that belongs to the main thread is called on
/// another one.
#if defined(NDEBUG)
#define MIVORA_ASSERT_MAIN_THREAD(operation) static_cast<void>(0)
#else
#define MIVORA_ASSERT_MAIN_THREAD(operation) Mivora::platform::requireMainThread(operation)
#endif
