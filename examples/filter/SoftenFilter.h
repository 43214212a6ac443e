#include <MivoraMac/MivoraMac.h>
#include <epoxy/gl.h>

// Mixes every pixel with those on either side, a step away.
class SoftenShader : public MVShader, public MVFilterShader {
 public:
    static std::shared_ptr<SoftenShader> init() {
        auto shader = mv_makeWithSources<SoftenShader>(MVFilterShaderVertexSource, R"(
            precision mediump float;
            varying vec2 v_texCoord;
            uniform sampler2D u_sampler;
            uniform vec4 u_color;
            uniform vec2 u_step;
            void main() {
                vec4 sides = texture2D(u_sampler, v_texCoord - u_step) +
                             texture2D(u_sampler, v_texCoord + u_step);
                gl_FragColor = (0.5 * texture2D(u_sampler, v_texCoord) + 0.25 * sides) * u_color;
            })");
        shader->bindAttributeToIndex(MVShaderAttributeNamePosition, MVShaderAttributeSlotPosition);
        shader->bindAttributeToIndex(MVShaderAttributeNameTexCoord, MVShaderAttributeSlotTexCoord);
        shader->link();
        shader->color_ = shader->uniformLocation(MVShaderUniformNameColor);
        shader->step_ = shader->uniformLocation("u_step");
        return shader;
    }
    void setColor(Mivora::ColorRGBA color) override { mv_setColorUniform(color_, color); }
    void setStep(float x, float y) {
        MVRenderContext::activeContext()->dispatchBlock(
            [location = step_, x, y] { glUniform2f(location, x, y); });
    }

 private:
    int color_ = -1;
    int step_ = -1;
};

// Softens along x in its first pass and along y in its second.
class SoftenFilter : public MVFilter {
 public:
    int numberOfPasses() const override { return 2; }
    std::shared_ptr<MVShader> shaderForRenderPass(int) override { return shader_; }
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>&, int pass,
                                        const std::shared_ptr<MVImage>& image) override {
        const Mivora::Size2 size = image->size();  // in points
        shader_->setStep(pass == 0 ? width_ / size.width : 0, pass == 1 ? width_ / size.height : 0);
    }
    void setWidth(float points) {
        width_ = points;
        announceChange();
    }

 private:
    std::shared_ptr<SoftenShader> shader_ = SoftenShader::init();
    float width_ = 1;
};
