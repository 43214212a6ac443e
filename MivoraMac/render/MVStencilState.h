#pragma once

#include <cstdint>

/// GL's stencil test as a value. All zero is what views save when there is no surface.
struct MVStencilState {
    bool enabled = false;           ///< whether fragments are tested
    std::uint32_t writeMask = 0;    ///< the bits that may be written
    std::uint32_t function = 0;     ///< comparison, a GL enum
    std::int32_t reference = 0;     ///< what the stencil value is compared with
    std::uint32_t readMask = 0;     ///< the bits that take part in the comparison
    std::uint32_t stencilFail = 0;  ///< action when the stencil test fails, a GL enum
    std::uint32_t depthFail = 0;    ///< action when it passes and the depth test fails
    std::uint32_t depthPass = 0;    ///< action when both pass

    /// Compares field by field.
    bool operator==(const MVStencilState&) const = default;
};
