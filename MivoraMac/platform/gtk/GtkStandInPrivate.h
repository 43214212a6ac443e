#pragma once

#include <gtk/gtk.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "MivoraMac/platform/windows/Element.h"

namespace Mivora::platform {

/// A widget that stands for an element of a view: assistive technology reads it, and it takes the
/// keyboard's focus. It draws nothing, and the pointer goes through it.
///
/// The toolkit knows the numeric values of its own sliders only, so that the element's value is
/// read before its description. Actions are called "view." and their name.
///
/// Thread: main.
class GtkStandIn {
 public:
    /// An action of the element has been asked for, by its index. May destroy the stand-in.
    using Act = std::function<void(std::size_t index)>;

    GtkStandIn(const Element& element, Act act);
    /// Takes the widget out of its parent.
    ~GtkStandIn();
    GtkStandIn(const GtkStandIn&) = delete;
    GtkStandIn& operator=(const GtkStandIn&) = delete;

    /// What stands for a widget that is one of these; null for any other.
    static GtkStandIn* of(GtkWidget* widget);

    GtkWidget* widget() const { return widget_; }

    /// Says what an element of the same role says.
    /// @param before  what the stand-in says already
    void update(const Element& element, const Element& before);

    /// Gives the widget its place in its parent from the next layout on.
    /// @return whether it has another one
    bool setPlace(const GdkRectangle& place);

    /// Lays the stand-ins among the children of a widget out. Part of the layout of the parent.
    /// @param shift  of all places, downward
    static void allocateChildren(GtkWidget* parent, int shift);

    /// The action of this name has been asked for.
    void activate(const char* name);

 private:
    void setText(GtkAccessibleProperty property, const std::string& text);
    void setAbilities(const Element& element);
    void setActions(const Element& element);

    GtkWidget* const widget_;
    Act act_;
    std::vector<std::string> actions_;
    GdkRectangle place_ = {0, 0, 0, 0};
};

}  // namespace Mivora::platform
