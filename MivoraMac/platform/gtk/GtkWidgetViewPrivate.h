#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/MVMake.h"
#include "MivoraMac/platform/View.h"

namespace Mivora::platform {

/// A native view that is a widget; see `ViewForGtkWidget`.
class GtkWidgetView : public View {
 public:
    static std::shared_ptr<GtkWidgetView> create(GtkWidget* widget);
    ~GtkWidgetView() override;

    GtkWidget* widget() const { return widget_; }

 private:
    friend struct ::MVMaker;
    explicit GtkWidgetView(GtkWidget* widget);

    GtkWidget* widget_;
};

}  // namespace Mivora::platform
