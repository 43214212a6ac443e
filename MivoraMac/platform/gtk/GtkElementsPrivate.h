#pragma once

#include <gtk/gtk.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "MivoraMac/platform/gtk/GtkStandInPrivate.h"
#include "MivoraMac/platform/windows/Element.h"

namespace Mivora::platform {

class OpenGLView;

/// The elements of a view, as stand-ins among the children of the widget that shows it, and the
/// keyboard's focus among them and the widgets that are embedded in the view.
///
/// While the view goes on telling of changes, as in an animation, its elements are asked for at
/// most ten times a second, and once more when it has come to rest. A change of places costs no
/// layout but that of the widget and of the stand-ins that have others in them.
///
/// What is called may run a program's code, which may destroy this.
///
/// Thread: main.
class GtkElements {
 public:
    /// Calls a function with the view, if there is one still.
    using Call = std::function<void(OpenGLView& view)>;
    using Tell = std::function<void(const Call& call)>;

    /// @param parent          outlives this
    /// @param keyboardIsGone  called when keys are no longer the view's
    GtkElements(GtkWidget* parent, Tell tell, std::function<void()> keyboardIsGone);
    ~GtkElements();
    GtkElements(const GtkElements&) = delete;
    GtkElements& operator=(const GtkElements&) = delete;

    /// Asks the view for its elements again, soon.
    void elementsDidChange();

    /// Drops all stand-ins, for good.
    void close();

    /// Gives every stand-in its place. Part of the layout of the parent.
    /// @param height  of the parent
    void place(int height) const;

    /// @name Focus
    /// @{

    /// The parent has come into a window, or is leaving it.
    void entered(GtkRoot* root);
    void left();

    /// While held, the view is not told of the focus; `release` does.
    void hold() { isHeld_ = true; }
    void release();

    /// Moves the toolkit's focus to an element, or with 0 off all of them.
    void focus(std::uint64_t identifier);

    /// Moves the focus on to the next element or embedded widget, or back.
    /// @return whether there was one; nullopt where the toolkit is to decide: without stand-ins,
    ///         and for the arrow keys
    std::optional<bool> move(GtkDirectionType direction);

    /// Whether the keyboard's focus is on a stand-in, so that keys are the view's.
    bool haveKeyboard() const;

    /// @}

 private:
    /// An element, with its stand-in or the native view that is there instead.
    struct Item {
        Element element;  // without `embedded`, which is not to be kept alive
        std::unique_ptr<GtkStandIn> standIn;
        std::weak_ptr<View> embedded;

        GtkWidget* widget() const;
    };

    using Indices = std::unordered_map<std::uint64_t, std::size_t>;  // by identifiers

    static Indices putInOrder(std::vector<Element>& elements);
    void schedule(unsigned milliseconds);
    void update();
    void show(std::vector<Element> elements);
    std::vector<bool> findKept(const std::vector<Element>& elements, const Indices& indices) const;
    bool takeFocusOff(const std::vector<bool>& isKept);
    Item make(Element element);
    void arrange() const;
    void findPlaces() const;

    void forgetRoot();
    void windowDidChange();
    void loseKeyboard();
    void focusDidMove();
    void tellFocus();
    void takeFocus();
    void setFocus(GtkWidget* widget);
    GtkWidget* focusWidget() const;
    const Item* focusedItem() const;
    std::vector<GtkWidget*> chain() const;

    GtkWidget* const parent_;
    const Tell tell_;
    const std::function<void()> keyboardIsGone_;
    const std::shared_ptr<bool> isAlive_ = std::make_shared<bool>(true);

    std::vector<Item> items_;
    Indices indices_;  // in items_
    guint timer_ = 0;
    gint64 latestUpdate_ = 0;
    bool isClosed_ = false;

    GtkRoot* root_ = nullptr;
    gulong focusHandler_ = 0;
    gulong activeHandler_ = 0;
    std::uint64_t focused_ = 0;   // as far as the view knows
    bool isFocusWanted_ = false;  // there, where it has not come to yet
    bool hadKeyboard_ = false;
    bool isHeld_ = false;
    bool isMovingFocus_ = false;
};

}  // namespace Mivora::platform
