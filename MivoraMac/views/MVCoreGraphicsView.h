#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/platform/text/AttributedString.h"
#include "MivoraMac/views/MVView.h"

class MVMutableImage;
class MVRenderedImage;

/// Cairo's drawing context; the functions to draw with are in `<cairo.h>`.
using cairo_t = struct _cairo;

/// A view whose content a program draws in two dimensions, with Cairo: a subclass overrides
/// `coreGraphicsDrawWithContext` and calls `setNeedsCoreGraphicsDraw` whenever it would draw
/// something else.
///
/// ```cpp
/// #include <cairo.h>
///
/// class Dial : public MVCoreGraphicsView {
///  public:
///     void setValue(double value) {
///         value_ = value;
///         setNeedsCoreGraphicsDraw();
///     }
///
///  protected:
///     void coreGraphicsDrawWithContext(cairo_t* context) override {
///         const double radius = size().width / 2;
///         cairo_set_source_rgb(context, 0.2, 0.6, 1);
///         cairo_set_line_width(context, 4);
///         cairo_arc(context, radius, radius, radius - 2, 0, value_ * 6.28);
///         cairo_stroke(context);
///     }
///
///  private:
///     double value_ = 0;
/// };
/// ```
///
/// What is drawn becomes a texture of as many pixels as the view has. It is drawn anew only where
/// that was asked for or the size has changed; a new view begins with nothing to draw. A view of
/// more pixels than a texture can have shows nothing, which a line in the log says, until it is
/// smaller.
///
/// Thread: main.
class MIVORA_EXPORT MVCoreGraphicsView : public MVView {
 public:
    /// Creates a view of size zero.
    static std::shared_ptr<MVCoreGraphicsView> init();

    ~MVCoreGraphicsView() override;

    /// Has the content drawn anew for the next frame. Not for the hook itself: what it asks for
    /// while it runs is granted by what it draws.
    void setNeedsCoreGraphicsDraw();

    void setSize3(Mivora::Size3 size) override;

    /// @name Internal to the library
    /// @{

    /// The content as it was last drawn; null until then.
    const std::shared_ptr<MVMutableImage>& mv_renderImage() const;
    /// Has the content drawn if that was asked for or the size has changed.
    void mv_renderCoreGraphicsTexture();
    /// Rewrites the quad's vertices if the width or height has changed, and asks for a redraw.
    void mv_buildQuadVertices();

    /// @}

 protected:
    friend struct MVMaker;

    MVCoreGraphicsView();

    /// Draws the content; does nothing here.
    ///
    /// A unit of the context is a point, whatever the scale: lines at whole points are sharp at
    /// every whole scale, those of a width of 1 where they run along the middle between them. The
    /// origin is the bottom left corner and **y runs up**; the content goes from (0, 0) to the
    /// width and height of `size`. It begins transparent, and what is drawn **replaces** what is
    /// there, by the share of each pixel that it covers; `cairo_set_operator(context,
    /// CAIRO_OPERATOR_OVER)` has it blended instead.
    ///
    /// Since y runs up, Cairo's own text would stand upside down.
    /// `MVCoreGraphicsDrawAttributedString` draws text that stands upright. Text of Cairo or Pango
    /// does where y runs down again:
    ///
    /// ```cpp
    /// cairo_save(context);
    /// cairo_translate(context, x, y);  // the left end of the base line
    /// cairo_scale(context, 1, -1);
    /// cairo_move_to(context, 0, 0);
    /// cairo_show_text(context, "upright");
    /// cairo_restore(context);
    /// ```
    ///
    /// @param context  valid during the call only
    virtual void coreGraphicsDrawWithContext(cairo_t* context);

    void draw() override;

 private:
    std::unique_ptr<MVRenderedImage> rendered_;
};

/// Draws a string into a context whose y runs up, such as that of `coreGraphicsDrawWithContext`:
/// upright, from the top of a rectangle on, as a text view of its size shows it. The context's path
/// is empty afterwards; everything else is as before.
/// @param context  null is ignored
/// @param string   null draws nothing
/// @param rect     in the units of the context; the origin is its bottom left corner
MIVORA_EXPORT void MVCoreGraphicsDrawAttributedString(
    cairo_t* context, const std::shared_ptr<const Mivora::platform::AttributedString>& string,
    Mivora::Rect2 rect);
