// What stencils leave to be seen.

#include <array>

#include "MivoraMac/views/MVView.h"
#include "tests/support/PixelTest.h"

using Mivora::ColorRGBA;
using Mivora::tests::PixelTest;
using Mivora::tests::Scene;
using Mivora::tests::SceneView;
using Mivora::tests::SceneWindow;

namespace {

constexpr ColorRGBA kRed{0.85F, 0.25F, 0.2F, 1.0F};
constexpr ColorRGBA kGreen{0.3F, 0.7F, 0.35F, 1.0F};
constexpr ColorRGBA kBlue{0.2F, 0.4F, 0.8F, 1.0F};
constexpr ColorRGBA kYellow{0.95F, 0.8F, 0.3F, 1.0F};

class MVViewPixelStencilTest : public PixelTest {
 protected:
    /// A view with a few others in it, one of which reaches beyond it.
    static SceneView panel() {
        SceneView result{.color = kBlue, .position = {30, 25, 0}, .size = {140, 110, 0}};
        result.add({.color = kGreen, .position = {10, 10, 0}, .size = {50, 40, 0}});
        result.add({.color = kYellow, .position = {100, 60, 0}, .size = {60, 70, 0}});
        return result;
    }

    /// A square that covers part of the panel and part of what surrounds it.
    static SceneView tiltedSquare() {
        return {.color = kRed,
                .position = {80, 60, 0},
                .size = {100, 100, 0},
                .rotation = {0, 0, 0.6F},
                .anchor = {0.5F, 0.5F, 0}};
    }
};

}  // namespace

TEST_F(MVViewPixelStencilTest, aStencilViewLimitsItsOwnerAndEverythingInIt) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    view.ownStencil() = tiltedSquare();
    view.ownStencil().rotation = {0.5F, 0.6F, 0.6F};
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, siblingsBeforeAndAfterAreNotLimited) {
    Scene scene({200, 160});
    scene.add({.color = kYellow, .position = {5, 5, 0}, .size = {80, 50, 0}});
    scene.add(panel()).ownStencil() = tiltedSquare();
    scene.add({.color = kRed, .position = {120, 100, 0}, .size = {70, 50, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, aStencilViewIsPlacedInTheContentOfItsOwner) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    view.position = {100, 80, 0};
    view.anchor = {0.5F, 0.5F, 0};
    view.rotation = {0.3F, 0.5F, 0.2F};
    view.scale = 0.9F;
    view.coordinateSystem = 1;
    view.localOrigin = {10, -15, 0};
    SceneView& stencil = view.ownStencil() = tiltedSquare();
    stencil.localOrigin = {0, 10, 0};
    stencil.coordinateSystem = 4;
    stencil.scale = 0.8F;
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, theColourOfAStencilViewDoesNotMatter) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    view.ownStencil() = tiltedSquare();
    view.ownStencil().color = ColorRGBA{0, 0, 0, 0};
    view.ownStencil().opacity = 0.5F;
    view.opacity = 0.7F;
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, aStencilIsWhateverTheStencilViewAndItsSubviewsDraw) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    SceneView& stencil = view.ownStencil() = {.position = {5, 5, 0}};
    for (int i = 0; i < 6; ++i) {
        stencil.add({.color = kRed,
                     .position = {22.0F * static_cast<float>(i), 8, 0},
                     .size = {14, 100, 0},
                     .rotation = {0, 0, i % 2 == 0 ? 0.1F : -0.1F}});
    }
    stencil.add({.color = kRed, .position = {0, 70, 0}, .size = {150, 20, 0}, .hidden = true});
    stencil.add({.color = kRed, .position = {0, 50, 0}, .size = {150, 12, 0}});
    expectLikeReference(scene, {.mostNearEdges = 0.2});
}

TEST_F(MVViewPixelStencilTest, aStencilViewThatDrawsNothingLetsNothingThrough) {
    Scene scene({200, 160});
    scene.add(panel()).ownStencil() = {.position = {0, 0, 0}, .size = {100, 100, 0}};
    scene.add({.color = kRed, .position = {10, 110, 0}, .size = {80, 40, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, nestedStencilsIntersect) {
    Scene scene({200, 160});
    SceneView& outer = scene.add(panel());
    outer.ownStencil() = tiltedSquare();
    SceneView& inner = outer.add(panel());
    inner.color = kRed;
    inner.position = {20, 30, 0};
    inner.ownStencil() = tiltedSquare();
    inner.ownStencil().size = {70, 90, 0};
    inner.ownStencil().rotation = {0, 0, -0.3F};
    outer.add({.color = kYellow, .position = {60, 0, 0}, .size = {30, 120, 0}});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, aLevelThatSiblingsUseAgainStartsEmpty) {
    Scene scene({200, 160});
    SceneView& owner = scene.add(panel());
    owner.ownStencil() = {.color = kRed, .position = {5, 5, 0}, .size = {130, 100, 0}};
    for (int i = 0; i < 3; ++i) {
        // Each would cover all that its siblings show.
        SceneView& sibling = owner.add(
            {.color = i == 1 ? kYellow : kRed, .position = {0, 30, 0}, .size = {140, 60, 0}});
        sibling.ownStencil() = {.color = kRed,
                                .position = {20 + 42 * static_cast<float>(i), 30, 0},
                                .size = {30, 60, 0},
                                .rotation = {0, 0, 0.3F},
                                .anchor = {0.5F, 0.5F, 0}};
    }
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, eightNestedStencilsLimitAndTheNinthDoesNot) {
    Scene scene({240, 180});
    SceneView* above = &scene.root;
    std::array<SceneView*, 10> levels{};
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const float shade = 0.1F * static_cast<float>(i);
        SceneView& view = above->add({.color = ColorRGBA{0.2F + 0.75F * shade, 0.8F - 0.6F * shade,
                                                         i % 2 == 0 ? 0.9F : 0.3F, 1.0F},
                                      .position = {i == 0 ? 10.0F : 0.0F, 4, 0},
                                      .size = {220, 165, 0}});
        // Each leaves away a little more, alternately at the left and at the right.
        const float cut = 12.0F * static_cast<float>(i / 2 + 1);
        view.ownStencil() = {.color = kRed,
                             .position = {i % 2 == 0 ? cut : 0.0F, 0, 0},
                             .size = {220 - cut, 200, 0},
                             .rotation = {0, 0, 0.02F}};
        levels[i] = &view;
        above = &view;
    }
    // The ninth would leave nothing of the views that carry it, and the tenth likewise.
    levels[8]->ownStencil().size = {10, 10, 0};
    levels[9]->ownStencil().size = {10, 10, 0};
    levels[9]->position.y = 40;
    expectLikeReference(scene, {.scale = 2});

    // The same picture again without the two: they are not even part of it.
    const auto with = capture(SceneWindow(scene), scene);
    levels[8]->stencil.clear();
    levels[9]->stencil.clear();
    const auto without = capture(SceneWindow(scene), scene);
    EXPECT_EQ(with.rgba, without.rgba);
    levels[7]->stencil.clear();
    EXPECT_NE(capture(SceneWindow(scene), scene).rgba, without.rgba) << "the eighth counts";
}

TEST_F(MVViewPixelStencilTest, aHiddenStencilViewLimitsNothing) {
    Scene scene({200, 160});
    scene.add(panel()).ownStencil() = tiltedSquare();
    scene.root.subviews[0].ownStencil().hidden = true;
    SceneWindow window(scene);
    expectLikeReference(capture(window, scene), scene);
    scene.root.subviews[0].ownStencil().hidden = false;
    window.apply(scene);
    expectLikeReference(capture(window, scene), scene);
}

TEST_F(MVViewPixelStencilTest, aStencilViewThatIsASubviewTooIsDrawnInItsPlace) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    SceneView stencil = tiltedSquare();
    stencil.name = "stencil";
    stencil.color = ColorRGBA{0.9F, 0.2F, 0.7F, 0.5F};
    view.subviews.insert(view.subviews.begin() + 1, stencil);
    view.stencilName = "stencil";
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, aStencilViewPlacedElsewhereLimitsWhereItLies) {
    Scene scene({200, 160});
    SceneView& elsewhere = scene.add({.color = kYellow,
                                      .position = {20, 90, 0},
                                      .size = {100, 60, 0},
                                      .rotation = {0, 0, -0.3F},
                                      .scale = 1.2F});
    elsewhere.add({.name = "shape",
                   .color = kRed,
                   .position = {20, -40, 0},
                   .size = {70, 70, 0},
                   .rotation = {0.3F, 0.4F, 0.2F}});
    scene.add(panel()).stencilName = "shape";
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, oneStencilViewMayLimitSeveralViews) {
    Scene scene({200, 160});
    SceneView& first = scene.add(panel());
    first.size = {60, 110, 0};
    first.ownStencil() = tiltedSquare();
    first.ownStencil().name = "shared";
    SceneView& second = scene.add({.color = kYellow, .position = {90, 10, 0}, .size = {60, 80, 0}});
    second.stencilName = "shared";
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, theWindowMayHaveAStencil) {
    Scene scene({200, 160});
    scene.root.ownStencil() = {.color = kRed,
                               .position = {100, 80, 0},
                               .size = {150, 60, 0},
                               .rotation = {0.4F, 0, 0.5F},
                               .anchor = {0.5F, 0.5F, 0}};
    scene.add(panel());
    scene.add({.color = kRed, .size = {60, 200, 0}, .opacity = 0.5F});
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, aStencilIsClippedAsAnythingElse) {
    Scene scene({200, 160});
    scene.nearDistance = 30;
    scene.farDistance = 40;
    SceneView& view = scene.add(panel());
    view.ownStencil() = tiltedSquare();
    view.ownStencil().size = {120, 160, 0};
    view.ownStencil().rotation = {1.0F, 0.2F, 0};
    expectLikeReference(scene);
}

TEST_F(MVViewPixelStencilTest, takingTheStencilViewAwayEndsTheLimit) {
    Scene scene({200, 160});
    SceneView& view = scene.add(panel());
    view.name = "panel";
    view.ownStencil() = tiltedSquare();
    const SceneWindow window(scene);
    expectLikeReference(capture(window, scene), scene);
    window.view("panel")->setStencilView(nullptr);
    view.stencil.clear();
    expectLikeReference(capture(window, scene), scene);
}

TEST_F(MVViewPixelStencilTest, aStencilViewWhoseOwnStencilLimitsItLetsNothingThrough) {
    // While a level is being written, a level inside it demands the bit that is not written yet.
    Scene scene({200, 160});
    scene.add({.color = kYellow, .position = {10, 10, 0}, .size = {100, 100, 0}});
    const SceneWindow window(scene);
    const auto without = capture(window, scene);
    SceneView& view = scene.add(panel());
    view.ownStencil() = tiltedSquare();
    expectLikeReference(scene);
    view.ownStencil().ownStencil() = {.color = kRed, .position = {10, 10, 0}, .size = {60, 60, 0}};
    EXPECT_EQ(capture(SceneWindow(scene), scene).rgba, without.rgba);
    view.ownStencil().ownStencil().hidden = true;
    expectLikeReference(scene);
}
