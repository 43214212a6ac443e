#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// Whether the bytes of a PNG, JPEG or GIF file reach to the end of its first picture. Decoders
/// fill what is missing with nothing and do not say so.
///
/// Only the structure is read: what lies within it is for the decoder to judge.
/// @return nothing for files of any other kind
MIVORA_EXPORT std::optional<bool> imageFileIsComplete(std::span<const std::uint8_t> bytes);

}  // namespace Mivora::platform
