#include "MivoraMac/views/MVView.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/platform/windows/Screen.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

namespace {

/// Drops a reference to what may be the top of a tree. What that destroys passes its own references
/// here, too, and they are dropped after it one by one, so that the stack does not grow with the
/// depth of the tree.
void releaseWithoutRecursion(std::shared_ptr<const void> reference) {
    using References = std::vector<std::shared_ptr<const void>>;
    // A plain pointer, which outlives every static object that holds views.
    thread_local References* pending = nullptr;
    if (pending != nullptr) {
        pending->push_back(std::move(reference));
        return;
    }
    References references;
    pending = &references;
    reference.reset();
    while (!references.empty()) {
        const std::shared_ptr<const void> next = std::move(references.back());
        references.pop_back();
    }
    pending = nullptr;
}

/// The content scale factor of new views; negative until the first one has asked the screen.
float defaultContentScaleFactor = -1.0F;

float contentScaleFactorOfNewView() {
    if (defaultContentScaleFactor < 0.0F) {
        defaultContentScaleFactor =
            static_cast<float>(Mivora::platform::Screen::mainScreen()->backingScaleFactor());
    }
    return defaultContentScaleFactor;
}

auto isView(const MVView* view) {
    return [view](const std::shared_ptr<MVView>& other) { return other.get() == view; };
}

[[noreturn]] void refuse(const char* operation, const char* reason) {
    throw MVException(MVException::kInvalidArgument, std::string(operation) + ": " + reason);
}

}  // namespace

std::shared_ptr<MVView> MVView::init() {
    return MVMake<MVView>();
}

MVView::MVView() : contentScaleFactor_(contentScaleFactorOfNewView()) {}

MVView::~MVView() {
    backPointer_.forgetView();
    forgetCurrentDrawing();
    if (rare_ != nullptr && rare_->stencilView != nullptr) {
        std::erase(rare_->stencilView->rareStateToChange().masked, this);
        releaseWithoutRecursion(std::move(rare_->stencilView));
    }
    if (subviews_ != nullptr) {
        releaseWithoutRecursion(std::move(subviews_));
    }
}

const MVView::RareState& MVView::rareState() const {
    static const RareState& none = *new RareState;  // read by views that outlive statics
    return rare_ != nullptr ? *rare_ : none;
}

MVView::RareState& MVView::rareStateToChange() {
    if (rare_ == nullptr) {
        rare_ = std::make_unique<RareState>();
    }
    return *rare_;
}

// Tree

std::shared_ptr<MVView> MVView::superview() const {
    MVView* const superview = superviewPointer();
    return superview != nullptr ? superview->weak_from_this().lock() : nullptr;
}

std::shared_ptr<const MVViewArray> MVView::subviews() const {
    if (const std::shared_ptr<MVViewArray>& array = subviewArray()) {
        return array;
    }
    static const MVViewArray empty;
    return {std::shared_ptr<void>(), &empty};
}

void MVView::addSubview(std::shared_ptr<MVView> view) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::addSubview");
    checkCanBecomeSubview(view.get(), "addSubview");
    if (view->superviewPointer() == this) {
        return;
    }
    // Held, the list is replaced by every change, which is how one made by a hook is noticed.
    std::shared_ptr<MVViewArray> before = subviewArray();
    view->mv_setSuperview(this);
    if (view->superviewPointer() != this || (subviewArray() != before && hasSubview(view.get()))) {
        return;
    }
    before.reset();
    subviewsToChange().push_back(std::move(view));
    mv_setDrawDirty();
}

void MVView::insertSubviewAtIndex(std::shared_ptr<MVView> view, std::int64_t index) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::insertSubviewAtIndex");
    checkCanBecomeSubview(view.get(), "insertSubviewAtIndex");
    const auto others =
        static_cast<std::int64_t>(subviews()->size()) - (hasSubview(view.get()) ? 1 : 0);
    if (index < 0 || index > others) {
        throw MVException(MVException::kRange, "insertSubviewAtIndex: index " +
                                                   std::to_string(index) + " is not in 0 to " +
                                                   std::to_string(others));
    }
    view->mv_setSuperview(this);
    if (view->superviewPointer() != this) {
        return;
    }
    if (view->layoutVisitWanted_) {
        wantLayoutVisit();  // no visit came to a former stencil view that was only placed here
    }
    MVViewArray& array = subviewsToChange();
    std::erase(array, view);
    // A hook may have removed some of those that the index was checked against.
    const auto place = std::min(index, static_cast<std::int64_t>(array.size()));
    array.insert(array.begin() + place, std::move(view));
    mv_setDrawDirty();
}

void MVView::removeFromSuperview() {
    if (MVView* const superview = superviewPointer();
        superview != nullptr && superview->rareState().stencilView.get() == this) {
        const std::shared_ptr<MVView> self = shared_from_this();
        superview->setStencilView(nullptr);
        mv_setSuperview(nullptr);
        return;
    }
    mv_setSuperview(nullptr);
}

void MVView::removeAllSubviews() {
    // A copy of the list, since one that is held would be replaced by every change.
    const MVViewArray snapshot = *subviews();
    for (const std::shared_ptr<MVView>& view : snapshot) {
        view->removeFromSuperview();
    }
}

void MVView::mv_setSuperview(MVView* superview) {
    MIVORA_ASSERT_MAIN_THREAD("MVView::mv_setSuperview");
    MVView* const previous = superviewPointer();
    if (previous == superview) {
        return;
    }
    const std::shared_ptr<MVView> self = weak_from_this().lock();
    if (previous != nullptr) {
        previous->mv_removeSubviewFromHierarchy(this);
    }
    superview_ = superview != nullptr ? superview->backPointer() : MVViewBackPointer();
    if (superview != nullptr && layoutVisitWanted_) {
        superview->wantLayoutVisit();
    }
    if (superview != nullptr && mayHoldElements_) {
        superview->noteElement();
    }

    giveWindowOfSuperview();
    if (superviewPointer() != superview) {
        return;
    }
    mv_setTransformMatrixDirty();
    mv_setEffectivelyHiddenDirty();
    mv_setEffectiveOpacityDirty();
    inheritContentScaleFactor(superview);
}

void MVView::mv_removeSubviewFromHierarchy(const MVView* view) {
    if (subviews_.use_count() == 1 && (*subviews_)[removedFromFront_].get() == view) {
        // Its place stays, since moving all the others would make removing one by one quadratic.
        (*subviews_)[removedFromFront_] = nullptr;
        ++removedFromFront_;
    } else if (hasSubview(view)) {
        MVViewArray& array = subviewsToChange();
        array.erase(std::find_if(array.begin(), array.end(), isView(view)));
    }
    if (subviews_ != nullptr && removedFromFront_ == subviews_->size()) {
        subviews_ = nullptr;
        removedFromFront_ = 0;
    }
    mv_setDrawDirty();
}

const MVViewBackPointer& MVView::backPointer() {
    if (!backPointer_) {
        backPointer_ = MVViewBackPointer(*this);
    }
    return backPointer_;
}

void MVView::checkCanBecomeSubview(const MVView* view, const char* operation) const {
    if (view == nullptr) {
        refuse(operation, "the view is null");
    }
    if (view->windowPointer() == view) {
        refuse(operation, "a window cannot be a subview");
    }
    if (view == this) {
        refuse(operation, "a view cannot be its own subview");
    }
    if (isInside(view)) {
        refuse(operation, "a view cannot be placed in, or mask, a view inside it");
    }
}

/// Whether this view is below another one, going by subviews and stencil views.
bool MVView::isInside(const MVView* view) const {
    // Only a view that something was ever placed in can be above this one: building a deep tree
    // from the top does not walk up for every leaf.
    if (!view->backPointer_ && view->rareState().stencilView == nullptr) {
        return false;
    }
    std::vector<const MVView*> others;  // further ways up
    std::unordered_set<const MVView*> masking;
    const MVView* above = this;
    for (;;) {
        for (; above != nullptr && above != view; above = above->superviewPointer()) {
            const std::vector<MVView*>& masked = above->rareState().masked;
            if (masked.empty()) {
                continue;
            }
            if (!masking.insert(above).second) {
                above = nullptr;
                break;
            }
            others.insert(others.end(), masked.begin(), masked.end());
        }
        if (above != nullptr || others.empty()) {
            return above != nullptr;
        }
        above = others.back();
        others.pop_back();
    }
}

bool MVView::hasSubview(const MVView* view) const {
    return subviews_ != nullptr &&
           std::any_of(subviews_->begin() + removedFromFront_, subviews_->end(), isView(view));
}

/// The list of subviews, or null while it is empty. The places of those that were removed from the
/// front since the list was last asked for are closed now.
const std::shared_ptr<MVViewArray>& MVView::subviewArray() const {
    if (removedFromFront_ != 0) {
        subviews_->erase(subviews_->begin(), subviews_->begin() + removedFromFront_);
        removedFromFront_ = 0;
    }
    return subviews_;
}

/// The list of subviews for changing: the one there is while nobody else holds it, else a copy.
MVViewArray& MVView::subviewsToChange() {
    if (subviewArray() == nullptr) {
        subviews_ = std::make_shared<MVViewArray>();
    } else if (subviews_.use_count() > 1) {
        subviews_ = std::make_shared<MVViewArray>(*subviews_);
    }
    return *subviews_;
}

// Window

std::shared_ptr<MVWindow> MVView::mv_window() const {
    const MVView* const window = windowPointer();
    return window != nullptr ? window->mv_window() : nullptr;
}

void MVView::mv_setWindow(MVWindow* window) {
    mv_setWindowUpdateSubviews(window, true);
}

void MVView::mv_setWindowUpdateSubviews(MVWindow* window, bool updateSubviews) {
    if (windowPointer() == window) {
        return;
    }
    // Each hook may change the tree, this view's place in it included. What such a change says
    // about windows stands; the rest of this one is left out or corrected.
    const MVView* const superview = superviewPointer();
    mv_windowWillChange();
    if (superviewPointer() != superview) {
        return;
    }
    window_ = window != nullptr ? window->backPointer() : MVViewBackPointer();
    mv_windowDidChange();
    if (!updateSubviews || windowPointer() != window) {
        return;
    }
    MVViewTree::Children children(*this);
    while (MVView* const child = children.next()) {
        if (child->superviewPointer() != this) {
            continue;
        }
        child->mv_setWindowUpdateSubviews(window, true);
        if (windowPointer() != window) {
            // The other children were told of it then; this one was in the middle of its own.
            if (child->superviewPointer() == this) {
                child->giveWindowOfSuperview();
            }
            return;
        }
    }
}

/// Gives this view and those below it the window that the superview's subviews are in, if any.
void MVView::giveWindowOfSuperview() {
    MVView* const superview = superviewPointer();
    if (superview == nullptr) {
        mv_setWindow(nullptr);
        return;
    }
    const MVView* const before = superview->windowPointer();
    const std::shared_ptr<MVWindow> window = superview->windowOfSubviews();
    mv_setWindow(window.get());
    if (superviewPointer() == superview && superview->windowPointer() != before) {
        mv_setWindow(superview->windowOfSubviews().get());
    }
}

std::shared_ptr<MVWindow> MVView::windowOfSubviews() const {
    if (!weak_from_this().expired()) {
        return mv_window();
    }
    // Nobody owns a view under construction yet, and a window cannot share itself.
    return {std::shared_ptr<void>(), static_cast<MVWindow*>(windowPointer())};
}

void MVView::mv_setDrawDirty() {
    if (MVView* const window = windowPointer()) {
        window->mv_setDrawDirty();
    }
}

void MVView::setNeedsDraw() {
    mv_setDrawDirty();
}

void MVView::mv_windowWillChange() {}

void MVView::mv_windowDidChange() {}
