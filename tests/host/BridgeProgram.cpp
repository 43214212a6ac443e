// Widgets of the toolkit by bridge views, over a card that fills the view they are in, and one more
// widget, "aside", below that in the window; for the scripts beside it. Prints what happens to the
// widgets and to the card, and obeys the lines it reads. NAME is one of entry, button, scale, text,
// menu.
//
//   where NAME              where the widget is in the window: "NAME X Y W H", or "NAME nowhere"
//   where popover           the middle of the menu's content and its upper edge: "popover X Y"
//   position NAME X Y       moves the bridge view
//   size NAME WIDTH HEIGHT  resizes it
//   rotate NAME DEGREES     turns it about z
//   hide / show NAME        hides what the bridge view is in
//   remove / add NAME       takes what it is in out of the tree, and puts it back
//   add-hidden NAME         puts it back into a hidden view
//   replace NAME            has the bridge view stand for a label instead
//   other NAME              moves it to the window of another application
//   drop NAME               drops the bridge view, after it has been removed, on another thread
//   drop-when-clicked       has the button drop its own bridge view
//   away DEGREES            turns all widgets about the upright axis, by the sublayer transform
//   tilt DEGREES            the same, in perspective
//   spin DEGREES            turns them in the plane of the window
//   cycle COUNT             makes, shows and drops so many entries, and prints how many widgets and
//                           views are left that were not there before
//   resize WIDTH HEIGHT     of the view, with its window
//   renderer                prints the toolkit's renderer that draws the window
//   quit                    ends the program, as does the end of the input
#include <gtk/gtk.h>

#include <algorithm>
#include <cstdio>
#include <glm/gtc/matrix_transform.hpp>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/MivoraMac.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "tests/host/CommandLines.h"

using Mivora::platform::GtkWidgetForView;
using Mivora::platform::MainThread;
using Mivora::platform::View;
using Mivora::platform::ViewForGtkWidget;
using Mivora::platform::Window;

namespace {

constexpr int kAsideHeight = 40;

class Card : public MVColorView {
 public:
    Card() : MVColorView({0.1F, 0.2F, 0.9F, 1.0F}) { setSize({2000, 2000}); }
    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override { print("down", mouse); }
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override { print("dragged", mouse); }
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override { print("up", mouse); }

 private:
    void print(const char* what, const std::shared_ptr<MVMouse>& mouse) {
        const Mivora::Point3 place = mouse->locationInView(shared_from_this());
        std::printf("card %s %.0f %.0f\n", what, static_cast<double>(place.x),
                    static_cast<double>(place.y));
    }
};

/// A widget, its bridge view, and the view that this is in.
struct Item {
    GtkWidget* widget = nullptr;
    std::shared_ptr<MVBridgeView> bridge;
    std::shared_ptr<MVView> holder;
};

/// Prints when the focus comes to a widget.
void printFocus(GtkWidget* widget, const std::string& name) {
    auto* const focus = gtk_event_controller_focus_new();
    g_object_set_data_full(G_OBJECT(focus), "name", g_strdup(name.c_str()), g_free);
    g_signal_connect(focus, "enter", G_CALLBACK(+[](GtkEventController* controller, gpointer) {
                         std::printf("focus %s\n", static_cast<const char*>(g_object_get_data(
                                                       G_OBJECT(controller), "name")));
                     }),
                     nullptr);
    gtk_widget_add_controller(widget, focus);
}

GtkWidget* newEntry(const char* name) {
    GtkWidget* const entry = gtk_entry_new();
    gtk_widget_set_name(entry, name);
    g_signal_connect(entry, "changed", G_CALLBACK(+[](GtkEditable* editable, gpointer) {
                         std::printf("%s \"%s\"\n", gtk_widget_get_name(GTK_WIDGET(editable)),
                                     gtk_editable_get_text(editable));
                     }),
                     nullptr);
    return entry;
}

/// What is written, with a bar for each end of a line.
void printText(GtkTextBuffer* buffer) {
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* const text = gtk_text_buffer_get_text(buffer, &start, &end, FALSE);
    std::printf("text \"%s\"\n", g_strdelimit(text, "\n", '|'));
    g_free(text);
}

/// Prints where in the window the middle of a popover's content is, and its upper edge.
void printPlace(GtkPopover* popover) {
    if (gtk_widget_get_mapped(GTK_WIDGET(popover)) == FALSE) {
        std::puts("popover nowhere");
        return;
    }
    GtkNative* const native = GTK_NATIVE(popover);
    auto* const popup = GDK_POPUP(gtk_native_get_surface(native));
    double x = 0;
    double y = 0;
    gtk_native_get_surface_transform(native, &x, &y);
    graphene_rect_t bounds;
    if (gtk_widget_compute_bounds(gtk_popover_get_child(popover), GTK_WIDGET(popover), &bounds) !=
        FALSE) {
        std::printf("popover %.0f %.0f\n",
                    x + gdk_popup_get_position_x(popup) +
                        static_cast<double>(bounds.origin.x + bounds.size.width / 2),
                    y + gdk_popup_get_position_y(popup) + static_cast<double>(bounds.origin.y));
    }
}

struct Program {
    std::shared_ptr<MVApplication> application = MVApplication::init();
    GtkWidget* window = nullptr;
    GtkWidget* popover = nullptr;
    std::shared_ptr<MVApplication> otherApplication;
    std::shared_ptr<Window> otherWindow;
    std::map<std::string, Item> items;
    bool dropsWhenClicked = false;

    void add(const std::string& name, GtkWidget* widget, Mivora::Point2 position,
             Mivora::Size2 size);
    void addWidgets();
    void addMenu();
    void makeWindow();
    void act(const std::string& command, std::istringstream& rest);
    bool actOnItem(const std::string& command, const std::string& name, std::istringstream& rest);
    void cycle(int count);
};

void Program::add(const std::string& name, GtkWidget* widget, Mivora::Point2 position,
                  Mivora::Size2 size) {
    Item item;
    item.widget = widget;
    item.holder = MVView::init();
    item.bridge = MVBridgeView::initWithBridgeView(ViewForGtkWidget(widget));
    item.bridge->setPosition(position);
    item.bridge->setSize(size);
    item.holder->addSubview(item.bridge);
    application->window()->addSubview(item.holder);
    printFocus(widget, name);
    items[name] = std::move(item);
}

void Program::addWidgets() {
    add("entry", newEntry("entry"), {20, 20}, {160, 40});

    GtkWidget* const button = gtk_button_new_with_label("Press");
    g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) {
                         auto* const self = static_cast<Program*>(data);
                         std::puts("clicked");
                         if (self->dropsWhenClicked) {
                             self->items["button"].holder->removeFromSuperview();
                             self->items.erase("button");
                             std::puts("dropped");
                         }
                     }),
                     this);
    add("button", button, {200, 20}, {100, 40});

    GtkWidget* const scale = gtk_scale_new_with_range(GTK_ORIENTATION_HORIZONTAL, 0, 100, 1);
    g_signal_connect(scale, "value-changed", G_CALLBACK(+[](GtkRange* range, gpointer) {
                         std::printf("scale %.0f\n", gtk_range_get_value(range));
                     }),
                     nullptr);
    add("scale", scale, {20, 80}, {200, 40});

    GtkWidget* const text = gtk_text_view_new();
    g_signal_connect(gtk_text_view_get_buffer(GTK_TEXT_VIEW(text)), "changed",
                     G_CALLBACK(+[](GtkTextBuffer* buffer, gpointer) { printText(buffer); }),
                     nullptr);
    add("text", text, {20, 140}, {200, 80});
    addMenu();
}

void Program::addMenu() {
    GtkWidget* const menu = gtk_menu_button_new();
    popover = gtk_popover_new();
    GtkWidget* const choice = gtk_button_new_with_label("Choice");
    gtk_widget_set_size_request(choice, 120, 60);
    g_signal_connect(choice, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) {
                         std::puts("chosen");
                         gtk_popover_popdown(GTK_POPOVER(data));
                     }),
                     popover);
    gtk_popover_set_child(GTK_POPOVER(popover), choice);
    gtk_menu_button_set_popover(GTK_MENU_BUTTON(menu), popover);
    add("menu", menu, {260, 80}, {100, 40});
}

bool Program::actOnItem(const std::string& command, const std::string& name,
                        std::istringstream& rest) {
    Item& item = items[name];
    float x = 0;
    float y = 0;
    rest >> x >> y;
    if (command == "where") {
        graphene_rect_t bounds;
        GtkRoot* const root = gtk_widget_get_root(item.widget);
        if (root != nullptr && gtk_widget_get_mapped(item.widget) != FALSE &&
            gtk_widget_compute_bounds(item.widget, gtk_widget_get_parent(item.widget), &bounds) !=
                FALSE) {
            std::printf("%s %.0f %.0f %.0f %.0f\n", name.c_str(),
                        static_cast<double>(bounds.origin.x), static_cast<double>(bounds.origin.y),
                        static_cast<double>(bounds.size.width),
                        static_cast<double>(bounds.size.height));
        } else {
            std::printf("%s nowhere\n", name.c_str());
        }
    } else if (command == "position") {
        item.bridge->setPosition({x, y});
    } else if (command == "size") {
        item.bridge->setSize({x, y});
    } else if (command == "rotate") {
        item.bridge->setRotation(x * static_cast<float>(G_PI) / 180);
    } else if (command == "hide" || command == "show") {
        item.holder->setHidden(command == "hide");
    } else if (command == "remove") {
        item.holder->removeFromSuperview();
    } else if (command == "add" || command == "add-hidden") {
        item.holder->setHidden(command == "add-hidden");
        application->window()->addSubview(item.holder);
    } else if (command == "replace") {
        item.widget = gtk_label_new("Instead");
        item.bridge->setBridgeView(ViewForGtkWidget(item.widget));
    } else if (command == "other") {
        if (!otherApplication) {
            otherApplication = MVApplication::init();
            otherWindow = Window::initWithTitle("Other", 300, 200);
            otherWindow->setContentView(otherApplication->renderView());
            otherWindow->show();
            otherApplication->setActive(true);
        }
        otherApplication->window()->addSubview(item.holder);
    } else if (command == "drop") {
        item.holder->removeFromSuperview();
        std::thread([dropped = std::move(item)]() mutable { dropped = Item(); }).join();
        items.erase(name);
    } else {
        return false;
    }
    return true;
}

void Program::makeWindow() {
    GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(box), GtkWidgetForView(application->renderView()));
    GtkWidget* const aside = newEntry("aside");
    gtk_widget_set_size_request(aside, -1, kAsideHeight);
    printFocus(aside, "aside");
    gtk_box_append(GTK_BOX(box), aside);
    window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Widgets");
    gtk_window_set_decorated(GTK_WINDOW(window), FALSE);
    gtk_window_set_default_size(GTK_WINDOW(window), 400, 300 + kAsideHeight);
    gtk_window_set_child(GTK_WINDOW(window), box);
    gtk_window_present(GTK_WINDOW(window));
}

/// Calls `take` with a widget and all in it.
template <class Take>
void eachWidget(GtkWidget* widget, const Take& take) {
    take(widget);
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        eachWidget(child, take);
    }
}

/// The widgets of all windows there are.
int widgetsOnTheScreen() {
    int count = 0;
    GListModel* const windows = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
        auto* const window = static_cast<GtkWidget*>(g_list_model_get_item(windows, i));
        eachWidget(window, [&count](GtkWidget*) { ++count; });
        g_object_unref(window);
    }
    return count;
}

void Program::cycle(int count) {
    static int alive = 0;
    const int before = widgetsOnTheScreen();
    std::vector<std::weak_ptr<View>> views;
    for (int i = 0; i < count; ++i) {
        GtkWidget* const widget = gtk_entry_new();
        eachWidget(widget, [](GtkWidget* each) {
            ++alive;
            g_object_weak_ref(
                G_OBJECT(each), [](gpointer, GObject*) { --alive; }, nullptr);
        });
        const std::shared_ptr<View> view = ViewForGtkWidget(widget);
        views.push_back(view);
        auto bridge = MVBridgeView::initWithBridgeView(view);
        bridge->setSize({50, 30});
        application->window()->addSubview(bridge);
        if (i % 10 == 0) {
            MainThread::runUntil([] { return false; }, 0);
        }
        bridge->removeFromSuperview();
    }
    MainThread::runUntil([] { return alive == 0; }, 10);
    const auto kept =
        std::count_if(views.begin(), views.end(), [](const auto& view) { return !view.expired(); });
    std::printf("left %d\n", alive + static_cast<int>(kept) + widgetsOnTheScreen() - before);
}

void Program::act(const std::string& command, std::istringstream& rest) {
    if (command == "drop-when-clicked") {
        dropsWhenClicked = true;
    } else if (command == "away" || command == "spin" || command == "tilt") {
        double degrees = 0;
        rest >> degrees;
        const glm::dvec3 axis = command == "spin" ? glm::dvec3(0, 0, 1) : glm::dvec3(0, 1, 0);
        glm::dmat4 perspective(1.0);
        perspective[2][3] = command == "tilt" ? -1.0 / 400 : 0;
        application->mv_renderView()->setBridgeViewContainerSublayerTransform(
            glm::rotate(perspective, glm::radians(degrees), axis));
    } else if (command == "cycle") {
        int count = 0;
        rest >> count;
        cycle(count);
    } else if (command == "renderer") {
        std::printf("renderer %s\n",
                    G_OBJECT_TYPE_NAME(gtk_native_get_renderer(GTK_NATIVE(window))));
    } else if (command == "resize") {
        int width = 0;
        int height = 0;
        rest >> width >> height;
        gtk_window_set_default_size(GTK_WINDOW(window), width, height + kAsideHeight);
    } else {
        std::string name;
        rest >> name;
        if (command == "where" && name == "popover") {
            printPlace(GTK_POPOVER(popover));
        } else if (items.count(name) == 0 || !actOnItem(command, name, rest)) {
            std::printf("unknown command: %s %s\n", command.c_str(), name.c_str());
        }
    }
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Program program;
    program.application->window()->addSubview(MVMake<Card>());
    program.addWidgets();
    program.makeWindow();
    program.application->setActive(true);
    std::puts("shown");
    Mivora::tests::obeyLines(
        [&](const std::string& command, std::istringstream& rest) { program.act(command, rest); });
    gtk_window_destroy(GTK_WINDOW(program.window));
    program.items.clear();
    program.application.reset();
    program.otherApplication.reset();
    Mivora::tests::endProgram();
}
