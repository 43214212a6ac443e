#include "MivoraMac/views/MVWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/WorkGroup.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::Size2;
using Mivora::Viewport;
using Mivora::platform::WorkGroup;

using Window = std::shared_ptr<MVWindow>;

Window windowOfSize(float width, float height) {
    Window window = MVWindow::init();
    window->setSize({width, height});
    window->setContentScaleFactor(1.0F);
    return window;
}

/// Where the near and the far plane of a projection lie in front of the eye.
float nearOf(const glm::mat4& projection) {
    return projection[3][2] / (projection[2][2] - 1.0F);
}
float farOf(const glm::mat4& projection) {
    return projection[3][2] / (projection[2][2] + 1.0F);
}

/// What a window tells its owner.
struct RecordingOwner : MVWindowOwner {
    void mv_windowDidBecomeDrawDirty() override { ++redrawRequests; }
    void mv_windowPerspectiveDidBuild(const glm::dmat4& sublayerTransform) override {
        perspectives.push_back(sublayerTransform);
        if (onPerspective) {
            onPerspective();
        }
    }

    int redrawRequests = 0;
    std::vector<glm::dmat4> perspectives;
    std::function<void()> onPerspective;
};

// Root of the tree

TEST(MVWindowTest, aNewWindowHasTheDefaultCameraAndNeedsDrawing) {
    const Window window = MVWindow::init();
    EXPECT_EQ(window->fieldOfView(), 1.0471976F);
    EXPECT_EQ(window->nearDistance(), 150.0F);
    EXPECT_EQ(window->farDistance(), 150.0F);
    EXPECT_EQ(window->anchorPoint3(), (Point3{0.5F, 0.5F, 0.0F}));
    EXPECT_EQ(window->size(), Size2::kZero);
    EXPECT_EQ(window->projectionMatrix(), glm::mat4(1.0F));
    EXPECT_TRUE(window->mv_windowNeedsDraw()) << "placing the anchor asked for it";
}

TEST(MVWindowTest, aWindowIsItsOwnWindowAndHasNoSuperview) {
    const Window window = MVWindow::init();
    const auto view = MVView::init();
    EXPECT_EQ(window->mv_window(), window);
    window->mv_setSuperview(view.get());
    EXPECT_EQ(window->superview(), nullptr);
    EXPECT_EQ(window->mv_window(), window);
    window->removeFromSuperview();
    EXPECT_GT(window->contentScaleFactor(), 0.0F);
}

TEST(MVWindowTest, drawingIsNeededFromARequestUntilItIsDone) {
    const Window window = MVWindow::init();
    const auto view = MVView::init();
    window->addSubview(view);
    window->mv_setDrawClean();
    EXPECT_FALSE(window->mv_windowNeedsDraw());
    view->setNeedsDraw();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
    view->setNeedsDraw();
    window->mv_setDrawClean();
    EXPECT_FALSE(window->mv_windowNeedsDraw());
    window->setNeedsDraw();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}

TEST(MVWindowTest, aFrameThatIsDoneLeavesWhatWasAskedForSince) {
    const Window window = MVWindow::init();
    window->setNeedsDraw();
    const std::uint64_t first = window->mv_drawRequests();
    window->setNeedsDraw();
    const std::uint64_t second = window->mv_drawRequests();
    window->mv_setDrawCleanAsOf(first);
    EXPECT_TRUE(window->mv_windowNeedsDraw());
    window->mv_setDrawCleanAsOf(second);
    EXPECT_FALSE(window->mv_windowNeedsDraw());
    window->mv_setDrawCleanAsOf(first);
    EXPECT_FALSE(window->mv_windowNeedsDraw()) << "an older frame that is done later";
}

TEST(MVWindowTest, drawingIsNeededThroughoutWhileAnotherThreadEndsAnEarlierFrame) {
    const Window window = MVWindow::init();
    window->setNeedsDraw();
    const std::uint64_t earlier = window->mv_drawRequests();
    window->setNeedsDraw();
    std::atomic<bool> over = false;
    std::thread thread([&] {
        while (!over) {
            window->mv_setDrawCleanAsOf(earlier);
        }
    });
    int misses = 0;
    for (int i = 0; i < 300000; ++i) {
        misses += window->mv_windowNeedsDraw() ? 0 : 1;
    }
    over = true;
    thread.join();
    EXPECT_EQ(misses, 0);
}

TEST(MVWindowTest, changesBelowADestroyedWindowAreSafe) {
    struct Restless : MVWindow {
        ~Restless() override { view->setPosition({1.0F, 0.0F}); }
        std::shared_ptr<MVView> view = MVView::init();
    };
    auto window = MVMake<Restless>();
    const auto view = window->view;
    window->addSubview(view);
    window = nullptr;
    view->setPosition({2.0F, 0.0F});
    EXPECT_EQ(view->mv_window(), nullptr);
}

// Camera

TEST(MVWindowTest, theCameraStandsWhereTheHeightFillsTheFieldOfView) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 projection = window->projectionMatrix();
    // Rounding of numbers of a few hundred to 24 bits, made some tenfold by the quotients of the
    // depth row.
    EXPECT_NEAR(window->position3().z, -519.6152F, 1e-3F);
    EXPECT_NEAR(nearOf(projection), 369.6152F, 1e-2F);
    EXPECT_NEAR(farOf(projection), 669.6152F, 1e-2F);
}

TEST(MVWindowTest, theProjectionIsAPerspectiveThatTurnsYOver) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 actual = window->projectionMatrix();
    const double cotangent = std::sqrt(3.0);
    const double near = 300.0 * cotangent - 150.0;
    const double far = 300.0 * cotangent + 150.0;
    glm::mat4 expected(0.0F);
    expected[0][0] = static_cast<float>(cotangent / (800.0 / 600.0));
    expected[1][1] = static_cast<float>(-cotangent);
    expected[2][2] = static_cast<float>((far + near) / (near - far));
    expected[2][3] = -1.0F;
    expected[3][2] = static_cast<float>(2.0 * far * near / (near - far));
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            EXPECT_NEAR(actual[column][row], expected[column][row],
                        1e-6F * std::max(1.0F, std::abs(expected[column][row])))
                << column << ", " << row;
        }
    }
}

TEST(MVWindowTest, theCornersOfTheContentAreTheCornersOfTheViewport) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 projection = window->projectionMatrix();
    // At position (0, 0) the camera looks at the content's centre.
    const auto seenAt = [&](Point3 point) {
        return MVMathProject(point, window->transformMatrix(), projection,
                             Viewport{0, 0, 800, 600});
    };
    // Viewport y counts from the bottom.
    const Point3 topLeft = seenAt({0, 0, 0});
    EXPECT_NEAR(topLeft.x, 0.0F, 1e-3F);
    EXPECT_NEAR(topLeft.y, 600.0F, 1e-3F);
    const Point3 bottomRight = seenAt({800, 600, 0});
    EXPECT_NEAR(bottomRight.x, 800.0F, 1e-3F);
    EXPECT_NEAR(bottomRight.y, 0.0F, 1e-3F);
}

TEST(MVWindowTest, theNearPlaneStaysInFrontOfTheEye) {
    const Window window = windowOfSize(800.0F, 600.0F);
    window->setNearDistance(600.0F);
    const glm::mat4 projection = window->projectionMatrix();
    const float far = 519.6152F + 150.0F;
    // The depth row cannot tell so small a near plane from 0; the translation can.
    EXPECT_NEAR(projection[3][2], 2.0F * far * 0.001F / (0.001F - far), 1e-8F);
}

TEST(MVWindowTest, aSizeOfZeroKeepsTheProjectionAndThePosition) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 before = window->projectionMatrix();
    const float z = window->position3().z;
    window->setSize({0.0F, 0.0F});
    EXPECT_EQ(window->projectionMatrix(), before);
    window->setFieldOfView(0.5F);
    EXPECT_EQ(window->projectionMatrix(), before);
    EXPECT_EQ(window->position3().z, z);
    window->setSize({800.0F, 600.0F});
    EXPECT_NE(window->projectionMatrix(), before);
}

TEST(MVWindowTest, theWindowKeepsItsPlaceAcrossTheCamera) {
    const Window window = windowOfSize(800.0F, 600.0F);
    window->setPosition3({3.0F, 4.0F, 5.0F});
    window->mv_buildProjectionMatrix();
    EXPECT_EQ(window->position(), (Point2{3.0F, 4.0F}));
    EXPECT_NEAR(window->position3().z, -519.6152F, 1e-3F);
}

TEST(MVWindowTest, buildingTheProjectionMarksTheWorldTransforms) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const auto view = MVView::init();
    window->addSubview(view);
    EXPECT_EQ(view->transformMatrix()[3].z, 0.0F);
    window->mv_setDrawClean();
    window->mv_buildProjectionMatrix();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
    EXPECT_NEAR(view->transformMatrix()[3].z, -519.6152F, 1e-3F);
}

struct CameraChange {
    const char* name;
    void (MVWindow::*set)(float);
    float (MVWindow::*get)() const;
    float value;
};

class MVWindowCameraTest : public testing::TestWithParam<CameraChange> {};

TEST_P(MVWindowCameraTest, aChangeRebuildsTheProjectionWhenItIsNextRead) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 before = window->projectionMatrix();
    window->mv_setDrawClean();
    (window.get()->*GetParam().set)(GetParam().value);
    EXPECT_EQ((window.get()->*GetParam().get)(), GetParam().value);
    EXPECT_FALSE(window->mv_windowNeedsDraw()) << "a camera change asks for no redraw by itself";
    EXPECT_NE(window->projectionMatrix(), before);
}

TEST_P(MVWindowCameraTest, anEqualValueDoesNotMarkTheProjection) {
    const Window window = windowOfSize(800.0F, 600.0F);
    (window.get()->*GetParam().set)(GetParam().value);
    window->mv_buildProjectionMatrix();
    // A projection that is marked would take the window back to its distance when built.
    window->setPosition3({0.0F, 0.0F, 77.0F});
    (window.get()->*GetParam().set)(GetParam().value);
    window->projectionMatrix();
    EXPECT_EQ(window->position3().z, 77.0F);
}

INSTANTIATE_TEST_SUITE_P(All, MVWindowCameraTest,
                         testing::Values(CameraChange{"fieldOfView", &MVWindow::setFieldOfView,
                                                      &MVWindow::fieldOfView, 0.8F},
                                         CameraChange{"nearDistance", &MVWindow::setNearDistance,
                                                      &MVWindow::nearDistance, 10.0F},
                                         CameraChange{"farDistance", &MVWindow::setFarDistance,
                                                      &MVWindow::farDistance, 10.0F}),
                         [](const auto& instance) { return instance.param.name; });

TEST(MVWindowTest, settingAnySizeMarksTheProjection) {
    const Window window = windowOfSize(800.0F, 600.0F);
    window->mv_buildProjectionMatrix();
    window->setPosition3({0.0F, 0.0F, 77.0F});
    window->setSize({800.0F, 600.0F});
    window->mv_buildProjectionMatrix();
    EXPECT_NEAR(window->position3().z, -519.6152F, 1e-3F);
}

TEST(MVWindowTest, degenerateCamerasDoNotCrash) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const Size2 size :
         {Size2{800, 0}, Size2{0, 600}, Size2{-800, -600}, Size2{nan, nan}, Size2{infinity, 600}}) {
        for (const float fieldOfView : {0.0F, 1.0F, 3.14159274F, -1.0F, nan, infinity}) {
            for (const float distance : {-1000.0F, 0.0F, nan, infinity}) {
                const Window window = windowOfSize(size.width, size.height);
                window->setFieldOfView(fieldOfView);
                window->setNearDistance(distance);
                window->setFarDistance(distance);
                window->projectionMatrix();
                window->transformMatrix();
                window->mv_unprojectScreenPointViewport({1, 1}, {0, 0, 800, 600});
            }
        }
    }
}

TEST(MVWindowTest, aLayoutThatIsWantedBringsTheCameraUpToDate) {
    const Window window = windowOfSize(800.0F, 600.0F);
    EXPECT_TRUE(window->mv_isLayoutDirty()) << "a change of size wants one";
    EXPECT_EQ(window->position3().z, 0.0F);
    window->mv_layoutVisit();
    EXPECT_NEAR(window->position3().z, -519.6152F, 1e-3F);
    EXPECT_FALSE(window->mv_isLayoutDirty());
    window->setFieldOfView(0.8F);
    window->setNeedsLayout();
    window->mv_layoutVisit();
    EXPECT_NEAR(window->position3().z, -300.0F / std::tan(0.4F), 1e-3F);
}

TEST(MVWindowTest, aLayoutMovesTheWindowBeforeItsSubviewsAreLaidOut) {
    CallLog log;
    const Window window = windowOfSize(800.0F, 600.0F);
    const auto view = RecordingView::make("view", &log);
    window->addSubview(view);
    view->setNeedsLayout();
    float z = 0.0F;
    view->onLayoutSubviews = [&] { z = window->position3().z; };
    window->mv_layoutVisit();
    EXPECT_NEAR(z, -519.6152F, 1e-3F);
}

TEST(MVWindowTest, aLayoutOfAWindowWithoutExtentKeepsTheCamera) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const glm::mat4 before = window->projectionMatrix();
    window->setSize({0.0F, 0.0F});
    window->mv_layoutVisit();
    EXPECT_EQ(window->projectionMatrix(), before);
    EXPECT_FALSE(window->mv_isLayoutDirty());
}

// Owner and surface

TEST(MVWindowTest, aWindowOfItsOwnHasNoOwner) {
    EXPECT_EQ(MVWindow::init()->mv_owner(), nullptr);
    const Window window = MVWindow::mv_initWithOwner(nullptr);
    EXPECT_EQ(window->mv_owner(), nullptr);
    window->setSize({800.0F, 600.0F});
    window->mv_layoutVisit();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}

TEST(MVWindowTest, theOwnerIsToldOfEveryRequestForARedraw) {
    const auto owner = std::make_shared<RecordingOwner>();
    const Window window = MVWindow::mv_initWithOwner(owner);
    EXPECT_EQ(window->mv_owner(), owner);
    EXPECT_EQ(owner->redrawRequests, 0) << "none while the window is being made";
    const auto view = MVView::init();
    window->addSubview(view);
    owner->redrawRequests = 0;
    view->setNeedsDraw();
    view->setNeedsDraw();
    EXPECT_EQ(owner->redrawRequests, 2);
    window->mv_setDrawClean();
    EXPECT_EQ(owner->redrawRequests, 2);
}

TEST(MVWindowTest, theOwnerFindsTheWindowMarkedWhenItIsTold) {
    struct Asking : MVWindowOwner {
        void mv_windowDidBecomeDrawDirty() override { marked = window->mv_windowNeedsDraw(); }
        MVWindow* window = nullptr;
        bool marked = false;
    };
    const auto owner = std::make_shared<Asking>();
    const Window window = MVWindow::mv_initWithOwner(owner);
    owner->window = window.get();
    window->mv_setDrawClean();
    window->setNeedsDraw();
    EXPECT_TRUE(owner->marked);
}

TEST(MVWindowTest, theOwnerIsGivenThePerspectiveOfTheCamera) {
    const auto owner = std::make_shared<RecordingOwner>();
    const Window window = MVWindow::mv_initWithOwner(owner);
    window->setSize({800.0F, 600.0F});
    EXPECT_TRUE(owner->perspectives.empty()) << "nothing has been built";
    float z = 0.0F;
    owner->onPerspective = [&] { z = window->position3().z; };
    window->mv_layoutVisit();
    ASSERT_EQ(owner->perspectives.size(), 1U);
    EXPECT_NEAR(z, -519.6152F, 1e-3F) << "the window stands in its place by then";
    glm::dmat4 expected(1.0);
    expected[2][3] = static_cast<double>(1.0F / z);
    EXPECT_EQ(owner->perspectives[0], expected);
    window->projectionMatrix();
    EXPECT_EQ(owner->perspectives.size(), 1U) << "nothing was marked";
    window->setFieldOfView(0.8F);
    window->projectionMatrix();
    EXPECT_EQ(owner->perspectives.size(), 2U);
    EXPECT_NEAR(owner->perspectives[1][2][3], -std::tan(0.4) / 300.0, 1e-8);
}

TEST(MVWindowTest, aWindowWithoutExtentGivesItsOwnerNoPerspective) {
    const auto owner = std::make_shared<RecordingOwner>();
    const Window window = MVWindow::mv_initWithOwner(owner);
    window->projectionMatrix();
    EXPECT_TRUE(owner->perspectives.empty());
}

TEST(MVWindowTest, theOwnerIsNotKeptAlive) {
    auto owner = std::make_shared<RecordingOwner>();
    const Window window = MVWindow::mv_initWithOwner(owner);
    owner.reset();
    EXPECT_EQ(window->mv_owner(), nullptr);
    window->setSize({800.0F, 600.0F});
    window->mv_layoutVisit();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}

TEST(MVWindowTest, theSurfaceIsNotKeptAlive) {
    const Window window = MVWindow::init();
    EXPECT_EQ(window->mv_surface(), nullptr);
    auto surface = MVRenderSurface::init();
    window->setMv_surface(surface);
    EXPECT_EQ(window->mv_surface(), surface);
    EXPECT_EQ(surface.use_count(), 1);
    surface.reset();
    EXPECT_EQ(window->mv_surface(), nullptr);
    surface = MVRenderSurface::init();
    window->setMv_surface(surface);
    window->setMv_surface(nullptr);
    EXPECT_EQ(window->mv_surface(), nullptr);
}

// Rays

TEST(MVWindowTest, theCentreOfTheViewportLooksStraightAhead) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const Ray3 ray = window->mv_unprojectScreenPointViewport({400, 300}, {0, 0, 800, 600});
    EXPECT_NEAR(ray.startPoint.x, 0.0F, 1e-3F);
    EXPECT_NEAR(ray.startPoint.y, 0.0F, 1e-3F);
    // The depth of the near plane is a quotient of sums that cancel to some 1/10.
    EXPECT_NEAR(ray.startPoint.z, -369.6152F, 1e-2F);
    EXPECT_NEAR(ray.direction.x, 0.0F, 1e-6F);
    EXPECT_NEAR(ray.direction.y, 0.0F, 1e-6F);
    EXPECT_NEAR(ray.direction.z, -1.0F, 1e-6F);
}

TEST(MVWindowTest, theScreenPointIsInPointsAndTheViewportInPixels) {
    const Window window = windowOfSize(800.0F, 600.0F);
    window->setContentScaleFactor(2.0F);
    const Ray3 ray = window->mv_unprojectScreenPointViewport({400, 300}, {0, 0, 1600, 1200});
    EXPECT_NEAR(ray.direction.x, 0.0F, 1e-6F);
    EXPECT_NEAR(ray.direction.y, 0.0F, 1e-6F);
}

TEST(MVWindowTest, aRayPassesThroughTheContentThatIsSeenAtItsPoint) {
    const Window window = windowOfSize(800.0F, 600.0F);
    window->mv_buildProjectionMatrix();
    const glm::mat4 toContent = window->inverseTransformMatrix();
    // Viewport y counts from the bottom, content y from the top.
    const Ray3 ray = window->mv_unprojectScreenPointViewport({100, 500}, {0, 0, 800, 600});
    const float length = std::hypot(ray.direction.x, ray.direction.y, ray.direction.z);
    EXPECT_NEAR(length, 1.0F, 1e-6F);
    // The eye is at the origin and the window's plane at its position.
    const float t = window->position3().z / ray.direction.z;
    const glm::vec4 content =
        toContent * glm::vec4(ray.direction.x * t, ray.direction.y * t, ray.direction.z * t, 1.0F);
    EXPECT_NEAR(content.x, 100.0F, 1e-2F);
    EXPECT_NEAR(content.y, 100.0F, 1e-2F);
    EXPECT_NEAR(content.z, 0.0F, 1e-2F);
}

TEST(MVWindowTest, theDirectionIsTheFarPointSeenFromTheEye) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const Ray3 ray = window->mv_unprojectScreenPointViewport({0, 0}, {0, 0, 800, 600});
    const Point3 far =
        MVMathUnproject({0, 0, 1}, glm::mat4(1.0F), window->projectionMatrix(), {0, 0, 800, 600});
    const float length = std::hypot(far.x, far.y, far.z);
    EXPECT_NEAR(ray.direction.x, far.x / length, 1e-6F);
    EXPECT_NEAR(ray.direction.y, far.y / length, 1e-6F);
    EXPECT_NEAR(ray.direction.z, far.z / length, 1e-6F);
}

TEST(MVWindowTest, aProjectionWithoutInverseGivesTheNullRay) {
    const Window window = windowOfSize(0.0F, 600.0F);
    EXPECT_EQ(window->mv_unprojectScreenPointViewport({1, 1}, {0, 0, 800, 600}), Ray3::kNull);
}

TEST(MVWindowTest, aViewportWithoutExtentGivesARayOfNaN) {
    const Window window = windowOfSize(800.0F, 600.0F);
    const Ray3 ray = window->mv_unprojectScreenPointViewport({0, 0}, {0, 0, 0, 0});
    EXPECT_TRUE(std::isnan(ray.direction.x));
}

// Content

TEST(MVWindowContentTest, theContentViewHasTheWindowsSizeAndFollowsIt) {
    const auto window = MVWindow::init();
    window->setSize({40.0F, 30.0F});
    const auto view = RecordingView::make("view", nullptr);
    view->setSize3({1.0F, 2.0F, 3.0F});
    window->setContentView(view);
    EXPECT_EQ(window->contentView(), view);
    EXPECT_EQ(view->superview(), window);
    EXPECT_EQ(view->size3(), (Mivora::Size3{40.0F, 30.0F, 3.0F})) << "the depth is its own";
    window->setSize({50.0F, 20.0F});
    EXPECT_EQ(view->size(), (Mivora::Size2{50.0F, 20.0F}));
    view->setSize({5.0F, 5.0F});
    window->setSize({50.0F, 20.0F});
    EXPECT_EQ(view->size(), (Mivora::Size2{50.0F, 20.0F})) << "also when told the same again";
}

TEST(MVWindowContentTest, aNewSizeLaysTheContentOutInTheSameVisit) {
    CallLog log;
    const auto window = MVWindow::init();
    const auto view = RecordingView::make("view", &log);
    window->setContentView(view);
    window->mv_layoutVisit();
    log.clear();
    window->setSize({50.0F, 20.0F});
    window->mv_layoutVisit();
    EXPECT_THAT(log, testing::ElementsAre("view.setSize3", "view.layoutSubviews"));
}

TEST(MVWindowContentTest, anotherContentViewTakesThePlaceOfTheFormer) {
    const auto window = MVWindow::init();
    const auto back = MVView::init();
    const auto first = MVView::init();
    const auto front = MVView::init();
    const auto second = MVView::init();
    window->addSubview(back);
    window->setContentView(first);
    window->addSubview(front);
    window->setContentView(second);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(back, second, front));
    EXPECT_EQ(first->superview(), nullptr);
    window->setContentView(front);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(back, front)) << "a subview already";
    window->setContentView(front);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(back, front));
    window->setContentView(nullptr);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(back));
    EXPECT_EQ(window->contentView(), nullptr);
    window->setContentView(nullptr);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(back));
}

TEST(MVWindowContentTest, aViewThatHasLeftIsNotTheContentViewUntilItIsBack) {
    const auto window = MVWindow::init();
    auto view = MVView::init();
    window->setContentView(view);
    view->removeFromSuperview();
    EXPECT_EQ(window->contentView(), nullptr);
    window->setSize({50.0F, 20.0F});
    EXPECT_EQ(view->size(), Mivora::Size2::kZero);
    window->addSubview(view);
    EXPECT_EQ(window->contentView(), view);
    view->removeFromSuperview();
    const std::weak_ptr<MVView> watched = view;
    view.reset();
    EXPECT_TRUE(watched.expired()) << "nor does the window keep it";
}

TEST(MVWindowContentTest, whatCannotBeASubviewIsRefusedAndChangesNothing) {
    const auto window = MVWindow::init();
    const auto view = MVView::init();
    window->setContentView(view);
    EXPECT_THROW(window->setContentView(window), MVException);
    EXPECT_THROW(window->setContentView(MVWindow::init()), MVException);
    EXPECT_EQ(window->contentView(), view);
    EXPECT_THAT(*window->subviews(), testing::ElementsAre(view));
}

}  // namespace

TEST(MVWindowTest, theLayoutGroupIsKeptUntilTheWindowGoes) {
    auto window = MVWindow::init();
    EXPECT_EQ(window->mv_subviewLayoutDispatchGroup(), nullptr);
    const std::weak_ptr<WorkGroup> group = [&] {
        auto made = WorkGroup::create();
        window->setMv_subviewLayoutDispatchGroup(made);
        return made;
    }();
    EXPECT_FALSE(group.expired());
    window.reset();
    EXPECT_TRUE(group.expired());
}
