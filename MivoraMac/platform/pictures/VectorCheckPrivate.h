#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/ImageLimits.h"

namespace Mivora::platform {

/// What an SVG file asks for, as far as its text tells without drawing it.
struct VectorClaim {
    /// Surfaces of the picture's size that may have to be there at the same time.
    std::uint64_t surfaces = 0;
    std::string failure;  ///< why it is not to be drawn; empty if it may be
};

/// Reads the text of an SVG file: how many elements it has, counting those that are drawn by
/// reference as often as they are, how deep they nest, what embedded pictures claim, and how large
/// the tiles of patterns may become. Files that could say it in ways that are not followed are
/// refused: those with entities that hold more than plain text, parts of other files, or parts that
/// contain themselves.
///
/// Time and memory go with the length of the text.
MIVORA_EXPORT VectorClaim vectorClaim(std::string_view text, const ImageLimits& limits);

}  // namespace Mivora::platform
