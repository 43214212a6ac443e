#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/gl/PixelRegion.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/render/MVPixelQuadPrivate.h"

/// Some of the square tiles that a framebuffer consists of.
class MIVORA_EXPORT MVTileSet {
 public:
    /// The extent of a tile in pixels: llvmpipe (Mesa 22.3) lets multisampled triangles cover
    /// samples of the pixels next to the scissor box, but does not look at tiles of this size that
    /// lie beyond it.
    static constexpr int kExtent = 64;

    /// All tiles that a box has pixels in, as far as they are in a framebuffer of that size.
    static Mivora::platform::PixelBox around(const Mivora::platform::PixelBox& box,
                                             Mivora::platform::PixelSize all);

    /// None of a framebuffer of that size.
    void reset(Mivora::platform::PixelSize size);

    /// Adds those that a box has pixels in.
    void add(const Mivora::platform::PixelBox& box);
    /// Adds those in which an edge of the quad parts a pixel, so that some of its samples lie on
    /// one side and some on the other.
    void addEdges(const MVPixelQuad& quad);
    /// Adds those of another set, of a framebuffer of the same size.
    void add(const MVTileSet& other);

    /// Boxes around those that lie in a box, which has to consist of whole tiles.
    Mivora::platform::PixelRegion within(const Mivora::platform::PixelBox& box) const;

 private:
    using Point = MVPixelQuad::Point;

    void addEdge(const Point& from, const Point& to);
    void addRow(int row, float left, float right);
    int clampedColumn(float x) const;
    int clampedRow(float y) const;

    Mivora::platform::PixelSize size_;
    int columns_ = 0;
    int rows_ = 0;
    std::vector<std::uint8_t> has_;  // row by row
};
