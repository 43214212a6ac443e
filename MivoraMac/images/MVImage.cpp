#include "MivoraMac/images/MVImage.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "MivoraMac/images/ImageFilePrivate.h"
#include "MivoraMac/images/ImageRasterPrivate.h"
#include "MivoraMac/images/MVClearFilter.h"
#include "MivoraMac/images/MVImageCache.h"
#include "MivoraMac/images/MVImageDispatchQueue.h"
#include "MivoraMac/images/MVImageProcessor.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/Resources.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVGLNamePrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"

using Mivora::platform::areExtentsBorne;
using Mivora::platform::DebugLog;
using Mivora::platform::MainThread;
using Mivora::platform::Resources;

namespace {

GLsizei extent(std::uint64_t pixels) {
    constexpr std::uint64_t kMost = std::numeric_limits<GLsizei>::max();
    return static_cast<GLsizei>(std::min(pixels, kMost));
}

/// How pixels become a texture.
struct TextureLayout {
    GLsizei width;
    GLsizei height;
    std::uint32_t internalFormat;
    std::uint32_t pixelFormat;
};

/// Puts pixels into a texture, one with a new name if asked for or if there is none in the group.
void specifyTexture(MVGLName& name, const std::shared_ptr<MVRenderGroup>& group, bool isNew,
                    const TextureLayout& layout, const void* data) {
    GLuint texture = name.in(group.get());
    if (isNew || texture == 0) {
        texture = name.make(group);
    }
    if (texture == 0) {
        return;
    }
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(layout.internalFormat), layout.width,
                 layout.height, 0, layout.pixelFormat, GL_UNSIGNED_BYTE, data);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void call(const MVImageCompletionBlock& block, const std::shared_ptr<MVImage>& image,
          bool success) {
    if (block) {
        block(image, success);
    }
}

}  // namespace

MVImage::MVImage() : texture_(std::make_unique<MVGLName>(MVGLName::Kind::Texture)) {
    mv_imageInit();
}

MVImage::~MVImage() = default;

std::uint32_t MVImage::mv_texture() const {
    return texture_->get();
}

std::uint32_t MVImage::mv_textureIn(const MVRenderGroup* group) const {
    return texture_->in(group);
}

void MVImage::mv_imageInit() {
    width_ = 0;
    height_ = 0;
    scale_ = 1.0F;
    coordinateSystem_ = 0;
    coordinateSpace_ = {{0.0F, 0.0F}, {1.0F, 1.0F}};
    premultipliedAlpha_ = false;
    texture_->abandon();
}

Mivora::Size2 MVImage::size() const {
    return {static_cast<float>(width_) / scale_, static_cast<float>(height_) / scale_};
}

void MVImage::setScale(float scale) {
    if (scale_ != scale) {
        const std::shared_ptr<MVImage> kept = weak_from_this().lock();
        willChangeValueForKey("size");
        scale_ = scale;
        didChangeValueForKey("size");
    }
}

std::shared_ptr<MVImage> MVImage::copyWithZone() {
    const auto filter = MVClearFilter::init();
    if (mv_texture() == 0 || !filter->shaderForRenderPass(0)) {
        DebugLog::log(DebugLog::Category::Images, "no copy: there is %s",
                      mv_texture() == 0 ? "no texture" : "nothing to draw with");
        return nullptr;
    }
    const auto processor = MVImageProcessor::init();
    processor->setSourceImage(shared_from_this());
    processor->setFilter(filter);
    processor->setDestinationSize(size());
    auto copied = processor->filterImage();
    if (!copied) {
        DebugLog::log(DebugLog::Category::Images, "no copy: the image has no size");
    }
    return copied;
}

void MVImage::use() {
    useWithTextureUnit(GL_TEXTURE0);
}

void MVImage::useWithTextureUnit(std::uint32_t textureUnit) {
    const auto context = MVRenderContext::activeContext();
    if (!context) {
        return;
    }
    context->dispatchBlock(
        [self = shared_from_this(), group = context->mv_group().get(), textureUnit] {
            glActiveTexture(textureUnit);
            glBindTexture(GL_TEXTURE_2D, self->mv_textureIn(group));
            if (textureUnit != GL_TEXTURE0) {
                glActiveTexture(GL_TEXTURE0);
            }
        });
}

void MVImage::drawAtPoint(Mivora::Point2 point) {
    drawInRect({point, {static_cast<float>(width_), static_cast<float>(height_)}});
}

void MVImage::drawInRect(Mivora::Rect2 /*rect*/) {}

// Loading

void MVImage::mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(
    std::uint64_t width, std::uint64_t height, float scale, std::int32_t coordinateSystem,
    bool premultiplied) {
    width_ = width;
    height_ = height;
    scale_ = scale;
    coordinateSystem_ = coordinateSystem;
    premultipliedAlpha_ = premultiplied;
}

bool MVImage::mv_bears(std::uint64_t width, std::uint64_t height) {
    const auto context = MVRenderContext::activeContext();
    return !context || areExtentsBorne("texture", width, height, context->mv_largestExtent());
}

bool MVImage::mv_bears(const BitmapImagePointer& bitmap) {
    return mv_bears(static_cast<std::uint64_t>(bitmap->size().width),
                    static_cast<std::uint64_t>(bitmap->size().height));
}

bool MVImage::mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
    const void* data, std::uint64_t width, std::uint64_t height, float scale,
    std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
    if (!mv_bears(width, height)) {
        return false;
    }
    mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(width, height, scale,
                                                               coordinateSystem, premultiplied);
    mv_upload(data, GL_RGBA, pixelFormat, TextureName::New);
    return true;
}

bool MVImage::mv_loadPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
    std::shared_ptr<const void> pixels, std::uint64_t width, std::uint64_t height, float scale,
    std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat) {
    if (!mv_bears(width, height)) {
        return false;
    }
    mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(width, height, scale,
                                                               coordinateSystem, premultiplied);
    mv_uploadLater(std::move(pixels), GL_RGBA, pixelFormat, TextureName::New);
    return true;
}

void MVImage::mv_upload(const void* data, std::uint32_t internalFormat, std::uint32_t pixelFormat,
                        TextureName which) {
    if (const auto context = MVRenderContext::activeContext()) {
        context->mv_dispatchBlockSync([&] {
            specifyTexture(*texture_, context->mv_group(), which == TextureName::New,
                           {extent(width_), extent(height_), internalFormat, pixelFormat}, data);
        });
    }
}

void MVImage::mv_uploadLater(std::shared_ptr<const void> pixels, std::uint32_t internalFormat,
                             std::uint32_t pixelFormat, TextureName which) {
    if (const auto context = MVRenderContext::activeContext()) {
        const TextureLayout layout{extent(width_), extent(height_), internalFormat, pixelFormat};
        context->dispatchBlock([self = shared_from_this(), group = context->mv_group(),
                                pixels = std::move(pixels), layout, which] {
            specifyTexture(*self->texture_, group, which == TextureName::New, layout, pixels.get());
        });
    }
}

bool MVImage::mv_initWithContentsOfFile(const std::string& path, std::int32_t coordinateSystem) {
    const Mivora::ImageFile file = Mivora::imageOfBestFile(path);
    return mv_initWithCGImage(file.image, file.scale, coordinateSystem);
}

bool MVImage::mv_initWithContentsOfFile(const std::string& path, std::int32_t coordinateSystem,
                                        CompletionBlock completionBlock) {
    const Mivora::ImageFile file = Mivora::imageOfBestFile(path);
    return mv_initWithCGImage(file.image, file.scale, coordinateSystem, std::move(completionBlock));
}

bool MVImage::mv_initWithCGImage(const BitmapImagePointer& bitmap, float scale,
                                 std::int32_t coordinateSystem) {
    if (!bitmap || !mv_bears(bitmap)) {
        return false;
    }
    const auto pixels = Mivora::rasterizedImage(bitmap, coordinateSystem);
    if (!pixels) {
        return false;
    }
    return mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        pixels.get(), static_cast<std::uint64_t>(bitmap->size().width),
        static_cast<std::uint64_t>(bitmap->size().height), scale, coordinateSystem,
        hasAlpha(bitmap->alphaInfo()), GL_RGBA);
}

bool MVImage::mv_initWithCGImage(const BitmapImagePointer& bitmap, float scale,
                                 std::int32_t coordinateSystem, CompletionBlock completionBlock) {
    if (!bitmap || !mv_bears(bitmap)) {
        call(completionBlock, nullptr, false);
        return false;
    }
    mv_loadInBackground(
        bitmap, scale, coordinateSystem,
        [](MVImage& image, const void* data, std::uint64_t width, std::uint64_t height,
           float itsScale, std::int32_t itsSystem, bool premultiplied) {
            return image.mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                data, width, height, itsScale, itsSystem, premultiplied, GL_RGBA);
        },
        std::move(completionBlock));
    return true;
}

void MVImage::mv_loadInBackground(const BitmapImagePointer& bitmap, float scale,
                                  std::int32_t coordinateSystem, LoadPixels load,
                                  CompletionBlock completionBlock) {
    const auto width = static_cast<std::uint64_t>(bitmap->size().width);
    const auto height = static_cast<std::uint64_t>(bitmap->size().height);
    const bool premultiplied = hasAlpha(bitmap->alphaInfo());
    mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(width, height, scale,
                                                               coordinateSystem, premultiplied);
    MVImageDispatchQueue()->async([weak = weak_from_this(), source = bitmap, width, height, scale,
                                   coordinateSystem, premultiplied, load,
                                   block = std::move(completionBlock)]() mutable {
        auto pixels = Mivora::rasterizedImage(source, coordinateSystem);
        source.reset();
        // What the caller gave and the image itself are let go on the main thread, inside.
        const auto finish = [&block](std::shared_ptr<MVImage>& image, bool success) {
            MainThread::performAndWait([&] {
                const CompletionBlock last = std::exchange(block, nullptr);
                call(last, std::exchange(image, nullptr), success);
            });
        };
        auto image = weak.lock();
        if (image && pixels) {
            bool isLoaded = false;
            MainThread::performAndWait([&] {
                isLoaded = load(*image, pixels.get(), width, height, scale, coordinateSystem,
                                premultiplied);
            });
            pixels.reset();
            finish(image, isLoaded);
        } else {
            pixels.reset();
            finish(image, false);
        }
    });
}

// Named images

std::shared_ptr<MVImage> MVImageNameLookup::imageNamed(
    const std::string& name, std::shared_ptr<MVImage> (*make)(const std::string& path),
    bool isPlainImage) {
    const auto cache = MVImageCache::sharedCache();
    if (auto cached = cache ? cache->imageForKey(name) : nullptr) {
        return cached;
    }
    const auto path = Resources::pathForResource(name, "");
    if (!path) {
        DebugLog::warnOnce(DebugLog::Category::Images, "%s: no such resource", name.c_str());
        return nullptr;
    }
    auto image = make(*path);
    if (image && cache && isPlainImage) {
        cache->setImageForKey(image, name);
    }
    return image;
}

std::shared_ptr<MVImage> MVImageNameLookup::imageNamedCompletionBlock(
    const std::string& name, std::shared_ptr<MVImage> (*allocate)(), bool isPlainImage,
    MVImageCompletionBlock completionBlock) {
    const auto cache = MVImageCache::sharedCache();
    if (auto cached = cache ? cache->imageForKey(name) : nullptr) {
        return cached;
    }
    const auto path = Resources::pathForResource(name, "");
    if (!path) {
        DebugLog::warnOnce(DebugLog::Category::Images, "%s: no such resource", name.c_str());
        return nullptr;
    }
    auto image = allocate();
    if (cache && isPlainImage) {
        cache->setImageForKey(image, name);
    }
    const bool isLoading =
        image->mv_initWithContentsOfFile(*path, 0,
                                         [name, block = std::move(completionBlock)](
                                             const std::shared_ptr<MVImage>& loaded, bool success) {
                                             const auto current = MVImageCache::sharedCache();
                                             if (!success && current) {
                                                 current->setImageForKey(nullptr, name);
                                             }
                                             call(block, loaded, success);
                                         });
    return isLoading ? image : nullptr;
}
