#include "MivoraMac/platform/gtk/GtkWidgetViewPrivate.h"

#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gtk/GtkHostPrivate.h"
#include "MivoraMac/platform/gtk/GtkKeepPrivate.h"
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

std::shared_ptr<View> ViewForGtkWidget(const std::function<GtkWidget*()>& makeWidget) {
    if (dynamic_cast<GtkHost*>(&Host::current()) == nullptr) {
        return View::initWithFrame({});
    }
    return ViewForGtkWidget(makeWidget ? makeWidget() : nullptr);
}

GtkWidgetView::GtkWidgetView(GtkWidget* widget) : widget_(widget) {
    g_object_ref_sink(widget_);
    g_object_set_qdata(G_OBJECT(widget_), viewQuark(), this);
    g_signal_connect(widget_, "notify::parent",
                     G_CALLBACK(+[](GtkWidget*, GParamSpec*, gpointer self) {
                         static_cast<GtkWidgetView*>(self)->parentDidChange();
                     }),
                     this);
}

GtkWidgetView::~GtkWidgetView() {
    g_signal_handlers_disconnect_by_data(widget_, this);
    g_object_set_qdata(G_OBJECT(widget_), viewQuark(), nullptr);
    unrefLater(widget_);
}

/// Whoever took the widget from where it was may be about to put it somewhere else.
void GtkWidgetView::parentDidChange() {
    if (gtk_widget_get_parent(widget_) == nullptr && superview()) {
        MainThread::perform([weak = std::weak_ptr(shared_from_this())] {
            if (const auto view = std::static_pointer_cast<GtkWidgetView>(weak.lock())) {
                view->subviewsDidChange();
            }
        });
    }
}

void GtkWidgetView::setRefusal(const char* why) {
    if (std::exchange(refusal_, why) != why && why != nullptr) {
        DebugLog::warn(DebugLog::Category::Events, "%s", why);
    }
}

}  // namespace Mivora::platform
