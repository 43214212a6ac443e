#include "MivoraMac/platform/headless/HeadlessPointer.h"

#include <utility>

#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

HeadlessPointer::HeadlessPointer(const std::shared_ptr<OpenGLView>& view)
    : state_(std::make_shared<State>()) {
    state_->view = view;
}

void HeadlessPointer::moveTo(double x, double y) {
    const std::shared_ptr<State> state = state_;
    state->location = {x, y};
    if (state->isAnyHeld()) {
        if (state->left.held) {
            state->deliver(Event::Type::MouseDragged);
        }
        if (state->right.held) {
            state->deliver(Event::Type::RightMouseDragged);
        }
        if (state->middle.held) {
            state->deliver(Event::Type::MiddleMouseDragged);
        }
    } else if (state->inside && state->isOverView()) {
        state->deliver(Event::Type::MouseMoved);
    } else {
        state->setInside(state->isOverView());
    }
}

void HeadlessPointer::leave() {
    const std::shared_ptr<State> state = state_;
    state->setInside(false);
}

void HeadlessPointer::press(std::int32_t clickCount) {
    const std::shared_ptr<State> state = state_;
    if (!std::exchange(state->left.held, true)) {
        state->left.clickCount = clickCount;
        state->deliver(Event::Type::MouseDown, clickCount);
    }
}

void HeadlessPointer::release() {
    const std::shared_ptr<State> state = state_;
    if (std::exchange(state->left.held, false)) {
        state->deliver(Event::Type::MouseUp, state->left.clickCount);
        state->setInside(state->isAnyHeld() ? state->inside : state->isOverView());
    }
}

void HeadlessPointer::pressRight(std::int32_t clickCount) {
    const std::shared_ptr<State> state = state_;
    if (!std::exchange(state->right.held, true)) {
        state->right.clickCount = clickCount;
        state->deliver(Event::Type::RightMouseDown, clickCount);
    }
}

void HeadlessPointer::releaseRight() {
    const std::shared_ptr<State> state = state_;
    if (std::exchange(state->right.held, false)) {
        state->deliver(Event::Type::RightMouseUp, state->right.clickCount);
        state->setInside(state->isAnyHeld() ? state->inside : state->isOverView());
    }
}

void HeadlessPointer::pressMiddle(std::int32_t clickCount) {
    const std::shared_ptr<State> state = state_;
    if (!std::exchange(state->middle.held, true)) {
        state->middle.clickCount = clickCount;
        state->deliver(Event::Type::MiddleMouseDown, clickCount);
    }
}

void HeadlessPointer::releaseMiddle() {
    const std::shared_ptr<State> state = state_;
    if (std::exchange(state->middle.held, false)) {
        state->deliver(Event::Type::MiddleMouseUp, state->middle.clickCount);
        state->setInside(state->isAnyHeld() ? state->inside : state->isOverView());
    }
}

void HeadlessPointer::scrollLines(double deltaX, double deltaY) {
    const std::shared_ptr<State> state = state_;
    Event event;
    event.type = Event::Type::ScrollWheel;
    event.scrollingDeltaX = deltaX;
    event.scrollingDeltaY = deltaY;
    state->deliver(event);
}

void HeadlessPointer::scroll(double deltaX, double deltaY, Event::Phase phase,
                             Event::Phase momentumPhase) {
    const std::shared_ptr<State> state = state_;
    Event event;
    event.type = Event::Type::ScrollWheel;
    event.scrollingDeltaX = deltaX;
    event.scrollingDeltaY = deltaY;
    event.hasPreciseScrollingDeltas = true;
    event.phase = phase;
    event.momentumPhase = momentumPhase;
    state->deliver(event);
}

void HeadlessPointer::beginPinch() {
    const std::shared_ptr<State> state = state_;
    state->deliver(state->pinch.begin(state->location));
}

void HeadlessPointer::pinch(double scale, double turn, double deltaX, double deltaY) {
    const std::shared_ptr<State> state = state_;
    state->deliver(state->pinch.update(scale, turn, {deltaX, deltaY}));
}

void HeadlessPointer::endPinch() {
    const std::shared_ptr<State> state = state_;
    state->deliver(state->pinch.end());
}

void HeadlessPointer::cancelPinch() {
    const std::shared_ptr<State> state = state_;
    state->deliver(state->pinch.cancel());
}

void HeadlessPointer::State::deliver(const PinchTracker::Events& events) const {
    for (const Event& event : events) {
        deliver(event);
    }
}

void HeadlessPointer::State::deliver(Event event) const {
    if (event.touches.empty()) {
        event.locationInWindow = location;
    }
    event.modifiers = modifiers;
    if (const std::shared_ptr<OpenGLView> target = view.lock()) {
        target->deliver(std::make_shared<const Event>(event));
    }
}

void HeadlessPointer::State::deliver(Event::Type type, std::int32_t clickCount) const {
    Event event;
    event.type = type;
    event.clickCount = clickCount;
    deliver(event);
}

void HeadlessPointer::State::setInside(bool nowInside) {
    if (std::exchange(inside, nowInside) != nowInside) {
        deliver(nowInside ? Event::Type::MouseEntered : Event::Type::MouseExited);
    }
}

bool HeadlessPointer::State::isAnyHeld() const {
    return left.held || right.held || middle.held;
}

bool HeadlessPointer::State::isOverView() const {
    const std::shared_ptr<OpenGLView> target = view.lock();
    return target && target->bounds().contains(location);
}

}  // namespace Mivora::platform
