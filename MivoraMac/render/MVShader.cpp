#include "MivoraMac/render/MVShader.h"

#include <epoxy/gl.h>
#include <glib.h>

#include <array>
#include <filesystem>
#include <glm/gtc/type_ptr.hpp>
#include <optional>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/Resources.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"

using Mivora::platform::DebugLog;
using Mivora::platform::Resources;

namespace {

constexpr const char* kVersionPrefix = "#version 100\n";

constinit MVShaderMatrixSource* matrixSource = nullptr;

/// The context for GL work, or null (logged) where there is nothing to do it with.
std::shared_ptr<MVRenderContext> usableContext(const char* operation) {
    std::shared_ptr<MVRenderContext> context = MVRenderContext::mv_drawingContext();
    if (!context) {
        DebugLog::log(DebugLog::Category::GL, "MVShader %s: no active render context", operation);
        return nullptr;
    }
    return context;
}

std::optional<std::string> readSource(const std::string& file) {
    if (std::filesystem::path(file).is_absolute()) {
        return Resources::readTextFile(file);
    }
    const std::optional<std::string> path = Resources::pathForResource(file, "");
    if (!path) {
        DebugLog::warnOnce(DebugLog::Category::GL, "no shader source \"%s\" among the resources",
                           file.c_str());
        return std::nullopt;
    }
    return Resources::readTextFile(*path);
}

const char* textOrNull(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}

/// Appends the info log of a stage or program to `message` and to the debug log.
void collectLog(GLuint name, PFNGLGETSHADERIVPROC getInteger, PFNGLGETSHADERINFOLOGPROC getLog,
                std::string* message) {
    GLint length = 0;
    getInteger(name, GL_INFO_LOG_LENGTH, &length);
    if (length <= 0) {
        return;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    GLsizei written = 0;
    getLog(name, length, &written, text.data());
    text.resize(static_cast<std::size_t>(written > 0 ? written : 0));
    DebugLog::log(DebugLog::Category::GL, "shader log: %s", text.c_str());
    if (message != nullptr) {
        message->append(text);
    }
}

void detachAndDelete(GLuint program, GLuint stage) {
    if (stage != 0) {
        glDetachShader(program, stage);
        glDeleteShader(stage);
    }
}

void uploadMatrix(GLint location, const glm::mat4& matrix) {
    if (location >= 0) {
        glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(matrix));
    }
}

}  // namespace

MVShader::MVShader() = default;

MVShader::~MVShader() {
    if (program_ == 0 && vertexShader_ == 0 && fragmentShader_ == 0) {
        return;
    }
    group_->dispatch([program = program_, vertex = vertexShader_, fragment = fragmentShader_] {
        // A stage that failed to compile kept its deleted name: the error this raises is expected
        // and of no consequence.
        detachAndDelete(program, vertex);
        detachAndDelete(program, fragment);
        if (program != 0) {
            glDeleteProgram(program);
        }
    });
    program_ = vertexShader_ = fragmentShader_ = 0;
}

std::shared_ptr<MVShader> MVShader::shader() {
    return init();
}

std::shared_ptr<MVShader> MVShader::init() {
    return nullptr;
}

std::shared_ptr<MVShader> MVShader::initWithVertexShaderFileFragmentShaderFile(
    const std::string& vertexShaderFile, const std::string& fragmentShaderFile) {
    const std::optional<std::string> vertexSource = readSource(vertexShaderFile);
    const std::optional<std::string> fragmentSource = readSource(fragmentShaderFile);
    return initWithVertexShaderSourceFragmentShaderSource(textOrNull(vertexSource),
                                                          textOrNull(fragmentSource));
}

std::shared_ptr<MVShader> MVShader::initWithVertexShaderSourceFragmentShaderSource(
    const char* vertexShaderSource, const char* fragmentShaderSource) {
    return initWithVertexShaderSourceFragmentShaderSourceErrorMessage(
        vertexShaderSource, fragmentShaderSource, nullptr);
}

std::shared_ptr<MVShader> MVShader::initWithVertexShaderSourceFragmentShaderSourceErrorMessage(
    const char* vertexShaderSource, const char* fragmentShaderSource, std::string* errorMessage) {
    return mv_makeWithSources<MVShader>(vertexShaderSource, fragmentShaderSource, errorMessage);
}

bool MVShader::mv_compile(const char* vertexShaderSource, const char* fragmentShaderSource,
                          std::string* errorMessage) {
    const auto context = usableContext("initialisation");
    if (!context) {
        return false;
    }
    group_ = context->mv_group();
    bool success = false;
    context->mv_dispatchBlockSync([&] {
        program_ = glCreateProgram();
        success =
            mv_compileShader(&vertexShader_, GL_VERTEX_SHADER, vertexShaderSource, errorMessage) &&
            mv_compileShader(&fragmentShader_, GL_FRAGMENT_SHADER, fragmentShaderSource,
                             errorMessage);
        if (success) {
            glAttachShader(program_, vertexShader_);
            glAttachShader(program_, fragmentShader_);
        }
    });
    return success;
}

bool MVShader::mv_compileShader(std::uint32_t* shader, std::uint32_t type, const char* source,
                                std::string* errorMessage) {
    if (source == nullptr || g_utf8_validate(source, -1, nullptr) == FALSE) {
        DebugLog::log(DebugLog::Category::GL, "a shader source is missing or is not UTF-8 text");
        return false;
    }
    *shader = glCreateShader(type);
    const std::array<const char*, 2> texts = {kVersionPrefix, source};
    glShaderSource(*shader, static_cast<GLsizei>(texts.size()), texts.data(), nullptr);
    glCompileShader(*shader);
    collectLog(*shader, glGetShaderiv, glGetShaderInfoLog, errorMessage);
    GLint status = GL_FALSE;
    glGetShaderiv(*shader, GL_COMPILE_STATUS, &status);
    if (status == GL_FALSE) {
        glDeleteShader(*shader);  // the field keeps the name
        return false;
    }
    return true;
}

void MVShader::bindAttributeToIndex(const char* name, std::uint32_t index) {
    if (const auto context = ownContext("bindAttributeToIndex"); context && name != nullptr) {
        context->mv_dispatchBlockSync([&] { glBindAttribLocation(program_, index, name); });
    }
}

/// The active context, if it has the program; or null, and a line in the log.
std::shared_ptr<MVRenderContext> MVShader::ownContext(const char* operation) const {
    std::shared_ptr<MVRenderContext> context = usableContext(operation);
    if (context && context->mv_group() != group_) {
        DebugLog::log(DebugLog::Category::GL,
                      "MVShader %s: the active render context does not share its program",
                      operation);
        return nullptr;
    }
    return context;
}

void MVShader::link() {
    attemptLinkWithErrorMessage(nullptr);
}

bool MVShader::attemptLinkWithErrorMessage(std::string* errorMessage) {
    if (linked_) {
        return true;
    }
    const auto context = ownContext("link");
    if (!context) {
        return false;
    }
    linked_ = mv_linkProgram(program_, errorMessage);
    context->mv_dispatchBlockSync([this] { releaseStages(); });
    if (linked_) {
        mv_updateUniforms();
    }
    return linked_;
}

bool MVShader::mv_linkProgram(std::uint32_t program, std::string* errorMessage) {
    GLint status = GL_FALSE;
    if (const auto context = usableContext("link")) {
        context->mv_dispatchBlockSync([&] {
            glLinkProgram(program);
            collectLog(program, glGetProgramiv, glGetProgramInfoLog, errorMessage);
            glGetProgramiv(program, GL_LINK_STATUS, &status);
        });
    }
    return status != GL_FALSE;
}

void MVShader::releaseStages() {
    detachAndDelete(program_, vertexShader_);
    vertexShader_ = 0;
    detachAndDelete(program_, fragmentShader_);
    fragmentShader_ = 0;
}

void MVShader::mv_updateUniforms() {
    transformMatrixUniform_ = uniformLocation("u_transformMatrix");
    inverseTransformMatrixUniform_ = uniformLocation("u_inverseTransformMatrix");
    projectionMatrixUniform_ = uniformLocation("u_projectionMatrix");
    transformProjectionMatrixUniform_ = uniformLocation("u_transformProjectionMatrix");
}

std::int32_t MVShader::uniformLocation(const char* name) {
    GLint location = -1;
    if (const auto context = ownContext("uniformLocation"); context && name != nullptr) {
        context->mv_dispatchBlockSync([&] { location = glGetUniformLocation(program_, name); });
    }
    return location;
}

void MVShader::renderContextBindShader(MVRenderContext& context) {
    // A program of another share group is none here: what is drawn with it is not seen.
    context.dispatchBlock(
        [program = context.mv_group() == group_ ? program_ : 0] { glUseProgram(program); });
}

void MVShader::mv_setColorUniform(std::int32_t location, Mivora::ColorRGBA color) {
    if (const auto context = usableContext("setColor")) {
        context->dispatchBlock([location, color] {
            glUniform4f(location, color.red, color.green, color.blue, color.alpha);
        });
    }
}

MVShaderMatrixSource* MVShader::mv_matrixSource() {
    return matrixSource;
}

void MVShader::mv_setMatrixSource(MVShaderMatrixSource* source) {
    matrixSource = source;
}

void MVShaderMatrixSource::mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) {
    const MVShaderMatrices matrices = mv_shaderMatrices();
    projection = matrices.projection;
    transform = matrices.transform;
}

void MVShader::mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) {
    if (matrixSource != nullptr) {
        matrixSource->mv_readQuadMatrices(projection, transform);
    }
}

MVQuadProgram MVShader::mv_quadProgram(std::int32_t colorUniform,
                                       std::int32_t samplerUniform) const {
    return {program_, transformProjectionMatrixUniform_, colorUniform, samplerUniform};
}

void MVShader::use() {
    const auto context = usableContext("use");
    if (!context) {
        return;
    }
    context->setShader(shared_from_this());
    if (context->mv_group() != group_) {
        return;
    }
    const MVShaderMatrices matrices =
        matrixSource != nullptr ? matrixSource->mv_shaderMatrices() : MVShaderMatrices();
    context->dispatchBlock([matrices, transform = transformMatrixUniform_,
                            inverse = inverseTransformMatrixUniform_,
                            projection = projectionMatrixUniform_,
                            transformProjection = transformProjectionMatrixUniform_] {
        uploadMatrix(transform, matrices.transform);
        uploadMatrix(inverse, matrices.inverseTransform);
        uploadMatrix(projection, matrices.projection);
        uploadMatrix(transformProjection, matrices.projection * matrices.transform);
    });
}
