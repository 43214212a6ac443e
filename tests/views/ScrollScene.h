#pragma once

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVScrollView.h"
#include "MivoraMac/views/MVScrollViewDelegate.h"

/// Logs what a scroll view tells it, with the place of the content, and then runs what a test put
/// there:
///
///     "willBeginDragging 0,0"
///     "didEndDragging 0,-100 willDecelerate"
class RecordingScrollDelegate : public MVScrollViewDelegate {
 public:
    using Pointer = std::shared_ptr<MVScrollView>;

    std::vector<std::string> log;

    /// Called after every call, with its name as in the log.
    std::function<void(const std::string& call, const Pointer& scrollView)> reaction;

    void scrollViewDidScroll(const Pointer& view) override { note("didScroll", view); }
    void scrollViewWillBeginDragging(const Pointer& view) override {
        note("willBeginDragging", view);
    }
    void scrollViewDidEndDraggingWillDecelerate(const Pointer& view, bool will) override {
        note("didEndDragging", view, will ? " willDecelerate" : "");
    }
    void scrollViewWillBeginDecelerating(const Pointer& view) override {
        note("willBeginDecelerating", view);
    }
    void scrollViewDidEndDecelerating(const Pointer& view) override {
        note("didEndDecelerating", view);
    }
    void scrollViewDidZoom(const Pointer& view) override { note("didZoom", view); }
    void scrollViewWillBeginZooming(const Pointer& view) override {
        note("willBeginZooming", view);
    }
    void scrollViewDidEndZoomingScale(const Pointer& view, float) override {
        note("didEndZooming", view);
    }

 private:
    void note(const std::string& call, const Pointer& view, const std::string& more = "") {
        std::ostringstream line;
        const Mivora::Point2 place = view->contentOffset();
        // Adding 0 makes -0 read as 0.
        line << call << ' ' << place.x + 0.0F << ',' << place.y + 0.0F << more;
        log.push_back(line.str());
        // A copy, so that the reaction may take itself away.
        if (const auto current = reaction) {
            current(call, view);
        }
    }
};

/// A scroll view of 200 x 100 points over content of 500 x 1000, at a scale of 1, with a delegate
/// and an active clock.
struct ScrollScene {
    std::shared_ptr<MVAnimationClock> clock = MVAnimationClock::init();
    std::shared_ptr<RecordingScrollDelegate> delegate = std::make_shared<RecordingScrollDelegate>();
    std::shared_ptr<MVScrollView> view = MVScrollView::init();

    explicit ScrollScene(Mivora::Size2 content = {500.0F, 1000.0F}) {
        MVAnimationClock::mv_setActiveClock(clock);
        view->setContentScaleFactor(1.0F);
        view->setSize({200.0F, 100.0F});
        view->contentView()->setSize(content);
        view->setDelegate(delegate);
    }

    static std::shared_ptr<MVScroll> by(float x, float y) {
        auto scroll = MVScroll::init();
        scroll->setTranslation({x, y});
        return scroll;
    }

    void drag(float x, float y) const {
        view->scrollBegan(by(x, y));
        view->scrollEnded(by(0.0F, 0.0F));
    }

    /// One frame's tick.
    void tick() const { clock->tickVideoSync(static_cast<double>(1.0F / 60.0F), 0.0); }

    /// Ticks until the view is not animated any more.
    /// @return how often
    int settle() const {
        int ticks = 0;
        while (view->animating() && ticks < 10000) {
            tick();
            ++ticks;
        }
        return ticks;
    }

    /// What was logged since the last call.
    std::vector<std::string> takeLog() const { return std::exchange(delegate->log, {}); }
};
