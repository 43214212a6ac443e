// Reads SVG files, whatever the text, and draws the ones that are to be drawn.

#include <glib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"
#include "MivoraMac/platform/pictures/ImageLimits.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "MivoraMac/platform/pictures/VectorCheckPrivate.h"

using Mivora::platform::ImageFormat;
using Mivora::platform::imageFormatOf;
using Mivora::platform::ImageLimits;
using Mivora::platform::ImageSource;
using Mivora::platform::vectorClaim;

namespace {

/// Drawing is somebody else's work, whose time goes with these; ours does not.
ImageLimits smallLimits() {
    ImageLimits limits;
    limits.vectorPixels = 64 * 64;
    limits.vectorElements = 100;
    limits.vectorBytes = 4096;
    limits.vectorSeconds = 10;
    return limits;
}

/// Ends the program, as a failure that is kept.
void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    ImageSource::setLimits(smallLimits());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes(data, size);
    // The check of the text is to bear anything.
    vectorClaim({reinterpret_cast<const char*>(data), size}, smallLimits());
    if (imageFormatOf(bytes) != ImageFormat::SVG) {
        return 0;
    }
    const ImageSource::Result result = ImageSource::firstImageOfBytes(bytes);
    require((result.image == nullptr) == !result.failure.empty());
    if (result.image) {
        const auto area = static_cast<std::uint64_t>(result.image->size().width) *
                          static_cast<std::uint64_t>(result.image->size().height);
        require(area <= smallLimits().vectorPixels);
    }
    return 0;
}
