// Placement, matrices and conversion between views.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <limits>
#include <random>

#include "MivoraMac/views/MVView.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Size2;
using Mivora::Size3;
using testing::ElementsAre;
using testing::IsEmpty;

using View = std::shared_ptr<MVView>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kHalfTurn = 3.14159265F;

/// Rounding of a handful of operations on numbers of up to a few hundred: some units of 2^-24
/// times the number.
constexpr float kTolerance = 1e-4F;

void expectNear(Point3 actual, Point3 expected, float tolerance = kTolerance) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void expectNear(Point2 actual, Point2 expected, float tolerance = kTolerance) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
}

/// A view with one subview.
struct Pair {
    View parent = MVView::init();
    View child = MVView::init();

    Pair() { parent->addSubview(child); }
};

// Properties

TEST(MVViewTransformTest, aNewViewHasTheDefaultPlacement) {
    const View view = MVView::init();
    EXPECT_EQ(view->position3(), Point3::kZero);
    EXPECT_EQ(view->size3(), Size3::kZero);
    EXPECT_EQ(view->rotation3(), Point3::kZero);
    EXPECT_EQ(view->uniformScale(), 1.0F);
    EXPECT_EQ(view->anchorPoint3(), Point3::kZero);
    EXPECT_EQ(view->localOrigin3(), Point3::kZero);
    EXPECT_EQ(view->coordinateSystem(), 0);
    EXPECT_EQ(view->describe(), "MVView\n") << "nothing is marked";
    EXPECT_EQ(view->transformMatrix(), glm::mat4(1.0F));
    EXPECT_EQ(view->inverseTransformMatrix(), glm::mat4(1.0F));
    EXPECT_EQ(view->mv_localTransformMatrix(), glm::mat4(1.0F));
}

TEST(MVViewTransformTest, flatSettersKeepTheThirdComponent) {
    const View view = MVView::init();
    view->setPosition3({1.0F, 2.0F, 3.0F});
    view->setPosition({4.0F, 5.0F});
    EXPECT_EQ(view->position3(), (Point3{4.0F, 5.0F, 3.0F}));
    EXPECT_EQ(view->position(), (Point2{4.0F, 5.0F}));
    view->setSize3({1.0F, 2.0F, 3.0F});
    view->setSize({4.0F, 5.0F});
    EXPECT_EQ(view->size3(), (Size3{4.0F, 5.0F, 3.0F}));
    EXPECT_EQ(view->size(), (Size2{4.0F, 5.0F}));
    view->setAnchorPoint3({0.1F, 0.2F, 0.3F});
    view->setAnchorPoint({0.4F, 0.5F});
    EXPECT_EQ(view->anchorPoint3(), (Point3{0.4F, 0.5F, 0.3F}));
    EXPECT_EQ(view->anchorPoint(), (Point2{0.4F, 0.5F}));
    view->setLocalOrigin3({1.0F, 2.0F, 3.0F});
    view->setLocalOrigin({4.0F, 5.0F});
    EXPECT_EQ(view->localOrigin3(), (Point3{4.0F, 5.0F, 3.0F}));
    EXPECT_EQ(view->localOrigin(), (Point2{4.0F, 5.0F}));
    view->setRotation3({0.1F, 0.2F, 0.3F});
    view->setRotation(0.5F);
    EXPECT_EQ(view->rotation3(), (Point3{0.1F, 0.2F, 0.5F}));
    EXPECT_EQ(view->rotation(), 0.5F);
}

TEST(MVViewTransformTest, flatSettersGoThroughTheSetterOfThreeComponents) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    view->setSize({4.0F, 5.0F});
    EXPECT_THAT(log, ElementsAre("view.setSize3"));
}

struct Change {
    const char* name;
    std::function<void(MVView&)> apply;
};

const Change kPlacementChanges[] = {
    {"position3",
     [](MVView& v) {
         v.setPosition3({1.0F, 2.0F, 3.0F});
     }},
    {"position",
     [](MVView& v) {
         v.setPosition({1.0F, 2.0F});
     }},
    {"size3",
     [](MVView& v) {
         v.setSize3({1.0F, 2.0F, 3.0F});
     }},
    {"size",
     [](MVView& v) {
         v.setSize({1.0F, 2.0F});
     }},
    {"rotation3",
     [](MVView& v) {
         v.setRotation3({1.0F, 2.0F, 3.0F});
     }},
    {"rotation", [](MVView& v) { v.setRotation(1.0F); }},
    {"uniformScale", [](MVView& v) { v.setUniformScale(2.0F); }},
    {"anchorPoint3",
     [](MVView& v) {
         v.setAnchorPoint3({1.0F, 2.0F, 3.0F});
     }},
    {"anchorPoint",
     [](MVView& v) {
         v.setAnchorPoint({1.0F, 2.0F});
     }},
    {"localOrigin3",
     [](MVView& v) {
         v.setLocalOrigin3({1.0F, 2.0F, 3.0F});
     }},
    {"localOrigin",
     [](MVView& v) {
         v.setLocalOrigin({1.0F, 2.0F});
     }},
    {"coordinateSystem", [](MVView& v) { v.setCoordinateSystem(1); }},
};

class MVViewPlacementTest : public testing::TestWithParam<Change> {};

TEST_P(MVViewPlacementTest, aChangeMarksTheLocalTransformAndTheWorldTransformsBelow) {
    const auto window = MVWindow::init();
    const Pair pair;
    const View sibling = MVView::init();
    window->addSubview(pair.parent);
    window->addSubview(sibling);
    pair.child->transformMatrix();
    sibling->transformMatrix();
    for (const View& view : {pair.child, sibling}) {
        view->isEffectivelyHidden();
        view->effectiveOpacity();
    }
    window->mv_setDrawClean();

    GetParam().apply(*pair.parent);
    EXPECT_TRUE(isMarked(pair.parent, "localTransformMatrixDirty"));
    EXPECT_TRUE(isMarked(pair.parent, "transformMatrixDirty"));
    EXPECT_FALSE(isMarked(pair.child, "localTransformMatrixDirty"));
    EXPECT_TRUE(isMarked(pair.child, "transformMatrixDirty"));
    EXPECT_TRUE(window->mv_windowNeedsDraw());
    EXPECT_FALSE(isMarked(window, "transformMatrixDirty"));
    EXPECT_FALSE(isMarked(sibling, "transformMatrixDirty"));
    for (const View& view : {pair.parent, pair.child}) {
        EXPECT_FALSE(isMarked(view, "effectivelyHiddenDirty"));
        EXPECT_FALSE(isMarked(view, "effectiveOpacityDirty"));
    }
}

TEST_P(MVViewPlacementTest, anEqualValueDoesNothing) {
    const auto window = MVWindow::init();
    const Pair pair;
    window->addSubview(pair.parent);
    GetParam().apply(*pair.parent);
    pair.child->transformMatrix();
    window->mv_setDrawClean();
    GetParam().apply(*pair.parent);
    EXPECT_FALSE(isMarked(pair.parent, "localTransformMatrixDirty"));
    EXPECT_FALSE(isMarked(pair.parent, "transformMatrixDirty"));
    EXPECT_FALSE(window->mv_windowNeedsDraw());
}

INSTANTIATE_TEST_SUITE_P(All, MVViewPlacementTest, testing::ValuesIn(kPlacementChanges),
                         [](const auto& instance) { return instance.param.name; });

TEST(MVViewTransformTest, minusZeroEqualsZeroAndNaNEqualsNothing) {
    const View view = MVView::init();
    view->setPosition3({-0.0F, 0.0F, -0.0F});
    EXPECT_FALSE(isMarked(view, "transformMatrixDirty"));
    for (int i = 0; i < 2; ++i) {
        view->setPosition({kNaN, 0.0F});
        EXPECT_TRUE(isMarked(view, "transformMatrixDirty"));
        view->transformMatrix();
    }
}

// Local transform

TEST(MVViewTransformTest, theAnchorLandsOnThePositionWhateverRotationAndScale) {
    const Pair pair;
    pair.child->setAnchorPoint3({0.5F, 0.5F, 0.0F});
    pair.child->setSize3({100.0F, 50.0F, 0.0F});
    pair.child->setPosition3({10.0F, 20.0F, 0.0F});
    const auto anchorInParent = [&] {
        return pair.child->convertPoint3FToView({50.0F, 25.0F, 0.0F}, pair.parent);
    };
    expectNear(anchorInParent(), {10.0F, 20.0F, 0.0F});
    for (const float angle : {0.3F, kHalfTurn / 2.0F, -2.0F, 100.0F}) {
        for (const float scale : {0.25F, 1.0F, 3.0F, -1.0F}) {
            pair.child->setRotation3({angle, 2.0F * angle, -angle});
            pair.child->setUniformScale(scale);
            expectNear(anchorInParent(), {10.0F, 20.0F, 0.0F});
        }
    }
}

TEST(MVViewTransformTest, aPositiveAngleTurnsYToZAndZToXAndXToY) {
    const Pair pair;
    const float quarter = kHalfTurn / 2.0F;
    pair.child->setRotation3({quarter, 0.0F, 0.0F});
    expectNear(pair.child->convertPoint3FToView({0, 1, 0}, pair.parent), {0, 0, 1});
    pair.child->setRotation3({0.0F, quarter, 0.0F});
    expectNear(pair.child->convertPoint3FToView({0, 0, 1}, pair.parent), {1, 0, 0});
    pair.child->setRotation3({0.0F, 0.0F, quarter});
    expectNear(pair.child->convertPoint3FToView({1, 0, 0}, pair.parent), {0, 1, 0});
}

TEST(MVViewTransformTest, rotationAboutZComesBeforeThatAboutYAndThenX) {
    const Pair pair;
    const float quarter = kHalfTurn / 2.0F;
    pair.child->setRotation3({quarter, quarter, quarter});
    // About z: x to y; y stays about y; about x: y to z.
    expectNear(pair.child->convertPoint3FToView({1, 0, 0}, pair.parent), {0, 0, 1});
    // y to -x; -x to z; z to -y.
    expectNear(pair.child->convertPoint3FToView({0, 1, 0}, pair.parent), {0, -1, 0});
    // z stays; z to x; x stays.
    expectNear(pair.child->convertPoint3FToView({0, 0, 1}, pair.parent), {1, 0, 0});
}

TEST(MVViewTransformTest, theLocalTransformLeavesOutTheCoordinateSystemAndTheLocalOrigin) {
    const Pair pair;
    pair.child->setPosition({10.0F, 20.0F});
    pair.child->setSize({100.0F, 50.0F});
    const glm::mat4 before = pair.child->mv_localTransformMatrix();
    pair.child->setCoordinateSystem(1);
    pair.child->setLocalOrigin({3.0F, 4.0F});
    EXPECT_EQ(pair.child->mv_localTransformMatrix(), before);
    EXPECT_NE(pair.child->transformMatrix(), before);
}

TEST(MVViewTransformTest, aPlacementReachedInStepsGivesTheMatrixOfOneMadeAtOnce) {
    const View stepped = MVView::init();
    std::mt19937 random(7);
    std::uniform_real_distribution<float> any(-3.0F, 3.0F);
    const auto point = [&] { return Point3{any(random), any(random), any(random)}; };
    for (int step = 0; step < 300; ++step) {
        switch (step % 7 == 6 ? 5 : random() % 5) {
            case 0:
                stepped->setPosition3(point());
                break;
            case 1:
                stepped->setRotation3(point());
                break;
            case 2:
                stepped->setUniformScale(any(random));
                break;
            case 3:
                stepped->setAnchorPoint3(point());
                break;
            case 4:
                stepped->setSize3({any(random), any(random), any(random)});
                break;
            default:  // leaves nothing behind in the matrix once it is over
                stepped->setAnchorPoint3({kNaN, 0.0F, 0.0F});
                EXPECT_TRUE(std::isnan(stepped->mv_localTransformMatrix()[3][3]));
                EXPECT_TRUE(std::isnan(stepped->mv_localTransformMatrix()[3][3]));
                stepped->setAnchorPoint3(point());
        }
        const View made = MVView::init();
        made->setPosition3(stepped->position3());
        made->setRotation3(stepped->rotation3());
        made->setUniformScale(stepped->uniformScale());
        made->setAnchorPoint3(stepped->anchorPoint3());
        made->setSize3(stepped->size3());
        EXPECT_EQ(stepped->mv_localTransformMatrix(), made->mv_localTransformMatrix()) << step;
        EXPECT_EQ(stepped->mv_localTransformMatrix(), made->mv_localTransformMatrix()) << step;
    }
}

TEST(MVViewTransformTest, theScaleIsTheSameAlongEveryAxis) {
    const View view = MVView::init();
    view->setUniformScale(2.0F);
    EXPECT_EQ(view->uniformScale(), 2.0F);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(view->mv_localTransformMatrix()[axis][axis], 2.0F);
    }
}

// World transform

TEST(MVViewTransformTest, aCoordinateSystemThatDiffersTurnsYOver) {
    const Pair pair;
    pair.child->setSize({80.0F, 100.0F});
    pair.child->setCoordinateSystem(1);
    expectNear(pair.child->convertPoint2FToView({0, 0}, pair.parent), {0, 100});
    expectNear(pair.child->convertPoint2FToView({0, 100}, pair.parent), {0, 0});
    expectNear(pair.child->convertPoint3FToView({7, 30, 5}, pair.parent), {7, 70, 5});
    pair.parent->setCoordinateSystem(1);
    expectNear(pair.child->convertPoint2FToView({0, 0}, pair.parent), {0, 0});
    pair.child->setCoordinateSystem(2);
    expectNear(pair.child->convertPoint2FToView({0, 0}, pair.parent), {0, 100});
}

TEST(MVViewTransformTest, aRootComparesItsCoordinateSystemWithZero) {
    const View root = MVView::init();
    root->setSize({80.0F, 100.0F});
    root->setCoordinateSystem(-3);
    const glm::vec4 origin = root->transformMatrix() * glm::vec4(0, 0, 0, 1);
    EXPECT_EQ(origin, glm::vec4(0, 100, 0, 1));
}

TEST(MVViewTransformTest, turningYOverFollowsTheAnchorScaleAndRotation) {
    const Pair pair;
    pair.child->setSize({80.0F, 100.0F});
    pair.child->setAnchorPoint({0.5F, 0.5F});
    pair.child->setPosition({40.0F, 50.0F});
    pair.child->setUniformScale(2.0F);
    pair.child->setCoordinateSystem(1);
    expectNear(pair.child->convertPoint2FToView({40, 50}, pair.parent), {40, 50});
    expectNear(pair.child->convertPoint2FToView({0, 0}, pair.parent), {-40, 150});
}

TEST(MVViewTransformTest, theLocalOriginAppearsAtTheViewsOrigin) {
    const Pair pair;
    pair.child->setPosition({5.0F, 6.0F});
    pair.child->setSize({80.0F, 100.0F});
    pair.child->setLocalOrigin({0.0F, 30.0F});
    expectNear(pair.child->convertPoint2FToView({0, 30}, pair.parent), {5, 6});
    pair.child->setLocalOrigin3({1.0F, 2.0F, 3.0F});
    expectNear(pair.child->convertPoint3FToView({1, 2, 3}, pair.parent), {5, 6, 0});
}

TEST(MVViewTransformTest, theLocalOriginIsSubtractedBeforeYIsTurnedOver) {
    const Pair pair;
    pair.child->setSize({80.0F, 100.0F});
    pair.child->setCoordinateSystem(1);
    pair.child->setLocalOrigin({0.0F, 30.0F});
    expectNear(pair.child->convertPoint2FToView({0, 30}, pair.parent), {0, 100});
    expectNear(pair.child->convertPoint2FToView({0, 50}, pair.parent), {0, 80});
}

TEST(MVViewTransformTest, transformsComposeDownTheTree) {
    const Pair pair;
    const View grandchild = MVView::init();
    pair.child->addSubview(grandchild);
    pair.parent->setPosition({100.0F, 0.0F});
    pair.parent->setUniformScale(2.0F);
    pair.child->setPosition({10.0F, 0.0F});
    pair.child->setRotation(kHalfTurn / 2.0F);
    grandchild->setPosition({1.0F, 0.0F});
    const glm::vec4 origin = grandchild->transformMatrix() * glm::vec4(0, 0, 0, 1);
    expectNear(Point3{origin.x, origin.y, origin.z}, {120, 2, 0});
}

TEST(MVViewTransformTest, theMatrixOfASuperviewIsReadThroughItsOverride) {
    struct Flattening : MVView {
        glm::mat4 transformMatrix() override {
            MVView::transformMatrix();
            return glm::mat4(1.0F);
        }
    };
    const auto parent = MVMake<Flattening>();
    const View child = MVView::init();
    parent->addSubview(child);
    parent->setPosition({50.0F, 0.0F});
    child->setPosition({3.0F, 0.0F});
    EXPECT_EQ(child->transformMatrix()[3].x, 3.0F);
    EXPECT_EQ(parent->inverseTransformMatrix()[3].x, -50.0F);
}

TEST(MVViewTransformTest, theInverseOfASingularTransformIsTheIdentity) {
    const View view = MVView::init();
    view->setPosition({5.0F, 6.0F});
    view->setUniformScale(0.0F);
    EXPECT_EQ(view->transformMatrix()[0], glm::vec4(0.0F));
    EXPECT_EQ(view->inverseTransformMatrix(), glm::mat4(1.0F));
}

TEST(MVViewTransformTest, placementsThatAreNotFiniteAreStoredAndPassOn) {
    for (const float value : {kNaN, kInfinity, -kInfinity}) {
        for (const auto& change :
             std::vector<std::function<void(MVView&)>>{[=](MVView& v) {
                                                           v.setPosition({value, 1.0F});
                                                       },
                                                       [=](MVView& v) {
                                                           v.setSize({value, 1.0F});
                                                       },
                                                       [=](MVView& v) {
                                                           v.setRotation3({value, value, value});
                                                       },
                                                       [=](MVView& v) { v.setUniformScale(value); },
                                                       [=](MVView& v) {
                                                           v.setAnchorPoint({value, 1.0F});
                                                       },
                                                       [=](MVView& v) {
                                                           v.setLocalOrigin({value, 1.0F});
                                                       }}) {
            const Pair pair;
            pair.parent->setSize({10.0F, 10.0F});
            pair.parent->setAnchorPoint({0.5F, 0.5F});
            change(*pair.parent);
            const glm::mat4 world = pair.child->transformMatrix();
            bool finite = true;
            for (int column = 0; column < 4; ++column) {
                for (int row = 0; row < 4; ++row) {
                    finite = finite && std::isfinite(world[column][row]);
                }
            }
            EXPECT_FALSE(finite);
            pair.child->inverseTransformMatrix();
            pair.child->convertPoint3FToView({1, 2, 3}, pair.parent);
        }
    }
    const View view = MVView::init();
    view->setPosition({kInfinity, 1.0F});
    EXPECT_EQ(view->position(), (Point2{kInfinity, 1.0F}));
}

// Marking and rebuilding

TEST(MVViewTransformTest, nothingIsRebuiltBeforeItIsRead) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    parent->addSubview(child);
    parent->setPosition({1.0F, 0.0F});
    parent->setPosition({2.0F, 0.0F});
    EXPECT_THAT(log, IsEmpty());
    parent->transformMatrix();
    EXPECT_FALSE(isMarked(parent, "transformMatrixDirty"));
    EXPECT_TRUE(isMarked(child, "transformMatrixDirty"));
    EXPECT_THAT(log,
                ElementsAre("parent.transformMatrixWillBuild", "parent.transformMatrixDidBuild"));
    log.clear();
    parent->transformMatrix();
    parent->inverseTransformMatrix();
    EXPECT_THAT(log, IsEmpty());
    child->inverseTransformMatrix();
    EXPECT_FALSE(isMarked(child, "transformMatrixDirty"));
    EXPECT_THAT(log,
                ElementsAre("child.transformMatrixWillBuild", "child.transformMatrixDidBuild"));
}

TEST(MVViewTransformTest, theHooksOfAncestorsRunBetweenThoseOfAView) {
    CallLog log;
    const auto root = RecordingView::make("root", &log);
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    root->addSubview(parent);
    parent->addSubview(child);
    root->setPosition({1.0F, 0.0F});
    child->transformMatrix();
    EXPECT_THAT(log,
                ElementsAre("child.transformMatrixWillBuild", "parent.transformMatrixWillBuild",
                            "root.transformMatrixWillBuild", "root.transformMatrixDidBuild",
                            "parent.transformMatrixDidBuild", "child.transformMatrixDidBuild"));
}

TEST(MVViewTransformTest, readingTheLocalTransformRebuildsItAlone) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    view->setPosition({4.0F, 0.0F});
    EXPECT_EQ(view->mv_localTransformMatrix()[3].x, 4.0F);
    EXPECT_FALSE(isMarked(view, "localTransformMatrixDirty"));
    EXPECT_TRUE(isMarked(view, "transformMatrixDirty"));
    EXPECT_THAT(log, IsEmpty());
}

TEST(MVViewTransformTest, markingDoesNotStopAtAViewThatIsMarkedAlready) {
    const auto root = MVView::init();
    const auto middle = RecordingView::make("middle", nullptr);
    const View leaf = MVView::init();
    root->addSubview(middle);
    middle->addSubview(leaf);
    // The hook marks the view between being built and the leaf's being built from it.
    middle->onTransformMatrixDidBuild = [&] {
        middle->onTransformMatrixDidBuild = nullptr;
        middle->setPosition({1.0F, 0.0F});
        middle->mv_localTransformMatrix();
    };
    const auto window = CountingWindow::make();
    window->addSubview(root);
    middle->transformMatrix();
    EXPECT_TRUE(isMarked(middle, "transformMatrixDirty"));
    window->redrawRequests = 0;
    root->setPosition({1.0F, 0.0F});
    EXPECT_EQ(window->redrawRequests, 3);
    root->setPosition({2.0F, 0.0F});
    EXPECT_EQ(window->redrawRequests, 3 * 2);
    EXPECT_EQ(leaf->transformMatrix()[3].x, 3.0F);
}

TEST(MVViewTransformTest, aHookMayMarkItsOwnViewAgain) {
    const auto view = RecordingView::make("view", nullptr);
    view->onTransformMatrixDidBuild = [&] { view->setPosition({view->position().x + 1, 0}); };
    view->setPosition({1.0F, 0.0F});
    EXPECT_EQ(view->transformMatrix()[3].x, 1.0F);
    EXPECT_EQ(view->transformMatrix()[3].x, 2.0F);
    EXPECT_TRUE(isMarked(view, "transformMatrixDirty"));
}

TEST(MVViewTransformTest, aHookMayMoveItsViewToAnotherParentBeforeItIsBuilt) {
    const View other = MVView::init();
    View parent = MVView::init();
    const auto view = RecordingView::make("view", nullptr);
    other->setPosition({100.0F, 0.0F});
    parent->setPosition({7.0F, 0.0F});
    parent->addSubview(view);
    view->onTransformMatrixWillBuild = [&] {
        view->onTransformMatrixWillBuild = nullptr;
        other->addSubview(view);
        parent = nullptr;
    };
    EXPECT_EQ(view->transformMatrix()[3].x, 100.0F);
}

TEST(MVViewTransformTest, aHookMayDropTheParentThatItsViewIsBuiltFrom) {
    const auto root = RecordingView::make("root", nullptr);
    auto parent = MVView::init();
    const View view = MVView::init();
    root->addSubview(parent);
    parent->addSubview(view);
    root->setPosition({7.0F, 0.0F});
    root->onTransformMatrixWillBuild = [&] {
        view->removeFromSuperview();
        parent->removeFromSuperview();
        parent = nullptr;
    };
    EXPECT_EQ(view->transformMatrix()[3].x, 0.0F);
    EXPECT_EQ(view->superview(), nullptr);
}

// Conversion

TEST(MVViewTransformTest, convertingToNoViewGivesZeroAndFromNoViewTheInverseOfTheWorldOrigin) {
    const View view = MVView::init();
    view->setPosition3({10.0F, 20.0F, 30.0F});
    EXPECT_EQ(view->convertPoint3FToView({1, 2, 3}, nullptr), Point3::kZero);
    EXPECT_EQ(view->convertPoint2FToView({1, 2}, nullptr), Point2::kZero);
    EXPECT_EQ(view->convertPoint3FFromView({1, 2, 3}, nullptr), (Point3{-10, -20, -30}));
    EXPECT_EQ(view->convertPoint2FFromView({1, 2}, nullptr), (Point2{-10, -20}));
    EXPECT_EQ(view->convertVector3FToView({1, 2, 3}, nullptr), Point3::kZero);
    EXPECT_EQ(view->convertVector3FFromView({1, 2, 3}, nullptr), Point3::kZero);
    EXPECT_EQ(view->convertVector2FToView({1, 2}, nullptr), Point2::kZero);
    EXPECT_EQ(view->convertVector2FFromView({1, 2}, nullptr), Point2::kZero);
}

TEST(MVViewTransformTest, vectorsIgnoreTranslation) {
    const Pair pair;
    const View sibling = MVView::init();
    pair.parent->addSubview(sibling);
    pair.child->setPosition3({10.0F, 20.0F, 30.0F});
    pair.child->setUniformScale(2.0F);
    sibling->setPosition({-500.0F, 3.0F});
    sibling->setRotation(kHalfTurn / 2.0F);
    expectNear(pair.child->convertVector3FToView({1, 2, 3}, pair.parent), {2, 4, 6});
    expectNear(pair.child->convertVector3FToView({1, 2, 3}, sibling), {4, -2, 6});
    expectNear(sibling->convertVector3FFromView({1, 2, 3}, pair.child), {4, -2, 6});
    expectNear(pair.child->convertVector2FToView({1, 2}, sibling), {4, -2});
    expectNear(sibling->convertVector2FFromView({1, 2}, pair.child), {4, -2});
}

TEST(MVViewTransformTest, flatConversionStartsAtZeroDepthAndDropsTheDepthOfTheResult) {
    const Pair pair;
    pair.child->setPosition3({10.0F, 20.0F, 30.0F});
    pair.child->setRotation3({0.0F, kHalfTurn / 3.0F, 0.0F});
    expectNear(pair.child->convertPoint2FToView({8, 1}, pair.parent), {14, 21});
    const Point3 back = pair.child->convertPoint3FFromView({14, 21, 0}, pair.parent);
    expectNear(pair.child->convertPoint2FFromView({14, 21}, pair.parent), {back.x, back.y});
}

TEST(MVViewTransformTest, convertingToTheViewItselfReturnsThePoint) {
    const Pair pair;
    pair.parent->setPosition({3.0F, 4.0F});
    pair.child->setRotation(1.0F);
    expectNear(pair.child->convertPoint3FToView({1, 2, 3}, pair.child), {1, 2, 3});
    expectNear(pair.child->convertPoint3FFromView({1, 2, 3}, pair.child), {1, 2, 3});
}

// Random trees

/// Sums and products in double precision, and beside them the same with every term made positive:
/// what the rounding of each single-precision step is a fraction of.
struct Checked {
    glm::dmat4 value{1.0};
    glm::dmat4 magnitude{1.0};

    Checked operator*(const Checked& other) const {
        return {value * other.value, magnitude * other.magnitude};
    }
};

glm::dmat4 absolute(glm::dmat4 matrix) {
    for (int column = 0; column < 4; ++column) {
        matrix[column] = glm::abs(matrix[column]);
    }
    return matrix;
}

Checked step(const glm::dmat4& matrix) {
    return {matrix, absolute(matrix)};
}

Checked translation(double x, double y, double z) {
    return step(glm::translate(glm::dmat4(1.0), {x, y, z}));
}

/// The transform inside the superview, step by step.
Checked placementOf(const MVView& view, int coordinateSystemAbove) {
    const Point3 position = view.position3();
    const Point3 rotation = view.rotation3();
    const Point3 anchor = view.anchorPoint3();
    const Point3 origin = view.localOrigin3();
    const Size3 size = view.size3();
    const glm::dmat4 one(1.0);
    Checked result = translation(position.x, position.y, position.z) *
                     step(glm::rotate(one, double(rotation.x), {1, 0, 0})) *
                     step(glm::rotate(one, double(rotation.y), {0, 1, 0})) *
                     step(glm::rotate(one, double(rotation.z), {0, 0, 1})) *
                     step(glm::scale(one, glm::dvec3(view.uniformScale()))) *
                     translation(-double(anchor.x) * size.width, -double(anchor.y) * size.height,
                                 -double(anchor.z) * size.depth);
    if (view.coordinateSystem() != coordinateSystemAbove) {
        result = result * translation(0, size.height, 0) * step(glm::scale(one, {1, -1, 1}));
    }
    return result * translation(-origin.x, -origin.y, -origin.z);
}

class Random {
 public:
    float between(float low, float high) {
        return low + (high - low) * static_cast<float>(generator_() * 0x1p-32);
    }
    int below(int count) { return static_cast<int>(between(0.0F, static_cast<float>(count))); }
    Point3 point(float extent) {
        return {between(-extent, extent), between(-extent, extent), between(-extent, extent)};
    }
    bool chance(float probability) { return between(0.0F, 1.0F) < probability; }

 private:
    std::mt19937 generator_{20240229};
};

void place(MVView& view, Random& random) {
    if (random.chance(0.8F)) {
        view.setPosition3(random.point(1000.0F));
    }
    if (random.chance(0.8F)) {
        const Point3 size = random.point(500.0F);
        view.setSize3({size.x, size.y, size.z});
    }
    if (random.chance(0.6F)) {
        view.setRotation3(random.point(7.0F));
    }
    if (random.chance(0.3F)) {
        view.setRotation(random.between(-7.0F, 7.0F));
    }
    if (random.chance(0.5F)) {
        view.setUniformScale(random.between(0.5F, 2.0F) * (random.chance(0.2F) ? -1.0F : 1.0F));
    }
    if (random.chance(0.5F)) {
        view.setAnchorPoint3(random.point(1.5F));
    }
    if (random.chance(0.4F)) {
        view.setLocalOrigin3(random.point(300.0F));
    }
    if (random.chance(0.4F)) {
        view.setCoordinateSystem(random.below(3));
    }
}

/// A random tree that is placed, read, partly moved and partly reordered before it is checked, so
/// that stale values would show.
std::vector<View> randomTree(Random& random) {
    std::vector<View> views{MVView::init()};
    const int count = 2 + random.below(8);
    place(*views[0], random);
    while (static_cast<int>(views.size()) < count) {
        const View view = MVView::init();
        place(*view, random);
        views[random.below(static_cast<int>(views.size()))]->addSubview(view);
        views.push_back(view);
    }
    for (const View& view : views) {
        if (random.chance(0.5F)) {
            view->transformMatrix();
        }
    }
    for (int i = random.below(4); i > 0; --i) {
        place(*views[random.below(count)], random);
    }
    if (random.chance(0.3F)) {
        views[0]->addSubview(views[1 + random.below(count - 1)]);
    }
    return views;
}

/// Single precision rounds each step to 2^-24 of what it works on. A view has ten steps of up to
/// four terms, a tree here up to nine levels; errors mostly cancel, so this allows far less than
/// all of them in one direction. It is twice what was needed to pass.
constexpr double kRounding = 16 * 0x1p-24;

TEST(MVViewTransformTest, inRandomTreesEveryWorldTransformEqualsTheProductFromScratch) {
    Random random;
    for (int i = 0; i < 10000; ++i) {
        const std::vector<View> views = randomTree(random);
        const View& view = views[random.below(static_cast<int>(views.size()))];
        Checked expected = step(glm::dmat4(1.0));
        for (View current = view; current != nullptr; current = current->superview()) {
            const View above = current->superview();
            expected =
                placementOf(*current, above != nullptr ? above->coordinateSystem() : 0) * expected;
        }
        const glm::mat4 actual = view->transformMatrix();
        for (int column = 0; column < 4; ++column) {
            for (int row = 0; row < 4; ++row) {
                ASSERT_NEAR(actual[column][row], expected.value[column][row],
                            kRounding * expected.magnitude[column][row])
                    << "tree " << i << "\n"
                    << views[0]->describe();
            }
        }
    }
}

TEST(MVViewTransformTest, inRandomTreesAPointConvertedThereAndBackIsThePoint) {
    Random random;
    for (int i = 0; i < 10000; ++i) {
        const std::vector<View> views = randomTree(random);
        const int count = static_cast<int>(views.size());
        const View& from = views[random.below(count)];
        const View& to = views[random.below(count)];
        const Point3 point = random.point(1000.0F);
        const Point3 there = from->convertPoint3FToView(point, to);
        const Point3 back = from->convertPoint3FFromView(there, to);
        const Point3 alsoBack = to->convertPoint3FToView(there, from);
        // Each of the four products, and each of the two inverses it goes through, loses a
        // fraction of the largest terms in between.
        const glm::dmat4 a = absolute(glm::dmat4(from->transformMatrix()));
        const glm::dmat4 aInverse = absolute(glm::dmat4(from->inverseTransformMatrix()));
        const glm::dmat4 b = absolute(glm::dmat4(to->transformMatrix()));
        const glm::dmat4 bInverse = absolute(glm::dmat4(to->inverseTransformMatrix()));
        const glm::dvec4 magnitude =
            aInverse * b * bInverse * a *
            glm::dvec4(absolute(glm::dmat4(1.0)) *
                       glm::abs(glm::dvec4(point.x, point.y, point.z, 1.0)));
        ASSERT_NEAR(back.x, point.x, kRounding * magnitude.x) << "tree " << i;
        ASSERT_NEAR(back.y, point.y, kRounding * magnitude.y) << "tree " << i;
        ASSERT_NEAR(back.z, point.z, kRounding * magnitude.z) << "tree " << i;
        ASSERT_EQ(alsoBack, back) << "tree " << i;
    }
}

TEST(MVViewTransformTest, aTreeOfTenThousandLevelsIsBuiltFromItsLeaf) {
    const View root = MVView::init();
    View leaf = root;
    for (int i = 0; i < 10000; ++i) {
        const View next = MVView::init();
        next->setPosition({1.0F, 0.0F});
        leaf->addSubview(next);
        leaf = next;
    }
    EXPECT_EQ(leaf->transformMatrix()[3].x, 10000.0F);
    root->setPosition({0.0F, 5.0F});
    EXPECT_TRUE(isMarked(leaf, "transformMatrixDirty"));
    EXPECT_EQ(leaf->transformMatrix()[3].y, 5.0F);
    EXPECT_EQ(root->convertPoint2FFromView({0, 0}, leaf), (Point2{10000.0F, 0.0F}));
}

}  // namespace
