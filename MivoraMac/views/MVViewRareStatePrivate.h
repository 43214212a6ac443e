#pragma once

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/views/MVView.h"

/// What few views use: a view makes it when it is first told to keep anything of it. What every
/// view uses, or every frame reads of most, is a member of `MVView` itself.
///
/// Reading goes through `MVView::rareState`, which answers for a view that has none, too; changing
/// through `rareStateToChange`, which makes it.
struct MVView::RareState {
    struct StencilCache;

    std::shared_ptr<MVView> stencilView;
    std::vector<MVView*> masked;                      ///< The views whose stencil view this is.
    std::shared_ptr<StencilCache> stencilStateCache;  ///< Null until first masked.

    Mivora::Plane interactionPlane{{0.0F, 0.0F, 1.0F}, 0.0F};
    std::shared_ptr<MVGestureRecognizerArray> gestureRecognizers;  ///< Null while empty.

    std::string debugName;
};
