// Hit testing, interaction planes, the hooks of input and their way up the tree.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVPlatformTouch.h"
#include "MivoraMac/platform/base/MVException.h"
#include "tests/input/InputScene.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::Plane;
using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::Size2;
using testing::ElementsAre;
using testing::IsEmpty;

using View = std::shared_ptr<MVView>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kQuarterTurn = 1.57079633F;

View addView(const View& superview, Point2 position, Size2 size) {
    View view = MVView::init();
    view->setPosition(position);
    view->setSize(size);
    superview->addSubview(view);
    return view;
}

class MVViewInputTest : public testing::Test {
 protected:
    /// What a press hits at a place in the window's plane.
    View hit(float x, float y) const {
        return scene.window->viewForInteraction(scene.mouseAt(InputScene::at(x, y)));
    }
    View hoverHit(float x, float y) const {
        return scene.window->viewForInteraction(
            scene.mouseAt(InputScene::at(x, y), MVMouseButtonHover));
    }

    InputScene scene;
    const std::shared_ptr<MVWindow>& window = scene.window;
};

// Which view is hit

TEST_F(MVViewInputTest, aNewViewCanBeHitButWantsNoHovers) {
    const View view = MVView::init();
    EXPECT_TRUE(view->interactionEnabled());
    EXPECT_FALSE(view->mouseHoverEnabled());
    EXPECT_EQ(view->interactionPlane(), (Plane{{0, 0, 1}, 0}));
    EXPECT_THAT(*view->gestureRecognizers(), IsEmpty());
}

TEST_F(MVViewInputTest, anEmptyWindowIsHitItself) {
    EXPECT_EQ(hit(200, 150), window);
}

TEST_F(MVViewInputTest, nothingIsHitOutsideTheWindow) {
    addView(window, {-500, -500}, {1500, 1500});
    EXPECT_EQ(hit(-2, 150), nullptr);
    EXPECT_EQ(hit(402, 150), nullptr);
    EXPECT_EQ(hit(200, -2), nullptr);
    EXPECT_EQ(hit(200, 302), nullptr);
}

TEST_F(MVViewInputTest, theLaterOfTwoOverlappingSiblingsIsHit) {
    const View back = addView(window, {10, 10}, {100, 100});
    const View front = addView(window, {60, 60}, {100, 100});
    EXPECT_EQ(hit(80, 80), front);
    EXPECT_EQ(hit(30, 30), back);
    window->insertSubviewAtIndex(front, 0);
    EXPECT_EQ(hit(80, 80), back);
    EXPECT_EQ(hit(150, 150), front);
}

TEST_F(MVViewInputTest, theDepthOfTheSceneDoesNotChangeTheOrder) {
    const View nearer = addView(window, {10, 10}, {100, 100});
    nearer->setPosition3({10, 10, 50});
    const View later = addView(window, {10, 10}, {100, 100});
    EXPECT_EQ(hit(60, 60), later);
}

TEST_F(MVViewInputTest, theDeepestViewIsHit) {
    const View outer = addView(window, {10, 10}, {200, 200});
    const View inner = addView(outer, {10, 10}, {100, 100});
    const View innermost = addView(inner, {10, 10}, {50, 50});
    EXPECT_EQ(hit(40, 40), innermost);
    EXPECT_EQ(hit(100, 100), inner);
    EXPECT_EQ(hit(190, 190), outer);
    EXPECT_EQ(hit(300, 250), window);
}

TEST_F(MVViewInputTest, aViewThatIsDisabledMakesWhatReachesBeyondItUnreachable) {
    const View outer = addView(window, {10, 10}, {50, 50});
    const View inner = addView(outer, {0, 0}, {200, 200});
    outer->setInteractionEnabled(false);
    EXPECT_EQ(hit(30, 30), window);
    EXPECT_EQ(hit(150, 150), window);
    outer->setInteractionEnabled(true);
    EXPECT_EQ(hit(30, 30), inner);
}

TEST_F(MVViewInputTest, aViewKeepsPointersThatMissItsBoxFromItsSubviews) {
    const View outer = addView(window, {10, 10}, {50, 50});
    addView(outer, {0, 0}, {200, 200});
    EXPECT_EQ(hit(150, 150), window);
}

TEST_F(MVViewInputTest, aHiddenViewAndThoseBelowItAreNotHit) {
    const View outer = addView(window, {10, 10}, {50, 50});
    const View inner = addView(outer, {0, 0}, {50, 50});
    outer->setHidden(true);
    EXPECT_EQ(hit(30, 30), window);
    outer->setHidden(false);
    inner->setHidden(true);
    EXPECT_EQ(hit(30, 30), outer);
}

TEST_F(MVViewInputTest, aViewThatNobodyCanSeeIsHit) {
    const View view = addView(window, {10, 10}, {50, 50});
    view->setOpacity(0);
    EXPECT_EQ(hit(30, 30), view);
}

TEST_F(MVViewInputTest, theSearchMayBeginAtAnyView) {
    const View outer = addView(window, {10, 10}, {200, 200});
    const View inner = addView(outer, {10, 10}, {50, 50});
    addView(window, {0, 0}, {400, 300});
    const auto mouse = scene.mouseAt(InputScene::at(30, 30));
    EXPECT_EQ(outer->viewForInteraction(mouse), inner);
    EXPECT_EQ(inner->viewForInteraction(mouse), inner);
}

TEST_F(MVViewInputTest, noInteractionHitsNothing) {
    EXPECT_EQ(window->viewForInteraction(nullptr), nullptr);
    EXPECT_FALSE(window->hitTest(nullptr));
}

TEST_F(MVViewInputTest, theStencilViewIsNotConsulted) {
    const View view = addView(window, {0, 0}, {200, 200});
    const View stencil = MVView::init();
    stencil->setSize({50, 50});
    view->setStencilView(stencil);
    EXPECT_EQ(hit(20, 20), view);
    EXPECT_EQ(hit(150, 150), view);
    stencil->setHidden(true);
    EXPECT_EQ(hit(20, 20), view);
}

TEST_F(MVViewInputTest, aListOfSubviewsThatChangesDuringTheSearchIsSearchedAsItWas) {
    CallLog log;
    const auto first = RecordingView::make("first", &log);
    first->setPosition({10, 10});
    first->setSize({50, 50});
    const View last = addView(window, {200, 200}, {50, 50});
    window->insertSubviewAtIndex(first, 0);
    first->onTransformMatrixDidBuild = [&] { window->removeAllSubviews(); };
    EXPECT_EQ(hit(30, 30), window) << "a view without a window has no pixels";
    EXPECT_THAT(*window->subviews(), IsEmpty());
    EXPECT_EQ(last->superview(), nullptr);
}

// The box

TEST_F(MVViewInputTest, allEdgesBelongToAView) {
    const View view = addView(window, {100, 50}, {80, 60});
    struct Row {
        float x;
        float y;
        bool inside;
    };
    for (const Row& row : {
             Row{100, 80, true},
             Row{180, 80, true},
             Row{140, 50, true},
             Row{140, 110, true},
             Row{100, 50, true},
             Row{180, 110, true},
             Row{99, 80, false},
             Row{181, 80, false},
             Row{140, 49, false},
             Row{140, 111, false},
         }) {
        EXPECT_EQ(hit(row.x, row.y) == view, row.inside) << row.x << ", " << row.y;
        EXPECT_EQ(view->hitTest(scene.mouseAt(InputScene::at(row.x, row.y))), row.inside);
    }
}

TEST_F(MVViewInputTest, aViewReachesHalfAPixelBeyondItsEdges) {
    const View view = addView(window, {100, 50}, {80, 60});
    EXPECT_EQ(hit(180.4F, 80), view);
    EXPECT_EQ(hit(180.6F, 80), window);
    view->setContentScaleFactor(2);
    EXPECT_EQ(hit(180.2F, 80), view);
    EXPECT_EQ(hit(180.4F, 80), window);
}

TEST_F(MVViewInputTest, theBoxBeginsAtTheLocalOrigin) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->setLocalOrigin({1000, -500});
    const View content = addView(view, {1010, -490}, {10, 10});
    EXPECT_EQ(hit(150, 80), view);
    EXPECT_EQ(hit(99, 80), window);
    EXPECT_EQ(hit(115, 65), content);
    const auto mouse = scene.mouseAt(InputScene::at(115, 65));
    EXPECT_EQ(mouse->locationInView(view), (Point3{1015, -485, 0}));
}

TEST_F(MVViewInputTest, aFlatViewIsHitInThePlaneOfItsOriginOnly) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->setInteractionPlane({{0, 0, 1}, 5});
    EXPECT_EQ(hit(140, 80), window);
    view->setLocalOrigin3({0, 0, 5});
    EXPECT_EQ(hit(140, 80), view);
}

TEST_F(MVViewInputTest, aDeepViewIsHitBetweenItsOriginAndItsDepth) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->setSize3({80, 60, 10});
    struct Row {
        float distance;
        bool inside;
    };
    for (const Row& row :
         {Row{0, true}, Row{5, true}, Row{10, true}, Row{11, false}, Row{-1, false}}) {
        view->setInteractionPlane({{0, 0, 1}, row.distance});
        EXPECT_EQ(hit(140, 80) == view, row.inside) << row.distance;
    }
}

TEST_F(MVViewInputTest, theNoiseOfRotationsDoesNotKeepPointersFromAFlatView) {
    View view = window;
    for (int i = 0; i < 8; ++i) {
        view = addView(view, {3, 2}, {390, 290});
        view->setRotation3({0.02F, -0.03F, 0.01F});
        view->setUniformScale(0.99F);
    }
    const Point2 place = scene.placeOf(view, 200, 150);
    EXPECT_EQ(window->viewForInteraction(scene.mouseAt(place)), view);
}

TEST_F(MVViewInputTest, placementsWithoutAnInverseAreNotHit) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->setUniformScale(0);
    EXPECT_EQ(hit(100, 50), window);
    view->setUniformScale(1);
    for (const float value : {kNaN, kInfinity}) {
        view->setPosition({value, 50});
        EXPECT_EQ(hit(140, 80), window) << value;
        view->setPosition({100, 50});
        view->setRotation(value);
        EXPECT_EQ(hit(140, 80), window) << value;
        view->setRotation(0);
    }
    EXPECT_EQ(hit(140, 80), view);
}

TEST_F(MVViewInputTest, aViewOutsideAnyTreeHasNoPixelsToBeHitIn) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->removeFromSuperview();
    EXPECT_EQ(view->viewForInteraction(scene.mouseAt(InputScene::at(140, 80))), nullptr);
}

TEST_F(MVViewInputTest, aViewSeenFromBehindIsHit) {
    const View view = addView(window, {200, 150}, {80, 60});
    view->setAnchorPoint({0.5F, 0.5F});
    view->setRotation3({0, 2 * kQuarterTurn, 0});
    EXPECT_EQ(hit(220, 160), view);
    EXPECT_EQ(scene.mouseAt(InputScene::at(220, 160))->locationInView(view), (Point3{20, 40, 0}));
}

TEST_F(MVViewInputTest, aViewBehindTheEyeIsHitByTheRayExtendedBackwards) {
    const View view = addView(window, {0, 0}, {400, 300});
    view->setPosition3({0, 0, 600});
    EXPECT_EQ(hit(200, 150), view);
}

TEST_F(MVViewInputTest, anotherCoordinateSystemTurnsLocationsOver) {
    const View view = addView(window, {100, 50}, {80, 60});
    view->setCoordinateSystem(1);
    const auto mouse = scene.mouseAt(InputScene::at(110, 60));
    EXPECT_EQ(mouse->locationInView(view), (Point3{10, 50, 0}));
    EXPECT_EQ(hit(110, 60), view);
}

// Hover

TEST_F(MVViewInputTest, aHoverLandsOnAViewThatWantsIt) {
    const View view = addView(window, {10, 10}, {50, 50});
    view->setMouseHoverEnabled(true);
    EXPECT_EQ(hoverHit(30, 30), view);
    EXPECT_EQ(hoverHit(100, 100), nullptr);
}

TEST_F(MVViewInputTest, aHoverOverAViewThatDoesNotWantItIsNotOfferedToItsAncestors) {
    window->setMouseHoverEnabled(true);
    const View outer = addView(window, {10, 10}, {100, 100});
    outer->setMouseHoverEnabled(true);
    const View inner = addView(outer, {10, 10}, {50, 50});
    const View innermost = addView(inner, {10, 10}, {20, 20});
    EXPECT_EQ(hoverHit(35, 35), nullptr);
    EXPECT_EQ(inner->viewForInteraction(scene.mouseAt(InputScene::at(35, 35), MVMouseButtonHover)),
              nullptr);
    EXPECT_EQ(hoverHit(60, 60), nullptr);
    EXPECT_EQ(hoverHit(90, 90), outer);
    innermost->setMouseHoverEnabled(true);
    EXPECT_EQ(hoverHit(35, 35), innermost);
}

TEST_F(MVViewInputTest, aHoverGoesToAViewBehindOneThatDoesNotWantIt) {
    const View back = addView(window, {10, 10}, {50, 50});
    back->setMouseHoverEnabled(true);
    addView(window, {10, 10}, {50, 50});
    EXPECT_EQ(hoverHit(30, 30), back);
}

TEST_F(MVViewInputTest, pressesDoNotAskWhoWantsHovers) {
    const View view = addView(window, {10, 10}, {50, 50});
    for (const std::int32_t button : {0, 1, 2}) {
        EXPECT_EQ(window->viewForInteraction(scene.mouseAt(InputScene::at(30, 30), button)), view);
    }
}

TEST_F(MVViewInputTest, interactionsOfOtherKindsDoNotHover) {
    const View view = addView(window, {10, 10}, {50, 50});
    const auto scroll = MVScroll::init();
    scroll->setRay(scene.rayThrough(InputScene::at(30, 30)));
    EXPECT_EQ(window->viewForInteraction(scroll), view);
    EXPECT_EQ(
        MVTouch::touchWithSystemEventAndWindow(InputScene::eventAt(InputScene::at(30, 30)), window)
            ->view(),
        view);
}

/// A client's own kind of interaction: something that is at one place in every view.
class FixedInteraction : public MVInteraction {
 public:
    explicit FixedInteraction(Point3 place) : place_(place) {}

    Point3 locationInView(const View& view) const override {
        asked.push_back(view);
        return place_;
    }
    View view() const override { return nullptr; }

    mutable std::vector<View> asked;

 private:
    Point3 place_;
};

TEST_F(MVViewInputTest, anInteractionIsAskedForItsPlaceInEachViewOnTheWay) {
    const View behind = addView(window, {200, 200}, {50, 50});
    const View outer = addView(window, {0, 0}, {50, 50});
    const View inner = addView(outer, {100, 100}, {30, 30});
    const View small = addView(inner, {0, 0}, {5, 5});
    const auto interaction = std::make_shared<FixedInteraction>(Point3{20, 20, 0});
    EXPECT_EQ(window->viewForInteraction(interaction), inner);
    EXPECT_THAT(interaction->asked, ElementsAre(window, outer, inner, small));
    EXPECT_TRUE(behind->hitTest(interaction));
    EXPECT_EQ(interaction->asked.back(), behind);
}

// The interaction plane

TEST_F(MVViewInputTest, theWorldPlaneIsThePlaneCarriedByTheTransform) {
    const View view = addView(window, {0, 0}, {10, 10});
    window->mv_buildProjectionMatrix();
    const float distance = window->position3().z;
    EXPECT_EQ(view->worldInteractionPlane(), (Plane{{0, 0, 1}, distance}));
    view->setInteractionPlane({{0, 0, 1}, 7});
    EXPECT_EQ(view->worldInteractionPlane(), (Plane{{0, 0, 1}, distance + 7}));
    view->setRotation3({kQuarterTurn, 0, 0});
    const Plane turned = view->worldInteractionPlane();
    EXPECT_NEAR(turned.normal.y, -1, 1e-6);
    EXPECT_NEAR(turned.normal.z, 0, 1e-6);
}

TEST_F(MVViewInputTest, theWorldPlaneFollowsTheAncestors) {
    const View outer = addView(window, {0, 0}, {10, 10});
    const View inner = addView(outer, {0, 0}, {10, 10});
    const float before = inner->worldInteractionPlane().distance;
    outer->setPosition3({0, 0, 30});
    EXPECT_FLOAT_EQ(inner->worldInteractionPlane().distance, before + 30);
}

TEST_F(MVViewInputTest, theWorldPlaneFollowsAViewThatMovesWhileItsMatrixIsBuilt) {
    const auto view = RecordingView::make("view", nullptr);
    view->onTransformMatrixDidBuild = [&] {
        view->onTransformMatrixDidBuild = nullptr;
        view->setPosition3({0, 0, 50});
    };
    view->setPosition3({0, 0, 10});
    EXPECT_EQ(view->worldInteractionPlane().distance, 10);
    EXPECT_EQ(view->worldInteractionPlane().distance, 50);
}

TEST_F(MVViewInputTest, changingThePlaneAsksForNoRedraw) {
    const auto counting = CountingWindow::make();
    const View view = addView(counting, {0, 0}, {10, 10});
    const int before = counting->redrawRequests;
    view->setInteractionPlane({{0, 1, 0}, 3});
    EXPECT_EQ(counting->redrawRequests, before);
    EXPECT_EQ(view->interactionPlane(), (Plane{{0, 1, 0}, 3}));
}

TEST_F(MVViewInputTest, eachComponentOfThePlaneCounts) {
    const View view = addView(window, {0, 0}, {10, 10});
    for (const Plane& plane :
         {Plane{{1, 0, 1}, 0}, Plane{{1, 1, 1}, 0}, Plane{{1, 1, 2}, 0}, Plane{{1, 1, 2}, 9}}) {
        const Plane before = view->worldInteractionPlane();
        view->setInteractionPlane(plane);
        EXPECT_EQ(view->interactionPlane(), plane);
        EXPECT_NE(view->worldInteractionPlane(), before);
    }
}

TEST_F(MVViewInputTest, pointersMeetThePlaneThatIsSet) {
    const View view = addView(window, {0, 0}, {400, 300});
    view->setSize3({400, 300, 100});
    view->setInteractionPlane({{0, 0, 1}, 100});
    // Nearer to the eye, which stands 259.8 points in front of the middle, the same ray has gone a
    // smaller way from the middle.
    const Point3 place = scene.mouseAt(InputScene::at(400, 150))->locationInView(view);
    const float eye = -window->position3().z;
    EXPECT_NEAR(place.x, 200 + 200 * (eye - 100) / eye, 0.5);
    EXPECT_EQ(place.y, 150);
    EXPECT_EQ(place.z, 100);
}

// Where a ray is in a view

TEST_F(MVViewInputTest, locationsAreRoundedToPixelsHalvesAwayFromZero) {
    struct Row {
        float scale;
        float x;
        float expected;
    };
    const View view = addView(window, {0, 0}, {400, 300});
    for (const Row& row : {
             Row{1, 10.3F, 10},
             Row{2, 10.3F, 10.5F},
             Row{1, 10.5F, 11},
             Row{1, -10.5F, -11},
             Row{1, -10.3F, -10},
             Row{1, 0.49999997F, 0},
             Row{1, -0.49999997F, 0},
             Row{2, 0.25F, 0.5F},
             Row{2, -0.75F, -1},
             Row{1.5F, 1, 4.0F / 3.0F},
             Row{3, 8388608.5F / 4, 2097152},
             Row{1, 8388607.5F, 8388608},
             Row{1, 8388609, 8388609},
             Row{1, -3e9F, -3e9F},
             Row{1, 1e30F, 1e30F},
         }) {
        view->setContentScaleFactor(row.scale);
        // Straight at the plane, from where the arithmetic is exact.
        const Ray3 ray = {{row.x, 0, 0}, {0, 0, -1}};
        const View lone = MVView::init();
        lone->setContentScaleFactor(row.scale);
        EXPECT_EQ(lone->mv_locationOfRay(ray), (Point3{row.expected, 0, 0}))
            << row.x << " at " << row.scale;
    }
}

TEST_F(MVViewInputTest, everyComponentIsRounded) {
    const View view = MVView::init();
    view->setContentScaleFactor(2);
    view->setInteractionPlane({{0, 0, 1}, 3.3F});
    EXPECT_EQ(view->mv_locationOfRay({{1.1F, 2.2F, 9}, {0, 0, 1}}), (Point3{1, 2, 3.5F}));
}

TEST_F(MVViewInputTest, aRayAlongThePlaneIsNowhereInTheView) {
    const View view = MVView::init();
    const Point3 place = view->mv_locationOfRay({{1, 2, 3}, {1, 0, 0}});
    for (const float value : {place.x, place.y, place.z}) {
        EXPECT_TRUE(std::isnan(value)) << "infinity times the zeros of the transform";
    }
}

// Gesture recognizers

TEST_F(MVViewInputTest, recognizersAreListedInTheOrderOfAttachment) {
    const View view = MVView::init();
    const auto a = MVGestureRecognizer::init();
    const auto b = MVGestureRecognizer::init();
    view->addGestureRecognizer(a);
    view->addGestureRecognizer(b);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(a, b));
    EXPECT_EQ(a->view(), view);
    EXPECT_EQ(b->view(), view);
}

TEST_F(MVViewInputTest, addingARecognizerAgainMovesItToTheEnd) {
    const View view = MVView::init();
    const auto a = MVGestureRecognizer::init();
    const auto b = MVGestureRecognizer::init();
    view->addGestureRecognizer(a);
    view->addGestureRecognizer(b);
    view->addGestureRecognizer(a);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(b, a));
    EXPECT_EQ(a->view(), view);
}

TEST_F(MVViewInputTest, aRecognizerIsTakenFromTheViewThatHasIt) {
    const View first = MVView::init();
    const View second = MVView::init();
    const auto recognizer = MVGestureRecognizer::init();
    first->addGestureRecognizer(recognizer);
    second->addGestureRecognizer(recognizer);
    EXPECT_THAT(*first->gestureRecognizers(), IsEmpty());
    EXPECT_THAT(*second->gestureRecognizers(), ElementsAre(recognizer));
    EXPECT_EQ(recognizer->view(), second);
}

TEST_F(MVViewInputTest, removingARecognizerDetachesIt) {
    const View view = MVView::init();
    const auto a = MVGestureRecognizer::init();
    const auto b = MVGestureRecognizer::init();
    view->addGestureRecognizer(a);
    view->addGestureRecognizer(b);
    view->removeGestureRecognizer(a);
    EXPECT_EQ(a->view(), nullptr);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(b));
    view->removeGestureRecognizer(a);
    view->removeGestureRecognizer(nullptr);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(b));
}

TEST_F(MVViewInputTest, removingARecognizerFromAnotherViewClearsItsViewAnyway) {
    const View view = MVView::init();
    const auto recognizer = MVGestureRecognizer::init();
    view->addGestureRecognizer(recognizer);
    MVView::init()->removeGestureRecognizer(recognizer);
    EXPECT_EQ(recognizer->view(), nullptr);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(recognizer));
    view->addGestureRecognizer(recognizer);
    EXPECT_THAT(*view->gestureRecognizers(), ElementsAre(recognizer)) << "once, not twice";
    EXPECT_EQ(recognizer->view(), view);
}

TEST_F(MVViewInputTest, allRecognizersCanBeRemovedAtOnce) {
    const View view = MVView::init();
    view->removeAllGestureRecognizers();
    const auto a = MVGestureRecognizer::init();
    const auto b = MVGestureRecognizer::init();
    view->addGestureRecognizer(a);
    view->addGestureRecognizer(b);
    view->removeAllGestureRecognizers();
    EXPECT_THAT(*view->gestureRecognizers(), IsEmpty());
    EXPECT_EQ(a->view(), nullptr);
    EXPECT_EQ(b->view(), nullptr);
}

TEST_F(MVViewInputTest, aListOfRecognizersThatIsHeldStaysAsItIs) {
    const View view = MVView::init();
    const auto a = MVGestureRecognizer::init();
    const auto b = MVGestureRecognizer::init();
    const auto none = view->gestureRecognizers();
    view->addGestureRecognizer(a);
    const auto one = view->gestureRecognizers();
    view->addGestureRecognizer(b);
    const auto two = view->gestureRecognizers();
    view->removeAllGestureRecognizers();
    EXPECT_THAT(*none, IsEmpty());
    EXPECT_THAT(*one, ElementsAre(a));
    EXPECT_THAT(*two, ElementsAre(a, b));
}

TEST_F(MVViewInputTest, aRecognizerCanBeRemovedByAReferenceIntoTheList) {
    const View view = MVView::init();
    view->addGestureRecognizer(MVGestureRecognizer::init());
    view->removeGestureRecognizer(view->gestureRecognizers()->front());
    EXPECT_THAT(*view->gestureRecognizers(), IsEmpty());
}

TEST_F(MVViewInputTest, aViewKeepsItsRecognizersAndTheyForgetIt) {
    View view = MVView::init();
    std::weak_ptr<MVGestureRecognizer> weak;
    {
        auto recognizer = MVGestureRecognizer::init();
        weak = recognizer;
        view->addGestureRecognizer(std::move(recognizer));
    }
    const auto held = weak.lock();
    ASSERT_NE(held, nullptr);
    view.reset();
    EXPECT_EQ(held->view(), nullptr);
}

TEST_F(MVViewInputTest, noRecognizerCannotBeAdded) {
    try {
        window->addGestureRecognizer(nullptr);
        FAIL() << "no exception";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInvalidArgument);
    }
}

/// A view that adds a recognizer before it exists.
class HastyView : public MVView {
 protected:
    friend struct ::MVMaker;
    HastyView() { addGestureRecognizer(MVGestureRecognizer::init()); }
};

TEST_F(MVViewInputTest, aViewUnderConstructionCannotHaveRecognizers) {
    try {
        MVMake<HastyView>();
        FAIL() << "no exception";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInternalInconsistency);
    }
}

// Hooks

using TouchHook = void (MVView::*)(const MVTouchSet&);
using MouseHook = void (MVView::*)(const std::shared_ptr<MVMouse>&);
using ScrollHook = void (MVView::*)(const std::shared_ptr<MVScroll>&);

constexpr TouchHook kTouchHooks[] = {&MVView::touchesBegan, &MVView::touchesMoved,
                                     &MVView::touchesEnded, &MVView::touchesCancelled};
constexpr TouchHook kInternalTouchHooks[] = {&MVView::mv_touchesBegan, &MVView::mv_touchesMoved,
                                             &MVView::mv_touchesEnded,
                                             &MVView::mv_touchesCancelled};
constexpr MouseHook kMouseHooks[] = {&MVView::mouseBegan, &MVView::mouseMoved, &MVView::mouseEnded};
constexpr MouseHook kHoverHooks[] = {&MVView::mouseHoverBegan, &MVView::mouseHoverMoved,
                                     &MVView::mouseHoverEnded};
constexpr ScrollHook kScrollHooks[] = {&MVView::scrollBegan, &MVView::scrollMoved,
                                       &MVView::scrollEnded, &MVView::scrollCancelled};

TEST_F(MVViewInputTest, whatAViewDoesNotOverrideReachesTheNearestAncestorThatDoes) {
    CallLog log;
    addInputView(window, "top", &log, {0, 0}, {10, 10});
    const auto middle = addInputView(window->subviews()->front(), "middle", &log, {0, 0}, {10, 10});
    const View plain = addView(addView(middle, {0, 0}, {10, 10}), {0, 0}, {10, 10});
    for (const TouchHook hook : kTouchHooks) {
        (plain.get()->*hook)({});
    }
    EXPECT_THAT(log, ElementsAre("middle.touchesBegan 0", "middle.touchesMoved 0",
                                 "middle.touchesEnded 0", "middle.touchesCancelled 0"));
    log.clear();
    const auto mouse = scene.mouseAt(InputScene::at(3, 4));
    for (const MouseHook hook : kMouseHooks) {
        (plain.get()->*hook)(mouse);
    }
    EXPECT_THAT(log, ElementsAre("middle.mouseBegan 3,4", "middle.mouseMoved 3,4",
                                 "middle.mouseEnded 3,4"));
    EXPECT_EQ(middle->lastMouse, mouse);
    log.clear();
    const auto scroll = MVScroll::init();
    scroll->setRay(mouse->ray());
    for (const ScrollHook hook : kScrollHooks) {
        (plain.get()->*hook)(scroll);
    }
    EXPECT_THAT(log,
                ElementsAre("middle.scrollBegan 3,4 by 0,0", "middle.scrollMoved 3,4 by 0,0",
                            "middle.scrollEnded 3,4 by 0,0", "middle.scrollCancelled 3,4 by 0,0"));
    EXPECT_EQ(middle->lastScroll, scroll);
}

TEST_F(MVViewInputTest, whatNobodyOverridesIsDroppedAtTheRoot) {
    const View view = addView(window, {0, 0}, {10, 10});
    const auto mouse = MVMouse::init();
    for (const TouchHook hook : kTouchHooks) {
        (view.get()->*hook)({});
    }
    for (const MouseHook hook : kMouseHooks) {
        (view.get()->*hook)(mouse);
    }
    for (const ScrollHook hook : kScrollHooks) {
        (view.get()->*hook)(MVScroll::init());
    }
    for (const MouseHook hook : kHoverHooks) {
        (view.get()->*hook)(mouse);
    }
}

TEST_F(MVViewInputTest, hoversAreNotPassedUpTheTree) {
    CallLog log;
    const auto above = addInputView(window, "above", &log, {0, 0}, {10, 10});
    const View plain = addView(above, {0, 0}, {10, 10});
    for (const MouseHook hook : kHoverHooks) {
        (plain.get()->*hook)(MVMouse::init());
    }
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVViewInputTest, theInternalFormsOfTouchHooksCallTheViewsOwnHooks) {
    CallLog log;
    const auto above = addInputView(window, "above", &log, {0, 0}, {10, 10});
    const auto view = addInputView(above, "view", &log, {0, 0}, {10, 10});
    for (const TouchHook hook : kInternalTouchHooks) {
        (view.get()->*hook)({});
    }
    EXPECT_THAT(log, ElementsAre("view.touchesBegan 0", "view.touchesMoved 0",
                                 "view.touchesEnded 0", "view.touchesCancelled 0"));
}

}  // namespace
