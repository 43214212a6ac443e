#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <memory_resource>
#include <utility>
#include <vector>

#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewRareStatePrivate.h"
#include "MivoraMac/views/MVWindow.h"

/// How operations reach the views below and above a view. What counts as below is decided here and
/// nowhere else.
struct MVViewTree {
    /// The views directly below one, in order: first the stencil view, where it is placed in the
    /// view without being a subview, then the subviews. Holds what it steps through, so that the
    /// tree may change meanwhile; a view that has left it is still returned.
    class Children {
     public:
        explicit Children(const MVView& view) : subviews_(view.subviewArray()) {
            if (view.rare_ == nullptr) {
                return;
            }
            const std::shared_ptr<MVView>& stencilView = view.rare_->stencilView;
            if (stencilView != nullptr && stencilView->superviewPointer() == &view &&
                !view.hasSubview(stencilView.get())) {
                stencilView_ = stencilView;
            }
        }

        /// Whether there may be any; costs no reference.
        static bool exist(const MVView& view) {
            return view.subviews_ != nullptr ||
                   (view.rare_ != nullptr && view.rare_->stencilView != nullptr);
        }

        /// The next one, or null at the end.
        MVView* next() {
            if (stencilView_ != nullptr && !stencilReturned_) {
                stencilReturned_ = true;
                return stencilView_.get();
            }
            return subviews_ != nullptr && next_ < subviews_->size() ? (*subviews_)[next_++].get()
                                                                     : nullptr;
        }

     private:
        std::shared_ptr<const MVViewArray> subviews_;
        std::shared_ptr<MVView> stencilView_;
        std::size_t next_ = 0;
        bool stencilReturned_ = false;
    };

    /// Calls `visit` with a view and everything below it, each view before those below it, and
    /// with its depth below the first. Uses no stack for the depth of the tree, and no heap down to
    /// some twenty levels.
    template <class Visit>
    static void visitSubtree(MVView& root, Visit visit) {
        visit(root, std::size_t{0});
        if (!Children::exist(root)) {
            return;
        }
        std::array<std::byte, 1024> storage;
        std::pmr::monotonic_buffer_resource memory(storage.data(), storage.size());
        std::pmr::vector<Children> path(&memory);
        path.reserve(storage.size() / 2 / sizeof(Children));
        path.emplace_back(root);
        while (!path.empty()) {
            MVView* const view = path.back().next();
            if (view == nullptr) {
                path.pop_back();
                continue;
            }
            visit(*view, path.size());
            if (Children::exist(*view)) {
                path.emplace_back(*view);
            }
        }
    }

    /// Whether a view is in the tree of a window with nothing hidden or disabled on the way.
    static bool isReachable(const MVView& view, const MVView& window) {
        const MVView* above = &view;
        while (above != nullptr && !above->hidden_ && above->interactionEnabled_) {
            if (above == &window) {
                return true;
            }
            above = above->superviewPointer();
        }
        return false;
    }

    /// The window at the root of a view's tree, also from within a filter view, which has a window
    /// of its own for what is below it; null for none.
    static MVWindow* rootWindow(MVView& view) {
        MVView* above = &view;
        while (MVView* const superview = above->superviewPointer()) {
            above = superview;
        }
        return above->windowPointer() == above ? static_cast<MVWindow*>(above) : nullptr;
    }

    /// Whether a view or one below it may be an element. Never false for one that is.
    static bool mayHoldElements(const MVView& view) { return view.mayHoldElements_; }
    /// Notes that none is.
    static void holdsNoElements(MVView& view) { view.mayHoldElements_ = false; }

    /// The window in whose name a view was sent `focusBegan`, and no end yet.
    static std::weak_ptr<MVWindow>& windowOfFocus(MVView& view);

    /// Has a view draw the ring of the focus, or not.
    static void setDrawsFocusRing(MVView& view, bool draws) { view.drawsFocusRing_ = draws; }

    /// The content scale factors of a view and everything below it at some time.
    class ContentScaleFactors {
     public:
        explicit ContentScaleFactors(MVView& root) {
            visitSubtree(root, [this](MVView& view, std::size_t) {
                views_.push_back(
                    {view.weak_from_this(), view.contentScaleFactor_, view.contentScaleFactorSet_});
            });
        }

        /// Gives them back to those that are still there.
        void restore() const {
            for (const Entry& entry : views_) {
                if (const std::shared_ptr<MVView> view = entry.view.lock()) {
                    view->contentScaleFactor_ = entry.factor;
                    view->contentScaleFactorSet_ = entry.set;
                }
            }
        }

     private:
        struct Entry {
            std::weak_ptr<MVView> view;
            float factor;
            bool set;
        };
        std::vector<Entry> views_;
    };

    /// Calls `build` with a view, after those ancestors whose result it depends on, topmost first:
    /// what a `build` that calls itself for the superview would do, without its use of the stack.
    ///
    /// @param enter  called on the way up, nearest first; tells whether the superview has to be
    ///               built before the view it is called with
    template <class Enter, class Build>
    static void buildFromTop(MVView& view, Enter enter, Build build) {
        // The references keep ancestors alive that a hook takes out of the tree. A view under
        // construction has none to give yet.
        std::vector<std::pair<MVView*, std::shared_ptr<MVView>>> ancestors;
        for (MVView* current = &view; enter(*current);) {
            current = current->superviewPointer();
            ancestors.emplace_back(current, current->weak_from_this().lock());
        }
        for (auto ancestor = ancestors.rbegin(); ancestor != ancestors.rend(); ++ancestor) {
            build(*ancestor->first);
        }
        build(view);
    }
};
