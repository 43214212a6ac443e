#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"

namespace Mivora::platform {

/// How a picture is stored, by the numbers that EXIF data uses: which sides of what is to be seen
/// the first row and the first column of the file are.
enum class ImageOrientation {
    TopLeft = 1,
    TopRight = 2,
    BottomRight = 3,
    BottomLeft = 4,
    LeftTop = 5,
    RightTop = 6,
    RightBottom = 7,
    LeftBottom = 8,
};

/// What the EXIF data of a JPEG, PNG or WebP file says; top left where it says nothing sound, and
/// for other files.
MIVORA_EXPORT ImageOrientation exifOrientation(ImageFormat format,
                                               std::span<const std::uint8_t> bytes);

/// The picture as it is to be seen: the image itself where the top row and the left column come
/// first, else a turned or mirrored copy. Null without the memory for that.
MIVORA_EXPORT std::shared_ptr<const BitmapImage> orientedImage(
    const std::shared_ptr<const BitmapImage>& image, ImageOrientation orientation);

}  // namespace Mivora::platform
