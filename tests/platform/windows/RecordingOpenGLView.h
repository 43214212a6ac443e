#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::tests {

/// A native view that logs its hooks, those of events with the event's place ("mouseDown 10,20"),
/// and then runs what a test put in their place.
class RecordingOpenGLView : public platform::OpenGLView {
 public:
    using Event = platform::Event;
    using EventPointer = std::shared_ptr<const Event>;

    std::vector<std::string> log;
    std::vector<EventPointer> events;
    /// Called after every hook, with its bare name.
    std::function<void(const std::string& hook)> reaction;
    /// What the hooks of keys answer.
    bool hasUseForKeys = false;

    /// The lines since the last call.
    std::vector<std::string> taken() { return std::exchange(log, {}); }

    /// Asks for all events of pointers that hold no button.
    void track(const platform::Rect& rect) {
        using platform::TrackingArea;
        addTrackingArea(std::make_shared<const TrackingArea>(
            TrackingArea{rect, TrackingArea::MouseEnteredAndExited | TrackingArea::MouseMoved |
                                   TrackingArea::ActiveAlways}));
    }

 protected:
    void viewDidMoveToWindow() override { record("viewDidMoveToWindow"); }
    void reshape() override { record("reshape"); }
    void renewGState() override { record("renewGState"); }
    void updateTrackingAreas() override { record("updateTrackingAreas"); }
    void viewDidChangeBackingProperties() override { record("viewDidChangeBackingProperties"); }
    void mouseDown(const EventPointer& event) override { record("mouseDown", event); }
    void mouseDragged(const EventPointer& event) override { record("mouseDragged", event); }
    void mouseUp(const EventPointer& event) override { record("mouseUp", event); }
    void rightMouseDown(const EventPointer& event) override { record("rightMouseDown", event); }
    void rightMouseDragged(const EventPointer& event) override {
        record("rightMouseDragged", event);
    }
    void rightMouseUp(const EventPointer& event) override { record("rightMouseUp", event); }
    void middleMouseDown(const EventPointer& event) override { record("middleMouseDown", event); }
    void middleMouseDragged(const EventPointer& event) override {
        record("middleMouseDragged", event);
    }
    void middleMouseUp(const EventPointer& event) override { record("middleMouseUp", event); }
    void mouseEntered(const EventPointer& event) override { record("mouseEntered", event); }
    void mouseMoved(const EventPointer& event) override { record("mouseMoved", event); }
    void mouseExited(const EventPointer& event) override { record("mouseExited", event); }
    void scrollWheel(const EventPointer& event) override { record("scrollWheel", event); }
    void touchesBegan(const EventPointer& event) override { record("touchesBegan", event); }
    void touchesMoved(const EventPointer& event) override { record("touchesMoved", event); }
    void touchesEnded(const EventPointer& event) override { record("touchesEnded", event); }
    void touchesCancelled(const EventPointer& event) override { record("touchesCancelled", event); }
    bool keyDown(const EventPointer& event) override {
        record("keyDown", event);
        return hasUseForKeys;
    }
    bool keyUp(const EventPointer& event) override {
        record("keyUp", event);
        return hasUseForKeys;
    }

 private:
    void record(const std::string& hook, const EventPointer& event = nullptr) {
        std::string line = hook;
        if (event) {
            line += ' ' + std::to_string(static_cast<int>(event->locationInWindow.x)) + ',' +
                    std::to_string(static_cast<int>(event->locationInWindow.y));
            events.push_back(event);
        }
        log.push_back(line);
        // A copy, so that the reaction may take itself away.
        if (const auto current = reaction) {
            current(hook);
        }
    }
};

}  // namespace Mivora::tests
