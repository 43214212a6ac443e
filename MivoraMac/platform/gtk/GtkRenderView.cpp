#include "MivoraMac/platform/gtk/GtkRenderView.h"

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/gtk/GtkHostPrivate.h"
#include "MivoraMac/platform/gtk/GtkRenderPeerPrivate.h"

using Mivora::platform::GtkRenderPeer;

// The class of widgets that show a view. It only tells the peer what the toolkit tells it.
//
// The peer goes with `dispose`, when the widget is taken apart; what comes after that finds none.

extern "C" {

#define MIVORA_TYPE_RENDER_WIDGET (mivora_render_widget_get_type())
G_DECLARE_FINAL_TYPE(MivoraRenderWidget, mivora_render_widget, MIVORA, RENDER_WIDGET, GtkWidget)

struct _MivoraRenderWidget {
    GtkWidget base;
    GtkRenderPeer* peer;  // owned
};

G_DEFINE_FINAL_TYPE(MivoraRenderWidget, mivora_render_widget, GTK_TYPE_WIDGET)

}  // extern "C"

namespace {

GtkRenderPeer* peerOf(gpointer widget) {
    return MIVORA_RENDER_WIDGET(widget)->peer;
}

GtkWidgetClass* baseClass() {
    return GTK_WIDGET_CLASS(mivora_render_widget_parent_class);
}

void dispose(GObject* object) {
    std::unique_ptr<GtkRenderPeer> peer(std::exchange(MIVORA_RENDER_WIDGET(object)->peer, nullptr));
    if (peer && gtk_widget_get_root(GTK_WIDGET(object)) != nullptr) {
        peer->unrooted();  // taken apart by a program, where it is
    }
    peer.reset();
    G_OBJECT_CLASS(mivora_render_widget_parent_class)->dispose(object);
}

void root(GtkWidget* widget) {
    baseClass()->root(widget);
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->rooted();
    }
}

void unroot(GtkWidget* widget) {
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->unrooted();
    }
    baseClass()->unroot(widget);
}

void realize(GtkWidget* widget) {
    baseClass()->realize(widget);
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->realized();
    }
}

void unrealize(GtkWidget* widget) {
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->unrealized();
    }
    baseClass()->unrealize(widget);
}

void unmap(GtkWidget* widget) {
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->disabled();
    }
    baseClass()->unmap(widget);
}

void stateFlagsChanged(GtkWidget* widget, GtkStateFlags previous) {
    baseClass()->state_flags_changed(widget, previous);
    GtkRenderPeer* const peer = peerOf(widget);
    if (peer != nullptr && gtk_widget_is_sensitive(widget) == FALSE) {
        peer->disabled();
    }
}

void sizeAllocate(GtkWidget* widget, int width, int height, int /*baseline*/) {
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->allocated(width, height);
    }
}

gboolean focus(GtkWidget* widget, GtkDirectionType direction) {
    GtkRenderPeer* const peer = peerOf(widget);
    const std::optional<bool> isTaken = peer != nullptr ? peer->focus(direction) : std::nullopt;
    return isTaken ? static_cast<gboolean>(*isTaken) : baseClass()->focus(widget, direction);
}

void snapshot(GtkWidget* widget, GtkSnapshot* snapshot) {
    if (GtkRenderPeer* const peer = peerOf(widget)) {
        peer->snapshot(snapshot);
    }
}

}  // namespace

static void mivora_render_widget_class_init(MivoraRenderWidgetClass* type) {
    G_OBJECT_CLASS(type)->dispose = dispose;
    GtkWidgetClass* const widget = GTK_WIDGET_CLASS(type);
    widget->root = root;
    widget->unroot = unroot;
    widget->realize = realize;
    widget->unrealize = unrealize;
    widget->unmap = unmap;
    widget->state_flags_changed = stateFlagsChanged;
    widget->size_allocate = sizeAllocate;
    widget->snapshot = snapshot;
    widget->focus = focus;
    gtk_widget_class_set_css_name(widget, "mivora-render-view");
    gtk_widget_class_set_accessible_role(widget, GTK_ACCESSIBLE_ROLE_GROUP);
}

static void mivora_render_widget_init(MivoraRenderWidget* self) {
    GtkWidget* const widget = GTK_WIDGET(self);
    gtk_widget_set_hexpand(widget, TRUE);
    gtk_widget_set_vexpand(widget, TRUE);
    gtk_widget_set_overflow(widget, GTK_OVERFLOW_HIDDEN);
    g_signal_connect(self, "notify::scale-factor",
                     G_CALLBACK(+[](GtkWidget* changed, GParamSpec*, gpointer) {
                         if (GtkRenderPeer* const peer = peerOf(changed)) {
                             peer->scaled();
                         }
                     }),
                     nullptr);
}

namespace Mivora::platform {

GtkWidget* GtkWidgetForView(const std::shared_ptr<OpenGLView>& view) {
    if (!view || dynamic_cast<GtkHost*>(&Host::current()) == nullptr) {
        return nullptr;
    }
    if (const auto* peer = dynamic_cast<GtkRenderPeer*>(view->peer())) {
        return peer->widget();
    }
    auto* const widget = MIVORA_RENDER_WIDGET(g_object_new(MIVORA_TYPE_RENDER_WIDGET, nullptr));
    widget->peer = std::make_unique<GtkRenderPeer>(GTK_WIDGET(widget), view).release();
    return GTK_WIDGET(widget);
}

}  // namespace Mivora::platform
