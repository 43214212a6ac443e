#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

namespace Mivora::platform {

/// A format type of four characters, the first in the highest byte: `pixelFormatType("BGRA")`.
constexpr std::uint32_t pixelFormatType(const char (&characters)[5]) {
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i) {
        type = type << 8 | static_cast<unsigned char>(characters[i]);
    }
    return type;
}

/// A video frame: pixels of four bytes in memory that its producer and its user take turns at.
///
/// Rows are tightly packed, the top one first.
///
/// Thread: any.
class MIVORA_EXPORT PixelBuffer {
 public:
    /// Bytes in the order blue, green, red, alpha.
    static constexpr std::uint32_t kBGRA = platform::pixelFormatType("BGRA");
    /// Bytes in the order red, green, blue, alpha.
    static constexpr std::uint32_t kRGBA = platform::pixelFormatType("RGBA");

    /// A buffer of zeros.
    /// @param width,height  in pixels; 0 is allowed
    /// @param pixelFormatType  `kBGRA`, `kRGBA` or any other type of four bytes a pixel
    /// @return null when there is not the memory
    static std::shared_ptr<PixelBuffer> create(std::uint64_t width, std::uint64_t height,
                                               std::uint32_t pixelFormatType);
    ~PixelBuffer();

    /// In pixels.
    std::uint64_t width() const { return width_; }
    std::uint64_t height() const { return height_; }
    /// As given at creation.
    std::uint32_t pixelFormatType() const { return pixelFormatType_; }

    /// Makes the pixels accessible to the calling thread, once no other thread has them locked.
    /// Calls nest; each wants an `unlockBaseAddress` on the same thread.
    void lockBaseAddress();

    /// Ends one `lockBaseAddress`; ignored on a thread that has not locked.
    void unlockBaseAddress();

    /// The first pixel; null on a thread that has not locked, and for a buffer without pixels.
    std::uint8_t* baseAddress() const;

 private:
    friend struct ::MVMaker;
    PixelBuffer();

    struct Lock;

    std::uint64_t width_ = 0;
    std::uint64_t height_ = 0;
    std::uint32_t pixelFormatType_ = 0;
    std::unique_ptr<std::uint8_t[]> pixels_;
    std::unique_ptr<Lock> lock_;
};

}  // namespace Mivora::platform
