#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/text/TextEnginePrivate.h"
#include "MivoraMac/platform/text/TextLayoutPrivate.h"

namespace Mivora::platform {

namespace {

/// Widths beyond this are as good as infinite; in points.
constexpr double kLargestExtent = 1e6;

/// How much of a paragraph is laid out at a time. Pango's time for a line grows with all that comes
/// after it, so long paragraphs go piece by piece, each from the beginning of a line.
constexpr std::size_t kFirstPiece = 2048;
constexpr std::size_t kLargestPiece = 32768;

/// How many lines at the end of a piece may look different with what follows it.
constexpr std::size_t kUnsureLines = 2;

constexpr std::string_view kEllipsis = "\xE2\x80\xA6";
constexpr std::string_view kLineSeparator = "\xE2\x80\xA8";
constexpr std::string_view kParagraphSeparator = "\xE2\x80\xA9";
constexpr std::string_view kNextLine = "\xC2\x85";

std::int64_t unitsOf(double points) {
    if (!(points > 0)) {
        return 0;
    }
    return std::llround(std::min(points, kLargestExtent) * PANGO_SCALE);
}

double pointsOf(std::int64_t units) {
    return static_cast<double>(units) / PANGO_SCALE;
}

/// How many bytes end a line at an index; 0 where none does. Those that leave the paragraph going
/// are for `isEndOfParagraph` to tell.
std::size_t lineEndAt(std::string_view text, std::size_t index) {
    switch (text[index]) {
        case '\r':
            return text.substr(index + 1).starts_with('\n') ? 2 : 1;
        case '\n':
        case '\v':
        case '\f':
            return 1;
        case '\xC2':
            return text.substr(index).starts_with(kNextLine) ? kNextLine.size() : 0;
        case '\xE2':
            return text.substr(index).starts_with(kLineSeparator) ||
                           text.substr(index).starts_with(kParagraphSeparator)
                       ? kLineSeparator.size()
                       : 0;
        default:
            return 0;
    }
}

bool isEndOfParagraph(std::string_view text, std::size_t index) {
    return !text.substr(index).starts_with(kLineSeparator);
}

/// The beginning of the character that a byte belongs to.
std::size_t beginOfCharacter(std::string_view text, std::size_t index) {
    while (index > 0 && index < text.size() && (text[index] & 0xC0) == 0x80) {
        --index;
    }
    return index;
}

/// Whether there is more than line ends.
bool hasContent(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lineEndAt(text, i);
        if (length == 0) {
            return true;
        }
        i += length;
    }
    return false;
}

// Which run of the string glyphs belong to goes through Pango as a colour.

PangoAttribute* makeRunAttribute(std::size_t run) {
    return pango_attr_foreground_new(static_cast<guint16>(run >> 32),
                                     static_cast<guint16>(run >> 16), static_cast<guint16>(run));
}

std::size_t runOf(const PangoItem& item) {
    for (const GSList* node = item.analysis.extra_attrs; node != nullptr; node = node->next) {
        const auto* const attribute = static_cast<const PangoAttribute*>(node->data);
        if (attribute->klass->type == PANGO_ATTR_FOREGROUND) {
            const PangoColor color = reinterpret_cast<const PangoAttrColor*>(attribute)->color;
            return std::size_t{color.red} << 32 | std::size_t{color.green} << 16 | color.blue;
        }
    }
    return 0;
}

bool hasColors(const PangoGlyphString& glyphs) {
    return std::any_of(glyphs.glyphs, glyphs.glyphs + glyphs.num_glyphs,
                       [](const PangoGlyphInfo& glyph) { return glyph.attr.is_color != 0; });
}

/// The direction that a line's paragraph is read in.
PangoDirection directionOf(const PangoLayoutLine& line) {
    return static_cast<PangoDirection>(line.resolved_dir);
}

/// In which direction what is laid out next is read; neutral for that of its first letter.
void setDirection(TextEngine& engine, PangoDirection direction) {
    const bool isFound = direction == PANGO_DIRECTION_NEUTRAL;
    pango_context_set_base_dir(engine.context(), isFound ? PANGO_DIRECTION_WEAK_LTR : direction);
    pango_layout_set_auto_dir(engine.layout(), isFound ? TRUE : FALSE);
}

double component(float value) {
    return value > 0 ? std::min(value, 1.0F) : 0.0F;
}

/// The size of a font, in pixels of what is drawn into, above which glyphs are not drawn from
/// images of them: Cairo keeps these for hundreds of fonts, and one of 10,000 pixels takes 100 MB.
constexpr double kLargestGlyphImage = 512;

/// The size of a run's font in points.
double fontSizeOf(PangoFont* font) {
    cairo_matrix_t matrix;
    cairo_scaled_font_t* const scaled = pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font));
    cairo_scaled_font_get_font_matrix(scaled, &matrix);
    return std::hypot(matrix.xy, matrix.yy);
}

double pixelsPerPointOf(cairo_t* context) {
    cairo_matrix_t matrix;
    cairo_get_matrix(context, &matrix);
    return std::sqrt(std::abs(matrix.xx * matrix.yy - matrix.xy * matrix.yx));
}

/// Draws coloured glyphs, which have no outlines, magnified from a bounded size.
void showMagnified(cairo_t* context, const PangoGlyphItem& run, const TextColor& color,
                   double fontSize) {
    PangoFont* const font = run.item->analysis.font;
    const double scale = kLargestGlyphImage / fontSize;
    double x = 0;
    double y = 0;
    cairo_get_current_point(context, &x, &y);
    cairo_save(context);
    cairo_translate(context, x, y);
    for (int i = 0; i < run.glyphs->num_glyphs; ++i) {
        PangoGlyphInfo glyph = run.glyphs->glyphs[i];
        PangoGlyphString single{1, &glyph, nullptr, 1};
        PangoRectangle ink;
        pango_glyph_string_extents(&single, font, &ink, nullptr);
        const double left = pango_units_to_double(ink.x);
        const double top = pango_units_to_double(ink.y);
        cairo_surface_t* const image = cairo_image_surface_create(
            CAIRO_FORMAT_ARGB32,
            static_cast<int>(std::ceil(pango_units_to_double(ink.width) * scale)) + 1,
            static_cast<int>(std::ceil(pango_units_to_double(ink.height) * scale)) + 1);
        cairo_t* const drawing = cairo_create(image);
        cairo_scale(drawing, scale, scale);
        cairo_set_source_rgb(drawing, component(color.red), component(color.green),
                             component(color.blue));
        cairo_move_to(drawing, -left, -top);
        pango_cairo_show_glyph_string(drawing, font, &single);
        cairo_destroy(drawing);

        cairo_save(context);
        cairo_translate(context, left, top);
        cairo_scale(context, 1 / scale, 1 / scale);
        cairo_set_source_surface(context, image, 0, 0);
        cairo_paint_with_alpha(context, component(color.alpha));
        cairo_restore(context);
        cairo_surface_destroy(image);
        cairo_translate(context, pango_units_to_double(glyph.geometry.width), 0);
    }
    cairo_restore(context);
}

void showGlyphs(cairo_t* context, const PangoGlyphItem& run, const TextColor& color,
                cairo_operator_t op) {
    const double alpha = component(color.alpha);
    const double fontSize = fontSizeOf(run.item->analysis.font);
    const bool isLarge = fontSize * pixelsPerPointOf(context) > kLargestGlyphImage;
    if (hasColors(*run.glyphs)) {
        cairo_set_operator(context, CAIRO_OPERATOR_OVER);
        if (isLarge) {
            showMagnified(context, run, color, fontSize);
            return;
        }
        if (alpha < 1) {
            const cairo_matrix_t matrix = [context] {
                cairo_matrix_t current;
                cairo_get_matrix(context, &current);
                return current;
            }();
            double x = 0;
            double y = 0;
            cairo_get_current_point(context, &x, &y);
            cairo_push_group(context);
            cairo_set_matrix(context, &matrix);
            cairo_move_to(context, x, y);
            cairo_set_source_rgb(context, component(color.red), component(color.green),
                                 component(color.blue));
            pango_cairo_show_glyph_string(context, run.item->analysis.font, run.glyphs);
            cairo_pop_group_to_source(context);
            cairo_paint_with_alpha(context, alpha);
            return;
        }
    } else {
        // Copying opaque glyphs by their coverage is blending them, which is faster.
        cairo_set_operator(context, alpha < 1 ? op : CAIRO_OPERATOR_OVER);
    }
    cairo_set_source_rgba(context, component(color.red), component(color.green),
                          component(color.blue), alpha);
    if (isLarge) {
        pango_cairo_glyph_string_path(context, run.item->analysis.font, run.glyphs);
        cairo_fill(context);
    } else {
        pango_cairo_show_glyph_string(context, run.item->analysis.font, run.glyphs);
    }
}

}  // namespace

TextLayout::TextLayout(const std::shared_ptr<const AttributedString>& string, double width,
                       double height)
    : string_(string), widthLimit_(unitsOf(width)), heightLimit_(unitsOf(height)) {
    if (!std::isfinite(height) && height > 0) {
        heightLimit_ = std::numeric_limits<std::int64_t>::max();
    }
    if (!string_ || string_->isEmpty()) {
        return;
    }
    if (auto shown = string_->mv_shown()) {
        string_ = std::move(shown);
    }
    TextEngine& engine = TextEngine::ofThread();
    engine.begin();
    fontMap_.reset(static_cast<PangoFontMap*>(g_object_ref(engine.fontMap())), ObjectUnref());
    layOut(engine);
}

TextLayout::~TextLayout() {
    for (const Line& line : lines_) {
        pango_layout_line_unref(line.line);
    }
}

double TextLayout::width() const {
    return pointsOf(widest_);
}

double TextLayout::height() const {
    return pointsOf(bottom_);
}

void TextLayout::layOut(TextEngine& engine) {
    pango_layout_set_width(engine.layout(), static_cast<int>(widthLimit_));
    const std::string_view whole = string_->text();
    const std::string_view text = whole.substr(0, beginOfCharacter(whole, kMostBytes));
    for (std::size_t at = 0; at < text.size() && !isFull_;) {
        std::size_t end = at;
        std::size_t endLength = 0;
        for (; end < text.size(); ++end) {
            endLength = lineEndAt(text, end);
            if (endLength != 0 && isEndOfParagraph(text, end)) {
                break;
            }
        }
        Paragraph paragraph{at, end, TextAlignment::Left, false};
        if (const auto& style = string_->attributesAt(at).paragraphStyle) {
            paragraph.alignment = style->alignment();
            paragraph.truncates = style->lineBreakMode() == LineBreakMode::TruncatingTail;
        }
        layOutParagraph(engine, paragraph);
        at = end + endLength;
    }
}

void TextLayout::layOutParagraph(TextEngine& engine, const Paragraph& paragraph) {
    const AtEnd forgetDirection([&engine] { setDirection(engine, PANGO_DIRECTION_NEUTRAL); });
    std::size_t begin = paragraph.begin;
    std::size_t most = kFirstPiece;
    bool isWhole = false;
    do {
        isWhole = paragraph.end - begin <= most;
        const std::size_t end =
            isWhole ? paragraph.end : beginOfCharacter(string_->text(), begin + most);
        const Piece piece = setText(engine, begin, end, {});
        const GSList* node = pango_layout_get_lines_readonly(engine.layout());
        std::size_t count = g_slist_length(const_cast<GSList*>(node));
        if (!isWhole) {
            if (count > 2 * kUnsureLines) {
                count -= kUnsureLines;
            } else if (most < kLargestPiece) {
                most *= 4;
                continue;
            }
        }
        const PangoDirection direction = directionOf(*static_cast<PangoLayoutLine*>(node->data));
        for (; count > 0; --count, node = node->next) {
            auto* const line = static_cast<PangoLayoutLine*>(node->data);
            if (!addLine(line, piece, paragraph)) {
                isFull_ = true;
                truncateLastLine(engine, begin + static_cast<std::size_t>(line->start_index));
                return;
            }
        }
        begin = node == nullptr
                    ? end
                    : begin + static_cast<std::size_t>(
                                  static_cast<PangoLayoutLine*>(node->data)->start_index);
        // All pieces are read in the direction of the first.
        setDirection(engine, direction);
    } while (!isWhole);
}

TextLayout::Piece TextLayout::setText(TextEngine& engine, std::size_t begin, std::size_t end,
                                      std::string_view suffix) {
    PangoLayout* const layout = engine.layout();
    const std::vector<AttributedString::Run>& runs = string_->runs();
    Piece piece{begin, runAt(begin), false};
    const auto fontOf = [&](std::size_t run) {
        const auto& font = runs[run].attributes.font;
        return engine.description(font ? *font : TextFont());
    };
    pango_layout_set_font_description(layout, fontOf(piece.run));
    if (runs[piece.run].start + runs[piece.run].length < end) {
        piece.isMixed = true;
        PangoAttrList* const attributes = pango_attr_list_copy(engine.attributes());
        for (std::size_t run = piece.run; run < runs.size() && runs[run].start < end; ++run) {
            const std::size_t from = std::max(runs[run].start, begin);
            const std::size_t to = runs[run].start + runs[run].length;
            for (PangoAttribute* const attribute :
                 {pango_attr_font_desc_new(fontOf(run)), makeRunAttribute(run)}) {
                attribute->start_index = static_cast<guint>(from - begin);
                attribute->end_index =
                    to < end ? static_cast<guint>(to - begin) : PANGO_ATTR_INDEX_TO_TEXT_END;
                pango_attr_list_insert(attributes, attribute);
            }
        }
        pango_layout_set_attributes(layout, attributes);
        pango_attr_list_unref(attributes);
    } else {
        pango_layout_set_attributes(layout, engine.attributes());
    }
    const std::string_view text = std::string_view(string_->text()).substr(begin, end - begin);
    if (suffix.empty()) {
        pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    } else {
        std::string longer(text);
        longer += suffix;
        pango_layout_set_text(layout, longer.data(), static_cast<int>(longer.size()));
    }
    return piece;
}

bool TextLayout::addLine(PangoLayoutLine* line, const Piece& piece, const Paragraph& paragraph) {
    PangoRectangle logical;
    pango_layout_line_get_extents(line, nullptr, &logical);
    if (logical.height > heightLimit_ - bottom_) {
        return false;
    }
    Line added;
    added.line = pango_layout_line_ref(line);
    added.x = xOf(logical.width, paragraph.alignment) - logical.x;
    added.top = bottom_;
    added.baseline = bottom_ - logical.y;
    added.begin = piece.begin + static_cast<std::size_t>(line->start_index);
    added.run = piece.run;
    added.hasRunInGlyphs = piece.isMixed;
    added.paragraph = paragraph;
    lines_.push_back(added);
    bottom_ += logical.height;
    widest_ = std::max<std::int64_t>(widest_, logical.width);
    return true;
}

void TextLayout::truncateLastLine(TextEngine& engine, std::size_t rest) {
    const std::string_view text = string_->text();
    if (lines_.empty() || !lines_.back().paragraph.truncates || !hasContent(text.substr(rest))) {
        return;
    }
    const Line last = lines_.back();
    std::size_t end =
        std::min(beginOfCharacter(text, std::min(last.begin + kLargestPiece, text.size())),
                 last.paragraph.end);
    end = std::min(end, text.find(kLineSeparator, last.begin));
    setDirection(engine, directionOf(*last.line));
    const AtEnd restore([&engine] {
        pango_layout_set_ellipsize(engine.layout(), PANGO_ELLIPSIZE_NONE);
        setDirection(engine, PANGO_DIRECTION_NEUTRAL);
    });
    pango_layout_set_ellipsize(engine.layout(), PANGO_ELLIPSIZE_END);
    const bool endsHere = rest > end || end != last.paragraph.end;
    const Piece piece = setText(engine, last.begin, end, endsHere ? kEllipsis : "");
    PangoLayoutLine* const line = pango_layout_get_line_readonly(engine.layout(), 0);
    // The ellipsis may come from a taller font; the line keeps its place in any case.
    lines_.pop_back();
    bottom_ = last.top;
    if (addLine(line, piece, last.paragraph)) {
        lines_.back().begin = last.begin;
        pango_layout_line_unref(last.line);
    } else {
        lines_.push_back(last);
    }
}

std::size_t TextLayout::runAt(std::size_t index) const {
    const std::vector<AttributedString::Run>& runs = string_->runs();
    const auto after = std::upper_bound(
        runs.begin(), runs.end(), index,
        [](std::size_t at, const AttributedString::Run& run) { return at < run.start; });
    return static_cast<std::size_t>(std::distance(runs.begin(), after)) - 1;
}

std::int64_t TextLayout::xOf(std::int64_t lineWidth, TextAlignment alignment) const {
    switch (alignment) {
        case TextAlignment::Right:
            return widthLimit_ - lineWidth;
        case TextAlignment::Center:
            return (widthLimit_ - lineWidth) / 2;
        default:
            return 0;
    }
}

void TextLayout::draw(cairo_t* context) const {
    if (lines_.empty()) {
        return;
    }
    const std::vector<AttributedString::Run>& runs = string_->runs();
    const cairo_operator_t op = cairo_get_operator(context);
    cairo_save(context);
    for (const Line& line : lines_) {
        std::int64_t x = line.x;
        for (const GSList* node = line.line->runs; node != nullptr; node = node->next) {
            const auto& run = *static_cast<const PangoGlyphItem*>(node->data);
            const std::size_t index = line.hasRunInGlyphs ? runOf(*run.item) : line.run;
            const auto& color = runs[std::min(index, runs.size() - 1)].attributes.foregroundColor;
            cairo_move_to(context, pointsOf(x), pointsOf(line.baseline));
            showGlyphs(context, run, color ? *color : TextColor(), op);
            x += pango_glyph_string_get_width(run.glyphs);
        }
    }
    cairo_restore(context);
    cairo_new_path(context);
}

}  // namespace Mivora::platform
