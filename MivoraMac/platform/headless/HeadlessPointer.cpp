#include "MivoraMac/platform/headless/HeadlessPointer.h"

#include <utility>

#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

HeadlessPointer::HeadlessPointer(const std::shared_ptr<OpenGLView>& view) : view_(view) {}

void HeadlessPointer::moveTo(double x, double y) {
    location_ = {x, y};
    if (isAnyHeld()) {
        if (left_.held) {
            deliver(Event::Type::MouseDragged);
        }
        if (right_.held) {
            deliver(Event::Type::RightMouseDragged);
        }
        if (middle_.held) {
            deliver(Event::Type::MiddleMouseDragged);
        }
    } else if (inside_ && isOverView()) {
        deliver(Event::Type::MouseMoved);
    } else {
        setInside(isOverView());
    }
}

void HeadlessPointer::leave() {
    setInside(false);
}

void HeadlessPointer::press(std::int32_t clickCount) {
    if (!std::exchange(left_.held, true)) {
        left_.clickCount = clickCount;
        deliver(Event::Type::MouseDown, clickCount);
    }
}

void HeadlessPointer::release() {
    if (std::exchange(left_.held, false)) {
        deliver(Event::Type::MouseUp, left_.clickCount);
        setInside(isAnyHeld() ? inside_ : isOverView());
    }
}

void HeadlessPointer::pressRight(std::int32_t clickCount) {
    if (!std::exchange(right_.held, true)) {
        right_.clickCount = clickCount;
        deliver(Event::Type::RightMouseDown, clickCount);
    }
}

void HeadlessPointer::releaseRight() {
    if (std::exchange(right_.held, false)) {
        deliver(Event::Type::RightMouseUp, right_.clickCount);
        setInside(isAnyHeld() ? inside_ : isOverView());
    }
}

void HeadlessPointer::pressMiddle(std::int32_t clickCount) {
    if (!std::exchange(middle_.held, true)) {
        middle_.clickCount = clickCount;
        deliver(Event::Type::MiddleMouseDown, clickCount);
    }
}

void HeadlessPointer::releaseMiddle() {
    if (std::exchange(middle_.held, false)) {
        deliver(Event::Type::MiddleMouseUp, middle_.clickCount);
        setInside(isAnyHeld() ? inside_ : isOverView());
    }
}

void HeadlessPointer::scrollLines(double deltaX, double deltaY) {
    Event event;
    event.type = Event::Type::ScrollWheel;
    event.scrollingDeltaX = deltaX;
    event.scrollingDeltaY = deltaY;
    deliver(event);
}

void HeadlessPointer::scroll(double deltaX, double deltaY, Event::Phase phase,
                             Event::Phase momentumPhase) {
    Event event;
    event.type = Event::Type::ScrollWheel;
    event.scrollingDeltaX = deltaX;
    event.scrollingDeltaY = deltaY;
    event.hasPreciseScrollingDeltas = true;
    event.phase = phase;
    event.momentumPhase = momentumPhase;
    deliver(event);
}

void HeadlessPointer::deliver(Event event) {
    event.locationInWindow = location_;
    event.modifiers = modifiers_;
    if (const std::shared_ptr<OpenGLView> view = view_.lock()) {
        view->deliver(std::make_shared<const Event>(event));
    }
}

void HeadlessPointer::deliver(Event::Type type, std::int32_t clickCount) {
    Event event;
    event.type = type;
    event.clickCount = clickCount;
    deliver(event);
}

void HeadlessPointer::setInside(bool inside) {
    if (std::exchange(inside_, inside) != inside) {
        deliver(inside ? Event::Type::MouseEntered : Event::Type::MouseExited);
    }
}

bool HeadlessPointer::isAnyHeld() const {
    return left_.held || right_.held || middle_.held;
}

bool HeadlessPointer::isOverView() const {
    const std::shared_ptr<OpenGLView> view = view_.lock();
    return view && view->bounds().contains(location_);
}

}  // namespace Mivora::platform
