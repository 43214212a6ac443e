// The text field of GTK.

#include <MivoraMac/platform/gtk/GtkRenderView.h>
#include <gtk/gtk.h>
#include <utility>

#include "NameField.h"

using Mivora::platform::ViewForGtkWidget;

struct NameField::Widget {
    GtkWidget* entry = nullptr;  // null where no display answers
    bool isSetting = false;
    std::function<void(const std::string&)> change;

    static void changed(GtkEditable* editable, gpointer data) {
        auto* const self = static_cast<Widget*>(data);
        if (!self->isSetting && self->change) {
            self->change(gtk_editable_get_text(editable));
        }
    }
};

NameField::NameField() : widget_(std::make_unique<Widget>()) {
    // The native view owns the entry; on the headless host it is a plain one, and none is made.
    view_ = MVBridgeView::initWithBridgeView(ViewForGtkWidget([this] {
        widget_->entry = gtk_entry_new();
        g_signal_connect(widget_->entry, "changed", G_CALLBACK(Widget::changed), widget_.get());
        return widget_->entry;
    }));
    view_->setSize(kSize);
}

NameField::~NameField() {
    if (widget_->entry != nullptr) {
        g_signal_handlers_disconnect_by_data(widget_->entry, widget_.get());
    }
}

void NameField::setName(const std::string& name) {
    if (widget_->entry != nullptr && name != gtk_editable_get_text(GTK_EDITABLE(widget_->entry))) {
        widget_->isSetting = true;
        gtk_editable_set_text(GTK_EDITABLE(widget_->entry), name.c_str());
        widget_->isSetting = false;
    }
}

void NameField::setChangeHandler(std::function<void(const std::string&)> change) {
    widget_->change = std::move(change);
}
