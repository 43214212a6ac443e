#include "MivoraMac/platform/gtk/GtkStandInPrivate.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

#include "MivoraMac/platform/gtk/GtkKeepPrivate.h"

using Mivora::platform::GtkStandIn;

// The class of the widgets. What is left of one when its stand-in has gone stands for nothing.

extern "C" {

#define MIVORA_TYPE_STAND_IN (mivora_stand_in_get_type())
G_DECLARE_FINAL_TYPE(MivoraStandIn, mivora_stand_in, MIVORA, STAND_IN, GtkWidget)

struct _MivoraStandIn {
    GtkWidget base;
    GtkStandIn* standIn;
};

G_DEFINE_FINAL_TYPE(MivoraStandIn, mivora_stand_in, GTK_TYPE_WIDGET)

}  // extern "C"

static void mivora_stand_in_class_init(MivoraStandInClass* type) {
    GtkWidgetClass* const widget = GTK_WIDGET_CLASS(type);
    widget->size_allocate = [](GtkWidget* self, int, int, int) {
        GtkStandIn::allocateChildren(self, 0);
    };
    widget->snapshot = [](GtkWidget*, GtkSnapshot*) {};
    gtk_widget_class_set_css_name(widget, "mivora-element");
}

static void mivora_stand_in_init(MivoraStandIn* self) {
    gtk_widget_set_can_target(GTK_WIDGET(self), FALSE);
}

namespace Mivora::platform {

namespace {

constexpr const char* kActionPrefix = "view";

GtkAccessibleRole roleOf(Role role) {
    switch (role) {
        case Role::None:
        case Role::Group:
            return GTK_ACCESSIBLE_ROLE_GROUP;
        case Role::Button:
            return GTK_ACCESSIBLE_ROLE_BUTTON;
        case Role::CheckBox:
            return GTK_ACCESSIBLE_ROLE_CHECKBOX;
        case Role::Heading:
            return GTK_ACCESSIBLE_ROLE_HEADING;
        case Role::Label:
            return GTK_ACCESSIBLE_ROLE_LABEL;
        case Role::Link:
            return GTK_ACCESSIBLE_ROLE_LINK;
        case Role::List:
            return GTK_ACCESSIBLE_ROLE_LIST;
        case Role::ListItem:
            return GTK_ACCESSIBLE_ROLE_LIST_ITEM;
        case Role::Picture:
            return GTK_ACCESSIBLE_ROLE_IMG;
        case Role::ProgressBar:
            return GTK_ACCESSIBLE_ROLE_PROGRESS_BAR;
        case Role::RadioButton:
            return GTK_ACCESSIBLE_ROLE_RADIO;
        case Role::Slider:
            return GTK_ACCESSIBLE_ROLE_SLIDER;
        case Role::Switch:
            return GTK_ACCESSIBLE_ROLE_SWITCH;
    }
    return GTK_ACCESSIBLE_ROLE_GROUP;
}

std::string valid(const std::string& text) {
    g_autofree char* made = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
    return made;
}

std::string descriptionOf(const Element& element) {
    return element.value.empty() || element.description.empty()
               ? element.value + element.description
               : element.value + ", " + element.description;
}

}  // namespace

GtkStandIn::GtkStandIn(const Element& element, Act act)
    : widget_(GTK_WIDGET(
          g_object_new(MIVORA_TYPE_STAND_IN, "accessible-role", roleOf(element.role), nullptr))),
      act_(std::move(act)) {
    g_object_ref_sink(widget_);
    MIVORA_STAND_IN(widget_)->standIn = this;
    setText(GTK_ACCESSIBLE_PROPERTY_LABEL, element.label);  // else the toolkit makes a name up
    setText(GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, descriptionOf(element));
    setAbilities(element);
    setActions(element);
}

GtkStandIn::~GtkStandIn() {
    MIVORA_STAND_IN(widget_)->standIn = nullptr;
    gtk_widget_unparent(widget_);
    g_object_unref(widget_);
}

GtkStandIn* GtkStandIn::of(GtkWidget* widget) {
    return MIVORA_IS_STAND_IN(widget) ? MIVORA_STAND_IN(widget)->standIn : nullptr;
}

void GtkStandIn::update(const Element& element, const Element& before) {
    if (element.label != before.label) {
        setText(GTK_ACCESSIBLE_PROPERTY_LABEL, element.label);
    }
    if (descriptionOf(element) != descriptionOf(before)) {
        setText(GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, descriptionOf(element));
    }
    setAbilities(element);
    if (element.actions != before.actions || element.disabled != before.disabled) {
        setActions(element);
    }
}

/// What goes to other programs must be UTF-8.
void GtkStandIn::setText(GtkAccessibleProperty property, const std::string& text) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget_), property, valid(text).c_str(), -1);
}

/// Equal ones are no news to the toolkit.
void GtkStandIn::setAbilities(const Element& element) {
    gtk_widget_set_focusable(widget_, element.focusable ? TRUE : FALSE);
    gtk_accessible_update_state(GTK_ACCESSIBLE(widget_), GTK_ACCESSIBLE_STATE_DISABLED,
                                element.disabled ? TRUE : FALSE, -1);
}

void GtkStandIn::setActions(const Element& element) {
    actions_ = element.disabled ? std::vector<std::string>() : element.actions;
    if (actions_.empty()) {
        gtk_widget_insert_action_group(widget_, kActionPrefix, nullptr);
        return;
    }
    g_autoptr(GSimpleActionGroup) group = g_simple_action_group_new();
    for (const std::string& name : actions_) {
        g_autoptr(GSimpleAction) action = g_simple_action_new(valid(name).c_str(), nullptr);
        g_signal_connect_object(
            action, "activate",
            G_CALLBACK(+[](GSimpleAction* activated, GVariant*, GtkWidget* widget) {
                if (GtkStandIn* const standIn = GtkStandIn::of(widget)) {
                    keepForThisTurn(widget);
                    standIn->activate(g_action_get_name(G_ACTION(activated)));
                }
            }),
            widget_, static_cast<GConnectFlags>(0));
        g_action_map_add_action(G_ACTION_MAP(group), G_ACTION(action));
    }
    gtk_widget_insert_action_group(widget_, kActionPrefix, G_ACTION_GROUP(group));
}

void GtkStandIn::activate(const char* name) {
    const auto found = std::find_if(actions_.begin(), actions_.end(),
                                    [&](const std::string& own) { return valid(own) == name; });
    if (found != actions_.end()) {
        const Act act = act_;
        act(static_cast<std::size_t>(found - actions_.begin()));
    }
}

bool GtkStandIn::setPlace(const GdkRectangle& place) {
    const bool isOther = gdk_rectangle_equal(&place_, &place) == FALSE;
    place_ = place;
    return isOther;
}

void GtkStandIn::allocateChildren(GtkWidget* parent, int shift) {
    for (GtkWidget* child = gtk_widget_get_first_child(parent); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (const GtkStandIn* const standIn = of(child)) {
            const GdkRectangle& place = standIn->place_;
            const graphene_point_t corner = {static_cast<float>(place.x),
                                             static_cast<float>(place.y + shift)};
            gtk_widget_measure(child, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr,
                               nullptr);
            gtk_widget_allocate(child, place.width, place.height, -1,
                                gsk_transform_translate(nullptr, &corner));
        }
    }
}

}  // namespace Mivora::platform
