#include "MivoraMac/platform/text/ParagraphStyle.h"

#include <utility>

namespace Mivora::platform {

ParagraphStyle::ParagraphStyle(std::vector<Setting> settings) : settings_(std::move(settings)) {}

std::uint8_t ParagraphStyle::valueOf(Setting::Specifier specifier) const {
    std::uint8_t value = 0;
    for (const Setting& setting : settings_) {
        if (setting.specifier == specifier) {
            value = setting.value;
        }
    }
    return value;
}

TextAlignment ParagraphStyle::alignment() const {
    const std::uint8_t value = valueOf(Setting::Specifier::Alignment);
    return value <= static_cast<std::uint8_t>(TextAlignment::Center)
               ? static_cast<TextAlignment>(value)
               : TextAlignment::Left;
}

LineBreakMode ParagraphStyle::lineBreakMode() const {
    return valueOf(Setting::Specifier::LineBreakMode) ==
                   static_cast<std::uint8_t>(LineBreakMode::TruncatingTail)
               ? LineBreakMode::TruncatingTail
               : LineBreakMode::WordWrapping;
}

}  // namespace Mivora::platform
