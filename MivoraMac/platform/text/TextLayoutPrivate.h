#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/text/AttributedString.h"

using cairo_t = struct _cairo;
using PangoFontMap = struct _PangoFontMap;
using PangoLayout = struct _PangoLayout;
using PangoLayoutLine = struct _PangoLayoutLine;

namespace Mivora::platform {

class TextEngine;

/// An attributed string laid out into a rectangle: lines from the top, wrapped at its width, as
/// many whole ones as its height has room for, the last of them truncated where its paragraph asks
/// for that and something is left out. A line end at the end of the text begins no line.
///
/// Of a text of more than `kMostBytes`, only these are laid out. A line without a place to break
/// holds at most 32 KiB. Time and memory grow with what is laid out, which is little more than what
/// fits.
///
/// Thread: any; one layout is used on one thread only.
class MIVORA_EXPORT TextLayout {
 public:
    static constexpr std::size_t kMostBytes = std::size_t{1} << 20;

    /// @param string         null has no lines
    /// @param width,height   of the rectangle, in points; infinite for as much as it takes. A
    ///                       negative size and NaN count as 0.
    TextLayout(const std::shared_ptr<const AttributedString>& string, double width, double height);
    ~TextLayout();
    TextLayout(const TextLayout&) = delete;
    TextLayout& operator=(const TextLayout&) = delete;

    std::size_t lineCount() const { return lines_.size(); }
    /// Of the widest line, in points.
    double width() const;
    /// Of all lines, in points.
    double height() const;

    /// Draws the lines with the rectangle's top left corner at the origin and y running down. A
    /// context that copies has glyphs replace what is under them by the share that they cover,
    /// which leaves no holes where translucent ones overlap; glyphs with colours of their own are
    /// blended in any case.
    void draw(cairo_t* context) const;

 private:
    /// A paragraph of the text, without what ends it.
    struct Paragraph {
        std::size_t begin = 0;
        std::size_t end = 0;
        TextAlignment alignment = TextAlignment::Left;
        bool truncates = false;
    };
    struct Line {
        PangoLayoutLine* line = nullptr;
        std::int64_t x = 0;  ///< in Pango's units, as all that follows
        std::int64_t top = 0;
        std::int64_t baseline = 0;
        std::size_t begin = 0;  ///< of the line in the text
        std::size_t run = 0;    ///< what the colour is of, unless the glyphs say it
        bool hasRunInGlyphs = false;
        Paragraph paragraph;
    };
    /// What was last given to the layout object.
    struct Piece {
        std::size_t begin = 0;
        std::size_t run = 0;
        bool isMixed = false;
    };

    void layOut(TextEngine& engine);
    void layOutParagraph(TextEngine& engine, const Paragraph& paragraph);
    Piece setText(TextEngine& engine, std::size_t begin, std::size_t end, std::string_view suffix);
    /// False where there is no room for it.
    bool addLine(PangoLayoutLine* line, const Piece& piece, const Paragraph& paragraph);
    /// @param rest  where the text begins that there is no room for
    void truncateLastLine(TextEngine& engine, std::size_t rest);
    std::size_t runAt(std::size_t index) const;
    std::int64_t xOf(std::int64_t lineWidth, TextAlignment alignment) const;

    std::shared_ptr<const AttributedString> string_;
    std::shared_ptr<PangoFontMap> fontMap_;  ///< the fonts of the lines are of it
    std::vector<Line> lines_;
    std::int64_t widthLimit_;
    std::int64_t heightLimit_;
    std::int64_t widest_ = 0;
    std::int64_t bottom_ = 0;
    bool isFull_ = false;
};

}  // namespace Mivora::platform
