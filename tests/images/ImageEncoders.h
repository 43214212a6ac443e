#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "MivoraMac/platform/pictures/Picture.h"

// Writers of image files that are not ours but those of the formats' own libraries. They throw
// where a file cannot be written.

namespace Mivora::tests {

/// Rows of samples as a format stores them, the top one first, each a whole number of bytes.
using Samples = std::vector<std::uint8_t>;

struct PNGOptions {
    int bitDepth = 8;
    int colorType = 6;  ///< 0 grey, 2 colours, 3 palette, 4 grey and alpha, 6 colours and alpha
    bool isInterlaced = false;
    std::vector<std::uint8_t> palette = {};            ///< three bytes a colour
    std::vector<std::uint8_t> paletteAlpha = {};       ///< one byte a colour, or fewer
    std::vector<std::uint16_t> transparentColor = {};  ///< one component, or three
};
void writePNG(const std::string& path, platform::PixelSize size, const PNGOptions& options,
              const Samples& samples);

struct JPEGOptions {
    int components = 3;  ///< 1 grey, 3 colours, 4 cyan, magenta, yellow and black
    bool isProgressive = false;
    bool isSubsampled = false;  ///< half the colours' resolution
    bool isYCCK = false;        ///< for four components
    int quality = 95;
    int restartInterval = 0;  ///< in blocks; 0 for none
};
void writeJPEG(const std::string& path, platform::PixelSize size, const JPEGOptions& options,
               const Samples& samples);

struct GIFOptions {
    std::vector<std::uint8_t> palette = {};  ///< three bytes a colour, a power of two of them
    int transparentIndex = -1;
    bool isInterlaced = false;
    bool hasLocalPalette = false;  ///< the screen's is then another one
    int frames = 1;                ///< those after the first show the palette's last colour
};
/// @param samples  one byte a pixel, an index
void writeGIF(const std::string& path, platform::PixelSize size, const GIFOptions& options,
              const Samples& samples);

struct TIFFOptions {
    int samplesPerPixel = 3;
    int bitsPerSample = 8;
    int photometric = 2;   ///< 1 grey, 2 colours, 3 palette, 5 inks
    int compression = 1;   ///< 1 none, 5 LZW, 8 deflate, 32773 pack bits
    int extraSample = 0;   ///< 1 premultiplied alpha, 2 straight alpha
    int rowsPerStrip = 0;  ///< 0 for all
    bool isBigEndian = false;
    int orientation = 1;
    std::vector<std::uint16_t> palette = {};  ///< all reds, all greens, all blues
};
void writeTIFF(const std::string& path, platform::PixelSize size, const TIFFOptions& options,
               const Samples& samples);

enum class WebP { Lossless, Lossy };
void writeWebP(const std::string& path, const platform::Picture& picture, bool hasAlpha, WebP kind);
/// Without loss; the second and last frame is black.
void writeAnimatedWebP(const std::string& path, const platform::Picture& picture);

}  // namespace Mivora::tests
