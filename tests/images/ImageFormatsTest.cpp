#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/ImageSource.h"
#include "tests/images/ImageEncoders.h"
#include "tests/images/SmallFormats.h"
#include "tests/platform/base/TemporaryFolder.h"
#include "tests/platform/pictures/ImageFiles.h"

// Files of every format as the format's own library writes them: what is read are their pixels.

namespace {

using Mivora::platform::AlphaInfo;
using Mivora::platform::ImageSource;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::alphasOf;
using Mivora::tests::aniFile;
using Mivora::tests::appendLittleEndian;
using Mivora::tests::Bytes;
using Mivora::tests::encoded;
using Mivora::tests::GIFOptions;
using Mivora::tests::icnsColors;
using Mivora::tests::icnsFile;
using Mivora::tests::icoFile;
using Mivora::tests::iconBitmap;
using Mivora::tests::JPEGOptions;
using Mivora::tests::pictureOf;
using Mivora::tests::PNGOptions;
using Mivora::tests::pnmFile;
using Mivora::tests::premultiplied;
using Mivora::tests::qtifFile;
using Mivora::tests::Samples;
using Mivora::tests::svgFile;
using Mivora::tests::TemporaryFolder;
using Mivora::tests::testPicture;
using Mivora::tests::tgaFile;
using Mivora::tests::TIFFOptions;
using Mivora::tests::WebP;
using Mivora::tests::writeAnimatedWebP;
using Mivora::tests::writeGIF;
using Mivora::tests::writeJPEG;
using Mivora::tests::writePNG;
using Mivora::tests::writeTIFF;
using Mivora::tests::writeWebP;
using Mivora::tests::xbmFile;
using Mivora::tests::xpmFile;
using testing::IsEmpty;

enum class Alpha { No, Yes };

/// A file and what is in it.
struct Format {
    const char* name;
    PixelSize size;
    Alpha alpha;
    int tolerance;  ///< of each channel, in 255ths
    /// Writes the file and returns its picture, of straight alpha.
    std::function<Picture(const std::string& path, PixelSize size)> write;
};

void PrintTo(const Format& format, std::ostream* stream) {
    *stream << format.name;
}

class ImageFormatsTest : public testing::TestWithParam<Format> {
 protected:
    TemporaryFolder folder_;
};

/// A pixel of each place; `makePixel(x, y)` yields four bytes.
template <class MakePixel>
Picture pictureWith(PixelSize size, MakePixel&& makePixel) {
    Picture picture{size, {}};
    picture.rgba.resize(static_cast<std::size_t>(size.width) *
                        static_cast<std::size_t>(size.height) * 4);
    std::uint8_t* to = picture.rgba.data();
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            for (const int part : makePixel(x, y)) {
                *to++ = static_cast<std::uint8_t>(part);
            }
        }
    }
    return picture;
}

/// Colours that change slowly from pixel to pixel, as lossy encoders want them.
Picture smoothPicture(PixelSize size, bool hasAlpha = false) {
    std::array<int, 512> wave;
    for (std::size_t i = 0; i < wave.size(); ++i) {
        wave[i] = static_cast<int>(std::lround(127.5 + 100 * std::sin(double(i) * M_PI / 256)));
    }
    const auto at = [&](int step) { return wave[static_cast<std::size_t>(step) % wave.size()]; };
    return pictureWith(size, [&](int x, int y) -> std::array<int, 4> {
        return {at(4 * x), at(3 * y), at(2 * (x + y)), hasAlpha ? at(5 * x + 3 * y) : 255};
    });
}

Picture greyPicture(PixelSize size, int levels) {
    return pictureWith(size, [levels](int x, int y) -> std::array<int, 4> {
        const int value = (3 * x + 5 * y) % levels * 255 / (levels - 1);
        return {value, value, value, 255};
    });
}

/// The bytes of a picture's channels, as "rgb" or "rgba" or "r" or "ra", one byte each.
Samples samplesOf(const Picture& picture, const std::string& channels) {
    std::vector<std::size_t> offsets;
    for (const char channel : channels) {
        offsets.push_back(std::string("rgba").find(channel));
    }
    Samples samples;
    samples.reserve(picture.rgba.size() / 4 * offsets.size());
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        for (const std::size_t offset : offsets) {
            samples.push_back(picture.rgba[i + offset]);
        }
    }
    return samples;
}

/// The same of two bytes each, the other one being noise.
Samples wide(const Samples& samples, bool isBigEndian) {
    Samples result;
    std::uint8_t noise = 17;
    for (const std::uint8_t sample : samples) {
        noise = static_cast<std::uint8_t>(noise * 5 + 3);
        result.push_back(isBigEndian ? sample : noise);
        result.push_back(isBigEndian ? noise : sample);
    }
    return result;
}

/// Values of so few bits, packed from the highest bit on, each row to whole bytes.
Samples packed(const std::vector<int>& values, int width, int bits) {
    Samples result;
    for (std::size_t i = 0; i < values.size(); i += static_cast<std::size_t>(width)) {
        unsigned byte = 0;
        int used = 0;
        for (int x = 0; x < width; ++x) {
            byte = byte << bits | static_cast<unsigned>(values[i + static_cast<std::size_t>(x)]);
            used += bits;
            if (used == 8 || x == width - 1) {
                result.push_back(static_cast<std::uint8_t>(byte << (8 - used)));
                byte = 0;
                used = 0;
            }
        }
    }
    return result;
}

std::vector<int> indices(PixelSize size, int count) {
    std::vector<int> values;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            values.push_back((x * 7 + y * 3) % count);
        }
    }
    return values;
}

std::vector<std::uint8_t> paletteOf(int count) {
    std::vector<std::uint8_t> palette;
    for (int i = 0; i < 3 * count; ++i) {
        palette.push_back(static_cast<std::uint8_t>(i * 83 + 11));
    }
    return palette;
}

/// What indices into a palette look like; `alphas` are those of its first colours.
Picture indexedPicture(PixelSize size, const std::vector<int>& values,
                       const std::vector<std::uint8_t>& palette,
                       const std::vector<std::uint8_t>& alphas = {}) {
    return pictureWith(size, [&](int x, int y) -> std::array<int, 4> {
        const auto index = static_cast<std::size_t>(
            values[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                   static_cast<std::size_t>(x)]);
        return {palette[3 * index], palette[3 * index + 1], palette[3 * index + 2],
                index < alphas.size() ? alphas[index] : 255};
    });
}

// PNG

/// @param channels  of the file
Format png(const char* name, PixelSize size, const std::string& channels, int bitDepth,
           bool isInterlaced) {
    const bool hasAlpha = channels.back() == 'a';
    return {name, size, hasAlpha ? Alpha::Yes : Alpha::No, 0,
            [=](const std::string& path, PixelSize theSize) {
                Picture picture = testPicture(theSize.width, theSize.height, hasAlpha);
                PNGOptions options;
                options.bitDepth = bitDepth;
                options.isInterlaced = isInterlaced;
                options.colorType = (channels.size() > 2 ? 2 : 0) + (hasAlpha ? 4 : 0);
                const Samples samples = samplesOf(picture, channels);
                writePNG(path, theSize, options, bitDepth == 16 ? wide(samples, true) : samples);
                if (channels.size() <= 2) {
                    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
                        picture.rgba[i + 1] = picture.rgba[i + 2] = picture.rgba[i];
                    }
                }
                return picture;
            }};
}

Format indexedPNG(const char* name, PixelSize size, int bitDepth, std::vector<std::uint8_t> alphas,
                  bool isInterlaced = false) {
    return {name, size, alphas.empty() ? Alpha::No : Alpha::Yes, 0,
            [=](const std::string& path, PixelSize theSize) {
                PNGOptions options;
                options.colorType = 3;
                options.bitDepth = bitDepth;
                options.isInterlaced = isInterlaced;
                options.palette = paletteOf(1 << bitDepth);
                options.paletteAlpha = alphas;
                const std::vector<int> values = indices(theSize, 1 << bitDepth);
                writePNG(path, theSize, options, packed(values, theSize.width, bitDepth));
                return indexedPicture(theSize, values, options.palette, alphas);
            }};
}

Format greyPNG(const char* name, PixelSize size, int bitDepth) {
    return {name, size, Alpha::No, 0, [=](const std::string& path, PixelSize theSize) {
                PNGOptions options;
                options.colorType = 0;
                options.bitDepth = bitDepth;
                const int levels = 1 << bitDepth;
                std::vector<int> values;
                for (int y = 0; y < theSize.height; ++y) {
                    for (int x = 0; x < theSize.width; ++x) {
                        values.push_back((3 * x + 5 * y) % levels);
                    }
                }
                writePNG(path, theSize, options, packed(values, theSize.width, bitDepth));
                return greyPicture(theSize, levels);
            }};
}

Picture writeColorKeyPNG(const std::string& path, PixelSize size) {
    Picture picture = testPicture(size.width, size.height, false);
    PNGOptions options;
    options.colorType = 2;
    for (std::size_t i = 0; i < 3; ++i) {
        options.transparentColor.push_back(picture.rgba[20 + i]);
    }
    writePNG(path, size, options, samplesOf(picture, "rgb"));
    picture.rgba[23] = 0;
    return picture;
}

// JPEG

Format jpeg(const char* name, PixelSize size, int tolerance, const JPEGOptions& options) {
    return {name, size, Alpha::No, tolerance, [=](const std::string& path, PixelSize theSize) {
                if (options.components == 1) {
                    Picture picture = smoothPicture(theSize);
                    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
                        picture.rgba[i + 1] = picture.rgba[i + 2] = picture.rgba[i];
                    }
                    writeJPEG(path, theSize, options, samplesOf(picture, "r"));
                    return picture;
                }
                Picture picture = smoothPicture(theSize);
                if (options.components == 3) {
                    writeJPEG(path, theSize, options, samplesOf(picture, "rgb"));
                    return picture;
                }
                // Four inks, stored as what they leave of the white, as is usual with JPEG.
                Samples inks = samplesOf(picture, "rgba");
                for (std::size_t i = 0; i < inks.size(); i += 4) {
                    inks[i + 3] = static_cast<std::uint8_t>(255 - i / 4 % 64);
                    for (std::size_t k = 0; k < 3; ++k) {
                        picture.rgba[i + k] =
                            static_cast<std::uint8_t>(inks[i + k] * inks[i + 3] / 255);
                    }
                }
                writeJPEG(path, theSize, options, inks);
                return picture;
            }};
}

// GIF

Format gif(const char* name, PixelSize size, const GIFOptions& more, int colors = 256) {
    return {name, size, more.transparentIndex < 0 ? Alpha::No : Alpha::Yes, 0,
            [=](const std::string& path, PixelSize theSize) {
                GIFOptions options = more;
                options.palette = paletteOf(colors);
                const std::vector<int> values = indices(theSize, colors);
                writeGIF(path, theSize, options, Samples(values.begin(), values.end()));
                std::vector<std::uint8_t> alphas(static_cast<std::size_t>(colors), 255);
                if (options.transparentIndex >= 0) {
                    alphas[static_cast<std::size_t>(options.transparentIndex)] = 0;
                }
                return indexedPicture(theSize, values, options.palette, alphas);
            }};
}

// BMP, which has no library

struct BMPLayout {
    int bitsPerPixel;
    std::uint32_t compression;  ///< 0 none, 1 and 2 runs of bytes and of half bytes, 3 bit fields
    bool isTopRowFirst;
};

Bytes bmpHead(PixelSize size, const BMPLayout& layout, const Bytes& afterHeader,
              std::size_t pixelBytes) {
    Bytes bytes = "BM";
    const std::size_t offset = 54 + afterHeader.size();
    appendLittleEndian(bytes, static_cast<std::uint32_t>(offset + pixelBytes), 4);
    appendLittleEndian(bytes, 0, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(offset), 4);
    appendLittleEndian(bytes, 40, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(size.width), 4);
    appendLittleEndian(
        bytes, static_cast<std::uint32_t>(layout.isTopRowFirst ? -size.height : size.height), 4);
    appendLittleEndian(bytes, 1, 2);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(layout.bitsPerPixel), 2);
    appendLittleEndian(bytes, layout.compression, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(pixelBytes), 4);
    bytes.append(16, '\0');
    return bytes + afterHeader;
}

Bytes bmpPalette(const std::vector<std::uint8_t>& palette) {
    Bytes bytes;
    for (std::size_t i = 0; i < palette.size(); i += 3) {
        bytes += {static_cast<char>(palette[i + 2]), static_cast<char>(palette[i + 1]),
                  static_cast<char>(palette[i]), '\0'};
    }
    return bytes;
}

Picture writeIndexedBMP(const std::string& path, PixelSize size, const BMPLayout& layout) {
    const int colors = 1 << layout.bitsPerPixel;
    const std::vector<std::uint8_t> palette = paletteOf(colors);
    const std::vector<int> values = indices(size, colors);
    Bytes pixels;
    for (int y = 0; y < size.height; ++y) {
        const int from = layout.isTopRowFirst ? y : size.height - 1 - y;
        const auto begin = values.begin() + std::ptrdiff_t{from} * size.width;
        const std::vector<int> line(begin, begin + size.width);
        if (layout.compression == 0) {
            for (const std::uint8_t byte : packed(line, size.width, layout.bitsPerPixel)) {
                pixels.push_back(static_cast<char>(byte));
            }
            pixels.resize((pixels.size() + 3) / 4 * 4);
            continue;
        }
        // The first half of a row as runs of one pixel, the rest as it is, three to 255 at a time.
        const int half = size.width / 2;
        for (int x = 0; x < half; ++x) {
            const int value = line[static_cast<std::size_t>(x)];
            pixels += {1, static_cast<char>(layout.compression == 1 ? value : value << 4)};
        }
        const std::vector<int> rest(line.begin() + half, line.end());
        pixels += {0, static_cast<char>(rest.size())};
        for (const std::uint8_t byte :
             packed(rest, static_cast<int>(rest.size()), layout.bitsPerPixel)) {
            pixels.push_back(static_cast<char>(byte));
        }
        pixels.resize((pixels.size() + 1) / 2 * 2);
        pixels += {0, static_cast<char>(y == size.height - 1 ? 1 : 0)};
    }
    const Bytes head = bmpHead(size, layout, bmpPalette(palette), pixels.size());
    std::ofstream(path, std::ios::binary) << head << pixels;
    return indexedPicture(size, values, palette);
}

Format bmp(const char* name, PixelSize size, const BMPLayout& layout) {
    return {name, size, Alpha::No, 0, [=](const std::string& path, PixelSize theSize) {
                return writeIndexedBMP(path, theSize, layout);
            }};
}

Picture writeBMPOf16Bits(const std::string& path, PixelSize size) {
    Bytes pixels;
    const auto level = [](int value) { return value % 32; };
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            appendLittleEndian(
                pixels,
                static_cast<std::uint32_t>(level(x) << 11 | 2 * level(x + y) << 5 | level(y)), 2);
        }
        pixels.resize((pixels.size() + 3) / 4 * 4);
    }
    Bytes masks;
    for (const std::uint32_t mask : {0xF800U, 0x07E0U, 0x001FU}) {
        appendLittleEndian(masks, mask, 4);
    }
    std::ofstream(path, std::ios::binary)
        << bmpHead(size, {16, 3, true}, masks, pixels.size()) << pixels;
    return pictureWith(size, [&](int x, int y) -> std::array<int, 4> {
        return {level(x) * 255 / 31, 2 * level(x + y) * 255 / 63, level(y) * 255 / 31, 255};
    });
}

// TIFF

Format tiff(const char* name, PixelSize size, const std::string& channels, int bits,
            const TIFFOptions& more) {
    const bool hasAlpha = channels.back() == 'a';
    return {name, size, hasAlpha ? Alpha::Yes : Alpha::No, hasAlpha || bits == 16 ? 1 : 0,
            [=](const std::string& path, PixelSize theSize) {
                const Picture picture = testPicture(theSize.width, theSize.height, hasAlpha);
                TIFFOptions options = more;
                options.samplesPerPixel = static_cast<int>(channels.size());
                options.bitsPerSample = bits;
                const bool isStoredPremultiplied = options.extraSample == 1;
                const Samples samples =
                    samplesOf(isStoredPremultiplied ? premultiplied(picture) : picture, channels);
                // The encoder takes wide samples in the order of this machine.
                writeTIFF(path, theSize, options, bits == 16 ? wide(samples, false) : samples);
                return picture;
            }};
}

Picture writeIndexedTIFF(const std::string& path, PixelSize size) {
    TIFFOptions options;
    options.samplesPerPixel = 1;
    options.photometric = 3;
    const std::vector<std::uint8_t> palette = paletteOf(256);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t i = 0; i < 256; ++i) {
            options.palette.push_back(static_cast<std::uint16_t>(palette[3 * i + channel] * 257));
        }
    }
    const std::vector<int> values = indices(size, 256);
    writeTIFF(path, size, options, Samples(values.begin(), values.end()));
    return indexedPicture(size, values, palette);
}

Picture writeGreyTIFF(const std::string& path, PixelSize size) {
    TIFFOptions options;
    options.samplesPerPixel = 1;
    options.photometric = 1;
    const Picture picture = greyPicture(size, 256);
    writeTIFF(path, size, options, samplesOf(picture, "r"));
    return picture;
}

Picture writeBlackAndWhiteTIFF(const std::string& path, PixelSize size) {
    TIFFOptions options;
    options.samplesPerPixel = 1;
    options.bitsPerSample = 1;
    options.photometric = 1;
    options.compression = 4;  // that of fax machines
    const Picture picture = greyPicture(size, 2);
    std::vector<int> values;
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        values.push_back(picture.rgba[i] / 255);
    }
    writeTIFF(path, size, options, packed(values, size.width, 1));
    return picture;
}

Picture writeInkTIFF(const std::string& path, PixelSize size) {
    TIFFOptions options;
    options.samplesPerPixel = 4;
    options.photometric = 5;
    Picture picture = smoothPicture(size);
    Samples inks = samplesOf(picture, "rgba");
    for (std::size_t i = 0; i < inks.size(); i += 4) {
        inks[i + 3] = static_cast<std::uint8_t>(i / 4 % 64);
        for (std::size_t k = 0; k < 3; ++k) {
            picture.rgba[i + k] =
                static_cast<std::uint8_t>((255 - inks[i + k]) * (255 - inks[i + 3]) / 255);
        }
    }
    writeTIFF(path, size, options, inks);
    return picture;
}

// WebP

Format webP(const char* name, PixelSize size, Alpha alpha, WebP kind) {
    return {name, size, alpha, kind == WebP::Lossless ? 0 : 12,
            [=](const std::string& path, PixelSize theSize) {
                const bool hasAlpha = alpha == Alpha::Yes;
                Picture picture = kind == WebP::Lossless
                                      ? testPicture(theSize.width, theSize.height, hasAlpha)
                                      : smoothPicture(theSize, hasAlpha);
                writeWebP(path, picture, hasAlpha, kind);
                return picture;
            }};
}

template <bool hasAlpha>
Picture writeWebPOfTwoFrames(const std::string& path, PixelSize size) {
    Picture picture = testPicture(size.width, size.height, hasAlpha);
    writeAnimatedWebP(path, picture);
    return picture;
}

// Formats that are made by hand

Format handmade(const char* name, PixelSize size, const Picture& picture,
                const std::function<Bytes(const Picture&)>& make, int tolerance = 0) {
    const bool isTranslucent = [&] {
        for (std::size_t i = 3; i < picture.rgba.size(); i += 4) {
            if (picture.rgba[i] != 255) {
                return true;
            }
        }
        return false;
    }();
    return {name, size, isTranslucent ? Alpha::Yes : Alpha::No, tolerance,
            [=](const std::string& path, PixelSize /*size*/) {
                std::ofstream(path, std::ios::binary) << make(picture);
                return picture;
            }};
}

/// The same, where the decoder gives opaque pictures alpha as well.
Format withAlpha(Format format) {
    format.alpha = Alpha::Yes;
    return format;
}

constexpr PixelSize kOne{1, 1};
constexpr PixelSize kOdd{37, 23};
constexpr PixelSize kEven{64, 48};
constexpr PixelSize kThin{1, 77};
constexpr PixelSize kFlat{131, 1};
constexpr PixelSize kLarge{4096, 4096};

std::vector<Format> formats() {
    std::vector<Format> all = {
        png("pngOfColors", kOdd, "rgb", 8, false),
        png("pngOfColorsAndAlpha", kOdd, "rgba", 8, false),
        png("pngOfOnePixel", kOne, "rgb", 8, false),
        png("pngOfOnePixelWithAlpha", kOne, "rgba", 8, false),
        png("thinPNG", kThin, "rgba", 8, false),
        png("flatPNG", kFlat, "rgb", 8, false),
        png("pngOfEvenSize", kEven, "rgba", 8, false),
        png("largePNG", kLarge, "rgba", 8, false),
        png("interlacedPNG", kOdd, "rgb", 8, true),
        png("interlacedPNGWithAlpha", kOdd, "rgba", 8, true),
        png("interlacedPNGOfOnePixel", kOne, "rgba", 8, true),
        png("interlacedPNGOf16Bits", kOdd, "rgba", 16, true),
        png("interlacedThinPNG", kThin, "rgb", 8, true),
        png("pngOf16Bits", kOdd, "rgb", 16, false),
        png("pngOf16BitsWithAlpha", kOdd, "rgba", 16, false),
        png("greyPNG", kOdd, "r", 8, false),
        png("greyPNGOf16Bits", kOdd, "r", 16, false),
        png("greyPNGWithAlpha", kOdd, "ra", 8, false),
        png("greyPNGOf16BitsWithAlpha", kOdd, "ra", 16, false),
        png("interlacedGreyPNGWithAlpha", kOdd, "ra", 8, true),
        greyPNG("greyPNGOfOneBit", kOdd, 1),
        greyPNG("greyPNGOfTwoBits", kOdd, 2),
        greyPNG("greyPNGOfFourBits", kOdd, 4),
        indexedPNG("indexedPNG", kOdd, 8, {}),
        indexedPNG("indexedPNGOfFourBits", kOdd, 4, {}),
        indexedPNG("indexedPNGOfTwoBits", kOdd, 2, {}),
        indexedPNG("indexedPNGOfOneBit", kOdd, 1, {}),
        indexedPNG("indexedPNGWithAlpha", kOdd, 8, {0, 64, 128, 255, 200}),
        indexedPNG("interlacedIndexedPNGWithAlpha", kOdd, 4, {0, 64, 128}, true),
        {"pngWithATransparentColor", kOdd, Alpha::Yes, 0, writeColorKeyPNG},

        jpeg("jpegOfColors", kOdd, 6, {}),
        jpeg("jpegOfOnePixel", kOne, 6, {}),
        jpeg("thinJPEG", kThin, 6, {}),
        jpeg("flatJPEG", kFlat, 6, {}),
        jpeg("largeJPEG", kLarge, 6, {}),
        jpeg("progressiveJPEG", kOdd, 6, {.isProgressive = true}),
        jpeg("subsampledJPEG", kEven, 10, {.isSubsampled = true}),
        jpeg("subsampledJPEGOfOddSize", kOdd, 10, {.isProgressive = true, .isSubsampled = true}),
        jpeg("jpegWithRestarts", kEven, 6, {.restartInterval = 3}),
        jpeg("greyJPEG", kOdd, 6, {.components = 1}),
        jpeg("inkJPEG", kOdd, 8, {.components = 4}),
        jpeg("inkJPEGOfLumaAndChroma", kOdd, 10, {.components = 4, .isYCCK = true}),

        gif("gifOfColors", kOdd, {}),
        gif("gifOfOnePixel", kOne, {}),
        gif("gifOfTwoColors", kOdd, {}, 2),
        gif("gifWithATransparentColor", kOdd, {.transparentIndex = 3}),
        gif("interlacedGIF", kOdd, {.isInterlaced = true}),
        gif("gifWithALocalPalette", kOdd, {.hasLocalPalette = true}),
        gif("gifOfSeveralFrames", kEven, {.frames = 3}),

        bmp("bmpOf8Bits", kOdd, {8, 0, false}),
        bmp("bmpOf8BitsTopRowFirst", kOdd, {8, 0, true}),
        bmp("bmpOf4Bits", kOdd, {4, 0, false}),
        bmp("bmpOf1Bit", kOdd, {1, 0, false}),
        bmp("bmpOfRunsOfBytes", kOdd, {8, 1, false}),
        bmp("bmpOfRunsOfHalfBytes", kOdd, {4, 2, false}),
        {"bmpOf16Bits", kOdd, Alpha::No, 8, writeBMPOf16Bits},

        tiff("tiffOfColors", kOdd, "rgb", 8, {}),
        tiff("tiffOfOnePixel", kOne, "rgb", 8, {}),
        tiff("tiffOfStrips", kOdd, "rgb", 8, {.rowsPerStrip = 5}),
        tiff("bigEndianTIFF", kOdd, "rgb", 8, {.isBigEndian = true}),
        tiff("tiffOf16Bits", kOdd, "rgb", 16, {}),
        tiff("tiffWithStraightAlpha", kOdd, "rgba", 8, {.extraSample = 2}),
        tiff("tiffWithPremultipliedAlpha", kOdd, "rgba", 8, {.extraSample = 1}),
        tiff("tiffWithLZW", kEven, "rgba", 8,
             {.compression = 5, .extraSample = 2, .rowsPerStrip = 7}),
        tiff("tiffWithDeflate", kEven, "rgb", 8, {.compression = 8}),
        tiff("tiffWithPackBits", kOdd, "rgb", 8, {.compression = 32773}),
        {"indexedTIFF", kOdd, Alpha::No, 0, writeIndexedTIFF},
        {"greyTIFF", kOdd, Alpha::No, 0, writeGreyTIFF},
        {"blackAndWhiteTIFF", kOdd, Alpha::No, 0, writeBlackAndWhiteTIFF},
        {"inkTIFF", kOdd, Alpha::No, 2, writeInkTIFF},

        webP("webPOfColors", kOdd, Alpha::No, WebP::Lossless),
        webP("webPWithAlpha", kOdd, Alpha::Yes, WebP::Lossless),
        webP("webPOfOnePixel", kOne, Alpha::No, WebP::Lossless),
        webP("lossyWebP", kOdd, Alpha::No, WebP::Lossy),
        webP("lossyWebPWithAlpha", kEven, Alpha::Yes, WebP::Lossy),
        webP("thinWebP", kThin, Alpha::No, WebP::Lossless),
        {"animatedWebP", kOdd, Alpha::Yes, 0, writeWebPOfTwoFrames<true>},
        {"opaqueAnimatedWebP", kOdd, Alpha::No, 0, writeWebPOfTwoFrames<false>},
    };
    const auto addPNM = [&](const char* name, int kind) {
        const Picture picture = kind == 1 || kind == 4   ? greyPicture(kOdd, 2)
                                : kind == 2 || kind == 5 ? greyPicture(kOdd, 256)
                                                         : testPicture(37, 23, false);
        all.push_back(handmade(name, kOdd, picture,
                               [kind](const Picture& from) { return pnmFile(from, kind); }));
    };
    addPNM("pnmOfBitsAsText", 1);
    addPNM("pnmOfGreysAsText", 2);
    addPNM("pnmOfColorsAsText", 3);
    addPNM("pnmOfBits", 4);
    addPNM("pnmOfGreys", 5);
    addPNM("pnmOfColors", 6);
    const auto addTGA = [&](const char* name, bool hasAlpha, bool hasRuns, bool isTopRowFirst) {
        all.push_back(handmade(name, kOdd, testPicture(37, 23, hasAlpha), [=](const Picture& from) {
            return tgaFile(from, hasAlpha, hasRuns, isTopRowFirst);
        }));
    };
    addTGA("tgaOfColors", false, false, false);
    addTGA("tgaWithAlpha", true, false, false);
    addTGA("tgaTopRowFirst", false, false, true);
    addTGA("tgaOfRuns", false, true, false);
    addTGA("tgaOfRunsWithAlpha", true, true, true);
    all.push_back(handmade("xpm", {19, 13}, testPicture(19, 13, false), xpmFile));
    all.push_back(handmade("xbm", kOdd, greyPicture(kOdd, 2), xbmFile));
    all.push_back(withAlpha(handmade("svg", {19, 13}, testPicture(19, 13, false), svgFile)));

    const Picture small = testPicture(5, 4, true);
    const Picture card = testPicture(37, 23, false);
    const Picture pane = testPicture(37, 23, true);
    const auto icon = [small](const Picture& picture, bool hasAlpha) {
        return icoFile({{iconBitmap(small, true), small.size},
                        {iconBitmap(picture, hasAlpha), picture.size},
                        {iconBitmap(small, true), small.size}});
    };
    const auto iconOfPNG = [small](const Picture& picture) {
        return icoFile(
            {{iconBitmap(small, true), small.size}, {encoded(picture, "png", true), picture.size}});
    };
    all.push_back(withAlpha(
        handmade("ico", kOdd, card, [=](const Picture& from) { return icon(from, false); })));
    all.push_back(handmade("icoWithAlpha", kOdd, pane,
                           [=](const Picture& from) { return icon(from, true); }));
    all.push_back(handmade("icoOfAPNG", kOdd, pane, iconOfPNG));
    all.push_back(handmade("cur", kOdd, pane, [](const Picture& from) {
        return icoFile({{iconBitmap(from, true), from.size}}, true);
    }));
    all.push_back(handmade("ani", kOdd, pane, [=](const Picture& from) {
        return aniFile({icon(from, true), icon(small, true)});
    }));
    all.push_back(handmade("icns", {16, 16}, testPicture(16, 16, true), [](const Picture& from) {
        return icnsFile({{"TOC ", "1234"}, {"is32", icnsColors(from)}, {"s8mk", alphasOf(from)}});
    }));
    all.push_back(handmade("icnsOfAPNG", kOdd, pane, [=](const Picture& from) {
        return icnsFile({{"is32", icnsColors(testPicture(16, 16, false))},
                         {"ic07", encoded(from, "png", true)},
                         {"ic08", encoded(small, "png", true)}});
    }));
    all.push_back(handmade("qtifOfAPNG", kOdd, pane, [](const Picture& from) {
        return qtifFile(encoded(from, "png", true));
    }));
    all.push_back(handmade("qtifOfAnIcon", kOdd, pane,
                           [=](const Picture& from) { return qtifFile(iconOfPNG(from)); }));
    return all;
}

TEST_P(ImageFormatsTest, theFilesPixelsAreRead) {
    const Format& format = GetParam();
    const std::string path = (folder_.path() / "picture").string();
    const Picture expected = premultiplied(format.write(path, format.size));

    const ImageSource::Result result = ImageSource::firstImageOfFile(path);
    ASSERT_NE(result.image, nullptr) << result.failure;
    EXPECT_THAT(result.failure, IsEmpty());
    EXPECT_EQ(result.image->size(), format.size);
    EXPECT_EQ(hasAlpha(result.image->alphaInfo()), format.alpha == Alpha::Yes);
    if (format.alpha == Alpha::Yes) {
        EXPECT_EQ(result.image->alphaInfo(), AlphaInfo::PremultipliedLast);
    }
    const Picture picture = pictureOf(*result.image);
    ASSERT_EQ(picture.rgba.size(), expected.rgba.size());
    int worst = 0;
    std::size_t where = 0;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        const int difference = std::abs(picture.rgba[i] - expected.rgba[i]);
        if (difference > worst) {
            worst = difference;
            where = i;
        }
    }
    const auto width = static_cast<std::size_t>(format.size.width);
    EXPECT_LE(worst, format.tolerance)
        << "channel " << where % 4 << " of the pixel (" << where / 4 % width << ", "
        << where / 4 / width << ") is " << int{picture.rgba[where]} << " instead of "
        << int{expected.rgba[where]};
}

// What happens to such files

Bytes contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

ImageSource::Result loaded(const Bytes& contents, int maximumExtent = ImageSource::kMaximumExtent) {
    return ImageSource::firstImageOfBytes(
        {reinterpret_cast<const std::uint8_t*>(contents.data()), contents.size()}, maximumExtent);
}

/// The bytes of a file of every format, without the large ones, which have no parts of their own.
std::vector<std::pair<const char*, Bytes>> files() {
    const TemporaryFolder folder;
    std::vector<std::pair<const char*, Bytes>> all;
    for (const Format& format : formats()) {
        if (format.size != kLarge) {
            const std::string path = (folder.path() / format.name).string();
            format.write(path, format.size);
            all.emplace_back(format.name, contentsOf(path));
        }
    }
    return all;
}

TEST(DamagedImageTest, aFileCutShortYieldsNothingUnlessAllPixelsAreThere) {
    for (const auto& [name, whole] : files()) {
        SCOPED_TRACE(name);
        const ImageSource::Result full = loaded(whole);
        ASSERT_NE(full.image, nullptr) << full.failure;
        const Samples pixels = pictureOf(*full.image).rgba;
        // Every length near either end, and some of those between.
        const std::size_t step = whole.size() / 64 + 1;
        for (std::size_t length = 0; length < whole.size();
             length += length < 64 || length + 32 > whole.size() ? 1 : step) {
            const ImageSource::Result result = loaded(whole.substr(0, length));
            ASSERT_EQ(result.image == nullptr, !result.failure.empty());
            if (result.image) {
                ASSERT_EQ(pictureOf(*result.image).rgba, pixels)
                    << "cut to " << length << " of " << whole.size() << " bytes";
            }
        }
    }
}

TEST(DamagedImageTest, aDamagedFileDoesNoHarm) {
    constexpr std::size_t kEnds = 80;
    constexpr int kMaximumExtent = 2048;
    std::mt19937 random(3);
    for (const auto& [name, whole] : files()) {
        SCOPED_TRACE(name);
        for (int i = 0; i < 60; ++i) {
            Bytes damaged = whole;
            for (unsigned k = 0; k <= random() % 3; ++k) {
                // Mostly near the ends, where the heads and directories are.
                const std::size_t range = i % 3 == 0 ? whole.size() : std::min(whole.size(), kEnds);
                const std::size_t at = random() % range;
                damaged[i % 3 == 1 ? whole.size() - 1 - at : at] = static_cast<char>(random());
            }
            const ImageSource::Result result = loaded(damaged, kMaximumExtent);
            ASSERT_EQ(result.image == nullptr, !result.failure.empty());
            if (result.image) {
                ASSERT_LE(result.image->size().width, kMaximumExtent);
                ASSERT_LE(result.image->size().height, kMaximumExtent);
                pictureOf(*result.image);
            }
        }
    }
}

TEST(DamagedImageTest, oneFormatUnderTheHeadOfAnotherDoesNoHarm) {
    const auto all = files();
    for (std::size_t i = 0; i + 1 < all.size(); ++i) {
        for (const std::size_t cut : {4U, 16U, 40U}) {
            const Bytes mixed =
                all[i].second.substr(0, cut) +
                all[i + 1].second.substr(std::min<std::size_t>(cut, all[i + 1].second.size()));
            const ImageSource::Result result = loaded(mixed, 2048);
            ASSERT_EQ(result.image == nullptr, !result.failure.empty());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, ImageFormatsTest, testing::ValuesIn(formats()),
                         [](const testing::TestParamInfo<Format>& test) {
                             return std::string(test.param.name);
                         });

}  // namespace
