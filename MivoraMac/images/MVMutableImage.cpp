#include "MivoraMac/images/MVMutableImage.h"

#include <epoxy/gl.h>

#include <utility>

#include "MivoraMac/images/ImageFilePrivate.h"
#include "MivoraMac/images/ImageRasterPrivate.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/PixelBuffer.h"

using Mivora::platform::AtEnd;
using Mivora::platform::PixelBuffer;

namespace {

std::uint32_t pixelFormatOf(const PixelBuffer& pixelBuffer) {
    switch (pixelBuffer.pixelFormatType()) {
        case PixelBuffer::kBGRA:
            return GL_BGRA;
        case PixelBuffer::kRGBA:
            return GL_RGBA;
        default:
            return 0;
    }
}

std::uint32_t internalFormatFor(std::uint32_t pixelFormat) {
    return pixelFormat == GL_BGRA ? GL_RGBA8 : GL_RGBA;
}

}  // namespace

MVMutableImage::MVMutableImage() = default;

MVMutableImage::~MVMutableImage() = default;

void MVMutableImage::setUpdateIndex(std::uint32_t updateIndex) {
    const auto kept = weak_from_this().lock();
    willChangeValueForKey("updateIndex");
    updateIndex_ = updateIndex;
    didChangeValueForKey("updateIndex");
}

bool MVMutableImage::replaceWithContentsOfFile(const std::string& path) {
    return replaceWithContentsOfFileCoordinateSystem(path, 0);
}

bool MVMutableImage::replaceWithContentsOfFileCoordinateSystem(const std::string& path,
                                                               std::int32_t coordinateSystem) {
    return replaceWithCGImageScaleCoordinateSystem(Mivora::imageOfFile(path).image, 1.0F,
                                                   coordinateSystem);
}

bool MVMutableImage::replaceWithContentsOfFileCompletionBlock(const std::string& path,
                                                              CompletionBlock completionBlock) {
    return replaceWithContentsOfFileCoordinateSystemCompletionBlock(path, 0,
                                                                    std::move(completionBlock));
}

bool MVMutableImage::replaceWithContentsOfFileCoordinateSystemCompletionBlock(
    const std::string& path, std::int32_t coordinateSystem, CompletionBlock completionBlock) {
    return replaceWithCGImageScaleCoordinateSystemCompletionBlock(
        Mivora::imageOfFile(path).image, 1.0F, coordinateSystem, std::move(completionBlock));
}

bool MVMutableImage::replaceWithCGImageScale(const BitmapImagePointer& bitmap, float scale) {
    return replaceWithCGImageScaleCoordinateSystem(bitmap, scale, 0);
}

bool MVMutableImage::replaceWithCGImageScaleCoordinateSystem(const BitmapImagePointer& bitmap,
                                                             float scale,
                                                             std::int32_t coordinateSystem) {
    if (!bitmap || !mv_bears(bitmap)) {
        return false;
    }
    const auto pixels = Mivora::rasterizedImage(bitmap, coordinateSystem);
    if (!pixels) {
        return false;
    }
    return mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        pixels.get(), static_cast<std::uint64_t>(bitmap->size().width),
        static_cast<std::uint64_t>(bitmap->size().height), scale, coordinateSystem,
        hasAlpha(bitmap->alphaInfo()), GL_RGBA);
}

bool MVMutableImage::replaceWithCGImageScaleCompletionBlock(const BitmapImagePointer& bitmap,
                                                            float scale,
                                                            CompletionBlock completionBlock) {
    return replaceWithCGImageScaleCoordinateSystemCompletionBlock(bitmap, scale, 0,
                                                                  std::move(completionBlock));
}

bool MVMutableImage::replaceWithCGImageScaleCoordinateSystemCompletionBlock(
    const BitmapImagePointer& bitmap, float scale, std::int32_t coordinateSystem,
    CompletionBlock completionBlock) {
    if (!bitmap || !mv_bears(bitmap)) {
        if (completionBlock) {
            completionBlock(shared_from_this(), false);
        }
        return false;
    }
    mv_loadInBackground(
        bitmap, scale, coordinateSystem,
        [](MVImage& image, const void* data, std::uint64_t width, std::uint64_t height,
           float itsScale, std::int32_t itsSystem, bool premultiplied) {
            return static_cast<MVMutableImage&>(image)
                .mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                    data, width, height, itsScale, itsSystem, premultiplied, GL_RGBA);
        },
        std::move(completionBlock));
    return true;
}

bool MVMutableImage::replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
    const void* data, std::uint64_t width, std::uint64_t height, float scale,
    std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
    return mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        data, width, height, scale, coordinateSystem, premultiplied, pixelFormat);
}

bool MVMutableImage::replaceWithCVPixelBuffer(const std::shared_ptr<PixelBuffer>& pixelBuffer) {
    if (!pixelBuffer) {
        return false;
    }
    pixelBuffer->lockBaseAddress();
    const AtEnd unlock([buffer = pixelBuffer] { buffer->unlockBaseAddress(); });
    return mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        pixelBuffer->baseAddress(), pixelBuffer->width(), pixelBuffer->height(), scale(),
        coordinateSystem(), premultipliedAlpha(), pixelFormatOf(*pixelBuffer));
}

template <class Upload>
bool MVMutableImage::replace(std::uint64_t width, std::uint64_t height, float scale,
                             std::int32_t coordinateSystem, bool premultiplied, Upload upload) {
    if (!mv_bears(width, height)) {
        return false;
    }
    const bool changesSize = width != mv_width() || height != mv_height() || scale != this->scale();
    const bool changesSystem = coordinateSystem != this->coordinateSystem();
    const bool changesAlpha = premultiplied != premultipliedAlpha();
    const auto kept = weak_from_this().lock();
    if (changesSize) {
        willChangeValueForKey("size");
    }
    if (changesSystem) {
        willChangeValueForKey("coordinateSystem");
    }
    if (changesAlpha) {
        willChangeValueForKey("premultipliedAlpha");
    }
    mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(width, height, scale,
                                                               coordinateSystem, premultiplied);
    upload();
    setUpdateIndex(updateIndex_ + 1);
    if (changesSize) {
        didChangeValueForKey("size");
    }
    if (changesSystem) {
        didChangeValueForKey("coordinateSystem");
    }
    if (changesAlpha) {
        didChangeValueForKey("premultipliedAlpha");
    }
    return true;
}

bool MVMutableImage::
    mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        const void* data, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
    return replace(width, height, scale, coordinateSystem, premultiplied, [&] {
        mv_upload(data, internalFormatFor(pixelFormat), pixelFormat, TextureName::Kept);
    });
}

bool MVMutableImage::
    mv_replaceWithPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        std::shared_ptr<const void> pixels, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
    return replace(width, height, scale, coordinateSystem, premultiplied, [&] {
        mv_uploadLater(std::move(pixels), internalFormatFor(pixelFormat), pixelFormat,
                       TextureName::Kept);
    });
}
