#include "MivoraMac/views/MVWindow.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindowFocusPrivate.h"

using Mivora::platform::MainThread;

namespace {

/// How close the near plane may come to the eye, which it must not reach.
constexpr float kLeastNear = 0.001F;

/// A perspective projection whose negated second row turns y over: world y grows downward.
glm::mat4 perspective(float fieldOfView, float aspect, float near, float far) {
    const float cotangent = 1.0F / std::tan(fieldOfView * 0.5F);
    glm::mat4 result(0.0F);
    result[0][0] = cotangent / aspect;
    result[1][1] = -cotangent;
    result[2][2] = (far + near) / (near - far);
    result[2][3] = -1.0F;
    result[3][2] = 2.0F * far * near / (near - far);
    return result;
}

}  // namespace

MVWindowOwner::~MVWindowOwner() = default;

std::shared_ptr<MVBridgeViewHost> MVWindowOwner::mv_bridgeViewHost() {
    return nullptr;
}

std::shared_ptr<MVWindow> MVWindow::init() {
    return MVMake<MVWindow>();
}

std::shared_ptr<MVWindow> MVWindow::mv_initWithOwner(const std::shared_ptr<MVWindowOwner>& owner) {
    return MVMake<MVWindow>(owner);
}

MVWindow::MVWindow(const std::shared_ptr<MVWindowOwner>& owner) {
    window_ = backPointer();
    setAnchorPoint({0.5F, 0.5F});
    // Last: what construction asks for is not the owner's concern.
    owner_ = owner;
}

MVWindow::~MVWindow() = default;

void MVWindow::setSize3(Mivora::Size3 size) {
    const bool changes = this->size() != Mivora::Size2{size.width, size.height};
    const std::shared_ptr<MVView> kept = changes ? weak_from_this().lock() : nullptr;
    if (changes) {
        willChangeValueForKey("size");
    }
    MVView::setSize3(size);
    mv_setProjectionMatrixDirty();
    fitContentView();
    if (changes) {
        didChangeValueForKey("size");
    }
}

std::shared_ptr<MVView> MVWindow::contentView() const {
    std::shared_ptr<MVView> view = contentView_.lock();
    return view != nullptr && view->superviewPointer() == this ? view : nullptr;
}

void MVWindow::setContentView(std::shared_ptr<MVView> view) {
    const std::shared_ptr<MVView> former = contentView();
    if (former == nullptr && view != nullptr) {
        addSubview(view);
    } else if (view != nullptr && view->superviewPointer() != this) {
        const std::shared_ptr<const MVViewArray> order = subviews();
        insertSubviewAtIndex(view,
                             std::find(order->begin(), order->end(), former) - order->begin());
    }
    if (former != nullptr && former != view) {
        former->removeFromSuperview();
    }
    contentView_ = std::move(view);
    fitContentView();
}

void MVWindow::fitContentView() {
    if (const std::shared_ptr<MVView> view = contentView()) {
        view->setSize(size());
    }
}

void MVWindow::setFieldOfView(float fieldOfView) {
    if (fieldOfView_ == fieldOfView) {
        return;
    }
    fieldOfView_ = fieldOfView;
    mv_setProjectionMatrixDirty();
}

void MVWindow::setNearDistance(float nearDistance) {
    if (nearDistance_ == nearDistance) {
        return;
    }
    nearDistance_ = nearDistance;
    mv_setProjectionMatrixDirty();
}

void MVWindow::setFarDistance(float farDistance) {
    if (farDistance_ == farDistance) {
        return;
    }
    farDistance_ = farDistance;
    mv_setProjectionMatrixDirty();
}

glm::mat4 MVWindow::projectionMatrix() {
    mv_buildProjectionMatrix();
    return projectionMatrix_;
}

std::shared_ptr<MVWindow> MVWindow::mv_window() const {
    return std::static_pointer_cast<MVWindow>(const_cast<MVWindow*>(this)->weak_from_this().lock());
}

void MVWindow::mv_setSuperview(MVView*) {}

void MVWindow::mv_setProjectionMatrixDirty() {
    projectionMatrixDirty_ = true;
}

void MVWindow::mv_buildProjectionMatrix() {
    if (!projectionMatrixDirty_) {
        return;
    }
    const Mivora::Size2 extent = size();
    if (extent == Mivora::Size2::kZero) {
        projectionMatrixDirty_ = false;
        return;
    }
    const float distance = extent.height * 0.5F / std::tan(fieldOfView_ * 0.5F);
    setPosition3({position().x, position().y, -distance});
    projectionMatrix_ =
        perspective(fieldOfView_, std::abs(extent.width / extent.height),
                    std::max(distance - nearDistance_, kLeastNear), distance + farDistance_);
    projectionMatrixDirty_ = false;
    if (const std::shared_ptr<MVWindowOwner> owner = mv_owner()) {
        glm::dmat4 sublayerTransform(1.0);
        sublayerTransform[2][3] = static_cast<double>(-1.0F / distance);
        owner->mv_windowPerspectiveDidBuild(sublayerTransform);
    }
}

Mivora::Ray3 MVWindow::mv_unprojectScreenPointViewport(Mivora::Point2 screenPoint,
                                                       Mivora::Viewport viewport) {
    const Mivora::Point2 pixel = screenPoint * contentScaleFactor();
    const glm::mat4 projection = projectionMatrix();
    const glm::mat4 identity(1.0F);
    bool nearFound = false;
    bool farFound = false;
    const Mivora::Point3 near =
        MVMathUnproject({pixel.x, pixel.y, 0.0F}, identity, projection, viewport, &nearFound);
    const Mivora::Point3 far =
        MVMathUnproject({pixel.x, pixel.y, 1.0F}, identity, projection, viewport, &farFound);
    if (!nearFound || !farFound) {
        return Mivora::Ray3::kNull;
    }
    // The direction is the far point itself: the eye is the origin of this space.
    const float length = std::sqrt(far.x * far.x + far.y * far.y + far.z * far.z);
    return {near, {far.x / length, far.y / length, far.z / length}};
}

void MVWindow::layoutSubviews() {
    mv_buildProjectionMatrix();
}

void MVWindow::mv_setNeedsLayoutVisit(bool needsLayoutVisit) {
    if (needsLayoutVisit_.exchange(needsLayoutVisit) || !needsLayoutVisit) {
        return;
    }
    if (const std::shared_ptr<MVWindowOwner> owner = mv_owner()) {
        owner->mv_windowDidBecomeLayoutDirty();
    }
}

void MVWindow::mv_setDrawDirty() {
    // Another thread has to make sure that whoever answers the request sees what it did before.
    if ((drawRequests_.load() & 1U) == 0 || !MainThread::isMainThread()) {
        drawRequests_.fetch_or(1);
    }
    if (const std::shared_ptr<MVWindowOwner> owner = mv_owner()) {
        owner->mv_windowDidBecomeDrawDirty();
    }
}

std::uint64_t MVWindow::mv_drawRequests() {
    std::uint64_t requests = drawRequests_.load();
    while (!drawRequests_.compare_exchange_weak(requests, roundedUp(requests))) {
    }
    return roundedUp(requests);
}

void MVWindow::mv_setDrawClean() {
    mv_setDrawCleanAsOf(mv_drawRequests());
}

void MVWindow::mv_setDrawCleanAsOf(std::uint64_t requests) {
    std::uint64_t drawn = drawnRequests_.load(std::memory_order_relaxed);
    while (drawn < requests && !drawnRequests_.compare_exchange_weak(drawn, requests)) {
    }
}

// Focus

std::shared_ptr<MVView> MVWindow::focusedView() const {
    return focus_ != nullptr ? focus_->view() : nullptr;
}

bool MVWindow::setFocusedView(const std::shared_ptr<MVView>& view) {
    MIVORA_ASSERT_MAIN_THREAD("MVWindow::setFocusedView");
    return view == nullptr && focus_ == nullptr ? true : focusToChange().moveTo(view);
}

MVWindowFocus& MVWindow::focusToChange() {
    if (focus_ == nullptr) {
        focus_ = std::make_unique<MVWindowFocus>(*this);
        focus_->setRingVisible(focusRingVisible_);
    }
    return *focus_;
}

void MVWindow::mv_settleFocus() {
    if (focus_ != nullptr) {
        focus_->settle();
    }
}

void MVWindow::mv_endFocus() {
    if (focus_ != nullptr) {
        focus_->tellEnded();
    }
}

void MVWindow::mv_setFocusRingVisible(bool visible) {
    focusRingVisible_ = visible;
    if (focus_ != nullptr) {
        focus_->setRingVisible(visible);
    }
}

void MVWindow::mv_placeFocusRing() {
    if (focus_ != nullptr) {
        focus_->placeRing();
    }
}

void MVWindow::mv_drawFocusRingOver(MVView& view) {
    if (focus_ != nullptr) {
        focus_->drawRing(view);
    }
}

// Elements

bool MVWindow::mv_mayHaveElements() const {
    return MVViewTree::mayHoldElements(*this);
}

void MVWindow::mv_setElementsChanged() {
    elementsChanged_.store(true);
    if (const std::shared_ptr<MVWindowOwner> owner = mv_owner()) {
        owner->mv_windowElementsDidChange();
    }
}
