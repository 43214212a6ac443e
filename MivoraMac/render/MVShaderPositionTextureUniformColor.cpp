#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"

#include <epoxy/gl.h>

#include <typeinfo>

#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/StandardShaderSourcesPrivate.h"

std::shared_ptr<MVShaderPositionTextureUniformColor> MVShaderPositionTextureUniformColor::shader() {
    return init();
}

std::shared_ptr<MVShaderPositionTextureUniformColor> MVShaderPositionTextureUniformColor::init(
    std::string* errorMessage) {
    auto shader = mv_makeWithSources<MVShaderPositionTextureUniformColor>(
        kTexturedVertexSource, kPositionTextureUniformColorFragmentSource, errorMessage);
    if (!shader) {
        return nullptr;
    }
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
    shader->bindAttributeToIndex(MVShaderAttributeNameTexCoord, MVShaderAttributeSlotTexCoord);
    shader->attemptLinkWithErrorMessage(errorMessage);
    shader->samplerUniform_ = shader->uniformLocation(MVShaderUniformNameSampler);
    shader->colorUniform_ = shader->uniformLocation(MVShaderUniformNameColor);
    return shader;
}

void MVShaderPositionTextureUniformColor::setColor(Mivora::ColorRGBA color) {
    mv_setColorUniform(colorUniform_, color);
}

void MVShaderPositionTextureUniformColor::renderContextBindShader(MVRenderContext& context) {
    MVShader::renderContextBindShader(context);
    context.dispatchBlock([location = samplerUniform_] { glUniform1i(location, 0); });
}

bool MVShaderPositionTextureUniformColor::mv_readQuadProgram(MVQuadProgram& program) const {
    if (!isLinked() || typeid(*this) != typeid(MVShaderPositionTextureUniformColor)) {
        return false;
    }
    program = mv_quadProgram(colorUniform_, samplerUniform_);
    return true;
}
