#pragma once

#include <cstddef>
#include <cstdint>

namespace Mivora::platform {

/// How much image files may ask for. What asks for more is refused before it is decoded, with a
/// reason that names the limit. The defaults suit pictures of unknown origin; a program that knows
/// its files may raise them, see `ImageSource::setLimits`.
struct ImageLimits {
    /// The most pixels of a picture: by default 67,108,864, such as 8192 x 8192, which take 256 MiB
    /// of memory, and while they are decoded up to twice as much. An extent above
    /// `ImageSource::kMaximumExtent` is refused besides.
    std::uint64_t pixels = std::uint64_t{1} << 26;

    /// The most pixels that a vector picture (SVG) is drawn with, and the most that the tiles of
    /// its patterns may take: by default 16,777,216. They are drawn at the size that the file
    /// states, in pixels of 1/96 inch. Layers and filters that are drawn in passing may take
    /// sixteen times as many together.
    std::uint64_t vectorPixels = std::uint64_t{1} << 24;

    /// The most bytes of a vector picture's text: by default 4 MiB. Compressed ones are not read.
    std::size_t vectorBytes = std::size_t{4} << 20;

    /// The most elements of a vector picture: by default 50,000. One that is drawn again by
    /// reference counts again.
    std::uint64_t vectorElements = 50'000;

    /// How long drawing a vector picture may take, in seconds of the clock: by default 5. What
    /// takes longer is given up: its thread ends by itself, at the lowest priority, and no further
    /// vector pictures are drawn while two such threads are left. 0 or less refuses vector
    /// pictures.
    double vectorSeconds = 5;
};

}  // namespace Mivora::platform
