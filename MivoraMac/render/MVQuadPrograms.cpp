#include <epoxy/gl.h>

#include <array>
#include <numeric>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/SoftwareRasterizerPrivate.h"
#include "MivoraMac/render/MVQuadProgramsPrivate.h"

using Mivora::platform::DebugLog;

namespace {

// The precisions are those of the standard shaders: drivers that compute in them round the same
// way then. A language without precisions ignores them.
constexpr const char* kColorVertexSource = R"(precision highp float;
in vec4 a_position;
in vec4 a_color;
flat out highp vec4 v_color;
void main() {
    gl_Position = a_position;
    v_color = a_color;
})";

constexpr const char* kColorFragmentSource = R"(precision lowp float;
flat in highp vec4 v_color;
out lowp vec4 o_color;
void main() {
    lowp vec4 color = v_color;
    o_color = color;
})";

constexpr const char* kTextureVertexSource = R"(precision highp float;
in vec4 a_position;
in vec4 a_color;
in vec2 a_texCoord;
flat out highp vec4 v_tint;
out mediump vec2 v_texCoord;
void main() {
    gl_Position = a_position;
    v_tint = a_color;
    v_texCoord = a_texCoord;
})";

constexpr const char* kTextureFragmentSource = R"(precision lowp float;
uniform lowp sampler2D u_sampler;
flat in highp vec4 v_tint;
in mediump vec2 v_texCoord;
out lowp vec4 o_color;
void main() {
    lowp vec4 tint = v_tint;
    o_color = texture(u_sampler, v_texCoord) * tint;
})";

// The sources of a language that can index samplers.
constexpr const char* kTexturesVertexSource = R"(precision highp float;
in vec4 a_position;
in vec4 a_color;
in vec2 a_texCoord;
in uvec2 a_source;
flat out highp vec4 v_tint;
flat out highp uvec2 v_source;
out mediump vec2 v_texCoord;
void main() {
    gl_Position = a_position;
    v_tint = a_color;
    v_source = a_source;
    v_texCoord = a_texCoord;
})";

constexpr const char* kTexturesFragmentSource = R"(precision lowp float;
uniform lowp sampler2D u_samplers[16];
flat in highp vec4 v_tint;
flat in highp uvec2 v_source;
in mediump vec2 v_texCoord;
out lowp vec4 o_color;
out lowp vec4 o_factor;
void main() {
    lowp vec4 tint = v_tint;
    lowp vec4 color = texture(u_samplers[v_source.x], v_texCoord) * tint;
    o_color = color;
    o_factor = v_source.y != 0u ? vec4(1.0) : color.aaaa;
})";
static_assert(MVQuadPrograms::kMostUnits == 16, "as the shader says");

void logFailure(GLuint name, PFNGLGETSHADERINFOLOGPROC getLog) {
    std::array<char, 512> text{};
    getLog(name, static_cast<GLsizei>(text.size()), nullptr, text.data());
    DebugLog::log(DebugLog::Category::GL, "quads are not drawn together: %s", text.data());
}

GLuint compile(GLenum type, const char* version, const char* source) {
    const GLuint shader = glCreateShader(type);
    const std::array<const char*, 2> texts = {version, source};
    glShaderSource(shader, static_cast<GLsizei>(texts.size()), texts.data(), nullptr);
    glCompileShader(shader);
    GLint status = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    if (status == GL_FALSE) {
        logFailure(shader, glGetShaderInfoLog);
    }
    return shader;
}

/// @return 0 where it fails
GLuint linked(const char* version, const char* vertexSource, const char* fragmentSource,
              const char* secondOutput = nullptr) {
    const GLuint vertex = compile(GL_VERTEX_SHADER, version, vertexSource);
    const GLuint fragment = compile(GL_FRAGMENT_SHADER, version, fragmentSource);
    GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glBindAttribLocation(program, MVQuadPrograms::kPosition, "a_position");
    glBindAttribLocation(program, MVQuadPrograms::kColor, "a_color");
    glBindAttribLocation(program, MVQuadPrograms::kTexCoord, "a_texCoord");
    glBindAttribLocation(program, MVQuadPrograms::kSource, "a_source");
    if (secondOutput != nullptr) {
        glBindFragDataLocationIndexed(program, 0, 0, "o_color");
        glBindFragDataLocationIndexed(program, 0, 1, secondOutput);
    }
    glLinkProgram(program);
    glDetachShader(program, vertex);
    glDetachShader(program, fragment);
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    GLint status = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &status);
    if (status == GL_FALSE) {
        logFailure(program, glGetProgramInfoLog);
        glDeleteProgram(program);
        program = 0;
    }
    return program;
}

}  // namespace

bool MVQuadPrograms::create() {
    for (const char* const version : {"#version 300 es\n", "#version 150\n"}) {
        color_ = linked(version, kColorVertexSource, kColorFragmentSource);
        texture_ = color_ != 0 ? linked(version, kTextureVertexSource, kTextureFragmentSource) : 0;
        if (texture_ != 0) {
            createTextures();
            return true;
        }
        destroy();
    }
    return false;
}

void MVQuadPrograms::createTextures() {
    // llvmpipe reads the index once for the pixels that it shades at a time, which are of one
    // primitive.
    if (!Mivora::platform::isLlvmpipe() || !epoxy_has_gl_extension("GL_ARB_ES3_2_compatibility") ||
        !epoxy_has_gl_extension("GL_ARB_blend_func_extended")) {
        return;
    }
    textures_ =
        linked("#version 320 es\n", kTexturesVertexSource, kTexturesFragmentSource, "o_factor");
    if (textures_ == 0) {
        return;
    }
    std::array<GLint, kMostUnits> units{};
    std::iota(units.begin(), units.end(), 0);
    GLint bound = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &bound);
    glUseProgram(textures_);
    glUniform1iv(glGetUniformLocation(textures_, "u_samplers"), static_cast<GLsizei>(kMostUnits),
                 units.data());
    glUseProgram(static_cast<GLuint>(bound));
}

void MVQuadPrograms::destroy() {
    for (std::uint32_t* const program : {&color_, &texture_, &textures_}) {
        if (*program != 0) {
            glDeleteProgram(*program);
            *program = 0;
        }
    }
}
