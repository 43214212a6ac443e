#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilter.h"

class MVBlurShader;

/// Blurs an image by a bell curve in two passes, along x and then along y.
///
/// What lies beyond the edge of the image counts as the edge itself, so an opaque picture gets no
/// border. The centre stays where it is, and the sum of all colours, where nothing is near an edge.
///
/// Each radius has a program of its own, which takes a driver some milliseconds to compile: a blur
/// that grows is better made of a few filters that are kept than of one for each frame.
///
/// Thread: main.
class MIVORA_EXPORT MVBlurFilter : public MVFilter {
 public:
    /// A filter without a shader, whose two passes draw nothing.
    static std::shared_ptr<MVBlurFilter> init();

    /// A filter with a shader for that radius.
    /// @param radius  in pixels of the image, rounded; the standard deviation of the curve. For one
    ///                that does not round to 1 to 102, NaN and infinity included, the filter is as
    ///                that of `init`: to show a picture without blur, use no filter
    static std::shared_ptr<MVBlurFilter> initWithBlurRadius(float radius);

    ~MVBlurFilter() override;

    /// 2.
    std::int32_t numberOfPasses() const override;
    /// The blurring shader, for every pass; null if there is none.
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override;
    /// Points the shader along x in pass 0 and along y in pass 1. Does nothing for other passes and
    /// other shaders.
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader, std::int32_t pass,
                                        const std::shared_ptr<MVImage>& image) override;

 protected:
    friend struct MVMaker;
    /// See `init`.
    MVBlurFilter();
    /// See `initWithBlurRadius`.
    explicit MVBlurFilter(float radius);

 private:
    std::shared_ptr<MVBlurShader> shader_;
};
