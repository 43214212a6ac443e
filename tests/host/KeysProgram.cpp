// A program that makes its window with the toolkit: a button, a view of the library, and another
// button. The view has elements, as the lines it reads say, and prints what it is told of keys,
// focus and actions. For the scripts beside it.
//
//   element ID PARENT ROLE X Y WIDTH HEIGHT LABEL
//                         adds an element, or changes the one of this ID. ROLE is group, button,
//                         label, picture or slider; with "!" behind it, the keyboard reaches it
//   describe ID VALUE DESCRIPTION / disable ID / enable ID
//   action ID NAME        gives it one more action
//   embed ID              the entry comes in here, among the native views
//   remove ID             takes the element away, or the entry
//   before ID OTHER       moves it in the order
//   tell                  tells of the changes so far
//   focus ID              moves the focus; 0 for none
//   handle [SYMBOL...]    the keys that the view has a use for from now on, in hexadecimal
//   on ID WHAT            once ID gets the focus: "drop" the view, "destroy" the window,
//                         "clear" all elements, "move" the focus to element 1, "take" the widget
//                         out of the window
//   act WHAT              the same for the next action
//   press WHAT / release WHAT   the same for the next key that is pressed or let go
//   do PLACE NAME         asks the stand-in at this place of the order for an action, as
//                         assistive technology does
//   again                 a new window with a new view, and nothing of the old ones
//   where                 prints where the view is in the window: "view X Y W H"
//   focused               prints what has the toolkit's focus
//   count                 prints how many children the view's widget has
//   asked                 prints how often the elements have been asked for since
//   cursor NAME           the pointer's shape; without a name the usual one
//   window                moves the view into another window
//   insensitive / sensitive   the view's widget
#include <gtk/gtk.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::Element;
using Mivora::platform::Event;
using Mivora::platform::GtkWidgetForView;
using Mivora::platform::OpenGLView;
using Mivora::platform::Role;
using Mivora::platform::View;
using Mivora::platform::ViewForGtkWidget;

namespace {

struct Client;

class KeysView : public OpenGLView {
 public:
    explicit KeysView(Client* client) : client_(client) {}

    std::vector<Element> elements() override {
        ++asked;
        return list;
    }
    void elementDidFocus(std::uint64_t identifier) override;
    void elementDidBlur(std::uint64_t identifier) override;
    bool performAction(std::uint64_t identifier, std::size_t index) override;
    std::string cursorName() const override { return cursor; }

    std::vector<Element>::iterator find(std::uint64_t identifier) {
        return std::find_if(list.begin(), list.end(), [=](const Element& element) {
            return element.identifier == identifier;
        });
    }
    Element& at(std::uint64_t identifier) {
        const auto found = find(identifier);
        if (found != list.end()) {
            return *found;
        }
        list.emplace_back().identifier = identifier;
        return list.back();
    }

    std::vector<Element> list;
    std::set<std::uint32_t> handled;
    std::string cursor;
    int asked = 0;

 protected:
    bool keyDown(const std::shared_ptr<const Event>& event) override { return key("down", *event); }
    bool keyUp(const std::shared_ptr<const Event>& event) override { return key("up", *event); }

 private:
    bool key(const char* what, const Event& event);

    Client* client_;
};

struct Client {
    GtkWidget* window = nullptr;
    GtkWidget* box = nullptr;
    GtkWidget* entry = nullptr;
    std::shared_ptr<KeysView> view;
    std::shared_ptr<View> embedded;
    std::uint64_t trigger = 0;
    std::string onFocus;
    std::string onAction;
    std::string onPress;
    std::string onRelease;

    void happen(std::string& what);
};

/// What stands for an element in a widget, by its place among all those, counted from 1.
GtkWidget* standIn(GtkWidget* widget, int& place) {
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (!GTK_IS_ENTRY(child)) {
            GtkWidget* const found = --place == 0 ? child : standIn(child, place);
            if (found != nullptr) {
                return found;
            }
        }
    }
    return nullptr;
}

void Client::happen(std::string& what) {
    const std::string now = std::exchange(what, {});
    GtkWidget* const widget = view ? GtkWidgetForView(view) : nullptr;
    if (now == "drop") {
        view.reset();
    } else if (now == "destroy") {
        gtk_window_destroy(GTK_WINDOW(std::exchange(window, nullptr)));
    } else if (now == "clear") {
        view->list.clear();
        view->peer()->elementsDidChange();
    } else if (now == "move") {
        view->peer()->focusElement(1);
    } else if (now == "take") {
        gtk_box_remove(GTK_BOX(box), widget);
    }
}

void KeysView::elementDidFocus(std::uint64_t identifier) {
    std::printf("focus %d\n", static_cast<int>(identifier));
    if (identifier == client_->trigger) {
        client_->happen(client_->onFocus);
    }
}

void KeysView::elementDidBlur(std::uint64_t identifier) {
    std::printf("blur %d\n", static_cast<int>(identifier));
}

bool KeysView::performAction(std::uint64_t identifier, std::size_t index) {
    std::printf("action %d %d\n", static_cast<int>(identifier), static_cast<int>(index));
    client_->happen(client_->onAction);
    return true;
}

bool KeysView::key(const char* what, const Event& event) {
    std::printf("%s %x", what, event.key);
    if (!event.text.empty()) {
        std::printf(" \"%s\"", event.text.c_str());
    }
    std::printf("%s%s%s%s%s\n", event.modifiers.shift ? " shift" : "",
                event.modifiers.control ? " control" : "", event.modifiers.alt ? " alt" : "",
                event.modifiers.super ? " super" : "", event.isRepeat ? " repeat" : "");
    const bool isHandled = handled.count(event.key) != 0;
    client_->happen(event.type == Event::Type::KeyDown ? client_->onPress : client_->onRelease);
    return isHandled;
}

GtkWidget* makeButton(const char* label) {
    GtkWidget* const button = gtk_button_new_with_label(label);
    g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton* clicked, gpointer) {
                         std::printf("clicked %s\n", gtk_button_get_label(clicked));
                     }),
                     nullptr);
    return button;
}

/// What nobody else has a use for comes to the window.
void watchWindow(GtkWidget* window) {
    GtkEventController* const keys = gtk_event_controller_key_new();
    g_signal_connect(keys, "key-pressed",
                     G_CALLBACK(+[](GtkEventController*, guint symbol, guint, GdkModifierType,
                                    gpointer) -> gboolean {
                         std::printf("window %x\n", symbol);
                         return FALSE;
                     }),
                     nullptr);
    gtk_widget_add_controller(window, keys);

    GtkEventController* const shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts),
                                      GTK_SHORTCUT_SCOPE_GLOBAL);
    gtk_shortcut_controller_add_shortcut(
        GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string("<Control>s"),
                         gtk_callback_action_new(
                             [](GtkWidget*, GVariant*, gpointer) -> gboolean {
                                 std::puts("accelerator");
                                 return TRUE;
                             },
                             nullptr, nullptr)));
    gtk_widget_add_controller(window, shortcuts);
}

void makeWindow(Client& client) {
    client.window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(client.window), "Keys");
    gtk_window_set_default_size(GTK_WINDOW(client.window), 400, 300);
    client.box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_window_set_child(GTK_WINDOW(client.window), client.box);
    client.view = MVMake<KeysView>(&client);
    client.entry = gtk_entry_new();
    g_signal_connect(client.entry, "changed", G_CALLBACK(+[](GtkEditable* editable, gpointer) {
                         std::printf("entry \"%s\"\n", gtk_editable_get_text(editable));
                     }),
                     nullptr);
    client.embedded = ViewForGtkWidget(client.entry);
    client.embedded->setFrame({200, 20, 150, 40});
    gtk_box_append(GTK_BOX(client.box), makeButton("first"));
    gtk_box_append(GTK_BOX(client.box), GtkWidgetForView(client.view));
    GtkWidget* const last = makeButton("last");
    gtk_box_append(GTK_BOX(client.box), last);
    gtk_window_set_default_widget(GTK_WINDOW(client.window), last);
    watchWindow(client.window);
    gtk_window_present(GTK_WINDOW(client.window));
}

void moveToOtherWindow(Client& client) {
    GtkWidget* const widget = GtkWidgetForView(client.view);
    GtkWidget* const other = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(other), "Other");
    gtk_window_set_default_size(GTK_WINDOW(other), 300, 200);
    g_object_ref(widget);
    gtk_box_remove(GTK_BOX(client.box), widget);
    gtk_window_set_child(GTK_WINDOW(other), widget);
    g_object_unref(widget);
    watchWindow(other);
    gtk_window_present(GTK_WINDOW(other));
}

const char* focusName(const Client& client) {
    GtkWidget* const focus = gtk_window_get_focus(GTK_WINDOW(client.window));
    if (focus == nullptr) {
        return "nothing";
    }
    if (GTK_IS_BUTTON(focus)) {
        return gtk_button_get_label(GTK_BUTTON(focus));
    }
    return gtk_widget_is_ancestor(focus, client.entry) != FALSE ? "the entry" : "an element";
}

int countChildren(GtkWidget* widget) {
    int count = 0;
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        count += 1 + (GTK_IS_ENTRY(child) ? 0 : countChildren(child));
    }
    return count;
}

std::string restOf(std::istringstream& rest) {
    std::string text;
    std::getline(rest >> std::ws, text);
    return text;
}

void setElement(KeysView& view, std::istringstream& rest) {
    std::uint64_t identifier = 0;
    rest >> identifier;
    Element& element = view.at(identifier);
    std::string role;
    rest >> element.parent >> role >> element.box.x >> element.box.y >> element.box.width >>
        element.box.height;
    element.focusable = role.back() == '!';
    element.role = role.front() == 'g'   ? Role::Group
                   : role.front() == 'b' ? Role::Button
                   : role.front() == 'l' ? Role::Label
                   : role.front() == 'p' ? Role::Picture
                                         : Role::Slider;
    element.label = restOf(rest);
}

bool changeElements(Client& client, const std::string& command, std::istringstream& rest) {
    KeysView& view = *client.view;
    std::uint64_t identifier = 0;
    std::uint64_t other = 0;
    if (command == "element") {
        setElement(view, rest);
    } else if (command == "describe") {
        rest >> identifier >> view.at(identifier).value;
        view.at(identifier).description = restOf(rest);
    } else if (command == "disable" || command == "enable") {
        rest >> identifier;
        view.at(identifier).disabled = command == "disable";
        view.at(identifier).focusable = command == "enable";
    } else if (command == "action") {
        rest >> identifier;
        view.at(identifier).actions.push_back(restOf(rest));
    } else if (command == "embed") {
        rest >> identifier;
        view.addSubview(client.embedded);
        view.at(identifier).embedded = client.embedded;
    } else if (command == "remove") {
        rest >> identifier;
        if (view.at(identifier).embedded) {
            client.embedded->removeFromSuperview();
        }
        view.list.erase(view.find(identifier));
    } else if (command == "before") {
        rest >> identifier >> other;
        Element moved = view.at(identifier);
        view.list.erase(view.find(identifier));
        view.list.insert(view.find(other), std::move(moved));
    } else {
        return false;
    }
    return true;
}

void obey(Client& client, const std::string& command, std::istringstream& rest) {
    if (client.view && changeElements(client, command, rest)) {
        return;
    }
    if (command == "again") {
        if (client.window != nullptr) {
            gtk_window_destroy(GTK_WINDOW(client.window));
        }
        makeWindow(client);
    } else if (command == "focused") {
        std::printf("on %s\n", client.window != nullptr ? focusName(client) : "no window");
    } else if (!client.view) {
        std::puts("no view");
    } else if (command == "tell") {
        client.view->peer()->elementsDidChange();
    } else if (command == "focus") {
        std::uint64_t identifier = 0;
        rest >> identifier;
        client.view->peer()->focusElement(identifier);
    } else if (command == "handle") {
        client.view->handled.clear();
        for (std::uint32_t symbol = 0; rest >> std::hex >> symbol;) {
            client.view->handled.insert(symbol);
        }
    } else if (command == "on") {
        rest >> client.trigger >> client.onFocus;
    } else if (command == "act") {
        rest >> client.onAction;
    } else if (command == "press") {
        rest >> client.onPress;
    } else if (command == "release") {
        rest >> client.onRelease;
    } else if (command == "do") {
        int place = 0;
        rest >> place;
        GtkWidget* const found = standIn(GtkWidgetForView(client.view), place);
        if (found != nullptr) {
            gtk_widget_activate_action_variant(found, restOf(rest).c_str(), nullptr);
        }
    } else if (command == "where") {
        graphene_rect_t bounds;
        if (gtk_widget_compute_bounds(GtkWidgetForView(client.view), client.window, &bounds) !=
            FALSE) {
            std::printf("view %.0f %.0f %.0f %.0f\n", static_cast<double>(bounds.origin.x),
                        static_cast<double>(bounds.origin.y),
                        static_cast<double>(bounds.size.width),
                        static_cast<double>(bounds.size.height));
        }
    } else if (command == "count") {
        std::printf("%d children\n", countChildren(GtkWidgetForView(client.view)));
    } else if (command == "asked") {
        std::printf("asked %d times\n", std::exchange(client.view->asked, 0));
    } else if (command == "cursor") {
        client.view->cursor = restOf(rest);
        client.view->peer()->cursorDidChange();
    } else if (command == "window") {
        moveToOtherWindow(client);
    } else if (command == "insensitive" || command == "sensitive") {
        gtk_widget_set_sensitive(GtkWidgetForView(client.view), command == "sensitive");
    } else {
        std::printf("unknown command: %s\n", command.c_str());
    }
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    gtk_init();
    Client client;
    makeWindow(client);
    std::puts("shown");
    Mivora::tests::obeyLines(
        [&](const std::string& command, std::istringstream& rest) { obey(client, command, rest); });
    if (client.window != nullptr) {
        gtk_window_destroy(GTK_WINDOW(client.window));
    }
    Mivora::tests::endProgram();
}
