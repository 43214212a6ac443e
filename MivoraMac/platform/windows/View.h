#pragma once

#include <glm/mat4x4.hpp>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/platform/base/Rect.h"

namespace Mivora::platform {

class NativeWindow;

/// A native view: a rectangle in a window of the desktop, inside another native view or the
/// topmost in its window. What it is made of on the screen is the host's business.
///
/// Lengths are in points; origins are at the bottom left, with y growing upward.
///
/// A property whose changes can be observed: "bounds".
///
/// Thread: main.
class MIVORA_EXPORT View : public std::enable_shared_from_this<View>, public ObservableObject {
 public:
    /// A view that is in no other.
    static std::shared_ptr<View> initWithFrame(const Rect& frame);

    View();
    /// Leaves the subviews without a superview.
    ~View() override;

    /// @name Placement
    /// @{

    /// Where the view lies in its superview.
    const Rect& frame() const { return frame_; }
    /// Places the view; the size of its bounds follows. Negative and NaN extents count as 0.
    void setFrame(const Rect& frame);

    /// The view's own rectangle.
    const Rect& bounds() const { return bounds_; }
    /// Negative and NaN extents count as 0. An equal rectangle does nothing.
    void setBounds(const Rect& bounds);

    /// Whether the view and those in it are left out.
    bool isHidden() const { return hidden_; }
    void setHidden(bool hidden);

    /// @}
    /// @name Tree
    /// @{

    /// The view that this one is in, or null.
    std::shared_ptr<View> superview() const { return superview_.lock(); }

    /// The views in this one, back to front.
    const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }

    /// Puts a view in front of the others in this one, taking it from where it is.
    /// @throws MVException (invalid argument), with nothing changed, if the view is null, this
    ///         view, or one that this view is in
    void addSubview(const std::shared_ptr<View>& view);

    /// Leaves the superview, if there is one.
    void removeFromSuperview();

    /// The window of the topmost view, or null.
    std::shared_ptr<NativeWindow> window() const;

    /// @}
    /// @name Compositing
    /// @{

    /// Whether the view is composited on its own, which transforms of its superview need.
    bool wantsLayer() const { return wantsLayer_; }
    void setWantsLayer(bool wantsLayer);

    /// Pixels for each point of what the view shows; 1 by default.
    double contentsScale() const { return contentsScale_; }
    void setContentsScale(double contentsScale);

    /// What the places of all subviews are seen through, about the centre of this view; the
    /// identity by default. In points, with y as in `frame`; column vectors.
    const glm::dmat4& sublayerTransform() const { return sublayerTransform_; }
    void setSublayerTransform(const glm::dmat4& transform);

    /// @}
    /// @name For hosts
    /// @{

    /// Puts a topmost view into a window, or out of one with null. Held weakly.
    void moveToWindow(const std::shared_ptr<NativeWindow>& window);

    /// @}

 protected:
    /// @name Hooks
    /// @{

    /// The view, or the topmost one it is in, came into a window or left one. Nothing here.
    virtual void viewDidMoveToWindow();

    /// The view is about to be composited on its own: makes what that takes. Nothing here.
    virtual void makeBackingLayer();

    /// The bounds have changed. Nothing here.
    virtual void boundsDidChange();

    /// The placement of a view below this one, or the set of them, has changed. Here the superview
    /// is told.
    virtual void subviewsDidChange();

    /// @}

 private:
    void changed();
    void tellMovedToWindow();

    /// Calls `viewDidMoveToWindow`, with what a kind of view does before and after.
    virtual void settleInWindow();

    Rect frame_;
    Rect bounds_;
    bool hidden_ = false;
    bool wantsLayer_ = false;
    double contentsScale_ = 1;
    glm::dmat4 sublayerTransform_{1.0};
    std::vector<std::shared_ptr<View>> subviews_;
    std::weak_ptr<View> superview_;
    std::weak_ptr<NativeWindow> window_;
};

}  // namespace Mivora::platform
