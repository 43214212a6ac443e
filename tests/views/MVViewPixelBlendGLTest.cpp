// How the colours of views meet: painter's order, alpha and opacity.

#include <algorithm>
#include <array>
#include <string>

#include "MivoraMac/views/MVView.h"
#include "tests/support/PixelTest.h"

using Mivora::ColorRGBA;
using Mivora::tests::PixelTest;
using Mivora::tests::Scene;
using Mivora::tests::SceneView;
using Mivora::tests::SceneWindow;

namespace {

constexpr ColorRGBA kRed{0.9F, 0.2F, 0.2F, 1.0F};
constexpr ColorRGBA kGreen{0.2F, 0.8F, 0.3F, 1.0F};
constexpr ColorRGBA kBlue{0.2F, 0.3F, 0.9F, 1.0F};

constexpr ColorRGBA faded(ColorRGBA color, float alpha) {
    return {color.red, color.green, color.blue, alpha};
}

class MVViewPixelBlendTest : public PixelTest {
 protected:
    /// Adds three overlapping squares.
    static void addSquares(Scene& scene, float alpha, float opacity) {
        float offset = 0;
        for (const ColorRGBA color : {kRed, kGreen, kBlue}) {
            scene.add({.color = faded(color, alpha),
                       .position = {20 + offset, 15 + offset, 0},
                       .size = {90, 80, 0},
                       .opacity = opacity});
            offset += 25;
        }
    }
};

}  // namespace

TEST_F(MVViewPixelBlendTest, theOrderOfTheTreeDecidesNotTheDepth) {
    Scene scene({180, 150});
    scene.add({.color = kRed, .position = {20, 20, 80}, .size = {70, 70, 0}});
    SceneView& second =
        scene.add({.color = kGreen, .position = {40, 30, -80}, .size = {80, 70, 0}});
    second.add({.color = kBlue, .position = {30, 20, -60}, .size = {80, 40, 0}});
    scene.add({.color = kRed,
               .position = {90, 90, 0},
               .size = {120, 40, 0},
               .rotation = {1.2F, 0, 0.4F},
               .anchor = {0.5F, 0.5F, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, reorderedSubviewsAreDrawnInTheirNewOrder) {
    Scene scene({180, 150});
    addSquares(scene, 0.6F, 1);
    for (std::size_t i = 0; i < 3; ++i) {
        scene.root.subviews[i].name = std::to_string(i);
    }
    const SceneWindow window(scene);
    expectLikeReference(capture(window, scene), scene);
    const auto back = window.view("2");
    back->superview()->insertSubviewAtIndex(back, 0);
    std::rotate(scene.root.subviews.begin(), scene.root.subviews.begin() + 2,
                scene.root.subviews.end());
    expectLikeReference(capture(window, scene), scene);
}

TEST_F(MVViewPixelBlendTest, translucentFillsBlendWithWhatIsBehindThem) {
    for (const float alpha : {0.9F, 0.5F, 0.3F}) {
        SCOPED_TRACE(alpha);
        Scene scene({180, 150});
        addSquares(scene, alpha, 1);
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelBlendTest, opacityFadesAsAlphaDoesAndBothMultiply) {
    for (const float alpha : {1.0F, 0.8F, 0.5F}) {
        SCOPED_TRACE(alpha);
        Scene scene({180, 150});
        addSquares(scene, alpha, 0.6F);
        expectLikeReference(scene);
    }
}

TEST_F(MVViewPixelBlendTest, opacitiesMultiplyDownTheTree) {
    Scene scene({180, 150});
    scene.root.opacity = 0.9F;
    SceneView* view = &scene.add(
        {.color = kRed, .position = {10, 10, 0}, .size = {150, 120, 0}, .opacity = 0.8F});
    for (const ColorRGBA color : {kGreen, kBlue, kRed, kGreen}) {
        view = &view->add({.color = color,
                           .position = {12, 9, 10},
                           .size = {view->size.width - 24, view->size.height - 22, 0},
                           .rotation = {0, 0.1F, 0},
                           .opacity = 0.85F});
    }
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, opacityPassesThroughViewsThatDrawNothing) {
    Scene scene({180, 150});
    SceneView& group = scene.add({.position = {20, 20, 0}, .opacity = 0.5F});
    SceneView& inner = group.add({.position = {10, 10, 0}, .opacity = 0.8F});
    inner.add({.color = kRed, .size = {90, 70, 0}});
    inner.add({.color = kBlue, .position = {40, 30, 0}, .size = {90, 70, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, sixteenLayersStayWithinTheToleranceOfBlending) {
    Scene scene({180, 150});
    for (int i = 0; i < 16; ++i) {
        const float step = static_cast<float>(i);
        scene.add({.color = ColorRGBA{0.06F * step, 1 - 0.05F * step, i % 2 == 0 ? 0.9F : 0.1F,
                                      0.3F + 0.03F * step},
                   .position = {5 + 4 * step, 5 + 3 * step, 0},
                   .size = {100, 90, 0}});
    }
    expectLikeReference(scene, {.scale = 2, .mostNearEdges = 0.3});
}

TEST_F(MVViewPixelBlendTest, invisibleFillsLeaveNoTrace) {
    Scene scene({180, 150});
    scene.add({.color = kRed, .position = {20, 20, 0}, .size = {100, 80, 0}});
    scene.add({.color = faded(kBlue, 0), .position = {40, 40, 0}, .size = {100, 80, 0}});
    SceneView& gone =
        scene.add({.color = kBlue, .position = {60, 10, 0}, .size = {60, 60, 0}, .opacity = 0});
    gone.add({.color = kGreen, .size = {40, 40, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, hiddenViewsAreLeftOutWithEverythingInThem) {
    Scene scene({180, 150});
    SceneView& shown = scene.add({.color = kRed, .position = {20, 20, 0}, .size = {100, 80, 0}});
    SceneView& hidden =
        shown.add({.color = kBlue, .position = {10, 10, 0}, .size = {50, 50, 0}, .hidden = true});
    hidden.add({.color = kGreen, .position = {30, 0, 0}, .size = {90, 30, 0}});
    shown.add({.color = kGreen, .position = {60, 40, 0}, .size = {30, 30, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, coloursOutsideZeroToOneAreCutOff) {
    Scene scene({180, 150});
    scene.add({.color = ColorRGBA{2, -1, 0.5F, 1}, .position = {10, 10, 0}, .size = {100, 80, 0}});
    scene.add(
        {.color = ColorRGBA{-1, 1.5F, 3, 0.5F}, .position = {50, 40, 0}, .size = {100, 80, 0}});
    scene.add({.color = ColorRGBA{0.5F, 0.4F, 0.3F, 0.5F},
               .position = {90, 20, 0},
               .size = {60, 100, 0},
               .opacity = 4});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelBlendTest, theBackgroundMayBeTransparent) {
    Scene scene({180, 150});
    scene.background = {0.2F, 0.4F, 0.1F, 0};
    addSquares(scene, 0.7F, 0.9F);
    expectLikeReference(scene);
}
