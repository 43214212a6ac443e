#include "MivoraMac/images/MVBlurShader.h"

#include <epoxy/gl.h>

#include "MivoraMac/images/BlurShaderSourcesPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVRenderContext.h"

using Mivora::platform::DebugLog;

std::shared_ptr<MVBlurShader> MVBlurShader::initWithBlurRadius(float radius,
                                                               std::string* errorMessage) {
    const Mivora::BlurShaderSources sources = Mivora::blurShaderSources(radius);
    if (sources.vertex.empty()) {
        // Some drivers compile an empty source, but nothing can be linked from it.
        DebugLog::log(DebugLog::Category::Images, "a blur radius of %g is not in 1 to 102",
                      static_cast<double>(radius));
        return nullptr;
    }
    auto shader = mv_makeWithSources<MVBlurShader>(sources.vertex.c_str(), sources.fragment.c_str(),
                                                   errorMessage);
    if (!shader) {
        return nullptr;
    }
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
    shader->bindAttributeToIndex(MVShaderAttributeNameTexCoord, MVShaderAttributeSlotTexCoord);
    shader->attemptLinkWithErrorMessage(errorMessage);
    shader->samplerUniform_ = shader->uniformLocation(MVShaderUniformNameSampler);
    shader->colorUniform_ = shader->uniformLocation(MVShaderUniformNameColor);
    shader->texelSizeUniform_ = shader->uniformLocation("u_texelSize");
    return shader;
}

void MVBlurShader::setColor(Mivora::ColorRGBA color) {
    mv_setColorUniform(colorUniform_, color);
}

void MVBlurShader::setTexelSize(Mivora::Size2 texelSize) {
    if (const auto context = MVRenderContext::activeContext()) {
        context->dispatchBlock([location = texelSizeUniform_, texelSize] {
            glUniform2f(location, texelSize.width, texelSize.height);
        });
    }
}

void MVBlurShader::renderContextBindShader(MVRenderContext& context) {
    MVShader::renderContextBindShader(context);
    context.dispatchBlock([location = samplerUniform_] { glUniform1i(location, 0); });
}
