#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"
#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// A file with one picture, which may be a part of another file or made of it.
struct ImagePart {
    ImageFormat format = ImageFormat::Other;
    std::span<const std::uint8_t> bytes;  ///< of `own`, or of the file that it is a part of
    std::vector<std::uint8_t> own;
    /// What the part is known to measure, where it is made of several; else 0 x 0.
    PixelSize size;
    std::string failure;  ///< why there is none; empty where there is
};

/// The picture to show of a file that holds several, or wraps one: the largest, and of those the
/// one of most colours, of icons and cursors; the first of animated ones. Decoders would look for
/// it themselves, take memory on the way and keep quiet about what is missing.
///
/// A picture in a layout that only such files have comes as a file with nothing but that picture,
/// whose size is checked against what there is.
///
/// @return nothing for all other files, which are what they are
MIVORA_EXPORT std::optional<ImagePart> unwrappedImage(ImageFormat format,
                                                      std::span<const std::uint8_t> bytes);

}  // namespace Mivora::platform
