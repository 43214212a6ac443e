#pragma once

#include <optional>
#include <string>

#include "MivoraMac/platform/text/ParagraphStyle.h"

namespace Mivora::platform {

/// A font by name and size.
///
/// A name is a family ("DejaVu Sans"), a family with a style ("Sans Bold", "DejaVu Serif Italic"),
/// or the name that a font has in PostScript, which has a hyphen where there is a style
/// ("DejaVuSans-Bold"). Where no font of that name is installed, the one that fontconfig finds
/// closest stands in for it, and others for characters that it does not have.
struct TextFont {
    /// What an empty name and text without a font are set in, and a size that is none.
    static constexpr const char* kDefaultName = "Sans";
    /// See `kDefaultName`.
    static constexpr float kDefaultSize = 12;
    /// A smaller size above 0 counts as this one.
    static constexpr float kSmallestSize = 0.1F;
    /// A larger size counts as this one.
    static constexpr float kLargestSize = 16384;

    /// See above.
    std::string name = kDefaultName;
    /// In points. 0, negative, NaN and infinite sizes count as `kDefaultSize`.
    float size = kDefaultSize;

    /// Compares name and size as they were given.
    bool operator==(const TextFont&) const = default;
};

/// A colour of the screen: components from 0 to 1, straight alpha. Others are clamped, NaN is 0.
struct TextColor {
    float red = 0;    ///< 0 to 1
    float green = 0;  ///< 0 to 1
    float blue = 0;   ///< 0 to 1
    float alpha = 1;  ///< 0 to 1; 1 is opaque

    /// Compares component by component.
    bool operator==(const TextColor&) const = default;
};

/// What text looks like. Each may be missing.
struct TextAttributes {
    /// Without it: `TextFont()`.
    std::optional<TextFont> font;
    /// Without it: opaque black.
    std::optional<TextColor> foregroundColor;
    /// Of a paragraph, that of its first character counts. Without it: `ParagraphStyle()`.
    std::optional<ParagraphStyle> paragraphStyle;

    /// Compares all three.
    bool operator==(const TextAttributes&) const = default;
};

}  // namespace Mivora::platform
