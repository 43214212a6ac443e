#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>

#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/ImageContainerPrivate.h"

namespace Mivora::platform {

namespace {

using Bytes = std::span<const std::uint8_t>;

ImagePart failed(const char* why) {
    ImagePart part;
    part.failure = why;
    return part;
}

ImagePart partOf(Bytes bytes) {
    ImagePart part;
    part.format = imageFormatOf(bytes);
    part.bytes = bytes;
    return part;
}

void append(std::vector<std::uint8_t>& to, Bytes bytes) {
    for (const std::uint8_t byte : bytes) {
        to.push_back(byte);
    }
}

// Icons and cursors

constexpr std::uint32_t kIconHead = 6;
constexpr std::uint32_t kIconEntry = 16;

/// One picture of an icon: a PNG file, or a BMP file without its head, of twice the height since
/// a mask follows.
struct IconPicture {
    Bytes bytes;
    bool isPNG = false;
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint32_t bits = 0;
    bool isWhole = false;
};

IconPicture iconPicture(Bytes bytes) {
    IconPicture picture;
    picture.bytes = bytes;
    picture.isPNG = imageFormatOf(bytes) == ImageFormat::PNG;
    ByteWalk walk(bytes);
    if (picture.isPNG) {
        walk.skip(16);
        picture.width = walk.bigEndian(4);
        picture.height = walk.bigEndian(4);
        picture.bits = 32;
        picture.isWhole = !walk.isPast();
        return picture;
    }
    const std::uint64_t header = walk.littleEndian(4);
    picture.width = walk.littleEndian(4);
    picture.height = walk.littleEndian(4) / 2;
    walk.skip(2);
    picture.bits = walk.littleEndian(2);
    const std::uint32_t compression = walk.littleEndian(4);
    walk.skip(12);
    const std::uint64_t colors = walk.littleEndian(4);
    constexpr std::array<std::uint32_t, 6> kBits = {1, 4, 8, 16, 24, 32};
    constexpr std::uint64_t kMost = 0xFFFF;
    if (walk.isPast() || header < 40 || compression != 0 || picture.width == 0 ||
        picture.height == 0 || picture.width > kMost || picture.height > kMost || colors > kMost ||
        std::find(kBits.begin(), kBits.end(), picture.bits) == kBits.end()) {
        return picture;
    }
    const std::uint64_t palette =
        colors != 0 || picture.bits > 8 ? colors : std::uint64_t{1} << picture.bits;
    const std::uint64_t row = (picture.width * picture.bits + 31) / 32 * 4;
    const std::uint64_t maskRow = picture.bits == 32 ? 0 : (picture.width + 31) / 32 * 4;
    picture.isWhole = bytes.size() >= header + palette * 4 + (row + maskRow) * picture.height;
    return picture;
}

ImagePart unwrappedICO(Bytes file) {
    ByteWalk walk(file);
    walk.skip(4);
    const std::uint32_t count = walk.littleEndian(2);
    IconPicture best;
    const auto rank = [](const IconPicture& picture) {
        return std::tuple(picture.width * picture.height, picture.bits);
    };
    bool isAnyCut = false;
    for (std::uint32_t i = 0; i < count; ++i) {
        walk.skip(8);
        const std::uint32_t size = walk.littleEndian(4);
        const std::uint32_t offset = walk.littleEndian(4);
        ByteWalk place(file);
        place.skip(offset);
        const IconPicture picture = iconPicture(place.take(size));
        if (place.isPast()) {
            return failed("the file is cut short");
        }
        isAnyCut = isAnyCut || !picture.isWhole;
        if (rank(picture) > rank(best)) {
            best = picture;
        }
    }
    if (!best.isWhole) {
        return failed(isAnyCut ? "the file is cut short or damaged" : "the file holds no picture");
    }
    if (best.isPNG) {
        return partOf(best.bytes);
    }
    ImagePart part;
    part.format = ImageFormat::ICO;
    part.size = {static_cast<int>(best.width), static_cast<int>(best.height)};
    const auto put = [&part](std::uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            part.own.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    };
    put(1 << 16, 4);     // an icon
    put(1, 2);           // of one picture
    put(best.width, 1);  // one of 256 is written as 0; the picture says better
    put(best.height, 1);
    put(1 << 16, 4);
    put(best.bits, 2);
    put(best.bytes.size(), 4);
    put(kIconHead + kIconEntry, 4);
    append(part.own, best.bytes);
    return part;
}

/// The first icon of the list of frames.
ImagePart unwrappedANI(Bytes file) {
    ByteWalk walk(file);
    walk.skip(12);
    while (!walk.isPast()) {
        const std::string_view tag = textOf(walk.take(4));
        const std::uint32_t size = walk.littleEndian(4);
        if (tag == "LIST" && startsWith(walk.rest(), "fram")) {
            walk.skip(4);
        } else if (tag == "icon") {
            const Bytes icon = walk.take(size);
            return walk.isPast()                             ? failed("the file is cut short")
                   : imageFormatOf(icon) == ImageFormat::ICO ? unwrappedICO(icon)
                                                             : failed("a frame is no icon");
        } else {
            walk.skip(size);
            walk.skip(size % 2);
        }
    }
    return failed("the file holds no picture, or is cut short");
}

/// The largest PNG file in it, or else its pictures in layouts of their own.
ImagePart unwrappedICNS(Bytes file) {
    constexpr std::array<std::pair<std::string_view, int>, 8> kLayouts = {{{"is32", 16},
                                                                           {"il32", 32},
                                                                           {"ih32", 48},
                                                                           {"it32", 128},
                                                                           {"s8mk", 0},
                                                                           {"l8mk", 0},
                                                                           {"h8mk", 0},
                                                                           {"t8mk", 0}}};
    ByteWalk walk(file);
    walk.skip(4);
    const std::uint32_t whole = walk.bigEndian(4);
    if (whole < 8 || whole > file.size()) {
        return failed("the file is cut short");
    }
    file = file.first(whole);
    walk = ByteWalk(file);
    walk.skip(8);
    Bytes png;
    std::uint64_t pngArea = 0;
    ImagePart part;
    part.format = ImageFormat::ICNS;
    append(part.own, file.first(8));
    int extent = 0;
    while (!walk.isPast() && !walk.rest().empty()) {
        const Bytes begin = walk.rest();
        const std::string_view type = textOf(walk.take(4));
        const std::uint32_t size = walk.bigEndian(4);
        const Bytes contents = walk.take(size >= 8 ? size - 8 : 0);
        if (walk.isPast() || size < 8) {
            return failed("the file is cut short or damaged");
        }
        if (imageFormatOf(contents) == ImageFormat::PNG) {
            const IconPicture picture = iconPicture(contents);
            const std::uint64_t area = picture.width * picture.height;
            if (area > pngArea) {
                png = contents;
                pngArea = area;
            }
            continue;
        }
        const auto* const layout =
            std::find_if(kLayouts.begin(), kLayouts.end(),
                         [type](const auto& candidate) { return candidate.first == type; });
        if (layout != kLayouts.end()) {
            append(part.own, begin.first(size));
            extent = std::max(extent, layout->second);
        }
    }
    if (!png.empty()) {
        return partOf(png);
    }
    if (extent == 0) {
        return failed("the file holds no picture of a known layout");
    }
    part.size = {extent, extent};
    for (std::size_t i = 0; i < 4; ++i) {
        part.own[4 + i] = static_cast<std::uint8_t>(part.own.size() >> (24 - 8 * i));
    }
    return part;
}

/// The contents of the part that holds the file.
ImagePart unwrappedQTIF(Bytes file) {
    ByteWalk walk(file);
    while (!walk.isPast()) {
        const std::uint32_t size = walk.bigEndian(4);
        const std::string_view type = textOf(walk.take(4));
        if (size < 8) {
            break;
        }
        const Bytes contents = walk.take(size - 8);
        if (type == "idat" && !walk.isPast()) {
            return partOf(contents);
        }
    }
    return failed("the file holds no picture, or is cut short");
}

}  // namespace

std::optional<ImagePart> unwrappedImage(ImageFormat format, Bytes bytes) {
    switch (format) {
        case ImageFormat::ICO:
            return unwrappedICO(bytes);
        case ImageFormat::ANI:
            return unwrappedANI(bytes);
        case ImageFormat::ICNS:
            return unwrappedICNS(bytes);
        case ImageFormat::QTIF:
            return unwrappedQTIF(bytes);
        default:
            return std::nullopt;
    }
}

}  // namespace Mivora::platform
