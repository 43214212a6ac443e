#pragma once

#include <cstdint>
#include <span>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/ImageContainerPrivate.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"

namespace Mivora::platform {

/// Reads an XPM or XBM file, which is a piece of program text, and writes what it says anew: the
/// same picture in as many words as it takes. So the decoder cannot read other numbers out of it
/// than those that were checked, and rows that are missing are found.
/// @param mostPixels  a picture that claims more fails before memory is taken
MIVORA_EXPORT ImagePart rewrittenTextImage(ImageFormat format, std::span<const std::uint8_t> bytes,
                                           std::uint64_t mostPixels);

}  // namespace Mivora::platform
