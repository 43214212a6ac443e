#pragma once

#include <memory>

#include "MivoraMac/Export.h"

extern "C" {
typedef struct _GtkWidget GtkWidget;  // as the toolkit has it
}

namespace Mivora::platform {

class OpenGLView;
class View;

/// The widget that shows a native view, to be placed anywhere in a window of the toolkit:
///
///     GtkWidget* widget = GtkWidgetForView(application->renderView());
///     gtk_box_append(GTK_BOX(box), widget);
///
/// The widget gives the view its size, scale and window, and delivers the pointer's events; it
/// expands in both directions. Each view has one widget: later calls yield the same for as long as
/// that is there.
///
/// The widget holds the view weakly. Without its view it shows nothing; when the widget goes first,
/// the view leaves its window and another call makes another widget.
///
/// Thread: main.
///
/// @return  new, a floating reference, as constructors of the toolkit return them; null for null,
///          and when another host than that of this toolkit runs
MIVORA_EXPORT GtkWidget* GtkWidgetForView(const std::shared_ptr<OpenGLView>& view);

/// A native view that is a widget of the toolkit, to be placed among the native views in an
/// `OpenGLView`: it is then shown there, above the drawing, where its frame and the transforms of
/// the views around it say. The widget gets at least its minimum size. Presses over it are its own
/// (unless its property "can-target" is false), scrolling is if it takes it; hovers are the view's
/// all the same.
///
/// The view owns the widget, sinking a floating reference. A widget that is in another widget is
/// not shown until it has been taken from there; windows, and widgets that the `OpenGLView` itself
/// is in, never are. For a widget that has a view already, it is that one.
///
/// Thread: main.
///
/// @return  null for null
MIVORA_EXPORT std::shared_ptr<View> ViewForGtkWidget(GtkWidget* widget);

}  // namespace Mivora::platform
