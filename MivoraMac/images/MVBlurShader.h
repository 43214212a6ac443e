#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/render/MVFilterShader.h"
#include "MivoraMac/render/MVShader.h"

/// Draws vertices textured with what is bound to texture unit 0, blurred along one direction by a
/// bell curve, and each component of the result multiplied by that of one colour.
///
/// The program is written for its radius. It reads two pixels of the texture at once, between
/// them, so the texture has to be filtered linearly, as those of images are. Beyond its edges the
/// texture repeats its outermost pixels, as those of images do.
class MIVORA_EXPORT MVBlurShader : public MVShader, public MVFilterShader {
 public:
    /// Writes, compiles and links the program.
    /// @param radius        in pixels, rounded; the standard deviation of the curve. The usable
    ///                      ones are 1 to 102
    /// @param errorMessage  optional; the driver's logs are appended
    /// @return null for any other radius, NaN and infinity included, with a line in the debug log
    ///         (category `images`), and without an active render context
    static std::shared_ptr<MVBlurShader> initWithBlurRadius(float radius,
                                                            std::string* errorMessage = nullptr);

    void setColor(Mivora::ColorRGBA color) override;

    /// Queues the upload of the direction to the program that is current by then: the way from one
    /// pixel to the next, in texture coordinates. (1 / width, 0) blurs along x.
    void setTexelSize(Mivora::Size2 texelSize);

    /// Also points the sampler at texture unit 0, whatever it was before.
    void renderContextBindShader(MVRenderContext& context) override;

 protected:
    friend struct MVMaker;
    MVBlurShader() = default;

 private:
    std::int32_t samplerUniform_ = 0;
    std::int32_t colorUniform_ = 0;
    std::int32_t texelSizeUniform_ = 0;
};
