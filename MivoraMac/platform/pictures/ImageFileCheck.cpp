#include "MivoraMac/platform/pictures/ImageFileCheckPrivate.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"

namespace Mivora::platform {

namespace {

/// Chunk after chunk, of length, type, contents and checksum, up to the one called IEND.
std::size_t endOfPNG(ByteWalk walk) {
    constexpr std::uint32_t kIEND = 0x49454E44;
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kChecksum = 4;
    walk.skip(kSignature);
    std::uint32_t type = 0;
    while (!walk.isPast() && type != kIEND) {
        const std::uint32_t length = walk.bigEndian(4);
        type = walk.bigEndian(4);
        walk.skip(length);
        walk.skip(kChecksum);
    }
    return walk.reached();
}

/// Markers up to the end of the image; scan data in between hides none, as its 255s are followed
/// by a 0 or a restart marker.
std::size_t endOfJPEG(ByteWalk walk) {
    while (!walk.isPast()) {
        walk.find(0xFF);
        std::uint32_t marker = 0xFF;
        while (marker == 0xFF && !walk.isPast()) {
            marker = walk.byte();
        }
        if (marker == 0xD9) {
            return walk.reached();
        }
        const bool standsAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (!standsAlone) {
            const std::uint32_t length = walk.bigEndian(2);
            walk.skip(length >= 2 ? length - 2 : 0);
        }
    }
    return 0;
}

/// Goes through blocks, each headed by its length, up to the empty one.
void skipBlocks(ByteWalk& walk) {
    while (const std::uint32_t length = walk.byte()) {
        walk.skip(length);
    }
}

/// Extensions up to the first picture, and its blocks.
std::size_t endOfGIF(ByteWalk walk) {
    const auto skipColors = [&walk](std::uint32_t flags) {
        constexpr std::uint32_t kHasColors = 0x80;
        if ((flags & kHasColors) != 0) {
            walk.skip(std::size_t{3} << ((flags & 7) + 1));
        }
    };
    walk.skip(6);  // the signature
    const std::uint32_t screenWidth = walk.littleEndian(2);
    const std::uint32_t screenHeight = walk.littleEndian(2);
    const std::uint32_t screenFlags = walk.byte();
    walk.skip(2);
    skipColors(screenFlags);
    while (!walk.isPast()) {
        switch (walk.byte()) {
            case '!':
                walk.skip(1);
                skipBlocks(walk);
                break;
            case ',': {
                const std::uint32_t left = walk.littleEndian(2);
                const std::uint32_t top = walk.littleEndian(2);
                const std::uint32_t width = walk.littleEndian(2);
                const std::uint32_t height = walk.littleEndian(2);
                // It has to lie within the screen; decoders complain where it does not.
                if (width == 0 || height == 0 || left + width > screenWidth ||
                    top + height > screenHeight) {
                    return 0;
                }
                skipColors(walk.byte());
                walk.skip(1);  // the size of codes
                skipBlocks(walk);
                return walk.reached();
            }
            default:
                return 0;
        }
    }
    return 0;
}

/// What lies before the pixels, for which decoders take as much memory as the head says, and runs
/// of pixels, row by row, up to the mark at the end of the picture. Nothing where the rows are
/// stored one by one, as decoders do report those.
std::optional<std::size_t> endOfBMP(const ByteWalk& file) {
    constexpr std::uint32_t kOldestHeader = 12;
    constexpr std::uint32_t kRunsOfBytes = 1;
    constexpr std::uint32_t kRunsOfHalfBytes = 2;
    ByteWalk head = file;
    head.skip(10);
    ByteWalk walk = file;
    walk.skip(head.littleEndian(4));
    if (walk.isPast()) {
        return 0;
    }
    ByteWalk colors = head;
    const std::uint32_t headerSize = head.littleEndian(4);
    if (headerSize <= kOldestHeader) {
        return std::nullopt;  // which knows neither a number of colours nor runs
    }
    head.skip(12);
    const std::uint32_t compression = head.littleEndian(4);
    head.skip(12);
    colors.skip(headerSize);
    colors.skip(std::size_t{head.littleEndian(4)} * 4);
    if (colors.isPast()) {
        return 0;
    }
    if (compression != kRunsOfBytes && compression != kRunsOfHalfBytes) {
        return std::nullopt;
    }
    while (!walk.isPast()) {
        const std::uint32_t count = walk.byte();
        const std::uint32_t value = walk.byte();
        if (count != 0) {
            continue;  // so many pixels of one value
        }
        switch (value) {
            case 0:  // the end of a row
                break;
            case 1:  // the end of the picture
                return walk.reached();
            case 2:  // a step to the right and up
                walk.skip(2);
                break;
            default: {  // so many pixels, padded to an even number of bytes
                const std::uint32_t bytes = compression == kRunsOfBytes ? value : (value + 1) / 2;
                walk.skip((bytes + 1) / 2 * 2);
            }
        }
    }
    return 0;
}

/// The size that the head of the file says is there.
std::size_t endOfWebP(ByteWalk walk) {
    walk.skip(4);
    const std::uint32_t size = walk.littleEndian(4);
    walk.skip(size);
    return walk.reached();
}

bool isWebP(std::span<const std::uint8_t> bytes) {
    return startsWith(bytes, "RIFF") &&
           startsWith(bytes.subspan(std::min<std::size_t>(8, bytes.size())), "WEBP");
}

constexpr std::size_t kWebPHeaderSize = 12;

/// The first chunk of WebP files that hold more than one picture without alpha.
struct WebPExtension {
    std::uint32_t flags;
    std::uint32_t width;  ///< in pixels, less one
    std::uint32_t height;
};

/// @return nothing where there is none
std::optional<WebPExtension> extensionOfWebP(std::span<const std::uint8_t> bytes) {
    if (!isWebP(bytes) || !startsWith(bytes.subspan(kWebPHeaderSize), "VP8X")) {
        return std::nullopt;
    }
    ByteWalk walk(bytes);
    walk.skip(kWebPHeaderSize + 8);
    const std::uint32_t flags = walk.littleEndian(4);
    const std::uint32_t width = walk.littleEndian(3);
    return WebPExtension{flags, width, walk.littleEndian(3)};
}

void appendLittleEndian(std::vector<std::uint8_t>& bytes, std::size_t value, int count) {
    std::array<std::uint8_t, 4> digits{};
    for (std::size_t i = 0; i < digits.size(); ++i) {
        digits[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
    bytes.insert(bytes.end(), digits.begin(), digits.begin() + count);
}

void append(std::vector<std::uint8_t>& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

/// The directory of the first picture and the values it refers to; of the pixels the decoder does
/// tell when they are missing.
bool isWholeTIFF(const ByteWalk& file) {
    ByteWalk walk = file;
    const bool isBigEndian = walk.byte() == 'M';
    const auto number = [isBigEndian](ByteWalk& from, int count) {
        return isBigEndian ? from.bigEndian(count) : from.littleEndian(count);
    };
    walk.skip(3);
    const std::uint32_t directory = number(walk, 4);
    walk = file;
    walk.skip(directory);
    for (std::uint32_t left = number(walk, 2); left > 0 && !walk.isPast(); --left) {
        constexpr std::array<std::size_t, 14> kSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
        constexpr std::size_t kInPlace = 4;
        walk.skip(2);
        const std::uint32_t type = number(walk, 2);
        const std::size_t count = number(walk, 4);
        const std::size_t size = type < kSizes.size() ? count * kSizes[type] : 0;
        const std::uint32_t offset = number(walk, kInPlace);
        if (size > kInPlace) {
            ByteWalk values = file;
            values.skip(offset);
            values.skip(size);
            if (values.isPast()) {
                return false;
            }
        }
    }
    return !walk.isPast();
}

}  // namespace

std::optional<std::size_t> firstImageEnd(std::span<const std::uint8_t> bytes) {
    if (startsWith(bytes, "\x89PNG\r\n\x1A\n")) {
        return endOfPNG(ByteWalk(bytes));
    }
    if (startsWith(bytes, "\xFF\xD8\xFF")) {
        return endOfJPEG(ByteWalk(bytes));
    }
    if (startsWith(bytes, "GIF8")) {
        return endOfGIF(ByteWalk(bytes));
    }
    // A sound directory says nothing of the pixels.
    if ((startsWith(bytes, std::string_view("II*\0", 4)) ||
         startsWith(bytes, std::string_view("MM\0*", 4))) &&
        !isWholeTIFF(ByteWalk(bytes))) {
        return 0;
    }
    if (startsWith(bytes, "BM")) {
        return endOfBMP(ByteWalk(bytes));
    }
    if (isWebP(bytes)) {
        return endOfWebP(ByteWalk(bytes));
    }
    return std::nullopt;
}

std::optional<std::vector<std::uint8_t>> firstFrameOfWebP(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t kFrame = 0x414E4D46;  // "ANMF"
    constexpr std::uint32_t kAnimated = 2;        // flags of the extension
    constexpr std::uint8_t kAlpha = 16;
    constexpr std::size_t kExtensionSize = 10;
    constexpr std::size_t kFrameHeaderSize = 16;
    const std::optional<WebPExtension> extension = extensionOfWebP(bytes);
    if (!extension || (extension->flags & kAnimated) == 0) {
        return std::nullopt;
    }
    ByteWalk walk(bytes);
    walk.skip(kWebPHeaderSize);
    std::uint32_t tag = walk.bigEndian(4);
    std::size_t length = walk.littleEndian(4);
    while (tag != kFrame && !walk.isPast()) {
        walk.skip(length + length % 2);
        tag = walk.bigEndian(4);
        length = walk.littleEndian(4);
    }
    const std::size_t begin = walk.reached();
    walk.skip(length);
    if (walk.isPast() || length < kFrameHeaderSize) {
        return std::vector<std::uint8_t>();
    }
    ByteWalk frame(bytes.subspan(begin, length));
    const std::uint32_t x = frame.littleEndian(3);
    const std::uint32_t y = frame.littleEndian(3);
    const std::uint32_t frameWidth = frame.littleEndian(3);
    const std::uint32_t frameHeight = frame.littleEndian(3);
    if (x != 0 || y != 0 || frameWidth != extension->width || frameHeight != extension->height) {
        return std::vector<std::uint8_t>();
    }

    const auto chunks = bytes.subspan(begin + kFrameHeaderSize, length - kFrameHeaderSize);
    const bool hasAlpha = startsWith(chunks, "ALPH");  // which wants a file with an extension
    if (!hasAlpha && !startsWith(chunks, "VP8 ") && !startsWith(chunks, "VP8L")) {
        return std::vector<std::uint8_t>();
    }
    std::vector<std::uint8_t> file;
    append(file, "RIFF");
    appendLittleEndian(file, 4 + (hasAlpha ? 8 + kExtensionSize : 0) + chunks.size(), 4);
    append(file, "WEBP");
    if (hasAlpha) {
        append(file, "VP8X");
        appendLittleEndian(file, kExtensionSize, 4);
        appendLittleEndian(file, kAlpha, 4);
        appendLittleEndian(file, extension->width, 3);
        appendLittleEndian(file, extension->height, 3);
    }
    file.insert(file.end(), chunks.begin(), chunks.end());
    return file;
}

}  // namespace Mivora::platform
