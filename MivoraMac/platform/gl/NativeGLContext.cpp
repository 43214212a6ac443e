#include "MivoraMac/platform/gl/NativeGLContext.h"

#include <utility>

#include "MivoraMac/platform/gl/GLStatePrivate.h"

namespace Mivora::platform {

NativeGLContext::NativeGLContext() = default;

NativeGLContext::~NativeGLContext() = default;

void NativeGLContext::whenNextCurrent(std::function<void()> work) {
    const std::lock_guard lock(workMutex_);
    waitingWork_.push_back(std::move(work));
    hasWaitingWork_.store(true, std::memory_order_release);
}

std::vector<std::function<void()>> NativeGLContext::takeWaitingWork() {
    const std::lock_guard lock(workMutex_);
    hasWaitingWork_.store(false, std::memory_order_release);
    return std::exchange(waitingWork_, {});
}

void NativeGLContext::doWaitingWork() {
    if (hasWaitingWork()) {
        for (const std::function<void()>& work : takeWaitingWork()) {
            work();
        }
    }
}

}  // namespace Mivora::platform
