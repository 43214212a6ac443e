#include <epoxy/gl.h>

#include <vector>

#include "MivoraMac/platform/gl/SoftwareRasterizerPrivate.h"
#include "MivoraMac/render/MVQuadProgramsPrivate.h"
#include "MivoraMac/render/MVQuadStreamPrivate.h"

namespace {

const void* offset(std::size_t bytes) {
    return reinterpret_cast<const void*>(bytes);
}

template <class Vertex>
void pointFloats(GLuint slot, GLint count, std::size_t at) {
    glEnableVertexAttribArray(slot);
    glVertexAttribPointer(slot, count, GL_FLOAT, GL_FALSE, sizeof(Vertex), offset(at));
}

}  // namespace

void MVQuadStream::create() {
    glGenBuffers(1, &vertexBuffer_);
    glGenBuffers(1, &indexBuffer_);
    glGenVertexArrays(1, &colorArray_);
    glGenVertexArrays(1, &textureArray_);
    used_ = kSize;
    collects_ = Mivora::platform::isLlvmpipe();

    // The two triangles of a strip of four vertices, with the winding they have there.
    std::vector<std::uint16_t> indices;
    indices.reserve(kMostQuads * 6);
    for (std::size_t quad = 0; quad < kMostQuads; ++quad) {
        for (const std::size_t corner : {0, 1, 2, 2, 1, 3}) {
            indices.push_back(static_cast<std::uint16_t>(quad * 4 + corner));
        }
    }
    glBindVertexArray(colorArray_);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer_);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(indices.size() * sizeof(indices[0])), indices.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, vertexBuffer_);
    pointFloats<MVColorVertex>(MVQuadPrograms::kPosition, 4, offsetof(MVColorVertex, position));
    pointFloats<MVColorVertex>(MVQuadPrograms::kColor, 4, offsetof(MVColorVertex, color));
    glBindVertexArray(textureArray_);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indexBuffer_);
    pointFloats<MVTextureVertex>(MVQuadPrograms::kPosition, 4, offsetof(MVTextureVertex, position));
    pointFloats<MVTextureVertex>(MVQuadPrograms::kColor, 4, offsetof(MVTextureVertex, tint));
    pointFloats<MVTextureVertex>(MVQuadPrograms::kTexCoord, 2, offsetof(MVTextureVertex, u));
    glEnableVertexAttribArray(MVQuadPrograms::kSource);
    glVertexAttribIPointer(MVQuadPrograms::kSource, 2, GL_UNSIGNED_INT, sizeof(MVTextureVertex),
                           offset(offsetof(MVTextureVertex, unit)));
    glBindVertexArray(0);
}

void MVQuadStream::destroy() {
    glDeleteVertexArrays(1, &colorArray_);
    glDeleteVertexArrays(1, &textureArray_);
    glDeleteBuffers(1, &vertexBuffer_);
    glDeleteBuffers(1, &indexBuffer_);
    colorArray_ = textureArray_ = vertexBuffer_ = indexBuffer_ = 0;
    lot_ = 0;
}

bool MVQuadStream::map() {
    // llvmpipe collects triangles, some 200 bytes each, until somebody needs the picture, and keeps
    // that memory until it collects in the same place again: however many quads follow each other,
    // it gets as many at a time as the buffer holds. Frames of fewer are left whole.
    if (collects_ && lot_ + kLeast > kSize) {
        glFinish();
        lot_ = 0;
    }
    if (used_ + kLeast > kSize) {
        glBufferData(GL_ARRAY_BUFFER, kSize, nullptr, GL_STREAM_DRAW);
        used_ = 0;
    }
    mappedFrom_ = used_;
    mapped_ = static_cast<std::byte*>(glMapBufferRange(
        GL_ARRAY_BUFFER, static_cast<GLintptr>(used_), static_cast<GLsizeiptr>(kSize - used_),
        GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_RANGE_BIT | GL_MAP_UNSYNCHRONIZED_BIT |
            GL_MAP_FLUSH_EXPLICIT_BIT));
    return mapped_ != nullptr;
}

void MVQuadStream::unmap() {
    if (used_ > mappedFrom_) {
        glFlushMappedBufferRange(GL_ARRAY_BUFFER, 0, static_cast<GLsizeiptr>(used_ - mappedFrom_));
    }
    glUnmapBuffer(GL_ARRAY_BUFFER);
    lot_ += used_ - mappedFrom_;
    mapped_ = nullptr;
}
