#pragma once

namespace Mivora::platform {

/// A place in points.
struct Point {
    /// From left to right.
    double x = 0;
    /// From bottom to top.
    double y = 0;
    /// Compares both.
    bool operator==(const Point&) const = default;
};

/// A rectangle in points.
struct Rect {
    /// The left edge.
    double x = 0;
    /// The bottom edge.
    double y = 0;
    /// From the left edge to the right one.
    double width = 0;
    /// From the bottom edge to the top one.
    double height = 0;
    /// Compares field by field.
    bool operator==(const Rect&) const = default;

    /// Whether the point lies inside or on an edge.
    bool contains(Point point) const {
        return point.x >= x && point.x <= x + width && point.y >= y && point.y <= y + height;
    }
};

}  // namespace Mivora::platform
