#include <epoxy/gl.h>

#include <array>
#include <string>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVQuadProgramsPrivate.h"

using Mivora::platform::DebugLog;

namespace {

constexpr const char* kColorVertexSource = R"(#version 150
in vec4 a_position;
in vec4 a_color;
flat out vec4 v_color;
void main() {
    gl_Position = a_position;
    v_color = a_color;
})";

constexpr const char* kColorFragmentSource = R"(#version 150
flat in vec4 v_color;
out vec4 o_color;
void main() {
    o_color = v_color;
})";

constexpr const char* kTextureVertexSource = R"(#version 150
in vec4 a_position;
in vec4 a_color;
in vec2 a_texCoord;
flat out vec4 v_tint;
out vec2 v_texCoord;
void main() {
    gl_Position = a_position;
    v_tint = a_color;
    v_texCoord = a_texCoord;
})";

constexpr const char* kTextureFragmentSource = R"(#version 150
uniform sampler2D u_sampler;
flat in vec4 v_tint;
in vec2 v_texCoord;
out vec4 o_color;
void main() {
    o_color = texture(u_sampler, v_texCoord) * v_tint;
})";

void logFailure(GLuint name, PFNGLGETSHADERINFOLOGPROC getLog) {
    std::array<char, 512> text{};
    getLog(name, static_cast<GLsizei>(text.size()), nullptr, text.data());
    DebugLog::log(DebugLog::Category::GL, "quads are not drawn together: %s", text.data());
}

GLuint compile(GLenum type, const char* source) {
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint status = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    if (status == GL_FALSE) {
        logFailure(shader, glGetShaderInfoLog);
    }
    return shader;
}

/// @return 0 where it fails
GLuint linked(const char* vertexSource, const char* fragmentSource) {
    const GLuint vertex = compile(GL_VERTEX_SHADER, vertexSource);
    const GLuint fragment = compile(GL_FRAGMENT_SHADER, fragmentSource);
    GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glBindAttribLocation(program, MVQuadPrograms::kPosition, "a_position");
    glBindAttribLocation(program, MVQuadPrograms::kColor, "a_color");
    glBindAttribLocation(program, MVQuadPrograms::kTexCoord, "a_texCoord");
    glBindAttribLocation(program, MVQuadPrograms::kSource, "a_source");
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
    color_ = linked(kColorVertexSource, kColorFragmentSource);
    texture_ = color_ != 0 ? linked(kTextureVertexSource, kTextureFragmentSource) : 0;
    return texture_ != 0;
}

void MVQuadPrograms::destroy() {
    for (std::uint32_t* const program : {&color_, &texture_}) {
        if (*program != 0) {
            glDeleteProgram(*program);
            *program = 0;
        }
    }
}
