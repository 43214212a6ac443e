#include "MivoraMac/platform/pictures/PixelBuffer.h"

#include <atomic>
#include <cstddef>
#include <limits>
#include <mutex>
#include <new>
#include <thread>

namespace Mivora::platform {

struct PixelBuffer::Lock {
    std::recursive_mutex mutex;
    std::atomic<std::thread::id> owner{};
    int depth = 0;  // the owner's

    bool isMine() const { return owner.load() == std::this_thread::get_id(); }
};

PixelBuffer::PixelBuffer() : lock_(std::make_unique<Lock>()) {}

PixelBuffer::~PixelBuffer() = default;

std::shared_ptr<PixelBuffer> PixelBuffer::create(std::uint64_t width, std::uint64_t height,
                                                 std::uint32_t pixelFormatType) {
    auto buffer = MVMake<PixelBuffer>();
    buffer->width_ = width;
    buffer->height_ = height;
    buffer->pixelFormatType_ = pixelFormatType;
    if (width != 0 && height != 0) {
        constexpr auto kMost =
            static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) / 4;
        if (width > kMost / height) {
            return nullptr;
        }
        buffer->pixels_.reset(new (std::nothrow) std::uint8_t[width * height * 4]());
        if (!buffer->pixels_) {
            return nullptr;
        }
    }
    return buffer;
}

void PixelBuffer::lockBaseAddress() {
    lock_->mutex.lock();
    lock_->owner = std::this_thread::get_id();
    ++lock_->depth;
}

void PixelBuffer::unlockBaseAddress() {
    if (!lock_->isMine()) {
        return;
    }
    if (--lock_->depth == 0) {
        lock_->owner = std::thread::id();
    }
    lock_->mutex.unlock();
}

std::uint8_t* PixelBuffer::baseAddress() const {
    return lock_->isMine() ? pixels_.get() : nullptr;
}

}  // namespace Mivora::platform
