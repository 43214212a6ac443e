#include "MivoraMac/platform/windows/OpenGLView.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/WorkQueue.h"
#include "MivoraMac/platform/windows/NativeWindow.h"
#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

namespace {

int wholePixels(double pixels) {
    constexpr double kMaximum = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(pixels, kMaximum));
}

bool isTracked(const OpenGLView& view, const Event& event, unsigned option) {
    return std::any_of(
        view.trackingAreas().begin(), view.trackingAreas().end(), [&](const auto& area) {
            return (area->options & option) != 0 && (event.type != Event::Type::MouseMoved ||
                                                     area->rect.contains(event.locationInWindow));
        });
}

}  // namespace

OpenGLView::Peer::~Peer() = default;

void OpenGLView::Peer::openGLContextDidChange() {}
void OpenGLView::Peer::viewIsGoing() {}
void OpenGLView::Peer::elementsDidChange() {}
void OpenGLView::Peer::focusElement(std::uint64_t /*identifier*/) {}
void OpenGLView::Peer::cursorDidChange() {}

OpenGLView::OpenGLView() : backingScaleFactor_(Screen::mainScreen()->backingScaleFactor()) {}

OpenGLView::~OpenGLView() {
    if (Peer* const peer = std::exchange(peer_, nullptr)) {
        peer->viewIsGoing();
    }
    if (context_ && context_->view() == this) {
        context_->setView(nullptr);
    }
}

void OpenGLView::setBackingScaleFactor(double factor) {
    if (takeBackingScaleFactor(factor)) {
        shape();
    }
}

void OpenGLView::setWantsBestResolutionOpenGLSurface(bool wantsBestResolution) {
    if (wantsBestResolution_ != wantsBestResolution) {
        wantsBestResolution_ = wantsBestResolution;
        shape();
    }
}

Rect OpenGLView::convertRectToBacking(const Rect& rect) const {
    const double scale = wantsBestResolution_ ? backingScaleFactor_ : 1.0;
    return {rect.x * scale, rect.y * scale, rect.width * scale, rect.height * scale};
}

PixelSize OpenGLView::backingSize() const {
    const Rect backing = convertRectToBacking(bounds());
    return {wholePixels(backing.width), wholePixels(backing.height)};
}

void OpenGLView::setPixelFormat(std::shared_ptr<PixelFormat> format) {
    pixelFormat_ = std::move(format);
}

void OpenGLView::setOpenGLContext(std::shared_ptr<GLContext> context) {
    if (context_ && context_ != context && context_->view() == this) {
        context_->setView(nullptr);
    }
    context_ = std::move(context);
}

void OpenGLView::openGLContextDidAttach() {
    if (peer_ != nullptr) {
        peer_->openGLContextDidChange();
    }
}

void OpenGLView::subviewsWillBePlaced() {}

bool OpenGLView::isOpaque() const {
    return false;
}

void OpenGLView::addTrackingArea(const std::shared_ptr<const TrackingArea>& area) {
    if (area) {
        trackingAreas_.push_back(area);
    }
}

void OpenGLView::removeTrackingArea(const std::shared_ptr<const TrackingArea>& area) {
    std::erase(trackingAreas_, area);
}

void OpenGLView::deliver(const std::shared_ptr<const Event>& event) {
    if (!event) {
        return;
    }
    const std::shared_ptr<View> kept = weak_from_this().lock();
    const auto dispatch = [&] { this->dispatch(event); };
    runLogged(dispatch);
}

bool OpenGLView::deliverKey(const std::shared_ptr<const Event>& event) {
    if (!event || (event->type != Event::Type::KeyDown && event->type != Event::Type::KeyUp)) {
        return false;
    }
    const std::shared_ptr<View> kept = weak_from_this().lock();
    bool isHandled = false;
    const auto dispatch = [&] { isHandled = this->dispatch(event); };
    runLogged(dispatch);
    return isHandled;
}

/// @return whether it was a key that the view had a use for
bool OpenGLView::dispatch(const std::shared_ptr<const Event>& event) {
    switch (event->type) {
        case Event::Type::MouseDown:
            mouseDown(event);
            break;
        case Event::Type::MouseDragged:
            mouseDragged(event);
            break;
        case Event::Type::MouseUp:
            mouseUp(event);
            break;
        case Event::Type::RightMouseDown:
            rightMouseDown(event);
            break;
        case Event::Type::RightMouseDragged:
            rightMouseDragged(event);
            break;
        case Event::Type::RightMouseUp:
            rightMouseUp(event);
            break;
        case Event::Type::MiddleMouseDown:
            middleMouseDown(event);
            break;
        case Event::Type::MiddleMouseDragged:
            middleMouseDragged(event);
            break;
        case Event::Type::MiddleMouseUp:
            middleMouseUp(event);
            break;
        case Event::Type::MouseEntered:
            if (isTracked(*this, *event, TrackingArea::MouseEnteredAndExited)) {
                mouseEntered(event);
            }
            break;
        case Event::Type::MouseMoved:
            if (isTracked(*this, *event, TrackingArea::MouseMoved)) {
                mouseMoved(event);
            }
            break;
        case Event::Type::MouseExited:
            if (isTracked(*this, *event, TrackingArea::MouseEnteredAndExited)) {
                mouseExited(event);
            }
            break;
        case Event::Type::ScrollWheel:
            scrollWheel(event);
            break;
        case Event::Type::TouchesBegan:
            touchesBegan(event);
            break;
        case Event::Type::TouchesMoved:
            touchesMoved(event);
            break;
        case Event::Type::TouchesEnded:
            touchesEnded(event);
            break;
        case Event::Type::TouchesCancelled:
            touchesCancelled(event);
            break;
        case Event::Type::KeyDown:
            return keyDown(event);
        case Event::Type::KeyUp:
            return keyUp(event);
    }
    return false;
}

std::vector<Element> OpenGLView::elements() {
    return {};
}

std::uint64_t OpenGLView::focusedElement() const {
    return 0;
}

void OpenGLView::elementDidFocus(std::uint64_t /*identifier*/) {}
void OpenGLView::elementDidBlur(std::uint64_t /*identifier*/) {}

bool OpenGLView::performAction(std::uint64_t /*identifier*/, std::size_t /*index*/) {
    return false;
}

std::string OpenGLView::cursorName() const {
    return {};
}

void OpenGLView::settleInWindow() {
    const std::shared_ptr<NativeWindow> in = window();
    if (in) {
        takeBackingScaleFactor(in->backingScaleFactor());
    }
    viewDidMoveToWindow();
    if (in && window() == in) {
        shape();
    }
}

/// @return whether the factor is another one
bool OpenGLView::takeBackingScaleFactor(double factor) {
    if (!std::isfinite(factor) || factor <= 0 || factor == backingScaleFactor_) {
        return false;
    }
    backingScaleFactor_ = factor;
    viewDidChangeBackingProperties();
    return true;
}

void OpenGLView::boundsDidChange() {
    updateTrackingAreas();
    shape();
}

void OpenGLView::subviewsDidChange() {
    View::subviewsDidChange();
    if (peer_ != nullptr) {
        peer_->subviewsDidChange();
    }
}

void OpenGLView::shape() {
    if (context_ && context_->view() == this) {
        context_->drawable().setSize(backingSize());
    }
    reshape();
}

void OpenGLView::reshape() {}
void OpenGLView::renewGState() {}
void OpenGLView::updateTrackingAreas() {}
void OpenGLView::viewDidChangeBackingProperties() {}
void OpenGLView::mouseDown(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::mouseDragged(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::mouseUp(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::rightMouseDown(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::rightMouseDragged(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::rightMouseUp(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::middleMouseDown(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::middleMouseDragged(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::middleMouseUp(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::mouseEntered(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::mouseMoved(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::mouseExited(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::scrollWheel(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::touchesBegan(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::touchesMoved(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::touchesEnded(const std::shared_ptr<const Event>& /*event*/) {}
void OpenGLView::touchesCancelled(const std::shared_ptr<const Event>& /*event*/) {}

bool OpenGLView::keyDown(const std::shared_ptr<const Event>& /*event*/) {
    return false;
}

bool OpenGLView::keyUp(const std::shared_ptr<const Event>& /*event*/) {
    return false;
}

}  // namespace Mivora::platform
