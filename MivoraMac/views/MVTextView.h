#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/platform/text/AttributedString.h"
#include "MivoraMac/views/MVView.h"

class MVMutableImage;
class MVRenderedImage;

/// The number that an alignment has in a paragraph style: the value itself where it is 0 (left),
/// 1 (right) or 2 (centre), and otherwise 0.
MIVORA_EXPORT std::uint8_t MVTextAlignementToCTTextAlignment(std::uint32_t alignment);

/// A view that shows a styled string: a caption, a label, a page of text.
///
/// ```cpp
/// auto caption = MVTextView::init();
/// caption->setText(MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
///     "Hello", "Sans Bold", 14, {1, 1, 1, 1}, 2, true));
/// caption->setSize(MVTextView::sizeOfAttributedString(caption->text()));
/// ```
///
/// Lines go from the top, break between words and, where a word is wider than the view, within it.
/// Only whole lines that fit are shown; where the paragraph asks for it, the last one then ends in
/// "…". Alignment means the sides of the view, also for text that is read from the right. Lines
/// break at the same places whatever the scale: the text is laid out in points.
///
/// Translucent glyphs that overlap neither add up nor leave holes: each replaces what is there by
/// the share of each pixel that it covers. Emoji keep their colours and fade with the text's alpha.
///
/// The text is drawn into a texture of as many pixels as the view has, anew only when the text, the
/// size or the texture scale has changed. It is sharp where a pixel of the texture is one of the
/// window: in a view that faces the viewer, in the window's plane, at a position and of a size of
/// whole pixels.
///
/// To assistive technology it is a label that says its text.
///
/// For styles that differ within a string see `Mivora::platform::AttributedStringBuilder`, for what
/// counts as a font `Mivora::platform::TextFont`, for line ends, control characters and invalid
/// UTF-8 `Mivora::platform::AttributedString`. Of a text of more than a megabyte (2^20 bytes), only
/// so much is laid out. A view of more pixels than a texture can have shows nothing, which a line
/// in the log says, until it is smaller.
///
/// Thread: main.
class MIVORA_EXPORT MVTextView : public MVView {
 public:
    /// An immutable string with attributes.
    using AttributedStringPointer = std::shared_ptr<const Mivora::platform::AttributedString>;

    /// Creates a view of size zero without a text.
    static std::shared_ptr<MVTextView> init();

    /// A string of one style: one font, one colour, one paragraph style with the alignment and,
    /// where it clips, with truncation at the tail.
    /// @param string      UTF-8
    /// @param fontName    a family, a family with a style, or a name with a hyphen:
    ///                    "DejaVu Sans", "Sans Bold", "DejaVuSans-Bold"; others fall back
    /// @param size        in points
    /// @param color       straight alpha
    /// @param alignment   0 left, 1 right, 2 centre; others are left
    /// @param shouldClip  whether a text that there is no room for ends in "…"
    static AttributedStringPointer attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        const std::string& string, const std::string& fontName, float size, Mivora::ColorRGBA color,
        std::int32_t alignment, bool shouldClip);

    /// The size that a view needs to show all of a string, in whole points, so that what is as
    /// large has whole pixels. Zero for null and for an empty string. Thread: any.
    /// @param string  see above
    /// @param width   how wide the view may be; infinite for lines that end only where the text
    ///                ends them. A single character that is wider makes it wider.
    static Mivora::Size2 sizeOfAttributedString(
        const AttributedStringPointer& string,
        float width = std::numeric_limits<float>::infinity());

    ~MVTextView() override;

    /// The text, or null.
    const AttributedStringPointer& text() const { return text_; }
    /// Shows another text; null for none. The same object does nothing; another one that is equal
    /// is drawn anew.
    void setText(const AttributedStringPointer& text);

    /// How many pixels the texture has for each of the view's pixels either way; 1 unless set. More
    /// keep text sharp in a view that comes close to the eye.
    float textureScaleFactor() const { return textureScaleFactor_; }
    /// An equal factor does nothing. With one of 0 or below, and with NaN, nothing is drawn that
    /// was not drawn before.
    void setTextureScaleFactor(float textureScaleFactor);

    void setSize3(Mivora::Size3 size) override;

    /// @name Internal to the library
    /// @{

    /// The text as it was last drawn; null until then.
    const std::shared_ptr<MVMutableImage>& mv_textImage() const;
    /// Draws the text if it, the size or the scale of the texture has changed.
    void mv_buildTextImage();
    /// Rewrites the quad's vertices if the width or height has changed, and asks for a redraw.
    void mv_buildQuadVertices();

    /// A label with the text, where there is one.
    MVOwnElement mv_ownElement() const override;

    /// @}

 protected:
    friend struct MVMaker;

    MVTextView();

    /// Draws the text into its texture. An override calls it, so that the textures of a frame are
    /// there before the views are drawn.
    void prepareForDraw() override;
    void draw() override;

 private:
    std::unique_ptr<MVRenderedImage> rendered_;
    float textureScaleFactor_ = 1.0F;
    AttributedStringPointer text_;
};
