#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/render/MVFilterShader.h"
#include "MivoraMac/render/MVShader.h"

/// Draws vertices textured with what is bound to texture unit 0, red, green and blue turned into
/// one minus their values; alpha is kept. Each component is then multiplied by that of one colour.
class MIVORA_EXPORT MVInvertShader : public MVShader, public MVFilterShader {
 public:
    /// As `init`.
    static std::shared_ptr<MVInvertShader> shader();

    /// Compiles and links the program.
    /// @param errorMessage  optional; the driver's logs are appended
    /// @return null when a stage does not compile, or without an active render context
    static std::shared_ptr<MVInvertShader> init(std::string* errorMessage = nullptr);

    void setColor(Mivora::ColorRGBA color) override;

    /// Also points the sampler at texture unit 0, whatever it was before.
    void renderContextBindShader(MVRenderContext& context) override;

 protected:
    friend struct MVMaker;
    MVInvertShader() = default;

 private:
    std::int32_t samplerUniform_ = 0;
    std::int32_t colorUniform_ = 0;
};
