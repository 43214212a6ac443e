#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/geometry/Viewport.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/views/MVView.h"

class MVApplication;
class MVFilterView;
class MVBridgeViewHost;
class MVRenderSurface;
class MVWindowFocus;

namespace Mivora::platform {
class WorkGroup;
}

/// Who a window belongs to: told what concerns the world outside the tree.
///
/// Thread: main.
class MIVORA_EXPORT MVWindowOwner {
 public:
    virtual ~MVWindowOwner();

    /// The tree asked for a redraw. Thread: that of the request, any.
    virtual void mv_windowDidBecomeDrawDirty() {}

    /// The tree has come to want layout visits.
    virtual void mv_windowDidBecomeLayoutDirty() {}

    /// The keyboard's focus has come to another view, or to none.
    virtual void mv_windowFocusDidChange() {}

    /// Elements of the tree, or the shapes of the pointer, are others than in the latest frame.
    virtual void mv_windowElementsDidChange() {}

    /// The camera changed. `sublayerTransform` gives native views that are placed over the drawing
    /// the same perspective: the identity, with -1 / d as what z contributes to w (column 2, row 3
    /// for column vectors), d being the camera's distance in points.
    virtual void mv_windowPerspectiveDidBuild(const glm::dmat4& /*sublayerTransform*/) {}

    /// What holds native views over the drawing of the window; null here, for nothing does.
    virtual std::shared_ptr<MVBridgeViewHost> mv_bridgeViewHost();
};

/// The root of a view tree, and the camera it is seen through.
///
/// The camera stands so that the window's own plane, z = 0 of its content, fills the vertical field
/// of view exactly: one unit of content is one point on the screen. With the coordinate system 0
/// and a position of x = y = 0, the content's (0, 0) is the top left corner of the viewport and
/// (width, height) the bottom right one; y grows downward. A new window's anchor is (0.5, 0.5), so
/// that the camera looks at its centre.
///
/// Every view below a window asks it for redraws; whoever draws frames polls `mv_windowNeedsDraw`.
///
/// Observable property: "size".
///
/// Thread: main.
class MIVORA_EXPORT MVWindow : public MVView, public Mivora::platform::ObservableObject {
 public:
    /// Creates a window of size zero.
    static std::shared_ptr<MVWindow> init();

    ~MVWindow() override;

    /// Creates a window of size zero that tells its owner of redraws and of the camera.
    /// @param owner  held weakly; may be null
    static std::shared_ptr<MVWindow> mv_initWithOwner(const std::shared_ptr<MVWindowOwner>& owner);

    /// Creates a window of size zero that belongs to an application.
    /// @param application  held weakly; may be null
    static std::shared_ptr<MVWindow> initWithApplication(
        const std::shared_ptr<MVApplication>& application);

    /// Creates a window of size zero whose redraws are those of a filter view.
    /// @param filterView  held weakly; may be null
    static std::shared_ptr<MVWindow> initWithFilterView(
        const std::shared_ptr<MVFilterView>& filterView);

    /// Also marks the projection, even for an equal size. Announces a change of width or height to
    /// observers of "size".
    void setSize3(Mivora::Size3 size) override;

    /// @name Content
    /// @{

    /// The subview that keeps the window's width and height; null for none.
    std::shared_ptr<MVView> contentView() const;

    /// Adds a view as a subview, unless it is one already, gives it the window's width and height
    /// at once and from then on whenever the window gets another size, which is before anything is
    /// laid out. With an anchor and a position of zero, as a new view has them, it fills the
    /// window.
    ///
    /// Takes the former content view out of the window, and its place in the order of the subviews.
    /// While the view is placed elsewhere it is not the content view.
    ///
    /// @param view  null for none
    /// @throws MVException `kInvalidArgument` as `addSubview` does, with nothing changed
    void setContentView(std::shared_ptr<MVView> view);

    /// @}
    /// @name Camera
    /// Setting an equal value does nothing. None of these asks for a redraw; the camera moves when
    /// the projection is next read.
    /// @{

    /// The vertical field of view in radians, 60 degrees by default. 0 and multiples of a full turn
    /// put the camera infinitely far away: the projection is then infinite or NaN.
    float fieldOfView() const { return fieldOfView_; }
    /// Changes the field of view; the camera keeps the window's plane in view.
    void setFieldOfView(float fieldOfView);

    /// How far in front of the window's plane, towards the eye, content is still seen, in points;
    /// 150 by default. What reaches beyond is cut off, as an edge of a view that turns or grows:
    /// one 400 points wide that turns about its middle comes 200 points nearer. The near plane
    /// stays at least 0.001 in front of the eye.
    float nearDistance() const { return nearDistance_; }
    /// Moves the near plane.
    void setNearDistance(float nearDistance);

    /// How far behind the window's plane content is still seen, in points; 150 by default. What
    /// reaches beyond is cut off.
    float farDistance() const { return farDistance_; }
    /// Moves the far plane.
    void setFarDistance(float farDistance);

    /// The projection from world space to clip space, rebuilt if need be. The identity for a window
    /// that never had a size.
    glm::mat4 projectionMatrix();

    /// @}
    /// @name Focus
    /// @{

    /// The view of the tree that has the keyboard's focus: keys go there first. Null for none, as
    /// at first.
    ///
    /// Where the view that has it cannot have it any more (it, or one that it is in, has been
    /// hidden, removed or disabled, or it is not focusable any more), it is with the nearest of
    /// those views that it was in that can have it, or else with none. This holds at once; the
    /// hooks are called before the next frame and before the next key. What leaves the window's
    /// native window loses the focus, too. The window of a filter view has none of its own.
    std::shared_ptr<MVView> focusedView() const;

    /// Moves the focus: `focusEnded` is called on the view that loses it and then, unless that has
    /// moved the focus elsewhere, `focusBegan` on the one that gets it. Both may do anything; what
    /// they throw goes through at the end.
    ///
    /// @param view  null for none. The one that has the focus does nothing, and so does one that
    ///              cannot have it
    /// @return whether the focus is there at the end
    bool setFocusedView(const std::shared_ptr<MVView>& view);

    /// @}
    /// @name Internal to the library
    /// @{

    /// Calls the hooks of focus for what was done to the tree.
    void mv_settleFocus();
    /// Tells the view that was told to have the focus that it has lost it.
    void mv_endFocus();

    /// Says whether the keyboard was used last, rather than the pointer: only then is the ring of
    /// the focus seen. True at first.
    void mv_setFocusRingVisible(bool visible);
    /// Takes up what the focused view says about its ring.
    void mv_placeFocusRing();
    /// Draws the ring over a view, within its drawing visit.
    void mv_drawFocusRingOver(MVView& view);

    /// Whether any view of the tree may be an element.
    bool mv_mayHaveElements() const;
    /// Notes that elements, or shapes of the pointer, are others.
    void mv_setElementsChanged();
    /// Whether they are, of which a frame is to tell. Thread: any.
    bool mv_elementsChanged() const { return elementsChanged_.load(); }
    /// Whether they were, of which a frame tells with this call.
    bool mv_takeElementsChanged() { return elementsChanged_.exchange(false); }

    /// This window; null while it is being constructed or destroyed.
    std::shared_ptr<MVWindow> mv_window() const override;

    /// Does nothing: a window has no superview.
    void mv_setSuperview(MVView* superview) override;

    /// Marks the projection without asking for a redraw.
    void mv_setProjectionMatrixDirty();

    /// Rebuilds the projection if it is marked, and moves the window back to where the camera at
    /// the origin sees its height h under the field of view: its z becomes -d with
    /// d = (h / 2) / tan(fieldOfView / 2).
    ///
    /// A window of width and height 0 keeps its projection. A height or width of 0 alone, and sizes
    /// and camera values that are NaN, infinite or negative, are not refused: they flow through and
    /// may make the matrix infinite or NaN.
    void mv_buildProjectionMatrix();

    /// What the tree is drawn with: `projectionMatrix`, unless another one is set.
    glm::mat4 mv_drawingProjectionMatrix() {
        return drawingProjectionMatrix_ ? *drawingProjectionMatrix_ : projectionMatrix();
    }
    /// Has the tree drawn with another projection, for an owner that shows another part of it.
    void mv_setDrawingProjectionMatrix(const glm::mat4& matrix) {
        drawingProjectionMatrix_ = matrix;
    }

    /// The ray from the eye through a point of the screen, in the world space of this window's
    /// tree.
    ///
    /// @param screenPoint  in points, with y as the viewport counts it
    /// @param viewport     what the projection fills, in pixels: points times `contentScaleFactor`
    /// @return starts on the near plane. The direction has unit length. `Ray3::kNull` where the
    ///         projection cannot be inverted; NaN where the viewport has no width or height
    Mivora::Ray3 mv_unprojectScreenPointViewport(Mivora::Point2 screenPoint,
                                                 Mivora::Viewport viewport);

    /// The application that the window belongs to, or null.
    std::shared_ptr<MVApplication> mv_application() const;

    /// The filter view that the window belongs to, or null.
    std::shared_ptr<MVFilterView> mv_filterView() const;

    /// Who the window belongs to, or null.
    std::shared_ptr<MVWindowOwner> mv_owner() const { return owner_.lock(); }

    /// What the tree is drawn into, as far as stencils need it; held weakly, null by default.
    std::shared_ptr<MVRenderSurface> mv_surface() const { return surface_.lock(); }
    void setMv_surface(const std::shared_ptr<MVRenderSurface>& surface) { surface_ = surface; }

    /// A group for the work of those who lay out subviews on other threads, kept until the window
    /// goes; null by default. The window itself does not use it.
    const std::shared_ptr<Mivora::platform::WorkGroup>& mv_subviewLayoutDispatchGroup() const {
        return subviewLayoutDispatchGroup_;
    }
    void setMv_subviewLayoutDispatchGroup(std::shared_ptr<Mivora::platform::WorkGroup> group) {
        subviewLayoutDispatchGroup_ = std::move(group);
    }

    /// Brings the camera up to date.
    void layoutSubviews() override;

    /// Notes whether anything in the tree wants a layout that the visits would come to.
    void mv_setNeedsLayoutVisit(bool needsLayoutVisit);
    /// Whether it does. False for a window without a size. Thread: any.
    bool mv_needsLayoutVisit() const { return needsLayoutVisit_.load(); }

    /// Notes that the tree has to be drawn.
    void mv_setDrawDirty() override;
    /// Notes that it has been. Thread: any.
    void mv_setDrawClean();
    /// Whether the tree has to be drawn. True for a new window. Thread: any.
    bool mv_windowNeedsDraw() const {
        return drawnRequests_.load() < roundedUp(drawRequests_.load());
    }

    /// A number for what the tree has asked for so far: it is larger whenever there was something
    /// since the last call. Thread: any.
    std::uint64_t mv_drawRequests();
    /// As `mv_setDrawClean`, for a frame that was drawn when there had been `requests`: what was
    /// asked for since is still to be drawn. Thread: any.
    void mv_setDrawCleanAsOf(std::uint64_t requests);

    /// @}

 protected:
    /// See `mv_initWithOwner`.
    explicit MVWindow(const std::shared_ptr<MVWindowOwner>& owner = nullptr);

 private:
    friend struct MVMaker;

    void fitContentView();
    static std::uint64_t roundedUp(std::uint64_t requests) { return requests + (requests & 1U); }
    MVWindowFocus& focusToChange();

    std::weak_ptr<MVWindowOwner> owner_;
    std::weak_ptr<MVRenderSurface> surface_;
    std::weak_ptr<MVView> contentView_;
    std::shared_ptr<Mivora::platform::WorkGroup> subviewLayoutDispatchGroup_;
    glm::mat4 projectionMatrix_{1.0F};
    std::optional<glm::mat4> drawingProjectionMatrix_;
    bool projectionMatrixDirty_ = true;
    std::atomic<bool> needsLayoutVisit_{false};
    // Odd from the first request after `mv_drawRequests` answered until it answers again: all that
    // come meanwhile are one, which only the first has to pay for.
    std::atomic<std::uint64_t> drawRequests_{0};
    std::atomic<std::uint64_t> drawnRequests_{0};  // what `mv_drawRequests` answered, once drawn
    std::atomic<bool> elementsChanged_{false};
    std::unique_ptr<MVWindowFocus> focus_;  // null until a view gets the focus
    bool focusRingVisible_ = true;
    float fieldOfView_ = 1.0471976F;
    float nearDistance_ = 150.0F;
    float farDistance_ = 150.0F;
};
