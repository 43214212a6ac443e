#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilter.h"

class MVShaderPositionTextureUniformColor;

/// Draws an image as it is, in one pass.
///
/// Thread: main.
class MIVORA_EXPORT MVClearFilter : public MVFilter {
 public:
    /// Takes its shader from the shared cache. Without one it draws nothing.
    static std::shared_ptr<MVClearFilter> init();

    ~MVClearFilter() override;

    /// 1.
    std::int32_t numberOfPasses() const override;
    /// The shader that draws images as they are, for every pass.
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override;

 protected:
    friend struct MVMaker;
    MVClearFilter();

 private:
    std::shared_ptr<MVShaderPositionTextureUniformColor> shader_;
};
