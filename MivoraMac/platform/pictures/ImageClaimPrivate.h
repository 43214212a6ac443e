#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"

namespace Mivora::platform {

/// What the head of a file says that its first picture takes, before anything is decoded.
struct ImageClaim {
    std::uint64_t width = 0;   ///< in pixels, as stored
    std::uint64_t height = 0;  ///< in pixels, as stored
    /// The pixels that are decoded at a time beside the picture, as the tiles of a TIFF file are.
    std::uint64_t pixelsAtATime = 0;
    /// How many bytes hold the picture at the least, if the kind of file says so; else 0.
    std::uint64_t fewestBytes = 0;
};

/// Reads the head of a file of pixels: PNG, JPEG, GIF, BMP, TIFF, WebP, PNM or TGA.
/// @return nothing where the head is damaged, incomplete or says something that no decoder is to
///         be asked for; a claim of 0 x 0 for other kinds
MIVORA_EXPORT std::optional<ImageClaim> imageClaim(ImageFormat format,
                                                   std::span<const std::uint8_t> bytes);

}  // namespace Mivora::platform
