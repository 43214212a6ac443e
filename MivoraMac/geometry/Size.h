#pragma once

#include <cstdint>

#include "MivoraMac/Export.h"

namespace Mivora {

/// An extent in the plane, in the unit of the interface that carries it; mostly points.
///
/// Negative, infinite and NaN extents are kept as they are. A plain aggregate, with the components
/// unset unless initialised. Two are equal when both components are equal as floats.
struct MIVORA_EXPORT Size2 {
    /// The extent along x.
    float width;
    /// The extent along y.
    float height;

    /// Both components 0.
    static const Size2 kZero;

    /// Compares component by component.
    bool operator==(const Size2&) const = default;
};

inline constexpr Size2 Size2::kZero{0.0F, 0.0F};

/// An extent on an integer grid, mostly in pixels.
///
/// A plain aggregate, with the components unset unless initialised; equal when both are equal.
struct MIVORA_EXPORT Size2I {
    /// The extent along x.
    std::int32_t width;
    /// The extent along y.
    std::int32_t height;

    /// Both components 0.
    static const Size2I kZero;

    /// Compares component by component.
    bool operator==(const Size2I&) const = default;
};

inline constexpr Size2I Size2I::kZero{0, 0};

/// An extent in space, in the unit of the interface that carries it; mostly points.
///
/// Negative, infinite and NaN extents are kept as they are. A plain aggregate, with the components
/// unset unless initialised. Two are equal when every component is equal as a float.
struct MIVORA_EXPORT Size3 {
    /// The extent along x.
    float width;
    /// The extent along y.
    float height;
    /// The extent along z.
    float depth;

    /// Every component 0.
    static const Size3 kZero;

    /// Compares component by component.
    bool operator==(const Size3&) const = default;
};

inline constexpr Size3 Size3::kZero{0.0F, 0.0F, 0.0F};

}  // namespace Mivora
