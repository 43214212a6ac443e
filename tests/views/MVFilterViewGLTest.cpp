#include "MivoraMac/views/MVFilterView.h"

#include <epoxy/gl.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"
#include "tests/images/FilterTest.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::Point3;
using Mivora::Size2;
using Mivora::tests::callText;
using Mivora::tests::Pixels;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

class MVFilterViewTest : public Mivora::tests::FilterTest {
 protected:
    using PassFilter = Mivora::tests::PassFilter;

    void SetUp() override {
        FilterTest::SetUp();
        window_ = CountingWindow::make();
        window_->setSize({100, 100});
        window_->setContentScaleFactor(1);
        window_->mv_layoutVisit();
    }
    void TearDown() override {
        window_.reset();
        FilterTest::TearDown();
    }

    /// A view in the window with one opaque view of its size below it.
    std::shared_ptr<MVFilterView> show(Mivora::Point2 position = {10, 20}, Size2 size = {40, 30}) {
        auto view = MVFilterView::init();
        window_->addSubview(view);
        view->setPosition(position);
        view->setSize(size);
        auto fill = MVColorView::initWithColor({1, 0, 0, 1});
        fill->setSize(size);
        view->addSubview(fill);
        return view;
    }

    std::shared_ptr<PassFilter> passes(std::int32_t count) const {
        return MVMake<PassFilter>(count, plainShader());
    }

    void prepare() { window_->mv_prepareForDrawVisit(); }

    void frame() {
        prepare();
        window_->mv_drawVisit();
    }

    static Size2 pixelSize(const std::shared_ptr<MVImage>& image) {
        return image ? Size2{image->size().width * image->scale(),
                             image->size().height * image->scale()}
                     : Size2::kZero;
    }

    std::shared_ptr<CountingWindow> window_;
};

/// What two frames hold one after the other.
std::vector<std::string> namesOf(const std::vector<Mivora::tests::GLCall>& calls,
                                 std::initializer_list<const char*> wanted) {
    std::vector<std::string> result;
    for (const auto& call : calls) {
        for (const char* const name : wanted) {
            if (call.name == name) {
                result.push_back(call.name);
            }
        }
    }
    return result;
}

}  // namespace

// Windows

TEST_F(MVFilterViewTest, itsSquareWindowHasTheLongerSideAndTheDistancesOfTheWindowItIsIn) {
    window_->setSize({800, 600});
    window_->setNearDistance(70);
    window_->setFarDistance(80);
    window_->setFieldOfView(0.7F);
    const auto view = show();
    const auto square = view->mv_window();
    ASSERT_NE(square, nullptr);
    EXPECT_NE(square, window_);
    EXPECT_EQ(square->size(), (Size2{800, 800}));
    EXPECT_EQ(square->nearDistance(), 70);
    EXPECT_EQ(square->farDistance(), 80);
    EXPECT_FLOAT_EQ(square->fieldOfView(), 1.0471976F);
    EXPECT_EQ(square->mv_filterView(), view);
    EXPECT_EQ(window_->mv_filterView(), nullptr);
    window_->setSize({300, 900});
    EXPECT_EQ(square->size(), (Size2{900, 900})) << "it follows";
    view->removeFromSuperview();
    EXPECT_EQ(square->size(), (Size2{0, 0}));
    window_->setSize({20, 10});
    EXPECT_EQ(square->size(), (Size2{0, 0}));
    EXPECT_EQ(window_->observerCount(), 0U);
}

TEST_F(MVFilterViewTest, aWindowCanBeMadeForAFilterView) {
    auto view = MVFilterView::init();
    const auto square = MVWindow::initWithFilterView(view);
    window_->addSubview(view);
    window_->redrawRequests = 0;
    square->mv_setDrawDirty();
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_EQ(square->mv_filterView(), view);
    EXPECT_EQ(square->mv_application(), nullptr);
    view->removeFromSuperview();
    view.reset();
    EXPECT_EQ(square->mv_filterView(), nullptr);
    square->mv_setDrawDirty();
    EXPECT_EQ(MVWindow::initWithFilterView(nullptr)->mv_filterView(), nullptr);
}

TEST_F(MVFilterViewTest, theViewsBelowBelongToTheSquareWindow) {
    const auto view = MVFilterView::init();
    const auto before = MVView::init();
    const auto deep = MVView::init();
    before->addSubview(deep);
    view->addSubview(before);
    const auto square = view->mv_window();
    EXPECT_EQ(deep->mv_window(), square);
    window_->addSubview(view);
    EXPECT_EQ(deep->mv_window(), square);
    const auto after = MVView::init();
    view->addSubview(after);
    EXPECT_EQ(after->mv_window(), square);
    view->removeFromSuperview();
    EXPECT_EQ(deep->mv_window(), square) << "also while it is in no window";
    after->removeFromSuperview();
    EXPECT_EQ(after->mv_window(), nullptr);
}

TEST_F(MVFilterViewTest, viewsThatAConstructorAddsComeIntoTheSquareWindow) {
    struct Filled : MVFilterView {
        Filled() {
            child = MVView::init();
            addSubview(child);
        }
        std::shared_ptr<MVView> child;
    };
    const auto view = MVMake<Filled>();
    window_->addSubview(view);
    EXPECT_EQ(view->child->mv_window(), view->mv_window());
    window_->redrawRequests = 0;
    view->child->setNeedsDraw();
    EXPECT_EQ(window_->redrawRequests, 1);
}

TEST_F(MVFilterViewTest, wishesForRedrawsOfTheViewsBelowReachTheWindow) {
    const auto view = show();
    window_->redrawRequests = 0;
    (*view->subviews())[0]->setNeedsDraw();
    EXPECT_EQ(window_->redrawRequests, 1);
    view->setNeedsDraw();
    EXPECT_EQ(window_->redrawRequests, 2);
}

TEST_F(MVFilterViewTest, aFrameOfAViewThatRestsAsksForNoOther) {
    const auto view = show();
    view->setFilter(passes(3));
    frame();
    window_->redrawRequests = 0;
    frame();
    EXPECT_EQ(window_->redrawRequests, 0);
}

TEST_F(MVFilterViewTest, itsWindowAndTransformAreTheRealOnesWhileItDraws) {
    struct Asking : MVFilterView {
        void draw() override {
            windowInDraw = mv_window();
            transformInDraw = transformMatrix();
            MVFilterView::draw();
        }
        std::shared_ptr<MVWindow> windowInDraw;
        glm::mat4 transformInDraw{0};
    };
    const auto view = MVMake<Asking>();
    window_->addSubview(view);
    view->setSize({20, 20});
    view->setRotation(0.5F);
    view->setUniformScale(2);
    const auto square = view->mv_window();
    frame();
    EXPECT_EQ(view->windowInDraw, window_);
    EXPECT_EQ(view->transformInDraw, view->MVView::transformMatrix());
    EXPECT_NE(view->transformMatrix(), view->transformInDraw);
    EXPECT_EQ(view->mv_window(), square);
    view->windowInDraw.reset();
}

// Transforms

TEST_F(MVFilterViewTest, theViewsBelowArePlacedWithoutRotationAndScale) {
    const auto view = show({50, 50}, {40, 30});
    view->setAnchorPoint({0.5F, 0.5F});
    const auto child = (*view->subviews())[0];
    const glm::mat4 plain = child->transformMatrix();
    EXPECT_EQ(plain, view->MVView::transformMatrix()) << "neither rotated nor scaled: the same";
    view->setUniformScale(2);
    const glm::mat4 half = child->transformMatrix();
    EXPECT_NEAR(half[0][0], 1, 1e-6);
    EXPECT_NEAR(half[1][1], 1, 1e-6);
    EXPECT_NEAR(half[3][2], plain[3][2], 1e-3);
    view->setUniformScale(1);
    view->setRotation(1.1F);
    const glm::mat4 turned = child->transformMatrix();
    EXPECT_NEAR(turned[0][0], 1, 1e-6);
    EXPECT_NEAR(turned[1][0], 0, 1e-6);
    EXPECT_NEAR(turned[3][2], plain[3][2], 1e-3);
    view->setRotation3({0, 0.7F, 0});
    const glm::mat4 tilted = child->transformMatrix();
    // The eye is as far from the view's plane as it is in truth, and over the same point.
    const glm::vec4 eye = view->inverseTransformMatrix()[3];
    EXPECT_NEAR(-tilted[3][0],
                eye.x - (view->MVView::transformMatrix() * glm::vec4(eye.x, eye.y, 0, 1)).x, 1e-2);
}

// Texture

TEST_F(MVFilterViewTest, thereIsNoPictureBeforeTheFirstFrame) {
    const auto view = show();
    EXPECT_EQ(view->image(), nullptr);
    prepare();
    ASSERT_NE(view->image(), nullptr);
    EXPECT_EQ(pixelSize(view->image()), (Size2{40, 30}));
    EXPECT_EQ(view->image()->scale(), 1);
}

TEST_F(MVFilterViewTest, aMovedViewKeepsItsTexture) {
    const auto view = show();
    prepare();
    const auto image = view->image();
    for (int i = 0; i < 100; ++i) {
        view->setPosition({10 + 0.37F * static_cast<float>(i), 20 - 0.21F * static_cast<float>(i)});
        prepare();
        ASSERT_EQ(view->image(), image) << "frame " << i;
    }
    window_->setSize({160, 100});  // wider than high: the texture has parts of a pixel
    prepare();
    const auto wide = view->image();
    for (int i = 0; i < 100; ++i) {
        view->setPosition({0.37F * static_cast<float>(i), 0.21F * static_cast<float>(i)});
        prepare();
        ASSERT_EQ(view->image(), wide) << "frame " << i;
    }
}

TEST_F(MVFilterViewTest, anotherPixelSizeMakesAnotherTexture) {
    const auto view = show();
    prepare();
    auto image = view->image();
    view->setSize({41, 30});
    prepare();
    EXPECT_NE(view->image(), image);
    EXPECT_EQ(pixelSize(view->image()), (Size2{41, 30}));
    image = view->image();
    view->setSize({41.3F, 30});
    prepare();
    EXPECT_EQ(view->image(), image) << "less than half a pixel more";
    view->setSize({41, 30});
    view->setRotation(0.4F);
    view->setUniformScale(3);
    prepare();
    EXPECT_EQ(view->image(), image) << "rotation and scale are the picture's";
}

TEST_F(MVFilterViewTest, theTextureFollowsTheContentScaleFactor) {
    const auto view = show();
    prepare();
    view->setContentScaleFactor(2);
    prepare();
    EXPECT_EQ(pixelSize(view->image()), (Size2{80, 60}));
    EXPECT_EQ(view->image()->scale(), 2);
    EXPECT_EQ(view->image()->size(), (Size2{40, 30}));
}

TEST_F(MVFilterViewTest, sizesThatCoverNoPixelHaveNoTextureAndDrawNothing) {
    const auto view = show();
    frame();
    constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const Size2 size : {Size2{0, 30}, Size2{40, 0}, Size2{0, 0}, Size2{0.3F, 0.3F},
                             Size2{kNaN, 30}, Size2{kInfinity, 30}, Size2{1e30F, 1e30F}}) {
        view->setSize(size);
        prepare();
        EXPECT_EQ(view->image(), nullptr) << size.width << " x " << size.height;
        finish();
        gl_->clear();
        window_->mv_drawVisit();
        finish();
        EXPECT_THAT(gl_->texts(), IsEmpty());
    }
    view->setSize({40, 30});
    prepare();
    EXPECT_NE(view->image(), nullptr);
    view->setPosition({kNaN, 0});
    frame();
    EXPECT_EQ(view->image(), nullptr);
}

TEST_F(MVFilterViewTest, withoutAWindowThereIsNoTexture) {
    const auto view = show();
    prepare();
    view->removeFromSuperview();
    view->mv_prepareForDrawVisit();
    EXPECT_EQ(view->image(), nullptr);
    window_->addSubview(view);
    prepare();
    EXPECT_NE(view->image(), nullptr);
}

// Order

TEST_F(MVFilterViewTest, aHiddenViewNeitherPreparesNorDrawsWhatIsBelow) {
    CallLog log;
    const auto view = show();
    const auto child = RecordingView::make("child", &log);
    view->addSubview(child);
    view->setHidden(true);
    log.clear();
    finish();
    gl_->clear();
    frame();
    finish();
    EXPECT_THAT(log, IsEmpty());
    EXPECT_THAT(gl_->texts(), IsEmpty());
    EXPECT_EQ(view->image(), nullptr);
}

TEST_F(MVFilterViewTest, theViewsBelowArePreparedAndDrawnOnceWhileTheFrameIsPrepared) {
    CallLog log;
    const auto view = show();
    view->addSubview(RecordingView::make("first", &log));
    view->addSubview(RecordingView::make("second", &log));
    log.clear();
    prepare();
    EXPECT_THAT(log, ElementsAre("first.prepareForDraw", "second.prepareForDraw", "first.draw",
                                 "second.draw"));
    log.clear();
    window_->mv_drawVisit();
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVFilterViewTest, theTextureIsBoundClearedAndDrawnIntoWithItsPixelsInPlace) {
    const auto view = show({10, 20}, {40, 30});
    prepare();
    finish();
    gl_->clear();
    prepare();
    finish();
    EXPECT_THAT(
        namesOf(gl_->calls(),
                {"glBindFramebuffer", "glClear", "glViewport", "glDrawArrays", "glUseProgram"}),
        ElementsAre("glBindFramebuffer", "glClear", "glViewport", "glUseProgram", "glDrawArrays"));
    // 10 points from the left, and 100 - 20 - 30 from the bottom.
    EXPECT_EQ(gl_->callsOf("glViewport")[0].text(), callText("glViewport", -10, -50, 100, 100));
    EXPECT_THAT(gl_->callsOf("glGenTextures"), IsEmpty());
}

TEST_F(MVFilterViewTest, aViewBeyondTheWindowWidensTheViewOfTheSquareWindow) {
    show({-25, 20}, {40, 30});
    prepare();
    finish();
    gl_->clear();
    prepare();
    finish();
    EXPECT_EQ(gl_->callsOf("glViewport")[0].text(),
              callText("glViewport", 25 - 25, -50 - 25, 150, 150));
}

TEST_F(MVFilterViewTest, withoutAFilterItsPictureIsDrawnAsAnImageUpsideDown) {
    const auto view = show({10, 20}, {40, 30});
    view->setOpacity(0.5F);
    prepare();
    finish();
    gl_->clear();
    window_->mv_drawVisit();
    finish();
    EXPECT_THAT(gl_->callsOf("glBufferData").at(0).floats,
                ElementsAre(0, 0, 0, 1, 40, 0, 1, 1, 0, 30, 0, 0, 40, 30, 1, 0));
    EXPECT_THAT(gl_->texts(),
                Contains(callText("glBindTexture", GL_TEXTURE_2D, view->image()->mv_texture())));
    EXPECT_THAT(gl_->texts(),
                Contains(callText("glBlendFunc", GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)));
    EXPECT_THAT(gl_->callsOf("glUniform4f").at(0).arguments, ElementsAre(testing::_, 1, 1, 1, 0.5));
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(1));
}

TEST_F(MVFilterViewTest, theLastPassDrawsThePictureAndThoseBeforeItRunWhileTheFrameIsPrepared) {
    const auto view = show();
    const auto one = passes(1);
    view->setFilter(one);
    frame();
    EXPECT_THAT(one->configured, ElementsAre(0));
    EXPECT_THAT(one->inputs, ElementsAre(view->image())) << "no processor";
    const auto three = passes(3);
    view->setFilter(three);
    prepare();
    EXPECT_THAT(three->configured, ElementsAre(0, 1));
    EXPECT_EQ(three->inputs[0], view->image());
    window_->mv_drawVisit();
    EXPECT_THAT(three->configured, ElementsAre(0, 1, 2));
    EXPECT_NE(three->inputs[2], view->image());
}

TEST_F(MVFilterViewTest, theFilteredPictureIsDrawnInTheStatedOrder) {
    const auto view = show();
    view->setFilter(MVBlurFilter::initWithBlurRadius(1));
    frame();
    prepare();
    finish();
    gl_->clear();
    window_->mv_drawVisit();
    finish();
    EXPECT_THAT(namesOf(gl_->calls(), {"glUseProgram", "glUniform1i", "glBindTexture",
                                       "glUniform4f", "glUniform2f", "glDisable", "glEnable",
                                       "glBlendFunc", "glBindVertexArray", "glDrawArrays"}),
                ElementsAre("glUseProgram", "glUniform1i", "glBindTexture", "glUniform4f",
                            "glUniform2f", "glDisable", "glEnable", "glBlendFunc",
                            "glBindVertexArray", "glDrawArrays", "glBindVertexArray", "glDisable"));
}

TEST_F(MVFilterViewTest, removingTheFilterShowsThePictureAndDropsWhatTheFilterMade) {
    const auto view = show();
    frame();
    finish();
    const auto plain = gl_->liveObjects();
    view->setFilter(passes(3));
    frame();
    finish();
    EXPECT_EQ(gl_->liveObjects()["Textures"], 1 + 2);
    view->setFilter(nullptr);
    frame();
    finish();
    EXPECT_EQ(gl_->liveObjects(), plain);
}

TEST_F(MVFilterViewTest, aFilterIsObservedAsLongAsTheViewHasIt) {
    auto view = show();
    const auto filter = passes(1);
    window_->redrawRequests = 0;
    view->setFilter(filter);
    view->setFilter(filter);
    EXPECT_EQ(window_->redrawRequests, 1);
    ASSERT_THAT(*filter->filterObservers(), SizeIs(1));
    EXPECT_EQ(filter->filterObservers()->at(0).lock(), view);
    filter->announceChange();
    EXPECT_EQ(window_->redrawRequests, 2);
    view->setFilter(nullptr);
    EXPECT_THAT(*filter->filterObservers(), IsEmpty());
    view->setFilter(filter);
    view->removeFromSuperview();
    view.reset();
    filter->announceChange();
    for (const auto& entry : *filter->filterObservers()) {
        EXPECT_TRUE(entry.expired());
    }
}

TEST_F(MVFilterViewTest, filtersThatCannotWorkDrawNothingOrLeaveTheirLeadingPassesOut) {
    const auto view = show();
    for (const auto& filter : {std::shared_ptr<MVFilter>(MVBlurFilter::initWithBlurRadius(103)),
                               std::shared_ptr<MVFilter>(MVCombinationFilter::init())}) {
        view->setFilter(filter);
        prepare();
        finish();
        gl_->clear();
        window_->mv_drawVisit();
        finish();
        EXPECT_THAT(gl_->callsOf("glDrawArrays"), IsEmpty());
    }
    for (const std::int32_t count : {-3, 1'000'000'000}) {
        const auto filter = passes(count);
        view->setFilter(filter);
        frame();
        EXPECT_THAT(filter->inputs, ElementsAre(view->image())) << count;
    }
}

// Hit testing

TEST_F(MVFilterViewTest, viewsBelowAreHitWhereThePictureShowsThem) {
    /// A pointer at a place of the window.
    struct Pointer : MVInteraction {
        Pointer(MVWindow& window, Mivora::Point2 point)
            : ray(window.mv_unprojectScreenPointViewport(
                  {point.x, window.size().height - point.y},
                  {0, 0, static_cast<int>(window.size().width),
                   static_cast<int>(window.size().height)})) {}
        Point3 locationInView(const std::shared_ptr<MVView>& view) const override {
            return view->mv_locationOfRay(ray);
        }
        std::shared_ptr<MVView> view() const override { return nullptr; }
        Mivora::Ray3 ray;
    };
    for (const Size2 size : {Size2{100, 100}, Size2{300, 100}}) {
        window_->setSize(size);
        const auto view = show({10, 20}, {40, 30});
        const auto child = MVView::init();
        child->setSize({10, 10});
        child->setPosition({5, 15});
        child->setRotation(0.1F);
        view->addSubview(child);
        frame();
        const auto hit = [&](float x, float y) {
            return window_->viewForInteraction(
                std::make_shared<Pointer>(*window_, Mivora::Point2{x, y}));
        };
        EXPECT_EQ(hit(20, 41), child);
        EXPECT_EQ(hit(45, 25), (*view->subviews())[0]);
        EXPECT_EQ(hit(60, 25), window_) << "beyond the filter view";
        view->removeFromSuperview();
    }
}

// Lifetime

TEST_F(MVFilterViewTest, aThousandViewsSizesAndFiltersLeaveNothingBehind) {
    finish();
    const auto live = gl_->liveObjects();
    for (int i = 0; i < 1000; ++i) {
        const auto view = show({0, 0}, {static_cast<float>(1 + i % 9), 5});
        view->setFilter(i % 3 == 0 ? nullptr : passes(i % 4));
        frame();
        view->setSize({6, static_cast<float>(1 + i % 7)});
        view->setFilter(passes(2));
        frame();
        view->removeFromSuperview();
    }
    finish();
    EXPECT_EQ(gl_->liveObjects(), live);
}

TEST_F(MVFilterViewTest, aSubviewMayOutliveIt) {
    auto view = show();
    frame();
    const auto child = (*view->subviews())[0];
    view->removeFromSuperview();
    view.reset();
    child->setNeedsDraw();
    EXPECT_EQ(child->mv_window(), nullptr);
    child->setPosition({3, 4});
    window_->addSubview(child);
    frame();
}

TEST_F(MVFilterViewTest, theWindowMayGoBeforeIt) {
    const auto view = show();
    frame();
    window_.reset();
    view->setNeedsDraw();
    view->mv_prepareForDrawVisit();
    view->mv_drawVisit();
    window_ = CountingWindow::make();
    window_->setSize({100, 100});
    window_->addSubview(view);
    frame();
    EXPECT_NE(view->image(), nullptr);
}

TEST_F(MVFilterViewTest, aCaptureOfAViewBelowIsOneOfTheWholeWindow) {
    const auto view = show();
    MVCaptureOptions options;
    options.samples = 0;
    const auto whole = MVCaptureWindow(window_, options);
    EXPECT_EQ(MVCaptureView((*view->subviews())[0], options).rgba, whole.rgba);
    EXPECT_EQ(MVCaptureView(view, options).rgba, whole.rgba);
    view->removeFromSuperview();
    view->setPosition({0, 0});
    const auto alone = MVCaptureView(view, options);
    ASSERT_FALSE(alone.isEmpty());
    EXPECT_EQ(alone.pixel(20, 15)[0], 255);
}
