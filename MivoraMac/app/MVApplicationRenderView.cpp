#include "MivoraMac/app/MVApplicationRenderView.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/input/MVCursorDispatcher.h"
#include "MivoraMac/input/MVFingerDispatcher.h"
#include "MivoraMac/input/MVKeyDispatcher.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/input/MVMouseDispatcher.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVScrollDispatcher.h"
#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/platform/windows/KeySymbol.h"
#include "MivoraMac/platform/windows/NativeWindow.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVBridgeView.h"
#include "MivoraMac/views/MVElementListPrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::DebugLog;
using Mivora::platform::Element;
using Mivora::platform::Event;
using Mivora::platform::Host;
using Mivora::platform::KeySymbol;
using Mivora::platform::OpenGLView;
using Mivora::platform::RunAll;
using Mivora::platform::runAll;
using Mivora::platform::runLogged;
using Mivora::platform::TrackingArea;
using Mivora::platform::View;

namespace {

/// Points that a wheel scrolls for each line.
constexpr float kPointsPerLine = 24.0F;

}  // namespace

double mv_scaleFactorForOpenGLView(const OpenGLView& view) {
    const auto window = view.wantsBestResolutionOpenGLSurface() ? view.window() : nullptr;
    return window ? window->backingScaleFactor() : 1.0;
}

std::shared_ptr<MVApplicationRenderView> MVApplicationRenderView::initWithApplicationAndWindow(
    const std::shared_ptr<MVApplication>& application, const std::shared_ptr<MVWindow>& window) {
    auto view = MVMake<MVApplicationRenderView>(application, window);
    view->addSubview(view->bridgeViewContainer_);
    return view;
}

MVApplicationRenderView::MVApplicationRenderView(const std::shared_ptr<MVApplication>& application,
                                                 const std::shared_ptr<MVWindow>& window)
    : application_(application),
      window_(window),
      context_(MVRenderContext::activeContext()),
      elementList_(std::make_unique<MVElementList>()) {
    setWantsBestResolutionOpenGLSurface(true);
    mouseDispatcher_ = MVMouseDispatcher::initWithWindow(window);
    scrollDispatcher_ = MVScrollDispatcher::initWithWindow(window);
    mouseToTouchDispatcher_ = MVMouseToTouchDispatcher::initWithWindow(window);
    fingerDispatcher_ = MVFingerDispatcher::initWithWindow(window);
    keyDispatcher_ = MVKeyDispatcher::initWithWindow(window);
    cursorDispatcher_ = MVCursorDispatcher::initWithWindow(window);
    bridgeViewContainer_ = View::initWithFrame(bounds());
    bridgeViewContainer_->setWantsLayer(true);
    updateTrackingAreas();
}

MVApplicationRenderView::~MVApplicationRenderView() = default;

bool MVApplicationRenderView::isOpaque() const {
    return true;
}

void MVApplicationRenderView::addBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) {
    const std::shared_ptr<View> native = bridgeView ? bridgeView->bridgeView() : nullptr;
    if (!native) {
        return;
    }
    if (!Host::current().showsNativeViews() && !std::exchange(saidThatNoneAreShown_, true)) {
        DebugLog::log(DebugLog::Category::Frame,
                      "native views are not seen: the host \"%s\" shows none",
                      Host::current().name());
    }
    native->setWantsLayer(true);
    bridgeViewContainer_->addSubview(native);
    if (std::find(bridgeViews_.begin(), bridgeViews_.end(), bridgeView) == bridgeViews_.end()) {
        bridgeViews_.push_back(bridgeView);
    }
}

void MVApplicationRenderView::removeBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) {
    if (!bridgeView) {
        return;
    }
    if (const std::shared_ptr<View> native = bridgeView->bridgeView()) {
        native->removeFromSuperview();
    }
    std::erase(bridgeViews_, bridgeView);
}

void MVApplicationRenderView::mv_updateBridgeViews() {
    const auto bridgeViews = bridgeViews_;
    for (const std::shared_ptr<MVBridgeView>& bridgeView : bridgeViews) {
        bridgeView->mv_updateBridgeView();
    }
}

void MVApplicationRenderView::mv_removeAllBridgeViews() {
    const auto bridgeViews = bridgeViews_;
    for (const std::shared_ptr<MVBridgeView>& bridgeView : bridgeViews) {
        removeBridgeView(bridgeView);
    }
}

void MVApplicationRenderView::subviewsWillBePlaced() {
    mv_updateBridgeViews();
}

void MVApplicationRenderView::setBridgeViewContainerSublayerTransform(const glm::dmat4& transform) {
    bridgeViewContainer_->setSublayerTransform(transform);
}

Mivora::Point2 MVApplicationRenderView::mv_pointForEvent(const Event& event) const {
    return {static_cast<float>(event.locationInWindow.x),
            static_cast<float>(event.locationInWindow.y)};
}

void MVApplicationRenderView::mv_setViewport() {
    if (const auto context = MVRenderContext::mv_drawingContext()) {
        const auto setViewport = [size = backingSize()] {
            glViewport(0, 0, size.width, size.height);
        };
        context->mv_dispatchBlockSync(MVRenderContext::StencilPlanes::OfFrame, setViewport);
    }
}

void MVApplicationRenderView::viewDidMoveToWindow() {
    OpenGLView::viewDidMoveToWindow();
    setContentsScale(mv_scaleFactorForOpenGLView(*this));
    if (context_) {
        context_->mv_setRenderView(this);
    }
    if (!window()) {
        // Nobody can tell what becomes of fingers outside a window.
        const auto cancelFingers = [this] { fingerDispatcher_->cancelAllTouches(); };
        runLogged(cancelFingers);
        // Nor do keys come any more.
        const auto endKeys = [this] { keyDispatcher_->endAllKeys(); };
        runLogged(endKeys);
        const auto takeFocusOff = [this] {
            if (const std::shared_ptr<MVWindow> tree = window_.lock()) {
                tree->setFocusedView(nullptr);
            }
        };
        runLogged(takeFocusOff);
    } else {
        mv_focusDidChange();
    }
}

void MVApplicationRenderView::reshape() {
    OpenGLView::reshape();
    mv_setActiveResources();
    mv_setViewport();
    if (const auto application = application_.lock()) {
        application->mv_resizeWindow();
        application->mv_inlineDraw();
    }
    bridgeViewContainer_->setFrame(bounds());
    const auto bridgeViews = bridgeViews_;
    for (const std::shared_ptr<MVBridgeView>& bridgeView : bridgeViews) {
        bridgeView->mv_positionBridgeView();
    }
}

void MVApplicationRenderView::renewGState() {
    if (const auto in = window()) {
        in->disableScreenUpdatesUntilFlush();
    }
    OpenGLView::renewGState();
}

void MVApplicationRenderView::updateTrackingAreas() {
    OpenGLView::updateTrackingAreas();
    removeTrackingArea(trackingArea_);
    trackingArea_ = std::make_shared<const TrackingArea>(
        TrackingArea{bounds(), TrackingArea::MouseEnteredAndExited | TrackingArea::MouseMoved |
                                   TrackingArea::ActiveAlways});
    addTrackingArea(trackingArea_);
}

void MVApplicationRenderView::viewDidChangeBackingProperties() {
    OpenGLView::viewDidChangeBackingProperties();
    setContentsScale(mv_scaleFactorForOpenGLView(*this));
}

void MVApplicationRenderView::makeBackingLayer() {
    OpenGLView::makeBackingLayer();
    setContentsScale(mv_scaleFactorForOpenGLView(*this));
}

// What a hook throws must not keep the others from being told: each hears of every begin and end.

void MVApplicationRenderView::mouseDown(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    runAll([&] { focusByPress(mv_pointForEvent(*event)); },
           [&] { mouseToTouchDispatcher_->systemTouchBeganWithEvent(event); },
           [&] {
               scrollDispatcher_->cancelActiveScrollEventWithEvent(mv_pointForEvent(*event), event);
           },
           [&] { mouseDispatcher_->systemMouseBeganWithEvent(mv_pointForEvent(*event), event); });
}

void MVApplicationRenderView::mouseDragged(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    runAll([&] { mouseToTouchDispatcher_->systemTouchMovedWithEvent(event); },
           [&] { mouseDispatcher_->systemMouseMovedWithEvent(mv_pointForEvent(*event), event); });
}

void MVApplicationRenderView::mouseUp(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    runAll([&] { mouseToTouchDispatcher_->systemTouchEndedWithEvent(event); },
           [&] { mouseDispatcher_->systemMouseEndedWithEvent(mv_pointForEvent(*event), event); });
}

void MVApplicationRenderView::rightMouseDown(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    runAll(
        [&] {
            scrollDispatcher_->cancelActiveScrollEventWithEvent(mv_pointForEvent(*event), event);
        },
        [&] { mouseDispatcher_->systemRightMouseBeganWithEvent(mv_pointForEvent(*event), event); });
}

void MVApplicationRenderView::rightMouseDragged(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    mouseDispatcher_->systemRightMouseMovedWithEvent(mv_pointForEvent(*event), event);
}

void MVApplicationRenderView::rightMouseUp(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    mouseDispatcher_->systemRightMouseEndedWithEvent(mv_pointForEvent(*event), event);
}

void MVApplicationRenderView::middleMouseDown(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    runAll(
        [&] {
            scrollDispatcher_->cancelActiveScrollEventWithEvent(mv_pointForEvent(*event), event);
        },
        [&] {
            mouseDispatcher_->systemMiddleMouseBeganWithEvent(mv_pointForEvent(*event), event);
        });
}

void MVApplicationRenderView::middleMouseDragged(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    mouseDispatcher_->systemMiddleMouseMovedWithEvent(mv_pointForEvent(*event), event);
}

void MVApplicationRenderView::middleMouseUp(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    mouseDispatcher_->systemMiddleMouseEndedWithEvent(mv_pointForEvent(*event), event);
}

void MVApplicationRenderView::mouseEntered(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    const bool mayHover = this->mayHover();
    if (mayHover != mouseHoverActive_) {
        mayHover ? beginHover(event) : endHover(event);
    }
}

void MVApplicationRenderView::mouseMoved(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    const bool mayHover = this->mayHover();
    if (mayHover != mouseHoverActive_) {
        mayHover ? beginHover(event) : endHover(event);
    } else if (mayHover) {
        mouseDispatcher_->systemMouseHoverMovedWithEvent(mv_pointForEvent(*event), event);
    }
}

void MVApplicationRenderView::mouseExited(const std::shared_ptr<const Event>& event) {
    pointerDid(*event);
    const auto endOpenHover = [&] {
        if (mouseHoverActive_) {
            endHover(event);
        }
    };
    const auto cancelScroll = [&] {
        scrollDispatcher_->systemScrollCancelledTranslationWithEvent(mv_pointForEvent(*event),
                                                                     Mivora::Point2::kZero, event);
    };
    runAll(endOpenHover, cancelScroll,
           [&] { mouseToTouchDispatcher_->systemTouchCancelledWithEvent(event); });
}

void MVApplicationRenderView::scrollWheel(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    const Mivora::Point2 point = mv_pointForEvent(*event);
    Mivora::Point2 translation = {static_cast<float>(event->scrollingDeltaX),
                                  static_cast<float>(event->scrollingDeltaY)};
    if (!event->hasPreciseScrollingDeltas) {
        translation = translation * kPointsPerLine;
    }
    switch (event->phase != Event::PhaseNone ? event->phase : event->momentumPhase) {
        case Event::PhaseBegan:
            scrollDispatcher_->systemScrollBeganTranslationWithEvent(point, translation, event);
            break;
        case Event::PhaseStationary:
        case Event::PhaseChanged:
            scrollDispatcher_->systemScrollMovedTranslationWithEvent(point, translation, event);
            break;
        case Event::PhaseEnded:
            scrollDispatcher_->systemScrollEndedTranslationWithEvent(point, translation, event);
            break;
        case Event::PhaseCancelled:
            scrollDispatcher_->systemScrollCancelledTranslationWithEvent(point, translation, event);
            break;
        case Event::PhaseNone:  // the click of a wheel
            runAll(
                [&] {
                    scrollDispatcher_->systemScrollBeganTranslationWithEvent(point, translation,
                                                                             event);
                },
                [&] {
                    scrollDispatcher_->systemScrollEndedTranslationWithEvent(
                        point, Mivora::Point2::kZero, event);
                });
            break;
    }
}

/// What comes before an event of the pointer is handed on.
void MVApplicationRenderView::pointerDid(const Event& event) {
    mv_setActiveResources();
    const auto trackCursor = [&] {
        const Mivora::Point2 point = mv_pointForEvent(event);
        switch (event.type) {
            case Event::Type::MouseDown:
            case Event::Type::RightMouseDown:
            case Event::Type::MiddleMouseDown:
                return tellOfCursor(cursorDispatcher_->buttonPressed(point));
            case Event::Type::MouseDragged:
            case Event::Type::RightMouseDragged:
            case Event::Type::MiddleMouseDragged:
                return tellOfCursor(cursorDispatcher_->pointerDragged(point));
            case Event::Type::MouseUp:
            case Event::Type::RightMouseUp:
            case Event::Type::MiddleMouseUp:
                return tellOfCursor(cursorDispatcher_->buttonReleased(point));
            case Event::Type::MouseExited:
                return tellOfCursor(cursorDispatcher_->pointerLeft());
            default:
                return tellOfCursor(cursorDispatcher_->pointerMoved(point));
        }
    };
    runLogged(trackCursor);
}

void MVApplicationRenderView::tellOfCursor(bool changed) {
    if (Peer* const host = changed ? peer() : nullptr) {
        host->cursorDidChange();
    }
}

void MVApplicationRenderView::mv_setActiveResources() {
    if (const auto application = application_.lock()) {
        application->mv_setActiveResources();
    }
}

void MVApplicationRenderView::touchesBegan(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    RunAll all;
    all.run([&] {
        if (mouseHoverActive_) {
            endHover(event);
        }
    });
    for (const Event::Touch& touch : event->touches) {
        const Mivora::platform::Point at = touch.landing.value_or(touch.location);
        all.run([&] { focusByPress({static_cast<float>(at.x), static_cast<float>(at.y)}); });
    }
    all.run([&] { fingerDispatcher_->systemTouchesBeganWithEvent(event); });
    std::optional<Mivora::platform::Point> former;
    for (const Event::Touch& touch : event->touches) {
        const Mivora::platform::Point at = touch.landing.value_or(touch.location);
        if (std::exchange(former, at) != at) {
            all.run([&] {
                scrollDispatcher_->cancelActiveScrollEventWithEvent(
                    {static_cast<float>(at.x), static_cast<float>(at.y)}, event);
            });
        }
    }
    all.rethrow();
}

void MVApplicationRenderView::touchesMoved(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    fingerDispatcher_->systemTouchesMovedWithEvent(event);
}

void MVApplicationRenderView::touchesEnded(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    fingerDispatcher_->systemTouchesEndedWithEvent(event);
}

void MVApplicationRenderView::touchesCancelled(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    fingerDispatcher_->systemTouchesCancelledWithEvent(event);
}

bool MVApplicationRenderView::mayHover() const {
    const auto in = window();
    return in && in->isMainWindow() && !fingerDispatcher_->hasTouches();
}

void MVApplicationRenderView::beginHover(const std::shared_ptr<const Event>& event) {
    mouseHoverActive_ = true;
    mouseDispatcher_->systemMouseHoverBeganWithEvent(mv_pointForEvent(*event), event);
}

void MVApplicationRenderView::endHover(const std::shared_ptr<const Event>& event) {
    mouseHoverActive_ = false;
    mouseDispatcher_->systemMouseHoverEndedWithEvent(mv_pointForEvent(*event), event);
}

// Keyboard

bool MVApplicationRenderView::keyDown(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (window && !KeySymbol::isModifier(event->key)) {
        window->mv_setFocusRingVisible(true);
    }
    return keyDispatcher_->systemKeyBeganWithEvent(event);
}

bool MVApplicationRenderView::keyUp(const std::shared_ptr<const Event>& event) {
    mv_setActiveResources();
    return keyDispatcher_->systemKeyEndedWithEvent(event);
}

/// Moves the focus to the view that asks for it, if one does.
void MVApplicationRenderView::focusByPress(Mivora::Point2 point) {
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (!window) {
        return;
    }
    window->mv_setFocusRingVisible(false);
    if (!window->mv_mayHaveElements()) {
        return;
    }
    std::shared_ptr<MVView> view =
        mouseDispatcher_->mv_newMouseWithPointButton(point, MVMouseButtonLeft)->view();
    while (view && !view->focusesOnPress()) {
        view = view->superview();
    }
    if (view) {
        window->setFocusedView(view);
    }
}

// Elements

std::vector<Element> MVApplicationRenderView::elements() {
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (!window) {
        return {};
    }
    mv_setActiveResources();
    return elementList_->gather(*window, bounds().width, bounds().height);
}

std::uint64_t MVApplicationRenderView::focusedElement() const {
    const std::shared_ptr<MVWindow> window = window_.lock();
    const std::shared_ptr<MVView> view = window ? window->focusedView() : nullptr;
    return view ? view->mv_elementIdentifier() : 0;
}

void MVApplicationRenderView::elementDidFocus(std::uint64_t identifier) {
    const std::shared_ptr<View> kept = weak_from_this().lock();
    const std::shared_ptr<MVWindow> window = window_.lock();
    const std::shared_ptr<MVView> view = elementList_->view(identifier);
    if (!window || !view) {
        return;
    }
    mv_setActiveResources();
    window->mv_setFocusRingVisible(true);
    const auto move = [&] { window->setFocusedView(view); };
    runLogged(move);
    if (focusedElement() != identifier) {
        mv_focusDidChange();
    }
}

void MVApplicationRenderView::elementDidBlur(std::uint64_t identifier) {
    const std::shared_ptr<View> kept = weak_from_this().lock();
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (!window || identifier == 0 || focusedElement() != identifier) {
        return;
    }
    mv_setActiveResources();
    const auto endKeys = [&] { keyDispatcher_->endAllKeys(); };
    runLogged(endKeys);
    const auto takeFocusOff = [&] {
        if (focusedElement() == identifier) {
            window->setFocusedView(nullptr);
        }
    };
    runLogged(takeFocusOff);
}

bool MVApplicationRenderView::performAction(std::uint64_t identifier, std::size_t index) {
    const std::shared_ptr<View> kept = weak_from_this().lock();
    const std::shared_ptr<MVView> view = elementList_->view(identifier);
    const MVAccessibilityActionArray actions =
        view ? view->accessibilityActions() : MVAccessibilityActionArray();
    if (index >= actions.size()) {
        return false;
    }
    mv_setActiveResources();
    if (const auto& function = actions[index].function) {
        runLogged(function);
    }
    return true;
}

std::string MVApplicationRenderView::cursorName() const {
    return cursorDispatcher_->name();
}

void MVApplicationRenderView::mv_tellOfElements(bool isDrawn) {
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (!window) {
        return;
    }
    const bool isChanged = window->mv_takeElementsChanged();
    if (!isChanged && !isDrawn) {
        return;
    }
    if (MVView::mv_anyCursors() || !cursorName().empty()) {
        tellOfCursor(cursorDispatcher_->update());
    }
    const bool mayHaveElements = window->mv_mayHaveElements();
    Peer* const host = peer();
    if (host != nullptr && (mayHaveElements || elementsTold_)) {
        elementsTold_ = mayHaveElements;
        host->elementsDidChange();
    }
}

void MVApplicationRenderView::mv_focusDidChange() {
    if (Peer* const host = peer()) {
        host->focusElement(focusedElement());
    }
}
