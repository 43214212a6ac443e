#include "MivoraMac/input/MVScrollDispatcher.h"

#include <utility>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVInteractionRayPrivate.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::Point2;
using Mivora::platform::runAll;

namespace {

using ScrollPointer = MVScrollDispatcher::ScrollPointer;

void send(const ScrollPointer& scroll, void (MVView::*hook)(const ScrollPointer&)) {
    if (const std::shared_ptr<MVView> view = scroll ? scroll->view() : nullptr) {
        (view.get()->*hook)(scroll);
    }
}

void takeModifiers(MVScroll& scroll, const MVScrollDispatcher::EventPointer& event) {
    if (event) {
        scroll.setModifiers(event->modifiers);
    }
}

void log(const char* what, const ScrollPointer& scroll) {
    if (scroll) {
        MVEventLog::write(what, *scroll);
    }
}

}  // namespace

std::shared_ptr<MVScrollDispatcher> MVScrollDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVScrollDispatcher>(window);
}

MVScrollDispatcher::MVScrollDispatcher(const std::shared_ptr<MVWindow>& window) : window_(window) {}
MVScrollDispatcher::~MVScrollDispatcher() = default;

void MVScrollDispatcher::systemScrollBeganTranslationWithEvent(Point2 point, Point2 translation,
                                                               const EventPointer& event) {
    const auto kept = shared_from_this();
    const ScrollPointer scroll = mv_newScrollWithPointTranslation(point, translation);
    takeModifiers(*scroll, event);
    scroll_ = scroll;
    mv_dispatchScrollBegan(scroll);
}

void MVScrollDispatcher::systemScrollMovedTranslationWithEvent(Point2 point, Point2 translation,
                                                               const EventPointer& event) {
    if (const ScrollPointer scroll = scroll_) {
        takeModifiers(*scroll, event);
        mv_scrollUpdateWithPointTranslation(scroll, point, translation);
        mv_dispatchScrollMoved(scroll);
    }
}

void MVScrollDispatcher::systemScrollEndedTranslationWithEvent(Point2 point, Point2 translation,
                                                               const EventPointer& event) {
    if (const ScrollPointer scroll = std::exchange(scroll_, nullptr)) {
        takeModifiers(*scroll, event);
        runAll([&] { mv_scrollUpdateWithPointTranslation(scroll, point, translation); },
               [&] { mv_dispatchScrollEnded(scroll); });
    }
}

void MVScrollDispatcher::systemScrollCancelledTranslationWithEvent(Point2 point, Point2 translation,
                                                                   const EventPointer& event) {
    if (const ScrollPointer scroll = std::exchange(scroll_, nullptr)) {
        takeModifiers(*scroll, event);
        runAll([&] { mv_scrollUpdateWithPointTranslation(scroll, point, translation); },
               [&] { mv_dispatchScrollCancelled(scroll); });
    }
}

void MVScrollDispatcher::cancelActiveScrollEventWithEvent(Point2 point,
                                                          const EventPointer& /*event*/) {
    const auto kept = shared_from_this();
    runAll(
        [&] {
            if (!scroll_) {
                systemScrollBeganTranslationWithEvent(point, Point2::kZero, nullptr);
            }
        },
        [&] { systemScrollCancelledTranslationWithEvent(point, Point2::kZero, nullptr); });
}

ScrollPointer MVScrollDispatcher::mv_newScrollWithPointTranslation(Point2 point,
                                                                   Point2 translation) {
    const ScrollPointer scroll = MVScroll::initWithEvent(nullptr);
    scroll->setRay(mv_unprojectPoint(point));
    scroll->setTranslation(translation);
    if (const std::shared_ptr<MVWindow> window = window_.lock()) {
        scroll->setView(window->viewForInteraction(scroll));
    }
    return scroll;
}

Mivora::Ray3 MVScrollDispatcher::mv_unprojectPoint(Point2 point) const {
    return MVInteractionRay::throughPoint(window_.lock().get(), point);
}

void MVScrollDispatcher::mv_scrollUpdateWithPointTranslation(const ScrollPointer& scroll,
                                                             Point2 point,
                                                             Point2 translation) const {
    if (scroll) {
        scroll->setRay(mv_unprojectPoint(point));
        scroll->setTranslation(translation);
    }
}

void MVScrollDispatcher::mv_dispatchScrollBegan(const ScrollPointer& scroll) {
    log("scroll began", scroll);
    send(scroll, &MVView::scrollBegan);
}

void MVScrollDispatcher::mv_dispatchScrollMoved(const ScrollPointer& scroll) {
    send(scroll, &MVView::scrollMoved);
}

void MVScrollDispatcher::mv_dispatchScrollEnded(const ScrollPointer& scroll) {
    log("scroll ended", scroll);
    send(scroll, &MVView::scrollEnded);
}

void MVScrollDispatcher::mv_dispatchScrollCancelled(const ScrollPointer& scroll) {
    log("scroll cancelled", scroll);
    send(scroll, &MVView::scrollCancelled);
}
