#include "MivoraMac/render/MVShader.h"

#include <epoxy/gl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <string>
#include <vector>

#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace {

constexpr const char* kVertex =
    "precision highp float; uniform mat4 u_transformMatrix; uniform mat4 u_inverseTransformMatrix;"
    "uniform mat4 u_projectionMatrix; uniform mat4 u_transformProjectionMatrix;"
    "attribute vec4 a_position; varying vec4 v_color;"
    "void main() { v_color = u_transformMatrix * a_position + u_inverseTransformMatrix * a_position"
    " + u_projectionMatrix * a_position;"
    " gl_Position = u_transformProjectionMatrix * a_position; }";
constexpr const char* kFragment =
    "precision highp float; varying vec4 v_color; uniform vec4 u_color;"
    "void main() { gl_FragColor = u_color + v_color; }";
constexpr const char* kPlainVertex =
    "attribute vec4 a_position; void main() { gl_Position = a_position; }";
constexpr const char* kPlainFragment = "void main() { gl_FragColor = vec4(1.0); }";
constexpr const char* kBroken = "void main() { this does not compile }";

class FixedMatrices final : public MVShaderMatrixSource {
 public:
    explicit FixedMatrices(MVShaderMatrices matrices) : matrices_(matrices) {
        MVShader::mv_setMatrixSource(this);
    }
    ~FixedMatrices() { MVShader::mv_setMatrixSource(nullptr); }
    MVShaderMatrices mv_shaderMatrices() override { return matrices_; }

 private:
    MVShaderMatrices matrices_;
};

std::vector<float> entries(const glm::mat4& matrix) {
    const float* first = glm::value_ptr(matrix);
    return {first, first + 16};
}

class MVShaderTest : public Mivora::tests::GLTest {
 protected:
    static std::shared_ptr<MVShader> make(const char* vertex, const char* fragment,
                                          std::string* message = nullptr) {
        return MVShader::initWithVertexShaderSourceFragmentShaderSourceErrorMessage(
            vertex, fragment, message);
    }

    std::shared_ptr<MVShader> linked(const char* vertex = kVertex,
                                     const char* fragment = kFragment) {
        auto shader = make(vertex, fragment);
        EXPECT_NE(shader, nullptr);
        if (shader) {
            EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
        }
        gl_->clear();
        return shader;
    }

    std::string logOf(GLenum stage, const char* source) {
        std::string message;
        if (stage == GL_VERTEX_SHADER) {
            EXPECT_EQ(make(source, kPlainFragment, &message), nullptr);
        } else {
            EXPECT_EQ(make(kPlainVertex, source, &message), nullptr);
        }
        return message;
    }
};

TEST_F(MVShaderTest, namesAndSlotsAreTheSharedVocabulary) {
    EXPECT_STREQ(MVShaderAttributeNamePosition, "a_position");
    EXPECT_STREQ(MVShaderAttributeNameNormal, "a_normal");
    EXPECT_STREQ(MVShaderAttributeNameTangent, "a_tangent");
    EXPECT_STREQ(MVShaderAttributeNameBinormal, "a_binormal");
    EXPECT_STREQ(MVShaderAttributeNameColor, "a_color");
    EXPECT_STREQ(MVShaderAttributeNameTexCoord, "a_texCoord");
    EXPECT_STREQ(MVShaderUniformNamePosition, "u_position");
    EXPECT_STREQ(MVShaderUniformNameNormal, "u_normal");
    EXPECT_STREQ(MVShaderUniformNameColor, "u_color");
    EXPECT_STREQ(MVShaderUniformNameTexCoord, "u_texCoord");
    EXPECT_STREQ(MVShaderUniformNameSampler, "u_sampler");
    EXPECT_EQ(MVShaderAttributeSlotPosition, 0U);
    EXPECT_EQ(MVShaderAttributeSlotColor, 4U);
    EXPECT_EQ(MVShaderAttributeSlotTexCoord, 5U);
}

TEST_F(MVShaderTest, plainInitialisationIsRefused) {
    EXPECT_EQ(MVShader::init(), nullptr);
    EXPECT_EQ(MVShader::shader(), nullptr);
}

TEST_F(MVShaderTest, compilingMakesTheDocumentedCallsInOrder) {
    const auto shader = make(kPlainVertex, kPlainFragment);
    ASSERT_NE(shader, nullptr);
    EXPECT_FALSE(shader->isLinked());
    const std::vector<Mivora::tests::GLCall> calls = gl_->calls();
    std::vector<std::string> names;
    for (const auto& call : calls) {
        if (call.name != "glGetShaderInfoLog") {  // only when the driver has something to say
            names.push_back(call.name);
        }
    }
    EXPECT_THAT(names, ElementsAre("glCreateProgram",                                      //
                                   "glCreateShader", "glShaderSource", "glCompileShader",  //
                                   "glGetShaderiv", "glGetShaderiv",                       //
                                   "glCreateShader", "glShaderSource", "glCompileShader",  //
                                   "glGetShaderiv", "glGetShaderiv",                       //
                                   "glAttachShader", "glAttachShader"));
    const auto created = gl_->callsOf("glCreateShader");
    EXPECT_EQ(created[0].arguments[0], GL_VERTEX_SHADER);
    EXPECT_EQ(created[1].arguments[0], GL_FRAGMENT_SHADER);
    const auto sources = gl_->callsOf("glShaderSource");
    EXPECT_THAT(sources[0].strings, ElementsAre("#version 100\n", kPlainVertex));
    EXPECT_EQ(sources[0].arguments[1], 2);
    EXPECT_EQ(sources[0].arguments[3], 0) << "no lengths";
    EXPECT_THAT(sources[1].strings, ElementsAre("#version 100\n", kPlainFragment));
    const auto queries = gl_->callsOf("glGetShaderiv");
    EXPECT_EQ(queries[0].arguments[1], GL_INFO_LOG_LENGTH);
    EXPECT_EQ(queries[1].arguments[1], GL_COMPILE_STATUS);
    const auto attached = gl_->callsOf("glAttachShader");
    EXPECT_EQ(attached[0].arguments[1], created[0].names[0]);
    EXPECT_EQ(attached[1].arguments[1], created[1].names[0]);
}

TEST_F(MVShaderTest, attributesAreBoundOnTheProgram) {
    const auto shader = make(kPlainVertex, kPlainFragment);
    const double program = gl_->callsOf("glCreateProgram")[0].names[0];
    gl_->clear();
    shader->bindAttributeToIndex(MVShaderAttributeNamePosition, 3);
    const auto calls = gl_->calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "glBindAttribLocation");
    EXPECT_EQ(calls[0].arguments[0], program);
    EXPECT_EQ(calls[0].arguments[1], 3);
    EXPECT_THAT(calls[0].strings, ElementsAre("a_position"));
    ASSERT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    GLint location = -1;
    onQueue([&] { location = glGetAttribLocation(static_cast<GLuint>(program), "a_position"); });
    EXPECT_EQ(location, 3);
    shader->bindAttributeToIndex(nullptr, 0);
}

TEST_F(MVShaderTest, linkingMakesTheDocumentedCallsInOrder) {
    const auto shader = make(kPlainVertex, kPlainFragment);
    const auto stages = gl_->callsOf("glCreateShader");
    gl_->clear();
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    EXPECT_TRUE(shader->isLinked());
    std::vector<std::string> names = gl_->names();
    std::erase(names, "glGetProgramInfoLog");
    EXPECT_THAT(names, ElementsAre("glLinkProgram", "glGetProgramiv", "glGetProgramiv",
                                   "glDetachShader", "glDeleteShader",  //
                                   "glDetachShader", "glDeleteShader",  //
                                   "glGetUniformLocation", "glGetUniformLocation",
                                   "glGetUniformLocation", "glGetUniformLocation"));
    const auto queries = gl_->callsOf("glGetProgramiv");
    EXPECT_EQ(queries[0].arguments[1], GL_INFO_LOG_LENGTH);
    EXPECT_EQ(queries[1].arguments[1], GL_LINK_STATUS);
    const auto deleted = gl_->callsOf("glDeleteShader");
    EXPECT_EQ(deleted[0].arguments[0], stages[0].names[0]);
    EXPECT_EQ(deleted[1].arguments[0], stages[1].names[0]);
    std::vector<std::string> uniforms;
    for (const auto& call : gl_->callsOf("glGetUniformLocation")) {
        uniforms.insert(uniforms.end(), call.strings.begin(), call.strings.end());
    }
    EXPECT_THAT(uniforms, ElementsAre("u_transformMatrix", "u_inverseTransformMatrix",
                                      "u_projectionMatrix", "u_transformProjectionMatrix"));
}

TEST_F(MVShaderTest, linkingALinkedShaderTouchesNeitherGLNorTheMessage) {
    const auto shader = linked();
    std::string message = "untouched";
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(&message));
    EXPECT_EQ(message, "untouched");
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVShaderTest, aFailedLinkLetsTheStagesGoAndCanBeTriedAgain) {
    // The fragment stage reads a varying that the vertex stage does not write.
    const auto shader = make(kPlainVertex,
                             "precision highp float; varying vec4 v_missing;"
                             "void main() { gl_FragColor = v_missing; }");
    ASSERT_NE(shader, nullptr);
    gl_->clear();
    std::string message = "before: ";
    EXPECT_FALSE(shader->attemptLinkWithErrorMessage(&message));
    EXPECT_FALSE(shader->isLinked());
    EXPECT_THAT(message, StartsWith("before: "));
    EXPECT_GT(message.size(), std::string("before: ").size()) << "the driver's log is appended";
    EXPECT_THAT(gl_->callsOf("glDeleteShader"), SizeIs(2));
    EXPECT_THAT(gl_->callsOf("glGetUniformLocation"), IsEmpty());

    gl_->clear();
    shader->link();
    EXPECT_THAT(gl_->callsOf("glLinkProgram"), SizeIs(1));
    EXPECT_THAT(gl_->callsOf("glDeleteShader"), IsEmpty()) << "they are gone already";
    EXPECT_FALSE(shader->isLinked());
}

TEST_F(MVShaderTest, aBrokenVertexStageLeavesTheFragmentStageUncompiled) {
    std::string message;
    EXPECT_EQ(make(kBroken, kBroken, &message), nullptr);
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateShader"), SizeIs(1));
    EXPECT_FALSE(message.empty());
    EXPECT_EQ(message, logOf(GL_VERTEX_SHADER, kBroken)) << "the vertex log alone";
}

TEST_F(MVShaderTest, aBrokenFragmentStageDeletesTheDeletedNameOnceMore) {
    std::string message;
    EXPECT_EQ(make(kPlainVertex, kBroken, &message), nullptr);
    finish();
    EXPECT_FALSE(message.empty());
    const auto stages = gl_->callsOf("glCreateShader");
    ASSERT_THAT(stages, SizeIs(2));
    const double vertex = stages[0].names[0];
    const double fragment = stages[1].names[0];
    EXPECT_THAT(gl_->callsOf("glAttachShader"), IsEmpty());

    std::vector<std::string> names;
    std::vector<double> deleted;
    for (const auto& call : gl_->calls()) {
        if (call.name.starts_with("glDe")) {
            names.push_back(call.name);
            deleted.push_back(call.arguments.back());
        }
    }
    EXPECT_THAT(names, ElementsAre("glDeleteShader",                    // the failed compile
                                   "glDetachShader", "glDeleteShader",  // destruction: vertex
                                   "glDetachShader", "glDeleteShader",  // fragment, once more
                                   "glDeleteProgram"));
    EXPECT_THAT(deleted, ElementsAre(fragment, vertex, vertex, fragment, fragment,
                                     gl_->callsOf("glCreateProgram")[0].names[0]));
}

TEST_F(MVShaderTest, logsAreAppendedInOrderWithoutSeparator) {
    std::string message = "already here";
    EXPECT_EQ(make(kPlainVertex, kBroken, &message), nullptr);
    EXPECT_EQ(message, "already here" + logOf(GL_FRAGMENT_SHADER, kBroken));
}

TEST_F(MVShaderTest, aSourceWithItsOwnVersionLineDoesNotCompile) {
    EXPECT_THAT(logOf(GL_VERTEX_SHADER, "#version 100\nvoid main() { gl_Position = vec4(0.0); }"),
                HasSubstr("version"));
}

TEST_F(MVShaderTest, aMissingSourceIsRefusedWithoutAShaderObjectAndWithoutALog) {
    std::string message;
    EXPECT_EQ(make(nullptr, kPlainFragment, &message), nullptr);
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateShader"), IsEmpty());
    EXPECT_EQ(make(kPlainVertex, nullptr, &message), nullptr);
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateShader"), SizeIs(1));
    EXPECT_EQ(message, "");
}

TEST_F(MVShaderTest, aSourceThatIsNotUTF8CountsAsMissing) {
    EXPECT_EQ(make("void main() { gl_Position = vec4(0.0); } // \xFF\xFE", kPlainFragment),
              nullptr);
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateShader"), IsEmpty());
}

TEST_F(MVShaderTest, anEmptySourceNeverYieldsALinkedShader) {
    // Drivers differ on whether an empty stage compiles; none links it.
    if (const auto shader = make("", kPlainFragment)) {
        EXPECT_FALSE(shader->attemptLinkWithErrorMessage(nullptr));
    }
    if (const auto shader = make(kPlainVertex, "")) {
        EXPECT_FALSE(shader->attemptLinkWithErrorMessage(nullptr));
    }
}

TEST_F(MVShaderTest, withoutAnActiveContextNoShaderCanBeMade) {
    MVRenderContext::mv_setActiveContext(nullptr);
    EXPECT_EQ(make(kPlainVertex, kPlainFragment), nullptr);
    EXPECT_THAT(gl_->calls(), IsEmpty());
    MVRenderContext::mv_setActiveContext(context_);
}

TEST_F(MVShaderTest, anUnusedUniformHasNoLocation) {
    const auto shader = linked();
    EXPECT_GE(shader->uniformLocation("u_color"), 0);
    EXPECT_EQ(shader->uniformLocation("u_nothing"), -1);
    EXPECT_EQ(shader->uniformLocation(""), -1);
    EXPECT_EQ(shader->uniformLocation(nullptr), -1);
}

TEST_F(MVShaderTest, useBindsTheProgramAndUploadsTheFourMatricesInOrder) {
    const auto shader = linked();
    const MVShaderMatrices matrices{
        glm::translate(glm::mat4(1.0F), glm::vec3(1, 2, 3)),
        glm::scale(glm::mat4(1.0F), glm::vec3(2, 4, 8)),
        glm::perspective(1.0F, 1.5F, 1.0F, 10.0F),
    };
    const FixedMatrices source(matrices);
    shader->use();
    finish();
    EXPECT_EQ(context_->shader(), shader);

    const auto calls = gl_->calls();
    ASSERT_THAT(calls, SizeIs(5));
    EXPECT_EQ(calls[0].name, "glUseProgram");
    for (std::size_t i = 1; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].name, "glUniformMatrix4fv");
        EXPECT_EQ(calls[i].arguments[1], 1) << "one matrix";
        EXPECT_EQ(calls[i].arguments[2], GL_FALSE) << "not transposed";
    }
    onQueue([&] {
        const auto program = static_cast<GLuint>(calls[0].arguments[0]);
        EXPECT_EQ(calls[1].arguments[0], glGetUniformLocation(program, "u_transformMatrix"));
        EXPECT_EQ(calls[2].arguments[0], glGetUniformLocation(program, "u_inverseTransformMatrix"));
        EXPECT_EQ(calls[3].arguments[0], glGetUniformLocation(program, "u_projectionMatrix"));
        EXPECT_EQ(calls[4].arguments[0],
                  glGetUniformLocation(program, "u_transformProjectionMatrix"));
    });
    EXPECT_EQ(calls[1].floats, entries(matrices.transform));
    EXPECT_EQ(calls[2].floats, entries(matrices.inverseTransform));
    EXPECT_EQ(calls[3].floats, entries(matrices.projection));
    EXPECT_EQ(calls[4].floats, entries(matrices.projection * matrices.transform));
    EXPECT_NE(calls[4].floats, entries(matrices.transform * matrices.projection));
}

TEST_F(MVShaderTest, withAnIdentityTransformTheCombinedMatrixIsTheProjection) {
    const auto shader = linked();
    const glm::mat4 projection = glm::perspective(1.0F, 1.5F, 1.0F, 10.0F);
    const FixedMatrices source({glm::mat4(1.0F), glm::mat4(1.0F), projection});
    shader->use();
    finish();
    EXPECT_EQ(gl_->callsOf("glUniformMatrix4fv").at(3).floats, entries(projection));
}

TEST_F(MVShaderTest, matricesAreThoseOfTheMomentOfUse) {
    const auto shader = linked();
    Mivora::tests::QueueGate gate(*context_->dispatchQueue());
    {
        const FixedMatrices source({glm::mat4(2.0F), glm::mat4(3.0F), glm::mat4(4.0F)});
        shader->use();
    }
    const FixedMatrices later({glm::mat4(0.0F), glm::mat4(0.0F), glm::mat4(0.0F)});
    gate.open();
    finish();
    EXPECT_EQ(gl_->callsOf("glUniformMatrix4fv").at(0).floats, entries(glm::mat4(2.0F)));
}

TEST_F(MVShaderTest, whileNothingIsDrawnZerosAreUploaded) {
    const auto shader = linked();
    shader->use();
    finish();
    const auto uploads = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(uploads, SizeIs(4));
    for (const auto& upload : uploads) {
        EXPECT_EQ(upload.floats, std::vector<float>(16, 0.0F));
    }
}

TEST_F(MVShaderTest, uniformsThatTheProgramLacksAreSkipped) {
    const auto shader = linked(
        "uniform mat4 u_projectionMatrix; attribute vec4 a_position;"
        "void main() { gl_Position = u_projectionMatrix * a_position; }",
        kPlainFragment);
    const FixedMatrices source({glm::mat4(1.0F), glm::mat4(2.0F), glm::mat4(3.0F)});
    shader->use();
    finish();
    const auto uploads = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(uploads, SizeIs(1));
    EXPECT_EQ(uploads[0].floats, entries(glm::mat4(3.0F)));
}

TEST_F(MVShaderTest, everyUseRebindsAndUploadsAgain) {
    const auto shader = linked();
    shader->use();
    shader->use();
    finish();
    EXPECT_THAT(gl_->callsOf("glUseProgram"), SizeIs(2));
    EXPECT_THAT(gl_->callsOf("glUniformMatrix4fv"), SizeIs(8));
}

TEST_F(MVShaderTest, aShaderThatWasNeverLinkedUploadsToLocationZero) {
    const auto shader = make(kVertex, kFragment);
    gl_->clear();
    shader->use();
    finish();
    const auto uploads = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(uploads, SizeIs(4));
    for (const auto& upload : uploads) {
        EXPECT_EQ(upload.arguments[0], 0);
    }
    onQueue([] {
        while (glGetError() != GL_NO_ERROR) {
        }
    });
}

TEST_F(MVShaderTest, destroyingALinkedShaderDeletesItsProgramOnly) {
    auto shader = linked();
    shader.reset();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glDeleteProgram"));
}

TEST_F(MVShaderTest, destroyingAnUnlinkedShaderDetachesAndDeletesItsStagesFirst) {
    auto shader = make(kPlainVertex, kPlainFragment);
    gl_->clear();
    shader.reset();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glDetachShader", "glDeleteShader", "glDetachShader",
                                          "glDeleteShader", "glDeleteProgram"));
}

TEST_F(MVShaderTest, destructionGoesThroughTheContextThatIsActiveThen) {
    auto shader = linked();
    const auto second = MVRenderContext::initWithSharedContext(context_);
    MVRenderContext::mv_setActiveContext(second);
    shader.reset();
    second->mv_dispatchBlockSync([] {});
    EXPECT_THAT(gl_->callsOf("glDeleteProgram"), SizeIs(1));
    MVRenderContext::mv_setActiveContext(context_);
}

class MVShaderFileTest : public MVShaderTest {
 protected:
    void SetUp() override {
        MVShaderTest::SetUp();
        folder_ = std::filesystem::temp_directory_path() /
                  ("mivora-shader-test-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder_);
        setenv("MIVORA_RESOURCE_PATH", folder_.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("MIVORA_RESOURCE_PATH");
        std::filesystem::remove_all(folder_);
        MVShaderTest::TearDown();
    }
    std::string write(const std::string& name, const std::string& text) {
        std::ofstream(folder_ / name, std::ios::binary) << text;
        return (folder_ / name).string();
    }

    std::filesystem::path folder_;
};

TEST_F(MVShaderFileTest, sourcesAreReadFromAbsolutePaths) {
    const auto shader = MVShader::initWithVertexShaderFileFragmentShaderFile(
        write("plain.vsh", kPlainVertex), write("plain.fsh", kPlainFragment));
    ASSERT_NE(shader, nullptr);
    EXPECT_TRUE(shader->attemptLinkWithErrorMessage(nullptr));
    EXPECT_THAT(gl_->callsOf("glShaderSource").at(0).strings[1], kPlainVertex);
}

TEST_F(MVShaderFileTest, relativePathsAreLookedUpAmongTheResources) {
    write("plain.vsh", kPlainVertex);
    write("plain.fsh", kPlainFragment);
    EXPECT_NE(MVShader::initWithVertexShaderFileFragmentShaderFile("plain.vsh", "plain.fsh"),
              nullptr);
}

TEST_F(MVShaderFileTest, filesThatCannotBeReadYieldNoShader) {
    const std::string good = write("plain.vsh", kPlainVertex);
    const std::string notText = write("binary.fsh", "\xFF\xFE\xFD");
    EXPECT_EQ(MVShader::initWithVertexShaderFileFragmentShaderFile(good, "missing.fsh"), nullptr);
    EXPECT_EQ(MVShader::initWithVertexShaderFileFragmentShaderFile("", ""), nullptr);
    EXPECT_EQ(MVShader::initWithVertexShaderFileFragmentShaderFile(good, notText), nullptr);
    EXPECT_EQ(MVShader::initWithVertexShaderFileFragmentShaderFile(good, folder_.string()),
              nullptr);
}

}  // namespace
