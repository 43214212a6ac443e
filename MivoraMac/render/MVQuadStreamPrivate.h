#pragma once

#include <cstddef>
#include <cstdint>

#include "MivoraMac/geometry/Float4Private.h"

/// The vertices of a quad that is drawn in one colour.
struct MVColorVertex {
    Mivora::Float4 position;  ///< in clip space, so that clipping and perspective stay the driver's
    Mivora::Float4 color;
};

/// The vertices of a textured quad.
struct MVTextureVertex {
    Mivora::Float4 position;
    Mivora::Float4 tint;
    float u;
    float v;
    std::uint32_t unit;  ///< the texture unit
    /// What the source is multiplied with where blending is that of each quad: its alpha (0) or one
    /// (1).
    std::uint32_t premultiplied;
};

/// The vertices of drawn quads on their way to GL: one buffer that is written from its start to its
/// end and then replaced, so that nobody waits for what was drawn from it.
///
/// Thread: the GL queue's, with the context that made it current.
class MVQuadStream {
 public:
    /// As many quads can be drawn by one call.
    static constexpr std::size_t kMostQuads = 2048;
    /// There is room for as many after `map`.
    static constexpr std::size_t kLeastQuads = 256;

    /// Makes the GL objects. Binds no array, and leaves the buffer bound to GL_ARRAY_BUFFER.
    void create();
    /// Deletes them. For a context with no array bound.
    void destroy();
    bool isCreated() const { return vertexBuffer_ != 0; }

    /// Makes room for vertices. The buffer has to be bound to GL_ARRAY_BUFFER.
    /// @return false where the driver gives none
    bool map();
    /// Takes the place of four vertices of a kind.
    /// @param first  set to where they begin, in such vertices
    /// @return null where there is no room for them
    template <class Vertex>
    Vertex* quad(std::int32_t& first) {
        const std::size_t index = nextIndex<Vertex>();
        const std::size_t end = (index + 4) * sizeof(Vertex);
        if (end > kSize) {
            return nullptr;
        }
        used_ = end;
        first = static_cast<std::int32_t>(index);
        return reinterpret_cast<Vertex*>(mapped_ + (index * sizeof(Vertex) - mappedFrom_));
    }
    /// Whether `quad` would answer with a place, so many times.
    template <class Vertex>
    bool hasRoom(std::size_t quads = 1) const {
        return (nextIndex<Vertex>() + 4 * quads) * sizeof(Vertex) <= kSize;
    }
    /// Hands the vertices over; they can be drawn from here on.
    void unmap();
    /// Before anything else is done than to draw from the arrays.
    void endRun() { lot_ = 0; }

    /// The arrays to bind for drawing with a kind of vertices; `quads` are drawn as triangles with
    /// six indices each.
    std::uint32_t colorArray() const { return colorArray_; }
    std::uint32_t textureArray() const { return textureArray_; }
    std::uint32_t vertexBuffer() const { return vertexBuffer_; }

 private:
    /// Where the next vertex of a kind can lie, in such vertices.
    template <class Vertex>
    std::size_t nextIndex() const {
        return (used_ + sizeof(Vertex) - 1) / sizeof(Vertex);
    }

    /// Room for some 4,000 coloured quads.
    static constexpr std::size_t kSize = std::size_t{512} * 1024;
    /// With less room left, the buffer starts over.
    static constexpr std::size_t kLeast = std::size_t{64} * 1024;
    static_assert((kLeastQuads * 4 + 1) * sizeof(MVTextureVertex) <= kLeast);

    std::uint32_t vertexBuffer_ = 0;
    std::uint32_t indexBuffer_ = 0;
    std::uint32_t colorArray_ = 0;
    std::uint32_t textureArray_ = 0;
    std::byte* mapped_ = nullptr;
    std::size_t mappedFrom_ = 0;
    std::size_t used_ = kSize;
    bool collects_ = false;  ///< Whether the rasterizer begins only when it has to.
    std::size_t lot_ = 0;    ///< As many bytes it has collected at least.
};
