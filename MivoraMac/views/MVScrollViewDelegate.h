#pragma once

#include <memory>

#include "MivoraMac/Export.h"

class MVScrollView;

/// Told of what an `MVScrollView` does. Every operation does nothing here: override those of
/// interest.
///
/// From within any of them the delegate may change the scroll view, take it out of its tree, drop
/// it, and drop or replace the delegate. Where it begins another movement that way, by a drag, by
/// `setContentOffset` or by a change of size, that one stands, and the rest of what was going on is
/// left out.
///
/// Thread: main.
class MIVORA_EXPORT MVScrollViewDelegate {
 public:
    virtual ~MVScrollViewDelegate();

    /// The content was moved by scrolling, by a correction or by a zoom; not by
    /// `setContentOffset`.
    virtual void scrollViewDidScroll(const std::shared_ptr<MVScrollView>& scrollView);

    /// A wheel, fingers or their momentum are about to move the content, or a button was pressed
    /// over it. Every click of a wheel begins anew.
    virtual void scrollViewWillBeginDragging(const std::shared_ptr<MVScrollView>& scrollView);

    /// A drag gave way to a glide or a correction, or to nothing. See
    /// `MVScrollView::mv_decelerateIfNeededWithVelocityWasDragging`.
    virtual void scrollViewDidEndDraggingWillDecelerate(
        const std::shared_ptr<MVScrollView>& scrollView, bool willDecelerate);

    /// The content is about to move by itself. Moved from within this call, it decelerates from
    /// there.
    virtual void scrollViewWillBeginDecelerating(const std::shared_ptr<MVScrollView>& scrollView);

    /// The content came to rest by itself, rather than by a drag; `isDecelerating` is still true
    /// within this call.
    virtual void scrollViewDidEndDecelerating(const std::shared_ptr<MVScrollView>& scrollView);

    /// @name For subclasses of the scroll view
    /// `MVScrollView` itself never calls these.
    /// @{

    /// The zoom scale changed.
    virtual void scrollViewDidZoom(const std::shared_ptr<MVScrollView>& scrollView);
    /// Zooming is about to begin.
    virtual void scrollViewWillBeginZooming(const std::shared_ptr<MVScrollView>& scrollView);
    /// Zooming is over.
    virtual void scrollViewDidEndZoomingScale(const std::shared_ptr<MVScrollView>& scrollView,
                                              float scale);

    /// @}
};
