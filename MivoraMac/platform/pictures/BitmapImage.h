#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// Where the alpha of a pixel is and what it did to the colours.
///
/// "Last" and "first" say where alpha, or the byte in its place, stands beside red, green and blue.
enum class AlphaInfo : std::uint32_t {
    None = 0,                ///< three bytes a pixel, opaque
    PremultipliedLast = 1,   ///< colours are multiplied by alpha
    PremultipliedFirst = 2,  ///< colours are multiplied by alpha
    Last = 3,                ///< colours are straight
    First = 4,               ///< colours are straight
    NoneSkipLast = 5,        ///< four bytes a pixel, opaque, the last one means nothing
    NoneSkipFirst = 6,       ///< four bytes a pixel, opaque, the first one means nothing
};

/// Whether pixels carry alpha: the first four kinds after `None`.
constexpr bool hasAlpha(AlphaInfo info) {
    return info >= AlphaInfo::PremultipliedLast && info <= AlphaInfo::First;
}

/// The order of a pixel's bytes in memory.
enum class ByteOrder {
    Forward,   ///< as the alpha info names them: red, green, blue, alpha for "last"
    Reversed,  ///< the other way round: blue, green, red, alpha for "first"
};

/// An immutable picture in memory: eight bits a component, red, green and blue, top row first.
///
/// Thread: any.
class MIVORA_EXPORT BitmapImage {
 public:
    /// An image of pixels that somebody else holds.
    /// @param size         in pixels, both above 0
    /// @param bytesPerRow  from one row to the next, at least the bytes of a row's pixels
    /// @param pixels       shared ownership of the first row's first byte; unchanged from here on
    /// @return null for arguments out of these ranges
    static std::shared_ptr<const BitmapImage> create(PixelSize size, AlphaInfo alphaInfo,
                                                     std::size_t bytesPerRow,
                                                     std::shared_ptr<const std::uint8_t> pixels,
                                                     ByteOrder byteOrder = ByteOrder::Forward);

    /// An image of a picture, its alpha taken as straight; null for an empty one.
    static std::shared_ptr<const BitmapImage> createWithPicture(Picture picture);

    /// In pixels, both above 0.
    PixelSize size() const { return size_; }
    /// Whether there is alpha, and where.
    AlphaInfo alphaInfo() const { return alphaInfo_; }
    /// How the bytes of a pixel stand.
    ByteOrder byteOrder() const { return byteOrder_; }
    /// 3 or 4.
    std::size_t bytesPerPixel() const { return alphaInfo_ == AlphaInfo::None ? 3 : 4; }

    /// From one row to the next.
    std::size_t bytesPerRow() const { return bytesPerRow_; }

    /// The first byte of a row.
    /// @param y  from the top, 0 to the height less 1
    const std::uint8_t* row(int y) const {
        return pixels_.get() + static_cast<std::size_t>(y) * bytesPerRow_;
    }

 private:
    friend struct ::MVMaker;
    BitmapImage() = default;

    PixelSize size_;
    AlphaInfo alphaInfo_ = AlphaInfo::None;
    ByteOrder byteOrder_ = ByteOrder::Forward;
    std::size_t bytesPerRow_ = 0;
    std::shared_ptr<const std::uint8_t> pixels_;
};

}  // namespace Mivora::platform
