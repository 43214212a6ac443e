#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <string_view>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/images/MVFilterObserver.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"

class MVFilterStage;
class MVImage;
class MVImageRenderSurfaceBuffer;
class MVTextureQuad;
class MVRenderSurface;
class MVShaderPositionTextureUniformColor;

/// A view that draws everything below it into a texture and shows that, through a filter if it is
/// given one.
///
/// The texture is drawn anew in every frame, before the frame. It is kept while its size in pixels
/// is, so a view that moves makes none.
///
/// The subviews belong to a window of the view's own, square and as large as the longer side of the
/// window that the view is in, which passes their wishes for redraws on. They are drawn as if the
/// view were neither rotated nor scaled; the picture is what is rotated and scaled:
///
/// - What is within the view's rectangle is seen, and nothing beyond it.
/// - The texture has as many pixels as the rectangle covers in the square window, at the view's
///   `contentScaleFactor`: as many as it covers on the screen, if the window is not wider than
///   high, and width / height times as many in either direction otherwise. The radius of a blur
///   counts these. A scaled view is not drawn any finer.
/// - Straight alpha is blended onto transparent black and once more with the picture: a translucent
///   view below this one is seen with its colours multiplied by its alpha twice more, and an
///   opacity of this view fades both what is below it and the picture. Opaque views look as they
///   do without the filter view.
/// - Its own `stencilView` has no effect. Stencils above it and below it have.
///
/// Hit testing finds the views below where the picture shows them as long as neither this view nor
/// one above it is rotated or scaled. Otherwise they are found where they would be without that;
/// this view itself still where it is, but for a rotation about x or y.
///
/// The keyboard and assistive technology find the views below, too: those have the window's focus
/// as any other view, their places are those of what the picture shows, and the ring of the focus
/// is part of the picture.
///
/// Needs the render context and the shader cache that are active when it is made. Thread: main.
class MIVORA_EXPORT MVFilterView : public MVView,
                                   public MVFilterObserver,
                                   public MVWindowOwner,
                                   public Mivora::platform::PropertyObserver {
 public:
    /// Creates a view of size zero without a filter.
    static std::shared_ptr<MVFilterView> init();

    ~MVFilterView() override;

    /// What the picture is shown through, or null.
    const std::shared_ptr<MVFilter>& filter() const;

    /// Shows the picture through another filter, whose changes it then follows; null for none. The
    /// same one does nothing. A filter that has no shader for its last pass draws nothing.
    void setFilter(const std::shared_ptr<MVFilter>& filter);

    /// The picture of the subviews, without the filter; null as long as none was drawn, and while
    /// the view covers no pixel.
    std::shared_ptr<MVImage> image() const;

    /// Asks for a redraw.
    void filterDidChange(const std::shared_ptr<MVFilter>& filter) override;

    void setSize3(Mivora::Size3 size) override;

    /// The world transform that the subviews build theirs on: this view's without its rotation and
    /// scale, as seen from the eye. The real one while this view draws itself.
    glm::mat4 transformMatrix() override;

    /// @name Internal to the library
    /// @{

    /// The square window, for the views below. The one that this view is in while it draws itself.
    std::shared_ptr<MVWindow> mv_window() const override;

    /// Leaves the subviews in the square window, which is made to fit the new one.
    void mv_setWindowUpdateSubviews(MVWindow* window, bool updateSubviews) override;

    /// Prepares the views below and draws them into the texture, and runs all passes of the filter
    /// but the last.
    void mv_prepareForDrawVisit() override;

    /// Draws the picture; the views below are in it.
    void mv_drawVisit() override;

    /// Makes the square window as large as the longer side of a window, with its near and far
    /// distance; null makes it empty.
    void mv_buildSquareWindowWithWindow(const MVWindow* window);

    /// Follows the size of a window instead of that of the one before.
    void mv_setParentWindow(MVWindow* window);

    /// Computes the world transform without rotation and scale.
    void mv_buildZeroRotationTransformMatrix();

    /// Brings the texture up to date.
    void mv_buildSurface();

    /// Finds the pixels that the view covers, and makes the texture for them.
    void mv_calculateSurfaceRect();

    /// Rewrites the vertices if they are marked.
    void mv_buildQuadVertices();

    void mv_windowDidBecomeDrawDirty() override;
    void mv_windowElementsDidChange() override;

    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     Mivora::platform::ObservableObject& object,
                                                     Mivora::platform::PropertyChange change,
                                                     void* context) override;

    /// @}

 protected:
    friend struct MVMaker;
    friend class MVWindow;
    MVFilterView();

    void mv_transformMatrixDidBuild() override;
    void prepareForDraw() override;
    void draw() override;

 private:
    template <class Role>
    std::shared_ptr<Role> as();

    bool keepsTexture(Mivora::Rect2I rect, Mivora::Size2 exactSize) const;
    glm::mat4 drawingProjection() const;
    void aimSurface();

    std::shared_ptr<void> presence_;  // as long as those who know this view weakly may call it
    std::shared_ptr<MVRenderSurface> surface_;
    std::shared_ptr<MVImageRenderSurfaceBuffer> imageBuffer_;
    std::weak_ptr<MVWindow> parentWindow_;
    std::shared_ptr<MVWindow> squareWindow_;
    Mivora::Rect2I surfaceRect_ = Mivora::Rect2I::kZero;
    Mivora::Size2 exactSurfaceSize_ = Mivora::Size2::kZero;  // before rounding
    glm::mat4 zeroRotationTransformMatrix_{1.0F};
    Mivora::Point2I rebuildThreshold_{1, 1};
    bool surfaceDirty_ = false;
    std::unique_ptr<MVTextureQuad> quad_;
    std::shared_ptr<MVShaderPositionTextureUniformColor> shader_;
    std::unique_ptr<MVFilterStage> filterStage_;
};
