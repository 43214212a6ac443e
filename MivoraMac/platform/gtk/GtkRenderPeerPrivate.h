#pragma once

#include <gtk/gtk.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "MivoraMac/platform/gtk/ClickCounterPrivate.h"
#include "MivoraMac/platform/gtk/FingerTrackerPrivate.h"
#include "MivoraMac/platform/gtk/GtkElementsPrivate.h"
#include "MivoraMac/platform/gtk/GtkEmbeddingPrivate.h"
#include "MivoraMac/platform/gtk/GtkFrameSinkPrivate.h"
#include "MivoraMac/platform/gtk/GtkKeysPrivate.h"
#include "MivoraMac/platform/gtk/PointerTrackerPrivate.h"
#include "MivoraMac/platform/gtk/ScrollTrackerPrivate.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/platform/windows/PinchTracker.h"

namespace Mivora::platform {

/// What `MivoraRenderWidget` does for one view.
///
/// Thread: main.
class GtkRenderPeer : public OpenGLView::Peer {
 public:
    /// @param widget  owns this
    GtkRenderPeer(GtkWidget* widget, const std::shared_ptr<OpenGLView>& view);
    ~GtkRenderPeer() override;
    GtkRenderPeer(const GtkRenderPeer&) = delete;
    GtkRenderPeer& operator=(const GtkRenderPeer&) = delete;

    GtkWidget* widget() const { return widget_; }

    /// While there is one, the widget may be moved, and what that means for the view is held back:
    /// the toolkit does not bear that a program does something else with the widget meanwhile.
    ///
    /// The widget lives until a later turn of the main loop.
    class Move {
     public:
        /// @param view  where it is null, or has no widget, nothing is held back
        explicit Move(std::shared_ptr<OpenGLView> view);
        /// Tells the view.
        ~Move();
        Move(const Move&) = delete;
        Move& operator=(const Move&) = delete;

     private:
        std::shared_ptr<OpenGLView> view_;
        GtkRenderPeer* peer_ = nullptr;  // while this is the outermost move of its widget
    };

    void subviewsDidChange() override;
    void openGLContextDidChange() override;
    void viewIsGoing() override;
    void elementsDidChange() override;
    void focusElement(std::uint64_t identifier) override;
    void cursorDidChange() override;

    /// @name What happens to the widget
    /// @{

    void rooted();
    void unrooted();
    void realized();
    void unrealized();
    /// It goes off the screen, or does not take part in events any more.
    void disabled();
    void scaled();
    void allocated(int width, int height);
    void snapshot(GtkSnapshot* snapshot);
    /// The keyboard's focus is to move on; see `GtkElements::move`.
    std::optional<bool> focus(GtkDirectionType direction) { return elements_.move(direction); }

    /// @}

 private:
    using Events = std::vector<Event>;

    void addControllers();
    void update();
    void moved();
    void tellRoot();
    template <class Call>
    void tellView(const Call& call);

    gboolean handle(GdkEvent* event);
    gboolean button(GdkEvent* event, Point location);
    gboolean touch(GdkEvent* event);
    gboolean scroll(GdkEvent* event);
    gboolean pinch(GdkEvent* event);
    gboolean key(GdkEvent* event);
    void press(PointerTracker::Button button, Point location, guint32 time);
    void pointerEntered(GtkEventController* controller, double x, double y);
    void pointerMoved(GtkEventController* controller, double x, double y);
    void pointerLeft();
    void releaseWhatIsNotHeld(GdkModifierType state);
    void moveOn();

    bool isOverEmbedded(Point location) const;
    Point location(double x, double y) const;
    bool isInOwnWindow(GdkEvent* event) const;
    bool isPointerOver() const;
    bool locate(GdkEvent* event, Point& location) const;
    bool locate(double x, double y, Point& location) const;
    ClickCounter::Limits clickLimits() const;

    /// Hands events to the view, with the modifier keys, or holds them back during a move.
    void deliver(Events events);
    /// The view takes the events; what it does may destroy the widget, and this with it.
    void hand(const Events& events);

    GtkWidget* const widget_;
    GtkEventController* motion_ = nullptr;  // both owned by the widget
    GtkEventController* others_ = nullptr;
    GdkFrameClock* clock_ = nullptr;  // of the window; while the widget is realized
    std::weak_ptr<OpenGLView> view_;
    std::shared_ptr<GtkFrameSink> sink_;
    GtkEmbedding embedding_;
    GtkElements elements_;
    GtkRoot* root_ = nullptr;
    bool allocating_ = false;
    bool subviewsChanged_ = false;
    bool moving_ = false;
    bool rootChanged_ = false;  // while moving, as are the events
    Events held_;

    Modifiers modifiers_;  // of the latest event
    PointerTracker pointer_;
    ClickCounter clicks_;
    ScrollTracker scroll_;
    FingerTracker fingers_;
    PinchTracker pinch_;
    GtkKeys keys_;
    guint momentumTick_ = 0;
};

}  // namespace Mivora::platform
