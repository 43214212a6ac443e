#include <cairo.h>

#include <bit>
#include <cstdlib>
#include <utility>

#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"
#include "MivoraMac/platform/pictures/LargePagesPrivate.h"
#include "MivoraMac/platform/text/PixelCanvasPrivate.h"

namespace Mivora::platform {

namespace {

constexpr int kBytesPerPixel = 4;

}  // namespace

void PixelCanvas::DestroyContext::operator()(cairo_t* context) const {
    cairo_surface_finish(cairo_get_target(context));
    cairo_destroy(context);
}

std::optional<PixelCanvas> PixelCanvas::create(PixelSize size) {
    if (size.width <= 0 || size.height <= 0 ||
        !areExtentsBorne("canvas", static_cast<std::uint64_t>(size.width),
                         static_cast<std::uint64_t>(size.height), kLargestBitmapExtent)) {
        return std::nullopt;
    }
    const std::size_t bytes = static_cast<std::size_t>(size.width) *
                              static_cast<std::size_t>(size.height) * kBytesPerPixel;
    // Zeros from the system cost nothing where memory is new.
    std::shared_ptr<std::uint8_t> pixels(static_cast<std::uint8_t*>(std::calloc(bytes, 1)),
                                         [](std::uint8_t* memory) { std::free(memory); });
    if (!pixels) {
        return std::nullopt;
    }
    preferLargePages(pixels.get(), bytes);
    cairo_surface_t* const surface = cairo_image_surface_create_for_data(
        pixels.get(), CAIRO_FORMAT_ARGB32, size.width, size.height, size.width * kBytesPerPixel);
    PixelCanvas canvas;
    canvas.context_.reset(cairo_create(surface));
    cairo_surface_destroy(surface);
    if (cairo_status(canvas.context_.get()) != CAIRO_STATUS_SUCCESS) {
        return std::nullopt;
    }
    canvas.size_ = size;
    canvas.pixels_ = std::move(pixels);
    return canvas;
}

std::shared_ptr<const std::uint8_t> PixelCanvas::finish() {
    context_.reset();
    std::shared_ptr<std::uint8_t> pixels = std::move(pixels_);
    // Cairo's pixels are numbers with alpha in the highest byte.
    constexpr bool isLittleEndian = std::endian::native == std::endian::little;
    const std::size_t bytesPerRow = static_cast<std::size_t>(size_.width) * kBytesPerPixel;
    const auto drawn =
        BitmapImage::create(size_, AlphaInfo::PremultipliedFirst, bytesPerRow, pixels,
                            isLittleEndian ? ByteOrder::Reversed : ByteOrder::Forward);
    if (auto context =
            BitmapContext::create(pixels.get(), size_, bytesPerRow, AlphaInfo::PremultipliedLast)) {
        context->drawImage(*drawn);
    }
    return pixels;
}

}  // namespace Mivora::platform
