#pragma once

#include <cstdint>
#include <memory>
#include <vector>

class MVFocusRing;
class MVView;
class MVWindow;

/// Where the keyboard's focus is in the tree of a window; see `MVWindow::focusedView`.
///
/// What was done to the tree counts at once, in what `view` answers; the views are told of it by
/// `settle`. A view is sent one `focusEnded` for every `focusBegan`; while the window lives, that
/// is.
///
/// Thread: main.
class MVWindowFocus {
 public:
    explicit MVWindowFocus(MVWindow& window);
    ~MVWindowFocus();
    MVWindowFocus(const MVWindowFocus&) = delete;
    MVWindowFocus& operator=(const MVWindowFocus&) = delete;

    /// Whether a view of the window can have the focus as things are.
    bool canBeAt(const MVView& view) const;

    /// The view that has the focus, or null. If the one that was given it cannot have it any more:
    /// the nearest of those that it was in which can.
    std::shared_ptr<MVView> view() const;

    /// Moves the focus and calls the hooks: first of the view that loses it, then, unless that has
    /// moved it elsewhere, of the one that gets it. What they throw goes through at the end. Hooks
    /// that move it on from each other are refused at some depth.
    /// @param view  null for none. The one that has it does nothing, nor does one that cannot
    /// @return whether the focus is there at the end
    bool moveTo(const std::shared_ptr<MVView>& view);

    /// Moves the focus to where `view` says it is.
    void settle();

    /// Tells the view that was told last that it has lost the focus.
    void tellEnded();

    /// Whether the ring is to be seen, where the focused view wants one.
    void setRingVisible(bool visible);
    /// Has the ring drawn by the view that has the focus, or by none.
    void placeRing();
    /// Draws the ring over a view.
    void drawRing(MVView& view);

 private:
    void notePath();
    void tellBegan(const std::shared_ptr<MVView>& view);
    void moved();

    MVWindow& window_;
    std::weak_ptr<MVView> given_;  ///< the view that was given the focus last
    std::vector<std::weak_ptr<MVView>>
        path_;                      ///< those it was in when it was settled, nearest first
    std::weak_ptr<MVView> told_;    ///< the view that was sent `focusBegan` and no end yet
    std::weak_ptr<MVView> ringed_;  ///< the view that draws the ring
    std::uint64_t moves_ = 0;
    int depth_ = 0;
    bool hasFocus_ = false;
    bool ringVisible_ = true;
    std::unique_ptr<MVFocusRing> ring_;  ///< Null until it is drawn.
};
