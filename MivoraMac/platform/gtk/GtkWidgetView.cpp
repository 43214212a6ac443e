#include "MivoraMac/platform/gtk/GtkWidgetViewPrivate.h"

#include "MivoraMac/platform/gtk/GtkRenderView.h"

namespace Mivora::platform {

namespace {

GQuark viewQuark() {
    static const GQuark quark = g_quark_from_static_string("mivora-view");
    return quark;
}

}  // namespace

std::shared_ptr<View> ViewForGtkWidget(GtkWidget* widget) {
    return GTK_IS_WIDGET(widget) ? GtkWidgetView::create(widget) : nullptr;
}

std::shared_ptr<GtkWidgetView> GtkWidgetView::create(GtkWidget* widget) {
    if (auto* known =
            static_cast<GtkWidgetView*>(g_object_get_qdata(G_OBJECT(widget), viewQuark()))) {
        return std::static_pointer_cast<GtkWidgetView>(known->shared_from_this());
    }
    return MVMake<GtkWidgetView>(widget);
}

GtkWidgetView::GtkWidgetView(GtkWidget* widget) : widget_(widget) {
    g_object_ref_sink(widget_);
    g_object_set_qdata(G_OBJECT(widget_), viewQuark(), this);
}

GtkWidgetView::~GtkWidgetView() {
    g_object_set_qdata(G_OBJECT(widget_), viewQuark(), nullptr);
    g_object_unref(widget_);
}

}  // namespace Mivora::platform
