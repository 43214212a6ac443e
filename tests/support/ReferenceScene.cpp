#include "tests/support/ReferenceScene.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace Mivora::tests {

namespace {

/// As many stencils as count at once: the bits of the stencil buffer.
constexpr std::size_t kMostStencils = 8;

/// The near plane never comes closer to the eye.
constexpr double kLeastNear = 0.001;

/// Closer to an edge than this, in pixels, nothing is claimed about a pixel.
constexpr double kEdgeMargin = 1.0;

// Matrices, row after row, for column vectors

struct Vector {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

using Matrix = std::array<std::array<double, 4>, 4>;

Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (std::size_t k = 0; k < 4; ++k) {
                result[row][column] += a[row][k] * b[k][column];
            }
        }
    }
    return result;
}

Vector operator*(const Matrix& m, const Vector& v) {
    const auto row = [&](std::size_t r) {
        return m[r][0] * v.x + m[r][1] * v.y + m[r][2] * v.z + m[r][3];
    };
    return {row(0), row(1), row(2)};
}

Matrix translation(double x, double y, double z) {
    return {{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}};
}

Matrix scaling(double x, double y, double z) {
    return {{{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}}};
}

/// Turns y towards z.
Matrix rotationAboutX(double angle) {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    return {{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}};
}

/// Turns z towards x.
Matrix rotationAboutY(double angle) {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    return {{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}};
}

/// Turns x towards y.
Matrix rotationAboutZ(double angle) {
    const double s = std::sin(angle);
    const double c = std::cos(angle);
    return {{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
}

/// From the content of a view into that of the view it is placed in.
/// @param coordinateSystemAbove  that of the view it is placed in
/// @param z                      in place of the position's
Matrix placement(const SceneView& view, std::int32_t coordinateSystemAbove, double z) {
    const double width = view.size.width;
    const double height = view.size.height;
    const double depth = view.size.depth;
    const double scale = view.scale;
    Matrix result =
        translation(view.position.x, view.position.y, z) * rotationAboutX(view.rotation.x) *
        rotationAboutY(view.rotation.y) * rotationAboutZ(view.rotation.z) *
        scaling(scale, scale, scale) *
        translation(-view.anchor.x * width, -view.anchor.y * height, -view.anchor.z * depth);
    if (view.coordinateSystem != coordinateSystemAbove) {
        result = result * translation(0, height, 0) * scaling(1, -1, 1);
    }
    return result * translation(-view.localOrigin.x, -view.localOrigin.y, -view.localOrigin.z);
}

// Polygons, which are convex: a rectangle seen in perspective, less what is clipped away

struct PicturePoint {
    double x = 0.0;  ///< pixels from the left
    double y = 0.0;  ///< pixels from the top
};

using Polygon = std::vector<PicturePoint>;

/// Of a polygon in space, what lies where `inside` is not negative. It must be linear.
template <class Inside>
std::vector<Vector> clipped(const std::vector<Vector>& corners, const Inside& inside) {
    std::vector<Vector> result;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Vector& from = corners[i];
        const Vector& to = corners[(i + 1) % corners.size()];
        const double a = inside(from);
        const double b = inside(to);
        if (a >= 0.0) {
            result.push_back(from);
        }
        if ((a >= 0.0) != (b >= 0.0)) {
            const double t = a / (a - b);
            result.push_back({from.x + (to.x - from.x) * t, from.y + (to.y - from.y) * t,
                              from.z + (to.z - from.z) * t});
        }
    }
    return result;
}

bool contains(const Polygon& polygon, double x, double y) {
    bool left = false;
    bool right = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const PicturePoint& a = polygon[i];
        const PicturePoint& b = polygon[(i + 1) % polygon.size()];
        const double side = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
        left = left || side > 0.0;
        right = right || side < 0.0;
    }
    return left != right;
}

/// What a framebuffer of 8 bits makes of a colour, but for the rounding.
std::array<double, 4> bytes(double red, double green, double blue, double alpha) {
    const auto byte = [](double share) { return std::clamp(share, 0.0, 1.0) * 255.0; };
    return {byte(red), byte(green), byte(blue), byte(alpha)};
}

double squaredDistance(const PicturePoint& a, const PicturePoint& b, double x, double y) {
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double squaredLength = dx * dx + dy * dy;
    double t = 0.0;
    if (squaredLength > 0.0) {
        t = std::clamp(((x - a.x) * dx + (y - a.y) * dy) / squaredLength, 0.0, 1.0);
    }
    const double awayX = a.x + t * dx - x;
    const double awayY = a.y + t * dy - y;
    return awayX * awayX + awayY * awayY;
}

}  // namespace

// The description

SceneView& SceneView::ownStencil() {
    if (stencil.empty()) {
        stencil.emplace_back();
    }
    return stencil.front();
}

SceneView& SceneView::add(SceneView view) {
    return subviews.emplace_back(std::move(view));
}

Scene::Scene(Size2 size) {
    root.size = {size.width, size.height, 0.0F};
    root.anchor = {0.5F, 0.5F, 0.0F};
}

// The picture

/// Draws one scene into one picture.
class ReferencePicture::Painter {
 public:
    Painter(const Scene& scene, ReferencePicture& picture) : scene_(scene), picture_(picture) {
        const double height = scene.root.size.height;
        cotangent_ = 1.0 / std::tan(scene.fieldOfView * 0.5);
        distance_ = height * 0.5 * cotangent_;
        near_ = std::max(distance_ - scene.nearDistance, kLeastNear);
        far_ = distance_ + scene.farDistance;
        aspect_ = std::abs(scene.root.size.width / height);
        place(scene.root, placement(scene.root, 0, -distance_));
    }

    void paint() {
        const ColorRGBA& clear = scene_.background;
        for (Pixel& pixel : picture_.pixels_) {
            pixel.color = bytes(clear.red, clear.green, clear.blue, clear.alpha);
        }
        paint(scene_.root, 1.0, {});
    }

 private:
    /// One flag for each pixel.
    using Region = std::vector<bool>;

    /// Notes the matrices of a view and everything below it.
    void place(const SceneView& view, const Matrix& matrix) {
        matrices_[&view] = matrix;
        if (!view.name.empty()) {
            byName_[view.name] = &view;
        }
        for (const std::vector<SceneView>* const list : {&view.stencil, &view.subviews}) {
            for (const SceneView& child : *list) {
                place(child, matrix * placement(child, view.coordinateSystem, child.position.z));
            }
        }
    }

    /// What is seen of a view's rectangle, and marks its edges. Empty if nothing is.
    Polygon outline(const SceneView& view) {
        const double w = view.size.width;
        const double h = view.size.height;
        const Matrix& matrix = matrices_.at(&view);
        std::vector<Vector> corners = {matrix * Vector{0, 0, 0}, matrix * Vector{w, 0, 0},
                                       matrix * Vector{w, h, 0}, matrix * Vector{0, h, 0}};
        corners = clipped(corners, [&](const Vector& v) { return -v.z - near_; });
        corners = clipped(corners, [&](const Vector& v) { return far_ + v.z; });
        Polygon result;
        for (const Vector& corner : corners) {
            const double depth = -corner.z;
            result.push_back(
                {(1.0 + corner.x * cotangent_ / (aspect_ * depth)) * 0.5 * picture_.width_,
                 (1.0 + corner.y * cotangent_ / depth) * 0.5 * picture_.height_});
        }
        markEdges(result);
        return result;
    }

    /// Calls `action(x, y)` for the pixels of the rectangle that spans some points.
    template <class Action>
    void forPixelsAround(const Polygon& points, double margin, const Action& action) const {
        const auto byX = [](PicturePoint a, PicturePoint b) { return a.x < b.x; };
        const auto byY = [](PicturePoint a, PicturePoint b) { return a.y < b.y; };
        const auto [minX, maxX] = std::minmax_element(points.begin(), points.end(), byX);
        const auto [minY, maxY] = std::minmax_element(points.begin(), points.end(), byY);
        const auto clampTo = [](double value, int size) {
            return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(size)));
        };
        const int left = clampTo(std::floor(minX->x - margin), picture_.width_);
        const int right = clampTo(std::ceil(maxX->x + margin), picture_.width_);
        const int top = clampTo(std::floor(minY->y - margin), picture_.height_);
        const int bottom = clampTo(std::ceil(maxY->y + margin), picture_.height_);
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                action(x, y);
            }
        }
    }

    template <class Action>
    void forPixelsInside(const Polygon& polygon, const Action& action) const {
        if (polygon.size() < 3) {
            return;
        }
        forPixelsAround(polygon, 0.0, [&](int x, int y) {
            if (contains(polygon, x + 0.5, y + 0.5)) {
                action(picture_.index(x, y));
            }
        });
    }

    void markEdges(const Polygon& polygon) {
        for (std::size_t i = 0; i < polygon.size(); ++i) {
            const PicturePoint a = polygon[i];
            const PicturePoint b = polygon[(i + 1) % polygon.size()];
            forPixelsAround({a, b}, kEdgeMargin, [&](int x, int y) {
                if (squaredDistance(a, b, x + 0.5, y + 0.5) <= kEdgeMargin * kEdgeMargin) {
                    picture_.pixels_[picture_.index(x, y)].nearEdge = true;
                }
            });
        }
    }

    /// The view whose drawing limits that of another; null for none.
    const SceneView* stencilOf(const SceneView& view) const {
        const SceneView* result = nullptr;
        if (!view.stencilName.empty()) {
            const auto found = byName_.find(view.stencilName);
            if (found == byName_.end()) {
                throw std::invalid_argument("no view has the name " + view.stencilName);
            }
            result = found->second;
        } else if (!view.stencil.empty()) {
            result = &view.stencil.front();
        }
        return result != nullptr && !result->hidden ? result : nullptr;
    }

    /// Adds the pixels that a stencil view and everything below it draw in.
    void collect(const SceneView& view, Region& region) {
        if (view.hidden) {
            return;
        }
        if (stencilOf(view) != nullptr) {
            throw std::invalid_argument("a stencil below a stencil view has no reference");
        }
        if (view.color) {
            forPixelsInside(outline(view), [&](std::size_t i) { region[i] = true; });
        }
        for (const SceneView& subview : view.subviews) {
            collect(subview, region);
        }
    }

    void paint(const SceneView& view, double opacityAbove, std::vector<Region> stencils) {
        if (view.hidden) {
            return;
        }
        const double opacity = opacityAbove * view.opacity;
        const SceneView* const stencil = stencilOf(view);
        if (stencil != nullptr && stencils.size() < kMostStencils) {
            Region region(picture_.pixels_.size(), false);
            collect(*stencil, region);
            stencils.push_back(std::move(region));
        }
        if (view.color) {
            fill(view, opacity, stencils);
        }
        for (const SceneView& subview : view.subviews) {
            paint(subview, opacity, stencils);
        }
    }

    void fill(const SceneView& view, double opacity, const std::vector<Region>& stencils) {
        const ColorRGBA& color = *view.color;
        const double alpha = std::clamp(color.alpha * opacity, 0.0, 1.0);
        const bool opaque = color.alpha * opacity >= 1.0;
        const std::array<double, 4> source = bytes(color.red, color.green, color.blue, alpha);
        forPixelsInside(outline(view), [&](std::size_t i) {
            const auto passes = [i](const Region& region) { return region[i]; };
            if (!std::all_of(stencils.begin(), stencils.end(), passes)) {
                return;
            }
            Pixel& pixel = picture_.pixels_[i];
            for (std::size_t channel = 0; channel < 4; ++channel) {
                const double below = pixel.color[channel];
                pixel.color[channel] = source[channel] * alpha + below * (1.0 - alpha);
            }
            pixel.blended = !opaque;
            pixel.covered = true;
        });
    }

    const Scene& scene_;
    ReferencePicture& picture_;
    double cotangent_ = 0.0;  ///< of half the field of view
    double distance_ = 0.0;   ///< from the eye to the window's plane
    double near_ = 0.0;
    double far_ = 0.0;
    double aspect_ = 0.0;
    std::unordered_map<const SceneView*, Matrix> matrices_;
    std::unordered_map<std::string, const SceneView*> byName_;
};

ReferencePicture::ReferencePicture(const Scene& scene, float scale)
    : width_(static_cast<int>(scene.root.size.width * scale)),
      height_(static_cast<int>(scene.root.size.height * scale)),
      pixels_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_)) {
    Painter(scene, *this).paint();
}

double ReferencePicture::shareNearEdges() const {
    const auto count =
        std::count_if(pixels_.begin(), pixels_.end(), [](const Pixel& p) { return p.nearEdge; });
    return static_cast<double>(count) / static_cast<double>(pixels_.size());
}

double ReferencePicture::shareCovered() const {
    const auto count =
        std::count_if(pixels_.begin(), pixels_.end(), [](const Pixel& p) { return p.covered; });
    return static_cast<double>(count) / static_cast<double>(pixels_.size());
}

}  // namespace Mivora::tests
