#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "MivoraMac/platform/pictures/BitmapImage.h"

namespace Mivora {

/// The vertical orientation of pixel data.
enum ImageCoordinateSystem : std::int32_t {
    kImageTopRowFirst = 0,
    kImageBottomRowFirst = 1,
};

/// A bitmap image as it is uploaded: red, green, blue and alpha of eight bits each, rows tightly
/// packed, premultiplied where the image has alpha, with an alpha of 255 where it has none. These
/// may be the image's own pixels.
/// @param image             not null
/// @param coordinateSystem  1 for the bottom row first; anything else for the top row
/// @return null when there is not the memory, which a warning line notes
std::shared_ptr<const std::uint8_t> rasterizedImage(
    const std::shared_ptr<const platform::BitmapImage>& image, std::int32_t coordinateSystem);

}  // namespace Mivora
