#include "MivoraMac/input/MVCursorDispatcher.h"

#include <algorithm>
#include <utility>

#include "MivoraMac/input/MVInteractionRayPrivate.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::Point2;

std::shared_ptr<MVCursorDispatcher> MVCursorDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVCursorDispatcher>(window);
}

MVCursorDispatcher::MVCursorDispatcher(const std::shared_ptr<MVWindow>& window) : window_(window) {}

bool MVCursorDispatcher::pointerMoved(Point2 point) {
    held_ = 0;  // a release may have been lost
    inside_ = true;
    point_ = point;
    return update();
}

bool MVCursorDispatcher::buttonPressed(Point2 point) {
    inside_ = true;
    point_ = point;
    if (++held_ == 1) {
        pressed_ = viewAtPointer();
    }
    return update();
}

bool MVCursorDispatcher::pointerDragged(Point2 point) {
    point_ = point;
    return update();
}

bool MVCursorDispatcher::buttonReleased(Point2 point) {
    held_ = std::max(held_ - 1, 0);
    point_ = point;
    return update();
}

bool MVCursorDispatcher::pointerLeft() {
    held_ = 0;
    inside_ = false;
    return update();
}

bool MVCursorDispatcher::update() {
    std::shared_ptr<MVView> view;
    if (inside_) {
        view = held_ > 0 ? pressed_.lock() : viewAtPointer();
    }
    while (view && view->cursor() == MVCursor::Inherit) {
        view = view->superview();
    }
    std::string name = MVCursorName(view ? view->cursor() : MVCursor::Inherit);
    return std::exchange(name_, std::move(name)) != name_;
}

std::shared_ptr<MVView> MVCursorDispatcher::viewAtPointer() const {
    const std::shared_ptr<MVWindow> window = MVView::mv_anyCursors() ? window_.lock() : nullptr;
    if (!window) {
        return nullptr;
    }
    const std::shared_ptr<MVMouse> mouse = MVMouse::init();
    mouse->setRay(MVInteractionRay::throughPoint(window.get(), point_));
    mouse->setButton(MVMouseButtonLeft);
    return window->viewForInteraction(mouse);
}
