// A program that makes its windows with the toolkit itself and places a view of the library in one
// of them, beside a side bar 120 points wide and below a header bar. For the scripts beside it:
// prints what the view is told (see QuadrantView) and obeys the lines it reads.
//
//   place                          prints where the view is in the window: "place X Y W H", from
//                                  the window's top left corner
//   origin                         prints where the window begins on the screen of an X server,
//                                  where it is alone: "origin X Y"
//   button X Y WIDTH HEIGHT        places a button among the native views, by its frame
//   hide / unhide                  the button
//   turn DEGREES                   turns what is among the native views, about the centre
//   where                          prints where the button is in the view: "where X Y W H", from
//                                  the top left corner
//   unbutton                       takes the button away
//   disable / enable               the view's widget
//   drop-view / drop-widget        one of the two before the other
//   new-widget                     another widget for the view, in the place of the first
//   areas EVENT                    four widgets among the native views: once EVENT ("resize",
//   "draw",
//                                  "unmap") comes to one of them, all are taken out and dropped
//   grow                           makes the areas larger
//   unareas                        takes the first of them out
//   steal / return                 puts the button beside the view, and takes it from there
//   embed-window / embed-itself    a window, or the view's own widget, among the native views
//   dispose                        takes the view's widget apart where it is
//   adopt [CONTAINER]              a window of the library takes the view over, from the box or a
//                                  container put there: "frame", "scrolled", "paned" or "stack"
//   destroy                        destroys the toolkit's window that the view is in
//   adopted                        prints what the window of the library says of itself
#include <gtk/gtk.h>

#include <cstdio>
#include <glm/gtc/matrix_transform.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "MivoraMac/platform/windows/Window.h"
#include "tests/host/CommandLines.h"
#include "tests/host/QuadrantView.h"

using Mivora::platform::GtkWidgetForView;
using Mivora::platform::View;
using Mivora::platform::ViewForGtkWidget;
using Mivora::platform::Window;
using Mivora::tests::QuadrantView;

namespace {

struct Client {
    GtkWidget* window = nullptr;
    GtkWidget* box = nullptr;
    GtkWidget* widget = nullptr;
    GtkWidget* aside = nullptr;
    std::shared_ptr<QuadrantView> view;
    std::shared_ptr<View> container;
    std::shared_ptr<View> button;
    std::vector<std::shared_ptr<View>> areas;
    std::shared_ptr<Window> own;
};

void printPlace(const char* word, GtkWidget* widget, GtkWidget* in) {
    graphene_rect_t bounds;
    if (gtk_widget_compute_bounds(widget, in, &bounds) != FALSE) {
        std::printf("%s %.0f %.0f %.0f %.0f\n", word, static_cast<double>(bounds.origin.x),
                    static_cast<double>(bounds.origin.y), static_cast<double>(bounds.size.width),
                    static_cast<double>(bounds.size.height));
    }
}

void addView(Client& client) {
    client.widget = GtkWidgetForView(client.view);
    gtk_box_append(GTK_BOX(client.box), client.widget);
    std::puts(client.widget == GtkWidgetForView(client.view) ? "one widget" : "two widgets");
}

void makeWindow(Client& client) {
    client.window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(client.window), "Client");
    gtk_window_set_titlebar(GTK_WINDOW(client.window), gtk_header_bar_new());
    gtk_window_set_default_size(GTK_WINDOW(client.window), 600, 400);
    client.box = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    GtkWidget* const bar = gtk_label_new("Side bar");
    gtk_widget_set_size_request(bar, 120, -1);
    gtk_box_append(GTK_BOX(client.box), bar);
    gtk_window_set_child(GTK_WINDOW(client.window), client.box);
    client.view = QuadrantView::create();
    client.container = View::initWithFrame({0, 0, 0, 0});
    client.view->addSubview(client.container);
    addView(client);
    gtk_window_present(GTK_WINDOW(client.window));
}

void addButton(Client& client, std::istringstream& rest) {
    Mivora::platform::Rect frame;
    rest >> frame.x >> frame.y >> frame.width >> frame.height;
    if (!client.button) {
        GtkWidget* const button = gtk_button_new();
        g_signal_connect(button, "clicked", G_CALLBACK(+[] { std::puts("clicked"); }), nullptr);
        client.button = ViewForGtkWidget(button);
        std::puts(client.button == ViewForGtkWidget(button) ? "one view" : "two views");
    }
    client.button->setFrame(frame);
    client.container->setFrame(client.view->bounds());
    client.container->addSubview(client.button);
}

void turn(Client& client, std::istringstream& rest) {
    double degrees = 0;
    rest >> degrees;
    client.container->setSublayerTransform(
        glm::rotate(glm::dmat4(1.0), glm::radians(degrees), glm::dvec3(0, 0, 1)));
}

void removeAreas(Client& client) {
    if (const auto areas = std::exchange(client.areas, {}); !areas.empty()) {
        std::puts("removes all");
        for (const auto& area : areas) {
            area->removeFromSuperview();
        }
    }
}

void addAreas(Client& client, std::istringstream& rest) {
    std::string event;
    rest >> event;
    client.container->setFrame(client.view->bounds());
    for (int i = 0; i < 4; ++i) {
        GtkWidget* const widget = gtk_drawing_area_new();
        if (event == "draw") {
            gtk_drawing_area_set_draw_func(
                GTK_DRAWING_AREA(widget),
                [](GtkDrawingArea*, cairo_t*, int, int, gpointer data) {
                    removeAreas(*static_cast<Client*>(data));
                },
                &client, nullptr);
        } else if (event == "resize") {
            g_signal_connect(widget, "resize", G_CALLBACK(+[](GtkWidget*, int, int, gpointer data) {
                                 removeAreas(*static_cast<Client*>(data));
                             }),
                             &client);
        } else {
            g_signal_connect(widget, "unmap", G_CALLBACK(+[](GtkWidget*, gpointer data) {
                                 removeAreas(*static_cast<Client*>(data));
                             }),
                             &client);
        }
        client.areas.push_back(ViewForGtkWidget(widget));
        client.areas.back()->setFrame({10.0 + 40 * i, 10, 30, 30});
        client.container->addSubview(client.areas.back());
    }
}

void embed(Client& client, GtkWidget* widget) {
    const std::shared_ptr<View> view = ViewForGtkWidget(widget);
    view->setFrame({0, 0, 10, 10});
    client.container->addSubview(view);
}

void moveButton(Client& client, bool away) {
    GtkWidget* const widget = gtk_widget_get_first_child(away ? client.widget : client.aside);
    if (away) {
        client.aside = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
        gtk_box_append(GTK_BOX(client.box), client.aside);
        gtk_widget_unparent(widget);
        gtk_box_append(GTK_BOX(client.aside), widget);
    } else {
        gtk_box_remove(GTK_BOX(client.aside), widget);
        gtk_box_remove(GTK_BOX(client.box), client.aside);
    }
}

/// @return a container of the kind, holding the widget
GtkWidget* containerFor(const std::string& kind, GtkWidget* widget) {
    GtkWidget* container = nullptr;
    if (kind == "frame") {
        container = gtk_frame_new(nullptr);
        gtk_frame_set_child(GTK_FRAME(container), widget);
    } else if (kind == "scrolled") {
        container = gtk_scrolled_window_new();
        gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(container), widget);
    } else if (kind == "paned") {
        container = gtk_paned_new(GTK_ORIENTATION_HORIZONTAL);
        gtk_paned_set_end_child(GTK_PANED(container), widget);
    } else {
        container = gtk_stack_new();
        gtk_stack_add_child(GTK_STACK(container), widget);
    }
    return container;
}

void adopt(Client& client, std::istringstream& rest) {
    std::string kind;
    if (rest >> kind) {
        const std::shared_ptr<Window> before = std::exchange(client.own, nullptr);
        if (before) {
            before->setContentView(nullptr);
        }
        client.widget = GtkWidgetForView(client.view);
        if (gtk_widget_get_parent(client.widget) == client.box) {
            gtk_box_remove(GTK_BOX(client.box), client.widget);
            client.widget = GtkWidgetForView(client.view);
        }
        GtkWidget* const container = containerFor(kind, client.widget);
        gtk_box_append(GTK_BOX(client.box), container);
        client.aside = container;
    }
    client.own = Window::initWithTitle("Own", 300, 200);
    client.own->setCloseHandler([] { std::puts("closed"); });
    client.own->setContentView(client.view);
    client.own->show();
    std::puts(client.view->window() == client.own ? "adopted" : "not adopted");
    if (!kind.empty()) {
        gtk_box_remove(GTK_BOX(client.box), client.aside);
    }
}

void printOwnWindow(const Client& client) {
    std::printf("%s %s %.0f %.0f\n", client.own->title().c_str(),
                client.own->isVisible() ? "visible" : "gone", client.own->contentRect().width,
                client.own->contentRect().height);
}

void obey(Client& client, const std::string& command, std::istringstream& rest) {
    if (command == "place") {
        printPlace("place", client.widget, client.window);
    } else if (command == "origin") {
        double x = 0;
        double y = 0;
        gtk_native_get_surface_transform(GTK_NATIVE(client.window), &x, &y);
        std::printf("origin %.0f %.0f\n", x, y);
    } else if (command == "button") {
        addButton(client, rest);
    } else if (command == "hide" || command == "unhide") {
        client.button->setHidden(command == "hide");
    } else if (command == "turn") {
        turn(client, rest);
    } else if (command == "where") {
        GtkWidget* const child = gtk_widget_get_first_child(client.widget);
        child != nullptr ? printPlace("where", child, client.widget)
                         : static_cast<void>(std::puts("nowhere"));
    } else if (command == "unbutton") {
        client.button->removeFromSuperview();
    } else if (command == "disable" || command == "enable") {
        gtk_widget_set_sensitive(client.widget, command == "enable" ? TRUE : FALSE);
    } else if (command == "drop-view") {
        client.view.reset();
        client.container.reset();
    } else if (command == "drop-widget") {
        gtk_box_remove(GTK_BOX(client.box), client.widget);
        client.widget = nullptr;
    } else if (command == "new-widget") {
        addView(client);
    } else if (command == "areas") {
        addAreas(client, rest);
    } else if (command == "grow") {
        for (const auto& area : std::vector(client.areas)) {
            area->setFrame({area->frame().x, 10, 35, 60});
        }
    } else if (command == "unareas") {
        std::shared_ptr<View>(client.areas.front())->removeFromSuperview();
    } else if (command == "steal" || command == "return") {
        moveButton(client, command == "steal");
    } else if (command == "embed-window") {
        embed(client, client.window);
    } else if (command == "embed-itself") {
        embed(client, client.widget);
    } else if (command == "dispose") {
        g_object_run_dispose(G_OBJECT(client.widget));
    } else if (command == "adopt") {
        adopt(client, rest);
    } else if (command == "destroy") {
        gtk_window_destroy(GTK_WINDOW(gtk_widget_get_root(GtkWidgetForView(client.view))));
    } else if (command == "adopted") {
        printOwnWindow(client);
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
    gtk_window_destroy(GTK_WINDOW(client.window));
    Mivora::tests::endProgram();
}
