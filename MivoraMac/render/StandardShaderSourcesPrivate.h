#pragma once

#include "MivoraMac/render/MVFilterShader.h"

// The sources of the standard shaders, without their version line. Kept to the letter, blanks
// included: drivers cache compiled programs by their text.

// clang-format off
inline constexpr const char* kPositionColorVertexSource =
    " precision highp float;  uniform mat4 u_transformProjectionMatrix;"
    " attribute vec4 a_position; attribute vec4 a_color;"
    " varying lowp vec4 v_fragmentColor;  void main() {"
    "     gl_Position = u_transformProjectionMatrix * a_position;"
    "     v_fragmentColor = a_color; }";

inline constexpr const char* kPositionColorFragmentSource =
    " precision lowp float;  varying vec4 v_fragmentColor;  void main() {"
    "     gl_FragColor = v_fragmentColor; }";

inline constexpr const char* kPositionUniformColorVertexSource =
    " precision highp float;  uniform mat4 u_transformProjectionMatrix;"
    " attribute vec4 a_position;  void main() {"
    "     gl_Position = u_transformProjectionMatrix * a_position; }";

inline constexpr const char* kPositionUniformColorFragmentSource =
    " precision lowp float;  uniform vec4 u_color;  void main() {"
    "     gl_FragColor = u_color; }";

inline constexpr const char* kTexturedVertexSource = MVFilterShaderVertexSource;

inline constexpr const char* kPositionTextureFragmentSource =
    " precision lowp float;  varying vec2 v_texCoord; uniform sampler2D u_sampler;"
    "  void main() {     gl_FragColor = texture2D(u_sampler, v_texCoord); }";

inline constexpr const char* kPositionTextureUniformColorFragmentSource =
    " precision lowp float;  varying vec2 v_texCoord; uniform sampler2D u_sampler;"
    " uniform vec4 u_color;  void main() {"
    "     gl_FragColor = texture2D(u_sampler, v_texCoord) * u_color; }";
// clang-format on
