#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/images/MVImageFactory.h"
#include "MivoraMac/platform/base/PropertyObservation.h"

class MVGLName;
class MVRenderGroup;

/// A picture that is one OpenGL texture. It does not change once its pixels are there.
///
/// How to make one: see `MVImageFactory`. The texture comes and goes on the GL queue of the active
/// render context; without one there is no texture. An image that is kept when all applications
/// have ended keeps its texture for the next one. Where a context is active that does not share
/// objects with the one that had the texture made, nothing is bound.
///
/// Observable properties: "size", "coordinateSystem", "coordinateSpace".
///
/// Thread: main, unless stated otherwise. The last reference may be dropped on any thread.
class MIVORA_EXPORT MVImage : public MVImageFactory<MVImage, Mivora::platform::ObservableObject>,
                              public std::enable_shared_from_this<MVImage> {
 public:
    ~MVImage() override;

    /// In points: the pixels divided by `scale`.
    Mivora::Size2 size() const;

    /// Pixels per point.
    float scale() const { return scale_; }
    /// Not checked: a scale of 0 makes an infinite size. An equal scale does nothing.
    void setScale(float scale);

    /// 0: the first row of the texture's data is the picture's top row; 1: its bottom row. Views
    /// that show the image take the same value.
    std::int32_t coordinateSystem() const { return coordinateSystem_; }

    /// The part of the texture that holds the picture, in texture coordinates: all of it, (0, 0)
    /// to (1, 1).
    Mivora::Rect2 coordinateSpace() const { return coordinateSpace_; }

    /// Whether the picture came with alpha, by which the colours are then multiplied.
    bool premultipliedAlpha() const { return premultipliedAlpha_; }

    /// Makes a new image with a texture of its own by drawing this one, as an `MVClearFilter` does.
    ///
    /// The copy has as many pixels as this image has points, at this image's scale: that of an
    /// image with two pixels a point is half as fine, and half as large. Its coordinate system is
    /// 1. It says that its colours are not premultiplied, and holds those of this image as they
    /// are if this image's are; straight ones it holds multiplied by their alpha, as it does the
    /// alpha itself. Opaque images are copied exactly.
    ///
    /// Null, and a line in the debug log (category `images`), for an image that has no size or no
    /// texture yet, and where there is no GL context or shader cache to draw with. Not from within
    /// `MVView::draw`.
    std::shared_ptr<MVImage> copy() { return copyWithZone(); }
    virtual std::shared_ptr<MVImage> copyWithZone();

    /// Binds the texture, the one there is when the GL work runs, to GL_TEXTURE_2D of texture unit
    /// GL_TEXTURE0. Queued. Thread: any.
    void use();
    /// As `use`, for a unit such as GL_TEXTURE1. GL_TEXTURE0 is the active unit afterwards.
    void useWithTextureUnit(std::uint32_t textureUnit);

    /// Calls `drawInRect` with the point as the origin and a size in pixels, whatever the scale.
    virtual void drawAtPoint(Mivora::Point2 point);
    /// Does nothing; for subclasses.
    virtual void drawInRect(Mivora::Rect2 rect);

    /// @name Internal to the library
    /// @{

    /// The GL texture; 0 while there is none. Thread: any.
    std::uint32_t mv_texture() const;

    /// The GL texture as far as it is one of a share group; 0 otherwise. Thread: any.
    std::uint32_t mv_textureIn(const MVRenderGroup* group) const;

    /// Replaces all fields and uploads pixels into a new texture, whose name takes the place of an
    /// earlier one; that one is not deleted. See the initialiser of the same arguments. Returns
    /// when it is done.
    /// @return false, and nothing is changed, for extents that the driver does not bear
    bool mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        const void* data, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat);

    /// As above with pixels that the caller shares: they are kept, unchanged, until they have been
    /// uploaded, and nobody waits for that.
    bool mv_loadPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        std::shared_ptr<const void> pixels, std::uint64_t width, std::uint64_t height, float scale,
        std::int32_t coordinateSystem, bool premultiplied, std::uint32_t pixelFormat);

    /// What the factory functions do with a new image; false where they are to yield null.
    bool mv_initWithContentsOfFile(const std::string& path, std::int32_t coordinateSystem);
    bool mv_initWithContentsOfFile(const std::string& path, std::int32_t coordinateSystem,
                                   CompletionBlock completionBlock);
    bool mv_initWithCGImage(const BitmapImagePointer& bitmap, float scale,
                            std::int32_t coordinateSystem);
    bool mv_initWithCGImage(const BitmapImagePointer& bitmap, float scale,
                            std::int32_t coordinateSystem, CompletionBlock completionBlock);

    /// @}

 protected:
    friend struct MVMaker;
    MVImage();

    /// What an upload does with the texture there is.
    enum class TextureName { New, Kept };

    /// How the pixels of a background load reach the image, on the main thread; whether they did.
    using LoadPixels = bool (*)(MVImage& image, const void* data, std::uint64_t width,
                                std::uint64_t height, float scale, std::int32_t coordinateSystem,
                                bool premultiplied);

    /// Sets all fields to those of an empty image, as the constructor does. Deletes no texture.
    void mv_imageInit();

    /// In pixels.
    std::uint64_t mv_width() const { return width_; }
    std::uint64_t mv_height() const { return height_; }

    /// Replaces the fields and tells nobody.
    void mv_storeWidthHeightScaleCoordinateSystemPremultipliedAlpha(std::uint64_t width,
                                                                    std::uint64_t height,
                                                                    float scale,
                                                                    std::int32_t coordinateSystem,
                                                                    bool premultiplied);

    /// Whether the driver bears a texture of so many pixels; a warning line says so if not.
    static bool mv_bears(std::uint64_t width, std::uint64_t height);
    static bool mv_bears(const BitmapImagePointer& bitmap);

    /// Uploads pixels of the stored size. Returns when it is done.
    void mv_upload(const void* data, std::uint32_t internalFormat, std::uint32_t pixelFormat,
                   TextureName which);
    /// As `mv_upload` with pixels that the caller shares; returns at once.
    void mv_uploadLater(std::shared_ptr<const void> pixels, std::uint32_t internalFormat,
                        std::uint32_t pixelFormat, TextureName which);

    /// Stores what is known of a bitmap and has its pixels made and loaded in the background.
    void mv_loadInBackground(const BitmapImagePointer& bitmap, float scale,
                             std::int32_t coordinateSystem, LoadPixels load,
                             CompletionBlock completionBlock);

 private:
    std::uint64_t width_;
    std::uint64_t height_;
    float scale_;
    std::int32_t coordinateSystem_;
    Mivora::Rect2 coordinateSpace_;
    bool premultipliedAlpha_;
    std::unique_ptr<MVGLName> texture_;
};
