#pragma once

#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"

class MVWindow;

/// How touches, mouse records and scroll records come by their rays. Where a ray meets a view, the
/// view knows: `MVView::mv_locationOfRay`.
struct MVInteractionRay {
    /// The ray from the eye through a point of the host view, in the world space of the window's
    /// tree.
    ///
    /// @param window  null yields `Ray3::kZero`
    /// @param point   in points from the host view's bottom left corner, y up
    static Mivora::Ray3 throughPoint(MVWindow* window, Mivora::Point2 point);
};
