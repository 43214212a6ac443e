#pragma once

#include <pango/pangocairo.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::tests {

/// What Pango is told to draw, which the library is to draw likewise.
struct ToolkitText {
    std::string markup;  ///< Pango's
    std::string font = "DejaVu Sans";
    double size = 14;    ///< in points
    double width = 100;  ///< in points
    double height = 40;  ///< in points
    double scale = 1;    ///< pixels per point
    PangoAlignment alignment = PANGO_ALIGN_LEFT;
    bool truncates = false;  ///< ends in an ellipsis where the height does not suffice
};

/// Memory that Cairo draws into.
class CairoPicture {
 public:
    CairoPicture(int width, int height)
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)),
          context_(cairo_create(surface_)) {}
    ~CairoPicture() {
        cairo_destroy(context_);
        cairo_surface_destroy(surface_);
    }
    CairoPicture(const CairoPicture&) = delete;
    CairoPicture& operator=(const CairoPicture&) = delete;

    cairo_t* context() const { return context_; }

    /// Premultiplied.
    platform::Picture picture() const {
        cairo_surface_flush(surface_);
        platform::Picture picture;
        picture.size = {cairo_image_surface_get_width(surface_),
                        cairo_image_surface_get_height(surface_)};
        for (int y = 0; y < picture.size.height; ++y) {
            const unsigned char* const row =
                cairo_image_surface_get_data(surface_) +
                static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface_);
            for (int x = 0; x < picture.size.width; ++x) {
                std::uint32_t pixel = 0;
                std::memcpy(&pixel, row + 4 * static_cast<std::ptrdiff_t>(x), sizeof(pixel));
                for (const int shift : {16, 8, 0, 24}) {
                    picture.rgba.push_back(static_cast<std::uint8_t>(pixel >> shift));
                }
            }
        }
        return picture;
    }

 private:
    cairo_surface_t* surface_;
    cairo_t* context_;
};

/// Draws text with Pango and Cairo alone, as a GTK label is drawn: metrics that are not rounded,
/// slight hinting, grey smoothing; without hyphens. Lines that do not fit are the caller's to avoid
/// or to truncate.
inline platform::Picture drawnByToolkit(const ToolkitText& text) {
    PangoFontMap* const map = pango_cairo_font_map_new();
    PangoContext* const context = pango_font_map_create_context(map);
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context, FALSE);
    PangoLayout* const layout = pango_layout_new(context);
    PangoFontDescription* const font = pango_font_description_from_string(text.font.c_str());
    pango_font_description_set_absolute_size(font, text.size * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
    pango_layout_set_width(layout, static_cast<int>(text.width * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_alignment(layout, text.alignment);
    if (text.truncates) {
        pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
        pango_layout_set_height(layout, static_cast<int>(text.height * PANGO_SCALE));
    }
    const std::string markup = "<span insert_hyphens='false'>" + text.markup + "</span>";
    pango_layout_set_markup(layout, markup.c_str(), -1);

    const CairoPicture picture(static_cast<int>(text.width * text.scale),
                               static_cast<int>(text.height * text.scale));
    cairo_scale(picture.context(), text.scale, text.scale);
    pango_cairo_show_layout(picture.context(), layout);
    g_object_unref(layout);
    g_object_unref(context);
    g_object_unref(map);
    return picture.picture();
}

}  // namespace Mivora::tests
