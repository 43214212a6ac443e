#pragma once

#include <functional>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/platform/pictures/Picture.h"

class MVMutableImage;
class MVTextureQuad;
class MVShaderPositionTextureUniformColor;
class MVView;

using cairo_t = struct _cairo;

/// What a view shows of itself that Cairo draws: a bitmap of as many pixels as the view has, made
/// when it is marked, kept as a texture and drawn on a quad.
///
/// A view tells it the size in `setSize3`, and in `draw` calls `render`, `buildQuad` and `draw`.
///
/// Thread: main.
class MIVORA_EXPORT MVRenderedImage {
 public:
    /// Draws into a transparent bitmap. One unit of the context is a point, the origin is the top
    /// left corner and y runs down; what is drawn replaces what is there.
    using Drawing = std::function<void(cairo_t* context)>;

    /// Begins without a bitmap and unmarked.
    MVRenderedImage();
    ~MVRenderedImage();
    MVRenderedImage(const MVRenderedImage&) = delete;
    MVRenderedImage& operator=(const MVRenderedImage&) = delete;

    /// The bitmap; null until the first one is made.
    const std::shared_ptr<MVMutableImage>& image() const { return image_; }

    /// Marks the bitmap.
    void setDirty() { isDirty_ = true; }
    bool isDirty() const { return isDirty_; }

    /// Marks the bitmap if its size in points is another one, and the vertices if theirs is.
    /// @return whether the bitmap was marked
    bool setSize(Mivora::Size2 size);

    /// Makes the bitmap if it is marked. Where the view has no area it stays marked; so it does,
    /// and the former bitmap goes, where there are too many pixels for a texture or for the memory,
    /// of which a line in the log (category `images`) tells once for each size.
    /// @param textureScale  pixels for each pixel of the view
    void render(MVView& view, float textureScale, const Drawing& drawing);

    /// Rewrites the vertices if they are marked.
    /// @return whether they were
    bool buildQuad(MVView& view);

    /// Queues the drawing of the view at hand. Nothing without a bitmap.
    void draw(MVView& view) const;

 private:
    bool hasRoomFor(Mivora::Size2 pixels) const;
    void refuse(Mivora::Size2 pixels);

    std::shared_ptr<MVMutableImage> image_;
    std::unique_ptr<MVTextureQuad> quad_;
    std::shared_ptr<MVShaderPositionTextureUniformColor> shader_;
    Mivora::Size2 refused_ = Mivora::Size2::kZero;
    bool isDirty_ = false;
};
