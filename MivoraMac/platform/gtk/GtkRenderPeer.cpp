#include "MivoraMac/platform/gtk/GtkRenderPeerPrivate.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <utility>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gtk/GtkKeepPrivate.h"
#include "MivoraMac/platform/gtk/GtkNativeWindowPrivate.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

namespace {

/// The toolkit counts a touchpad under X in clicks of a wheel. The X server's driver takes this way
/// of the fingers, in points, for one.
constexpr double kTouchpadPointsPerClick = 15;

constexpr unsigned kPrimaryMask = GDK_BUTTON1_MASK;
/// Under Wayland, GTK 4.8 says of a held secondary button that it is the middle one, and of the
/// middle one that it is the secondary: only how many are held can be relied upon.
constexpr unsigned kOtherMask = GDK_BUTTON2_MASK | GDK_BUTTON3_MASK;

/// Of the super keys. Under X the toolkit passes on the server's fourth modifier as it is, which is
/// theirs by convention.
constexpr unsigned kSuperMask = GDK_SUPER_MASK | 1U << 6;

constexpr double kMicroseconds = 1e-6;
constexpr double kMilliseconds = 1e-3;

/// Keeps the widget, and so its peer, for the time of a call into a program's code.
class Kept {
 public:
    explicit Kept(GtkWidget* widget) : widget_(GTK_WIDGET(g_object_ref(widget))) {}
    ~Kept() { g_object_unref(widget_); }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

 private:
    GtkWidget* widget_;
};

Modifiers modifiersOf(GdkModifierType state) {
    return {(state & GDK_SHIFT_MASK) != 0, (state & GDK_CONTROL_MASK) != 0,
            (state & GDK_ALT_MASK) != 0, (state & kSuperMask) != 0};
}

Point wheelClicks(GdkEvent* event) {
    Point clicks;
    switch (gdk_scroll_event_get_direction(event)) {
        case GDK_SCROLL_UP:
            clicks.y = -1;
            break;
        case GDK_SCROLL_DOWN:
            clicks.y = 1;
            break;
        case GDK_SCROLL_LEFT:
            clicks.x = -1;
            break;
        case GDK_SCROLL_RIGHT:
            clicks.x = 1;
            break;
        case GDK_SCROLL_SMOOTH:
            gdk_scroll_event_get_deltas(event, &clicks.x, &clicks.y);
            break;
    }
    return clicks;
}

}  // namespace

GtkRenderPeer::GtkRenderPeer(GtkWidget* widget, const std::shared_ptr<OpenGLView>& view)
    : widget_(widget),
      view_(view),
      embedding_(widget),
      elements_(
          widget, [this](const GtkElements::Call& call) { tellView(call); },
          [this] { deliver(keys_.releaseAll()); }) {
    sink_ = std::make_shared<GtkFrameSink>([this] { gtk_widget_queue_draw(widget_); });
    addControllers();
    view->setPeer(this);
    openGLContextDidChange();
    update();
    elementsDidChange();
    elements_.focus(view->focusedElement());
    cursorDidChange();
}

GtkRenderPeer::~GtkRenderPeer() {
    unrealized();
    gtk_widget_remove_controller(widget_, motion_);
    gtk_widget_remove_controller(widget_, others_);
    if (momentumTick_ != 0) {
        gtk_widget_remove_tick_callback(widget_, momentumTick_);
    }
    sink_->close();
    const auto view = view_.lock();
    if (view && view->peer() == this) {
        view->setPeer(nullptr);
        if (const auto& context = view->openGLContext()) {
            context->setFrameHandler(nullptr);
        }
    }
}

GtkRenderPeer::Move::Move(std::shared_ptr<OpenGLView> view) : view_(std::move(view)) {
    auto* const peer = view_ != nullptr ? dynamic_cast<GtkRenderPeer*>(view_->peer()) : nullptr;
    if (peer != nullptr && !std::exchange(peer->moving_, true)) {
        peer_ = peer;
        peer->elements_.hold();
        keepForThisTurn(peer->widget_);
    }
}

GtkRenderPeer::Move::~Move() {
    if (peer_ != nullptr && view_->peer() == peer_) {
        peer_->moved();
    }
}

void GtkRenderPeer::moved() {
    const Kept kept(widget_);
    moving_ = false;
    hand(std::exchange(held_, {}));
    elements_.release();
    if (std::exchange(rootChanged_, false)) {
        tellRoot();
    }
}

void GtkRenderPeer::subviewsDidChange() {
    if (allocating_) {
        subviewsChanged_ = true;
        return;
    }
    update();
    gtk_widget_queue_allocate(widget_);
}

void GtkRenderPeer::update() {
    const auto view = view_.lock();
    embedding_.update(view.get());
}

void GtkRenderPeer::openGLContextDidChange() {
    const auto view = view_.lock();
    if (view && view->openGLContext() && view->openGLContext()->view() == view.get()) {
        sink_->connect(*view->openGLContext());
    }
}

void GtkRenderPeer::viewIsGoing() {
    view_.reset();
    sink_->close();
    embedding_.update(nullptr);
    elements_.close();
    keys_.releaseAll();
    pointer_.cancel();
    scroll_.cancel({});
    fingers_.cancelAll();
    pinch_.cancel();
    gtk_widget_queue_draw(widget_);
}

void GtkRenderPeer::elementsDidChange() {
    elements_.elementsDidChange();
}

void GtkRenderPeer::focusElement(std::uint64_t identifier) {
    const Kept kept(widget_);
    elements_.focus(identifier);
}

void GtkRenderPeer::cursorDidChange() {
    std::string name;
    tellView([&name](const OpenGLView& view) { name = view.cursorName(); });
    gtk_widget_set_cursor_from_name(widget_, name.empty() ? nullptr : name.c_str());
}

/// Calls what may be a program's code. What that throws is logged: it must not reach the toolkit.
template <class Call>
void GtkRenderPeer::tellView(const Call& call) {
    const Kept kept(widget_);
    if (const auto view = view_.lock()) {
        const auto told = [&] { call(*view); };
        runLogged(told);
    }
}

void GtkRenderPeer::rooted() {
    root_ = gtk_widget_get_root(widget_);
    elements_.entered(root_);
    tellRoot();
}

void GtkRenderPeer::unrooted() {
    keepForThisTurn(widget_);
    disabled();
    root_ = nullptr;
    elements_.left();
    tellRoot();
}

/// Tells the view which window it is in, after the move if there is one.
void GtkRenderPeer::tellRoot() {
    if (moving_) {
        rootChanged_ = true;
        return;
    }
    tellView([this](OpenGLView& view) {
        view.moveToWindow(root_ != nullptr ? GtkNativeWindow::of(GTK_WIDGET(root_)) : nullptr);
    });
}

void GtkRenderPeer::realized() {
    sink_->setRenderer(gtk_native_get_renderer(gtk_widget_get_native(widget_)));
    // The toolkit draws when it likes, so what it shows is looked at before: at the beginning of a
    // frame, and after what programs do at each.
    const auto frameWillBeDrawn = G_CALLBACK(+[](GdkFrameClock*, gpointer self) {
        static_cast<GtkRenderPeer*>(self)->tellView(
            [](OpenGLView& told) { told.subviewsWillBePlaced(); });
    });
    clock_ = GDK_FRAME_CLOCK(g_object_ref(gtk_widget_get_frame_clock(widget_)));
    g_signal_connect(clock_, "before-paint", frameWillBeDrawn, this);
    g_signal_connect_after(clock_, "update", frameWillBeDrawn, this);
}

void GtkRenderPeer::unrealized() {
    if (clock_ != nullptr) {
        g_signal_handlers_disconnect_by_data(clock_, this);
        g_clear_object(&clock_);
    }
}

void GtkRenderPeer::disabled() {
    deliver(fingers_.cancelAll());
    deliver(pinch_.cancel());
    deliver(scroll_.cancel(pointer_.location()));
    deliver(pointer_.cancel());
    deliver(keys_.releaseAll());
}

void GtkRenderPeer::scaled() {
    if (moving_) {
        return;  // the window that the view comes into says so, too
    }
    tellView([this](OpenGLView& view) {
        view.setBackingScaleFactor(gtk_widget_get_scale_factor(widget_));
    });
}

void GtkRenderPeer::allocated(int width, int height) {
    const auto view = view_.lock();
    if (!view) {
        return;
    }
    const Kept kept(widget_);
    allocating_ = true;
    tellView([width, height](OpenGLView& told) {
        told.setFrame({0, 0, static_cast<double>(width), static_cast<double>(height)});
    });
    tellView([](OpenGLView& told) { told.subviewsWillBePlaced(); });
    allocating_ = false;
    if (std::exchange(subviewsChanged_, false)) {
        update();
    }
    embedding_.place(*view, height);
    elements_.place(height);
}

void GtkRenderPeer::snapshot(GtkSnapshot* snapshot) {
    if (view_.expired()) {
        return;
    }
    const Kept kept(widget_);
    bool isOpaque = false;
    tellView([&isOpaque](const OpenGLView& view) { isOpaque = view.isOpaque(); });
    const auto width = static_cast<float>(gtk_widget_get_width(widget_));
    const auto height = static_cast<float>(gtk_widget_get_height(widget_));
    sink_->snapshot(snapshot, {width, height, isOpaque});
    embedding_.snapshot(snapshot);
}

void GtkRenderPeer::addControllers() {
    // Where the pointer is: also over what is embedded, which therefore must not see it first.
    motion_ = gtk_event_controller_motion_new();
    gtk_event_controller_set_propagation_phase(motion_, GTK_PHASE_CAPTURE);
    g_signal_connect(
        motion_, "enter",
        G_CALLBACK(+[](GtkEventController* controller, double x, double y, gpointer self) {
            static_cast<GtkRenderPeer*>(self)->pointerEntered(controller, x, y);
        }),
        this);
    g_signal_connect(
        motion_, "motion",
        G_CALLBACK(+[](GtkEventController* controller, double x, double y, gpointer self) {
            static_cast<GtkRenderPeer*>(self)->pointerMoved(controller, x, y);
        }),
        this);
    g_signal_connect(motion_, "leave", G_CALLBACK(+[](GtkEventController*, gpointer self) {
                         static_cast<GtkRenderPeer*>(self)->pointerLeft();
                     }),
                     this);
    gtk_widget_add_controller(widget_, motion_);

    // Presses and scrolling: what is embedded comes first.
    others_ = gtk_event_controller_legacy_new();
    g_signal_connect(others_, "event",
                     G_CALLBACK(+[](GtkEventController*, GdkEvent* event, gpointer self) {
                         return static_cast<GtkRenderPeer*>(self)->handle(event);
                     }),
                     this);
    gtk_widget_add_controller(widget_, others_);
}

gboolean GtkRenderPeer::handle(GdkEvent* event) {
    const Kept kept(widget_);
    const GdkEventType type = gdk_event_get_event_type(event);
    if (type == GDK_GRAB_BROKEN) {
        disabled();
        return FALSE;
    }
    modifiers_ = modifiersOf(gdk_event_get_modifier_state(event));
    Point location;
    switch (type) {
        case GDK_BUTTON_PRESS:
        case GDK_BUTTON_RELEASE:
            return locate(event, location) ? button(event, location) : FALSE;
        case GDK_TOUCH_BEGIN:
        case GDK_TOUCH_UPDATE:
        case GDK_TOUCH_END:
        case GDK_TOUCH_CANCEL:
            return touch(event);
        case GDK_SCROLL:
            return scroll(event);
        case GDK_TOUCHPAD_PINCH:
            return pinch(event);
        case GDK_KEY_PRESS:
        case GDK_KEY_RELEASE:
            return key(event);
        default:
            return FALSE;
    }
}

gboolean GtkRenderPeer::button(GdkEvent* event, Point location) {
    const guint number = gdk_button_event_get_button(event);
    if (number < GDK_BUTTON_PRIMARY || number > GDK_BUTTON_SECONDARY) {
        return FALSE;
    }
    const auto button = number == GDK_BUTTON_PRIMARY  ? PointerTracker::Button::Primary
                        : number == GDK_BUTTON_MIDDLE ? PointerTracker::Button::Middle
                                                      : PointerTracker::Button::Secondary;
    if (gdk_event_get_event_type(event) == GDK_BUTTON_PRESS) {
        if (isOverEmbedded(location)) {
            return FALSE;
        }
        press(button, location, gdk_event_get_time(event));
        return TRUE;
    }
    const bool wasHeld = pointer_.isHeld(button);
    deliver(pointer_.release(button, location));
    return wasHeld ? TRUE : FALSE;
}

void GtkRenderPeer::press(PointerTracker::Button button, Point location, guint32 time) {
    deliver(scroll_.interrupt(location));
    const auto number = static_cast<unsigned>(button);
    deliver(pointer_.press(button, location, clicks_.press(number, location, time, clickLimits())));
}

/// A finger is told by its sequence. One that lands on an embedded widget is that widget's.
gboolean GtkRenderPeer::touch(GdkEvent* event) {
    const auto finger = static_cast<std::uint64_t>(
        reinterpret_cast<std::uintptr_t>(gdk_event_get_event_sequence(event)));
    Point location;
    const bool isLocated = locate(event, location);
    if (gdk_event_get_event_type(event) == GDK_TOUCH_BEGIN) {
        if (!isLocated || isOverEmbedded(location)) {
            return FALSE;
        }
        deliver(scroll_.interrupt(location));
        deliver(fingers_.land(finger, location));
        return TRUE;
    }
    if (!fingers_.isDown(finger)) {
        return FALSE;
    }
    switch (gdk_event_get_event_type(event)) {
        case GDK_TOUCH_UPDATE:
            if (isLocated) {
                deliver(fingers_.move(finger, location));
            }
            break;
        case GDK_TOUCH_END:
            deliver(fingers_.lift(finger, isLocated ? std::optional(location) : std::nullopt));
            break;
        default:
            deliver(fingers_.cancel(finger));
    }
    return TRUE;
}

/// Gestures on a touchpad do not say where either.
gboolean GtkRenderPeer::pinch(GdkEvent* event) {
    if (!isInOwnWindow(event)) {
        return FALSE;
    }
    double x = 0;
    double y = 0;
    switch (gdk_touchpad_event_get_gesture_phase(event)) {
        case GDK_TOUCHPAD_GESTURE_PHASE_BEGIN:
            deliver(scroll_.interrupt(pointer_.location()));
            deliver(pinch_.begin(pointer_.location()));
            break;
        case GDK_TOUCHPAD_GESTURE_PHASE_UPDATE:
            gdk_touchpad_event_get_deltas(event, &x, &y);
            deliver(pinch_.update(gdk_touchpad_event_get_pinch_scale(event),
                                  gdk_touchpad_event_get_pinch_angle_delta(event), {x, -y}));
            break;
        case GDK_TOUCHPAD_GESTURE_PHASE_END:
            deliver(pinch_.end());
            break;
        case GDK_TOUCHPAD_GESTURE_PHASE_CANCEL:
            deliver(pinch_.cancel());
            break;
    }
    return TRUE;
}

/// What the view has no use for is the toolkit's: it moves the focus, or presses what the window
/// has for that.
gboolean GtkRenderPeer::key(GdkEvent* event) {
    if (!elements_.haveKeyboard()) {
        return FALSE;  // what is embedded has let it pass
    }
    GtkKeys::Meaning meaning = keys_.read(event);
    bool isHandled = meaning.isTaken;
    if (meaning.event) {
        meaning.event->modifiers = modifiers_;
        tellView([&](OpenGLView& view) {
            isHandled = view.deliverKey(std::make_shared<const Event>(std::move(*meaning.event)));
        });
    }
    return isHandled ? TRUE : FALSE;
}

/// Events of scrolling do not say where: it is where the pointer is.
gboolean GtkRenderPeer::scroll(GdkEvent* event) {
    if (!isInOwnWindow(event)) {
        return FALSE;
    }
    const Point location = pointer_.location();
    const bool isSmooth = gdk_scroll_event_get_direction(event) == GDK_SCROLL_SMOOTH;
    const bool isInPoints = isSmooth && gdk_scroll_event_get_unit(event) == GDK_SCROLL_UNIT_SURFACE;
    const bool isTouchpad =
        isSmooth && gdk_device_get_source(gdk_event_get_device(event)) == GDK_SOURCE_TOUCHPAD;
    Point delta = wheelClicks(event);
    if (isTouchpad) {
        const double deviceTime = gdk_event_get_time(event) * kMilliseconds;
        if (!isInPoints) {
            delta = {delta.x * kTouchpadPointsPerClick, delta.y * kTouchpadPointsPerClick};
        }
        if (gdk_scroll_event_is_stop(event) != FALSE) {
            deliver(scroll_.stop(location, deviceTime));
            moveOn();
        } else {
            deliver(scroll_.fingers(location, delta, deviceTime));
        }
    } else if (delta != Point()) {
        deliver(isInPoints ? scroll_.slide(location, delta) : scroll_.wheel(location, delta));
    }
    return TRUE;
}

/// Whether a press is that of an embedded widget, which need not say so before the release.
bool GtkRenderPeer::isOverEmbedded(Point location) const {
    const GtkWidget* const picked = gtk_widget_pick(
        widget_, location.x, gtk_widget_get_height(widget_) - location.y, GTK_PICK_DEFAULT);
    return picked != nullptr && picked != widget_;
}

/// Has the momentum run with the frames of the screen.
void GtkRenderPeer::moveOn() {
    if (!scroll_.isMoving() || momentumTick_ != 0) {
        return;
    }
    momentumTick_ = gtk_widget_add_tick_callback(
        widget_,
        [](GtkWidget*, GdkFrameClock* clock, gpointer data) -> gboolean {
            auto* const self = static_cast<GtkRenderPeer*>(data);
            const Kept kept(self->widget_);
            const gint64 now = gdk_frame_clock_get_frame_time(clock);
            self->deliver(self->scroll_.tick(static_cast<double>(now) * kMicroseconds));
            if (self->scroll_.isMoving()) {
                return G_SOURCE_CONTINUE;
            }
            self->momentumTick_ = 0;
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void GtkRenderPeer::pointerEntered(GtkEventController* controller, double x, double y) {
    if (!isPointerOver()) {
        return;  // a finger has landed
    }
    if (gtk_event_controller_get_current_event(controller) != nullptr) {
        modifiers_ = modifiersOf(gtk_event_controller_get_current_event_state(controller));
    }
    deliver(pointer_.enter(location(x, y)));
}

void GtkRenderPeer::pointerMoved(GtkEventController* controller, double x, double y) {
    const Kept kept(widget_);
    const GdkModifierType state = gtk_event_controller_get_current_event_state(controller);
    modifiers_ = modifiersOf(state);
    // Motion that the toolkit makes up, when it has laid out, has no time. What it says of the
    // buttons may be newer than releases that are on their way.
    if (gtk_event_controller_get_current_event_time(controller) != GDK_CURRENT_TIME) {
        releaseWhatIsNotHeld(state);
    }
    if (!pointer_.isAnyHeld() && (state & (kPrimaryMask | kOtherMask)) != 0) {
        return;  // what is embedded holds the pointer
    }
    deliver(pointer_.move(location(x, y)));
}

void GtkRenderPeer::pointerLeft() {
    const Kept kept(widget_);
    deliver(scroll_.cancel(pointer_.location()));
    deliver(pointer_.leave());
}

/// The release of a button does not arrive where another window has taken the pointer meanwhile.
void GtkRenderPeer::releaseWhatIsNotHeld(GdkModifierType state) {
    const bool isPrimaryLost =
        pointer_.isHeld(PointerTracker::Button::Primary) && (state & kPrimaryMask) == 0;
    const int others = static_cast<int>(pointer_.isHeld(PointerTracker::Button::Secondary)) +
                       static_cast<int>(pointer_.isHeld(PointerTracker::Button::Middle));
    if (isPrimaryLost || others > std::popcount(state & kOtherMask)) {
        deliver(pointer_.cancel());
    }
}

Point GtkRenderPeer::location(double x, double y) const {
    return {x, gtk_widget_get_height(widget_) - y};
}

/// False for events of windows within the window, such as menus of embedded widgets.
bool GtkRenderPeer::isInOwnWindow(GdkEvent* event) const {
    GtkNative* const native = gtk_widget_get_native(widget_);
    return native != nullptr && gtk_native_get_surface(native) == gdk_event_get_surface(event);
}

/// Whether it is the pointer that is over the view: to the toolkit, a finger that lands brings one.
bool GtkRenderPeer::isPointerOver() const {
    GtkNative* const native = gtk_widget_get_native(widget_);
    GdkSeat* const seat = gdk_display_get_default_seat(gtk_widget_get_display(widget_));
    double x = 0;
    double y = 0;
    Point location;
    return native != nullptr && seat != nullptr &&
           gdk_surface_get_device_position(gtk_native_get_surface(native),
                                           gdk_seat_get_pointer(seat), &x, &y, nullptr) != FALSE &&
           locate(x, y, location) &&
           gtk_widget_contains(widget_, location.x, gtk_widget_get_height(widget_) - location.y) !=
               FALSE;
}

/// Where an event is in the view; false when it is elsewhere.
bool GtkRenderPeer::locate(GdkEvent* event, Point& location) const {
    double x = 0;
    double y = 0;
    return isInOwnWindow(event) && gdk_event_get_position(event, &x, &y) != FALSE &&
           locate(x, y, location);
}

/// Where a place of the window's surface is in the view; false when the view is in no window.
bool GtkRenderPeer::locate(double x, double y, Point& location) const {
    GtkNative* const native = gtk_widget_get_native(widget_);
    double shiftX = 0;
    double shiftY = 0;
    gtk_native_get_surface_transform(native, &shiftX, &shiftY);
    const graphene_point_t inWindow = {static_cast<float>(x - shiftX),
                                       static_cast<float>(y - shiftY)};
    graphene_point_t inWidget;
    if (gtk_widget_compute_point(GTK_WIDGET(native), widget_, &inWindow, &inWidget) == FALSE) {
        return false;
    }
    location = this->location(static_cast<double>(inWidget.x), static_cast<double>(inWidget.y));
    return true;
}

ClickCounter::Limits GtkRenderPeer::clickLimits() const {
    int milliseconds = 0;
    int distance = 0;
    g_object_get(gtk_widget_get_settings(widget_), "gtk-double-click-time", &milliseconds,
                 "gtk-double-click-distance", &distance, nullptr);
    return {static_cast<std::uint32_t>(std::max(milliseconds, 0)), static_cast<double>(distance)};
}

void GtkRenderPeer::deliver(Events events) {
    for (Event& event : events) {
        event.modifiers = modifiers_;
    }
    if (moving_) {
        held_.insert(held_.end(), events.begin(), events.end());
    } else {
        hand(events);
    }
}

void GtkRenderPeer::hand(const Events& events) {
    const Kept kept(widget_);
    const std::weak_ptr<OpenGLView> taker = view_;
    for (const Event& event : events) {
        if (const auto view = taker.lock()) {
            view->deliver(std::make_shared<const Event>(event));
        }
    }
}

}  // namespace Mivora::platform
