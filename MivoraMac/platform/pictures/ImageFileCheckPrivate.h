#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// Where the first picture of a PNG, JPEG, GIF, WebP or run-length encoded BMP file ends, in bytes
/// from its beginning. Decoders fill what is missing with nothing and do not say so, and some look
/// into what comes behind.
///
/// Only the structure is read: what lies within it is for the decoder to judge.
/// @return 0 when the bytes are over before, when what the picture is made with, such as its
///         colours or the directory of a TIFF file, would lie behind them, and for a GIF picture
///         beyond its screen; nothing for any other file
MIVORA_EXPORT std::optional<std::size_t> firstImageEnd(std::span<const std::uint8_t> bytes);

/// The first frame of an animated WebP file as a WebP file of its own. The decoder takes several
/// times the memory for a whole animation, however little of it there is, and trusts the frames.
/// @return nothing for other files; no bytes where there is no frame, or the first one does not
///         cover the picture
MIVORA_EXPORT std::optional<std::vector<std::uint8_t>> firstFrameOfWebP(
    std::span<const std::uint8_t> bytes);

}  // namespace Mivora::platform
