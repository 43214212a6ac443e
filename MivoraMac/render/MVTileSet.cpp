#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>

#include "MivoraMac/render/MVTileSetPrivate.h"

using Mivora::platform::PixelBox;
using Mivora::platform::PixelRegion;
using Mivora::platform::PixelSize;

namespace {

int tilesFor(int pixels) {
    return (pixels + MVTileSet::kExtent - 1) / MVTileSet::kExtent;
}

}  // namespace

PixelBox MVTileSet::around(const PixelBox& box, PixelSize all) {
    if (box.isEmpty()) {
        return box;
    }
    return {box.left / kExtent * kExtent, box.bottom / kExtent * kExtent,
            std::min(tilesFor(box.right) * kExtent, all.width),
            std::min(tilesFor(box.top) * kExtent, all.height)};
}

void MVTileSet::reset(PixelSize size) {
    size_ = size;
    columns_ = tilesFor(size.width);
    rows_ = tilesFor(size.height);
    has_.assign(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_), 0);
}

void MVTileSet::add(const PixelBox& box) {
    const PixelBox seen = box.intersection({0, 0, size_.width, size_.height});
    if (seen.isEmpty()) {
        return;
    }
    for (int row = seen.bottom / kExtent; row < tilesFor(seen.top); ++row) {
        const auto begin = has_.begin() + static_cast<std::ptrdiff_t>(row) * columns_;
        std::fill(begin + seen.left / kExtent, begin + tilesFor(seen.right), std::uint8_t{1});
    }
}

void MVTileSet::addEdges(const MVPixelQuad& quad) {
    const auto& [a, b, c, d] = quad.corners;
    addEdge(a, b);
    addEdge(b, d);
    addEdge(d, c);
    addEdge(c, a);
}

void MVTileSet::add(const MVTileSet& other) {
    std::transform(has_.begin(), has_.end(), other.has_.begin(), has_.begin(), std::bit_or());
}

PixelRegion MVTileSet::within(const PixelBox& box) const {
    PixelRegion region;
    for (int row = box.bottom / kExtent; row < tilesFor(box.top); ++row) {
        for (int column = box.left / kExtent; column < tilesFor(box.right); ++column) {
            if (has_[static_cast<std::size_t>(row * columns_ + column)] != 0) {
                const int left = column * kExtent;
                const int bottom = row * kExtent;
                region.add(around({left, bottom, left + 1, bottom + 1}, size_));
            }
        }
    }
    return region;
}

void MVTileSet::addEdge(const Point& from, const Point& to) {
    const auto liesBetweenPixels = [](float one, float other) {
        const float whole = std::round(one);
        return std::abs(one - whole) <= MVPixelQuad::kSlack &&
               std::abs(other - whole) <= MVPixelQuad::kSlack;
    };
    if (has_.empty() || liesBetweenPixels(from.x, to.x) || liesBetweenPixels(from.y, to.y)) {
        return;
    }
    const auto [low, high] =
        std::minmax(from, to, [](const Point& one, const Point& other) { return one.y < other.y; });
    if (high.y + 1 < 0 || low.y - 1 > static_cast<float>(size_.height)) {
        return;
    }
    // The pixels next to an edge that it touches have a part of it, too.
    const float slope = high.y > low.y ? (high.x - low.x) / (high.y - low.y) : 0;
    const int lastRow = clampedRow(high.y + 1);
    for (int row = clampedRow(low.y - 1); row <= lastRow; ++row) {
        const auto xAt = [&, &low = low, &high = high](int y) {
            const float within = std::clamp(static_cast<float>(y), low.y, high.y);
            return low.x + (within - low.y) * slope;
        };
        const bool isFlat = high.y - low.y < 1;
        const float one = isFlat ? low.x : xAt(row * kExtent - 1);
        const float other = isFlat ? high.x : xAt((row + 1) * kExtent + 1);
        addRow(row, std::min(one, other) - 1, std::max(one, other) + 1);
    }
}

void MVTileSet::addRow(int row, float left, float right) {
    if (right < 0 || left > static_cast<float>(size_.width)) {
        return;
    }
    const auto begin = has_.begin() + static_cast<std::ptrdiff_t>(row) * columns_;
    std::fill(begin + clampedColumn(left), begin + clampedColumn(right) + 1, std::uint8_t{1});
}

int MVTileSet::clampedColumn(float x) const {
    return static_cast<int>(std::clamp(x / kExtent, 0.0F, static_cast<float>(columns_ - 1)));
}

int MVTileSet::clampedRow(float y) const {
    return static_cast<int>(std::clamp(y / kExtent, 0.0F, static_cast<float>(rows_ - 1)));
}
