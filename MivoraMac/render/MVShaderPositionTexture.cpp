#include "MivoraMac/render/MVShaderPositionTexture.h"

#include <epoxy/gl.h>

#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/StandardShaderSourcesPrivate.h"

std::shared_ptr<MVShaderPositionTexture> MVShaderPositionTexture::shader() {
    return init();
}

std::shared_ptr<MVShaderPositionTexture> MVShaderPositionTexture::init(std::string* errorMessage) {
    auto shader = mv_makeWithSources<MVShaderPositionTexture>(
        kTexturedVertexSource, kPositionTextureFragmentSource, errorMessage);
    if (!shader) {
        return nullptr;
    }
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
    shader->bindAttributeToIndex(MVShaderAttributeNameTexCoord, MVShaderAttributeSlotTexCoord);
    shader->attemptLinkWithErrorMessage(errorMessage);
    shader->samplerUniform_ = shader->uniformLocation(MVShaderUniformNameSampler);
    return shader;
}

void MVShaderPositionTexture::renderContextBindShader(MVRenderContext& context) {
    MVShader::renderContextBindShader(context);
    context.dispatchBlock([location = samplerUniform_] { glUniform1i(location, 0); });
}
