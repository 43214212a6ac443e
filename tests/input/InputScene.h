#pragma once

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/views/RecordingView.h"

/// A window of 400 x 300 points. Places on the screen are given in its content space, y down.
struct InputScene {
    using Point = Mivora::Point2;
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;

    std::shared_ptr<MVWindow> window = makeWindow();

    static std::shared_ptr<MVWindow> makeWindow(float scale = 1.0F) {
        auto window = MVWindow::init();
        window->setContentScaleFactor(scale);
        window->setSize({400.0F, 300.0F});
        return window;
    }

    /// What the host says for a place in the window's plane.
    static Point at(float x, float y) { return {x, 300.0F - y}; }

    /// What the host says for a place in a view's plane z = 0.
    Point placeOf(const std::shared_ptr<MVView>& view, float x, float y) const {
        const float scale = window->contentScaleFactor();
        const Mivora::Viewport viewport = {0, 0, static_cast<std::int32_t>(400.0F * scale),
                                           static_cast<std::int32_t>(300.0F * scale)};
        // First, for it places the camera, which counts in the view's transform.
        const glm::mat4 projection = window->projectionMatrix();
        const Mivora::Point3 pixel =
            MVMathProject({x, y, 0.0F}, view->transformMatrix(), projection, viewport);
        return {pixel.x / scale, pixel.y / scale};
    }

    /// The ray through a place.
    Mivora::Ray3 rayThrough(Point place) const {
        const float scale = window->contentScaleFactor();
        return window->mv_unprojectScreenPointViewport(
            place, {0, 0, static_cast<std::int32_t>(400.0F * scale),
                    static_cast<std::int32_t>(300.0F * scale)});
    }

    std::shared_ptr<MVMouse> mouseAt(Point place, std::int32_t button = MVMouseButtonLeft) const {
        auto mouse = MVMouse::init();
        mouse->setRay(rayThrough(place));
        mouse->setButton(button);
        return mouse;
    }

    static EventPointer eventAt(Point place, std::int32_t clickCount = 0) {
        Mivora::platform::Event event;
        event.locationInWindow = {static_cast<double>(place.x), static_cast<double>(place.y)};
        event.clickCount = clickCount;
        return std::make_shared<const Mivora::platform::Event>(event);
    }
};

/// A view that logs its hooks of input and then runs what a test put in their place:
///
///     "card.mouseBegan 10,20"        where the pointer is in the view
///     "card.scrollMoved 10,20 by 0,-24"
///     "card.touchesBegan 1"          how many touches
class InputView : public MVView {
 public:
    static std::shared_ptr<InputView> make(std::string name, CallLog* log) {
        return MVMake<InputView>(std::move(name), log);
    }

    /// Called after every hook, with its bare name.
    std::function<void(const std::string& hook)> reaction;

    std::shared_ptr<MVMouse> lastMouse;
    std::shared_ptr<MVScroll> lastScroll;

    void touchesBegan(const MVTouchSet& touches) override { note("touchesBegan", touches); }
    void touchesMoved(const MVTouchSet& touches) override { note("touchesMoved", touches); }
    void touchesEnded(const MVTouchSet& touches) override { note("touchesEnded", touches); }
    void touchesCancelled(const MVTouchSet& touches) override { note("touchesCancelled", touches); }

    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override { note("mouseBegan", mouse); }
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override { note("mouseMoved", mouse); }
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override { note("mouseEnded", mouse); }
    void mouseHoverBegan(const std::shared_ptr<MVMouse>& mouse) override {
        note("mouseHoverBegan", mouse);
    }
    void mouseHoverMoved(const std::shared_ptr<MVMouse>& mouse) override {
        note("mouseHoverMoved", mouse);
    }
    void mouseHoverEnded(const std::shared_ptr<MVMouse>& mouse) override {
        note("mouseHoverEnded", mouse);
    }

    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override {
        note("scrollBegan", scroll);
    }
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override {
        note("scrollMoved", scroll);
    }
    void scrollEnded(const std::shared_ptr<MVScroll>& scroll) override {
        note("scrollEnded", scroll);
    }
    void scrollCancelled(const std::shared_ptr<MVScroll>& scroll) override {
        note("scrollCancelled", scroll);
    }

 protected:
    friend struct MVMaker;
    InputView(std::string name, CallLog* log) : name_(std::move(name)), log_(log) {}

 private:
    static std::string text(Mivora::Point2 point) {
        std::ostringstream out;
        // Adding 0 makes -0 read as 0.
        out << point.x + 0.0F << ',' << point.y + 0.0F;
        return out.str();
    }

    std::string placeOf(const MVInteraction& interaction) {
        const Mivora::Point3 place = interaction.locationInView(shared_from_this());
        return text({place.x, place.y});
    }

    void note(const char* hook, const MVTouchSet& touches) {
        record(hook, std::to_string(touches.size()));
    }
    void note(const char* hook, const std::shared_ptr<MVMouse>& mouse) {
        lastMouse = mouse;
        record(hook, placeOf(*mouse));
    }
    void note(const char* hook, const std::shared_ptr<MVScroll>& scroll) {
        lastScroll = scroll;
        record(hook, placeOf(*scroll) + " by " + text(scroll->translation()));
    }
    void record(const std::string& hook, const std::string& details) {
        if (log_ != nullptr) {
            log_->push_back(name_ + '.' + hook + ' ' + details);
        }
        // A copy, so that the reaction may take itself away.
        if (const auto current = reaction) {
            current(hook);
        }
    }

    std::string name_;
    CallLog* log_;
};

/// A view that logs, placed in another.
inline std::shared_ptr<InputView> addInputView(const std::shared_ptr<MVView>& superview,
                                               const std::string& name, CallLog* log,
                                               Mivora::Point2 position, Mivora::Size2 size) {
    auto view = InputView::make(name, log);
    view->setDebugName(name);
    view->setPosition(position);
    view->setSize(size);
    superview->addSubview(view);
    return view;
}
