#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/Picture.h"

// Image files as tests need them.

namespace Mivora::tests {

using Bytes = std::string;

/// A picture whose every pixel differs from its neighbours, with alphas of all kinds or of 255.
inline platform::Picture testPicture(int width, int height, bool hasAlpha) {
    platform::Picture picture{{width, height}, {}};
    picture.rgba.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const int value :
                 {37 * x + 5, 51 * y + 9, 16 * x + y, hasAlpha ? 255 - 29 * x - 7 * y : 255}) {
                picture.rgba.push_back(static_cast<std::uint8_t>(value));
            }
        }
    }
    return picture;
}

/// What a picture is once rasterized with its alpha.
inline platform::Picture premultiplied(platform::Picture picture) {
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        const int alpha = picture.rgba[i | 3];
        if (i % 4 != 3) {
            picture.rgba[i] = static_cast<std::uint8_t>((picture.rgba[i] * alpha * 2 + 255) / 510);
        }
    }
    return picture;
}

/// A picture with its rows the other way round.
inline platform::Picture flipped(const platform::Picture& picture) {
    platform::Picture result{picture.size, {}};
    const std::ptrdiff_t row = std::ptrdiff_t{picture.size.width} * 4;
    for (int y = picture.size.height - 1; y >= 0; --y) {
        const auto from = picture.rgba.begin() + y * row;
        result.rgba.insert(result.rgba.end(), from, from + row);
    }
    return result;
}

/// The pixels of a bitmap image with bytes in the order of their names.
inline platform::Picture pictureOf(const platform::BitmapImage& image) {
    platform::Picture picture{image.size(), {}};
    const auto width = static_cast<std::size_t>(image.size().width);
    picture.rgba.resize(width * static_cast<std::size_t>(image.size().height) * 4);
    const std::size_t bytes = image.bytesPerPixel();
    std::uint8_t* to = picture.rgba.data();
    for (int y = 0; y < image.size().height; ++y) {
        const std::uint8_t* pixel = image.row(y);
        for (std::size_t x = 0; x < width; ++x, pixel += bytes, to += 4) {
            std::copy_n(pixel, 3, to);
            to[3] = bytes == 4 ? pixel[3] : 255;
        }
    }
    return picture;
}

/// A file as the writer of that kind makes it: "png", "jpeg", "bmp", "tiff", "ico".
inline Bytes encoded(const platform::Picture& picture, const char* kind, bool hasAlpha) {
    GdkPixbuf* const pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, hasAlpha ? TRUE : FALSE, 8,
                                             picture.size.width, picture.size.height);
    guchar* const pixels = gdk_pixbuf_get_pixels(pixbuf);
    const int channels = hasAlpha ? 4 : 3;
    for (int y = 0; y < picture.size.height; ++y) {
        for (int x = 0; x < picture.size.width; ++x) {
            const auto pixel = picture.pixel(x, y);
            std::copy_n(pixel.begin(), channels,
                        pixels + std::ptrdiff_t{y} * gdk_pixbuf_get_rowstride(pixbuf) +
                            std::ptrdiff_t{x} * channels);
        }
    }
    gchar* buffer = nullptr;
    gsize size = 0;
    const bool isSaved =
        gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, kind, nullptr, nullptr) != FALSE;
    EXPECT_TRUE(isSaved) << "no writer for " << kind;
    Bytes bytes(buffer, isSaved ? size : 0);
    g_free(buffer);
    g_object_unref(pixbuf);
    return bytes;
}

inline void appendBigEndian(Bytes& bytes, std::uint32_t value, int count = 4) {
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> shift));
    }
}

inline void appendLittleEndian(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes.push_back(static_cast<char>(value >> (8 * i)));
    }
}

/// A PNG file made by hand, for what the usual writers never make.
class PNGFile {
 public:
    enum ColorType { Grey = 0, Color = 2, Palette = 3, GreyAlpha = 4, ColorAlpha = 6 };

    PNGFile(std::uint32_t width, std::uint32_t height, int bitDepth, ColorType colorType) {
        bytes_ = "\x89PNG\r\n\x1A\n";
        Bytes header;
        appendBigEndian(header, width);
        appendBigEndian(header, height);
        header += {static_cast<char>(bitDepth), static_cast<char>(colorType), 0, 0, 0};
        chunk("IHDR", header);
    }

    PNGFile& chunk(const char* type, const Bytes& contents) {
        appendBigEndian(bytes_, static_cast<std::uint32_t>(contents.size()));
        const Bytes checked = type + contents;
        bytes_ += checked;
        appendBigEndian(bytes_, crc(checked));
        return *this;
    }

    /// @param rows  each headed by the filter type 0; at most 65,535 bytes
    PNGFile& pixels(const Bytes& rows) {
        std::uint32_t low = 1;
        std::uint32_t high = 0;
        for (const char byte : rows) {
            low = (low + static_cast<std::uint8_t>(byte)) % 65521;
            high = (high + low) % 65521;
        }
        Bytes data = "\x78\x01\x01";  // one block, not compressed
        appendLittleEndian(data, static_cast<std::uint32_t>(rows.size()), 2);
        appendLittleEndian(data, ~static_cast<std::uint32_t>(rows.size()), 2);
        data += rows;
        appendBigEndian(data, high << 16 | low);
        return chunk("IDAT", data);
    }

    Bytes end() { return std::move(chunk("IEND", {}).bytes_); }

 private:
    static std::uint32_t crc(const Bytes& bytes) {
        std::uint32_t value = 0xFFFFFFFFU;
        for (const char byte : bytes) {
            value ^= static_cast<std::uint8_t>(byte);
            for (int bit = 0; bit < 8; ++bit) {
                value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0);
            }
        }
        return ~value;
    }

    Bytes bytes_;
};

/// A GIF file of frames that are filled with one colour each.
inline Bytes gifFile(std::uint32_t width, std::uint32_t height,
                     const std::vector<std::array<std::uint8_t, 3>>& frameColors) {
    Bytes bytes = "GIF89a";
    appendLittleEndian(bytes, width, 2);
    appendLittleEndian(bytes, height, 2);
    bytes += {static_cast<char>(0xF6), 0, 0};  // 128 colours
    for (std::size_t i = 0; i < 128; ++i) {
        for (const std::uint8_t part : frameColors[i % frameColors.size()]) {
            bytes.push_back(static_cast<char>(part));
        }
    }
    for (std::size_t frame = 0; frame < frameColors.size(); ++frame) {
        bytes += {'!', static_cast<char>(0xF9), 4, 0, 10, 0, 0, 0};  // a tenth of a second
        bytes += ',';
        appendLittleEndian(bytes, 0, 4);
        appendLittleEndian(bytes, width, 2);
        appendLittleEndian(bytes, height, 2);
        bytes += {0, 7};
        // Codes stay at 8 bits when the table is cleared before it has grown.
        Bytes codes;
        for (std::uint32_t i = 0; i < width * height; ++i) {
            if (i % 100 == 0) {
                codes.push_back(static_cast<char>(128));
            }
            codes.push_back(static_cast<char>(frame));
        }
        codes.push_back(static_cast<char>(129));
        for (std::size_t at = 0; at < codes.size(); at += 255) {
            const Bytes block = codes.substr(at, 255);
            bytes.push_back(static_cast<char>(block.size()));
            bytes += block;
        }
        bytes.push_back(0);
    }
    return bytes + ';';
}

}  // namespace Mivora::tests
