#include <epoxy/gl.h>

#include <algorithm>
#include <cmath>
#include <glm/gtc/type_ptr.hpp>
#include <utility>

#include "MivoraMac/render/MVPartialRedrawPrivate.h"
#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVRenderSurface.h"

using Mivora::columnsOf;
using Mivora::Float4;
using Mivora::Float4x4;

namespace {

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

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

/// Opaque quads are drawn as blended ones among these, which changes no pixel, where a further call
/// would cost more than reading the pixels they cover: while they are few and small.
constexpr int kMostOpaque = 8;
constexpr float kMostOpaqueArea = 64 * 64;

/// Drawing from several textures, or with two ways of blending, costs more for each pixel, which a
/// call less makes up for only where there are few.
constexpr float kMostJoinedArea = 64 * 64;

bool isLarge(Mivora::Size2 size) {
    return size.width * size.height > kMostJoinedArea;
}

bool mayBeBlended(Mivora::Size2 size, Mivora::ColorRGBA color) {
    return color.alpha == 1.0F && std::abs(size.width * size.height) <= kMostOpaqueArea;
}

GLuint bitOf(std::uint8_t level) {
    return 1U << (level % 32U);
}

}  // namespace

/// As `MVQuadBlend`, and what covers two of its values.
enum class MVQuadBatch::Blending : std::uint8_t {
    Off,
    Straight,
    Premultiplied,
    OfEachQuad,  ///< as the vertices say: straight or premultiplied
};

/// A call, or few, once the vertices are there.
struct MVQuadBatch::Command {
    enum class Kind : std::uint8_t {
        Color,
        Texture,
        BeginStencil,
        BeginKnownStencil,  ///< as `BeginStencil`, where what is in the plane will be taken back
        InvertStencil,      ///< What follows changes where it is drawn once.
        CleanStencil,
        ShapeStencil,  ///< after `CleanStencil`
        LimitToStencil,
        EndStencil,
    };

    Kind kind = Kind::Color;
    Blending blending = Blending::Off;
    std::uint8_t level = 0;
    std::uint8_t textures = 0;       ///< As many of `textures_`, one a unit,
    std::uint32_t firstTexture = 0;  ///< from here on,
    std::uint32_t mostTexture = 0;   ///< and none of a larger name.
    std::int32_t firstVertex = 0;
    std::int32_t quads = 0;
    std::int32_t opaque = 0;  ///< The last of them, if they may be blended all the same.
    bool hasLarge = false;    ///< Whether one of them is large.

    static Blending blendingOf(MVQuadBlend blend) {
        return blend == MVQuadBlend::Off        ? Blending::Off
               : blend == MVQuadBlend::Straight ? Blending::Straight
                                                : Blending::Premultiplied;
    }
    /// Whether a further quad could be a part of it.
    bool continues(Kind wanted, std::int32_t vertex) const {
        return kind == wanted && firstVertex + 4 * quads == vertex &&
               quads < static_cast<std::int32_t>(MVQuadStream::kMostQuads);
    }
};

MVQuadBatch::MVQuadBatch() : blending_(Blending::Off) {}

MVQuadBatch::~MVQuadBatch() = default;

bool MVQuadBatch::makeObjects() {
    if (!stream_.isCreated() && !isRefused()) {
        const GLint buffer = integer(GL_ARRAY_BUFFER_BINDING);
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
    frame_.reset();
    if (stream_.isCreated()) {
        stream_.destroy();
    }
    programs_.destroy();
}

void MVQuadBatch::draw(std::span<const MVQuadEntry> entries) {
    if (frame_ == nullptr) {
        noteOtherWork();
    } else if (frame_->take(entries)) {
        return;
    }
    drawAtOnce(entries);
}

void MVQuadBatch::setFrame(std::shared_ptr<MVPartialRedraw> frame) {
    frame_ = std::move(frame);
}

void MVQuadBatch::otherWorkComes() {
    noteOtherWork();
    contextComes(nullptr);
}

void MVQuadBatch::noteOtherWork() {
    ++otherWork_;
    if (behind_.empty()) {
        return;
    }
    for (const auto& weak : std::exchange(behind_, {})) {
        if (const auto frames = weak.lock()) {
            frames->catchUp();
        }
    }
}

void MVQuadBatch::expectCatchUp(const std::shared_ptr<MVPartialRedraw>& frames) {
    std::erase_if(behind_, [&frames](const auto& weak) {
        const auto other = weak.lock();
        return other == nullptr || other == frames;
    });
    behind_.push_back(frames);
}

void MVQuadBatch::contextComes(const MVPartialRedraw* frames) {
    if (frame_ != nullptr && frame_.get() != frames) {
        frame_->giveUp();
    }
}

void MVQuadBatch::drawAtOnce(std::span<const MVQuadEntry> entries) {
    if (entries.empty()) {
        return;
    }
    std::size_t next = 0;
    if (makeObjects()) {
        if (mayHaveStencils_.load(std::memory_order_relaxed)) {
            entries = groups_.merged(entries, projection_);
        }
        enterState();
        while (next < entries.size() && stream_.map()) {
            while (next < entries.size() && append(entries.subspan(next))) {
                ++next;
            }
            stream_.unmap();
            issueCommands();
        }
        if (next != 0 && next < entries.size() &&
            entries[next - 1].kind == MVQuadEntry::Kind::Quad) {
            const MVQuadEntry& last = entries[next - 1];
            rememberUse(last, product(projection_, columnsOf(last.matrix)));
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
    blendingKnown_ = false;
    program_ = 0;
    activeUnit_ = -1;
    units_ = 0;
    uses_.clear();
    lastUse_ = 0;
    texturesUsed_ = false;
    lastBlend_ = MVQuadBlend::Off;
    rebuilt_ = false;
    arrayBufferBefore_ = integer(GL_ARRAY_BUFFER_BINDING);
    glBindBuffer(GL_ARRAY_BUFFER, stream_.vertexBuffer());
}

void MVQuadBatch::leaveState() {
    active_ = false;
    stream_.endRun();
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
    if (!depthTestOff_) {
        glDisable(GL_DEPTH_TEST);
    }
    if (lastBlend_ != MVQuadBlend::Off) {
        setBlendFunction(lastBlend_);
    }
    glDisable(GL_BLEND);
    if (texturesUsed_) {
        restoreTextures();
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

/// Writes the vertices of the first of the entries left and adds to the commands.
/// @return false where it has to be called again once there is room
bool MVQuadBatch::append(std::span<const MVQuadEntry> entries) {
    const MVQuadEntry& entry = entries.front();
    const auto add = [this, &entry](Command::Kind kind) {
        commands_.push_back({.kind = kind, .level = entry.stencilLevel});
    };
    switch (entry.kind) {
        case MVQuadEntry::Kind::Quad:
            return appendQuad(entries);
        case MVQuadEntry::Kind::Projection:
            projection_ = columnsOf(entry.matrix);
            break;
        case MVQuadEntry::Kind::BeginStencil:
        case MVQuadEntry::Kind::BeginStencils:
            return appendBegin(entries);
        case MVQuadEntry::Kind::LimitToStencil:
            if (shapeCount_ != 0) {
                shapes_[shapeCount_ - 1].isWriting = false;
            }
            add(Command::Kind::LimitToStencil);
            break;
        case MVQuadEntry::Kind::EndStencil:
            appendEnd(entry.stencilLevel);
            break;
        case MVQuadEntry::Kind::Unseen:
            if (entry.program.name != 0) {
                rememberUse(entry, product(projection_, columnsOf(entry.matrix)));
            }
            break;
    }
    return true;
}

bool MVQuadBatch::appendQuad(std::span<const MVQuadEntry> entries) {
    const MVQuadEntry& entry = entries.front();
    const Float4x4 matrix = product(projection_, columnsOf(entry.matrix));
    Shape* const shape = shapeCount_ != 0 && shapes_[shapeCount_ - 1].isWriting
                             ? &shapes_[shapeCount_ - 1]
                             : nullptr;
    const bool textured = entry.program.samplerUniform >= 0;
    // No pixel of a shape is seen.
    const bool emitted = shape != nullptr ? emitColor(matrix, entry.size, Mivora::ColorRGBA::kWhite,
                                                      MVQuadBlend::Off)
                         : textured       ? emitTexture(matrix, entry)
                                          : emitColor(matrix, entry.size, entry.tint, entry.blend);
    if (!emitted) {
        return false;
    }
    if (isLastUse(entries)) {
        rememberUse(entry, matrix);
    } else {
        rememberState(entry);
    }
    if (shape != nullptr) {
        shape->quads.push_back({matrix, entry.size});
    }
    return true;
}

/// Begins a shape, or several, and takes back what the plane still holds.
bool MVQuadBatch::appendBegin(std::span<const MVQuadEntry> entries) {
    const std::uint8_t level = entries.front().stencilLevel;
    const Shape* const held = (shapedPlanes_ & bitOf(level)) != 0 ? &heldShapes_[level] : nullptr;
    if (held != nullptr && !stream_.hasRoom<MVColorVertex>(held->quads.size())) {
        return false;
    }
    const auto add = [this, level](Command::Kind kind) {
        commands_.push_back({.kind = kind, .level = level});
    };
    const auto takeBack = [this, held] {
        for (const ShapeQuad& quad : held->quads) {
            emitColor(quad.matrix, quad.size, Mivora::ColorRGBA::kWhite, MVQuadBlend::Off);
        }
    };
    Shape& shape = beginShape();
    shape.isInverted = canInvert(entries);
    const bool together = held != nullptr && held->isInverted && shape.isInverted;
    add(held != nullptr ? Command::Kind::BeginKnownStencil : Command::Kind::BeginStencil);
    if (held != nullptr && !together) {
        add(Command::Kind::CleanStencil);
        takeBack();
        add(Command::Kind::ShapeStencil);
    }
    if (shape.isInverted) {
        add(Command::Kind::InvertStencil);
    }
    if (together) {
        takeBack();
    }
    shapedPlanes_ &= ~bitOf(level);
    return true;
}

/// Whether what begins with the first entry can be written by inverting a clean plane, and so taken
/// back by inverting it once more: quads with pixels that belong to exactly one of their triangles.
/// None may cover what counts of another.
bool MVQuadBatch::canInvert(std::span<const MVQuadEntry> entries) const {
    const bool areSeveral = entries.front().kind == MVQuadEntry::Kind::BeginStencils;
    std::size_t count = 1;
    for (; count < entries.size() && entries[count].kind == MVQuadEntry::Kind::Quad; ++count) {
        const Float4x4 matrix = product(projection_, columnsOf(entries[count].matrix));
        const auto box = MVQuadBox::of(matrix, entries[count].size);
        if ((count > 1 && !areSeveral) || !box || box->isClipped) {
            return false;
        }
    }
    return count < entries.size() && entries[count].kind == MVQuadEntry::Kind::LimitToStencil;
}

/// Whether the first entry left leaves its uniforms, rather than the one after it its own.
bool MVQuadBatch::isLastUse(std::span<const MVQuadEntry> entries) {
    return entries.size() == 1 || entries[1].kind != MVQuadEntry::Kind::Quad ||
           entries[1].program != entries[0].program;
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
    rememberState(entry);
}

void MVQuadBatch::rememberState(const MVQuadEntry& entry) {
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
    std::int32_t first = 0;
    auto* const vertices = stream_.quad<MVColorVertex>(first);
    if (vertices == nullptr) {
        return false;
    }
    writePositions(vertices, matrix, size);
    for (int i = 0; i < 4; ++i) {
        vertices[i].color = vectorOf(color);
    }
    if (commands_.empty() || !commands_.back().continues(Command::Kind::Color, first) ||
        !joinColors(commands_.back(), size, color, blend)) {
        commands_.push_back({.kind = Command::Kind::Color,
                             .blending = Command::blendingOf(blend),
                             .firstVertex = first,
                             .quads = 1,
                             .opaque = mayBeBlended(size, color) ? 1 : 0});
    }
    return true;
}

/// Makes a quad part of what is drawn by the last call.
/// @return whether it can be
bool MVQuadBatch::joinColors(Command& last, Mivora::Size2 size, Mivora::ColorRGBA color,
                             MVQuadBlend blend) {
    const Blending blending = Command::blendingOf(blend);
    const bool mayChange = mayBeBlended(size, color);
    if (last.blending != blending) {
        if (blending == Blending::Off) {
            if (!mayChange || last.opaque == kMostOpaque) {
                return false;
            }
        } else if (last.opaque == last.quads && last.quads <= kMostOpaque) {
            last.blending = blending;
        } else {
            return false;
        }
    }
    ++last.quads;
    last.opaque = mayChange ? last.opaque + 1 : 0;
    return true;
}

bool MVQuadBatch::emitTexture(const Float4x4& matrix, const MVQuadEntry& entry) {
    std::int32_t first = 0;
    auto* const vertices = stream_.quad<MVTextureVertex>(first);
    if (vertices == nullptr) {
        return false;
    }
    std::uint32_t unit = 0;
    if (commands_.empty() || !commands_.back().continues(Command::Kind::Texture, first) ||
        !joinTextures(commands_.back(), entry, unit)) {
        commands_.push_back({.kind = Command::Kind::Texture,
                             .blending = Command::blendingOf(entry.blend),
                             .textures = 1,
                             .firstTexture = static_cast<std::uint32_t>(textures_.size()),
                             .mostTexture = entry.texture,
                             .firstVertex = first,
                             .quads = 1,
                             .hasLarge = isLarge(entry.size)});
        textures_.push_back(entry.texture);
        unit = 0;
    }
    writePositions(vertices, matrix, entry.size);
    const Mivora::Rect2 part = entry.textureCoordinates;
    const float right = part.origin.x + part.size.width;
    const float bottom = part.origin.y + part.size.height;
    const Float4 tint = vectorOf(entry.tint);
    const std::uint32_t premultiplied = entry.blend == MVQuadBlend::Premultiplied ? 1 : 0;
    for (int i = 0; i < 4; ++i) {
        vertices[i].tint = tint;
        vertices[i].u = (i & 1) != 0 ? right : part.origin.x;
        vertices[i].v = (i & 2) != 0 ? bottom : part.origin.y;
        vertices[i].unit = unit;
        vertices[i].premultiplied = premultiplied;
    }
    return true;
}

/// Makes a quad part of what is drawn by the last call.
/// @param unit  set to that of its texture
/// @return whether it can be
bool MVQuadBatch::joinTextures(Command& last, const MVQuadEntry& entry, std::uint32_t& unit) {
    const Blending blending = Command::blendingOf(entry.blend);
    const bool blendsAlike = last.blending == blending;
    // Those of the last command are at the end.
    const auto begin = textures_.begin() + last.firstTexture;
    const auto found = entry.texture <= last.mostTexture
                           ? std::find(begin, textures_.end(), entry.texture)
                           : textures_.end();
    const bool staysSingle = blendsAlike && found != textures_.end() && last.textures == 1;
    const bool thisIsLarge = isLarge(entry.size);
    if (!staysSingle && (last.hasLarge || thisIsLarge)) {
        return false;
    }
    if (!blendsAlike || found == textures_.end()) {
        findUnits();
        if (units_ < 2 || blending == Blending::Off || last.blending == Blending::Off) {
            return false;
        }
    }
    unit = static_cast<std::uint32_t>(found - begin);
    if (found == textures_.end()) {
        if (last.textures == units_) {
            return false;
        }
        textures_.push_back(entry.texture);
        last.mostTexture = std::max(last.mostTexture, entry.texture);
        ++last.textures;
    }
    if (!blendsAlike) {
        last.blending = Blending::OfEachQuad;
    }
    last.hasLarge |= thisIsLarge;
    ++last.quads;
    return true;
}

/// Finds out how many texture units can be used, and what is bound to them. A sampler that somebody
/// has bound decides in the texture's place: that of unit 0 would have to be everywhere, and others
/// nowhere.
void MVQuadBatch::findUnits() {
    if (units_ != 0) {
        return;
    }
    units_ = 1;
    if (programs_.textures() == 0) {
        return;
    }
    const GLint active = integer(GL_ACTIVE_TEXTURE);
    glActiveTexture(GL_TEXTURE0);
    if (integer(GL_SAMPLER_BINDING) == 0) {
        for (; units_ < MVQuadPrograms::kMostUnits; ++units_) {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(units_));
            if (integer(GL_SAMPLER_BINDING) != 0) {
                break;
            }
            boundBefore_[units_] = static_cast<std::uint32_t>(integer(GL_TEXTURE_BINDING_2D));
            bound_[units_] = boundBefore_[units_];
        }
    }
    glActiveTexture(static_cast<GLenum>(active));
}

MVQuadBatch::Shape& MVQuadBatch::beginShape() {
    if (shapeCount_ == shapes_.size()) {
        shapes_.emplace_back();
    }
    Shape& shape = shapes_[shapeCount_++];
    shape.quads.clear();
    shape.isWriting = true;
    shape.isKnown = true;
    shape.isInverted = false;
    return shape;
}

/// Leaves it to the next shape to take this one back.
void MVQuadBatch::appendEnd(std::uint8_t level) {
    if (shapeCount_ == 0) {
        return;
    }
    commands_.push_back({.kind = Command::Kind::EndStencil, .level = level});
    Shape& shape = shapes_[--shapeCount_];
    if (!shape.isKnown || shape.quads.size() > MVQuadStream::kLeastQuads) {
        return;  // The next one clears the plane.
    }
    if (heldShapes_.size() <= level) {
        heldShapes_.resize(level + std::size_t{1});
    }
    std::swap(heldShapes_[level], shape);
    shapedPlanes_ |= bitOf(level);
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
            case Command::Kind::BeginKnownStencil:
                beginStencil(command.level, command.kind == Command::Kind::BeginKnownStencil);
                break;
            case Command::Kind::InvertStencil:
                invertStencil();
                break;
            case Command::Kind::ShapeStencil:
                writeShape(command.level);
                break;
            case Command::Kind::LimitToStencil:
                limitToStencil(command.level);
                break;
            case Command::Kind::CleanStencil:
                cleanStencil(command.level);
                break;
            case Command::Kind::EndStencil:
                endStencil();
                break;
        }
    }
    commands_.clear();
    textures_.clear();
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
        bindTextures(command);
        setProgram(command.textures == 1 && command.blending != Blending::OfEachQuad
                       ? programs_.texture()
                       : programs_.textures(),
                   stream_.textureArray());
    }
    setBlending(command.blending);
    if (command.quads == 1) {
        glDrawArrays(GL_TRIANGLE_STRIP, command.firstVertex, 4);
        return;
    }
    glDrawElementsBaseVertex(GL_TRIANGLES, command.quads * kIndicesOfAQuad, GL_UNSIGNED_SHORT,
                             nullptr, command.firstVertex);
}

void MVQuadBatch::bindTextures(const Command& command) {
    for (std::size_t unit = 0; unit < command.textures; ++unit) {
        const std::uint32_t texture = textures_[command.firstTexture + unit];
        const bool known = unit != 0 || activeUnit_ >= 0;
        if (!known || bound_[unit] != texture) {
            if (activeUnit_ != static_cast<std::int32_t>(unit)) {
                glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
                activeUnit_ = static_cast<std::int32_t>(unit);
            }
            glBindTexture(GL_TEXTURE_2D, texture);
            bound_[unit] = texture;
        }
    }
}

/// Leaves the units as if there were but one.
void MVQuadBatch::restoreTextures() {
    const bool isKnown = activeUnit_ >= 0;  // or else nothing textured was seen
    const auto bind = [this, isKnown](std::size_t unit, std::uint32_t texture) {
        if (bound_[unit] != texture || (unit == 0 && !isKnown)) {
            glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
            glBindTexture(GL_TEXTURE_2D, texture);
            activeUnit_ = static_cast<std::int32_t>(unit);
        }
    };
    for (std::size_t unit = 1; unit < units_; ++unit) {
        bind(unit, boundBefore_[unit]);
    }
    bind(0, lastTexture_);
    if (activeUnit_ != 0) {
        glActiveTexture(GL_TEXTURE0);
    }
}

void MVQuadBatch::setProgram(std::uint32_t program, std::uint32_t vertexArray) {
    if (program_ != program) {
        glUseProgram(program);
        glBindVertexArray(vertexArray);
        program_ = program;
    }
}

void MVQuadBatch::setBlending(Blending blending) {
    if (blendingKnown_ && blending_ == blending) {
        return;
    }
    if (blending == Blending::Off) {
        glDisable(GL_BLEND);
    } else {
        glEnable(GL_BLEND);
        if (blending == Blending::OfEachQuad) {
            glBlendFunc(GL_SRC1_COLOR, GL_ONE_MINUS_SRC_ALPHA);
        } else {
            setBlendFunction(blending == Blending::Straight ? MVQuadBlend::Straight
                                                            : MVQuadBlend::Premultiplied);
        }
    }
    blending_ = blending;
    blendingKnown_ = true;
}

// Stencil levels

void MVQuadBatch::forgetStencil() {
    cleanPlanes_ = 0;
    shapedPlanes_ = 0;
    isCleared_ = false;
    isWithinScissor_ = false;
    for (std::size_t i = 0; i < shapeCount_; ++i) {
        shapes_[i].isKnown = false;
    }
}

void MVQuadBatch::stencilCleared() {
    forgetStencil();
    isCleared_ = true;
}

void MVQuadBatch::stencilClearedWithinScissor() {
    stencilCleared();
    isWithinScissor_ = true;
}

/// What a clearing has left clean, from the state that it found and nobody has changed since.
std::uint32_t MVQuadBatch::clearedPlanes(const MVStencilState& state) const {
    GLint value = 0;
    glGetIntegerv(GL_STENCIL_CLEAR_VALUE, &value);
    return value == 0 && (isWithinScissor_ || glIsEnabled(GL_SCISSOR_TEST) == GL_FALSE)
               ? state.writeMask
               : 0;
}

/// @param isKnown  whether the plane holds what will be taken back
void MVQuadBatch::beginStencil(std::uint8_t level, bool isKnown) {
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
    if ((cleanPlanes_ & bit) == 0 && !isKnown) {
        glClear(GL_STENCIL_BUFFER_BIT);
    }
    cleanPlanes_ &= ~bit;
    writeShape(level);
}

/// What is drawn from here on sets its bits.
void MVQuadBatch::writeShape(std::uint8_t level) {
    const GLuint bit = bitOf(level);
    glStencilFunc(GL_NEVER, static_cast<GLint>(bit), bit);
    glStencilOp(GL_REPLACE, GL_KEEP, GL_KEEP);
}

/// What is drawn from here on takes its bits away where they are, and sets them where not.
void MVQuadBatch::invertStencil() {
    glStencilOp(GL_INVERT, GL_KEEP, GL_KEEP);
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
        case MVQuadEntry::Kind::BeginStencils:
            beginShape().isKnown = false;
            shapedPlanes_ &= ~bitOf(entry.stencilLevel);
            beginStencil(entry.stencilLevel, false);
            break;
        case MVQuadEntry::Kind::LimitToStencil:
            limitToStencil(entry.stencilLevel);
            break;
        case MVQuadEntry::Kind::EndStencil:
            shapeCount_ -= shapeCount_ != 0 ? 1 : 0;
            endStencil();
            break;
        case MVQuadEntry::Kind::Unseen:
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

    const GLint arrayBuffer = integer(GL_ARRAY_BUFFER_BINDING);
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
    blendingKnown_ = false;
    setBlending(Command::blendingOf(entry.blend));
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glBindVertexArray(0);
    glDisable(GL_BLEND);

    glBindBuffer(GL_ARRAY_BUFFER, entry.rebuilt ? 0 : static_cast<GLuint>(arrayBuffer));
    glDeleteVertexArrays(1, &array);
    glDeleteBuffers(1, &buffer);
}
