#include "MivoraMac/platform/gtk/GtkPlatformWindowPrivate.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "MivoraMac/platform/OpenGLView.h"
#include "MivoraMac/platform/Screen.h"
#include "MivoraMac/platform/gtk/GtkNativeWindowPrivate.h"
#include "MivoraMac/platform/gtk/GtkRenderView.h"

namespace Mivora::platform {

namespace {

int wholePoints(double length) {
    constexpr double kMost = 32767;
    return length >= 1 ? static_cast<int>(std::lround(std::min(length, kMost))) : 1;
}

/// Takes a widget from where it is.
void takeOut(GtkWidget* widget) {
    GtkWidget* const parent = gtk_widget_get_parent(widget);
    if (GTK_IS_WINDOW(parent)) {
        gtk_window_set_child(GTK_WINDOW(parent), nullptr);
    } else if (parent != nullptr) {
        gtk_widget_unparent(widget);
    }
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
}

GtkPlatformWindow::~GtkPlatformWindow() {
    if (window_ != nullptr) {
        g_signal_handlers_disconnect_by_data(window_, this);
        gtk_window_destroy(window_);
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
    closedTitle_ = title();
    closedRect_ = contentRect();
    GtkWindow* const window = std::exchange(window_, nullptr);
    g_signal_handlers_disconnect_by_data(window, this);
    gtk_window_set_child(window, nullptr);
    gtk_window_destroy(window);
    tellClosed();
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

void GtkPlatformWindow::contentViewDidChange(const std::shared_ptr<OpenGLView>& /*removed*/,
                                             const std::shared_ptr<OpenGLView>& view) {
    if (window_ == nullptr) {
        return;
    }
    const std::shared_ptr<Window> kept = shared_from_this();
    gtk_window_set_child(window_, nullptr);
    if (view) {
        // Until the window has a place on the screen, the view has the size that it will ask for.
        view->setFrame(contentRect());
    }
    // Unless what the views did about it has closed the window or changed its content again.
    if (view && view == contentView() && window_ != nullptr) {
        GtkWidget* const widget = GtkWidgetForView(view);
        takeOut(widget);
        gtk_window_set_child(window_, widget);
    }
}

}  // namespace Mivora::platform
