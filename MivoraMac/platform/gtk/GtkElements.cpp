#include "MivoraMac/platform/gtk/GtkElementsPrivate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/platform/gtk/GtkWidgetViewPrivate.h"
#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

namespace {

constexpr gint64 kMicrosecondsBetweenUpdates = 100'000;

int wholePoint(double value) {
    constexpr double kMost = 1 << 20;
    return std::isnan(value) ? 0 : static_cast<int>(std::lround(std::clamp(value, -kMost, kMost)));
}

/// Where a box is from the bottom left corner of the view, with y downward.
GdkRectangle wholePoints(const Rect& box) {
    const int left = wholePoint(box.x);
    const int top = -wholePoint(box.y + box.height);
    return {left, top, std::max(0, wholePoint(box.x + box.width) - left),
            std::max(0, -wholePoint(box.y) - top)};
}

bool isTab(GtkDirectionType direction) {
    return direction == GTK_DIR_TAB_FORWARD || direction == GTK_DIR_TAB_BACKWARD;
}

bool isIn(GtkWidget* widget, GtkWidget* ancestor) {
    return widget == ancestor ||
           (widget != nullptr && gtk_widget_is_ancestor(widget, ancestor) != FALSE);
}

}  // namespace

GtkWidget* GtkElements::Item::widget() const {
    if (standIn) {
        return standIn->widget();
    }
    const auto view = std::dynamic_pointer_cast<GtkWidgetView>(embedded.lock());
    return view ? view->widget() : nullptr;
}

GtkElements::GtkElements(GtkWidget* parent, Tell tell, std::function<void()> keyboardIsGone)
    : parent_(parent), tell_(std::move(tell)), keyboardIsGone_(std::move(keyboardIsGone)) {}

GtkElements::~GtkElements() {
    *isAlive_ = false;
    forgetRoot();
    close();
}

void GtkElements::close() {
    isClosed_ = true;
    if (timer_ != 0) {
        g_source_remove(std::exchange(timer_, 0));
    }
    indices_.clear();
    for (std::vector<Item> gone = std::exchange(items_, {}); !gone.empty();) {
        gone.pop_back();  // those in others first
    }
}

void GtkElements::elementsDidChange() {
    if (timer_ == 0) {
        const gint64 due = latestUpdate_ + kMicrosecondsBetweenUpdates - g_get_monotonic_time();
        schedule(
            static_cast<unsigned>(std::clamp<gint64>(due, 0, kMicrosecondsBetweenUpdates) / 1000));
    }
}

void GtkElements::schedule(unsigned milliseconds) {
    if (timer_ != 0) {
        g_source_remove(timer_);
    }
    timer_ = isClosed_ ? 0
                       : g_timeout_add(
                             milliseconds,
                             [](gpointer self) -> gboolean {
                                 static_cast<GtkElements*>(self)->timer_ = 0;
                                 static_cast<GtkElements*>(self)->update();
                                 return G_SOURCE_REMOVE;
                             },
                             this);
}

void GtkElements::update() {
    latestUpdate_ = g_get_monotonic_time();
    const std::shared_ptr<bool> isAlive = isAlive_;
    std::vector<Element> elements;
    const Tell tell = tell_;
    tell([&elements](OpenGLView& view) { elements = view.elements(); });
    if (*isAlive && !isClosed_) {
        show(std::move(elements));
    }
}

void GtkElements::show(std::vector<Element> elements) {
    Indices indices = putInOrder(elements);
    const std::vector<bool> isKept = findKept(elements, indices);
    if (!takeFocusOff(isKept)) {
        return;
    }
    std::vector<Item> before = std::exchange(items_, {});
    for (Element& element : elements) {
        const auto known = indices_.find(element.identifier);
        if (known != indices_.end() && isKept[known->second]) {
            Item& item = before[known->second];
            if (item.standIn) {
                item.standIn->update(element, item.element);
            }
            item.embedded = std::exchange(element.embedded, nullptr);
            item.element = std::move(element);
            items_.push_back(std::move(item));
        } else {
            items_.push_back(make(std::move(element)));
        }
    }
    indices_ = std::move(indices);
    while (!before.empty()) {
        before.pop_back();  // those in others first
    }
    arrange();
    findPlaces();
    const std::shared_ptr<bool> isAlive = isAlive_;
    if (isFocusWanted_) {
        takeFocus();
    }
    if (*isAlive && root_ != nullptr) {
        isFocusWanted_ = false;
        tellFocus();
    }
}

/// Makes sure that identifiers are unique, and that parents come before what is in them.
GtkElements::Indices GtkElements::putInOrder(std::vector<Element>& elements) {
    Indices indices;
    const auto isSuperfluous = [&](const Element& element) {
        return element.identifier == 0 || !indices.emplace(element.identifier, 0).second;
    };
    elements.erase(std::remove_if(elements.begin(), elements.end(), isSuperfluous), elements.end());
    indices.clear();
    for (Element& element : elements) {
        const auto parent = indices.find(element.parent);
        if (parent == indices.end() || elements[parent->second].embedded) {
            element.parent = 0;
        }
        indices.emplace(element.identifier, indices.size());
    }
    return indices;
}

/// @return of each item, whether its widget can go on standing for an element
std::vector<bool> GtkElements::findKept(const std::vector<Element>& elements,
                                        const Indices& indices) const {
    std::vector<bool> isKept;
    for (const Item& item : items_) {
        const auto found = indices.find(item.element.identifier);
        const Element* const now = found != indices.end() ? &elements[found->second] : nullptr;
        const auto parent = indices_.find(item.element.parent);
        isKept.push_back(now != nullptr && now->role == item.element.role &&
                         now->parent == item.element.parent &&
                         (now->embedded == nullptr) == (item.standIn != nullptr) &&
                         (parent == indices_.end() || isKept[parent->second]));
    }
    return isKept;
}

/// Left to itself, the toolkit would move the focus from a widget that goes to any other.
/// @return false where somebody has closed this, or destroyed it, on the way
bool GtkElements::takeFocusOff(const std::vector<bool>& isKept) {
    const Item* const item = focusedItem();
    if (item == nullptr || !item->standIn ||
        isKept[static_cast<std::size_t>(item - items_.data())]) {
        return true;
    }
    const std::shared_ptr<bool> isAlive = isAlive_;
    isFocusWanted_ = focused_ != 0;  // in case that another stand-in follows
    setFocus(nullptr);
    return *isAlive && !isClosed_;
}

GtkElements::Item GtkElements::make(Element element) {
    Item item;
    if (element.embedded) {
        item.embedded = std::exchange(element.embedded, nullptr);
    } else {
        item.standIn = std::make_unique<GtkStandIn>(
            element, [this, identifier = element.identifier](std::size_t index) {
                const Tell tell = tell_;
                tell([=](OpenGLView& view) { view.performAction(identifier, index); });
            });
    }
    item.element = std::move(element);
    return item;
}

/// Puts the widgets into the order of the elements. Embedded ones stay in that of their drawing.
void GtkElements::arrange() const {
    std::unordered_map<std::uint64_t, GtkWidget*> next;  // by parents
    for (auto item = items_.rbegin(); item != items_.rend(); ++item) {
        GtkWidget* const widget = item->widget();
        if (item->standIn) {
            const std::uint64_t parent = item->element.parent;
            gtk_widget_insert_before(
                widget, parent != 0 ? items_[indices_.at(parent)].widget() : parent_, next[parent]);
            next[parent] = widget;
        } else if (widget != nullptr && gtk_widget_get_parent(widget) == parent_) {
            next[0] = widget;
        }
    }
}

void GtkElements::findPlaces() const {
    std::vector<GdkRectangle> boxes;
    for (const Item& item : items_) {
        boxes.push_back(wholePoints(item.element.box));
        if (!item.standIn) {
            continue;
        }
        GdkRectangle place = boxes.back();
        if (item.element.parent != 0) {
            const GdkRectangle& around = boxes[indices_.at(item.element.parent)];
            place.x -= around.x;
            place.y -= around.y;
        }
        if (item.standIn->setPlace(place)) {
            gtk_widget_queue_allocate(gtk_widget_get_parent(item.widget()));
        }
    }
}

void GtkElements::place(int height) const {
    GtkStandIn::allocateChildren(parent_, height);
}

void GtkElements::entered(GtkRoot* root) {
    root_ = root;
    if (GTK_IS_WINDOW(root_)) {
        focusHandler_ = g_signal_connect_swapped(
            root_, "notify::focus-widget",
            G_CALLBACK(+[](gpointer self) { static_cast<GtkElements*>(self)->focusDidMove(); }),
            this);
        activeHandler_ = g_signal_connect_swapped(
            root_, "notify::is-active",
            G_CALLBACK(+[](gpointer self) { static_cast<GtkElements*>(self)->windowDidChange(); }),
            this);
    }
    if (isFocusWanted_) {
        schedule(0);
    }
}

void GtkElements::left() {
    forgetRoot();
    focusDidMove();
}

void GtkElements::forgetRoot() {
    for (gulong* const handler : {&focusHandler_, &activeHandler_}) {
        if (*handler != 0) {
            g_signal_handler_disconnect(root_, std::exchange(*handler, 0));
        }
    }
    root_ = nullptr;
}

void GtkElements::release() {
    isHeld_ = false;
    tellFocus();
}

void GtkElements::focus(std::uint64_t identifier) {
    focused_ = identifier;
    isFocusWanted_ = identifier != 0;
    if (identifier == 0) {
        if (focusedItem() != nullptr) {
            setFocus(nullptr);
        }
        return;
    }
    const std::shared_ptr<bool> isAlive = isAlive_;
    takeFocus();
    if (*isAlive && isFocusWanted_) {
        schedule(0);  // the element is a new one, or focusable only now
    }
}

/// Moves the focus to where the view wants it, unless that has not come into a window yet, or is
/// not known yet as something that takes it.
void GtkElements::takeFocus() {
    const auto found = indices_.find(focused_);
    const Item* const item = found != indices_.end() ? &items_[found->second] : nullptr;
    GtkWidget* const widget = item != nullptr ? item->widget() : nullptr;
    if (root_ == nullptr || widget == nullptr || (item->standIn && !item->element.focusable)) {
        return;
    }
    const std::shared_ptr<bool> isAlive = isAlive_;
    isFocusWanted_ = false;
    setFocus(widget);
    if (*isAlive) {
        tellFocus();
    }
}

/// Has the toolkit move the focus without the view's being told of what it wants itself.
void GtkElements::setFocus(GtkWidget* widget) {
    const std::shared_ptr<bool> isAlive = isAlive_;
    const bool wasMoving = std::exchange(isMovingFocus_, true);
    if (widget != nullptr) {
        gtk_widget_grab_focus(widget);
    } else {
        gtk_root_set_focus(root_, nullptr);
    }
    if (*isAlive) {
        isMovingFocus_ = wasMoving;
    }
}

/// A window in the background keeps its focus, but gets no keys.
void GtkElements::windowDidChange() {
    if (gtk_window_is_active(GTK_WINDOW(root_)) == FALSE) {
        loseKeyboard();
    }
}

void GtkElements::loseKeyboard() {
    const std::function<void()> keyboardIsGone = keyboardIsGone_;
    keyboardIsGone();
}

void GtkElements::focusDidMove() {
    const std::shared_ptr<bool> isAlive = isAlive_;
    if (std::exchange(hadKeyboard_, haveKeyboard()) && !hadKeyboard_) {
        loseKeyboard();
    }
    if (*isAlive) {
        tellFocus();
    }
}

/// Tells the view where the focus is, if that is news.
void GtkElements::tellFocus() {
    const Item* const item = focusedItem();
    const std::uint64_t identifier = item != nullptr ? item->element.identifier : 0;
    if (isHeld_ || isMovingFocus_ || identifier == focused_) {
        return;
    }
    isFocusWanted_ = false;
    const std::uint64_t before = std::exchange(focused_, identifier);
    const Tell tell = tell_;
    tell([=](OpenGLView& view) {
        identifier != 0 ? view.elementDidFocus(identifier) : view.elementDidBlur(before);
    });
}

GtkWidget* GtkElements::focusWidget() const {
    return root_ != nullptr ? gtk_root_get_focus(root_) : nullptr;
}

const GtkElements::Item* GtkElements::focusedItem() const {
    GtkWidget* const focus = focusWidget();
    if (focus == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(items_.begin(), items_.end(), [focus](const Item& item) {
        return item.standIn ? item.widget() == focus
                            : item.widget() != nullptr && isIn(focus, item.widget());
    });
    return found != items_.end() ? &*found : nullptr;
}

bool GtkElements::haveKeyboard() const {
    const Item* const item = focusedItem();
    return item != nullptr && item->standIn;
}

/// What the Tab key goes through: embedded widgets that no element stands for come last.
std::vector<GtkWidget*> GtkElements::chain() const {
    std::vector<GtkWidget*> widgets;
    const auto add = [&](GtkWidget* widget) {
        if (widget != nullptr && gtk_widget_get_mapped(widget) != FALSE) {
            widgets.push_back(widget);
        }
    };
    for (const Item& item : items_) {
        if (!item.standIn || item.element.focusable) {
            add(item.widget());
        }
    }
    for (GtkWidget* child = gtk_widget_get_first_child(parent_); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (GtkStandIn::of(child) == nullptr &&
            std::find(widgets.begin(), widgets.end(), child) == widgets.end()) {
            add(child);
        }
    }
    return widgets;
}

std::optional<bool> GtkElements::move(GtkDirectionType direction) {
    const auto standsIn = [](const Item& item) { return item.standIn != nullptr; };
    if (!isTab(direction) || std::none_of(items_.begin(), items_.end(), standsIn)) {
        return std::nullopt;
    }
    std::vector<GtkWidget*> widgets = chain();
    if (direction == GTK_DIR_TAB_BACKWARD) {
        std::reverse(widgets.begin(), widgets.end());
    }
    GtkWidget* const focus = focusWidget();
    const auto isHere = [focus](GtkWidget* widget) {
        return GtkStandIn::of(widget) != nullptr ? widget == focus : isIn(focus, widget);
    };
    // From within an embedded widget, to what else is in it or on; from elsewhere, to the first.
    auto next = std::find_if(widgets.begin(), widgets.end(), isHere);
    if (next == widgets.end()) {
        next = widgets.begin();
    } else if (GtkStandIn::of(*next) != nullptr) {
        ++next;
    }
    widgets.erase(widgets.begin(), next);
    const auto takesFocus = [direction](GtkWidget* widget) {
        return (GtkStandIn::of(widget) != nullptr
                    ? gtk_widget_grab_focus(widget)
                    : gtk_widget_child_focus(widget, direction)) != FALSE;
    };
    for (GtkWidget* const widget : widgets) {
        g_object_ref(widget);
    }
    const bool isTaken = std::any_of(widgets.begin(), widgets.end(), takesFocus);
    for (GtkWidget* const widget : widgets) {
        g_object_unref(widget);
    }
    return isTaken;
}

}  // namespace Mivora::platform
