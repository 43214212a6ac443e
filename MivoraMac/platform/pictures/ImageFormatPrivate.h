#pragma once

#include <cstdint>
#include <span>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The kinds of image files that are looked into before a decoder sees them.
enum class ImageFormat {
    PNG,
    JPEG,
    GIF,
    BMP,
    TIFF,
    WebP,
    ICO,   ///< icons and cursors: several pictures, each a BMP without its head, or a PNG
    ANI,   ///< animated cursors: icons in a row
    ICNS,  ///< icons of other systems: several pictures in layouts of their own, or PNGs
    QTIF,  ///< a file of any other kind, wrapped
    PNM,
    TGA,
    XPM,
    XBM,
    SVG,
    Other,  ///< whatever other decoders the machine has
};

/// What kind of file the bytes begin. Of the contents only; where two kinds look alike the one
/// with the longer mark is meant.
MIVORA_EXPORT ImageFormat imageFormatOf(std::span<const std::uint8_t> bytes);

/// The name by which the decoder is known; null for `Other`, and for what is no picture before it
/// is unwrapped.
const char* decoderNameOf(ImageFormat format);

}  // namespace Mivora::platform
