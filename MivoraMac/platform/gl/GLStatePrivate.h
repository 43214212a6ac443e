#pragma once

#include <epoxy/gl.h>

#include <array>
#include <cstddef>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The GL state that a context keeps for itself while others use the same native context: bindings,
/// tests, masks, blending, clearing values, viewport and pixel storage. What belongs to objects
/// (uniforms, vertex attributes, texture parameters) stays with them.
///
/// Begins as a new context does. Thread: one with a current context.
class MIVORA_EXPORT GLState {
 public:
    /// Reads what is in force.
    void capture();

    /// Puts this in force, whatever is. Names that have been deleted since are bound to nothing.
    void apply() const;

    /// A mask among the integers of the state. Mesa 22.3 reports no more than the largest signed
    /// number: all ones read as that there, and come out as all ones here.
    static GLuint mask(GLenum name);

 private:
    struct Stencil {
        GLenum function = GL_ALWAYS;
        GLint reference = 0;
        GLuint readMask = ~0U;
        GLuint writeMask = ~0U;
        GLenum fail = GL_KEEP;
        GLenum depthFail = GL_KEEP;
        GLenum depthPass = GL_KEEP;

        void apply(GLenum face) const;
    };

    struct PixelStore {
        GLint alignment = 4;
        GLint rowLength = 0;
        GLint skipRows = 0;
        GLint skipPixels = 0;
    };

    static constexpr std::array<GLenum, 16> kSwitches = {
        GL_DITHER,  // these two are on at first
        GL_MULTISAMPLE,
        GL_BLEND,
        GL_COLOR_LOGIC_OP,
        GL_CULL_FACE,
        GL_DEPTH_CLAMP,
        GL_DEPTH_TEST,
        GL_FRAMEBUFFER_SRGB,
        GL_POLYGON_OFFSET_FILL,
        GL_PRIMITIVE_RESTART,
        GL_PROGRAM_POINT_SIZE,
        GL_RASTERIZER_DISCARD,
        GL_SAMPLE_ALPHA_TO_COVERAGE,
        GL_SAMPLE_COVERAGE,
        GL_SCISSOR_TEST,
        GL_STENCIL_TEST,
    };

    /// As many texture units as every driver has.
    static constexpr std::size_t kTextureUnits = 16;

    std::array<bool, kSwitches.size()> switches_{true, true};
    std::array<GLuint, kTextureUnits> textures_{};
    GLenum activeTexture_ = GL_TEXTURE0;
    GLuint drawFramebuffer_ = 0;
    GLuint readFramebuffer_ = 0;
    GLuint renderbuffer_ = 0;
    GLuint program_ = 0;
    GLuint vertexArray_ = 0;
    GLuint arrayBuffer_ = 0;
    GLuint uniformBuffer_ = 0;
    GLuint packBuffer_ = 0;
    GLuint unpackBuffer_ = 0;
    std::array<GLint, 4> viewport_{};
    std::array<GLint, 4> scissor_{};
    std::array<GLenum, 4> blendFactors_{GL_ONE, GL_ZERO, GL_ONE, GL_ZERO};  // RGB, then alpha
    std::array<GLenum, 2> blendEquations_{GL_FUNC_ADD, GL_FUNC_ADD};
    std::array<GLfloat, 4> blendColor_{};
    std::array<GLfloat, 4> clearColor_{};
    std::array<GLboolean, 4> colorMask_{GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE};
    GLfloat clearDepth_ = 1;
    GLint clearStencil_ = 0;
    GLboolean depthMask_ = GL_TRUE;
    GLenum depthFunction_ = GL_LESS;
    std::array<GLfloat, 2> depthRange_{0, 1};
    Stencil frontStencil_;
    Stencil backStencil_;
    GLenum cullFace_ = GL_BACK;
    GLenum frontFace_ = GL_CCW;
    std::array<GLfloat, 2> polygonOffset_{};  // factor, units
    GLfloat lineWidth_ = 1;
    GLfloat pointSize_ = 1;
    PixelStore pack_;
    PixelStore unpack_;
};

}  // namespace Mivora::platform
