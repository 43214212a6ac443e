#include "MivoraMac/platform/headless/HeadlessFingers.h"

#include <algorithm>
#include <utility>

#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

HeadlessFingers::HeadlessFingers(const std::shared_ptr<OpenGLView>& view) : view_(view) {}

void HeadlessFingers::land(const std::vector<Finger>& fingers) {
    std::vector<Finger> landed;
    for (const Finger& finger : fingers) {
        if (find(finger.number) == down_.end()) {
            down_.push_back(finger);
            landed.push_back(finger);
        }
    }
    deliver(Event::Type::TouchesBegan, landed);
}

void HeadlessFingers::move(const std::vector<Finger>& fingers) {
    std::vector<Finger> moved;
    for (const Finger& finger : fingers) {
        const auto known = find(finger.number);
        if (known != down_.end()) {
            known->place = finger.place;
            moved.push_back(finger);
        }
    }
    deliver(Event::Type::TouchesMoved, moved);
}

void HeadlessFingers::lift(const std::vector<std::uint64_t>& numbers) {
    std::vector<Finger> lifted;
    for (const std::uint64_t number : numbers) {
        const auto known = find(number);
        if (known != down_.end()) {
            lifted.push_back(*known);
            down_.erase(known);
        }
    }
    deliver(Event::Type::TouchesEnded, lifted);
}

void HeadlessFingers::cancel() {
    deliver(Event::Type::TouchesCancelled, std::exchange(down_, {}));
}

std::vector<HeadlessFingers::Finger>::iterator HeadlessFingers::find(std::uint64_t number) {
    return std::find_if(down_.begin(), down_.end(),
                        [number](const Finger& finger) { return finger.number == number; });
}

void HeadlessFingers::deliver(Event::Type type, const std::vector<Finger>& fingers) const {
    const std::shared_ptr<OpenGLView> view = view_.lock();
    if (fingers.empty() || !view) {
        return;
    }
    auto event = std::make_shared<Event>();
    event->type = type;
    event->locationInWindow = fingers.front().place;
    for (const Finger& finger : fingers) {
        event->touches.push_back({finger.number, finger.place});
    }
    view->deliver(event);
}

}  // namespace Mivora::platform
