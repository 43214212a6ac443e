#pragma once

#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/geometry/Viewport.h"

/// @file
/// The geometry types, and their constants under flat names.
///
/// A name ends in the number and the kind of the components it is counted in: `2F` two floats,
/// `3F` three floats, `2I` two 32-bit integers, `2D` two doubles. All are compile-time constants
/// with the bytes of the class constants they copy; no code runs to set them.

/// `Mivora::Point2::kZero`: (0, 0).
inline constexpr Mivora::Point2 MVPointZero2F = Mivora::Point2::kZero;
/// `Mivora::Point2::kNull`: both components infinite, a point that does not exist.
inline constexpr Mivora::Point2 MVPointNull2F = Mivora::Point2::kNull;
/// `Mivora::Point2I::kZero`: (0, 0).
inline constexpr Mivora::Point2I MVPointZero2I = Mivora::Point2I::kZero;
/// `Mivora::Point2D::kZero`: (0, 0).
inline constexpr Mivora::Point2D MVPointZero2D = Mivora::Point2D::kZero;
/// `Mivora::Point3::kZero`: (0, 0, 0).
inline constexpr Mivora::Point3 MVPointZero3F = Mivora::Point3::kZero;
/// `Mivora::Point3::kNull`: every component infinite, a point that does not exist.
inline constexpr Mivora::Point3 MVPointNull3F = Mivora::Point3::kNull;

/// `Mivora::Size2::kZero`: no extent.
inline constexpr Mivora::Size2 MVSizeZero2F = Mivora::Size2::kZero;
/// `Mivora::Size2I::kZero`: no extent.
inline constexpr Mivora::Size2I MVSizeZero2I = Mivora::Size2I::kZero;
/// `Mivora::Size3::kZero`: no extent.
inline constexpr Mivora::Size3 MVSizeZero3F = Mivora::Size3::kZero;

/// `Mivora::Rect2::kZero`: no extent, at the origin.
inline constexpr Mivora::Rect2 MVRectZero2F = Mivora::Rect2::kZero;
/// `Mivora::Rect2I::kZero`: no extent, at the origin.
inline constexpr Mivora::Rect2I MVRectZero2I = Mivora::Rect2I::kZero;

/// `Mivora::Ray2::kZero`: start point and direction 0.
inline constexpr Mivora::Ray2 MVRayZero2F = Mivora::Ray2::kZero;
/// `Mivora::Ray2::kNull`: every component infinite, a ray that does not exist.
inline constexpr Mivora::Ray2 MVRayNull2F = Mivora::Ray2::kNull;
/// `Mivora::Ray3::kZero`: start point and direction 0.
inline constexpr Mivora::Ray3 MVRayZero3F = Mivora::Ray3::kZero;
/// `Mivora::Ray3::kNull`: every component infinite, a ray that does not exist.
inline constexpr Mivora::Ray3 MVRayNull3F = Mivora::Ray3::kNull;
