#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/ImageOrientationPrivate.h"
#include "MivoraMac/platform/pictures/LargePagesPrivate.h"

namespace Mivora::platform {

namespace {

using Bytes = std::span<const std::uint8_t>;
using namespace std::string_view_literals;

constexpr std::string_view kExifMark = "Exif\0\0"sv;

/// The orientation in a directory laid out as in a TIFF file.
ImageOrientation orientationOfDirectory(Bytes bytes) {
    constexpr std::uint32_t kOrientation = 0x0112;
    constexpr std::uint32_t kShort = 3;
    if (!startsWith(bytes, "II*\0"sv) && !startsWith(bytes, "MM\0*"sv)) {
        return ImageOrientation::TopLeft;
    }
    const bool isBigEndian = bytes[0] == 'M';
    const auto number = [isBigEndian](ByteWalk& from, int count) {
        return isBigEndian ? from.bigEndian(count) : from.littleEndian(count);
    };
    ByteWalk walk(bytes);
    walk.skip(4);
    const std::uint32_t directory = number(walk, 4);
    walk = ByteWalk(bytes);
    walk.skip(directory);
    for (std::uint32_t left = number(walk, 2); left > 0 && !walk.isPast(); --left) {
        const std::uint32_t tag = number(walk, 2);
        const std::uint32_t type = number(walk, 2);
        const std::uint32_t count = number(walk, 4);
        const std::uint32_t value = number(walk, 2);
        walk.skip(2);
        if (tag == kOrientation) {
            const bool isSound =
                !walk.isPast() && type == kShort && count == 1 && value >= 1 && value <= 8;
            return isSound ? static_cast<ImageOrientation>(value) : ImageOrientation::TopLeft;
        }
    }
    return ImageOrientation::TopLeft;
}

/// The directory behind the first mark of EXIF data; nothing where there is none.
Bytes exifOfJPEG(ByteWalk walk) {
    walk.skip(2);
    while (!walk.isPast() && walk.byte() == 0xFF) {
        std::uint32_t marker = 0xFF;
        while (marker == 0xFF && !walk.isPast()) {
            marker = walk.byte();
        }
        const std::uint32_t length = walk.bigEndian(2);
        const Bytes segment = walk.take(length >= 2 ? length - 2 : 0);
        if (marker == 0xDA) {
            break;
        }
        if (marker == 0xE1 && startsWith(segment, kExifMark)) {
            return segment.subspan(kExifMark.size());
        }
    }
    return {};
}

Bytes exifOfPNG(ByteWalk walk) {
    walk.skip(8);
    while (!walk.isPast()) {
        const std::uint32_t length = walk.bigEndian(4);
        const std::string_view type = textOf(walk.take(4));
        const Bytes contents = walk.take(length);
        walk.skip(4);
        if (type == "eXIf") {
            return contents;
        }
    }
    return {};
}

Bytes exifOfWebP(ByteWalk walk) {
    walk.skip(12);
    while (!walk.isPast()) {
        const std::string_view type = textOf(walk.take(4));
        const std::uint32_t length = walk.littleEndian(4);
        const Bytes contents = walk.take(length);
        walk.skip(length % 2);
        if (type == "EXIF" && !contents.empty()) {
            return startsWith(contents, kExifMark) ? contents.subspan(kExifMark.size()) : contents;
        }
    }
    return {};
}

/// Copies pixels of so many bytes to where they are to be seen. The first pixel of the file goes to
/// `to`, the next ones of a row `alongRow` bytes further on each, and rows `alongColumn` bytes.
template <std::size_t bytesPerPixel>
void place(const BitmapImage& from, std::uint8_t* to, std::ptrdiff_t alongRow,
           std::ptrdiff_t alongColumn) {
    // Rows become columns: in squares of so many pixels, what is written stays in the cache.
    constexpr int kSquare = 32;
    const PixelSize size = from.size();
    for (int top = 0; top < size.height; top += kSquare) {
        for (int left = 0; left < size.width; left += kSquare) {
            for (int y = top; y < std::min(top + kSquare, size.height); ++y) {
                const std::uint8_t* source =
                    from.row(y) + static_cast<std::size_t>(left) * bytesPerPixel;
                std::uint8_t* target = to + y * alongColumn + left * alongRow;
                for (int x = left; x < std::min(left + kSquare, size.width); ++x) {
                    std::memcpy(target, source, bytesPerPixel);
                    source += bytesPerPixel;
                    target += alongRow;
                }
            }
        }
    }
}

}  // namespace

ImageOrientation exifOrientation(ImageFormat format, Bytes bytes) {
    switch (format) {
        case ImageFormat::JPEG:
            return orientationOfDirectory(exifOfJPEG(ByteWalk(bytes)));
        case ImageFormat::PNG:
            return orientationOfDirectory(exifOfPNG(ByteWalk(bytes)));
        case ImageFormat::WebP:
            return orientationOfDirectory(exifOfWebP(ByteWalk(bytes)));
        default:
            return ImageOrientation::TopLeft;
    }
}

std::shared_ptr<const BitmapImage> orientedImage(const std::shared_ptr<const BitmapImage>& image,
                                                 ImageOrientation orientation) {
    if (!image || orientation == ImageOrientation::TopLeft) {
        return image;
    }
    using enum ImageOrientation;
    const bool isTurned = orientation >= LeftTop;  // rows become columns
    const bool fromRight = orientation == TopRight || orientation == BottomRight ||
                           orientation == RightTop || orientation == RightBottom;
    const bool fromBottom = orientation == BottomRight || orientation == BottomLeft ||
                            orientation == RightBottom || orientation == LeftBottom;
    const PixelSize stored = image->size();
    const PixelSize size = isTurned ? PixelSize{stored.height, stored.width} : stored;
    const std::size_t bytesPerPixel = image->bytesPerPixel();
    const std::size_t bytesPerRow = static_cast<std::size_t>(size.width) * bytesPerPixel;
    const std::size_t bytes = bytesPerRow * static_cast<std::size_t>(size.height);
    const std::shared_ptr<std::uint8_t[]> pixels(new (std::nothrow) std::uint8_t[bytes]);
    if (!pixels) {
        return nullptr;
    }
    preferLargePages(pixels.get(), bytes);

    const std::ptrdiff_t right = (fromRight ? -1 : 1) * static_cast<std::ptrdiff_t>(bytesPerPixel);
    const std::ptrdiff_t down = (fromBottom ? -1 : 1) * static_cast<std::ptrdiff_t>(bytesPerRow);
    std::uint8_t* const first =
        pixels.get() + (fromRight ? bytesPerRow - bytesPerPixel : 0) +
        (fromBottom ? bytesPerRow * static_cast<std::size_t>(size.height - 1) : 0);
    const std::ptrdiff_t alongRow = isTurned ? down : right;
    const std::ptrdiff_t alongColumn = isTurned ? right : down;
    if (bytesPerPixel == 3) {
        place<3>(*image, first, alongRow, alongColumn);
    } else {
        place<4>(*image, first, alongRow, alongColumn);
    }
    return BitmapImage::create(size, image->alphaInfo(), bytesPerRow,
                               std::shared_ptr<const std::uint8_t>(pixels, pixels.get()),
                               image->byteOrder());
}

}  // namespace Mivora::platform
