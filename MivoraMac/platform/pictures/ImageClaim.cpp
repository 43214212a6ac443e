#include <algorithm>
#include <cstddef>
#include <limits>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/ImageClaimPrivate.h"

namespace Mivora::platform {

namespace {

using Claim = std::optional<ImageClaim>;

/// The fewest bytes where so many pixels may take one.
std::uint64_t bytesOf(const ImageClaim& claim, std::uint64_t pixelsPerByte) {
    return claim.width * claim.height / pixelsPerByte;
}

Claim claimOfPNG(ByteWalk walk) {
    // 1,032 bytes a byte is the most that the compression makes, of single bits.
    constexpr std::uint64_t kPixelsPerByte = std::uint64_t{1032} * 8;
    walk.skip(16);
    ImageClaim claim;
    claim.width = walk.bigEndian(4);
    claim.height = walk.bigEndian(4);
    claim.fewestBytes = bytesOf(claim, kPixelsPerByte);
    return walk.isPast() ? std::nullopt : Claim(claim);
}

/// Up to the scan data, and then counts the scans, each of which goes through the whole picture
/// however few bytes it has. Of a sequential picture whose first scan has all components, nothing
/// behind that scan is decoded.
Claim claimOfJPEG(ByteWalk walk) {
    constexpr std::uint64_t kPixelsPerByte = 8256;
    constexpr int kMostScans = 64;  // ordinary files have up to some ten
    ImageClaim claim;
    int scans = 0;
    bool isProgressive = false;
    std::uint32_t components = 0;
    while (!walk.isPast()) {
        walk.find(0xFF);
        std::uint32_t marker = 0xFF;
        while (marker == 0xFF && !walk.isPast()) {
            marker = walk.byte();
        }
        const bool isTable = marker == 0xC4 || marker == 0xC8 || marker == 0xCC;
        if (marker == 0xD9) {
            break;
        }
        if (marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8)) {
            continue;
        }
        const std::uint32_t length = walk.bigEndian(2);
        ByteWalk segment(walk.take(length >= 2 ? length - 2 : 0));
        if (marker >= 0xC0 && marker <= 0xCF && !isTable && claim.width == 0) {
            segment.skip(1);
            claim.height = segment.bigEndian(2);
            claim.width = segment.bigEndian(2);
            components = segment.byte();
            isProgressive = (marker & 3U) == 2;
        }
        if (marker == 0xDA && ++scans > kMostScans) {
            return std::nullopt;
        }
        if (marker == 0xDA && !isProgressive && components != 0 && segment.byte() == components) {
            break;
        }
    }
    claim.fewestBytes = bytesOf(claim, kPixelsPerByte);
    return claim.width == 0 ? std::nullopt : Claim(claim);
}

Claim claimOfGIF(ByteWalk walk) {
    // A code of 12 bits stands for 4,096 pixels at the most.
    constexpr std::uint64_t kPixelsPerByte = 8256;
    walk.skip(6);
    ImageClaim claim;
    claim.width = walk.littleEndian(2);
    claim.height = walk.littleEndian(2);
    claim.fewestBytes = bytesOf(claim, kPixelsPerByte);
    return walk.isPast() ? std::nullopt : Claim(claim);
}

Claim claimOfBMP(ByteWalk walk) {
    // A run of 255 pixels takes two bytes, and what a file leaves out is empty.
    constexpr std::uint64_t kPixelsPerByte = 8256;
    constexpr std::uint32_t kOldestHeader = 12;
    walk.skip(14);
    ImageClaim claim;
    if (walk.littleEndian(4) == kOldestHeader) {
        claim.width = walk.littleEndian(2);
        claim.height = walk.littleEndian(2);
    } else {
        claim.width = walk.littleEndian(4);
        const std::uint32_t height = walk.littleEndian(4);
        // Negative where the top row is the first.
        claim.height = height > std::numeric_limits<std::int32_t>::max() ? 0U - height : height;
    }
    claim.fewestBytes = bytesOf(claim, kPixelsPerByte);
    return walk.isPast() ? std::nullopt : Claim(claim);
}

/// The directory of the first picture. A decoder makes room for a tile, which may be larger than
/// the picture, and for all the samples of a pixel.
Claim claimOfTIFF(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t kWidth = 256;
    constexpr std::uint32_t kHeight = 257;
    constexpr std::uint32_t kBits = 258;
    constexpr std::uint32_t kSamples = 277;
    constexpr std::uint32_t kTileWidth = 322;
    constexpr std::uint32_t kTileHeight = 323;
    constexpr std::uint64_t kMostBitsPerPixel = 128;
    ByteWalk walk(bytes);
    const bool isBigEndian = walk.byte() == 'M';
    const auto number = [isBigEndian](ByteWalk& from, int count) {
        return isBigEndian ? from.bigEndian(count) : from.littleEndian(count);
    };
    walk.skip(3);
    const std::uint32_t directory = number(walk, 4);
    walk = ByteWalk(bytes);
    walk.skip(directory);
    ImageClaim claim;
    std::uint64_t tileWidth = 0;
    std::uint64_t tileHeight = 0;
    std::uint64_t bits = 1;
    std::uint64_t samples = 1;
    for (std::uint32_t left = number(walk, 2); left > 0 && !walk.isPast(); --left) {
        const std::uint32_t tag = number(walk, 2);
        const std::uint32_t type = number(walk, 2);
        const std::uint32_t count = number(walk, 4);
        ByteWalk value(walk.take(4));
        std::uint64_t* const field = tag == kWidth        ? &claim.width
                                     : tag == kHeight     ? &claim.height
                                     : tag == kBits       ? &bits
                                     : tag == kSamples    ? &samples
                                     : tag == kTileWidth  ? &tileWidth
                                     : tag == kTileHeight ? &tileHeight
                                                          : nullptr;
        if (field == nullptr) {
            continue;
        }
        const int size = type == 1 ? 1 : type == 3 ? 2 : type == 4 ? 4 : 0;
        if (size == 0 || count == 0) {
            return std::nullopt;
        }
        if (count > 4U / static_cast<unsigned>(size)) {  // the value is somewhere else
            const std::uint32_t offset = number(value, 4);
            value = ByteWalk(bytes);
            value.skip(offset);
        }
        // Whichever of several a decoder takes, it is not more than this.
        *field = std::max<std::uint64_t>(*field, number(value, size));
        if (value.isPast()) {
            return std::nullopt;
        }
    }
    if (walk.isPast() || claim.width == 0 || claim.height == 0 ||
        bits * samples > kMostBitsPerPixel) {
        return std::nullopt;
    }
    claim.pixelsAtATime = tileWidth * tileHeight;
    return claim;
}

Claim claimOfWebP(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t k14Bits = 0x3FFF;
    ByteWalk walk(bytes);
    walk.skip(12);
    const std::string_view tag = textOf(walk.take(4));
    walk.skip(4);
    ImageClaim claim;
    if (tag == "VP8X") {
        walk.skip(4);
        claim.width = std::uint64_t{walk.littleEndian(3)} + 1;
        claim.height = std::uint64_t{walk.littleEndian(3)} + 1;
    } else if (tag == "VP8L") {
        walk.skip(1);
        const std::uint32_t both = walk.littleEndian(4);
        claim.width = (both & k14Bits) + 1;
        claim.height = ((both >> 14) & k14Bits) + 1;
    } else if (tag == "VP8 ") {
        walk.skip(6);
        claim.width = walk.littleEndian(2) & k14Bits;
        claim.height = walk.littleEndian(2) & k14Bits;
    } else {
        return std::nullopt;
    }
    return walk.isPast() ? std::nullopt : Claim(claim);
}

/// A number in decimal digits after blanks and comments; nothing where there is none.
std::optional<std::uint64_t> numberOf(ByteWalk& walk) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t character = walk.byte();
    while (!walk.isPast() &&
           (character == '#' || character == ' ' || (character >= '\t' && character <= '\r'))) {
        if (character == '#') {
            walk.find('\n');
        }
        character = walk.byte();
    }
    if (character < '0' || character > '9') {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    while (character >= '0' && character <= '9') {
        number = std::min(kMost, number * 10 + character - '0');
        character = walk.byte();
    }
    return number;
}

Claim claimOfPNM(ByteWalk walk) {
    walk.skip(1);
    const std::uint32_t kind = walk.byte() - '0';
    const bool isOfBits = kind == 1 || kind == 4;
    const bool isText = kind <= 3;
    const auto width = numberOf(walk);
    const auto height = numberOf(walk);
    const auto most = isOfBits ? std::optional<std::uint64_t>(1) : numberOf(walk);
    if (!width || !height || !most) {
        return std::nullopt;
    }
    ImageClaim claim;
    claim.width = *width;
    claim.height = *height;
    const std::uint64_t samples = kind == 3 || kind == 6 ? 3 : 1;
    const std::uint64_t bytesPerSample = isText && !isOfBits ? 2 : *most > 255 ? 2 : 1;
    // No extent is above 32 bits, so that only three samples of two bytes may be too many.
    constexpr std::uint64_t kMostPixels = std::numeric_limits<std::uint64_t>::max() / 8;
    if (*width != 0 && *height > kMostPixels / *width) {
        return std::nullopt;
    }
    claim.fewestBytes =
        kind == 4 ? (*width + 7) / 8 * *height : *width * *height * samples * bytesPerSample;
    // The last number of a text needs no blank behind it.
    claim.fewestBytes -= isText && claim.fewestBytes > 0 ? 1 : 0;
    claim.fewestBytes += walk.reached();
    return claim;
}

Claim claimOfTGA(ByteWalk walk) {
    constexpr std::uint32_t kRuns = 8;  // in the type
    const std::uint32_t identifier = walk.byte();
    const bool hasMap = walk.byte() != 0;
    const std::uint32_t type = walk.byte();
    walk.skip(2);
    const std::uint64_t mapLength = walk.littleEndian(2);
    const std::uint64_t mapBits = walk.byte();
    walk.skip(4);
    ImageClaim claim;
    claim.width = walk.littleEndian(2);
    claim.height = walk.littleEndian(2);
    const std::uint64_t bytesPerPixel = (walk.byte() + 7) / 8;
    walk.skip(1);
    const std::uint64_t pixels = claim.width * claim.height;
    if (walk.isPast() || bytesPerPixel == 0) {
        return std::nullopt;
    }
    const std::uint64_t head = 18 + identifier + (hasMap ? mapLength * ((mapBits + 7) / 8) : 0);
    if ((type & kRuns) == 0) {
        claim.fewestBytes = head + pixels * bytesPerPixel;
        return claim;
    }
    // Packets of up to 128 pixels, all of one value or each of its own, are followed to the last.
    walk.skip(head - 18);
    std::uint64_t reached = 0;
    while (reached < pixels && !walk.isPast()) {
        const std::uint32_t packet = walk.byte();
        const std::uint64_t count = (packet & 0x7F) + 1;
        walk.skip((packet & 0x80) != 0 ? bytesPerPixel : count * bytesPerPixel);
        reached += count;
    }
    claim.fewestBytes = walk.isPast() ? std::numeric_limits<std::uint64_t>::max() : 0;
    return claim;
}

}  // namespace

std::optional<ImageClaim> imageClaim(ImageFormat format, std::span<const std::uint8_t> bytes) {
    const ByteWalk walk(bytes);
    switch (format) {
        case ImageFormat::PNG:
            return claimOfPNG(walk);
        case ImageFormat::JPEG:
            return claimOfJPEG(walk);
        case ImageFormat::GIF:
            return claimOfGIF(walk);
        case ImageFormat::BMP:
            return claimOfBMP(walk);
        case ImageFormat::TIFF:
            return claimOfTIFF(bytes);
        case ImageFormat::WebP:
            return claimOfWebP(bytes);
        case ImageFormat::PNM:
            return claimOfPNM(walk);
        case ImageFormat::TGA:
            return claimOfTGA(walk);
        default:
            return ImageClaim();
    }
}

}  // namespace Mivora::platform
