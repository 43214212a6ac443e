#include "MivoraMac/platform/windows/View.h"

#include <algorithm>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/windows/NativeWindow.h"

namespace Mivora::platform {

namespace {

double extent(double value) {
    return value > 0 ? value : 0;
}

}  // namespace

NativeWindow::NativeWindow() = default;
NativeWindow::~NativeWindow() = default;

std::shared_ptr<View> View::initWithFrame(const Rect& frame) {
    auto view = std::make_shared<View>();
    view->setFrame(frame);
    return view;
}

View::View() = default;
View::~View() = default;

void View::setFrame(const Rect& frame) {
    const Rect placed = {frame.x, frame.y, extent(frame.width), extent(frame.height)};
    if (placed == frame_) {
        return;
    }
    const std::shared_ptr<View> kept = weak_from_this().lock();
    frame_ = placed;
    setBounds({bounds_.x, bounds_.y, frame_.width, frame_.height});
    changed();
}

void View::setBounds(const Rect& bounds) {
    const Rect cut = {bounds.x, bounds.y, extent(bounds.width), extent(bounds.height)};
    if (cut == bounds_) {
        return;
    }
    const std::shared_ptr<View> kept = weak_from_this().lock();
    willChangeValueForKey("bounds");
    bounds_ = cut;
    didChangeValueForKey("bounds");
    boundsDidChange();
}

void View::setHidden(bool hidden) {
    if (hidden_ != hidden) {
        hidden_ = hidden;
        changed();
    }
}

void View::addSubview(const std::shared_ptr<View>& view) {
    if (!view) {
        throw MVException(MVException::kInvalidArgument, "addSubview: the view is null");
    }
    for (auto ancestor = shared_from_this(); ancestor; ancestor = ancestor->superview()) {
        if (ancestor == view) {
            throw MVException(MVException::kInvalidArgument,
                              "addSubview: a view cannot be put into itself");
        }
    }
    const std::shared_ptr<View> kept = view;
    kept->removeFromSuperview();
    if (kept->superview()) {
        return;  // A hook put it somewhere else: that move stands.
    }
    subviews_.push_back(kept);
    kept->superview_ = weak_from_this();
    kept->window_.reset();
    kept->changed();
    if (window()) {
        kept->tellMovedToWindow();
    }
}

void View::removeFromSuperview() {
    const std::shared_ptr<View> above = superview();
    if (!above) {
        return;
    }
    const std::shared_ptr<View> kept = shared_from_this();
    const bool wasInWindow = window() != nullptr;
    std::erase(above->subviews_, kept);
    superview_.reset();
    above->subviewsDidChange();
    if (wasInWindow) {
        tellMovedToWindow();
    }
}

std::shared_ptr<NativeWindow> View::window() const {
    const std::shared_ptr<View> above = superview();
    return above ? above->window() : window_.lock();
}

void View::setWantsLayer(bool wantsLayer) {
    if (wantsLayer && !wantsLayer_) {
        makeBackingLayer();
    }
    wantsLayer_ = wantsLayer;
}

void View::setContentsScale(double contentsScale) {
    contentsScale_ = contentsScale;
}

void View::setSublayerTransform(const glm::dmat4& transform) {
    if (sublayerTransform_ != transform) {
        sublayerTransform_ = transform;
        subviewsDidChange();
    }
}

void View::moveToWindow(const std::shared_ptr<NativeWindow>& window) {
    window_ = window;
    tellMovedToWindow();
}

void View::viewDidMoveToWindow() {}

void View::makeBackingLayer() {}

void View::boundsDidChange() {}

void View::subviewsDidChange() {
    if (const std::shared_ptr<View> above = superview()) {
        above->subviewsDidChange();
    }
}

void View::changed() {
    if (const std::shared_ptr<View> above = superview()) {
        above->subviewsDidChange();
    }
}

void View::settleInWindow() {
    viewDidMoveToWindow();
}

void View::tellMovedToWindow() {
    const std::shared_ptr<View> kept = weak_from_this().lock();
    settleInWindow();
    const std::vector<std::shared_ptr<View>> below = subviews_;
    for (const std::shared_ptr<View>& view : below) {
        view->tellMovedToWindow();
    }
}

}  // namespace Mivora::platform
