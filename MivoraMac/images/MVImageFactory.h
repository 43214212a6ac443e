#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVImage;

namespace Mivora::platform {
class BitmapImage;
}  // namespace Mivora::platform

/// Called with an image, or null, and whether it could be loaded.
using MVImageCompletionBlock =
    std::function<void(const std::shared_ptr<MVImage>& image, bool success)>;

/// The look-up behind `imageNamed`. For `MVImageFactory` only.
struct MIVORA_EXPORT MVImageNameLookup {
    /// @param make          makes an image from the file at a path, or null
    /// @param isPlainImage  whether the result is an `MVImage` itself and no subclass of it
    static std::shared_ptr<MVImage> imageNamed(
        const std::string& name, std::shared_ptr<MVImage> (*make)(const std::string& path),
        bool isPlainImage);
    /// @param allocate  makes an empty image
    static std::shared_ptr<MVImage> imageNamedCompletionBlock(
        const std::string& name, std::shared_ptr<MVImage> (*allocate)(), bool isPlainImage,
        MVImageCompletionBlock completionBlock);
};

/// The ways to make an image of the class `Self`. A subclass of `MVImage` that is to have them for
/// itself derives from it by way of this: `class Card : public MVImageFactory<Card, MVImage>`. It
/// needs a constructor without arguments that is public or open to `friend struct MVMaker`.
///
/// Pixels are 8 bits a channel. A coordinate system is 0 when the first row of the uploaded data is
/// the picture's top row, and 1 when it is the bottom row; functions without that argument take 0.
///
/// Files: a variant of the file for the screen is taken where there is one, `name@2x.png` for
/// `name.png`. On a screen of one pixel a point (any scale is rounded up to a whole one) the file
/// itself is looked for first and otherwise the variant of the screen's scale; then come `@4x`,
/// `@3x` and `@2x`. The variant's number becomes the image's scale.
///
/// Failing, all of them yield null. Where a file, memory or the driver is the reason, a warning
/// line says what was tried and why it failed, once for the same file and reason, and every time
/// where the debug log (category `images`) is on. Pictures that measure more than the driver bears
/// a side (GL_MAX_TEXTURE_SIZE) fail, too. How much a file may ask for:
/// `Mivora::platform::ImageLimits`.
///
/// Photographs are turned as their EXIF data says, in size and pixels.
///
/// The forms with a completion block yield an image without pixels whose size is right. Its pixels
/// are made on `MVImageDispatchQueue` and uploaded on the main thread, which has to run its loop.
/// Then the block is called on the main thread, with the image and true; with false and the image,
/// or null if that is gone, when there are no pixels; with null and false when the image is gone
/// meanwhile, which nobody holds for it. Where there is nothing to make pixels of, null is yielded
/// and the block is called first, at once, with null and false. An empty block is not called.
///
/// Thread: main for files and names; any, one at a time, otherwise. Uploads wait for the GL queue.
template <class Self, class Base>
class MVImageFactory : public Base {
 public:
    /// What the forms with a completion block call.
    using CompletionBlock = MVImageCompletionBlock;
    /// A picture in memory.
    using BitmapImagePointer = std::shared_ptr<const Mivora::platform::BitmapImage>;

    /// An empty image: no texture, size 0.
    static std::shared_ptr<Self> init() { return MVMake<Self>(); }

    /// The first picture of a file.
    static std::shared_ptr<Self> initWithContentsOfFile(const std::string& path) {
        return initWithContentsOfFileCoordinateSystem(path, 0);
    }
    static std::shared_ptr<Self> initWithContentsOfFileCoordinateSystem(
        const std::string& path, std::int32_t coordinateSystem) {
        auto image = init();
        return image->mv_initWithContentsOfFile(path, coordinateSystem) ? image : nullptr;
    }
    static std::shared_ptr<Self> initWithContentsOfFileCompletionBlock(
        const std::string& path, CompletionBlock completionBlock) {
        return initWithContentsOfFileCoordinateSystemCompletionBlock(path, 0,
                                                                     std::move(completionBlock));
    }
    static std::shared_ptr<Self> initWithContentsOfFileCoordinateSystemCompletionBlock(
        const std::string& path, std::int32_t coordinateSystem, CompletionBlock completionBlock) {
        auto image = init();
        return image->mv_initWithContentsOfFile(path, coordinateSystem, std::move(completionBlock))
                   ? image
                   : nullptr;
    }

    /// A picture in memory; null fails.
    /// @param scale  pixels per point
    static std::shared_ptr<Self> initWithCGImageScale(const BitmapImagePointer& bitmap,
                                                      float scale) {
        return initWithCGImageScaleCoordinateSystem(bitmap, scale, 0);
    }
    static std::shared_ptr<Self> initWithCGImageScaleCoordinateSystem(
        const BitmapImagePointer& bitmap, float scale, std::int32_t coordinateSystem) {
        auto image = init();
        return image->mv_initWithCGImage(bitmap, scale, coordinateSystem) ? image : nullptr;
    }
    static std::shared_ptr<Self> initWithCGImageScaleCompletionBlock(
        const BitmapImagePointer& bitmap, float scale, CompletionBlock completionBlock) {
        return initWithCGImageScaleCoordinateSystemCompletionBlock(bitmap, scale, 0,
                                                                   std::move(completionBlock));
    }
    static std::shared_ptr<Self> initWithCGImageScaleCoordinateSystemCompletionBlock(
        const BitmapImagePointer& bitmap, float scale, std::int32_t coordinateSystem,
        CompletionBlock completionBlock) {
        auto image = init();
        return image->mv_initWithCGImage(bitmap, scale, coordinateSystem,
                                         std::move(completionBlock))
                   ? image
                   : nullptr;
    }

    /// Pixels in memory, uploaded as they are.
    /// @param data           rows of pixels, tightly packed; null leaves the contents undefined
    /// @param width,height   in pixels
    /// @param scale          pixels per point
    /// @param premultiplied  what `premultipliedAlpha` is to say of them
    /// @param pixelFormat    their GL format, such as GL_RGBA
    static std::shared_ptr<Self>
    initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        const void* data, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
        auto image = init();
        return image->mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                   data, width, height, scale, coordinateSystem, premultiplied, pixelFormat)
                   ? image
                   : nullptr;
    }

    /// As the initialisers of the same arguments.
    static std::shared_ptr<Self> imageWithContentsOfFile(const std::string& path) {
        return initWithContentsOfFile(path);
    }
    static std::shared_ptr<Self> imageWithContentsOfFileCompletionBlock(
        const std::string& path, CompletionBlock completionBlock) {
        return initWithContentsOfFileCompletionBlock(path, std::move(completionBlock));
    }

    /// The image of a resource: the one in the shared image cache, or one made of the resource file
    /// of that name, extension included. An image of the class `MVImage` itself, and none of a
    /// subclass, is put into the cache. Null for a name without a file.
    static std::shared_ptr<MVImage> imageNamed(const std::string& name) {
        return MVImageNameLookup::imageNamed(
            name,
            [](const std::string& path) -> std::shared_ptr<MVImage> {
                return imageWithContentsOfFile(path);
            },
            std::is_same_v<Self, MVImage>);
    }
    /// The image in the cache is yielded as it is, even while its pixels are missing, and the block
    /// is not called; nor is it when there is no file. An image of the class `MVImage` itself is in
    /// the cache from the start and leaves it if it fails.
    static std::shared_ptr<MVImage> imageNamedCompletionBlock(const std::string& name,
                                                              CompletionBlock completionBlock) {
        return MVImageNameLookup::imageNamedCompletionBlock(
            name, []() -> std::shared_ptr<MVImage> { return init(); },
            std::is_same_v<Self, MVImage>, std::move(completionBlock));
    }
};
