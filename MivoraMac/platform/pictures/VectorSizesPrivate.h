#pragma once

#include <string_view>

namespace Mivora::platform {

// How large what an SVG file draws may become, from above. Patterns need that: the tile of one is
// as large as it says, magnified by everything around the shape that it fills, seen or not.

/// A length, in the units that a file may state it in.
struct VectorLength {
    double pixels = 0;
    double percent = 0;  ///< of the largest extent that the file states
    double ems = 0;      ///< of the largest size of a font

    void widenBy(const VectorLength& other);
};

/// What the lengths of a file are relative to.
struct VectorUnits {
    double extent = 0;
    double font = 16;

    /// Infinite units count only for what is stated in them.
    double pixelsOf(const VectorLength& length) const;
};

/// The largest length of a text that holds some, without its sign.
VectorLength largestLength(std::string_view text);

/// The largest width or height of a shape that has such an attribute; none for an attribute that
/// does not tell.
VectorLength largestExtent(std::string_view attribute, std::string_view value);

/// How much a list of transformations magnifies at most, in whatever direction; 1 for an empty one.
double largestScale(std::string_view transformations);

/// How much what a "viewBox" shows is magnified at most to fill a rectangle; 1 for a damaged one,
/// with which nothing is drawn.
double largestViewBoxScale(std::string_view viewBox, double width, double height);

/// What an element says of sizes.
struct VectorSizes {
    double scale = 1;          ///< what its transformations magnify by
    std::string_view viewBox;  ///< empty for none
    VectorLength width;
    VectorLength height;
    VectorLength extent;  ///< of the shape that it is

    bool isText = false;  ///< whose extent is not known
    bool isMarker = false;
    bool isPattern = false;
    bool saysUnits = false;          ///< of the tile, which is relative to the shape otherwise
    bool isRelative = false;         ///< said so
    bool contentIsRelative = false;  ///< to the extent of the shape

    /// Takes over what a pattern may that refers to another one.
    void inherit(const VectorSizes& other);
};

/// How large what an element draws may become, with everything below it, in the units around it.
struct VectorBound {
    double magnification = 1;
    double extent = 0;      ///< of a shape
    double tilePixels = 0;  ///< of the tiles of patterns that are there at the same time

    /// Counts something that the element draws.
    void add(const VectorBound& part);
    /// Counts a pattern that fills something that the element draws; after everything is counted
    /// that it draws.
    /// @param content  what the pattern draws
    void fillWith(const VectorSizes& pattern, const VectorBound& content, const VectorUnits& units);
    /// Steps out of the element.
    void magnify(double scale);
};

}  // namespace Mivora::platform
