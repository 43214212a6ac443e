// Where views are seen: each part of their placement, and all of them together.

#include <array>
#include <numbers>
#include <optional>

#include "tests/support/PixelTest.h"

using Mivora::ColorRGBA;
using Mivora::tests::PixelTest;
using Mivora::tests::Scene;
using Mivora::tests::SceneView;
using Mivora::tests::SceneWindow;

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

constexpr ColorRGBA kRed{0.85F, 0.25F, 0.2F, 1.0F};
constexpr ColorRGBA kGreen{0.3F, 0.7F, 0.35F, 1.0F};
constexpr ColorRGBA kBlue{0.2F, 0.4F, 0.8F, 1.0F};
constexpr ColorRGBA kYellow{0.95F, 0.8F, 0.3F, 1.0F};

class MVViewPixelPlacementTest : public PixelTest {
 protected:
    /// A view with two squares in it that tell its corners, and thereby every turn and flip, apart.
    static SceneView card(ColorRGBA color = kBlue) {
        SceneView result{.color = color, .size = {80, 60, 0}};
        result.add({.color = kRed, .position = {5, 5, 0}, .size = {25, 12, 0}});
        result.add({.color = kYellow, .position = {60, 30, 0}, .size = {12, 25, 0}});
        return result;
    }

    /// A card whose centre lies in the middle of a window of 200 x 160.
    static SceneView centeredCard() {
        SceneView result = card();
        result.position = {100, 80, 0};
        result.anchor = {0.5F, 0.5F, 0};
        return result;
    }
};

}  // namespace

TEST_F(MVViewPixelPlacementTest, theContentOfTheWindowRunsFromTheTopLeftCornerInPoints) {
    Scene scene({200, 160});
    scene.add({.color = kRed, .size = {50, 30, 0}});
    scene.add({.color = kGreen, .position = {150, 130, 0}, .size = {50, 30, 0}});
    expectLikeReference(scene);

    // The same by hand.
    const SceneWindow window(scene);
    const auto picture = capture(window, scene);
    const std::array<std::uint8_t, 4> red = {217, 64, 51, 255};
    EXPECT_EQ(picture.pixel(0, 0), red);
    EXPECT_EQ(picture.pixel(49, 29), red);
    EXPECT_EQ(picture.pixel(50, 29), (std::array<std::uint8_t, 4>{26, 26, 26, 255}));
    EXPECT_EQ(picture.pixel(199, 159)[2], 89);
    EXPECT_EQ(picture.pixel(150, 130)[2], 89);
    EXPECT_EQ(picture.pixel(149, 130)[2], 26);
}

TEST_F(MVViewPixelPlacementTest, positionMovesAViewAndWhatIsInItInThreeDimensions) {
    Scene scene({200, 160});
    for (const Mivora::Point3 position :
         {Mivora::Point3{-40, -20, 0}, {10.25F, 90.5F, -120}, {110, 85, 100}, {120, 5, -40}}) {
        scene.add(card()).position = position;
    }
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, anchorIsThePivotOfTheRotation) {
    for (const Mivora::Point3 anchor : {Mivora::Point3{0, 0, 0},
                                        {1, 1, 0},
                                        {0.5F, 0.25F, 0},
                                        {1.5F, -0.5F, 0},
                                        {0.5F, 0.5F, 1},
                                        {0, 1, -0.5F}}) {
        SCOPED_TRACE(testing::Message() << anchor.x << ", " << anchor.y << ", " << anchor.z);
        Scene scene({200, 160});
        SceneView& view = scene.add(centeredCard());
        view.size.depth = 60;
        view.anchor = anchor;
        view.rotation = {0.3F, -0.4F, 0.6F};
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelPlacementTest, rotationAboutEachAxisIsSeenInPerspective) {
    for (const Mivora::Point3 rotation : {Mivora::Point3{0.7F, 0, 0},
                                          {-0.7F, 0, 0},
                                          {0, 0.9F, 0},
                                          {0, -0.9F, 0},
                                          {0, 0, 0.5F},
                                          {0, 0, -2.1F},
                                          {0, 2.5F, 0},
                                          {kPi, 0, 0}}) {
        SCOPED_TRACE(testing::Message() << rotation.x << ", " << rotation.y << ", " << rotation.z);
        Scene scene({200, 160});
        scene.add(centeredCard()).rotation = rotation;
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelPlacementTest, rotationsAboutSeveralAxesKeepTheirOrder) {
    for (const Mivora::Point3 rotation : {Mivora::Point3{0.8F, 0.8F, 0},
                                          {0.8F, 0, 0.8F},
                                          {0, 0.8F, 0.8F},
                                          {0.8F, 0.8F, 0.8F},
                                          {-0.6F, 0.9F, 2.0F}}) {
        SCOPED_TRACE(testing::Message() << rotation.x << ", " << rotation.y << ", " << rotation.z);
        Scene scene({200, 160});
        scene.add(centeredCard()).rotation = rotation;
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelPlacementTest, rotationsOfNestedViewsAddUp) {
    Scene scene({200, 160});
    SceneView& outer = scene.add(centeredCard());
    outer.size = {140, 110, 0};
    outer.rotation = {0.5F, 0.2F, 0.1F};
    SceneView& middle = outer.add(card(kGreen));
    middle.position = {110, 30, 25};
    middle.anchor = {1, 0, 0};
    middle.rotation = {0, -0.9F, 0.2F};
    SceneView& inner = middle.add(card(kRed));
    inner.position = {40, 40, 15};
    inner.anchor = {0.5F, 0.5F, 0};
    inner.scale = 0.6F;
    inner.rotation = {-0.4F, 0.3F, 0.8F};
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, uniformScaleScalesAboutTheAnchorAndMultipliesInward) {
    Scene scene({200, 160});
    SceneView& outer = scene.add(card());
    outer.position = {20, 130, 0};
    outer.anchor = {0, 1, 0};
    outer.scale = 1.5F;
    SceneView& inner = outer.add(card(kGreen));
    inner.position = {70, 10, 30};
    inner.anchor = {0.5F, 0.5F, 0};
    inner.rotation = {0, 0.6F, 0};
    inner.scale = 0.7F;
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, aNegativeScaleTurnsAViewInsideOutAndAScaleOfZeroHidesIt) {
    Scene scene({200, 160});
    SceneView mirrored = centeredCard();
    mirrored.scale = -1.25F;
    mirrored.rotation = {0.4F, 0.3F, 0};
    scene.add(mirrored);
    SceneView nothing = centeredCard();
    nothing.scale = 0;
    scene.add(nothing);
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, negativeSizesExtendTheOtherWay) {
    Scene scene({200, 160});
    scene.add({.color = kRed, .position = {90, 70, 0}, .size = {-60, 40, 0}});
    scene.add({.color = kGreen, .position = {110, 70, 0}, .size = {60, -40, 0}});
    scene.add({.color = kBlue,
               .position = {100, 130, 0},
               .size = {-70, -30, 0},
               .rotation = {0, 0, 0.2F},
               .anchor = {0.5F, 0.5F, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, localOriginShiftsTheContentTogetherWithTheFill) {
    for (const Mivora::Point3 origin :
         {Mivora::Point3{30, 0, 0}, {0, 25, 0}, {-20, -15, 0}, {0, 0, 50}, {10, -10, -60}}) {
        SCOPED_TRACE(testing::Message() << origin.x << ", " << origin.y << ", " << origin.z);
        Scene scene({200, 160});
        SceneView& view = scene.add(centeredCard());
        view.localOrigin = origin;
        view.rotation = {0.2F, 0.5F, -0.4F};
        view.scale = 1.2F;
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelPlacementTest, localOriginsOfNestedViewsAddUp) {
    Scene scene({200, 160});
    SceneView& outer = scene.add(centeredCard());
    outer.size = {120, 100, 0};
    outer.localOrigin = {15, 20, 0};
    outer.rotation = {0, 0.3F, 0.2F};
    SceneView& inner = outer.add(card(kGreen));
    inner.position = {50, 60, 10};
    inner.localOrigin = {-10, 30, 0};
    inner.scale = 0.8F;
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, aCoordinateSystemOtherThanTheSuperviewsTurnsYOver) {
    Scene scene({200, 160});
    SceneView& straight = scene.add(card());
    straight.position = {10, 10, 0};
    SceneView& flipped = scene.add(card(kGreen));
    flipped.position = {110, 10, 0};
    flipped.coordinateSystem = 1;
    // Its subviews share its system, so that the flip is seen once.
    flipped.subviews[0].coordinateSystem = 1;
    flipped.subviews[1].coordinateSystem = 1;
    SceneView& turned = scene.add(card(kGreen));
    turned.position = {100, 115, 0};
    turned.anchor = {0.5F, 0.5F, 0};
    turned.coordinateSystem = -7;
    turned.rotation = {0.6F, 0.3F, 0.5F};
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, nestedFlipsCompareEachSystemWithTheOneAbove) {
    // The systems of four nested views, below the window's 0.
    for (const std::array<int, 4> systems :
         {std::array{1, 0, 1, 0}, {1, 1, 0, 0}, {1, 2, 1, 1}, {0, 1, 2, 3}, {2, 2, 2, 2}}) {
        SCOPED_TRACE(testing::PrintToString(systems));
        Scene scene({200, 160});
        SceneView* above = &scene.root;
        Mivora::Size3 size = {160, 140, 0};
        for (const int system : systems) {
            SceneView view = card(system % 2 == 0 ? kBlue : kGreen);
            view.position = {13, 7, 0};
            view.size = size;
            view.coordinateSystem = system;
            view.rotation = {0.05F, 0.1F, 0.04F};
            size = {size.width - 32, size.height - 30, 0};
            above = &above->add(view);
        }
        expectLikeReference(scene, {.scale = 2});
    }
}

TEST_F(MVViewPixelPlacementTest, theFlipUsesTheHeightAndComesBeforeTheLocalOrigin) {
    Scene scene({200, 160});
    SceneView& view = scene.add(card());
    view.position = {40, 60, 0};
    view.coordinateSystem = 1;
    view.localOrigin = {5, 20, 0};
    view.rotation = {0, 0, 0.2F};
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, everythingAtOnceComesInOrder) {
    Scene scene({200, 160});
    SceneView& outer = scene.add(centeredCard());
    outer.size = {110, 90, 20};
    outer.rotation = {0.4F, -0.5F, 0.3F};
    outer.scale = 1.2F;
    outer.anchor = {0.4F, 0.7F, 1};
    outer.localOrigin = {8, -6, 5};
    outer.coordinateSystem = 3;
    SceneView& inner = outer.add(card(kGreen));
    inner.position = {60, 40, 20};
    inner.size = {60, 50, 10};
    inner.rotation = {-0.3F, 0.5F, 0.7F};
    inner.scale = 0.8F;
    inner.anchor = {0.5F, 0.5F, 0.5F};
    inner.localOrigin = {-4, 7, 0};
    inner.coordinateSystem = 3;
    expectLikeReference(scene);
}

TEST_F(MVViewPixelPlacementTest, theWindowItselfCanBePlaced) {
    Scene scene({200, 160});
    scene.root.color = std::nullopt;
    scene.add(centeredCard());
    SceneView& corner = scene.add(card(kGreen));
    corner.scale = 0.5F;
    corner.coordinateSystem = 1;

    const auto expectWith = [&](const char* what, void (*change)(SceneView&)) {
        SCOPED_TRACE(what);
        Scene placed = scene;
        change(placed.root);
        expectLikeReference(placed);
    };
    expectWith("position", [](SceneView& window) { window.position = {30, -20, 0}; });
    expectWith("rotation", [](SceneView& window) { window.rotation = {0.3F, -0.4F, 0.5F}; });
    expectWith("scale", [](SceneView& window) { window.scale = 0.6F; });
    expectWith("anchor", [](SceneView& window) { window.anchor = {0.3F, 0.6F, 0}; });
    expectWith("local origin", [](SceneView& window) { window.localOrigin = {-15, 25, 20}; });
    expectWith("coordinate system", [](SceneView& window) { window.coordinateSystem = 1; });
    expectWith("everything", [](SceneView& window) {
        window.position = {10, 5, 0};
        window.rotation = {0.1F, 0.2F, -0.2F};
        window.scale = 0.8F;
        window.localOrigin = {10, 10, 0};
        window.coordinateSystem = 2;
    });
}

TEST_F(MVViewPixelPlacementTest, aChangeOfAnyViewShowsInEverythingBelowItWhenDrawnAgain) {
    Scene scene({200, 160});
    SceneView outer = centeredCard();
    outer.name = "outer";
    SceneView inner = card(kGreen);
    inner.position = {40, 25, 0};
    inner.scale = 0.7F;
    inner.ownStencil() = {.color = kRed, .size = {70, 40, 0}};
    outer.add(inner);
    scene.add(outer);

    SceneWindow window(scene);
    expectLikeReference(capture(window, scene), scene);
    SceneView& changed = scene.root.subviews[0];
    const auto expectAfter = [&](const char* what, const auto& change) {
        SCOPED_TRACE(what);
        change();
        window.apply(scene);
        expectLikeReference(capture(window, scene), scene);
    };
    expectAfter("position", [&] { changed.position = {85, 90, 30}; });
    expectAfter("size", [&] { changed.size = {100, 70, 0}; });
    expectAfter("rotation", [&] { changed.rotation = {0.5F, 0.4F, 0.3F}; });
    expectAfter("scale", [&] { changed.scale = 1.2F; });
    expectAfter("anchor", [&] { changed.anchor = {0.7F, 0.6F, 0}; });
    expectAfter("local origin", [&] { changed.localOrigin = {10, -5, 0}; });
    expectAfter("coordinate system", [&] { changed.coordinateSystem = 1; });
    expectAfter("opacity", [&] { changed.opacity = 0.6F; });
    expectAfter("the camera", [&] { scene.fieldOfView = 0.7F; });
    expectAfter("the window's size", [&] { scene.root.size = {180, 170, 0}; });
    expectAfter("the stencil", [&] {
        changed.subviews.back().stencil.front().rotation = {0, 0, 0.4F};
    });
}
