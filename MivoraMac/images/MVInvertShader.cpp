#include "MivoraMac/images/MVInvertShader.h"

#include <epoxy/gl.h>

#include "MivoraMac/render/MVRenderContext.h"

namespace {

// clang-format off
constexpr const char* kFragmentSource =
    " precision lowp float;  varying vec2 v_texCoord; uniform sampler2D u_sampler;"
    " uniform vec4 u_color;  void main() {"
    "     vec4 fragColor = texture2D(u_sampler, v_texCoord);"
    "     fragColor.rgb = vec3(1.0) - fragColor.rgb;"
    "     gl_FragColor = fragColor * u_color; }";
// clang-format on

}  // namespace

std::shared_ptr<MVInvertShader> MVInvertShader::shader() {
    return init();
}

std::shared_ptr<MVInvertShader> MVInvertShader::init(std::string* errorMessage) {
    auto shader = mv_makeWithSources<MVInvertShader>(MVFilterShaderVertexSource, kFragmentSource,
                                                     errorMessage);
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

void MVInvertShader::setColor(Mivora::ColorRGBA color) {
    mv_setColorUniform(colorUniform_, color);
}

void MVInvertShader::renderContextBindShader(MVRenderContext& context) {
    MVShader::renderContextBindShader(context);
    context.dispatchBlock([location = samplerUniform_] { glUniform1i(location, 0); });
}
