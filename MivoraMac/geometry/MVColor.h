#pragma once

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"

/// @file
/// The named colours under flat names, and the conversions between the colour types as functions.
///
/// The constants are compile-time constants with the bytes of the class constants they copy. Clear
/// exists with alpha only. The functions may be called on any thread.

/// @name Named colours
/// @{

/// (0, 0, 0)
inline constexpr Mivora::ColorRGB MVColorBlackRGB = Mivora::ColorRGB::kBlack;
/// (1/3, 1/3, 1/3)
inline constexpr Mivora::ColorRGB MVColorDarkGrayRGB = Mivora::ColorRGB::kDarkGray;
/// (2/3, 2/3, 2/3)
inline constexpr Mivora::ColorRGB MVColorLightGrayRGB = Mivora::ColorRGB::kLightGray;
/// (1, 1, 1)
inline constexpr Mivora::ColorRGB MVColorWhiteRGB = Mivora::ColorRGB::kWhite;
/// (0.5, 0.5, 0.5)
inline constexpr Mivora::ColorRGB MVColorGrayRGB = Mivora::ColorRGB::kGray;
/// (1, 0, 0)
inline constexpr Mivora::ColorRGB MVColorRedRGB = Mivora::ColorRGB::kRed;
/// (0, 1, 0)
inline constexpr Mivora::ColorRGB MVColorGreenRGB = Mivora::ColorRGB::kGreen;
/// (0, 0, 1)
inline constexpr Mivora::ColorRGB MVColorBlueRGB = Mivora::ColorRGB::kBlue;
/// (0, 1, 1)
inline constexpr Mivora::ColorRGB MVColorCyanRGB = Mivora::ColorRGB::kCyan;
/// (1, 1, 0)
inline constexpr Mivora::ColorRGB MVColorYellowRGB = Mivora::ColorRGB::kYellow;
/// (1, 0, 1)
inline constexpr Mivora::ColorRGB MVColorMagentaRGB = Mivora::ColorRGB::kMagenta;
/// (1, 0.5, 0)
inline constexpr Mivora::ColorRGB MVColorOrangeRGB = Mivora::ColorRGB::kOrange;
/// (0.5, 0, 0.5)
inline constexpr Mivora::ColorRGB MVColorPurpleRGB = Mivora::ColorRGB::kPurple;
/// (0.6, 0.4, 0.2)
inline constexpr Mivora::ColorRGB MVColorBrownRGB = Mivora::ColorRGB::kBrown;
/// @}

/// @name Named colours with alpha
/// All opaque but Clear.
/// @{

/// (0, 0, 0, 1)
inline constexpr Mivora::ColorRGBA MVColorBlackRGBA = Mivora::ColorRGBA::kBlack;
/// (1/3, 1/3, 1/3, 1)
inline constexpr Mivora::ColorRGBA MVColorDarkGrayRGBA = Mivora::ColorRGBA::kDarkGray;
/// (2/3, 2/3, 2/3, 1)
inline constexpr Mivora::ColorRGBA MVColorLightGrayRGBA = Mivora::ColorRGBA::kLightGray;
/// (1, 1, 1, 1)
inline constexpr Mivora::ColorRGBA MVColorWhiteRGBA = Mivora::ColorRGBA::kWhite;
/// (0.5, 0.5, 0.5, 1)
inline constexpr Mivora::ColorRGBA MVColorGrayRGBA = Mivora::ColorRGBA::kGray;
/// (1, 0, 0, 1)
inline constexpr Mivora::ColorRGBA MVColorRedRGBA = Mivora::ColorRGBA::kRed;
/// (0, 1, 0, 1)
inline constexpr Mivora::ColorRGBA MVColorGreenRGBA = Mivora::ColorRGBA::kGreen;
/// (0, 0, 1, 1)
inline constexpr Mivora::ColorRGBA MVColorBlueRGBA = Mivora::ColorRGBA::kBlue;
/// (0, 1, 1, 1)
inline constexpr Mivora::ColorRGBA MVColorCyanRGBA = Mivora::ColorRGBA::kCyan;
/// (1, 1, 0, 1)
inline constexpr Mivora::ColorRGBA MVColorYellowRGBA = Mivora::ColorRGBA::kYellow;
/// (1, 0, 1, 1)
inline constexpr Mivora::ColorRGBA MVColorMagentaRGBA = Mivora::ColorRGBA::kMagenta;
/// (1, 0.5, 0, 1)
inline constexpr Mivora::ColorRGBA MVColorOrangeRGBA = Mivora::ColorRGBA::kOrange;
/// (0.5, 0, 0.5, 1)
inline constexpr Mivora::ColorRGBA MVColorPurpleRGBA = Mivora::ColorRGBA::kPurple;
/// (0.6, 0.4, 0.2, 1)
inline constexpr Mivora::ColorRGBA MVColorBrownRGBA = Mivora::ColorRGBA::kBrown;
/// (0, 0, 0, 0)
inline constexpr Mivora::ColorRGBA MVColorClearRGBA = Mivora::ColorRGBA::kClear;
/// @}

/// `Mivora::ColorRGB::ToHSB` as a function.
///
/// @param color  not clamped; NaN in it makes every component of the result NaN
MIVORA_EXPORT Mivora::ColorHSB MVColorRGBToColorHSB(Mivora::ColorRGB color);

/// `Mivora::ColorRGBA::ToHSBA` as a function; alpha passes through untouched.
///
/// @param color  not clamped; NaN in red, green or blue makes all but the alpha NaN
MIVORA_EXPORT Mivora::ColorHSBA MVColorRGBAToColorHSBA(Mivora::ColorRGBA color);

/// `Mivora::ColorHSB::ToRGB` as a function that changes no object of the caller's.
///
/// @param color  clamped to 0 to 1; a NaN hue makes every component of the result NaN, unless the
///               saturation is 0
MIVORA_EXPORT Mivora::ColorRGB MVColorHSBToColorRGB(Mivora::ColorHSB color);

/// `Mivora::ColorHSBA::ToRGBA` as a function; alpha passes through untouched.
///
/// @param color  clamped to 0 to 1, but for the alpha; NaN as in `MVColorHSBToColorRGB`
MIVORA_EXPORT Mivora::ColorRGBA MVColorHSBAToColorRGBA(Mivora::ColorHSBA color);
