#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"

class MVRenderContext;

/// The rectangle that a view draws: a vertex array over one buffer with four vertices in the order
/// of a triangle strip, (0, 0), (width, 0), (0, height), (width, height), rewritten only when it
/// was marked.
///
/// The GL objects live on the queue of the context that is active at creation, and die there.
/// Without one, or with one that has no GL, nothing is drawn. Thread: main.
class MIVORA_EXPORT MVQuad {
 public:
    /// What a vertex consists of, in floats, tightly packed.
    enum class Vertices {
        Position,             ///< x, y
        PositionAndTexCoord,  ///< x, y, u, v
    };

    /// How drawn colours meet those that are there.
    enum class Blend {
        Off,
        Straight,       ///< source alpha, one minus source alpha
        Premultiplied,  ///< one, one minus source alpha
    };

    /// Begins with all vertices at zero and unmarked.
    explicit MVQuad(Vertices vertices);
    ~MVQuad();
    MVQuad(const MVQuad&) = delete;
    MVQuad& operator=(const MVQuad&) = delete;

    /// The context whose queue the quad draws on, or null.
    const std::shared_ptr<MVRenderContext>& context() const { return context_; }

    /// Marks the vertices if `size` is not the size they were last built for.
    void setSize(Mivora::Size2 size);

    /// Marks the vertices.
    void setDirty() { dirty_ = true; }
    bool isDirty() const { return dirty_; }

    /// Rewrites the vertices if they are marked.
    /// @param size                in points
    /// @param textureCoordinates  the part of the texture shown, (0, 0, 1, 1) for all of it;
    ///                            ignored where vertices have none
    void build(Mivora::Size2 size, Mivora::Rect2 textureCoordinates = Mivora::Rect2::kZero);

    /// Queues the drawing with what is bound by then. Leaves blending off and no array bound.
    void draw(Blend blend) const;

 private:
    struct Names {
        std::uint32_t vertexArray = 0;
        std::uint32_t vertexBuffer = 0;
    };

    std::shared_ptr<MVRenderContext> context_;
    std::shared_ptr<Names> names_;
    Mivora::Size2 builtSize_ = Mivora::Size2::kZero;
    Vertices vertices_;
    bool dirty_ = false;
};
