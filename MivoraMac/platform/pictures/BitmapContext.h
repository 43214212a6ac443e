#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// Draws bitmap images into memory of the caller: red, green, blue and alpha of eight bits each,
/// in this order. What is drawn replaces what was there; nothing is blended.
///
/// Thread: any, one at a time.
class MIVORA_EXPORT BitmapContext {
 public:
    /// Which row of the memory is the top one.
    enum class Orientation {
        TopRowFirst,
        BottomRowFirst,
    };

    /// @param data         the memory, which outlives the context: `size.height` rows
    /// @param size         in pixels, both above 0 and at most 32,767
    /// @param bytesPerRow  at least four times the width
    /// @param alphaInfo    premultiplied-last: colours are stored multiplied by alpha, rounded to
    ///                     the nearest; none-skip-last: the same with an alpha of 255 everywhere
    /// @return nothing for null memory, arguments out of these ranges and other kinds of alpha
    static std::optional<BitmapContext> create(std::uint8_t* data, PixelSize size,
                                               std::size_t bytesPerRow, AlphaInfo alphaInfo);

    /// Top row first, unless set. For the drawing that follows.
    Orientation orientation() const { return orientation_; }
    void setOrientation(Orientation orientation) { orientation_ = orientation; }

    /// Draws an image in its own size with the top left corners together; what reaches beyond the
    /// memory is cut off. Pixels without alpha count as opaque. An image of four bytes a pixel may
    /// itself be in that memory, row on row, where the top row is the first.
    void drawImage(const BitmapImage& image);

 private:
    BitmapContext(std::uint8_t* data, PixelSize size, std::size_t bytesPerRow, AlphaInfo alphaInfo)
        : data_(data), size_(size), bytesPerRow_(bytesPerRow), alphaInfo_(alphaInfo) {}

    std::uint8_t* data_;
    PixelSize size_;
    std::size_t bytesPerRow_;
    AlphaInfo alphaInfo_;
    Orientation orientation_ = Orientation::TopRowFirst;
};

}  // namespace Mivora::platform
