// Hit testing against a search that shares nothing with the library: matrices of its own, double
// precision, and every view of the tree looked at for itself.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"

namespace {

struct Vector {
    double x = 0;
    double y = 0;
    double z = 0;
};

Vector operator+(Vector a, Vector b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Vector operator*(Vector a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}

/// Where the axes of a space and its origin lie in another space.
struct Frame {
    std::array<Vector, 3> axis = {Vector{1, 0, 0}, Vector{0, 1, 0}, Vector{0, 0, 1}};
    Vector origin;

    Vector direction(Vector v) const { return axis[0] * v.x + axis[1] * v.y + axis[2] * v.z; }
    Vector point(Vector v) const { return direction(v) + origin; }

    /// This frame seen from where `outer` is seen from, given that it is seen from `outer`.
    Frame within(const Frame& outer) const {
        return {{outer.direction(axis[0]), outer.direction(axis[1]), outer.direction(axis[2])},
                outer.point(origin)};
    }

    /// The components of a direction along the axes, by Cramer's rule.
    Vector components(Vector v) const {
        const auto determinant = [](Vector a, Vector b, Vector c) {
            return a.x * (b.y * c.z - b.z * c.y) - a.y * (b.x * c.z - b.z * c.x) +
                   a.z * (b.x * c.y - b.y * c.x);
        };
        const double whole = determinant(axis[0], axis[1], axis[2]);
        return {determinant(v, axis[1], axis[2]) / whole, determinant(axis[0], v, axis[2]) / whole,
                determinant(axis[0], axis[1], v) / whole};
    }
};

Vector turned(Vector v, Vector angles) {
    v = {v.x * std::cos(angles.z) - v.y * std::sin(angles.z),
         v.x * std::sin(angles.z) + v.y * std::cos(angles.z), v.z};
    v = {v.x * std::cos(angles.y) + v.z * std::sin(angles.y), v.y,
         v.z * std::cos(angles.y) - v.x * std::sin(angles.y)};
    return {v.x, v.y * std::cos(angles.x) - v.z * std::sin(angles.x),
            v.y * std::sin(angles.x) + v.z * std::cos(angles.x)};
}

/// What is known of a view, in the order in which views are drawn.
struct Node {
    int superview = -1;
    Vector position;
    Vector rotation;
    double scale = 1;
    double width = 0;
    double height = 0;
    double anchorX = 0;
    double anchorY = 0;
    Vector localOrigin;
    int coordinateSystem = 0;
    bool open = true;  ///< Neither hidden nor disabled.
    bool wantsHovers = false;
    std::shared_ptr<MVView> view;
};

struct Camera {
    double width;
    double height;
    double fieldOfView;
    double pixelsPerPoint;
};

/// Where the content of a view lies in its superview's content.
Frame frameOf(const Node& node, int coordinateSystemAbove) {
    const auto place = [&](Vector content) {
        Vector v = content + node.localOrigin * -1;
        if (node.coordinateSystem != coordinateSystemAbove) {
            v.y = node.height - v.y;
        }
        v = v + Vector{node.anchorX * node.width, node.anchorY * node.height, 0} * -1;
        return turned(v * node.scale, node.rotation) + node.position;
    };
    const Vector origin = place({0, 0, 0});
    Frame frame;
    frame.origin = origin;
    frame.axis = {place({1, 0, 0}) + origin * -1, place({0, 1, 0}) + origin * -1,
                  place({0, 0, 1}) + origin * -1};
    return frame;
}

struct Search {
    std::shared_ptr<MVView> found;
    bool nearAnEdge = false;  ///< Some view's edge is within a pixel.
};

/// Of the views that the ray meets inside their own box and inside the boxes of all above, the one
/// drawn last. Of those, a hover takes only views that want it and that have nothing hit on them.
Search search(const std::vector<Node>& nodes, const Camera& camera, Vector direction, bool hover) {
    std::vector<Frame> frames(nodes.size());
    std::vector<bool> hit(nodes.size(), false);
    std::vector<bool> covered(nodes.size(), false);
    Search result;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        const auto above = static_cast<std::size_t>(std::max(node.superview, 0));
        frames[i] = frameOf(node, i == 0 ? 0 : nodes[above].coordinateSystem);
        if (i > 0) {
            frames[i] = frames[i].within(frames[above]);
        }
        // From the eye, which is the origin, to the plane z = 0 of the content.
        const Vector eye = frames[i].components(frames[i].origin * -1);
        const Vector ray = frames[i].components(direction);
        const Vector meeting = eye + ray * (-eye.z / ray.z);
        const double pixel = 1 / camera.pixelsPerPoint;
        const double left = meeting.x - node.localOrigin.x;
        const double top = meeting.y - node.localOrigin.y;
        for (const auto& [along, length, across, breadth] :
             {std::array{left, node.width, top, node.height},
              std::array{top, node.height, left, node.width}}) {
            if (across >= -pixel && across <= breadth + pixel &&
                (std::abs(along) <= pixel || std::abs(along - length) <= pixel)) {
                result.nearAnEdge = true;
            }
        }
        const double x = std::round(meeting.x * camera.pixelsPerPoint) * pixel;
        const double y = std::round(meeting.y * camera.pixelsPerPoint) * pixel;
        hit[i] = node.open && (i == 0 || hit[above]) && node.localOrigin.x <= x &&
                 x <= node.localOrigin.x + node.width && node.localOrigin.y <= y &&
                 y <= node.localOrigin.y + node.height;
        if (hit[i] && i > 0) {
            covered[above] = true;
        }
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (hit[i] && (!hover || (nodes[i].wantsHovers && !covered[i]))) {
            result.found = nodes[i].view;
        }
    }
    return result;
}

class RandomScene {
 public:
    explicit RandomScene(std::mt19937& random) : random_(random) {
        camera_ = {between(200, 800), between(200, 600), between(0.5, 1.8),
                   std::array{1.0, 1.5, 2.0}[pick(3)]};
        const auto window = MVWindow::init();
        window_ = window;
        window->setContentScaleFactor(static_cast<float>(camera_.pixelsPerPoint));
        window->setFieldOfView(static_cast<float>(camera_.fieldOfView));
        window->setSize({static_cast<float>(camera_.width), static_cast<float>(camera_.height)});
        Node root;
        root.view = window;
        root.width = camera_.width;
        root.height = camera_.height;
        root.anchorX = root.anchorY = 0.5;
        root.position.z = -camera_.height / 2 / std::tan(camera_.fieldOfView / 2);
        root.wantsHovers = pick(2) == 0;
        window->setMouseHoverEnabled(root.wantsHovers);
        nodes_.push_back(root);
        addSubviews(0, 0);
    }

    const std::vector<Node>& nodes() const { return nodes_; }
    const Camera& camera() const { return camera_; }
    const std::shared_ptr<MVWindow>& window() const { return window_; }

    double between(double low, double high) {
        return low + (high - low) * static_cast<double>(random_()) / 4294967296.0;
    }
    std::size_t pick(std::size_t count) { return random_() % count; }

 private:
    /// A number that single precision holds, so that both sides begin with the same one.
    double number(double low, double high) { return static_cast<float>(between(low, high)); }

    void addSubviews(int superview, int depth) {
        const std::size_t count = depth == 0 ? 1 + pick(3) : depth < 4 ? pick(3) : 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Node node = addSubview(superview);
            nodes_.push_back(node);
            addSubviews(static_cast<int>(nodes_.size()) - 1, depth + 1);
        }
    }

    Node addSubview(int superview) {
        const Node& above = nodes_[static_cast<std::size_t>(superview)];
        Node node;
        node.superview = superview;
        node.width = number(0.3, 1.0) * static_cast<float>(above.width);
        node.height = number(0.3, 1.0) * static_cast<float>(above.height);
        node.width = static_cast<float>(node.width);
        node.height = static_cast<float>(node.height);
        node.anchorX = number(0, 1);
        node.anchorY = number(0, 1);
        node.position = {static_cast<float>(above.localOrigin.x + between(0.2, 0.8) * above.width),
                         static_cast<float>(above.localOrigin.y + between(0.2, 0.8) * above.height),
                         number(-80, 80)};
        node.scale = pick(3) == 0 ? number(0.5, 1.5) : 1;
        switch (pick(3)) {
            case 0:
                break;
            case 1:
                node.rotation.z = number(-3.2, 3.2);
                break;
            default:
                node.rotation = {number(-1, 1), number(-1, 1), number(-3.2, 3.2)};
        }
        if (pick(4) == 0) {
            node.localOrigin = {number(-200, 200), number(-200, 200), 0};
        }
        node.coordinateSystem = pick(4) == 0 ? 1 : 0;
        const std::size_t state = pick(12);
        node.open = state > 1;
        node.wantsHovers = pick(2) == 0;
        node.view = makeView(node);
        node.view->setHidden(state == 0);
        node.view->setInteractionEnabled(state != 1);
        above.view->addSubview(node.view);
        return node;
    }

    static std::shared_ptr<MVView> makeView(const Node& node) {
        const auto point = [](Vector v) {
            return Mivora::Point3{static_cast<float>(v.x), static_cast<float>(v.y),
                                  static_cast<float>(v.z)};
        };
        auto view = MVView::init();
        view->setPosition3(point(node.position));
        view->setRotation3(point(node.rotation));
        view->setUniformScale(static_cast<float>(node.scale));
        view->setSize({static_cast<float>(node.width), static_cast<float>(node.height)});
        view->setAnchorPoint({static_cast<float>(node.anchorX), static_cast<float>(node.anchorY)});
        view->setLocalOrigin3(point(node.localOrigin));
        view->setCoordinateSystem(node.coordinateSystem);
        view->setMouseHoverEnabled(node.wantsHovers);
        return view;
    }

    std::mt19937& random_;
    Camera camera_{};
    std::shared_ptr<MVWindow> window_;
    std::vector<Node> nodes_;
};

/// The direction in which the eye sees a point of the screen, in points with y up.
Vector directionThrough(const Camera& camera, double x, double y) {
    const double tangent = std::tan(camera.fieldOfView / 2);
    return {(2 * x / camera.width - 1) * tangent * camera.width / camera.height,
            (1 - 2 * y / camera.height) * tangent, -1};
}

TEST(MVViewHitTest, tenThousandRandomScenesAreHitWhereASearchInDoublePrecisionSays) {
    std::mt19937 random(20260117);
    constexpr int kCases = 10000;
    int differences = 0;
    int hitsBelowTheWindow = 0;
    std::optional<RandomScene> scene;
    for (int i = 0; i < kCases; ++i) {
        // The size of the viewport is whole pixels; that of the window need not be.
        scene.emplace(random);
        const Camera& camera = scene->camera();
        const auto width = static_cast<std::int32_t>(camera.width * camera.pixelsPerPoint);
        const auto height = static_cast<std::int32_t>(camera.height * camera.pixelsPerPoint);
        const auto x = static_cast<float>(scene->between(0, camera.width));
        const auto y = static_cast<float>(scene->between(0, camera.height));
        const bool hover = i % 4 == 0;

        const auto mouse = MVMouse::init();
        mouse->setButton(hover ? MVMouseButtonHover : MVMouseButtonLeft);
        mouse->setRay(
            scene->window()->mv_unprojectScreenPointViewport({x, y}, {0, 0, width, height}));
        const auto found = scene->window()->viewForInteraction(mouse);

        const double viewportWidth = width / camera.pixelsPerPoint;
        const double viewportHeight = height / camera.pixelsPerPoint;
        const Search expected = search(scene->nodes(), camera,
                                       directionThrough(camera, x * camera.width / viewportWidth,
                                                        y * camera.height / viewportHeight),
                                       hover);
        hitsBelowTheWindow += found && found != scene->window() ? 1 : 0;
        if (found != expected.found) {
            ++differences;
            ASSERT_TRUE(expected.nearAnEdge)
                << "case " << i << ": at " << x << ", " << y << " of\n"
                << scene->window()->describe() << "found\n"
                << (found ? found->describe() : "nothing\n") << "instead of\n"
                << (expected.found ? expected.found->describe() : "nothing\n");
        }
    }
    EXPECT_LT(differences, kCases / 100);
    EXPECT_GT(hitsBelowTheWindow, kCases / 4) << "the scenes are too empty to show anything";
    RecordProperty("differencesAtEdges", differences);
}

}  // namespace
