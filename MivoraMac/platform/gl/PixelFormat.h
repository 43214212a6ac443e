#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

namespace Mivora::platform {

/// What a GL context and its framebuffer offer, made from a zero-terminated attribute list.
class MIVORA_EXPORT PixelFormat {
 public:
    /// The words of an attribute list. Those marked "value" are followed by one.
    enum Attribute : std::uint32_t {
        End = 0,             ///< ends the list
        DoubleBuffer = 5,    ///< drawing becomes visible on `GLContext::flushBuffer` only
        DepthSize = 12,      ///< value: bits
        StencilSize = 13,    ///< value: bits
        SampleBuffers = 55,  ///< value: 0 or 1
        Samples = 56,        ///< value: samples a pixel
        Multisample = 59,    ///< several samples a pixel
        OpenGLProfile = 99,  ///< value: `ProfileVersion3_2Core`
    };
    /// The value of `OpenGLProfile`: the core profile of OpenGL 3.2.
    static constexpr std::uint32_t ProfileVersion3_2Core = 0x3200;

    /// @param attributes  a list that ends with `End`
    /// @return null when the list has no end, an unknown word, a word without its value or a
    ///         profile other than the one above; the debug log (category `gl`) says which
    static std::shared_ptr<PixelFormat> initWithAttributes(
        std::span<const std::uint32_t> attributes);

    /// The list as given, its end included.
    const std::vector<std::uint32_t>& attributes() const { return attributes_; }

    /// Whether the list has `DoubleBuffer`.
    bool doubleBuffer() const { return doubleBuffer_; }
    /// As the list has them, in bits; 0 where it does not.
    int depthSize() const { return depthSize_; }
    int stencilSize() const { return stencilSize_; }
    /// Samples a pixel; 0 without multisampling.
    int samples() const { return multisample_ && sampleBuffers_ > 0 ? samples_ : 0; }

 private:
    friend struct ::MVMaker;
    PixelFormat() = default;
    bool parse();

    std::vector<std::uint32_t> attributes_;
    bool doubleBuffer_ = false;
    bool multisample_ = false;
    int depthSize_ = 0;
    int stencilSize_ = 0;
    int sampleBuffers_ = 0;
    int samples_ = 0;
};

}  // namespace Mivora::platform
