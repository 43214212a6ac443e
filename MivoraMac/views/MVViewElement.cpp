// What a view is to the keyboard, to assistive technology and to the pointer's shape.

#include <utility>

#include "MivoraMac/input/MVKey.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::Role;

namespace {

/// How many views have a shape of the pointer.
constinit std::size_t viewsWithCursor = 0;

}  // namespace

const MVView::ElementState& MVView::elementState() const {
    static const ElementState& none = *new ElementState;  // read by views that outlive statics
    return rare_ != nullptr && rare_->element != nullptr ? *rare_->element : none;
}

MVView::ElementState& MVView::elementStateToChange() {
    RareState& rare = rareStateToChange();
    if (rare.element == nullptr) {
        rare.element = std::make_unique<ElementState>();
    }
    return *rare.element;
}

/// Stores what the program says of the element; an equal value does nothing.
template <class Value>
void MVView::changeElement(Value ElementState::*member, const Value& value) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::changeElement");
    if (elementState().*member == value) {
        return;
    }
    elementStateToChange().*member = value;
    mv_elementDidChange();
}

// Keys

bool MVView::keyBegan(const std::shared_ptr<MVKey>& key) {
    const std::shared_ptr<MVView> above = superview();
    if (!above || !key) {
        return false;
    }
    if (key->mv_isOver()) {
        return true;  // a hook below has ended it
    }
    const std::shared_ptr<MVView> view = key->view();
    key->setView(above);
    if (above->keyBegan(key)) {
        return true;
    }
    key->setView(view);
    return false;
}

bool MVView::keyEnded(const std::shared_ptr<MVKey>& key) {
    const std::shared_ptr<MVView> above = superview();
    return above && above->keyEnded(key);
}

// Focus

bool MVView::focusable() const {
    return elementState().focusable;
}

void MVView::setFocusable(bool focusable) {
    changeElement(&ElementState::focusable, focusable);
}

std::weak_ptr<MVWindow>& MVViewTree::windowOfFocus(MVView& view) {
    return view.elementStateToChange().windowOfFocus;
}

bool MVView::focus() {
    MVWindow* const window = MVViewTree::rootWindow(*this);
    return window != nullptr && window->setFocusedView(weak_from_this().lock());
}

void MVView::blur() {
    if (isFocused()) {
        MVViewTree::rootWindow(*this)->setFocusedView(nullptr);
    }
}

bool MVView::isFocused() const {
    const MVWindow* const window = MVViewTree::rootWindow(const_cast<MVView&>(*this));
    return window != nullptr && window->focusedView().get() == this;
}

std::int32_t MVView::focusOrder() const {
    return elementState().focusOrder;
}

void MVView::setFocusOrder(std::int32_t focusOrder) {
    changeElement(&ElementState::focusOrder, focusOrder);
}

bool MVView::focusesOnPress() const {
    return elementState().focusesOnPress;
}

void MVView::setFocusesOnPress(bool focusesOnPress) {
    if (elementState().focusesOnPress != focusesOnPress) {
        elementStateToChange().focusesOnPress = focusesOnPress;
    }
}

bool MVView::showsFocusRing() const {
    return elementState().showsFocusRing;
}

void MVView::setShowsFocusRing(bool showsFocusRing) {
    if (elementState().showsFocusRing == showsFocusRing) {
        return;
    }
    elementStateToChange().showsFocusRing = showsFocusRing;
    if (MVWindow* const window = MVViewTree::rootWindow(*this)) {
        window->mv_placeFocusRing();
    }
}

bool MVView::mv_takesFocus() const {
    return elementState().focusable || mv_ownElement().embedded != nullptr;
}

void MVView::focusBegan() {}

void MVView::focusEnded() {}

/// Draws the ring of the focus over this view.
void MVView::drawFocusRing() {
    if (MVWindow* const window = MVViewTree::rootWindow(*this)) {
        window->mv_drawFocusRingOver(*this);
    }
}

// Accessibility

Role MVView::accessibilityRole() const {
    return elementState().role;
}

void MVView::setAccessibilityRole(Role role) {
    changeElement(&ElementState::role, role);
}

std::string MVView::accessibilityLabel() const {
    return elementState().label;
}

void MVView::setAccessibilityLabel(const std::string& label) {
    changeElement(&ElementState::label, label);
}

std::string MVView::accessibilityDescription() const {
    return elementState().description;
}

void MVView::setAccessibilityDescription(const std::string& description) {
    changeElement(&ElementState::description, description);
}

std::string MVView::accessibilityValue() const {
    return elementState().value;
}

void MVView::setAccessibilityValue(const std::string& value) {
    changeElement(&ElementState::value, value);
}

MVAccessibilityActionArray MVView::accessibilityActions() const {
    return elementState().actions;
}

void MVView::setAccessibilityActions(MVAccessibilityActionArray actions) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::setAccessibilityActions");
    if (!actions.empty() || !elementState().actions.empty()) {
        elementStateToChange().actions = std::move(actions);
        mv_elementDidChange();
    }
}

bool MVView::mv_isGivenElement() const {
    return elementState().isElement();
}

MVOwnElement MVView::mv_ownElement() const {
    return {};
}

std::uint64_t MVView::mv_elementIdentifier() {
    static std::uint64_t latest = 0;
    RareState& rare = rareStateToChange();
    if (rare.elementIdentifier == 0) {
        rare.elementIdentifier = ++latest;
    }
    return rare.elementIdentifier;
}

void MVView::mv_elementDidChange() {
    noteElement();
    if (MVView* const window = windowPointer()) {
        static_cast<MVWindow*>(window)->mv_setElementsChanged();
    }
}

/// Has whoever gathers the elements of the tree come to this view. Above a view that is to be
/// visited all are.
void MVView::noteElement() {
    for (MVView* view = this; view != nullptr && !view->mayHoldElements_;
         view = view->superviewPointer()) {
        view->mayHoldElements_ = true;
    }
}

// Cursor

MVCursor MVView::cursor() const {
    return elementState().cursor;
}

void MVView::setCursor(MVCursor cursor) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::setCursor");
    if (elementState().cursor == cursor) {
        return;
    }
    elementStateToChange().setCursor(cursor);
    if (MVView* const window = windowPointer()) {
        static_cast<MVWindow*>(window)->mv_setElementsChanged();
    }
}

void MVView::ElementState::setCursor(MVCursor shape) {
    viewsWithCursor += static_cast<std::size_t>(shape != MVCursor::Inherit);
    viewsWithCursor -= static_cast<std::size_t>(cursor != MVCursor::Inherit);
    cursor = shape;
}

bool MVView::mv_anyCursors() {
    return viewsWithCursor != 0;
}
