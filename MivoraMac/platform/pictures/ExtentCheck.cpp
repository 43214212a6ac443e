#include <cinttypes>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"

namespace Mivora::platform {

bool areExtentsBorne(const char* what, std::uint64_t width, std::uint64_t height,
                     std::uint64_t largest) {
    if (width <= largest && height <= largest) {
        return true;
    }
    DebugLog::warnOnce(DebugLog::Category::GL,
                       "no %s of %" PRIu64 " x %" PRIu64 " pixels: %" PRIu64
                       " is the most a side here",
                       what, width, height, largest);
    return false;
}

}  // namespace Mivora::platform
