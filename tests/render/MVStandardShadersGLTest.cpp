#include <epoxy/gl.h>

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "MivoraMac/render/MVShaderPositionColor.h"
#include "MivoraMac/render/MVShaderPositionTexture.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"

using Mivora::ColorRGBA;
using Mivora::tests::GLCall;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

// clang-format off
constexpr const char* kColorVertex = " precision highp float;  uniform mat4 u_transformProjectionMatrix; attribute vec4 a_position; attribute vec4 a_color; varying lowp vec4 v_fragmentColor;  void main() {     gl_Position = u_transformProjectionMatrix * a_position;     v_fragmentColor = a_color; }";
constexpr const char* kColorFragment = " precision lowp float;  varying vec4 v_fragmentColor;  void main() {     gl_FragColor = v_fragmentColor; }";
constexpr const char* kUniformColorVertex = " precision highp float;  uniform mat4 u_transformProjectionMatrix; attribute vec4 a_position;  void main() {     gl_Position = u_transformProjectionMatrix * a_position; }";
constexpr const char* kUniformColorFragment = " precision lowp float;  uniform vec4 u_color;  void main() {     gl_FragColor = u_color; }";
constexpr const char* kTexturedVertex = " precision highp float;  uniform mat4 u_transformProjectionMatrix; attribute vec4 a_position; attribute vec2 a_texCoord; varying mediump vec2 v_texCoord;  void main() {     gl_Position = u_transformProjectionMatrix * a_position;     v_texCoord = a_texCoord; }";
constexpr const char* kTextureFragment = " precision lowp float;  varying vec2 v_texCoord; uniform sampler2D u_sampler;  void main() {     gl_FragColor = texture2D(u_sampler, v_texCoord); }";
constexpr const char* kTextureUniformColorFragment = " precision lowp float;  varying vec2 v_texCoord; uniform sampler2D u_sampler; uniform vec4 u_color;  void main() {     gl_FragColor = texture2D(u_sampler, v_texCoord) * u_color; }";
// clang-format on

/// What one class is made of.
struct StandardShader {
    const char* name;
    std::function<std::shared_ptr<MVShader>(std::string*)> init;
    std::function<std::shared_ptr<MVShader>()> shader;
    const char* vertexSource;
    const char* fragmentSource;
    std::vector<std::pair<std::string, int>> attributes;
    bool linked;
    std::vector<std::string> uniforms;

    friend void PrintTo(const StandardShader& it, std::ostream* stream) { *stream << it.name; }
};

template <class Shader>
StandardShader standard(const char* name, const char* vertexSource, const char* fragmentSource,
                        std::vector<std::pair<std::string, int>> attributes, bool linked,
                        std::vector<std::string> uniforms) {
    return {name,
            [](std::string* message) { return Shader::init(message); },
            [] { return Shader::shader(); },
            vertexSource,
            fragmentSource,
            std::move(attributes),
            linked,
            std::move(uniforms)};
}

const std::vector<StandardShader>& standardShaders() {
    static const std::vector<StandardShader> table = {
        standard<MVShaderPositionColor>("positionColor", kColorVertex, kColorFragment,
                                        {{"a_position", 0}, {"a_color", 4}}, false, {}),
        standard<MVShaderPositionUniformColor>("positionUniformColor", kUniformColorVertex,
                                               kUniformColorFragment, {{"a_position", 0}}, true,
                                               {"u_color"}),
        standard<MVShaderPositionTexture>("positionTexture", kTexturedVertex, kTextureFragment,
                                          {{"a_position", 0}, {"a_texCoord", 5}}, true,
                                          {"u_sampler"}),
        standard<MVShaderPositionTextureUniformColor>(
            "positionTextureUniformColor", kTexturedVertex, kTextureUniformColorFragment,
            {{"a_position", 0}, {"a_texCoord", 5}}, true, {"u_sampler", "u_color"}),
    };
    return table;
}

/// The names of calls, without those that are made only when the driver has something to say.
std::vector<std::string> steps(const std::vector<GLCall>& calls) {
    std::vector<std::string> names;
    for (const GLCall& call : calls) {
        if (!call.name.ends_with("InfoLog")) {
            names.push_back(call.name);
        }
    }
    return names;
}

const std::vector<std::string> kCompiling = {
    "glCreateProgram",                                       //
    "glCreateShader",  "glShaderSource", "glCompileShader",  //
    "glGetShaderiv",   "glGetShaderiv",                      //
    "glCreateShader",  "glShaderSource", "glCompileShader",  //
    "glGetShaderiv",   "glGetShaderiv",                      //
    "glAttachShader",  "glAttachShader"};

const std::vector<std::string> kLinking = {
    "glLinkProgram",        "glGetProgramiv",       "glGetProgramiv",  //
    "glDetachShader",       "glDeleteShader",       "glDetachShader",
    "glDeleteShader",       "glGetUniformLocation", "glGetUniformLocation",  // the four matrices
    "glGetUniformLocation", "glGetUniformLocation"};

class MVStandardShadersTest : public Mivora::tests::GLTest {
 protected:
    GLuint program() const { return gl_->callsOf("glCreateProgram").back().names.at(0); }

    GLint location(GLuint program, const char* name) {
        GLint found = -1;
        onQueue([&] { found = glGetUniformLocation(program, name); });
        return found;
    }

    GLint integerUniform(GLuint program, const char* name) {
        const GLint place = location(program, name);
        GLint value = -1;
        onQueue([&] { glGetUniformiv(program, place, &value); });
        return value;
    }

    std::vector<GLfloat> colorUniform(GLuint program) {
        const GLint place = location(program, "u_color");
        std::vector<GLfloat> value(4, -1.0F);
        onQueue([&] { glGetUniformfv(program, place, value.data()); });
        return value;
    }

    /// Makes the driver refuse one stage.
    void breakStage(GLenum stage) {
        gl_->before("glCompileShader", [stage](const GLCall& call) {
            const auto name = static_cast<GLuint>(call.arguments[0]);
            GLint type = 0;
            glGetShaderiv(name, GL_SHADER_TYPE, &type);
            if (static_cast<GLenum>(type) == stage) {
                const char* broken = "void main() { nonsense = 1.0; }";
                glShaderSource(name, 1, &broken, nullptr);
            }
        });
    }
};

// What every class does

class MVStandardShaderTest : public MVStandardShadersTest,
                             public testing::WithParamInterface<StandardShader> {};

TEST_P(MVStandardShaderTest, compilesItsSourcesToTheLetter) {
    const auto shader = GetParam().init(nullptr);
    ASSERT_NE(shader, nullptr);
    const auto sources = gl_->callsOf("glShaderSource");
    ASSERT_THAT(sources, SizeIs(2));
    EXPECT_THAT(sources[0].strings, ElementsAre("#version 100\n", GetParam().vertexSource));
    EXPECT_THAT(sources[1].strings, ElementsAre("#version 100\n", GetParam().fragmentSource));
    const auto stages = gl_->callsOf("glCreateShader");
    EXPECT_EQ(stages[0].arguments[0], GL_VERTEX_SHADER);
    EXPECT_EQ(stages[1].arguments[0], GL_FRAGMENT_SHADER);
}

TEST_P(MVStandardShaderTest, bindsItsAttributesThenLinksThenLooksItsUniformsUp) {
    const StandardShader& expected = GetParam();
    const auto shader = expected.init(nullptr);
    ASSERT_NE(shader, nullptr);

    std::vector<std::string> names = kCompiling;
    names.insert(names.end(), expected.attributes.size(), "glBindAttribLocation");
    if (expected.linked) {
        names.insert(names.end(), kLinking.begin(), kLinking.end());
    }
    names.insert(names.end(), expected.uniforms.size(), "glGetUniformLocation");
    EXPECT_THAT(steps(gl_->calls()), ElementsAreArray(names));
    EXPECT_EQ(shader->isLinked(), expected.linked);

    std::vector<std::pair<std::string, int>> attributes;
    for (const GLCall& call : gl_->callsOf("glBindAttribLocation")) {
        EXPECT_EQ(call.arguments[0], program());
        attributes.emplace_back(call.strings.at(0), static_cast<int>(call.arguments[1]));
    }
    EXPECT_EQ(attributes, expected.attributes);

    std::vector<std::string> uniforms;
    for (const GLCall& call : gl_->callsOf("glGetUniformLocation")) {
        EXPECT_EQ(call.arguments[0], program());
        uniforms.push_back(call.strings.at(0));
    }
    if (expected.linked) {
        ASSERT_GE(uniforms.size(), 4U);
        EXPECT_EQ(uniforms[3], "u_transformProjectionMatrix");
        uniforms.erase(uniforms.begin(), uniforms.begin() + 4);
    }
    EXPECT_EQ(uniforms, expected.uniforms);
}

TEST_P(MVStandardShaderTest, theDriverPutsItsAttributesIntoTheirSlots) {
    const auto shader = GetParam().init(nullptr);
    ASSERT_NE(shader, nullptr);
    ASSERT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    const GLuint made = program();
    onQueue([&] {
        for (const auto& [name, slot] : GetParam().attributes) {
            EXPECT_EQ(glGetAttribLocation(made, name.c_str()), slot) << name;
        }
    });
}

TEST_P(MVStandardShaderTest, theClassOperationShaderIsPlainInitialisation) {
    const auto initialised = GetParam().init(nullptr);
    const std::vector<std::string> names = gl_->names();
    gl_->clear();
    const auto shader = GetParam().shader();
    ASSERT_NE(shader, nullptr);
    EXPECT_NE(shader, initialised);
    const MVShader& made = *shader;
    const MVShader& reference = *initialised;
    EXPECT_EQ(typeid(made), typeid(reference));
    EXPECT_EQ(gl_->names(), names);
    EXPECT_EQ(shader->isLinked(), GetParam().linked);
}

TEST_P(MVStandardShaderTest, withoutAnActiveContextThereIsNone) {
    MVRenderContext::mv_setActiveContext(nullptr);
    std::string message = "untouched";
    EXPECT_EQ(GetParam().init(&message), nullptr);
    EXPECT_EQ(GetParam().shader(), nullptr);
    EXPECT_EQ(message, "untouched");
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_THAT(gl_->calls(), testing::IsEmpty());
}

TEST_P(MVStandardShaderTest, aStageThatDoesNotCompileYieldsNullAndAppendsTheDriversLog) {
    for (const GLenum stage : {GL_VERTEX_SHADER, GL_FRAGMENT_SHADER}) {
        SCOPED_TRACE(stage);
        gl_->clear();
        breakStage(stage);
        std::string message = "before: ";
        EXPECT_EQ(GetParam().init(&message), nullptr);
        EXPECT_THAT(message, StartsWith("before: "));
        EXPECT_THAT(message, testing::HasSubstr("nonsense")) << "the driver names the culprit";
        finish();
        EXPECT_THAT(gl_->names(), Not(testing::Contains("glBindAttribLocation")));
        EXPECT_THAT(gl_->names(), Not(testing::Contains("glLinkProgram")));
    }
    gl_->before("glCompileShader", nullptr);
    EXPECT_NE(GetParam().init(nullptr), nullptr);
}

TEST_P(MVStandardShaderTest, isInitialisedFromGLWorkTheSame) {
    std::shared_ptr<MVShader> shader;
    onQueue([&] { shader = GetParam().init(nullptr); });
    ASSERT_NE(shader, nullptr);
    EXPECT_EQ(shader->isLinked(), GetParam().linked);
}

INSTANTIATE_TEST_SUITE_P(All, MVStandardShaderTest, testing::ValuesIn(standardShaders()),
                         [](const auto& row) { return row.param.name; });

// What only some do

TEST_F(MVStandardShadersTest, positionColorIsLinkedByTheFirstCallerWhoAsksForIt) {
    const auto shader = MVShaderPositionColor::init();
    EXPECT_FALSE(shader->isLinked());
    gl_->clear();
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    EXPECT_TRUE(shader->isLinked());
    EXPECT_THAT(steps(gl_->calls()), ElementsAreArray(kLinking));
    gl_->clear();
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    EXPECT_THAT(gl_->calls(), testing::IsEmpty());
}

TEST_F(MVStandardShadersTest, bindingAShaderWithoutATextureOnlySetsTheProgram) {
    const auto color = MVShaderPositionColor::init();
    const auto uniformColor = MVShaderPositionUniformColor::init();
    gl_->clear();
    context_->setShader(color);
    context_->setShader(uniformColor);
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glUseProgram", "glUseProgram"));
}

/// The two classes with a texture.
class MVTextureShadersTest : public MVStandardShadersTest,
                             public testing::WithParamInterface<std::size_t> {
 protected:
    static std::shared_ptr<MVShader> make() { return standardShaders()[GetParam()].init(nullptr); }
};

TEST_P(MVTextureShadersTest, everyBindPointsTheSamplerAtUnitZero) {
    const auto shader = make();
    const GLuint made = program();
    const GLint sampler = location(made, "u_sampler");
    gl_->clear();
    context_->setShader(shader);
    context_->setShader(shader);
    finish();
    const auto calls = gl_->calls();
    ASSERT_THAT(steps(calls),
                ElementsAre("glUseProgram", "glUniform1i", "glUseProgram", "glUniform1i"));
    EXPECT_THAT(calls[2].arguments, ElementsAre(made));
    EXPECT_THAT(calls[1].arguments, ElementsAre(sampler, 0));
    EXPECT_THAT(calls[3].arguments, ElementsAre(sampler, 0));
}

TEST_P(MVTextureShadersTest, aBindTakesBackTheUnitThatACallerChose) {
    const auto shader = make();
    const GLuint made = program();
    const GLint sampler = location(made, "u_sampler");
    shader->use();
    onQueue([&] { glUniform1i(sampler, 3); });
    ASSERT_EQ(integerUniform(made, "u_sampler"), 3);
    shader->use();
    EXPECT_EQ(integerUniform(made, "u_sampler"), 0);
}

TEST_P(MVTextureShadersTest, useSetsTheSamplerBetweenTheProgramAndTheMatrices) {
    const auto shader = make();
    gl_->clear();
    shader->use();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glUseProgram", "glUniform1i", "glUniformMatrix4fv"));
}

TEST_P(MVTextureShadersTest, bindingIsQueuedAndNotWaitedFor) {
    const auto shader = make();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    context_->setShader(shader);
    EXPECT_THAT(gl_->calls(), testing::IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glUseProgram", "glUniform1i"));
}

TEST_P(MVTextureShadersTest, bindingGoesThroughTheGivenContext) {
    const auto shader = make();
    const auto second = MVRenderContext::init();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    shader->renderContextBindShader(*second);
    second->mv_dispatchBlockSync([] {});
    EXPECT_THAT(gl_->names(), ElementsAre("glUseProgram", "glUniform1i"));
    gate.open();
    finish();
    second->mv_dispatchBlockSync([] {
        while (glGetError() != GL_NO_ERROR) {  // the program is unknown there
        }
    });
}

INSTANTIATE_TEST_SUITE_P(All, MVTextureShadersTest, testing::Values(2U, 3U),
                         [](const auto& row) { return standardShaders()[row.param].name; });

/// The two classes with a colour.
class MVColorShadersTest : public MVStandardShadersTest, public testing::WithParamInterface<bool> {
 protected:
    /// @return the shader and its `setColor`
    std::pair<std::shared_ptr<MVShader>, std::function<void(ColorRGBA)>> make() {
        if (GetParam()) {
            const auto shader = MVShaderPositionTextureUniformColor::init();
            return {shader, [shader](ColorRGBA color) { shader->setColor(color); }};
        }
        const auto shader = MVShaderPositionUniformColor::init();
        return {shader, [shader](ColorRGBA color) { shader->setColor(color); }};
    }
};

TEST_P(MVColorShadersTest, setColorUploadsTheFourComponents) {
    const auto [shader, setColor] = make();
    const GLuint made = program();
    const GLint color = location(made, "u_color");
    shader->use();
    finish();
    gl_->clear();
    setColor({0.125F, 0.25F, 0.5F, 0.75F});
    finish();
    const auto calls = gl_->calls();
    ASSERT_THAT(steps(calls), ElementsAre("glUniform4f"));
    EXPECT_THAT(calls[0].arguments, ElementsAre(color, 0.125, 0.25, 0.5, 0.75));
    EXPECT_THAT(colorUniform(made), ElementsAre(0.125F, 0.25F, 0.5F, 0.75F));
}

TEST_P(MVColorShadersTest, setColorDoesNotClamp) {
    const auto [shader, setColor] = make();
    const GLuint made = program();
    shader->use();
    setColor({2.0F, -1.0F, 1000.0F, -0.5F});
    EXPECT_THAT(colorUniform(made), ElementsAre(2.0F, -1.0F, 1000.0F, -0.5F));
}

TEST_P(MVColorShadersTest, setColorIsQueuedWithTheColorOfThatMoment) {
    const auto [shader, setColor] = make();
    shader->use();
    finish();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    ColorRGBA color = {1.0F, 0.5F, 0.25F, 1.0F};
    setColor(color);
    color = {0.0F, 0.0F, 0.0F, 0.0F};
    setColor(color);
    EXPECT_THAT(gl_->calls(), testing::IsEmpty()) << "nothing is waited for";
    gate.open();
    finish();
    const auto calls = gl_->callsOf("glUniform4f");
    ASSERT_THAT(calls, SizeIs(2)) << "equal or not, every colour is uploaded";
    EXPECT_THAT(std::vector<double>(calls[0].arguments.begin() + 1, calls[0].arguments.end()),
                ElementsAre(1.0, 0.5, 0.25, 1.0));
    EXPECT_THAT(std::vector<double>(calls[1].arguments.begin() + 1, calls[1].arguments.end()),
                ElementsAre(0.0, 0.0, 0.0, 0.0));
}

TEST_P(MVColorShadersTest, setColorBindsNothingAndAffectsTheCurrentProgram) {
    const auto [first, setFirst] = make();
    const GLuint firstProgram = program();
    const auto [second, setSecond] = make();
    const GLuint secondProgram = program();
    first->use();
    setFirst({0.25F, 0.25F, 0.25F, 0.25F});
    setSecond({0.5F, 0.5F, 0.5F, 0.5F});  // not in use: the other program gets it
    EXPECT_THAT(colorUniform(firstProgram), ElementsAre(0.5F, 0.5F, 0.5F, 0.5F));
    EXPECT_THAT(colorUniform(secondProgram), ElementsAre(0.0F, 0.0F, 0.0F, 0.0F));
}

TEST_P(MVColorShadersTest, setColorGoesThroughTheActiveContext) {
    const auto [shader, setColor] = make();
    gl_->clear();
    MVRenderContext::mv_setActiveContext(nullptr);
    setColor(ColorRGBA::kWhite);
    finish();
    EXPECT_THAT(gl_->calls(), testing::IsEmpty());

    const auto second = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(second);
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    setColor(ColorRGBA::kWhite);
    second->mv_dispatchBlockSync([] {});
    EXPECT_THAT(gl_->names(), ElementsAre("glUniform4f"));
    gate.open();
    finish();
    second->mv_dispatchBlockSync([] {
        while (glGetError() != GL_NO_ERROR) {  // no program is current there
        }
    });
    MVRenderContext::mv_setActiveContext(context_);
}

INSTANTIATE_TEST_SUITE_P(All, MVColorShadersTest, testing::Bool(), [](const auto& row) {
    return row.param ? "positionTextureUniformColor" : "positionUniformColor";
});

// Pixels

class IdentityMatrices final : public MVShaderMatrixSource {
 public:
    IdentityMatrices() { MVShader::mv_setMatrixSource(this); }
    ~IdentityMatrices() { MVShader::mv_setMatrixSource(nullptr); }
    MVShaderMatrices mv_shaderMatrices() override {
        return {glm::mat4(1.0F), glm::mat4(1.0F), glm::mat4(1.0F)};
    }
};

/// One attribute of interleaved vertices: its slot and its number of floats.
struct Attribute {
    GLuint slot;
    GLint floats;
};

/// Draws a four-vertex strip with the current program. In GL work only.
void drawStrip(const std::vector<float>& vertices, std::initializer_list<Attribute> attributes) {
    GLuint array = 0;
    GLuint buffer = 0;
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(float)),
                 vertices.data(), GL_STATIC_DRAW);
    const float* place = nullptr;
    for (const Attribute& attribute : attributes) {
        glEnableVertexAttribArray(attribute.slot);
        glVertexAttribPointer(attribute.slot, attribute.floats, GL_FLOAT, GL_FALSE,
                              static_cast<GLsizei>(vertices.size() / 4 * sizeof(float)), place);
        place += attribute.floats;
    }
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glDeleteBuffers(1, &buffer);
    glDeleteVertexArrays(1, &array);
}

class MVStandardShadersPixelTest : public MVStandardShadersTest {
 protected:
    using Pixel = std::array<std::uint8_t, 4>;

    /// Draws into a small surface and reads the pixel at its centre.
    Pixel drawn(const std::function<void()>& draw) {
        const auto surface = MVRenderSurface::init();
        surface->setColorBuffer(
            MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat({3, 3},
                                                                                     GL_RGBA8, 0));
        Pixel pixel = {};
        surface->renderBlock([&] {
            draw();
            context_->dispatchBlock(
                [&] { glReadPixels(1, 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data()); });
        });
        finish();
        return pixel;
    }

    static void expectNear(const Pixel& pixel, const Pixel& expected) {
        for (std::size_t i = 0; i < pixel.size(); ++i) {
            EXPECT_NEAR(pixel[i], expected[i], 1) << "component " << i;
        }
    }

    /// A texture of one texel (200, 100, 50, 255), bound to unit 0.
    GLuint boundTexture() {
        GLuint texture = 0;
        onQueue([&] {
            glGenTextures(1, &texture);
            glActiveTexture(GL_TEXTURE0);
            glBindTexture(GL_TEXTURE_2D, texture);
            const Pixel texel = {200, 100, 50, 255};
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                         texel.data());
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        });
        return texture;
    }

    void deleteTexture(GLuint texture) {
        onQueue([&] { glDeleteTextures(1, &texture); });
    }

    static void drawTexturedStrip() {
        drawStrip({-1, -1, 0, 0, 1, -1, 1, 0, -1, 1, 0, 1, 1, 1, 1, 1}, {{0, 2}, {5, 2}});
    }

    IdentityMatrices matrices_;
};

TEST_F(MVStandardShadersPixelTest, positionColorDrawsTheColorsOfTheVertices) {
    const auto shader = MVShaderPositionColor::init();
    shader->link();
    // Red below, green above: half of each in the middle.
    const Pixel pixel = drawn([&] {
        shader->use();
        context_->dispatchBlock([] {
            drawStrip({-1, -1, 1, 0, 0, 1,  //
                       1,  -1, 1, 0, 0, 1,  //
                       -1, 1,  0, 1, 0, 1,  //
                       1,  1,  0, 1, 0, 1},
                      {{0, 2}, {4, 4}});
        });
    });
    expectNear(pixel, {128, 128, 0, 255});
}

TEST_F(MVStandardShadersPixelTest, positionUniformColorDrawsItsColor) {
    const auto shader = MVShaderPositionUniformColor::init();
    const Pixel pixel = drawn([&] {
        shader->use();
        shader->setColor({0.2F, 0.4F, 0.6F, 0.8F});
        context_->dispatchBlock([] { drawStrip({-1, -1, 1, -1, -1, 1, 1, 1}, {{0, 2}}); });
    });
    expectNear(pixel, {51, 102, 153, 204});
}

TEST_F(MVStandardShadersPixelTest, positionTextureDrawsTheTexture) {
    const auto shader = MVShaderPositionTexture::init();
    const GLuint texture = boundTexture();
    const Pixel pixel = drawn([&] {
        shader->use();
        context_->dispatchBlock([] { drawTexturedStrip(); });
    });
    expectNear(pixel, {200, 100, 50, 255});
    deleteTexture(texture);
}

TEST_F(MVStandardShadersPixelTest, positionTextureUniformColorTintsTheTexture) {
    const auto shader = MVShaderPositionTextureUniformColor::init();
    const GLuint texture = boundTexture();
    const Pixel pixel = drawn([&] {
        shader->use();
        shader->setColor({0.5F, 1.0F, 0.0F, 0.4F});
        context_->dispatchBlock([] { drawTexturedStrip(); });
    });
    expectNear(pixel, {100, 100, 0, 102});
    deleteTexture(texture);
}

}  // namespace
