#include "MivoraMac/platform/gtk/GtkPlatformWindowPrivate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/platform/gtk/GtkNativeWindowPrivate.h"
#include "MivoraMac/platform/gtk/GtkRenderPeerPrivate.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

namespace {

int wholePoints(double length) {
    constexpr double kMost = 32767;
    return length >= 1 ? static_cast<int>(std::lround(std::min(length, kMost))) : 1;
}

/// GTK 4.8 does not bear that a window is destroyed while it is told of the pointer's moves, after
/// which it would hold back the events of the whole display, nor before it has dealt with what
/// waits for the window.
void destroyWhenIdle(GtkWindow* window) {
    g_idle_add_full(
        G_PRIORITY_LOW,
        [](gpointer idle) -> gboolean {
            gtk_window_destroy(GTK_WINDOW(idle));
            return G_SOURCE_REMOVE;
        },
        g_object_ref(window), g_object_unref);
}

/// What is put in while the toolkit lays out is not laid out by itself.
void layOutLater(GtkWidget* widget) {
    g_object_ref(widget);
    MainThread::perform([widget] {
        gtk_widget_queue_resize(widget);
        g_object_unref(widget);
    });
}

/// Takes a widget from where it is. Where a container keeps it in a property, it is told.
void takeOut(GtkWidget* widget) {
    GtkWidget* const parent = gtk_widget_get_parent(widget);
    if (parent == nullptr) {
        return;
    }
    if (GTK_IS_STACK(parent)) {
        gtk_stack_remove(GTK_STACK(parent), widget);
        return;
    }
    for (const char* const property : {"child", "start-child", "end-child"}) {
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(parent), property) != nullptr) {
            g_autoptr(GObject) child = nullptr;
            g_object_get(parent, property, &child, nullptr);
            if (child == G_OBJECT(widget)) {
                g_object_set(parent, property, nullptr, nullptr);
                return;
            }
        }
    }
    gtk_widget_unparent(widget);
}

}  // namespace

std::shared_ptr<GtkPlatformWindow> GtkPlatformWindow::create(const std::string& title,
                                                             const Rect& content) {
    auto window = MVMake<GtkPlatformWindow>(title, content);
    GtkNativeWindow::setFor(GTK_WIDGET(window->window_), window);
    return window;
}

GtkPlatformWindow::GtkPlatformWindow(const std::string& title, const Rect& content)
    : window_(GTK_WINDOW(gtk_window_new())) {
    gtk_window_set_title(window_, title.c_str());
    gtk_window_set_default_size(window_, wholePoints(content.width), wholePoints(content.height));
    g_signal_connect(window_, "close-request",
                     G_CALLBACK(+[](GtkWindow*, gpointer self) -> gboolean {
                         static_cast<GtkPlatformWindow*>(self)->close();
                         return TRUE;
                     }),
                     this);
    // By somebody else.
    g_signal_connect(window_, "destroy", G_CALLBACK(+[](GtkWidget*, gpointer self) {
                         static_cast<GtkPlatformWindow*>(self)->wasDestroyed();
                     }),
                     this);
}

GtkPlatformWindow::~GtkPlatformWindow() {
    if (window_ != nullptr) {
        destroy();
    }
}

std::string GtkPlatformWindow::title() const {
    const char* const title = window_ != nullptr ? gtk_window_get_title(window_) : nullptr;
    return title != nullptr ? title : closedTitle_;
}

void GtkPlatformWindow::setTitle(const std::string& title) {
    if (window_ != nullptr) {
        gtk_window_set_title(window_, title.c_str());
    }
    closedTitle_ = title;
}

Rect GtkPlatformWindow::contentRect() const {
    if (window_ == nullptr) {
        return closedRect_;
    }
    int width = 0;
    int height = 0;
    GtkWidget* const child = gtk_window_get_child(window_);
    if (child != nullptr && gtk_widget_get_width(child) > 0) {
        width = gtk_widget_get_width(child);
        height = gtk_widget_get_height(child);
    } else {
        gtk_window_get_default_size(window_, &width, &height);
    }
    return {0, 0, static_cast<double>(width), static_cast<double>(height)};
}

void GtkPlatformWindow::setContentSize(double width, double height) {
    if (window_ != nullptr) {
        gtk_window_set_default_size(window_, wholePoints(width), wholePoints(height));
    }
}

void GtkPlatformWindow::show() {
    if (window_ != nullptr) {
        gtk_window_present(window_);
    }
}

void GtkPlatformWindow::close() {
    if (window_ == nullptr) {
        return;
    }
    const std::shared_ptr<Window> kept = shared_from_this();
    remember();
    destroy();
    tellClosed();
}

void GtkPlatformWindow::wasDestroyed() {
    const std::shared_ptr<Window> kept = shared_from_this();
    remember();
    window_ = nullptr;
    tellClosed();
}

void GtkPlatformWindow::remember() {
    closedTitle_ = title();
    closedRect_ = contentRect();
}

void GtkPlatformWindow::destroy() {
    GtkWindow* const window = std::exchange(window_, nullptr);
    g_signal_handlers_disconnect_by_data(window, this);
    const GtkRenderPeer::Move leaving(contentView());
    gtk_window_set_child(window, nullptr);
    gtk_widget_hide(GTK_WIDGET(window));
    destroyWhenIdle(window);
}

bool GtkPlatformWindow::isVisible() const {
    return window_ != nullptr && gtk_widget_get_visible(GTK_WIDGET(window_)) != FALSE;
}

double GtkPlatformWindow::backingScaleFactor() const {
    return window_ != nullptr ? gtk_widget_get_scale_factor(GTK_WIDGET(window_))
                              : Screen::mainScreen()->backingScaleFactor();
}

bool GtkPlatformWindow::isMainWindow() const {
    return window_ != nullptr && GtkNativeWindow::isActive(GTK_WIDGET(window_));
}

void GtkPlatformWindow::contentViewDidChange(const std::shared_ptr<OpenGLView>& removed,
                                             const std::shared_ptr<OpenGLView>& view) {
    if (window_ == nullptr) {
        return;
    }
    const std::shared_ptr<Window> kept = shared_from_this();
    {
        const GtkRenderPeer::Move leaving(removed);
        gtk_window_set_child(window_, nullptr);
    }
    // Unless what the views do about it closes the window or changes its content again.
    const auto isWanted = [&] { return window_ != nullptr && view && view == contentView(); };
    if (isWanted()) {
        // Until the window has a place on the screen, the view has the size that it will ask for.
        view->setFrame(contentRect());
    }
    if (isWanted()) {
        GtkWidget* const widget = GtkWidgetForView(view);
        const GtkRenderPeer::Move coming(view);
        takeOut(widget);
        if (isWanted()) {
            gtk_window_set_child(window_, widget);
            layOutLater(GTK_WIDGET(window_));
        }
    }
}

}  // namespace Mivora::platform
