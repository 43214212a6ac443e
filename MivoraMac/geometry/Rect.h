#pragma once

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Size.h"

namespace Mivora {

/// A rectangle along the axes: a corner and the extent from there.
///
/// Nothing normalises a negative extent: the rectangle then reaches to the other side of its
/// origin. A plain aggregate, with the components unset unless initialised. Two are equal when
/// origin and size are equal as they stand, whatever area they cover.
struct MIVORA_EXPORT Rect2 {
    /// The corner that the size is counted from.
    Point2 origin;
    /// The extent; may be negative.
    Size2 size;

    /// Origin and size 0.
    static const Rect2 kZero;

    /// Compares component by component.
    bool operator==(const Rect2&) const = default;
};

inline constexpr Rect2 Rect2::kZero{Point2::kZero, Size2::kZero};

/// A rectangle along the axes of an integer grid, mostly in pixels.
///
/// Nothing normalises a negative extent. A plain aggregate, with the components unset unless
/// initialised; equal when origin and size are equal.
struct MIVORA_EXPORT Rect2I {
    /// The corner that the size is counted from.
    Point2I origin;
    /// The extent; may be negative.
    Size2I size;

    /// Origin and size 0.
    static const Rect2I kZero;

    /// Compares component by component.
    bool operator==(const Rect2I&) const = default;
};

inline constexpr Rect2I Rect2I::kZero{Point2I::kZero, Size2I::kZero};

}  // namespace Mivora
