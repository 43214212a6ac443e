#pragma once

#include <functional>
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
/// The widget gives the view its size, scale and window, and delivers the events of the pointer and
/// of the keyboard; it expands in both directions. For each element of the view it has an invisible
/// child, which takes the keyboard's focus and which assistive technology reads. Each view has one
/// widget: later calls yield the same for as long as that is there.
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
/// the views around it say. `MVBridgeView` places it in a tree of views. The widget gets at least
/// its minimum size, but is not shown where the frame has no width or height. Presses over it are
/// its own (unless its property "can-target" is false), scrolling is if it takes it; hovers are the
/// view's all the same.
///
/// The view owns the widget, sinking a floating reference. A widget that is in another widget is
/// not shown until it has been taken from there; windows, and widgets that the `OpenGLView` itself
/// is in, never are. For a widget that has a view already, it is that one.
///
/// Thread: main.
///
/// @return  null for null
MIVORA_EXPORT std::shared_ptr<View> ViewForGtkWidget(GtkWidget* widget);

/// A native view for a program that runs without a display, too: a widget where the host of this
/// toolkit runs; elsewhere a plain view, which has a place but shows nothing.
///
///     GtkWidget* entry = nullptr;
///     auto name = MVBridgeView::initWithBridgeView(
///         ViewForGtkWidget([&] { return entry = gtk_entry_new(); }));
///     if (entry != nullptr) { … }
///
/// Thread: main.
///
/// @param makeWidget  called at once, and only where widgets can be made. An empty function, and
///                    one that yields null, yield null there
MIVORA_EXPORT std::shared_ptr<View> ViewForGtkWidget(const std::function<GtkWidget*()>& makeWidget);

}  // namespace Mivora::platform
