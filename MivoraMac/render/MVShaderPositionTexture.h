#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/render/MVShader.h"

/// Draws vertices textured with what is bound to texture unit 0.
class MIVORA_EXPORT MVShaderPositionTexture : public MVShader {
 public:
    /// As `init`.
    static std::shared_ptr<MVShaderPositionTexture> shader();

    /// Compiles and links the program.
    /// @param errorMessage  optional; the driver's logs are appended
    /// @return null when a stage does not compile, or without an active render context
    static std::shared_ptr<MVShaderPositionTexture> init(std::string* errorMessage = nullptr);

    /// Also points the sampler at texture unit 0, whatever it was before.
    void renderContextBindShader(MVRenderContext& context) override;

 protected:
    friend struct MVMaker;
    MVShaderPositionTexture() = default;

 private:
    std::int32_t samplerUniform_ = 0;
};
