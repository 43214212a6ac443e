#include "MivoraMac/input/MVMouseDispatcher.h"

#include <string>
#include <utility>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVInteractionRayPrivate.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::Point2;
using Mivora::platform::AtEnd;
using Mivora::platform::DebugLog;
using Mivora::platform::runAll;

namespace {

using MousePointer = MVMouseDispatcher::MousePointer;

void send(const MousePointer& mouse, void (MVView::*hook)(const MousePointer&)) {
    if (const std::shared_ptr<MVView> view = mouse ? mouse->view() : nullptr) {
        (view.get()->*hook)(mouse);
    }
}

void log(const char* what, const MousePointer& mouse) {
    if (mouse) {
        MVEventLog::write(what, *mouse);
    }
}

void logPress(const char* phase, const MousePointer& mouse) {
    if (mouse && DebugLog::isEnabled(DebugLog::Category::Events)) {
        const char* const button = mouse->button() == MVMouseButtonRight    ? "secondary press "
                                   : mouse->button() == MVMouseButtonMiddle ? "middle press "
                                                                            : "press ";
        MVEventLog::write((std::string(button) + phase).c_str(), *mouse);
    }
}

void takeModifiers(MVMouse& mouse, const MVMouseDispatcher::EventPointer& event) {
    if (event) {
        mouse.setModifiers(event->modifiers);
    }
}

}  // namespace

std::shared_ptr<MVMouseDispatcher> MVMouseDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVMouseDispatcher>(window);
}

MVMouseDispatcher::MVMouseDispatcher(const std::shared_ptr<MVWindow>& window) : window_(window) {}
MVMouseDispatcher::~MVMouseDispatcher() = default;

// Buttons

void MVMouseDispatcher::systemMouseBeganWithEvent(Point2 point, const EventPointer& event) {
    beginPress(leftMouse_, MVMouseButtonLeft, point, event);
}

void MVMouseDispatcher::systemMouseMovedWithEvent(Point2 point, const EventPointer& event) {
    movePress(leftMouse_, point, event);
}

void MVMouseDispatcher::systemMouseEndedWithEvent(Point2 point, const EventPointer& event) {
    endPress(leftMouse_, point, event);
}

void MVMouseDispatcher::systemRightMouseBeganWithEvent(Point2 point, const EventPointer& event) {
    beginPress(rightMouse_, MVMouseButtonRight, point, event);
}

void MVMouseDispatcher::systemRightMouseMovedWithEvent(Point2 point, const EventPointer& event) {
    movePress(rightMouse_, point, event);
}

void MVMouseDispatcher::systemRightMouseEndedWithEvent(Point2 point, const EventPointer& event) {
    endPress(rightMouse_, point, event);
}

void MVMouseDispatcher::systemMiddleMouseBeganWithEvent(Point2 point, const EventPointer& event) {
    beginPress(middleMouse_, MVMouseButtonMiddle, point, event);
}

void MVMouseDispatcher::systemMiddleMouseMovedWithEvent(Point2 point, const EventPointer& event) {
    movePress(middleMouse_, point, event);
}

void MVMouseDispatcher::systemMiddleMouseEndedWithEvent(Point2 point, const EventPointer& event) {
    endPress(middleMouse_, point, event);
}

void MVMouseDispatcher::beginPress(MousePointer& record, std::int32_t button, Point2 point,
                                   const EventPointer& event) {
    const auto kept = shared_from_this();
    const auto endFormer = [&] { mv_dispatchMouseEnded(std::exchange(record, nullptr)); };
    const auto begin = [&] {
        const MousePointer mouse = mv_newMouseWithPointButton(point, button);
        if (record) {
            return;
        }
        record = mouse;
        mouse->setClickCount(event ? event->clickCount : 1);
        takeModifiers(*mouse, event);
        mv_dispatchMouseBegan(mouse);
    };
    runAll(endFormer, begin);
}

void MVMouseDispatcher::movePress(const MousePointer& record, Point2 point,
                                  const EventPointer& event) {
    if (const MousePointer mouse = record) {
        takeModifiers(*mouse, event);
        mv_mouseUpdateWithPoint(mouse, point);
        mv_dispatchMouseMoved(mouse);
    }
}

void MVMouseDispatcher::endPress(MousePointer& record, Point2 point, const EventPointer& event) {
    if (const MousePointer mouse = std::exchange(record, nullptr)) {
        takeModifiers(*mouse, event);
        runAll([&] { mv_mouseUpdateWithPoint(mouse, point); },
               [&] { mv_dispatchMouseEnded(mouse); });
    }
}

// Hover

void MVMouseDispatcher::systemMouseHoverBeganWithEvent(Point2 point, const EventPointer& event) {
    const auto kept = shared_from_this();
    const auto endFormer = [&] { endHover(std::exchange(hoverMouse_, nullptr)); };
    const auto begin = [&] {
        const MousePointer mouse = mv_newMouseWithPointButton(point, MVMouseButtonHover);
        if (hoverMouse_) {
            return;
        }
        hoverMouse_ = mouse;
        mouse->setClickCount(0);
        takeModifiers(*mouse, event);
        mv_dispatchMouseHoverBegan(mouse);
    };
    runAll(endFormer, begin);
}

void MVMouseDispatcher::systemMouseHoverMovedWithEvent(Point2 point, const EventPointer& event) {
    const MousePointer mouse = hoverMouse_;
    if (!mouse) {
        return;
    }
    const auto kept = shared_from_this();
    takeModifiers(*mouse, event);
    mv_mouseUpdateWithPoint(mouse, point);
    if (mouse == leavingMouse_) {
        return;
    }
    const std::shared_ptr<MVView> view = viewAt(mouse);
    if (view == mouse->view()) {
        mv_dispatchMouseHoverMoved(mouse);
        return;
    }
    const Mivora::Ray3 ray = mouse->ray();
    const auto leave = [&] {
        const AtEnd left(
            [this, outer = std::exchange(leavingMouse_, mouse)] { leavingMouse_ = outer; });
        mv_dispatchMouseHoverEnded(mouse);
    };
    const auto enter = [&] {
        if (hoverMouse_ == mouse) {
            mouse->setView(mouse->ray() == ray ? view : viewAt(mouse));
            mv_dispatchMouseHoverBegan(mouse);
        }
    };
    runAll(leave, enter);
}

void MVMouseDispatcher::systemMouseHoverEndedWithEvent(Point2 point, const EventPointer& event) {
    if (const MousePointer mouse = std::exchange(hoverMouse_, nullptr)) {
        takeModifiers(*mouse, event);
        runAll([&] { mv_mouseUpdateWithPoint(mouse, point); }, [&] { endHover(mouse); });
    }
}

void MVMouseDispatcher::endHover(const MousePointer& mouse) {
    if (mouse != leavingMouse_) {
        mv_dispatchMouseHoverEnded(mouse);
    }
}

std::shared_ptr<MVView> MVMouseDispatcher::viewAt(const MousePointer& mouse) const {
    const std::shared_ptr<MVWindow> window = window_.lock();
    return window ? window->viewForInteraction(mouse) : nullptr;
}

// Internal

MousePointer MVMouseDispatcher::mv_newMouseWithPointButton(Point2 point, std::int32_t button) {
    const MousePointer mouse = MVMouse::initWithEvent(nullptr);
    const Mivora::Ray3 ray = mv_unprojectPoint(point);
    mouse->setPreviousRay(ray);
    mouse->setRay(ray);
    mouse->setButton(button);
    mouse->setView(viewAt(mouse));
    return mouse;
}

Mivora::Ray3 MVMouseDispatcher::mv_unprojectPoint(Point2 point) const {
    return MVInteractionRay::throughPoint(window_.lock().get(), point);
}

void MVMouseDispatcher::mv_mouseUpdateWithPoint(const MousePointer& mouse, Point2 point) const {
    if (mouse) {
        mouse->setPreviousRay(mouse->ray());
        mouse->setRay(mv_unprojectPoint(point));
    }
}

void MVMouseDispatcher::mv_dispatchMouseBegan(const MousePointer& mouse) {
    logPress("began", mouse);
    send(mouse, &MVView::mouseBegan);
}

void MVMouseDispatcher::mv_dispatchMouseMoved(const MousePointer& mouse) {
    send(mouse, &MVView::mouseMoved);
}

void MVMouseDispatcher::mv_dispatchMouseEnded(const MousePointer& mouse) {
    logPress("ended", mouse);
    send(mouse, &MVView::mouseEnded);
}

void MVMouseDispatcher::mv_dispatchMouseHoverBegan(const MousePointer& mouse) {
    log("hover began", mouse);
    send(mouse, &MVView::mouseHoverBegan);
}

void MVMouseDispatcher::mv_dispatchMouseHoverMoved(const MousePointer& mouse) {
    send(mouse, &MVView::mouseHoverMoved);
}

void MVMouseDispatcher::mv_dispatchMouseHoverEnded(const MousePointer& mouse) {
    log("hover ended", mouse);
    send(mouse, &MVView::mouseHoverEnded);
}
