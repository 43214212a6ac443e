#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/input/MVCursor.h"
#include "MivoraMac/platform/windows/Element.h"
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

    std::uint64_t elementIdentifier = 0;    ///< 0 until somebody asks for it.
    std::unique_ptr<ElementState> element;  ///< Null until needed.
};

/// What the program says of a view to the keyboard, to assistive technology and to the pointer.
struct MVView::ElementState {
    Mivora::platform::Role role = Mivora::platform::Role::None;
    std::string label;
    std::string description;
    std::string value;
    MVAccessibilityActionArray actions;
    std::int32_t focusOrder = 0;
    bool focusable = false;
    bool focusesOnPress = false;
    bool showsFocusRing = true;
    MVCursor cursor = MVCursor::Inherit;
    std::weak_ptr<MVWindow> windowOfFocus;  ///< Whose focus it was told to have, until it ends.

    ElementState() = default;
    ~ElementState() { setCursor(MVCursor::Inherit); }
    ElementState(const ElementState&) = delete;
    ElementState& operator=(const ElementState&) = delete;

    /// Stores the shape, and counts the views that have one.
    void setCursor(MVCursor shape);

    /// Whether any of it makes the view an element.
    bool isElement() const {
        return focusable || role != Mivora::platform::Role::None || !label.empty() ||
               !description.empty() || !value.empty() || !actions.empty();
    }
};
