#include "MivoraMac/images/ImageRasterPrivate.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/LargePagesPrivate.h"

using Mivora::platform::AlphaInfo;
using Mivora::platform::BitmapContext;
using Mivora::platform::BitmapImage;
using Mivora::platform::ByteOrder;
using Mivora::platform::DebugLog;

namespace Mivora {

namespace {

struct Free {
    void operator()(std::uint8_t* memory) const { std::free(memory); }
};

/// Memory for pixels; null when there is none.
std::unique_ptr<std::uint8_t, Free> pixelMemory(std::size_t size) {
    std::unique_ptr<std::uint8_t, Free> memory(static_cast<std::uint8_t*>(std::malloc(size)));
    if (memory) {
        platform::preferLargePages(memory.get(), size);
    }
    return memory;
}

bool isReadyForUpload(const BitmapImage& image, std::int32_t coordinateSystem) {
    return coordinateSystem != kImageBottomRowFirst &&
           image.alphaInfo() == AlphaInfo::PremultipliedLast &&
           image.byteOrder() == ByteOrder::Forward &&
           image.bytesPerRow() == static_cast<std::size_t>(image.size().width) * 4;
}

}  // namespace

std::shared_ptr<const std::uint8_t> rasterizedImage(const std::shared_ptr<const BitmapImage>& image,
                                                    std::int32_t coordinateSystem) {
    if (isReadyForUpload(*image, coordinateSystem)) {
        return {image, image->row(0)};
    }
    const platform::PixelSize size = image->size();
    const std::size_t bytesPerRow = static_cast<std::size_t>(size.width) * 4;
    auto pixels = pixelMemory(bytesPerRow * static_cast<std::size_t>(size.height));
    std::optional<BitmapContext> context = BitmapContext::create(
        pixels.get(), size, bytesPerRow,
        hasAlpha(image->alphaInfo()) ? AlphaInfo::PremultipliedLast : AlphaInfo::NoneSkipLast);
    if (!context) {
        DebugLog::warnOnce(DebugLog::Category::Images, "no memory for %d x %d pixels", size.width,
                           size.height);
        return nullptr;
    }
    if (coordinateSystem == kImageBottomRowFirst) {
        context->setOrientation(BitmapContext::Orientation::BottomRowFirst);
    }
    context->drawImage(*image);
    return pixels;
}

}  // namespace Mivora
