#include <epoxy/gl.h>

#include <glm/gtc/type_ptr.hpp>
#include <utility>

#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVRenderSurface.h"

using Mivora::columnsOf;
using Mivora::Float4;
using Mivora::Float4x4;

namespace {

/// Both matrices, the left one after the right one: added up in the order in which the product
/// that the shaders are given is.
Float4x4 product(const Float4x4& left, const Float4x4& right) {
    Float4x4 result;
    for (int i = 0; i < 4; ++i) {
        result.column[i] = left * right.column[i];
    }
    return result;
}

Float4 vectorOf(Mivora::ColorRGBA color) {
    return Float4{color.red, color.green, color.blue, color.alpha};
}

/// Writes where the four corners of a rectangle come to lie, added up as a vertex stage does.
template <class Vertex>
void writePositions(Vertex* vertices, const Float4x4& matrix, Mivora::Size2 size) {
    const Float4 left = matrix.column[0] * 0.0F;
    const Float4 right = matrix.column[0] * size.width;
    const Float4 top = matrix.column[1] * 0.0F;
    const Float4 bottom = matrix.column[1] * size.height;
    const Float4 flat = matrix.column[2] * 0.0F;
    vertices[0].position = ((left + top) + flat) + matrix.column[3];
    vertices[1].position = ((right + top) + flat) + matrix.column[3];
    vertices[2].position = ((left + bottom) + flat) + matrix.column[3];
    vertices[3].position = ((right + bottom) + flat) + matrix.column[3];
}

void setBlendFunction(MVQuadBlend blend) {
    glBlendFunc(blend == MVQuadBlend::Premultiplied ? GL_ONE : GL_SRC_ALPHA,
                GL_ONE_MINUS_SRC_ALPHA);
}

GLuint bitOf(std::uint8_t level) {
    return 1U << (level % 32U);
}

}  // namespace

/// A call, or few, once the vertices are there.
struct MVQuadBatch::Command {
    enum class Kind : std::uint8_t {
        Color,
        Texture,
        BeginStencil,
        LimitToStencil,
        CleanStencil,
        EndStencil,
        EndCleanStencil,  ///< as `EndStencil`, after what leaves the plane clean
    };

    Kind kind = Kind::Color;
    MVQuadBlend blend = MVQuadBlend::Off;
    std::uint8_t level = 0;
    std::uint32_t texture = 0;
    std::int32_t firstVertex = 0;
    std::int32_t quads = 0;
};

MVQuadBatch::MVQuadBatch() = default;

MVQuadBatch::~MVQuadBatch() = default;

bool MVQuadBatch::makeObjects() {
    if (!stream_.isCreated() && !isRefused()) {
        GLint buffer = 0;
        glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &buffer);
        if (programs_.create()) {
            stream_.create();
            glBindBuffer(GL_ARRAY_BUFFER, static_cast<GLuint>(buffer));
        } else {
            programs_.destroy();
            refused_.store(true, std::memory_order_relaxed);
        }
    }
    return !isRefused();
}

void MVQuadBatch::release() {
    settle();
    if (stream_.isCreated()) {
        stream_.destroy();
    }
    programs_.destroy();
}

void MVQuadBatch::draw(std::span<const MVQuadEntry> entries) {
    if (entries.empty()) {
        return;
    }
    std::size_t next = 0;
    if (makeObjects()) {
        enterState();
        while (next < entries.size() && stream_.map()) {
            while (next < entries.size() && append(entries[next])) {
                ++next;
            }
            stream_.unmap();
            issueCommands();
        }
    }
    for (; next < entries.size(); ++next) {
        settle();
        play(entries[next]);
    }
}

// State

void MVQuadBatch::enterState() {
    if (active_) {
        return;
    }
    active_ = true;
    depthTestOff_ = false;
    textureUnitActive_ = false;
    blendKnown_ = false;
    program_ = 0;
    texture_ = 0;
    uses_.clear();
    lastUse_ = 0;
    texturesUsed_ = false;
    lastBlend_ = MVQuadBlend::Off;
    rebuilt_ = false;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &arrayBufferBefore_);
    glBindBuffer(GL_ARRAY_BUFFER, stream_.vertexBuffer());
}

void MVQuadBatch::leaveState() {
    active_ = false;
    glBindBuffer(GL_ARRAY_BUFFER, rebuilt_ ? 0 : static_cast<GLuint>(arrayBufferBefore_));
    if (program_ != 0) {
        glBindVertexArray(0);
    }
    if (uses_.empty()) {
        if (program_ != 0) {
            // Only a shape was taken back, and nobody has drawn since it was drawn.
            glUseProgram(settledProgram_);
        }
        return;
    }
    if (lastBlend_ != MVQuadBlend::Off) {
        setBlendFunction(lastBlend_);
    }
    glDisable(GL_BLEND);
    if (texturesUsed_ && texture_ != lastTexture_) {
        glBindTexture(GL_TEXTURE_2D, lastTexture_);
    }
    // The one used last stays bound.
    std::swap(uses_[lastUse_], uses_.back());
    settledProgram_ = uses_.back().program.name;
    for (const LastUse& use : uses_) {
        glUseProgram(use.program.name);
        glUniformMatrix4fv(use.program.matrixUniform, 1, GL_FALSE,
                           glm::value_ptr(Mivora::matrixOf(use.matrix)));
        if (use.program.samplerUniform >= 0) {
            glUniform1i(use.program.samplerUniform, 0);
        }
        glUniform4f(use.program.colorUniform, use.tint.red, use.tint.green, use.tint.blue,
                    use.tint.alpha);
    }
}

// Vertices

/// Writes the vertices of an entry and adds to the commands.
/// @return false where it has to be called again once there is room
bool MVQuadBatch::append(const MVQuadEntry& entry) {
    const auto add = [this, &entry](Command::Kind kind) {
        commands_.push_back({.kind = kind, .level = entry.stencilLevel});
    };
    switch (entry.kind) {
        case MVQuadEntry::Kind::Quad:
            return appendQuad(entry);
        case MVQuadEntry::Kind::Projection:
            projection_ = columnsOf(entry.matrix);
            break;
        case MVQuadEntry::Kind::BeginStencil:
            beginShape();
            add(Command::Kind::BeginStencil);
            break;
        case MVQuadEntry::Kind::LimitToStencil:
            if (shapeCount_ != 0) {
                shapes_[shapeCount_ - 1].isWriting = false;
            }
            add(Command::Kind::LimitToStencil);
            break;
        case MVQuadEntry::Kind::EndStencil:
            return appendEnd(entry);
    }
    return true;
}

bool MVQuadBatch::appendQuad(const MVQuadEntry& entry) {
    const Float4x4 matrix = product(projection_, columnsOf(entry.matrix));
    const bool textured = entry.program.samplerUniform >= 0;
    if (!(textured ? emitTexture(matrix, entry)
                   : emitColor(matrix, entry.size, entry.tint, entry.blend))) {
        return false;
    }
    rememberUse(entry, matrix);
    if (shapeCount_ != 0 && shapes_[shapeCount_ - 1].isWriting) {
        shapes_[shapeCount_ - 1].quads.push_back({matrix, entry.size});
    }
    return true;
}

void MVQuadBatch::rememberUse(const MVQuadEntry& entry, const Float4x4& matrix) {
    if (lastUse_ >= uses_.size() || uses_[lastUse_].program != entry.program) {
        lastUse_ = 0;
        while (lastUse_ < uses_.size() && uses_[lastUse_].program != entry.program) {
            ++lastUse_;
        }
        if (lastUse_ == uses_.size()) {
            uses_.push_back({.program = entry.program, .matrix = {}, .tint = {}});
        }
    }
    uses_[lastUse_].matrix = matrix;
    uses_[lastUse_].tint = entry.tint;
    if (entry.blend != MVQuadBlend::Off) {
        lastBlend_ = entry.blend;
    }
    if (entry.program.samplerUniform >= 0) {
        texturesUsed_ = true;
        lastTexture_ = entry.texture;
    }
    rebuilt_ |= entry.rebuilt;
}

bool MVQuadBatch::emitColor(const Float4x4& matrix, Mivora::Size2 size, Mivora::ColorRGBA color,
                            MVQuadBlend blend) {
    auto* const vertices = stream_.quad<MVColorVertex>();
    if (vertices == nullptr) {
        return false;
    }
    writePositions(vertices, matrix, size);
    for (int i = 0; i < 4; ++i) {
        vertices[i].color = vectorOf(color);
    }
    const std::int32_t first = stream_.end<MVColorVertex>() - 4;
    if (!commands_.empty()) {
        Command& last = commands_.back();
        if (last.kind == Command::Kind::Color && last.blend == blend &&
            last.firstVertex + 4 * last.quads == first &&
            last.quads < static_cast<std::int32_t>(MVQuadStream::kMostQuads)) {
            ++last.quads;
            return true;
        }
    }
    commands_.push_back(
        {.kind = Command::Kind::Color, .blend = blend, .firstVertex = first, .quads = 1});
    return true;
}

bool MVQuadBatch::emitTexture(const Float4x4& matrix, const MVQuadEntry& entry) {
    auto* const vertices = stream_.quad<MVTextureVertex>();
    if (vertices == nullptr) {
        return false;
    }
    writePositions(vertices, matrix, entry.size);
    const Mivora::Rect2 part = entry.textureCoordinates;
    const float right = part.origin.x + part.size.width;
    const float bottom = part.origin.y + part.size.height;
    for (int i = 0; i < 4; ++i) {
        vertices[i].tint = vectorOf(entry.tint);
        vertices[i].u = (i & 1) != 0 ? right : part.origin.x;
        vertices[i].v = (i & 2) != 0 ? bottom : part.origin.y;
    }
    const std::int32_t first = stream_.end<MVTextureVertex>() - 4;
    if (!commands_.empty()) {
        Command& last = commands_.back();
        if (last.kind == Command::Kind::Texture && last.blend == entry.blend &&
            last.texture == entry.texture && last.firstVertex + 4 * last.quads == first &&
            last.quads < static_cast<std::int32_t>(MVQuadStream::kMostQuads)) {
            ++last.quads;
            return true;
        }
    }
    commands_.push_back({.kind = Command::Kind::Texture,
                         .blend = entry.blend,
                         .texture = entry.texture,
                         .firstVertex = first,
                         .quads = 1});
    return true;
}

MVQuadBatch::Shape& MVQuadBatch::beginShape() {
    if (shapeCount_ == shapes_.size()) {
        shapes_.emplace_back();
    }
    Shape& shape = shapes_[shapeCount_++];
    shape.quads.clear();
    shape.cleaned = 0;
    shape.isWriting = true;
    shape.isKnown = true;
    return shape;
}

/// Draws the shape once more, to take its bits back.
bool MVQuadBatch::appendEnd(const MVQuadEntry& entry) {
    if (shapeCount_ == 0) {
        return true;
    }
    Shape& shape = shapes_[shapeCount_ - 1];
    if (shape.isKnown && !shape.quads.empty()) {
        if (shape.cleaned == 0) {
            commands_.push_back({.kind = Command::Kind::CleanStencil, .level = entry.stencilLevel});
        }
        for (; shape.cleaned < shape.quads.size(); ++shape.cleaned) {
            const ShapeQuad& quad = shape.quads[shape.cleaned];
            if (!emitColor(quad.matrix, quad.size, Mivora::ColorRGBA::kWhite, MVQuadBlend::Off)) {
                return false;
            }
        }
    }
    commands_.push_back(
        {.kind = shape.isKnown ? Command::Kind::EndCleanStencil : Command::Kind::EndStencil,
         .level = entry.stencilLevel});
    --shapeCount_;
    return true;
}

// Commands

void MVQuadBatch::issueCommands() {
    for (const Command& command : commands_) {
        switch (command.kind) {
            case Command::Kind::Color:
            case Command::Kind::Texture:
                drawQuads(command);
                break;
            case Command::Kind::BeginStencil:
                beginStencil(command.level);
                break;
            case Command::Kind::LimitToStencil:
                limitToStencil(command.level);
                break;
            case Command::Kind::CleanStencil:
                cleanStencil(command.level);
                break;
            case Command::Kind::EndStencil:
            case Command::Kind::EndCleanStencil:
                endStencil();
                if (command.kind == Command::Kind::EndCleanStencil) {
                    cleanPlanes_ |= bitOf(command.level);
                }
                break;
        }
    }
    commands_.clear();
}

void MVQuadBatch::drawQuads(const Command& command) {
    constexpr int kIndicesOfAQuad = 6;
    if (!depthTestOff_) {
        glDisable(GL_DEPTH_TEST);
        depthTestOff_ = true;
    }
    if (command.kind == Command::Kind::Color) {
        setProgram(programs_.color(), stream_.colorArray());
    } else {
        setProgram(programs_.texture(), stream_.textureArray());
        if (!textureUnitActive_ || texture_ != command.texture) {
            if (!textureUnitActive_) {
                glActiveTexture(GL_TEXTURE0);
                textureUnitActive_ = true;
            }
            glBindTexture(GL_TEXTURE_2D, command.texture);
            texture_ = command.texture;
        }
    }
    setBlend(command.blend);
    if (command.quads == 1) {
        glDrawArrays(GL_TRIANGLE_STRIP, command.firstVertex, 4);
        return;
    }
    glDrawElementsBaseVertex(GL_TRIANGLES, command.quads * kIndicesOfAQuad, GL_UNSIGNED_SHORT,
                             nullptr, command.firstVertex);
}

void MVQuadBatch::setProgram(std::uint32_t program, std::uint32_t vertexArray) {
    if (program_ != program) {
        glUseProgram(program);
        glBindVertexArray(vertexArray);
        program_ = program;
    }
}

void MVQuadBatch::setBlend(MVQuadBlend blend) {
    if (blendKnown_ && blend_ == blend) {
        return;
    }
    if (blend == MVQuadBlend::Off) {
        glDisable(GL_BLEND);
    } else {
        glEnable(GL_BLEND);
        setBlendFunction(blend);
    }
    blend_ = blend;
    blendKnown_ = true;
}

// Stencil levels

void MVQuadBatch::forgetStencil() {
    cleanPlanes_ = 0;
    isCleared_ = false;
    for (std::size_t i = 0; i < shapeCount_; ++i) {
        shapes_[i].isKnown = false;
    }
}

void MVQuadBatch::stencilCleared() {
    forgetStencil();
    isCleared_ = true;
}

/// What a clearing has left clean, from the state that it found and nobody has changed since.
std::uint32_t MVQuadBatch::clearedPlanes(const MVStencilState& state) {
    GLint value = 0;
    glGetIntegerv(GL_STENCIL_CLEAR_VALUE, &value);
    return value == 0 && glIsEnabled(GL_SCISSOR_TEST) == GL_FALSE ? state.writeMask : 0;
}

void MVQuadBatch::beginStencil(std::uint8_t level) {
    const GLuint bit = bitOf(level);
    Saved saved{MVRenderSurface::mv_currentStencilState(), GL_TRUE};
    glGetBooleanv(GL_DEPTH_WRITEMASK, &saved.depthMask);
    saved_.push_back(saved);
    if (std::exchange(isCleared_, false)) {
        cleanPlanes_ = clearedPlanes(saved.state);
    }
    glEnable(GL_STENCIL_TEST);
    glStencilMask(bit);
    glDepthMask(GL_FALSE);
    glClearStencil(0);
    if ((cleanPlanes_ & bit) == 0) {
        glClear(GL_STENCIL_BUFFER_BIT);
    }
    cleanPlanes_ &= ~bit;
    glStencilFunc(GL_NEVER, static_cast<GLint>(bit), bit);
    glStencilOp(GL_REPLACE, GL_KEEP, GL_KEEP);
}

void MVQuadBatch::limitToStencil(std::uint8_t level) {
    const GLuint mask = bitOf(level) | (bitOf(level) - 1);
    if (!saved_.empty()) {
        glDepthMask(saved_.back().depthMask);
    }
    glStencilFunc(GL_EQUAL, static_cast<GLint>(mask), mask);
    glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
}

/// What is drawn from here on has its bits taken away.
void MVQuadBatch::cleanStencil(std::uint8_t level) {
    const GLuint bit = bitOf(level);
    glStencilFunc(GL_NEVER, 0, bit);
    glStencilOp(GL_ZERO, GL_KEEP, GL_KEEP);
}

void MVQuadBatch::endStencil() {
    if (!saved_.empty()) {
        MVRenderSurface::mv_setCurrentStencilState(saved_.back().state);
        saved_.pop_back();
    }
}

// One by one

/// What an entry stands for, where nothing can be drawn together.
void MVQuadBatch::play(const MVQuadEntry& entry) {
    switch (entry.kind) {
        case MVQuadEntry::Kind::Quad:
            playQuad(entry);
            break;
        case MVQuadEntry::Kind::Projection:
            projection_ = columnsOf(entry.matrix);
            break;
        case MVQuadEntry::Kind::BeginStencil:
            beginShape().isKnown = false;
            beginStencil(entry.stencilLevel);
            break;
        case MVQuadEntry::Kind::LimitToStencil:
            limitToStencil(entry.stencilLevel);
            break;
        case MVQuadEntry::Kind::EndStencil:
            shapeCount_ -= shapeCount_ != 0 ? 1 : 0;
            endStencil();
            break;
    }
}

void MVQuadBatch::playQuad(const MVQuadEntry& entry) {
    const Float4x4 matrix = product(projection_, columnsOf(entry.matrix));
    const bool textured = entry.program.samplerUniform >= 0;
    const float w = entry.size.width;
    const float h = entry.size.height;
    const Mivora::Rect2 part = entry.textureCoordinates;
    const float right = part.origin.x + part.size.width;
    const float bottom = part.origin.y + part.size.height;
    const float vertices[] = {0, 0, part.origin.x, part.origin.y, w, 0, right, part.origin.y,
                              0, h, part.origin.x, bottom,        w, h, right, bottom};
    constexpr GLuint kPositionSlot = 0;
    constexpr GLuint kTexCoordSlot = 5;
    constexpr std::uintptr_t kTexCoordOffset = 8;

    GLint arrayBuffer = 0;
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &arrayBuffer);
    GLuint array = 0;
    GLuint buffer = 0;
    glGenVertexArrays(1, &array);
    glBindVertexArray(array);
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, sizeof(vertices), vertices, GL_STREAM_DRAW);
    glEnableVertexAttribArray(kPositionSlot);
    glVertexAttribPointer(kPositionSlot, 2, GL_FLOAT, GL_FALSE, 16, nullptr);
    glEnableVertexAttribArray(kTexCoordSlot);
    glVertexAttribPointer(kTexCoordSlot, 2, GL_FLOAT, GL_FALSE, 16,
                          reinterpret_cast<const void*>(kTexCoordOffset));

    glUseProgram(entry.program.name);
    glUniformMatrix4fv(entry.program.matrixUniform, 1, GL_FALSE,
                       glm::value_ptr(Mivora::matrixOf(matrix)));
    if (textured) {
        glUniform1i(entry.program.samplerUniform, 0);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, entry.texture);
    }
    glUniform4f(entry.program.colorUniform, entry.tint.red, entry.tint.green, entry.tint.blue,
                entry.tint.alpha);
    glDisable(GL_DEPTH_TEST);
    blendKnown_ = false;
    setBlend(entry.blend);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glBindVertexArray(0);
    glDisable(GL_BLEND);

    glBindBuffer(GL_ARRAY_BUFFER, entry.rebuilt ? 0 : static_cast<GLuint>(arrayBuffer));
    glDeleteVertexArrays(1, &array);
    glDeleteBuffers(1, &buffer);
}
