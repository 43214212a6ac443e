#include <epoxy/gl.h>

#include <array>
#include <cstddef>
#include <utility>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/render/MVQuadRecorderPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "MivoraMac/views/MVQuadPrivate.h"

namespace {

constexpr GLsizei kVertexCount = 4;

/// The most that four vertices take.
using VertexData = std::array<float, kVertexCount * 4>;

}  // namespace

std::ptrdiff_t MVQuad::dataSize(Vertices vertices) {
    return vertices == Vertices::Position ? 32 : 64;
}

void MVQuad::pointAttributes(Vertices vertices) {
    const bool textured = vertices == Vertices::PositionAndTexCoord;
    const GLsizei stride = textured ? 16 : 0;
    glEnableVertexAttribArray(MVShaderAttributeSlotPosition);
    glVertexAttribPointer(MVShaderAttributeSlotPosition, 2, GL_FLOAT, GL_FALSE, stride, nullptr);
    if (textured) {
        constexpr std::uintptr_t kTexCoordOffset = 8;
        glEnableVertexAttribArray(MVShaderAttributeSlotTexCoord);
        glVertexAttribPointer(MVShaderAttributeSlotTexCoord, 2, GL_FLOAT, GL_FALSE, stride,
                              reinterpret_cast<const void*>(kTexCoordOffset));
    }
}

MVQuad::MVQuad(Vertices vertices)
    : context_(MVRenderContext::mv_drawingContext()), vertices_(vertices) {
    if (context_ && !context_->isBatching()) {
        makeNames();
    }
}

MVQuad::~MVQuad() {
    if (!names_) {
        return;
    }
    context_->mv_group()->dispatch([names = std::move(*names_)] {
        if (names->vertexArray != 0) {
            glBindVertexArray(0);
            glDeleteVertexArrays(1, &names->vertexArray);
        }
        if (names->vertexBuffer != 0) {
            glBindBuffer(GL_ARRAY_BUFFER, 0);
            glDeleteBuffers(1, &names->vertexBuffer);
        }
    });
}

/// Makes the array and the buffer, with all vertices at zero.
void MVQuad::makeNames() {
    names_ = std::make_unique<std::shared_ptr<Names>>(std::make_shared<Names>());
    context_->dispatchBlock([names = *names_, vertices = vertices_] {
        glGenVertexArrays(1, &names->vertexArray);
        glBindVertexArray(names->vertexArray);
        glGenBuffers(1, &names->vertexBuffer);
        glBindBuffer(GL_ARRAY_BUFFER, names->vertexBuffer);
        const VertexData zeros{};
        glBufferData(GL_ARRAY_BUFFER, dataSize(vertices), zeros.data(), GL_DYNAMIC_DRAW);
        pointAttributes(vertices);
        glBindVertexArray(0);
    });
    uploaded_ = builtSize_ == Mivora::Size2::kZero;
}

void MVQuad::setSize(Mivora::Size2 size) {
    if (builtSize_ != size) {
        dirty_ = true;
    }
}

/// As they were built last.
const Mivora::Rect2& MVQuad::textureCoordinates() const {
    return hasTextureCoordinates()
               ? static_cast<const MVTextureQuad*>(this)->builtTextureCoordinates_
               : Mivora::Rect2::kZero;
}

void MVTextureQuad::build(Mivora::Size2 size, Mivora::Rect2 textureCoordinates) {
    if (isDirty()) {
        builtTextureCoordinates_ = textureCoordinates;
        MVQuad::build(size);
    }
}

void MVQuad::build(Mivora::Size2 size) {
    if (!dirty_) {
        return;
    }
    builtSize_ = size;
    dirty_ = false;
    rebuilt_ = true;
    uploaded_ = false;
    if (context_ && !context_->isBatching()) {
        upload();
    }
}

/// Rewrites the buffer, which is made if need be.
void MVQuad::upload() {
    if (!names_) {
        makeNames();
    }
    const float w = builtSize_.width;
    const float h = builtSize_.height;
    VertexData data{};
    if (!hasTextureCoordinates()) {
        data = {0, 0, w, 0, 0, h, w, h};
    } else {
        const Mivora::Rect2& part = textureCoordinates();
        const float left = part.origin.x;
        const float top = part.origin.y;
        const float right = left + part.size.width;
        const float bottom = top + part.size.height;
        data = {0, 0, left, top, w, 0, right, top, 0, h, left, bottom, w, h, right, bottom};
    }
    context_->dispatchBlock([names = *names_, vertices = vertices_, data] {
        glBindBuffer(GL_ARRAY_BUFFER, names->vertexBuffer);
        glBufferData(GL_ARRAY_BUFFER, dataSize(vertices), data.data(), GL_DYNAMIC_DRAW);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
    });
    uploaded_ = true;
}

void MVQuad::drawColor(const std::shared_ptr<MVShaderPositionUniformColor>& shader,
                       Mivora::ColorRGBA color, Blend blend) {
    MVQuadProgram program;
    if (!shader ||
        (shader->mv_readQuadProgram(program) && record(shader, program, color, 0, blend))) {
        return;
    }
    shader->use();
    shader->setColor(color);
    draw(blend);
}

void MVQuad::drawImage(const std::shared_ptr<MVShaderPositionTextureUniformColor>& shader,
                       const std::shared_ptr<MVImage>& image, float opacity) {
    if (!shader || !image) {
        return;
    }
    const bool premultiplied = image->premultipliedAlpha();
    const Mivora::ColorRGBA color = tint(premultiplied, opacity);
    MVQuadProgram program;
    if (shader->mv_readQuadProgram(program) &&
        record(shader, program, color, textureOf(*image), blendOf(premultiplied))) {
        return;
    }
    shader->use();
    image->use();
    shader->setColor(color);
    draw(blendOf(premultiplied));
}

bool MVQuad::sharesObjectsWith(const MVRenderContext& context) const {
    return context_->mv_group() == context.mv_group();
}

std::uint32_t MVQuad::textureOf(const MVImage& image) const {
    return context_ ? image.mv_textureIn(context_->mv_group().get()) : 0;
}

/// @return false where nothing is recorded at present
bool MVQuad::record(const std::shared_ptr<MVShader>& shader, const MVQuadProgram& program,
                    Mivora::ColorRGBA tint, std::uint32_t texture, Blend blend) {
    MVQuadRecorder* const recorder = MVQuadRecorder::recording();
    if (recorder == nullptr || !isDrawableOn(recorder->context())) {
        return false;
    }
    glm::mat4 projection(0.0F);
    glm::mat4 transform(0.0F);
    MVShader::mv_readQuadMatrices(projection, transform);
    MVQuadRecorder::Run run(*recorder, projection);
    if (!run.setShader(shader)) {
        return false;
    }
    MVQuadEntry& entry = run.next();
    entry.matrix = transform;
    write(entry, program, tint, texture, blend);
    run.add();
    return true;
}

void MVQuad::write(MVQuadEntry& entry, const MVQuadProgram& program, Mivora::ColorRGBA tint,
                   std::uint32_t texture, Blend blend) {
    entry.tint = tint;
    entry.textureCoordinates = textureCoordinates();
    entry.size = builtSize_;
    entry.program = program;
    entry.texture = texture;
    entry.blend = blend;
    entry.rebuilt = std::exchange(rebuilt_, false);
}

Mivora::ColorRGBA MVQuad::tint(bool premultiplied, float opacity) {
    return premultiplied ? Mivora::ColorRGBA{opacity, opacity, opacity, opacity}
                         : Mivora::ColorRGBA{1.0F, 1.0F, 1.0F, opacity};
}

void MVQuad::draw(Blend blend) {
    if (!context_) {
        return;
    }
    if (!names_) {
        makeNames();
    }
    if (!uploaded_) {
        upload();
    }
    context_->dispatchBlock([names = *names_, blend] {
        glDisable(GL_DEPTH_TEST);
        if (blend == Blend::Off) {
            glDisable(GL_BLEND);
        } else {
            glEnable(GL_BLEND);
            glBlendFunc(blend == Blend::Premultiplied ? GL_ONE : GL_SRC_ALPHA,
                        GL_ONE_MINUS_SRC_ALPHA);
        }
        glBindVertexArray(names->vertexArray);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, kVertexCount);
        glBindVertexArray(0);
        glDisable(GL_BLEND);
    });
}
