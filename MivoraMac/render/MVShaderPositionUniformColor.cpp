#include "MivoraMac/render/MVShaderPositionUniformColor.h"

#include <typeinfo>

#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/StandardShaderSourcesPrivate.h"

std::shared_ptr<MVShaderPositionUniformColor> MVShaderPositionUniformColor::shader() {
    return init();
}

std::shared_ptr<MVShaderPositionUniformColor> MVShaderPositionUniformColor::init(
    std::string* errorMessage) {
    auto shader = mv_makeWithSources<MVShaderPositionUniformColor>(
        kPositionUniformColorVertexSource, kPositionUniformColorFragmentSource, errorMessage);
    if (!shader) {
        return nullptr;
    }
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
    shader->attemptLinkWithErrorMessage(errorMessage);
    shader->colorUniform_ = shader->uniformLocation(MVShaderUniformNameColor);
    return shader;
}

void MVShaderPositionUniformColor::setColor(Mivora::ColorRGBA color) {
    mv_setColorUniform(colorUniform_, color);
}

bool MVShaderPositionUniformColor::mv_readQuadProgram(MVQuadProgram& program) const {
    if (!isLinked() || typeid(*this) != typeid(MVShaderPositionUniformColor)) {
        return false;
    }
    program = mv_quadProgram(colorUniform_, -1);
    return true;
}
