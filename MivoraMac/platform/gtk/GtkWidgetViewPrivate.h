#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/View.h"

namespace Mivora::platform {

/// A native view that is a widget; see `ViewForGtkWidget`.
class GtkWidgetView : public View {
 public:
    static std::shared_ptr<GtkWidgetView> create(GtkWidget* widget);
    ~GtkWidgetView() override;

    GtkWidget* widget() const { return widget_; }

    /// Takes note of why the widget is not shown, and logs it once.
    /// @param why  a constant text; null when it is shown
    void setRefusal(const char* why);

 private:
    friend struct ::MVMaker;
    explicit GtkWidgetView(GtkWidget* widget);

    void parentDidChange();

    GtkWidget* widget_;
    const char* refusal_ = nullptr;
};

}  // namespace Mivora::platform
