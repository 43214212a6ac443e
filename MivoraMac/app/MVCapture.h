#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/platform/pictures/Picture.h"

class MVView;
class MVWindow;

/// What becomes of the framebuffer's alpha in a picture.
enum class MVCaptureAlpha {
    Kept,    ///< as drawing left it: below 1 where translucent views were blended
    Opaque,  ///< 1 everywhere, as a screen shows it
};

/// How a picture of a tree is taken.
struct MVCaptureOptions {
    /// Pixels per point; 0 for the window's content scale factor.
    float scale = 0.0F;
    /// Samples a pixel; 0 or 1 for none, which makes edges hard.
    int samples = 4;
    /// What shows where nothing is drawn: by default what an application's window clears to.
    Mivora::ColorRGBA clearColor{0.1F, 0.1F, 0.1F, 1.0F};
    /// What becomes of alpha; kept by default.
    MVCaptureAlpha alpha = MVCaptureAlpha::Kept;
};

/// Draws a window into a picture of its size, laying it out first as a frame would. Works without
/// a display, with the render context and the shader cache that are active.
///
/// The window counts as drawn afterwards, unless it belongs to an application, whose next frame
/// shows what was asked for. One without a surface gets one for the time of the drawing, so that
/// stencils work.
///
/// @return an empty picture for a null window, one without an area or one that is too large for
///         the driver, and without an active render context; the debug log (category `frame`) says
///         why. Thread: main.
/// @throws MVException (internal inconsistency) while a tree is being drawn, as from within a
///         view's `draw`: the two drawings would mix. `prepareForDraw` is the place for that.
MIVORA_EXPORT Mivora::platform::Picture MVCaptureWindow(const std::shared_ptr<MVWindow>& window,
                                                        const MVCaptureOptions& options = {});

/// Draws the window that a view is in, or, where it is in none, the view and everything below it
/// in a window of the view's size made for the purpose. There the view keeps its position: one at
/// (0, 0) with its anchor at (0, 0) fills the picture. It is taken out of that window again.
///
/// @return as `MVCaptureWindow`; empty for a view that is a subview of one without a window
/// @throws MVException as `MVCaptureWindow` does
MIVORA_EXPORT Mivora::platform::Picture MVCaptureView(const std::shared_ptr<MVView>& view,
                                                      const MVCaptureOptions& options = {});
