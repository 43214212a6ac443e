#include "MivoraMac/input/MVPanGestureRecognizer.h"

#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/views/MVView.h"

using Mivora::Point2;
using Mivora::Point3;
using Mivora::platform::Clock;

std::shared_ptr<MVPanGestureRecognizer> MVPanGestureRecognizer::init() {
    return MVMake<MVPanGestureRecognizer>();
}

MVPanGestureRecognizer::MVPanGestureRecognizer() : machTimebaseInfo_(Clock::timebase()) {}

Point3 MVPanGestureRecognizer::translationInView(const std::shared_ptr<MVView>& view) const {
    return converted(latest_.translation, view);
}

Point3 MVPanGestureRecognizer::velocityInView(const std::shared_ptr<MVView>& view) const {
    return converted(mv_velocityInView(), view);
}

/// A vector of the recognizer's own view as one of another.
Point3 MVPanGestureRecognizer::converted(Point3 vector, const std::shared_ptr<MVView>& view) const {
    const std::shared_ptr<MVView> own = this->view();
    if (view == own) {
        return vector;
    }
    return view ? view->convertVector3FFromView(vector, own) : Point3::kZero;
}

void MVPanGestureRecognizer::touchesBegan(const MVTouchSet& touches) {
    validate();
    if (followed_.empty()) {
        screenTranslation_ = Point2::kZero;
        latest_.translation = Point3::kZero;
        last_.translation = Point3::kZero;
        startTimestamps();
    }
    followed_.unite(touches);
}

void MVPanGestureRecognizer::touchesMoved(const MVTouchSet& touches) {
    validate();
    accumulate(touches);
    if (mv_canRecognize() && mv_panGestureDidOccur()) {
        setState(MVGestureRecognizerStateBegan);
        latest_.translation = Point3::kZero;
    } else if (mv_isPanning()) {
        setState(MVGestureRecognizerStateChanged);
    }
}

void MVPanGestureRecognizer::touchesEnded(const MVTouchSet& touches) {
    validate();
    accumulate(touches);
    followed_.subtract(touches);
    if ((mv_panGestureDidOccur() || mv_isPanning()) && followed_.empty()) {
        setState(MVGestureRecognizerStateEnded);
    }
}

void MVPanGestureRecognizer::touchesCancelled(const MVTouchSet& touches) {
    validate();
    followed_.subtract(touches);
    if ((mv_panGestureDidOccur() || mv_isPanning()) && followed_.empty()) {
        setState(MVGestureRecognizerStateCancelled);
    }
}

void MVPanGestureRecognizer::reset() {
    followed_.clear();
    screenTranslation_ = Point2::kZero;
    latest_.translation = Point3::kZero;
    last_.translation = Point3::kZero;
    startTimestamps();
}

bool MVPanGestureRecognizer::mv_panGestureDidOccur() const {
    return screenTranslation_.x >= kThreshold || screenTranslation_.x <= -kThreshold ||
           screenTranslation_.y >= kThreshold || screenTranslation_.y <= -kThreshold;
}

bool MVPanGestureRecognizer::mv_isPanning() const {
    return state() == MVGestureRecognizerStateBegan || state() == MVGestureRecognizerStateChanged;
}

Point3 MVPanGestureRecognizer::mv_velocityInView() const {
    const std::uint64_t nanoseconds = (latest_.timestamp - lastLast_.timestamp) *
                                      machTimebaseInfo_.numer / machTimebaseInfo_.denom;
    const double seconds = static_cast<double>(nanoseconds) / 1e9;
    if (seconds == 0.0) {
        return Point3::kZero;
    }
    return (latest_.translation - lastLast_.translation) * static_cast<float>(1.0 / seconds);
}

void MVPanGestureRecognizer::startTimestamps() {
    const std::uint64_t now = Clock::ticks();
    latest_.timestamp = now;
    last_.timestamp = now;
    lastLast_.timestamp = now;
    machTimebaseInfo_ = Clock::timebase();
}

/// Adds what the touches moved, as a mean over all that are followed.
void MVPanGestureRecognizer::accumulate(const MVTouchSet& touches) {
    const auto share = static_cast<float>(1.0 / static_cast<double>(followed_.size()));
    const std::shared_ptr<MVView> own = view();
    Point2 onScreen = Point2::kZero;
    Point3 inView = Point3::kZero;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        onScreen = onScreen + (touch->screenPoint() - touch->previousScreenPoint());
        inView = inView + (touch->locationInView(own) - touch->previousLocationInView(own));
    }
    screenTranslation_ = screenTranslation_ + onScreen * share;
    lastLast_ = last_;
    last_ = latest_;
    latest_ = {latest_.translation + inView * share, Clock::ticks()};
}
