// Content, drags and zoom.

#include "MivoraMac/views/MVScrollView.h"

#include <algorithm>
#include <cmath>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVScrollViewDelegate.h"

using Mivora::Point2;
using Mivora::Point2D;
using Mivora::Size2;
using Mivora::Size3;

namespace {

bool isFinite(Point2 point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

float clampCoordinate(float coordinate, float view, float content) {
    const float lower = std::min(view - content, 0.0F);
    return coordinate > 0.0F ? 0.0F : coordinate < lower ? lower : coordinate;
}

}  // namespace

/// Tells the scroll view of its size.
class MVScrollView::ContentView : public MVView {
 public:
    explicit ContentView(MVScrollView* scrollView) : scrollView_(scrollView) {}

    void setSize3(Size3 size) override {
        MVView::setSize3(size);
        if (scrollView_ != nullptr) {
            scrollView_->pullBackIfIdle();
        }
    }

    void leaveScrollView() { scrollView_ = nullptr; }

 private:
    MVScrollView* scrollView_;  // null once it is being destroyed
};

Point2 mv_clampPosition(Point2 position, Size2 viewSize, Size2 contentSize) {
    return {clampCoordinate(position.x, viewSize.width, contentSize.width),
            clampCoordinate(position.y, viewSize.height, contentSize.height)};
}

Point2 mv_unclampPosition(Point2 position, Size2 /*viewSize*/, Size2 /*contentSize*/) {
    return position;
}

float mv_clampScale(float scale, float minimum, float maximum) {
    return std::max(std::min(maximum, scale), minimum);
}

double mv_clamp(double /*x*/, double /*m*/, double /*c*/, double /*d*/) {
    return 0.0;
}

double mv_unclamp(double x, double m, double c, double d) {
    const double distance = std::abs(x - m);
    return distance * d / ((d - distance) * c);
}

std::shared_ptr<MVScrollView> MVScrollView::init() {
    return MVMake<MVScrollView>();
}

MVScrollView::MVScrollView() : contentView_(MVMake<ContentView>(this)) {
    addSubview(contentView_);
}

MVScrollView::~MVScrollView() {
    static_cast<ContentView*>(contentView_.get())->leaveScrollView();
}

// Content

void MVScrollView::setContentOffset(Point2 contentOffset) {
    const Point2 position = alignedToPixels(contentOffset);
    if (!isFinite(position)) {
        return;
    }
    if (dragging_) {
        panPosition_ = panPosition_ + (position - contentView_->position());
    }
    contentView_->setPosition(position);
    offset_ = {static_cast<double>(-position.x), static_cast<double>(-position.y)};
    pullBackIfIdle();
}

Size2 MVScrollView::contentSize() const {
    const Size2 size = contentView_->size();
    const float scale = contentView_->uniformScale();
    return {size.width * scale, size.height * scale};
}

void MVScrollView::setSize3(Size3 size) {
    const bool isChange = !(size == size3());
    MVView::setSize3(size);
    if (isChange) {
        pullBackIfIdle();
    }
}

void MVScrollView::mv_setContentViewPosition(Point2 position) {
    const Point2 aligned = alignedToPixels(position);
    if (aligned == contentView_->position() || !isFinite(aligned)) {
        return;
    }
    contentView_->setPosition(aligned);
    const auto kept = std::static_pointer_cast<MVScrollView>(weak_from_this().lock());
    if (const auto delegate = delegate_.lock(); delegate && kept) {
        delegate->scrollViewDidScroll(kept);
    }
}

Point2 MVScrollView::alignedToPixels(Point2 point) const {
    const float scale = contentScaleFactor();
    if (!(scale > 0.0F)) {
        return point;
    }
    // Adding 0 makes 0 of -0.
    return {std::round(point.x * scale) / scale + 0.0F, std::round(point.y * scale) / scale + 0.0F};
}

bool MVScrollView::isInRange() const {
    const Point2 position = contentView_->position();
    return position == mv_clampPosition(position, size(), contentSize());
}

// Zoom

void MVScrollView::setZoomScale(float zoomScale) {
    const float scale = mv_clampScale(zoomScale, minimumZoomScale_, maximumZoomScale_);
    if (zoomScale == contentView_->uniformScale() || !std::isfinite(scale) ||
        std::isnan(zoomScale)) {
        return;
    }
    const Point2 centre = {size().width * 0.5F, size().height * 0.5F};
    const Point2 contentPoint = convertPoint2FToView(centre, contentView_);
    contentView_->setUniformScale(scale);
    const Point2 delta = convertPoint2FFromView(contentPoint, contentView_) - centre;
    panPosition_ = panPosition_ - delta;
    mv_setContentViewPosition(contentView_->position() - delta);
}

// Drags

void MVScrollView::scrollBegan(const std::shared_ptr<MVScroll>& scroll) {
    const auto kept = std::static_pointer_cast<MVScrollView>(shared_from_this());
    const std::uint32_t movement = ++movement_;
    tracking_ = true;
    velocity_ = Point2D::kZero;
    dragging_ = true;
    decelerating_ = false;
    setAnimating(false);
    if (const auto delegate = delegate_.lock()) {
        delegate->scrollViewWillBeginDragging(kept);
    }
    if (movement_ != movement) {
        return;
    }
    panPosition_ = contentView_->position();
    dragBy(scroll->translation());
}

void MVScrollView::scrollMoved(const std::shared_ptr<MVScroll>& scroll) {
    dragBy(scroll->translation());
}

void MVScrollView::dragBy(Point2 translation) {
    if (const Point2 moved = panPosition_ + translation; isFinite(moved)) {
        panPosition_ = moved;
    }
    mv_setContentViewPosition(mv_clampPosition(panPosition_, size(), contentSize()));
}

void MVScrollView::scrollEnded(const std::shared_ptr<MVScroll>& /*scroll*/) {
    tracking_ = false;
}

void MVScrollView::scrollCancelled(const std::shared_ptr<MVScroll>& /*scroll*/) {
    tracking_ = false;
}

void MVScrollView::mv_windowDidChange() {
    // Another window may be that of another application, with a clock of its own.
    if (!animating_) {
        animationClock_.reset();
    }
}
