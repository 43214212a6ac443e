// Trees in which everything meets: against the reference, and turned, mirrored and cut out against
// their own picture.

#include <array>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "tests/support/PixelTest.h"

using Mivora::ColorRGBA;
using Mivora::platform::Picture;
using Mivora::tests::PixelTest;
using Mivora::tests::ReferencePicture;
using Mivora::tests::Scene;
using Mivora::tests::SceneView;
using Mivora::tests::SceneWindow;

namespace {

constexpr int kTreeCount = 30;
constexpr int kViewCount = 12;
constexpr float kExtent = 200;  ///< width and height of the windows, in points
constexpr float kScale = 2;
constexpr double kMostNearEdges = 0.3;

/// Makes trees of views; the same for the same seed, on every machine.
class RandomScenes {
 public:
    explicit RandomScenes(unsigned seed) : generator_(seed) {}

    /// A tree of `kViewCount` views, less the stencil views, whose first subview holds the others
    /// and pivots about the centre of the window.
    Scene scene() {
        Scene result({kExtent, kExtent});
        result.nearDistance = between(60, 160);
        result.farDistance = between(60, 160);
        SceneView& group = result.add({.position = {kExtent / 2, kExtent / 2, 0},
                                       .size = {kExtent, kExtent, 0},
                                       .anchor = {0.5F, 0.5F, 0}});
        for (int i = 0; i < kViewCount; ++i) {
            SceneView* above = &group;
            while (!above->subviews.empty() && chance(0.6F)) {
                above = &above->subviews[generator_() % above->subviews.size()];
            }
            above->add(view(above == &group));
        }
        addStencils(group);
        return result;
    }

    /// Gives every view of a scene other numbers.
    void renumber(Scene& scene) {
        scene.fieldOfView = between(0.6F, 1.4F);
        for (SceneView& subview : scene.root.subviews[0].subviews) {
            renumber(subview, true);
        }
    }

 private:
    bool chance(float probability) { return between(0, 1) < probability; }

    float between(float low, float high) {
        const float share = static_cast<float>(generator_() >> 8U) / static_cast<float>(1U << 24U);
        return low + (high - low) * share;
    }

    /// An angle that leaves most views to be seen.
    float angle() { return chance(0.5F) ? between(-0.9F, 0.9F) : 0; }

    SceneView view(bool isOuter) {
        SceneView result;
        if (!chance(0.1F)) {
            result.color = ColorRGBA{between(0, 1), between(0, 1), between(0, 1),
                                     chance(0.5F) ? 1.0F : between(0.4F, 1)};
        }
        result.position = {between(0, isOuter ? kExtent : 80), between(0, isOuter ? kExtent : 80),
                           chance(0.5F) ? between(-60, 60) : 0};
        result.size = {between(40, 120), between(40, 120), between(0, 40)};
        result.rotation = {angle(), angle(), angle() * 3};
        result.scale = chance(0.4F) ? between(0.6F, 1.5F) : 1;
        if (chance(0.7F)) {
            result.anchor = {between(0, 1), between(0, 1), between(-1, 1)};
        }
        if (chance(0.3F)) {
            result.localOrigin = {between(-30, 30), between(-30, 30), between(-30, 30)};
        }
        result.coordinateSystem = chance(0.35F) ? 1 : 0;
        result.opacity = chance(0.3F) ? between(0.7F, 1) : 1;
        result.hidden = chance(0.05F);
        return result;
    }

    void addStencils(SceneView& group) {
        for (SceneView& subview : group.subviews) {
            if (chance(0.3F)) {
                SceneView& stencil = subview.ownStencil() = view(false);
                stencil.color = ColorRGBA{1, 1, 1, 1};
                stencil.size = {between(80, 160), between(80, 160), 0};
                if (chance(0.3F)) {
                    stencil.add(view(false));
                }
            }
            addStencils(subview);
        }
    }

    void renumber(SceneView& changed, bool isOuter) {
        SceneView other = view(isOuter);
        other.color =
            changed.color ? ColorRGBA{between(0, 1), between(0, 1), 0.5F, 0.8F} : changed.color;
        other.subviews = std::move(changed.subviews);
        other.stencil = std::move(changed.stencil);
        changed = std::move(other);
        for (std::vector<SceneView>* const list : {&changed.stencil, &changed.subviews}) {
            for (SceneView& child : *list) {
                renumber(child, false);
            }
        }
    }

    std::mt19937 generator_;
};

/// The scene's group, which pivots about the centre of the window.
SceneView& group(Scene& scene) {
    return scene.root.subviews[0];
}

/// Exchanges the coordinate systems 0 and 1 in a view and everything below it.
void exchangeSystems(SceneView& view) {
    view.coordinateSystem = 1 - view.coordinateSystem;
    for (std::vector<SceneView>* const list : {&view.stencil, &view.subviews}) {
        for (SceneView& child : *list) {
            exchangeSystems(child);
        }
    }
}

/// The picture whose pixel (x, y) is that of `picture` at `from(x, y)`.
template <class From>
Picture rearranged(const Picture& picture, const From& from) {
    Picture result{picture.size, {}};
    for (int y = 0; y < picture.size.height; ++y) {
        for (int x = 0; x < picture.size.width; ++x) {
            const auto [fromX, fromY] = from(x, y);
            const auto pixel = picture.pixel(fromX, fromY);
            result.rgba.insert(result.rgba.end(), pixel.begin(), pixel.end());
        }
    }
    return result;
}

/// A picture turned clockwise by a quarter.
Picture turned(const Picture& picture) {
    const int last = picture.size.height - 1;
    return rearranged(picture, [last](int x, int y) { return std::pair(y, last - x); });
}

/// A picture upside down, as in a mirror.
Picture mirrored(const Picture& picture) {
    const int last = picture.size.height - 1;
    return rearranged(picture, [last](int x, int y) { return std::pair(x, last - y); });
}

class MVViewPixelRandomTest : public PixelTest {
 protected:
    /// Calls `action` with a few random scenes, each with its number as a trace.
    template <class Action>
    static void forScenes(int count, const Action& action) {
        for (int i = 0; i < count; ++i) {
            SCOPED_TRACE(testing::Message() << "tree " << i);
            RandomScenes scenes(static_cast<unsigned>(i));
            Scene scene = scenes.scene();
            action(scene, scenes);
        }
    }

    /// Compares the pictures of a scene that was changed and what the change ought to make of it.
    static void expectBecame(const Scene& changed, const Picture& expected) {
        expectAlike(capture(SceneWindow(changed), changed, kScale), expected,
                    nearEdges(ReferencePicture(changed, kScale)));
    }
};

}  // namespace

TEST_F(MVViewPixelRandomTest, randomTreesLookLikeTheReference) {
    forScenes(kTreeCount, [](const Scene& scene, RandomScenes&) {
        expectLikeReference(scene, {.scale = kScale, .mostNearEdges = kMostNearEdges});
    });
}

TEST_F(MVViewPixelRandomTest, randomTreesDrawnAgainWithOtherNumbersLookLikeTheReference) {
    forScenes(kTreeCount, [](Scene& scene, RandomScenes& scenes) {
        SceneWindow window(scene);
        capture(window, scene, kScale);
        scenes.renumber(scene);
        window.apply(scene);
        expectLikeReference(capture(window, scene, kScale), scene,
                            {.scale = kScale, .mostNearEdges = kMostNearEdges});
    });
}

TEST_F(MVViewPixelRandomTest, aTreeTurnedByQuartersGivesTheTurnedPicture) {
    forScenes(6, [](Scene& scene, RandomScenes&) {
        Picture expected = capture(SceneWindow(scene), scene, kScale);
        for (int quarters = 1; quarters < 4; ++quarters) {
            SCOPED_TRACE(testing::Message() << quarters << " quarters");
            expected = turned(expected);
            const float angle = static_cast<float>(quarters) * std::numbers::pi_v<float> / 2;
            group(scene).rotation.z = angle;
            expectBecame(scene, expected);
            // The window turns as its views do.
            group(scene).rotation.z = 0;
            scene.root.rotation.z = angle;
            expectBecame(scene, expected);
            scene.root.rotation.z = 0;
        }
    });
}

TEST_F(MVViewPixelRandomTest, aTreeInTheOtherCoordinateSystemGivesTheMirroredPicture) {
    forScenes(6, [](Scene& scene, RandomScenes&) {
        const Picture picture = capture(SceneWindow(scene), scene, kScale);
        exchangeSystems(group(scene));
        expectBecame(scene, mirrored(picture));
        exchangeSystems(group(scene));
        // Turned over as a whole, by the window, it is the same.
        exchangeSystems(scene.root);
        expectBecame(scene, mirrored(picture));
    });
}

TEST_F(MVViewPixelRandomTest, aTreeCutOutByAStencilGivesThatPartOfThePicture) {
    forScenes(6, [](Scene& scene, RandomScenes&) {
        const Picture picture = capture(SceneWindow(scene), scene, kScale);
        const Picture empty = capture(SceneWindow(Scene({kExtent, kExtent})), scene, kScale);
        const Mivora::Point3 corner = {40, 25, 0};
        const Mivora::Size3 size = {110, 140, 0};
        group(scene).ownStencil() = {
            .color = ColorRGBA{1, 1, 1, 1}, .position = corner, .size = size};
        const Picture expected = rearranged(picture, [&](int x, int y) {
            const float pointX = (static_cast<float>(x) + 0.5F) / kScale - corner.x;
            const float pointY = (static_cast<float>(y) + 0.5F) / kScale - corner.y;
            const bool inside =
                pointX > 0 && pointY > 0 && pointX < size.width && pointY < size.height;
            return inside ? std::pair(x, y) : std::pair(-1, -1);
        });
        Picture cutOut = expected;
        for (std::size_t i = 0; i < cutOut.rgba.size(); ++i) {
            // What lies outside came out as all zero, which no pixel of a picture is.
            cutOut.rgba[i] = expected.rgba[i / 4 * 4 + 3] == 0 ? empty.rgba[i] : expected.rgba[i];
        }
        expectBecame(scene, cutOut);
    });
}
