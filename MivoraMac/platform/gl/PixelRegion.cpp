#include "MivoraMac/platform/gl/PixelRegion.h"

#include <algorithm>
#include <cstdint>

namespace Mivora::platform {

namespace {

/// As many pixels more are drawn rather than one box more.
constexpr std::int64_t kAreaOfABox = 128 * 128;

std::int64_t areaOf(const PixelBox& box) {
    return static_cast<std::int64_t>(box.width()) * box.height();
}

/// The pixels that one box around two has more than they have.
std::int64_t growth(const PixelBox& a, const PixelBox& b) {
    return areaOf(a.around(b)) - areaOf(a) - areaOf(b);
}

}  // namespace

PixelRegion PixelRegion::whole(PixelSize size) {
    PixelRegion region;
    region.add({0, 0, size.width, size.height});
    return region;
}

void PixelRegion::add(const PixelBox& added) {
    if (added.isEmpty()) {
        return;
    }
    PixelBox box = added;
    while (count_ != 0) {
        const auto nearest = std::min_element(boxes_.begin(), boxes_.begin() + count_,
                                              [&box](const PixelBox& a, const PixelBox& b) {
                                                  return growth(a, box) < growth(b, box);
                                              });
        if (count_ < kMostBoxes && growth(*nearest, box) > kAreaOfABox) {
            break;
        }
        // What is added in its place may have come near others.
        box = nearest->around(box);
        remove(static_cast<std::size_t>(nearest - boxes_.begin()));
    }
    boxes_[count_++] = box;
}

void PixelRegion::add(const PixelRegion& other) {
    for (const PixelBox& box : other.boxes()) {
        add(box);
    }
}

}  // namespace Mivora::platform
