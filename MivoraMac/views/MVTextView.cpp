#include "MivoraMac/views/MVTextView.h"

#include <cmath>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/text/TextLayoutPrivate.h"
#include "MivoraMac/views/MVRenderedImagePrivate.h"

using Mivora::Size2;
using Mivora::platform::AttributedString;
using Mivora::platform::LineBreakMode;
using Mivora::platform::ParagraphStyle;
using Mivora::platform::TextAttributes;
using Mivora::platform::TextColor;
using Mivora::platform::TextFont;
using Mivora::platform::TextLayout;

std::uint8_t MVTextAlignementToCTTextAlignment(std::uint32_t alignment) {
    return alignment < 3 ? static_cast<std::uint8_t>(alignment) : 0;
}

std::shared_ptr<MVTextView> MVTextView::init() {
    return MVMake<MVTextView>();
}

MVTextView::AttributedStringPointer
MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
    const std::string& string, const std::string& fontName, float size, Mivora::ColorRGBA color,
    std::int32_t alignment, bool shouldClip) {
    using Setting = ParagraphStyle::Setting;
    std::vector<Setting> settings = {
        {Setting::Specifier::Alignment,
         MVTextAlignementToCTTextAlignment(static_cast<std::uint32_t>(alignment))}};
    if (shouldClip) {
        settings.push_back({Setting::Specifier::LineBreakMode,
                            static_cast<std::uint8_t>(LineBreakMode::TruncatingTail)});
    }
    return AttributedString::create(
        string, TextAttributes{TextFont{fontName, size},
                               TextColor{color.red, color.green, color.blue, color.alpha},
                               ParagraphStyle(std::move(settings))});
}

Size2 MVTextView::sizeOfAttributedString(const AttributedStringPointer& string, float width) {
    const TextLayout layout(string, width, std::numeric_limits<double>::infinity());
    return {static_cast<float>(std::ceil(layout.width())),
            static_cast<float>(std::ceil(layout.height()))};
}

MVTextView::MVTextView() : rendered_(std::make_unique<MVRenderedImage>()) {}

MVTextView::~MVTextView() = default;

void MVTextView::setText(const AttributedStringPointer& text) {
    if (text_ == text) {
        return;
    }
    text_ = text;
    rendered_->setDirty();
    setNeedsDraw();
    mv_elementDidChange();
}

MVOwnElement MVTextView::mv_ownElement() const {
    MVOwnElement element;
    element.role = Mivora::platform::Role::Label;
    if (text_) {
        element.label = text_->text();
    }
    element.isElement = !element.label.empty();
    return element;
}

void MVTextView::setTextureScaleFactor(float textureScaleFactor) {
    if (textureScaleFactor_ == textureScaleFactor) {
        return;
    }
    textureScaleFactor_ = textureScaleFactor;
    rendered_->setDirty();
    setNeedsDraw();
}

void MVTextView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    if (rendered_->setSize({size.width, size.height})) {
        setNeedsDraw();
    }
}

const std::shared_ptr<MVMutableImage>& MVTextView::mv_textImage() const {
    return rendered_->image();
}

void MVTextView::mv_buildTextImage() {
    rendered_->render(*this, textureScaleFactor_, [this](cairo_t* context) {
        TextLayout(text_, size().width, size().height).draw(context);
    });
}

void MVTextView::mv_buildQuadVertices() {
    if (rendered_->buildQuad(*this)) {
        setNeedsDraw();
    }
}

void MVTextView::prepareForDraw() {
    mv_buildTextImage();
}

void MVTextView::draw() {
    mv_buildTextImage();
    if (!rendered_->image()) {
        return;
    }
    mv_buildQuadVertices();
    rendered_->draw(*this);
}
