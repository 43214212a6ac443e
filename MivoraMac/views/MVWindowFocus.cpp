#include <utility>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/views/MVFocusRingPrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"
#include "MivoraMac/views/MVWindowFocusPrivate.h"

using Mivora::platform::AtEnd;
using Mivora::platform::DebugLog;
using Mivora::platform::RunAll;

namespace {

/// How many moves of the focus may be made from within hooks of each other.
constexpr int kMostDepth = 32;

void log(const MVView* view) {
    if (DebugLog::isEnabled(DebugLog::Category::Events)) {
        DebugLog::log(DebugLog::Category::Events, "focus %s%s", view != nullptr ? "in " : "nowhere",
                      view != nullptr ? MVEventLog::nameOf(*view).c_str() : "");
    }
}

}  // namespace

MVWindowFocus::MVWindowFocus(MVWindow& window) : window_(window) {}

MVWindowFocus::~MVWindowFocus() {
    if (const std::shared_ptr<MVView> view = ringed_.lock()) {
        MVViewTree::setDrawsFocusRing(*view, false);
    }
}

bool MVWindowFocus::canBeAt(const MVView& view) const {
    return view.mv_takesFocus() && MVViewTree::isReachable(view, window_);
}

std::shared_ptr<MVView> MVWindowFocus::view() const {
    if (!hasFocus_) {
        return nullptr;
    }
    std::shared_ptr<MVView> view = given_.lock();
    if (view && canBeAt(*view)) {
        return view;
    }
    for (const std::weak_ptr<MVView>& weak : path_) {
        view = weak.lock();
        if (view && canBeAt(*view)) {
            return view;
        }
    }
    return nullptr;
}

bool MVWindowFocus::moveTo(const std::shared_ptr<MVView>& view) {
    if (view && !canBeAt(*view)) {
        return false;
    }
    if (hasFocus_ == (view != nullptr) && given_.lock() == view) {
        return true;
    }
    if (depth_ >= kMostDepth) {
        DebugLog::log(DebugLog::Category::Events,
                      "focus: hooks that hand it to each other without end are refused");
        return false;
    }
    const std::shared_ptr<MVView> kept = window_.weak_from_this().lock();
    ++depth_;
    const AtEnd done([this] { --depth_; });
    const std::uint64_t move = ++moves_;
    given_ = view;
    hasFocus_ = view != nullptr;
    notePath();
    placeRing();
    log(view.get());
    RunAll all;
    all.run([&] { tellEnded(); });
    // That hook may have moved it, or done something to the view.
    if (view && move == moves_ && canBeAt(*view)) {
        all.run([&] { tellBegan(view); });
    }
    if (move == moves_) {
        all.run([&] { moved(); });
    }
    const bool isThere = this->view() == view;
    all.rethrow();
    return isThere;
}

void MVWindowFocus::settle() {
    if (!hasFocus_) {
        return;
    }
    const std::shared_ptr<MVView> view = this->view();
    if (!view || view != given_.lock()) {
        moveTo(view);
        return;
    }
    notePath();
    tellBegan(view);  // if it could not have the focus when it was given
}

void MVWindowFocus::tellBegan(const std::shared_ptr<MVView>& view) {
    if (told_.lock() == view) {
        return;  // a hook had the focus settled
    }
    std::weak_ptr<MVWindow>& teller = MVViewTree::windowOfFocus(*view);
    RunAll all;
    if (const std::shared_ptr<MVWindow> former = teller.lock()) {
        all.run([&] { former->mv_endFocus(); });  // the view has left that one a moment ago
    }
    if (told_.expired() && given_.lock() == view) {
        told_ = view;
        teller = std::static_pointer_cast<MVWindow>(window_.shared_from_this());
        all.run([&] { view->focusBegan(); });
    }
    all.rethrow();
}

void MVWindowFocus::tellEnded() {
    if (const std::shared_ptr<MVView> told = std::exchange(told_, {}).lock()) {
        MVViewTree::windowOfFocus(*told).reset();
        told->focusEnded();
    }
}

void MVWindowFocus::notePath() {
    path_.clear();
    const std::shared_ptr<MVView> view = given_.lock();
    for (std::shared_ptr<MVView> above = view ? view->superview() : nullptr; above;
         above = above->superview()) {
        path_.push_back(above);
    }
}

void MVWindowFocus::moved() {
    if (const std::shared_ptr<MVWindowOwner> owner = window_.mv_owner()) {
        owner->mv_windowFocusDidChange();
    }
}

// Ring

void MVWindowFocus::setRingVisible(bool visible) {
    if (std::exchange(ringVisible_, visible) != visible) {
        placeRing();
    }
}

void MVWindowFocus::placeRing() {
    std::shared_ptr<MVView> view = hasFocus_ && ringVisible_ ? given_.lock() : nullptr;
    if (view && (!view->showsFocusRing() || view->mv_ownElement().embedded != nullptr)) {
        view = nullptr;
    }
    const std::shared_ptr<MVView> former = ringed_.lock();
    if (former == view) {
        return;
    }
    ringed_ = view;
    for (const std::shared_ptr<MVView>& changed : {former, view}) {
        if (changed) {
            MVViewTree::setDrawsFocusRing(*changed, changed == view);
            changed->mv_setDrawDirty();
        }
    }
    if (!view) {
        ring_ = nullptr;
    }
}

void MVWindowFocus::drawRing(MVView& view) {
    if (ring_ == nullptr) {
        ring_ = std::make_unique<MVFocusRing>();
    }
    ring_->draw(view);
}
