#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/Picture.h"

using cairo_t = struct _cairo;

namespace Mivora::platform {

/// Memory that Cairo draws into and that is then uploaded as a texture: begins transparent.
///
/// Thread: any, one at a time.
class MIVORA_EXPORT PixelCanvas {
 public:
    /// @return nothing for a size without pixels, one that Cairo cannot draw into (32,767 either
    ///         way is the most) and where there is not the memory
    static std::optional<PixelCanvas> create(PixelSize size);
    PixelCanvas(PixelCanvas&&) = default;
    PixelCanvas& operator=(PixelCanvas&&) = default;

    /// One unit a pixel, the origin at the top left corner, y running down; blends.
    cairo_t* context() const { return context_.get(); }

    /// Ends the drawing, also for whoever kept the context: red, green, blue and alpha of eight
    /// bits, premultiplied, rows tightly packed, the top one first.
    std::shared_ptr<const std::uint8_t> finish();

 private:
    struct DestroyContext {
        void operator()(cairo_t* context) const;
    };

    PixelCanvas() = default;

    PixelSize size_;
    std::shared_ptr<std::uint8_t> pixels_;
    std::unique_ptr<cairo_t, DestroyContext> context_;
};

}  // namespace Mivora::platform
