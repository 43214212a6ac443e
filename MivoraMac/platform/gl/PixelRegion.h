#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// A rectangle of whole pixels. y counts from the bottom, as GL does.
struct PixelBox {
    int left = 0;    ///< the first column in it
    int bottom = 0;  ///< the lowest row in it
    int right = 0;   ///< the first column beyond it
    int top = 0;     ///< the first row beyond it

    /// Whether there is no pixel in it.
    bool isEmpty() const { return left >= right || bottom >= top; }
    /// The number of columns, unless it is empty.
    int width() const { return right - left; }
    /// The number of rows, unless it is empty.
    int height() const { return top - bottom; }
    /// Compares all four.
    bool operator==(const PixelBox&) const = default;

    /// Whether they have a pixel in common.
    bool intersects(const PixelBox& other) const {
        return left < other.right && other.left < right && bottom < other.top && other.bottom < top;
    }
    /// The pixels that both have; empty where they have none in common.
    PixelBox intersection(const PixelBox& other) const {
        return {std::max(left, other.left), std::max(bottom, other.bottom),
                std::min(right, other.right), std::min(top, other.top)};
    }
    /// The smallest box that has all pixels of both.
    PixelBox around(const PixelBox& other) const {
        return isEmpty() ? other
               : other.isEmpty()
                   ? *this
                   : PixelBox{std::min(left, other.left), std::min(bottom, other.bottom),
                              std::max(right, other.right), std::max(top, other.top)};
    }
};

/// A few boxes that together hold all pixels that were added, and some more where that makes them
/// fewer.
class MIVORA_EXPORT PixelRegion {
 public:
    /// All pixels of a picture of that size.
    static PixelRegion whole(PixelSize size);

    /// Adds the pixels of a box; nothing where that is empty.
    void add(const PixelBox& box);
    void add(const PixelRegion& other);

    /// None of them is empty.
    std::span<const PixelBox> boxes() const { return {boxes_.data(), count_}; }
    /// Whether there are no boxes.
    bool isEmpty() const { return count_ == 0; }

 private:
    static constexpr std::size_t kMostBoxes = 4;

    void remove(std::size_t index) { boxes_[index] = boxes_[--count_]; }

    std::array<PixelBox, kMostBoxes> boxes_;
    std::size_t count_ = 0;
};

}  // namespace Mivora::platform
