#include "tests/host/QuadrantView.h"

#include <epoxy/gl.h>

#include <cstdio>
#include <string>
#include <utility>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/windows/NativeWindow.h"

namespace Mivora::tests {

namespace {

using platform::Event;

void clear(int x, int y, int width, int height, std::array<float, 3> color) {
    glScissor(x, y, width, height);
    glClearColor(color[0], color[1], color[2], 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

/// The origin of GL is at the bottom left.
void drawQuadrants(int width, int height) {
    const int x = width / 2;
    const int y = height / 2;
    glEnable(GL_SCISSOR_TEST);
    clear(0, 0, width, height, {1, 1, 1});
    clear(1, 1, x - 1, y - 1, {0, 0, 1});
    clear(x, 1, width - 1 - x, y - 1, {1, 1, 0});
    clear(1, y, x - 1, height - 1 - y, {1, 0, 0});
    clear(x, y, width - 1 - x, height - 1 - y, {0, 1, 0});
    glDisable(GL_SCISSOR_TEST);
}

/// The modifier keys that are held, each behind a space.
std::string keys(const Event& event) {
    const platform::Modifiers& held = event.modifiers;
    return std::string(held.shift ? " shift" : "") + (held.control ? " control" : "") +
           (held.alt ? " alt" : "") + (held.super ? " super" : "");
}

void print(const char* name, const Event& event) {
    std::printf("%s %.0f %.0f%s\n", name, event.locationInWindow.x, event.locationInWindow.y,
                keys(event).c_str());
}

void printPress(const char* name, const Event& event) {
    std::printf("%s %d at %.0f %.0f%s\n", name, event.clickCount, event.locationInWindow.x,
                event.locationInWindow.y, keys(event).c_str());
}

const char* name(Event::Phase phase) {
    switch (phase) {
        case Event::PhaseNone:
            return "none";
        case Event::PhaseBegan:
            return "began";
        case Event::PhaseStationary:
            return "stationary";
        case Event::PhaseChanged:
            return "changed";
        case Event::PhaseEnded:
            return "ended";
        case Event::PhaseCancelled:
            return "cancelled";
    }
    return "unknown";
}

}  // namespace

std::shared_ptr<QuadrantView> QuadrantView::create() {
    auto view = MVMake<QuadrantView>();
    view->addTrackingArea(std::make_shared<const platform::TrackingArea>(platform::TrackingArea{
        {0, 0, 1e6, 1e6},
        platform::TrackingArea::MouseEnteredAndExited | platform::TrackingArea::MouseMoved |
            platform::TrackingArea::ActiveAlways}));
    return view;
}

QuadrantView::QuadrantView()
    : context_(MVRenderContext::initWithSharedContext(MVRenderContext::activeContext())) {}

void QuadrantView::drawFrame() {
    context_->dispatchBlock([context = context_] {
        platform::GLContext& gl = *context->mv_context();
        glBindFramebuffer(GL_FRAMEBUFFER, gl.defaultFramebuffer());
        const platform::PixelSize size = gl.drawable().size();
        drawQuadrants(size.width, size.height);
    });
    context_->present();
}

void QuadrantView::doOnce(const std::string& what, std::function<void()> action) {
    awaited_ = what;
    action_ = std::move(action);
}

void QuadrantView::told(const char* what) const {
    if (action_ && awaited_ == what) {
        std::exchange(action_, nullptr)();
    }
}

bool QuadrantView::isOpaque() const {
    told("opaque");
    return true;
}

void QuadrantView::viewDidMoveToWindow() {
    std::printf(window() ? "in window\n" : "out of window\n");
    if (context_->mv_context()) {
        context_->mv_setRenderView(this);
    }
    told(window() ? "in" : "out");
}

void QuadrantView::reshape() {
    const platform::PixelSize pixels = backingSize();
    std::printf("size %.0f %.0f pixels %d %d\n", bounds().width, bounds().height, pixels.width,
                pixels.height);
    if (openGLContext()) {
        drawFrame();
    }
    told("size");
}

void QuadrantView::viewDidChangeBackingProperties() {
    std::printf("scale %.2f\n", backingScaleFactor());
    told("scale");
}

void QuadrantView::mouseDown(const std::shared_ptr<const Event>& event) {
    printPress("down", *event);
    told("down");
}

void QuadrantView::mouseDragged(const std::shared_ptr<const Event>& event) {
    print("dragged", *event);
}

void QuadrantView::mouseUp(const std::shared_ptr<const Event>& event) {
    printPress("up", *event);
    told("up");
}

void QuadrantView::rightMouseDown(const std::shared_ptr<const Event>& event) {
    printPress("right down", *event);
}

void QuadrantView::rightMouseDragged(const std::shared_ptr<const Event>& event) {
    print("right dragged", *event);
}

void QuadrantView::rightMouseUp(const std::shared_ptr<const Event>& event) {
    printPress("right up", *event);
}

void QuadrantView::middleMouseDown(const std::shared_ptr<const Event>& event) {
    printPress("middle down", *event);
}

void QuadrantView::middleMouseDragged(const std::shared_ptr<const Event>& event) {
    print("middle dragged", *event);
}

void QuadrantView::middleMouseUp(const std::shared_ptr<const Event>& event) {
    printPress("middle up", *event);
}

void QuadrantView::mouseEntered(const std::shared_ptr<const Event>& event) {
    print("entered", *event);
    told("entered");
}

void QuadrantView::mouseMoved(const std::shared_ptr<const Event>& event) {
    print("moved", *event);
    told("moved");
}

void QuadrantView::mouseExited(const std::shared_ptr<const Event>& event) {
    print("exited", *event);
    told("exited");
}

void QuadrantView::scrollWheel(const std::shared_ptr<const Event>& event) {
    std::printf("scroll %.2f %.2f %s phase %s momentum %s%s\n", event->scrollingDeltaX,
                event->scrollingDeltaY, event->hasPreciseScrollingDeltas ? "points" : "lines",
                name(event->phase), name(event->momentumPhase), keys(*event).c_str());
}

}  // namespace Mivora::tests
