#include "MivoraMac/platform/pictures/BitmapContext.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"

namespace Mivora::platform {

namespace {

// A pixel in a register: red in the lowest byte, then green, blue and, in the highest, alpha.
using Pixel = std::uint32_t;
// Four pixels, and their bytes two by two.
using Pixels = Pixel __attribute__((vector_size(16)));
using Halves = std::uint16_t __attribute__((vector_size(16)));

constexpr Pixel kOpaque = 0xFF000000U;
constexpr bool isLittleEndian = std::endian::native == std::endian::little;

template <class P>
constexpr P swapBytes(P value) {
    return (value >> 24) | ((value >> 8) & 0xFF00U) | ((value << 8) & 0xFF0000U) | (value << 24);
}

/// Bytes as numbers of four, the first of them in the lowest place.
template <class P = Pixel>
P load(const std::uint8_t* from) {
    P value;
    std::memcpy(&value, from, sizeof(value));
    return isLittleEndian ? value : swapBytes(value);
}

template <class P>
void store(std::uint8_t* to, P value) {
    if constexpr (!isLittleEndian) {
        value = swapBytes(value);
    }
    std::memcpy(to, &value, sizeof(value));
}

// The orders of bytes in memory, by what is first. `P` is one pixel or four

struct RGBA {
    template <class P>
    static P toPixel(P bytes) {
        return bytes;
    }
};
struct ARGB {
    template <class P>
    static P toPixel(P bytes) {
        return (bytes >> 8) | (bytes << 24);
    }
};
struct ABGR {
    template <class P>
    static P toPixel(P bytes) {
        return swapBytes(bytes);
    }
};
struct BGRA {
    template <class P>
    static P toPixel(P bytes) {
        return (bytes & 0xFF00FF00U) | ((bytes >> 16) & 0xFFU) | ((bytes << 16) & 0xFF0000U);
    }
};

// What becomes of a pixel

struct Keep {
    template <class P>
    static P apply(P pixel) {
        return pixel;
    }
};
struct Fill {
    template <class P>
    static P apply(P pixel) {
        return pixel | kOpaque;
    }
};

/// Multiplies the colours by alpha. (v + 128 + ((v + 128) >> 8)) >> 8 is v / 255 rounded to the
/// nearest for every product v of two bytes. Components have 16 bits each meanwhile; alpha takes
/// part as 255 and comes out as it was.
struct Premultiply {
    static Pixels apply(Pixels pixels) {
        const Pixels alpha = pixels >> 24;
        const auto factor = std::bit_cast<Halves>(alpha | (alpha << 16));
        auto redBlue = std::bit_cast<Halves>(pixels & 0x00FF00FFU);
        auto greenAlpha = std::bit_cast<Halves>(((pixels >> 8) & 0xFFU) | 0x00FF0000U);
        redBlue = redBlue * factor + kHalf;
        greenAlpha = greenAlpha * factor + kHalf;
        redBlue = (redBlue + (redBlue >> 8)) >> 8;
        greenAlpha = (greenAlpha + (greenAlpha >> 8)) & kUpper;
        return std::bit_cast<Pixels>(redBlue | greenAlpha);
    }
    static Pixel apply(Pixel pixel) { return apply(Pixels{pixel})[0]; }

    static constexpr std::uint16_t kHalf = 128;
    static constexpr std::uint16_t kUpper = 0xFF00;
};
struct PremultiplyAndFill {
    template <class P>
    static P apply(P pixel) {
        return Premultiply::apply(pixel) | kOpaque;
    }
};

using ConvertRow = void (*)(const std::uint8_t* from, std::uint8_t* to, std::size_t count);

template <class Order, class Operation>
void convertRow(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        store(to + 4 * i, Operation::apply(Order::toPixel(load<Pixels>(from + 4 * i))));
    }
    for (; i < count; ++i) {
        store(to + 4 * i, Operation::apply(Order::toPixel(load(from + 4 * i))));
    }
}

template <bool isReversed>
void convertRowOfThree(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const auto ordered = [](auto pixel) {
        return (isReversed ? BGRA::toPixel(pixel) : pixel) | kOpaque;
    };
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        // Twelve bytes are four pixels: three loads instead of twelve.
        const Pixel first = load(from + 3 * i);
        const Pixel second = load(from + 3 * i + 4);
        const Pixel third = load(from + 3 * i + 8);
        store(to + 4 * i, ordered(Pixels{first, (first >> 24) | (second << 8),
                                         (second >> 16) | (third << 16), third >> 8}));
    }
    for (; i < count; ++i) {
        const std::uint8_t* const bytes = from + 3 * i;
        store(to + 4 * i, ordered(bytes[0] | Pixel{bytes[1]} << 8 | Pixel{bytes[2]} << 16));
    }
}

template <class Order>
ConvertRow converterOf(AlphaInfo from, AlphaInfo to) {
    const bool fills = to == AlphaInfo::NoneSkipLast;
    switch (from) {
        case AlphaInfo::Last:
        case AlphaInfo::First:
            return fills ? &convertRow<Order, PremultiplyAndFill> : &convertRow<Order, Premultiply>;
        case AlphaInfo::PremultipliedLast:
        case AlphaInfo::PremultipliedFirst:
            return fills ? &convertRow<Order, Fill> : &convertRow<Order, Keep>;
        default:
            return &convertRow<Order, Fill>;
    }
}

ConvertRow converter(const BitmapImage& image, AlphaInfo to) {
    const AlphaInfo from = image.alphaInfo();
    const bool isReversed = image.byteOrder() == ByteOrder::Reversed;
    switch (from) {
        case AlphaInfo::None:
            return isReversed ? &convertRowOfThree<true> : &convertRowOfThree<false>;
        case AlphaInfo::PremultipliedFirst:
        case AlphaInfo::First:
        case AlphaInfo::NoneSkipFirst:
            return isReversed ? converterOf<BGRA>(from, to) : converterOf<ARGB>(from, to);
        default:
            return isReversed ? converterOf<ABGR>(from, to) : converterOf<RGBA>(from, to);
    }
}

}  // namespace

std::optional<BitmapContext> BitmapContext::create(std::uint8_t* data, PixelSize size,
                                                   std::size_t bytesPerRow, AlphaInfo alphaInfo) {
    const bool isSupported =
        alphaInfo == AlphaInfo::PremultipliedLast || alphaInfo == AlphaInfo::NoneSkipLast;
    if (data == nullptr || size.width <= 0 || size.height <= 0 || !isSupported ||
        bytesPerRow / 4 < static_cast<std::size_t>(size.width)) {
        return std::nullopt;
    }
    if (!areExtentsBorne("bitmap context", static_cast<std::uint64_t>(size.width),
                         static_cast<std::uint64_t>(size.height), kLargestBitmapExtent)) {
        return std::nullopt;
    }
    return BitmapContext(data, size, bytesPerRow, alphaInfo);
}

void BitmapContext::drawImage(const BitmapImage& image) {
    const auto width = static_cast<std::size_t>(std::min(size_.width, image.size().width));
    const int height = std::min(size_.height, image.size().height);
    const ConvertRow convert = converter(image, alphaInfo_);
    for (int y = 0; y < height; ++y) {
        const int row = orientation_ == Orientation::TopRowFirst ? y : size_.height - 1 - y;
        convert(image.row(y), data_ + static_cast<std::size_t>(row) * bytesPerRow_, width);
    }
}

}  // namespace Mivora::platform
