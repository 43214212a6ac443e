#pragma once

#include <cstdint>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The most pixels that drawing into memory takes a side.
constexpr std::uint64_t kLargestBitmapExtent = 32767;

/// The one check of extents that nobody bears: drivers end the process over textures and buffers
/// whose size overflows, far beyond what they say that they take. Surfaces, drawables, textures,
/// images to draw into and bitmaps ask here before they pass a size on, and yield null.
///
/// Where the extents are too large, one warning line says so.
/// @param what     of what the extents are, for that line
/// @param largest  a side; what the driver says, or what drawing into memory takes
/// @return whether both extents are at most the largest one
/// Thread: any.
MIVORA_EXPORT bool areExtentsBorne(const char* what, std::uint64_t width, std::uint64_t height,
                                   std::uint64_t largest);

}  // namespace Mivora::platform
