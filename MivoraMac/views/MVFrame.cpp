#include <utility>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/Clock.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::AtEnd;
using Mivora::platform::Clock;
using Mivora::platform::DebugLog;

namespace {

/// Whether a drawing visit is under way.
constinit bool drawing = false;

/// Calls one visit and logs how long it took.
void visit(MVWindow& window, const char* name, void (MVView::*operation)()) {
    if (!DebugLog::isEnabled(DebugLog::Category::Frame)) {
        (window.*operation)();
        return;
    }
    const std::uint64_t start = Clock::ticks();
    (window.*operation)();
    DebugLog::log(DebugLog::Category::Frame, "%s %.3f ms", name,
                  Clock::secondsFromTicks(Clock::ticks() - start) * 1e3);
}

}  // namespace

void MVFrame::layOut(MVWindow& window) {
    visit(window, "layout preparation", &MVView::mv_prepareForLayoutVisit);
    visit(window, "layout", &MVView::mv_layoutVisit);
}

void MVFrame::draw(MVWindow& window, const std::function<void()>& begin) {
    visit(window, "draw preparation", &MVView::mv_prepareForDrawVisit);
    begin();
    const bool outer = std::exchange(drawing, true);
    const AtEnd restore([outer] { drawing = outer; });
    visit(window, "draw", &MVView::mv_drawVisit);
}

bool MVFrame::isDrawing() {
    return drawing || MVView::currentDrawingView() != nullptr;
}
