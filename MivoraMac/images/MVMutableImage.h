#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVImageFactory.h"

namespace Mivora::platform {
class PixelBuffer;
}  // namespace Mivora::platform

/// An image whose pixels can be replaced: by another picture, redrawn ones, the frames of a video.
/// The texture keeps its name, so whoever shows the image only has to draw it again.
///
/// The arguments of the replacing functions are those of the initialisers, see `MVImageFactory`.
/// Each replacement announces, around storing and uploading, those of "size", "coordinateSystem"
/// and "premultipliedAlpha" that change, and raises `updateIndex` by one. The functions return
/// whether the pixels are, or are going to be, replaced; where not, the image stays as it was and,
/// where a file, memory or the driver is the reason, a warning line says why: see `MVImageFactory`.
///
/// The forms with a completion block store the size, scale, coordinate system and alpha of what is
/// to come at once and announce none of it; only the raised `updateIndex` tells of the pixels. Of
/// several on their way, the one that is ready last is the one that stays. (An image that is still
/// being loaded for the first time is better not replaced: that loading makes another texture.)
/// The block is called on
/// the main thread: with the image and true when the pixels are there; with the image, or null if
/// it is gone, and false otherwise. Where there is nothing to replace the pixels with, it is called
/// at once, with the image and false.
///
/// Observable properties: those of `MVImage`, "premultipliedAlpha" and "updateIndex".
///
/// Thread: main.
class MIVORA_EXPORT MVMutableImage : public MVImageFactory<MVMutableImage, MVImage> {
 public:
    ~MVMutableImage() override;

    /// How many times the pixels were replaced; from 0, wraps.
    std::uint32_t updateIndex() const { return updateIndex_; }
    /// Announced even where the value is the same.
    void setUpdateIndex(std::uint32_t updateIndex);

    /// The first picture of exactly this file, at a scale of 1: no variant is looked for.
    bool replaceWithContentsOfFile(const std::string& path);
    bool replaceWithContentsOfFileCoordinateSystem(const std::string& path,
                                                   std::int32_t coordinateSystem);
    bool replaceWithContentsOfFileCompletionBlock(const std::string& path,
                                                  CompletionBlock completionBlock);
    bool replaceWithContentsOfFileCoordinateSystemCompletionBlock(const std::string& path,
                                                                  std::int32_t coordinateSystem,
                                                                  CompletionBlock completionBlock);

    /// A picture in memory. Null fails, without a line in the log.
    /// @param scale  pixels per point
    bool replaceWithCGImageScale(const BitmapImagePointer& bitmap, float scale);
    bool replaceWithCGImageScaleCoordinateSystem(const BitmapImagePointer& bitmap, float scale,
                                                 std::int32_t coordinateSystem);
    bool replaceWithCGImageScaleCompletionBlock(const BitmapImagePointer& bitmap, float scale,
                                                CompletionBlock completionBlock);
    bool replaceWithCGImageScaleCoordinateSystemCompletionBlock(const BitmapImagePointer& bitmap,
                                                                float scale,
                                                                std::int32_t coordinateSystem,
                                                                CompletionBlock completionBlock);

    /// Pixels in memory, uploaded as they are.
    bool replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        const void* data, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat);

    /// A video frame, at the image's scale, coordinate system and alpha. The frame is locked while
    /// it is uploaded, and its rows are taken as tightly packed. One of a format other than
    /// `PixelBuffer::kBGRA` and `kRGBA` is uploaded as the GL format 0, which GL refuses.
    /// @return false for null
    bool replaceWithCVPixelBuffer(
        const std::shared_ptr<Mivora::platform::PixelBuffer>& pixelBuffer);

    /// Internal to the library: as the form below with pixels that the caller shares; they are
    /// kept, unchanged, until they have been uploaded, and nobody waits for that.
    bool mv_replaceWithPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        std::shared_ptr<const void> pixels, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat);
    /// Internal to the library: the way in which pixels are replaced.
    bool mv_replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        const void* data, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat);

 protected:
    friend struct MVMaker;
    MVMutableImage();

 private:
    template <class Upload>
    bool replace(std::uint64_t width, std::uint64_t height, float scale,
                 std::int32_t coordinateSystem, bool premultiplied, Upload upload);

    std::uint32_t updateIndex_ = 0;
};
