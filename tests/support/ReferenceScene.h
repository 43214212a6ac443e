#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Size.h"

namespace Mivora::tests {

/// A view as plain numbers: what the library's views are made from, and what the reference draws.
struct SceneView {
    /// For `stencilName` of another view; may be empty.
    std::string name{};
    /// The fill; none for a view that only holds others.
    std::optional<ColorRGBA> color{};
    Point3 position = Point3::kZero;
    Size3 size = Size3::kZero;
    Point3 rotation = Point3::kZero;  ///< radians about x, y and z
    float scale = 1.0F;
    Point3 anchor = Point3::kZero;  ///< as a fraction of the size
    Point3 localOrigin = Point3::kZero;
    std::int32_t coordinateSystem = 0;
    float opacity = 1.0F;
    bool hidden = false;
    std::vector<SceneView> subviews{};
    /// None or one: a stencil view that is on nobody's list of subviews.
    std::vector<SceneView> stencil{};
    /// Instead of `stencil`: the view anywhere in the scene that is the stencil view.
    std::string stencilName{};

    /// The stencil view that `stencil` gives, made if there is none.
    SceneView& ownStencil();

    /// Adds a subview in front of the others. What is returned stays valid until the next one is
    /// added.
    SceneView& add(SceneView view);
};

/// A window and everything in it. Size, placement and opacity are those of `root`.
struct Scene {
    SceneView root;
    float fieldOfView = 1.0471976F;
    float nearDistance = 150.0F;
    float farDistance = 150.0F;
    ColorRGBA background{0.1F, 0.1F, 0.1F, 1.0F};

    /// An empty window of a size, whose centre is what the camera looks at.
    explicit Scene(Size2 size);

    /// Adds a view to the window, as `SceneView::add` does.
    SceneView& add(SceneView view) { return root.add(std::move(view)); }
};

/// What a scene ought to look like, with hard edges, computed in double precision from the
/// definition of each step and without any of the library's code:
/// - matrices as products of elementary ones,
/// - corners projected as lengths over depth, clipped at the near and the far distance,
/// - each pixel's centre tested against each polygon, in painter's order,
/// - stencils as sets of pixels, which nesting intersects.
class ReferencePicture {
 public:
    /// What is known of one pixel.
    struct Pixel {
        std::array<double, 4> color{};  ///< red, green, blue, alpha, 0 to 255 and not rounded
        bool blended = false;           ///< whether the colour comes out of blending
        bool covered = false;           ///< whether any view is seen there
        /// Whether the centre lies within one pixel of an edge: of a view, of a stencil or of
        /// where either is clipped. There, rounding may decide.
        bool nearEdge = false;
    };

    /// @param scale  pixels per point
    ReferencePicture(const Scene& scene, float scale);

    int width() const { return width_; }
    int height() const { return height_; }

    /// @param x  from the left, less than `width`
    /// @param y  from the top, less than `height`
    const Pixel& at(int x, int y) const { return pixels_[index(x, y)]; }

    /// The share of the pixels that are near an edge, 0 to 1.
    double shareNearEdges() const;

    /// The share of the pixels in which views are seen, 0 to 1.
    double shareCovered() const;

 private:
    class Painter;

    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x);
    }

    int width_ = 0;
    int height_ = 0;
    std::vector<Pixel> pixels_;
};

}  // namespace Mivora::tests
