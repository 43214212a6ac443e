#include "MivoraMac/render/MVShaderPositionColor.h"

#include "MivoraMac/render/StandardShaderSourcesPrivate.h"

std::shared_ptr<MVShaderPositionColor> MVShaderPositionColor::shader() {
    return init();
}

std::shared_ptr<MVShaderPositionColor> MVShaderPositionColor::init(std::string* errorMessage) {
    auto shader = mv_makeWithSources<MVShaderPositionColor>(
        kPositionColorVertexSource, kPositionColorFragmentSource, errorMessage);
    if (!shader) {
        return nullptr;
    }
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
    shader->bindAttributeToIndex(MVShaderAttributeNameColor, MVShaderAttributeSlotColor);
    return shader;
}
