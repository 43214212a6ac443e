#pragma once

#include "MivoraMac/Export.h"

namespace Mivora {

struct ColorHSB;
struct ColorHSBA;

/// A colour by its red, green and blue, each nominally 0 to 1 and not clamped.
///
/// A plain aggregate, with the components unset unless initialised. Two are equal when every
/// component is equal as a float, so NaN equals nothing.
struct MIVORA_EXPORT ColorRGB {
    /// The share of red.
    float red;
    /// The share of green.
    float green;
    /// The share of blue.
    float blue;

    /// @name Named colours
    /// Clear is black here: only a colour with alpha can be transparent.
    /// @{
    static const ColorRGB kBlack;      ///< (0, 0, 0)
    static const ColorRGB kDarkGray;   ///< (1/3, 1/3, 1/3)
    static const ColorRGB kLightGray;  ///< (2/3, 2/3, 2/3)
    static const ColorRGB kWhite;      ///< (1, 1, 1)
    static const ColorRGB kGray;       ///< (0.5, 0.5, 0.5)
    static const ColorRGB kRed;        ///< (1, 0, 0)
    static const ColorRGB kGreen;      ///< (0, 1, 0)
    static const ColorRGB kBlue;       ///< (0, 0, 1)
    static const ColorRGB kCyan;       ///< (0, 1, 1)
    static const ColorRGB kYellow;     ///< (1, 1, 0)
    static const ColorRGB kMagenta;    ///< (1, 0, 1)
    static const ColorRGB kOrange;     ///< (1, 0.5, 0)
    static const ColorRGB kPurple;     ///< (0.5, 0, 0.5)
    static const ColorRGB kBrown;      ///< (0.6, 0.4, 0.2)
    static const ColorRGB kClear;      ///< (0, 0, 0)
    /// @}

    /// This colour as hue, saturation and brightness.
    ///
    /// Components of 0 to 1 give components of 0 to 1. Grey has hue 0, and black saturation 0, too.
    /// Where two components share the maximum, the hue is computed from red before green and from
    /// green before blue.
    ///
    /// Components outside 0 to 1 are not clamped: the brightness is the largest one, and the
    /// saturation exceeds 1 if another is negative, or is negative if all are. The hue stays within
    /// 0 to 1, both included. A NaN component makes every component of the result NaN; an infinite
    /// one makes some of them infinite or NaN.
    ColorHSB ToHSB() const;

    /// Compares component by component.
    bool operator==(const ColorRGB&) const = default;
};

inline constexpr ColorRGB ColorRGB::kBlack{0.0F, 0.0F, 0.0F};
inline constexpr ColorRGB ColorRGB::kDarkGray{1.0F / 3.0F, 1.0F / 3.0F, 1.0F / 3.0F};
inline constexpr ColorRGB ColorRGB::kLightGray{2.0F / 3.0F, 2.0F / 3.0F, 2.0F / 3.0F};
inline constexpr ColorRGB ColorRGB::kWhite{1.0F, 1.0F, 1.0F};
inline constexpr ColorRGB ColorRGB::kGray{0.5F, 0.5F, 0.5F};
inline constexpr ColorRGB ColorRGB::kRed{1.0F, 0.0F, 0.0F};
inline constexpr ColorRGB ColorRGB::kGreen{0.0F, 1.0F, 0.0F};
inline constexpr ColorRGB ColorRGB::kBlue{0.0F, 0.0F, 1.0F};
inline constexpr ColorRGB ColorRGB::kCyan{0.0F, 1.0F, 1.0F};
inline constexpr ColorRGB ColorRGB::kYellow{1.0F, 1.0F, 0.0F};
inline constexpr ColorRGB ColorRGB::kMagenta{1.0F, 0.0F, 1.0F};
inline constexpr ColorRGB ColorRGB::kOrange{1.0F, 0.5F, 0.0F};
inline constexpr ColorRGB ColorRGB::kPurple{0.5F, 0.0F, 0.5F};
inline constexpr ColorRGB ColorRGB::kBrown{0.6F, 0.4F, 0.2F};
inline constexpr ColorRGB ColorRGB::kClear{0.0F, 0.0F, 0.0F};

/// A colour by its red, green, blue and alpha, each nominally 0 to 1 and not clamped.
///
/// Alpha is straight: red, green and blue are not multiplied by it. A plain aggregate, with the
/// components unset unless initialised. Two are equal when every component is equal as a float,
/// so NaN equals nothing.
struct MIVORA_EXPORT ColorRGBA {
    /// The share of red.
    float red;
    /// The share of green.
    float green;
    /// The share of blue.
    float blue;
    /// The opacity: 0 is transparent, 1 opaque.
    float alpha;

    /// @name Named colours
    /// All opaque but Clear, whose components are all 0.
    /// @{
    static const ColorRGBA kBlack;      ///< (0, 0, 0, 1)
    static const ColorRGBA kDarkGray;   ///< (1/3, 1/3, 1/3, 1)
    static const ColorRGBA kLightGray;  ///< (2/3, 2/3, 2/3, 1)
    static const ColorRGBA kWhite;      ///< (1, 1, 1, 1)
    static const ColorRGBA kGray;       ///< (0.5, 0.5, 0.5, 1)
    static const ColorRGBA kRed;        ///< (1, 0, 0, 1)
    static const ColorRGBA kGreen;      ///< (0, 1, 0, 1)
    static const ColorRGBA kBlue;       ///< (0, 0, 1, 1)
    static const ColorRGBA kCyan;       ///< (0, 1, 1, 1)
    static const ColorRGBA kYellow;     ///< (1, 1, 0, 1)
    static const ColorRGBA kMagenta;    ///< (1, 0, 1, 1)
    static const ColorRGBA kOrange;     ///< (1, 0.5, 0, 1)
    static const ColorRGBA kPurple;     ///< (0.5, 0, 0.5, 1)
    static const ColorRGBA kBrown;      ///< (0.6, 0.4, 0.2, 1)
    static const ColorRGBA kClear;      ///< (0, 0, 0, 0)
    /// @}

    /// This colour as hue, saturation, brightness and the same alpha; see `ColorRGB::ToHSB`.
    ColorHSBA ToHSBA() const;

    /// Compares component by component.
    bool operator==(const ColorRGBA&) const = default;
};

inline constexpr ColorRGBA ColorRGBA::kBlack{0.0F, 0.0F, 0.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kDarkGray{1.0F / 3.0F, 1.0F / 3.0F, 1.0F / 3.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kLightGray{2.0F / 3.0F, 2.0F / 3.0F, 2.0F / 3.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kWhite{1.0F, 1.0F, 1.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kGray{0.5F, 0.5F, 0.5F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kRed{1.0F, 0.0F, 0.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kGreen{0.0F, 1.0F, 0.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kBlue{0.0F, 0.0F, 1.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kCyan{0.0F, 1.0F, 1.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kYellow{1.0F, 1.0F, 0.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kMagenta{1.0F, 0.0F, 1.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kOrange{1.0F, 0.5F, 0.0F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kPurple{0.5F, 0.0F, 0.5F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kBrown{0.6F, 0.4F, 0.2F, 1.0F};
inline constexpr ColorRGBA ColorRGBA::kClear{0.0F, 0.0F, 0.0F, 0.0F};

/// A colour by its hue, saturation and brightness, each nominally 0 to 1.
///
/// A plain aggregate, with the components unset unless initialised. Two are equal when every
/// component is equal as a float, so NaN equals nothing.
struct MIVORA_EXPORT ColorHSB {
    /// The place on the colour circle: 0 red, 1/3 green, 2/3 blue, 1 a full turn and red again.
    float hue;
    /// The distance from grey: 0 grey, 1 a pure colour.
    float saturation;
    /// The largest of red, green and blue.
    float brightness;

    /// This colour as red, green and blue, after normalising the object it is called on.
    ///
    /// Each component of this object below 0 becomes 0 and each above 1 becomes 1; then, if the
    /// saturation is not 0, a hue of 1 becomes 0. With saturation 0 the result is a grey, whatever
    /// the hue, which then keeps its 1.
    ///
    /// NaN is left in the object. A NaN hue makes every component of the result NaN, unless the
    /// saturation is 0; NaN in saturation or brightness makes those components NaN that depend on
    /// it.
    ColorRGB ToRGB();

    /// Compares component by component.
    bool operator==(const ColorHSB&) const = default;
};

/// A colour by its hue, saturation, brightness and alpha, each nominally 0 to 1.
///
/// Alpha is straight. A plain aggregate, with the components unset unless initialised. Two are
/// equal when every component is equal as a float, so NaN equals nothing.
struct MIVORA_EXPORT ColorHSBA {
    /// The place on the colour circle: 0 red, 1/3 green, 2/3 blue, 1 a full turn and red again.
    float hue;
    /// The distance from grey: 0 grey, 1 a pure colour.
    float saturation;
    /// The largest of red, green and blue.
    float brightness;
    /// The opacity: 0 is transparent, 1 opaque.
    float alpha;

    /// This colour as red, green, blue and the same alpha.
    ///
    /// Hue, saturation and brightness are clamped to 0 to 1 on the way, as by `ColorHSB::ToRGB`;
    /// this object does not change. Alpha is not clamped.
    ColorRGBA ToRGBA() const;

    /// Compares component by component.
    bool operator==(const ColorHSBA&) const = default;
};

}  // namespace Mivora
