#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// A size in pixels.
struct PixelSize {
    /// From left to right.
    int width = 0;
    /// From top to bottom.
    int height = 0;
    /// Compares both.
    bool operator==(const PixelSize&) const = default;
};

/// Pixels of 8-bit red, green, blue and alpha, top row first, rows tightly packed.
struct MIVORA_EXPORT Picture {
    /// Width and height; zero for an empty picture.
    PixelSize size;
    /// Four bytes a pixel: as many as the area of `size` takes.
    std::vector<std::uint8_t> rgba;

    /// Whether there are no pixels.
    bool isEmpty() const { return rgba.empty(); }

    /// One pixel; all zero outside the picture.
    /// @param x  from the left
    /// @param y  from the top
    std::array<std::uint8_t, 4> pixel(int x, int y) const;

    /// Writes a PNG file. The colours are taken as straight alpha.
    /// @return false when the picture is empty or the file cannot be written; a line in the
    ///         log says why
    bool writePNG(const std::string& path) const;
};

}  // namespace Mivora::platform
