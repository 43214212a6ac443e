// Loads pictures from memory and from files, whatever the bytes.

#include <glib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"
#include "MivoraMac/platform/pictures/ImageSource.h"

using Mivora::platform::BitmapImage;
using Mivora::platform::ImageFormat;
using Mivora::platform::imageFormatOf;
using Mivora::platform::ImageSource;

namespace {

/// Decoding is somebody else's work, whose time goes with the pixels; ours does not.
constexpr int kMaximumExtent = 256;

/// Ends the program, as a failure that is kept.
void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// Whether the bytes are of a kind that is looked into. There may be decoders for others on the
/// machine, which are none of ours. Vector pictures have a target of their own.
bool isLookedInto(std::span<const std::uint8_t> bytes) {
    const ImageFormat format = imageFormatOf(bytes);
    return format != ImageFormat::Other && format != ImageFormat::SVG;
}

void readEveryPixel(const BitmapImage& image) {
    unsigned sum = 0;
    for (int y = 0; y < image.size().height; ++y) {
        const std::uint8_t* const row = image.row(y);
        const std::size_t bytes =
            static_cast<std::size_t>(image.size().width) * image.bytesPerPixel();
        for (std::size_t i = 0; i < bytes; ++i) {
            sum += row[i];
        }
    }
    [[maybe_unused]] const volatile unsigned used = sum;
}

/// A file of the bytes, in memory, for as long as it lives.
class File {
 public:
    explicit File(std::span<const std::uint8_t> bytes) : file_(::memfd_create("picture", 0)) {
        require(file_ >= 0 &&
                ::write(file_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    ~File() { ::close(file_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

 private:
    int file_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    // What a decoder complains of is to be kept away from it.
    g_log_set_default_handler(
        [](const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data) {
            g_log_default_handler(domain, level, message, data);
            require((level & G_LOG_LEVEL_CRITICAL) == 0);
        },
        nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes(data, size);
    if (!isLookedInto(bytes)) {
        return 0;
    }
    const ImageSource::Result result = ImageSource::firstImageOfBytes(bytes, kMaximumExtent);
    require((result.image == nullptr) == !result.failure.empty());
    if (!result.image) {
        return 0;
    }
    require(result.image->size().width <= kMaximumExtent &&
            result.image->size().height <= kMaximumExtent);
    readEveryPixel(*result.image);

    const File file(bytes);
    const auto image = MVImage::initWithContentsOfFileCoordinateSystem(file.path(), size % 2);
    require(image != nullptr);
    require(image->size().width == static_cast<float>(result.image->size().width));
    require(image->premultipliedAlpha() == hasAlpha(result.image->alphaInfo()));
    return 0;
}
