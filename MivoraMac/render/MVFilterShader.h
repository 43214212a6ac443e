#pragma once

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"

/// What a filter's shader is, beside an `MVShader`: something that multiplies what it draws by a
/// colour. Image views and filter views fade what they show with it.
///
/// A shader of a filter that is none of these draws all the same, but the opacity of the view has
/// no effect on it.
class MIVORA_EXPORT MVFilterShader {
 public:
    /// Queues the upload of the colour to the program that is current by then: call it after
    /// `MVShader::use`. Multiplied with the result, component by component; not clamped.
    virtual void setColor(Mivora::ColorRGBA color) = 0;

 protected:
    MVFilterShader() = default;
    ~MVFilterShader() = default;
};

/// The vertex stage that shaders of filters share, without a version line: it places the vertices
/// with "u_transformProjectionMatrix" and gives the fragment stage the texture coordinate in
/// "v_texCoord", a varying mediump vec2.
inline constexpr const char* MVFilterShaderVertexSource =
    " precision highp float;  uniform mat4 u_transformProjectionMatrix;"
    " attribute vec4 a_position; attribute vec2 a_texCoord;"
    " varying mediump vec2 v_texCoord;  void main() {"
    "     gl_Position = u_transformProjectionMatrix * a_position;"
    "     v_texCoord = a_texCoord; }";
