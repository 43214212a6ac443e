#include "MivoraMac/views/MVBridgeView.h"

#include <cmath>
#include <glm/mat4x4.hpp>
#include <glm/vec4.hpp>
#include <utility>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/View.h"
#include "MivoraMac/views/MVBridgeViewHost.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::MainThread;
using Mivora::platform::Rect;
using Mivora::platform::View;

std::shared_ptr<MVBridgeView> MVBridgeView::init() {
    return MVMake<MVBridgeView>();
}

std::shared_ptr<MVBridgeView> MVBridgeView::initWithBridgeView(std::shared_ptr<View> bridgeView) {
    return MVMake<MVBridgeView>(std::move(bridgeView));
}

MVBridgeView::MVBridgeView(std::shared_ptr<View> bridgeView) : bridgeView_(std::move(bridgeView)) {
    if (bridgeView_) {
        mv_elementDidChange();
    }
}

MVBridgeView::~MVBridgeView() {
    if (bridgeView_ && !MainThread::isMainThread()) {
        MainThread::perform([native = std::move(bridgeView_)]() mutable { native.reset(); });
    }
}

void MVBridgeView::setBridgeView(std::shared_ptr<View> bridgeView) {
    if (bridgeView_ == bridgeView) {
        return;
    }
    mv_detatchBridgeView();
    bridgeView_ = std::move(bridgeView);
    mv_attachBridgeView();
    mv_positionBridgeView();
    mv_sizeBridgeView();
    mv_updateBridgeViewVisibility();
    mv_elementDidChange();
}

void MVBridgeView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    mv_sizeBridgeView();
}

void MVBridgeView::draw() {}

std::shared_ptr<MVBridgeViewHost> MVBridgeView::host() const {
    const std::shared_ptr<MVWindow> window = mv_window();
    const std::shared_ptr<MVWindowOwner> owner = window ? window->mv_owner() : nullptr;
    return owner ? owner->mv_bridgeViewHost() : nullptr;
}

void MVBridgeView::mv_attachBridgeView() {
    if (const auto host = this->host()) {
        host->addBridgeView(std::static_pointer_cast<MVBridgeView>(shared_from_this()));
    }
}

void MVBridgeView::mv_detatchBridgeView() {
    if (const auto host = this->host()) {
        host->removeBridgeView(std::static_pointer_cast<MVBridgeView>(shared_from_this()));
    }
}

bool MVBridgeView::leaveToMainThread(void (MVBridgeView::*operation)()) {
    if (MainThread::isMainThread()) {
        return false;
    }
    // Whoever is being made or destroyed has nothing to bring up to date yet, or any more.
    if (auto self = std::static_pointer_cast<MVBridgeView>(weak_from_this().lock())) {
        MainThread::perform([self = std::move(self), operation] { (self.get()->*operation)(); });
    }
    return true;
}

void MVBridgeView::mv_positionBridgeView() {
    if (leaveToMainThread(&MVBridgeView::mv_positionBridgeView)) {
        return;
    }
    const std::shared_ptr<MVWindow> window = mv_window();
    const std::shared_ptr<MVBridgeViewHost> host = this->host();
    if (!window || !host) {
        return;
    }
    const glm::mat4 toWindow = window->inverseTransformMatrix() * transformMatrix();
    const glm::dvec4 origin(toWindow * glm::vec4(0.0F, 0.0F, 0.0F, 1.0F));
    const glm::dvec4 corner(toWindow * glm::vec4(size().width, size().height, 0.0F, 1.0F));
    // Two corners are meant to do: the native view stays upright however this one is turned.
    const double hostHeight = host->mv_bridgeViewHostHeight();
    const double height = std::abs(corner.y - origin.y);
    if (const std::shared_ptr<View> native = bridgeView_) {
        native->setFrame(
            {origin.x, hostHeight - origin.y - height, std::abs(corner.x - origin.x), height});
    }
}

void MVBridgeView::mv_sizeBridgeView() {
    if (leaveToMainThread(&MVBridgeView::mv_sizeBridgeView)) {
        return;
    }
    if (const std::shared_ptr<View> native = bridgeView_) {
        const Rect frame = native->frame();
        const Mivora::Size3 size = size3();
        native->setFrame(
            {frame.x, frame.y, static_cast<double>(size.width), static_cast<double>(size.height)});
    }
}

void MVBridgeView::mv_updateBridgeViewVisibility() {
    if (leaveToMainThread(&MVBridgeView::mv_updateBridgeViewVisibility)) {
        return;
    }
    const bool isHidden = isEffectivelyHidden();
    if (const std::shared_ptr<View> native = bridgeView_) {
        native->setHidden(isHidden);
    }
}

void MVBridgeView::mv_updateBridgeView() {
    // Reading them rebuilds what is marked, and the hooks below follow.
    transformMatrix();
    isEffectivelyHidden();
}

void MVBridgeView::mv_transformMatrixDidBuild() {
    MVView::mv_transformMatrixDidBuild();
    mv_positionBridgeView();
}

void MVBridgeView::mv_windowWillChange() {
    mv_detatchBridgeView();
}

void MVBridgeView::mv_windowDidChange() {
    mv_attachBridgeView();
}

void MVBridgeView::mv_effectivelyHiddenDidBuild() {
    mv_updateBridgeViewVisibility();
}

MVOwnElement MVBridgeView::mv_ownElement() const {
    return {bridgeView_ != nullptr, Mivora::platform::Role::Group, {}, bridgeView_};
}
