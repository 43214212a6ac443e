#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::platform {

/// Memory for copied frames, used over and over: new memory from the system for each of sixty
/// frames a second costs as much as copying them.
///
/// Thread: any.
class GtkFrameCopies : public std::enable_shared_from_this<GtkFrameCopies> {
 public:
    /// A frame as cairo takes it: premultiplied, the top row first, alpha in the highest byte of a
    /// pixel and blue in the lowest.
    struct Copy {
        PixelSize size;
        std::vector<std::uint32_t> argb;
    };

    /// Memory for a frame of that size, whatever is in it. It comes back here when the last
    /// reference to it goes.
    std::shared_ptr<Copy> take(PixelSize size);

 private:
    void giveBack(std::unique_ptr<Copy> copy);

    static constexpr std::size_t kMostKept = 3;  // one that is shown, drawn into and waiting each

    std::mutex mutex_;
    std::vector<std::unique_ptr<Copy>> kept_;
};

}  // namespace Mivora::platform
