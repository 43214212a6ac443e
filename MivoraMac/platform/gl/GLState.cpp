#include <limits>

#include "MivoraMac/platform/gl/GLStatePrivate.h"

namespace Mivora::platform {

namespace {

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

GLuint unsignedInteger(GLenum name) {
    return static_cast<GLuint>(integer(name));
}

GLfloat number(GLenum name) {
    GLfloat value = 0;
    glGetFloatv(name, &value);
    return value;
}

GLboolean boolean(GLenum name) {
    GLboolean value = GL_FALSE;
    glGetBooleanv(name, &value);
    return value;
}

/// A name, or 0 where the object has gone: binding that would raise an error, or make another.
template <class IsAlive>
GLuint alive(GLuint name, IsAlive isAlive) {
    return name != 0 && isAlive(name) == GL_TRUE ? name : 0;
}

}  // namespace

GLuint GLState::mask(GLenum name) {
    const GLint value = integer(name);
    return value == std::numeric_limits<GLint>::max() ? ~0U : static_cast<GLuint>(value);
}

void GLState::Stencil::apply(GLenum face) const {
    glStencilFuncSeparate(face, function, reference, readMask);
    glStencilMaskSeparate(face, writeMask);
    glStencilOpSeparate(face, fail, depthFail, depthPass);
}

void GLState::capture() {
    for (std::size_t i = 0; i < kSwitches.size(); ++i) {
        switches_[i] = glIsEnabled(kSwitches[i]) == GL_TRUE;
    }
    activeTexture_ = unsignedInteger(GL_ACTIVE_TEXTURE);
    for (std::size_t i = 0; i < kTextureUnits; ++i) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(i));
        textures_[i] = unsignedInteger(GL_TEXTURE_BINDING_2D);
    }
    glActiveTexture(activeTexture_);
    drawFramebuffer_ = unsignedInteger(GL_DRAW_FRAMEBUFFER_BINDING);
    readFramebuffer_ = unsignedInteger(GL_READ_FRAMEBUFFER_BINDING);
    renderbuffer_ = unsignedInteger(GL_RENDERBUFFER_BINDING);
    program_ = unsignedInteger(GL_CURRENT_PROGRAM);
    vertexArray_ = unsignedInteger(GL_VERTEX_ARRAY_BINDING);
    arrayBuffer_ = unsignedInteger(GL_ARRAY_BUFFER_BINDING);
    uniformBuffer_ = unsignedInteger(GL_UNIFORM_BUFFER_BINDING);
    packBuffer_ = unsignedInteger(GL_PIXEL_PACK_BUFFER_BINDING);
    unpackBuffer_ = unsignedInteger(GL_PIXEL_UNPACK_BUFFER_BINDING);
    glGetIntegerv(GL_VIEWPORT, viewport_.data());
    glGetIntegerv(GL_SCISSOR_BOX, scissor_.data());
    blendFactors_ = {unsignedInteger(GL_BLEND_SRC_RGB), unsignedInteger(GL_BLEND_DST_RGB),
                     unsignedInteger(GL_BLEND_SRC_ALPHA), unsignedInteger(GL_BLEND_DST_ALPHA)};
    blendEquations_ = {unsignedInteger(GL_BLEND_EQUATION_RGB),
                       unsignedInteger(GL_BLEND_EQUATION_ALPHA)};
    glGetFloatv(GL_BLEND_COLOR, blendColor_.data());
    glGetFloatv(GL_COLOR_CLEAR_VALUE, clearColor_.data());
    glGetBooleanv(GL_COLOR_WRITEMASK, colorMask_.data());
    clearDepth_ = number(GL_DEPTH_CLEAR_VALUE);
    clearStencil_ = integer(GL_STENCIL_CLEAR_VALUE);
    depthMask_ = boolean(GL_DEPTH_WRITEMASK);
    depthFunction_ = unsignedInteger(GL_DEPTH_FUNC);
    glGetFloatv(GL_DEPTH_RANGE, depthRange_.data());
    frontStencil_ = {unsignedInteger(GL_STENCIL_FUNC),
                     integer(GL_STENCIL_REF),
                     mask(GL_STENCIL_VALUE_MASK),
                     mask(GL_STENCIL_WRITEMASK),
                     unsignedInteger(GL_STENCIL_FAIL),
                     unsignedInteger(GL_STENCIL_PASS_DEPTH_FAIL),
                     unsignedInteger(GL_STENCIL_PASS_DEPTH_PASS)};
    backStencil_ = {unsignedInteger(GL_STENCIL_BACK_FUNC),
                    integer(GL_STENCIL_BACK_REF),
                    mask(GL_STENCIL_BACK_VALUE_MASK),
                    mask(GL_STENCIL_BACK_WRITEMASK),
                    unsignedInteger(GL_STENCIL_BACK_FAIL),
                    unsignedInteger(GL_STENCIL_BACK_PASS_DEPTH_FAIL),
                    unsignedInteger(GL_STENCIL_BACK_PASS_DEPTH_PASS)};
    cullFace_ = unsignedInteger(GL_CULL_FACE_MODE);
    frontFace_ = unsignedInteger(GL_FRONT_FACE);
    polygonOffset_ = {number(GL_POLYGON_OFFSET_FACTOR), number(GL_POLYGON_OFFSET_UNITS)};
    lineWidth_ = number(GL_LINE_WIDTH);
    pointSize_ = number(GL_POINT_SIZE);
    pack_ = {integer(GL_PACK_ALIGNMENT), integer(GL_PACK_ROW_LENGTH), integer(GL_PACK_SKIP_ROWS),
             integer(GL_PACK_SKIP_PIXELS)};
    unpack_ = {integer(GL_UNPACK_ALIGNMENT), integer(GL_UNPACK_ROW_LENGTH),
               integer(GL_UNPACK_SKIP_ROWS), integer(GL_UNPACK_SKIP_PIXELS)};
}

void GLState::apply() const {
    for (std::size_t i = 0; i < kSwitches.size(); ++i) {
        switches_[i] ? glEnable(kSwitches[i]) : glDisable(kSwitches[i]);
    }
    for (std::size_t i = 0; i < kTextureUnits; ++i) {
        glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(i));
        glBindTexture(GL_TEXTURE_2D, alive(textures_[i], glIsTexture));
    }
    glActiveTexture(activeTexture_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, alive(drawFramebuffer_, glIsFramebuffer));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, alive(readFramebuffer_, glIsFramebuffer));
    glBindRenderbuffer(GL_RENDERBUFFER, alive(renderbuffer_, glIsRenderbuffer));
    glUseProgram(alive(program_, glIsProgram));
    glBindVertexArray(alive(vertexArray_, glIsVertexArray));
    glBindBuffer(GL_ARRAY_BUFFER, alive(arrayBuffer_, glIsBuffer));
    glBindBuffer(GL_UNIFORM_BUFFER, alive(uniformBuffer_, glIsBuffer));
    glBindBuffer(GL_PIXEL_PACK_BUFFER, alive(packBuffer_, glIsBuffer));
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, alive(unpackBuffer_, glIsBuffer));
    glViewport(viewport_[0], viewport_[1], viewport_[2], viewport_[3]);
    glScissor(scissor_[0], scissor_[1], scissor_[2], scissor_[3]);
    glBlendFuncSeparate(blendFactors_[0], blendFactors_[1], blendFactors_[2], blendFactors_[3]);
    glBlendEquationSeparate(blendEquations_[0], blendEquations_[1]);
    glBlendColor(blendColor_[0], blendColor_[1], blendColor_[2], blendColor_[3]);
    glClearColor(clearColor_[0], clearColor_[1], clearColor_[2], clearColor_[3]);
    glColorMask(colorMask_[0], colorMask_[1], colorMask_[2], colorMask_[3]);
    glClearDepth(clearDepth_);
    glClearStencil(clearStencil_);
    glDepthMask(depthMask_);
    glDepthFunc(depthFunction_);
    glDepthRange(depthRange_[0], depthRange_[1]);
    frontStencil_.apply(GL_FRONT);
    backStencil_.apply(GL_BACK);
    glCullFace(cullFace_);
    glFrontFace(frontFace_);
    glPolygonOffset(polygonOffset_[0], polygonOffset_[1]);
    glLineWidth(lineWidth_);
    glPointSize(pointSize_);
    glPixelStorei(GL_PACK_ALIGNMENT, pack_.alignment);
    glPixelStorei(GL_PACK_ROW_LENGTH, pack_.rowLength);
    glPixelStorei(GL_PACK_SKIP_ROWS, pack_.skipRows);
    glPixelStorei(GL_PACK_SKIP_PIXELS, pack_.skipPixels);
    glPixelStorei(GL_UNPACK_ALIGNMENT, unpack_.alignment);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, unpack_.rowLength);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, unpack_.skipRows);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, unpack_.skipPixels);
}

}  // namespace Mivora::platform
