// What the camera of the window makes of a scene: perspective, clipping, sizes and scales.

#include <numbers>

#include "MivoraMac/views/MVWindow.h"
#include "tests/support/PixelTest.h"

using Mivora::ColorRGBA;
using Mivora::tests::PixelTest;
using Mivora::tests::Scene;
using Mivora::tests::SceneView;
using Mivora::tests::SceneWindow;

namespace {

constexpr ColorRGBA kRed{0.85F, 0.25F, 0.2F, 1.0F};
constexpr ColorRGBA kGreen{0.3F, 0.7F, 0.35F, 1.0F};
constexpr ColorRGBA kBlue{0.2F, 0.4F, 0.8F, 0.6F};

class MVViewPixelCameraTest : public PixelTest {
 protected:
    /// Adds a sheet through the middle of the window, and what shows its perspective.
    static SceneView& addSheet(Scene& scene, Mivora::Size3 size, Mivora::Point3 rotation) {
        const Mivora::Size3 window = scene.root.size;
        SceneView& sheet = scene.add({.color = kGreen,
                                      .position = {window.width / 2, window.height / 2, 0},
                                      .size = size,
                                      .rotation = rotation,
                                      .anchor = {0.5F, 0.5F, 0}});
        for (int i = 0; i < 3; ++i) {
            sheet.add(
                {.color = i == 1 ? kRed : kBlue,
                 .position = {size.width * 0.3F * static_cast<float>(i), size.height * 0.1F, 0},
                 .size = {size.width * 0.2F, size.height * 0.8F, 0}});
        }
        return sheet;
    }

    /// A bit of everything, in a window of any size.
    static Scene mixture(Mivora::Size2 size) {
        Scene scene(size);
        addSheet(scene, {size.width * 0.7F, size.height * 0.7F, 0}, {0.4F, -0.5F, 0.3F});
        SceneView& corner = scene.add({.color = kBlue,
                                       .position = {size.width, size.height, 20},
                                       .size = {size.width * 0.4F, size.height * 0.3F, 0},
                                       .rotation = {0, 0.4F, 0},
                                       .anchor = {1, 1, 0}});
        corner.ownStencil() = {.color = kRed,
                               .position = {3, 5, 0},
                               .size = {size.width * 0.3F, size.height * 0.3F, 0},
                               .rotation = {0, 0, 0.15F}};
        return scene;
    }
};

}  // namespace

TEST_F(MVViewPixelCameraTest, contentIsCutOffAtTheNearAndAtTheFarDistance) {
    for (const Mivora::Point3 rotation : {Mivora::Point3{1.1F, 0, 0},
                                          {-1.1F, 0, 0},
                                          {0, 1.1F, 0.2F},
                                          {0, -1.1F, -0.4F},
                                          {0.9F, 0.7F, 0.5F}}) {
        SCOPED_TRACE(testing::Message() << rotation.x << ", " << rotation.y << ", " << rotation.z);
        Scene scene({200, 260});
        addSheet(scene, {440, 440, 0}, rotation);
        expectLikeReference(scene, {.mostNearEdges = 0.2});
    }
}

TEST_F(MVViewPixelCameraTest, theDistancesCanBeChanged) {
    for (const float near : {10.0F, 80.0F}) {
        for (const float far : {5.0F, 60.0F, 1000.0F}) {
            SCOPED_TRACE(testing::Message() << near << ", " << far);
            Scene scene({200, 160});
            scene.nearDistance = near;
            scene.farDistance = far;
            addSheet(scene, {180, 220, 0}, {0.8F, 0.5F, 0});
            expectLikeReference(scene, {.mostNearEdges = 0.2});
        }
    }
}

TEST_F(MVViewPixelCameraTest, whatIsAltogetherTooNearOrTooFarIsNotSeen) {
    Scene scene({200, 160});
    scene.nearDistance = 50;
    scene.farDistance = 50;
    scene.add({.color = kRed, .position = {20, 20, 51}, .size = {60, 60, 0}});
    scene.add({.color = kRed, .position = {120, 20, -51}, .size = {60, 60, 0}});
    scene.add({.color = kGreen, .position = {20, 90, 49}, .size = {60, 40, 0}});
    scene.add({.color = kGreen, .position = {120, 90, -49}, .size = {60, 40, 0}});
    scene.add({.color = kRed, .position = {120, 90, 5000}, .size = {60, 40, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelCameraTest, theNearPlaneStaysCloseInFrontOfTheEye) {
    // A sheet that reaches from far behind the eye to far behind the window's plane.
    Scene scene({200, 160});
    scene.nearDistance = 100000;
    scene.farDistance = 2000;
    addSheet(scene, {120, 1200, 0}, {1.4F, 0, 0.1F});
    expectLikeReference(scene, {.mostNearEdges = 0.2});

    // A sheet that passes half a point below the eye: the lower edge of the window sees it less
    // than a point away.
    SceneView& sheet = scene.root.subviews[0];
    sheet.position.y += 0.5F;
    sheet.rotation = {std::numbers::pi_v<float> / 2, 0, 0};
    sheet.scale = 0.5F;
    expectLikeReference(scene, {.mostNearEdges = 0.2});
}

TEST_F(MVViewPixelCameraTest, theFieldOfViewChangesThePerspectiveButNotTheWindowsPlane) {
    for (const float fieldOfView : {0.2F, 0.8F, 1.5F, 2.4F}) {
        SCOPED_TRACE(fieldOfView);
        Scene scene({200, 160});
        scene.fieldOfView = fieldOfView;
        scene.farDistance = 400;
        addSheet(scene, {150, 110, 0}, {0.5F, 0.6F, 0.1F});
        scene.add({.color = kRed, .position = {4, 6, 0}, .size = {30, 20, 0}});
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelCameraTest, windowsOfOddSizesAreDrawnAtEveryScale) {
    for (const Mivora::Size2 size :
         {Mivora::Size2{317, 203}, {101, 307}, {100.5F, 50.25F}, {333.3F, 99.9F}}) {
        for (const float scale : {1.0F, 1.5F, 2.0F}) {
            SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << " @" << scale);
            expectLikeReference(mixture(size), {.scale = scale, .mostNearEdges = 0.3});
        }
    }
}

TEST_F(MVViewPixelCameraTest, theScaleOfThePictureIsByDefaultThatOfTheWindowsContent) {
    Scene scene = mixture({117, 83});
    const SceneWindow window(scene);
    window.window()->setContentScaleFactor(3);
    expectLikeReference(capture(window, scene, 0), scene, {.scale = 3});
}
