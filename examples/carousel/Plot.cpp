#include "Plot.h"

#include <cmath>
#include <numbers>

#include <cairo.h>

#include "Colors.h"

namespace {

void setColor(cairo_t* context, Mivora::ColorRGBA color) {
    cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha);
}

}  // namespace

std::shared_ptr<Plot> Plot::make(float hue) {
    return MVMake<Plot>(hue);
}

void Plot::setPhase(float phase) {
    phase_ = phase;
    setNeedsCoreGraphicsDraw();
}

void Plot::coreGraphicsDrawWithContext(cairo_t* context) {
    // A unit is a point, the origin is the bottom left corner, and y runs up.
    const double width = size().width;
    const double height = size().height;
    constexpr double kMargin = 14;
    setColor(context, hsb(hue_, 0.55F, 0.25F));
    cairo_paint(context);

    // What is drawn replaces what is there; from here on it is to be blended.
    cairo_set_operator(context, CAIRO_OPERATOR_OVER);

    // A curve, and the area below it.
    cairo_move_to(context, kMargin, kMargin);
    for (double x = kMargin; x <= width - kMargin; x += 1) {
        const double share = (x - kMargin) / (width - 2 * kMargin);
        const double wave = std::sin((2 * share + phase_) * 2 * std::numbers::pi);
        cairo_line_to(context, x, height * (0.5 + 0.3 * wave * share));
    }
    cairo_path_t* const curve = cairo_copy_path(context);
    cairo_line_to(context, width - kMargin, kMargin);
    cairo_close_path(context);
    setColor(context, hsb(hue_ + 0.1F, 0.7F, 1, 0.35F));
    cairo_fill(context);
    cairo_append_path(context, curve);
    cairo_path_destroy(curve);
    setColor(context, hsb(hue_ + 0.1F, 0.5F, 1));
    cairo_set_line_width(context, 2);
    cairo_stroke(context);

    // Axes one point wide: along the middle of a row and a column of points, where they are sharp.
    cairo_set_line_width(context, 1);
    setColor(context, {1, 1, 1, 0.8F});
    cairo_move_to(context, kMargin + 0.5, height - kMargin / 2);
    cairo_line_to(context, kMargin + 0.5, kMargin + 0.5);
    cairo_line_to(context, width - kMargin / 2, kMargin + 0.5);
    cairo_stroke(context);

    const auto label = MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        "waves", "Sans", 9, {1, 1, 1, 0.8F}, 1, false);
    MVCoreGraphicsDrawAttributedString(context, label,
                                       {{0, 0}, {size().width - 4, static_cast<float>(kMargin)}});
}
