#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"

class MVImage;
class MVRenderContext;
class MVShader;
class MVShaderPositionTextureUniformColor;
class MVShaderPositionUniformColor;

/// The rectangle that a view draws: four vertices in the order of a triangle strip, (0, 0),
/// (width, 0), (0, height), (width, height), rewritten only when it was marked.
///
/// During a drawing visit, a drawing with a standard shader is recorded as one value, and the
/// vertices are those of all quads that are drawn together. Only where a drawing is played call by
/// call, as with other shaders or while batching is off, the quad has a vertex array and a buffer
/// of its own.
///
/// How a view draws with it:
/// - `setSize3` tells it the size with `setSize`;
/// - `draw` first calls `build`, then one of: `drawColor`; `drawImage`; or, with a shader that is
///   not a standard one, `use` on the shader and on the image, what the shader wants set (its
///   colour is `tint`), and `draw` with `blendOf`.
///
/// The GL objects live on the queue of the context that is active at creation, and die there.
/// Without one, or with one that has no GL, nothing is drawn. Thread: main.
class MIVORA_EXPORT MVQuad {
 public:
    using Blend = MVQuadBlend;

    /// Begins with all vertices, which are positions, at zero and unmarked.
    MVQuad() : MVQuad(Vertices::Position) {}
    /// Not virtual: a textured quad is owned as such.
    ~MVQuad();
    MVQuad(const MVQuad&) = delete;
    MVQuad& operator=(const MVQuad&) = delete;

    /// The context whose queue the quad draws on, or null.
    const std::shared_ptr<MVRenderContext>& context() const { return context_; }
    /// Whether it can be drawn on that context as well as on its own: they share objects.
    bool isDrawableOn(const MVRenderContext& context) const {
        return context_.get() == &context || (context_ && sharesObjectsWith(context));
    }

    /// Marks the vertices if `size` is not the size they were last built for.
    void setSize(Mivora::Size2 size);

    /// Marks the vertices.
    void setDirty() { dirty_ = true; }
    bool isDirty() const { return dirty_; }

    /// Rewrites the vertices if they are marked.
    /// @param size  in points
    void build(Mivora::Size2 size);

    /// Queues the drawing of the view at hand in one colour: uses the shader, gives it the colour
    /// and draws. Null draws nothing.
    /// @param color  straight alpha, with the opacity in it
    void drawColor(const std::shared_ptr<MVShaderPositionUniformColor>& shader,
                   Mivora::ColorRGBA color, Blend blend);

    /// Queues the drawing of the view at hand with an image: uses shader and image, gives the
    /// shader the tint and draws, blended. Null for either draws nothing.
    /// @param opacity  of the view, with that of those above it
    void drawImage(const std::shared_ptr<MVShaderPositionTextureUniformColor>& shader,
                   const std::shared_ptr<MVImage>& image, float opacity);

    /// Writes a recorded drawing of the quad but for its matrix, for one who records it himself.
    void write(MVQuadEntry& entry, const MVQuadProgram& program, Mivora::ColorRGBA tint,
               std::uint32_t texture, Blend blend);
    bool sharesObjectsWith(const MVRenderContext& context) const;
    /// The name of an image's texture, as the quad's context knows it.
    std::uint32_t textureOf(const MVImage& image) const;

    /// Queues the drawing with what is bound by then. Leaves blending off and no array bound.
    void draw(Blend blend);

    /// What a texture is multiplied with for an opacity, and how the result is blended; the colours
    /// of a premultiplied one fade with their alpha.
    static Mivora::ColorRGBA tint(bool premultiplied, float opacity);
    static Blend blendOf(bool premultiplied) {
        return premultiplied ? Blend::Premultiplied : Blend::Straight;
    }

 protected:
    /// What a vertex consists of, in floats, tightly packed.
    enum class Vertices : std::uint8_t {
        Position,             ///< x, y
        PositionAndTexCoord,  ///< x, y, u, v; of an `MVTextureQuad`
    };

    explicit MVQuad(Vertices vertices);

 private:
    struct Names {
        std::uint32_t vertexArray = 0;
        std::uint32_t vertexBuffer = 0;
    };

    bool hasTextureCoordinates() const { return vertices_ == Vertices::PositionAndTexCoord; }
    const Mivora::Rect2& textureCoordinates() const;
    static std::ptrdiff_t dataSize(Vertices vertices);
    static void pointAttributes(Vertices vertices);
    void makeNames();
    void upload();
    bool record(const std::shared_ptr<MVShader>& shader, const MVQuadProgram& program,
                Mivora::ColorRGBA tint, std::uint32_t texture, Blend blend);

    std::shared_ptr<MVRenderContext> context_;
    /// Null until something is played, as for most quads it never is. Shared with the queue.
    std::unique_ptr<std::shared_ptr<Names>> names_;
    Mivora::Size2 builtSize_ = Mivora::Size2::kZero;
    const Vertices vertices_;
    bool dirty_ = false;
    bool rebuilt_ = false;   ///< Since the last recorded drawing.
    bool uploaded_ = false;  ///< The buffer holds what was built.
};

/// A quad whose corners have places in a texture.
class MIVORA_EXPORT MVTextureQuad final : public MVQuad {
 public:
    /// Begins with all vertices at zero and unmarked.
    MVTextureQuad() : MVQuad(Vertices::PositionAndTexCoord) {}

    /// Rewrites the vertices if they are marked.
    /// @param size                in points
    /// @param textureCoordinates  the part of the texture shown, (0, 0, 1, 1) for all of it
    void build(Mivora::Size2 size, Mivora::Rect2 textureCoordinates);

 private:
    friend class MVQuad;

    Mivora::Rect2 builtTextureCoordinates_ = Mivora::Rect2::kZero;
};
