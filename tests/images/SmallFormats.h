#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/Picture.h"
#include "tests/platform/pictures/ImageFiles.h"

// Files of the formats that have no library of their own, made by hand.

namespace Mivora::tests {

/// The text of an SVG file with one square for each pixel, opaque.
inline Bytes svgFile(const platform::Picture& picture) {
    const std::string width = std::to_string(picture.size.width);
    const std::string height = std::to_string(picture.size.height);
    Bytes text = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + width + "\" height=\"" +
                 height + "\" shape-rendering=\"crispEdges\">\n";
    for (int y = 0; y < picture.size.height; ++y) {
        for (int x = 0; x < picture.size.width; ++x) {
            const auto pixel = picture.pixel(x, y);
            text += "<rect x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y) +
                    "\" width=\"1\" height=\"1\" fill=\"rgb(" + std::to_string(pixel[0]) + "," +
                    std::to_string(pixel[1]) + "," + std::to_string(pixel[2]) + ")\"/>\n";
        }
    }
    return text + "</svg>\n";
}

/// A PNM file of one of the six kinds; black and white for the first and the fourth, grey for the
/// second and the fifth, of which only the reds count.
inline Bytes pnmFile(const platform::Picture& picture, int kind) {
    const bool isOfBits = kind == 1 || kind == 4;
    const std::size_t samples = kind == 3 || kind == 6 ? 3 : 1;
    Bytes bytes = "P" + std::to_string(kind) + "\n# a comment\n" +
                  std::to_string(picture.size.width) + " " + std::to_string(picture.size.height) +
                  "\n";
    bytes += isOfBits ? "" : "255\n";
    for (int y = 0; y < picture.size.height; ++y) {
        unsigned byte = 0;
        int bits = 0;
        for (int x = 0; x < picture.size.width; ++x) {
            const auto pixel = picture.pixel(x, y);
            for (std::size_t i = 0; i < samples; ++i) {
                if (isOfBits) {
                    byte = byte << 1 | (pixel[i] < 128 ? 1U : 0U);
                    ++bits;
                }
                if (kind == 1) {
                    bytes += pixel[i] < 128 ? "1 " : "0 ";
                } else if (kind < 4) {
                    bytes += std::to_string(pixel[i]) + " ";
                } else if (kind > 4) {
                    bytes += static_cast<char>(pixel[i]);
                }
            }
            if (kind == 4 && (bits == 8 || x == picture.size.width - 1)) {
                bytes += static_cast<char>(byte << (8 - bits));
                byte = 0;
                bits = 0;
            }
        }
        bytes += kind < 4 ? "\n" : "";
    }
    return bytes;
}

/// A TGA file; with runs, every second packet of each row is one.
inline Bytes tgaFile(const platform::Picture& picture, bool hasAlpha, bool hasRuns,
                     bool isTopRowFirst) {
    Bytes bytes(2, '\0');
    bytes += {static_cast<char>(hasRuns ? 10 : 2)};
    bytes += Bytes(9, '\0');
    appendLittleEndian(bytes, static_cast<std::uint32_t>(picture.size.width), 2);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(picture.size.height), 2);
    bytes += {static_cast<char>(hasAlpha ? 32 : 24),
              static_cast<char>((hasAlpha ? 8 : 0) | (isTopRowFirst ? 0x20 : 0))};
    for (int row = 0; row < picture.size.height; ++row) {
        const int y = isTopRowFirst ? row : picture.size.height - 1 - row;
        for (int x = 0; x < picture.size.width; ++x) {
            if (hasRuns) {
                bytes += static_cast<char>(x % 2 == 0 ? 0x80 : 0);  // of one pixel either way
            }
            const auto pixel = picture.pixel(x, y);
            bytes += {static_cast<char>(pixel[2]), static_cast<char>(pixel[1]),
                      static_cast<char>(pixel[0])};
            if (hasAlpha) {
                bytes += static_cast<char>(pixel[3]);
            }
        }
    }
    return bytes;
}

/// An XPM file with a colour of its own for each pixel.
inline Bytes xpmFile(const platform::Picture& picture) {
    const auto name = [](int index) {
        return Bytes{static_cast<char>('A' + index % 26), static_cast<char>('A' + index / 26 % 26),
                     static_cast<char>('A' + index / 676)};
    };
    const int count = picture.size.width * picture.size.height;
    Bytes text = "/* XPM */\nstatic char *picture[] = {\n/* columns rows colors characters */\n\"" +
                 std::to_string(picture.size.width) + " " + std::to_string(picture.size.height) +
                 " " + std::to_string(count) + " 3\",\n";
    for (int i = 0; i < count; ++i) {
        const auto pixel = picture.pixel(i % picture.size.width, i / picture.size.width);
        constexpr char kHex[] = "0123456789ABCDEF";
        text += "\"" + name(i) + " c #";
        for (std::size_t k = 0; k < 3; ++k) {
            text += {kHex[pixel[k] >> 4], kHex[pixel[k] & 15]};
        }
        text += "\",\n";
    }
    for (int y = 0; y < picture.size.height; ++y) {
        text += "\"";
        for (int x = 0; x < picture.size.width; ++x) {
            text += name(y * picture.size.width + x);
        }
        text += "\",\n";
    }
    return text + "};\n";
}

/// An XBM file; dark pixels are set.
inline Bytes xbmFile(const platform::Picture& picture) {
    Bytes text = "#define card_width " + std::to_string(picture.size.width) +
                 "\n#define card_height " + std::to_string(picture.size.height) +
                 "\nstatic unsigned char card_bits[] = {\n";
    for (int y = 0; y < picture.size.height; ++y) {
        for (int x = 0; x < picture.size.width; x += 8) {
            int byte = 0;
            for (int bit = 0; bit < 8 && x + bit < picture.size.width; ++bit) {
                byte |= picture.pixel(x + bit, y)[0] < 128 ? 1 << bit : 0;
            }
            text += " " + std::to_string(byte) + ",";
        }
        text += "\n";
    }
    return text + "};\n";
}

/// What is in an icon: a BMP file without its head, with a mask of zeros.
inline Bytes iconBitmap(const platform::Picture& picture, bool hasAlpha) {
    Bytes bytes;
    appendLittleEndian(bytes, 40, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(picture.size.width), 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(picture.size.height * 2), 4);
    appendLittleEndian(bytes, 1, 2);
    appendLittleEndian(bytes, hasAlpha ? 32 : 24, 2);
    bytes.append(24, '\0');
    for (int y = picture.size.height - 1; y >= 0; --y) {
        for (int x = 0; x < picture.size.width; ++x) {
            const auto pixel = picture.pixel(x, y);
            bytes += {static_cast<char>(pixel[2]), static_cast<char>(pixel[1]),
                      static_cast<char>(pixel[0])};
            if (hasAlpha) {
                bytes += static_cast<char>(pixel[3]);
            }
        }
        bytes.resize((bytes.size() + 3) / 4 * 4);  // the head takes whole fours
    }
    const std::size_t row = (static_cast<std::size_t>(picture.size.width) + 31) / 32 * 4;
    return bytes + Bytes(row * static_cast<std::size_t>(picture.size.height), '\0');
}

/// An icon, or a cursor, of several pictures: each what is in it, and its size.
inline Bytes icoFile(const std::vector<std::pair<Bytes, platform::PixelSize>>& pictures,
                     bool isCursor = false) {
    Bytes bytes;
    appendLittleEndian(bytes, isCursor ? 0x20000 : 0x10000, 4);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(pictures.size()), 2);
    std::size_t offset = 6 + 16 * pictures.size();
    for (const auto& [contents, size] : pictures) {
        bytes += {static_cast<char>(size.width), static_cast<char>(size.height)};
        bytes += Bytes(6, '\0');
        appendLittleEndian(bytes, static_cast<std::uint32_t>(contents.size()), 4);
        appendLittleEndian(bytes, static_cast<std::uint32_t>(offset), 4);
        offset += contents.size();
    }
    for (const auto& [contents, size] : pictures) {
        bytes += contents;
    }
    return bytes;
}

/// A part of a RIFF file.
inline Bytes riffChunk(const Bytes& tag, const Bytes& contents) {
    Bytes bytes = tag;
    appendLittleEndian(bytes, static_cast<std::uint32_t>(contents.size()), 4);
    return bytes + contents + Bytes(contents.size() % 2, '\0');
}

/// An animated cursor of these icons.
inline Bytes aniFile(const std::vector<Bytes>& icons) {
    Bytes frames = "fram";
    for (const Bytes& icon : icons) {
        frames += riffChunk("icon", icon);
    }
    Bytes head;
    const auto count = static_cast<std::uint32_t>(icons.size());
    for (const std::uint32_t value : {36U, count, count, 0U, 0U, 0U, 0U, 10U, 1U}) {
        appendLittleEndian(head, value, 4);
    }
    return riffChunk("RIFF", "ACON" + riffChunk("anih", head) + riffChunk("LIST", frames));
}

/// An icon of parts, each headed by its type.
inline Bytes icnsFile(const std::vector<std::pair<Bytes, Bytes>>& parts) {
    Bytes contents;
    for (const auto& [type, part] : parts) {
        contents += type;
        appendBigEndian(contents, static_cast<std::uint32_t>(part.size() + 8));
        contents += part;
    }
    Bytes bytes = "icns";
    appendBigEndian(bytes, static_cast<std::uint32_t>(contents.size() + 8));
    return bytes + contents;
}

/// The colours of a picture as such icons hold them: all reds, greens and blues, in pieces of at
/// most 128 bytes, none of them a run.
inline Bytes icnsColors(const platform::Picture& picture) {
    Bytes bytes;
    for (std::size_t channel = 0; channel < 3; ++channel) {
        Bytes values;
        for (std::size_t i = channel; i < picture.rgba.size(); i += 4) {
            values += static_cast<char>(picture.rgba[i]);
        }
        for (std::size_t at = 0; at < values.size(); at += 128) {
            const Bytes piece = values.substr(at, 128);
            bytes += static_cast<char>(piece.size() - 1);
            bytes += piece;
        }
    }
    return bytes;
}

inline Bytes alphasOf(const platform::Picture& picture) {
    Bytes bytes;
    for (std::size_t i = 3; i < picture.rgba.size(); i += 4) {
        bytes += static_cast<char>(picture.rgba[i]);
    }
    return bytes;
}

/// A file wrapped in another.
inline Bytes qtifFile(const Bytes& contents) {
    Bytes bytes;
    appendBigEndian(bytes, 8 + 4);
    bytes += "idscabcd";
    appendBigEndian(bytes, static_cast<std::uint32_t>(contents.size() + 8));
    return bytes + "idat" + contents;
}

}  // namespace Mivora::tests
