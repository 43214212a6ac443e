#include "MivoraMac/app/MVCapture.h"

#include <epoxy/gl.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/support/GLTest.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::ColorRGBA;
using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::callText;
using Mivora::tests::LogCapture;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

constexpr ColorRGBA kRed{1.0F, 0.0F, 0.0F, 1.0F};
constexpr ColorRGBA kGreen{0.0F, 1.0F, 0.0F, 1.0F};
constexpr ColorRGBA kBlue{0.0F, 0.0F, 1.0F, 1.0F};

class MVCaptureTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        window_ = MVWindow::init();
        window_->setSize({40.0F, 30.0F});
        window_->setContentScaleFactor(1.0F);
        finish();
        gl_->clear();
    }

    void TearDown() override {
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    static std::shared_ptr<MVColorView> box(ColorRGBA color, float x, float y, float width,
                                            float height) {
        auto view = MVColorView::initWithColor(color);
        view->setPosition({x, y});
        view->setSize({width, height});
        return view;
    }

    static MVCaptureOptions atScale(float scale) {
        MVCaptureOptions options;
        options.scale = scale;
        options.samples = 0;
        return options;
    }

    /// A capture that must be refused; returns the reason that the log gives.
    template <class Capture>
    static std::string refusal(Capture capture) {
        const LogCapture log("frame");
        const Picture picture = capture();
        EXPECT_TRUE(picture.isEmpty());
        EXPECT_EQ(picture.size, PixelSize());
        for (const auto& [category, text] : log.lines()) {
            if (text.starts_with("no picture: ")) {
                EXPECT_EQ(category, LogCapture::Category::Frame);
                return text;
            }
        }
        return "";
    }

    static void expectPixel(const Picture& picture, int x, int y, ColorRGBA color) {
        const auto pixel = picture.pixel(x, y);
        const std::array<float, 4> expected = {color.red, color.green, color.blue, color.alpha};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(pixel.at(i), expected.at(i) * 255.0F, 1.0F)
                << x << ", " << y << ", component " << i;
        }
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<MVWindow> window_;
};

// The picture

TEST_F(MVCaptureTest, aPictureShowsTheWindowFromItsTopLeft) {
    window_->addSubview(box(kRed, 0.0F, 0.0F, 10.0F, 10.0F));
    window_->addSubview(box(kGreen, 30.0F, 20.0F, 10.0F, 10.0F));
    const Picture picture = MVCaptureWindow(window_);
    EXPECT_EQ(picture.size, (PixelSize{40, 30}));
    EXPECT_THAT(picture.rgba, SizeIs(40 * 30 * 4));
    expectPixel(picture, 0, 0, kRed);
    expectPixel(picture, 9, 9, kRed);
    expectPixel(picture, 39, 29, kGreen);
    expectPixel(picture, 30, 20, kGreen);
    expectPixel(picture, 10, 10, {0.1F, 0.1F, 0.1F, 1.0F});
    expectPixel(picture, 0, 29, {0.1F, 0.1F, 0.1F, 1.0F});
    expectPixel(picture, 39, 0, {0.1F, 0.1F, 0.1F, 1.0F});
}

struct ScaleCase {
    const char* name;
    Size2 size;
    float scale;
    PixelSize pixels;
};

class MVCaptureScaleTest : public MVCaptureTest, public testing::WithParamInterface<ScaleCase> {};

TEST_P(MVCaptureScaleTest, aPictureHasTheSizeOfTheWindowInPixelsRoundedDown) {
    window_->setSize(GetParam().size);
    window_->addSubview(box(kBlue, 0.0F, 0.0F, GetParam().size.width, GetParam().size.height));
    const Picture picture = MVCaptureWindow(window_, atScale(GetParam().scale));
    ASSERT_EQ(picture.size, GetParam().pixels);
    expectPixel(picture, 0, 0, kBlue);
    expectPixel(picture, picture.size.width - 1, picture.size.height - 1, kBlue);
    finish();
    EXPECT_THAT(gl_->texts(),
                Contains(callText("glViewport", 0, 0, picture.size.width, picture.size.height)));
}

INSTANTIATE_TEST_SUITE_P(All, MVCaptureScaleTest,
                         testing::Values(ScaleCase{"one", {40, 30}, 1.0F, {40, 30}},
                                         ScaleCase{"two", {40, 30}, 2.0F, {80, 60}},
                                         ScaleCase{"oneAndAHalf", {40, 30}, 1.5F, {60, 45}},
                                         ScaleCase{
                                             "oneAndAHalfOfOddSizes", {33, 21}, 1.5F, {49, 31}},
                                         ScaleCase{"aQuarter", {40, 30}, 0.25F, {10, 7}},
                                         ScaleCase{"oddSizes", {7, 5}, 1.0F, {7, 5}},
                                         ScaleCase{"fractionsOfPoints", {7.9F, 5.5F}, 1.0F, {7, 5}},
                                         ScaleCase{"onePixel", {1, 1}, 1.0F, {1, 1}}),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(MVCaptureTest, withoutAScaleTheContentScaleFactorOfTheWindowCounts) {
    window_->setContentScaleFactor(2.0F);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float scale : {0.0F, -1.0F, nan}) {
        EXPECT_EQ(MVCaptureWindow(window_, atScale(scale)).size, (PixelSize{80, 60})) << scale;
    }
    EXPECT_EQ(window_->contentScaleFactor(), 2.0F);
}

TEST_F(MVCaptureTest, negativeExtentsCountAsTheirMagnitude) {
    window_->setSize({-40.0F, -30.0F});
    EXPECT_EQ(MVCaptureWindow(window_, atScale(1.0F)).size, (PixelSize{40, 30}));
}

struct SamplesCase {
    int samples;
    double allocated;  ///< -1: as many as the driver offers
};

class MVCaptureSamplesTest : public MVCaptureTest,
                             public testing::WithParamInterface<SamplesCase> {};

TEST_P(MVCaptureSamplesTest, aPictureIsDrawnWithTheSamplesAskedFor) {
    MVCaptureOptions options;
    options.samples = GetParam().samples;
    window_->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    const Picture picture = MVCaptureWindow(window_, options);
    expectPixel(picture, 20, 15, kRed);
    finish();
    double expected = GetParam().allocated;
    if (expected < 0) {
        onQueue([&] {
            GLint maximum = 0;
            glGetIntegerv(GL_MAX_SAMPLES, &maximum);
            expected = maximum;
        });
    }
    const auto storages = gl_->callsOf("glRenderbufferStorageMultisample");
    ASSERT_THAT(storages, SizeIs(2));
    EXPECT_EQ(storages[0].arguments[1], expected);
    EXPECT_EQ(storages[1].arguments[1], expected);
}

INSTANTIATE_TEST_SUITE_P(All, MVCaptureSamplesTest,
                         testing::Values(SamplesCase{0, 0}, SamplesCase{1, 0}, SamplesCase{-3, 0},
                                         SamplesCase{4, 4}, SamplesCase{100000, -1}),
                         [](const auto& instance) {
                             const int samples = instance.param.samples;
                             return samples < 0 ? "minus" + std::to_string(-samples)
                                                : std::to_string(samples);
                         });

TEST_F(MVCaptureTest, theClearColourShowsWhereNothingIsDrawn) {
    MVCaptureOptions options;
    options.clearColor = {0.2F, 0.4F, 0.6F, 0.8F};
    const Picture picture = MVCaptureWindow(window_, options);
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(39, 29), std::pair(20, 15)}) {
        expectPixel(picture, x, y, {0.2F, 0.4F, 0.6F, 0.8F});
    }
    finish();
    const auto names = gl_->names();
    const auto texts = gl_->texts();
    const auto clear = std::find(names.begin(), names.end(), "glClearColor") - names.begin();
    ASSERT_LT(static_cast<std::size_t>(clear) + 2, texts.size());
    const auto framebuffer = gl_->callsOf("glGenFramebuffers");
    ASSERT_FALSE(framebuffer.empty());
    const auto at = [&](std::ptrdiff_t offset) {
        return texts.at(static_cast<std::size_t>(clear + offset));
    };
    EXPECT_THAT(at(-1), HasSubstr("glBindFramebuffer(" + std::to_string(GL_FRAMEBUFFER) + ", "));
    EXPECT_EQ(at(1), callText("glClear",
                              GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT));
    EXPECT_EQ(at(2), callText("glViewport", 0, 0, 40, 30));
}

TEST_F(MVCaptureTest, takingAPictureTwiceGivesTheSamePicture) {
    window_->addSubview(box(kRed, 3.0F, 4.0F, 10.0F, 10.0F));
    const Picture first = MVCaptureWindow(window_);
    const Picture second = MVCaptureWindow(window_);
    EXPECT_EQ(first.rgba, second.rgba);
}

TEST_F(MVCaptureTest, aHiddenWindowShowsTheClearColour) {
    window_->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    window_->setHidden(true);
    expectPixel(MVCaptureWindow(window_), 20, 15, {0.1F, 0.1F, 0.1F, 1.0F});
}

// The frame

TEST_F(MVCaptureTest, thePictureIsLaidOutAndDrawnAsAFrameIs) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    window_->addSubview(view);
    view->setNeedsLayout();
    log.clear();
    MVCaptureWindow(window_);
    EXPECT_THAT(log, ElementsAre("view.prepareForLayoutSubviews", "view.layoutSubviews",
                                 "view.prepareForDraw", "view.draw"));
    log.clear();
    MVCaptureWindow(window_);
    EXPECT_THAT(log, ElementsAre("view.prepareForDraw", "view.draw")) << "drawn in any case";
}

TEST_F(MVCaptureTest, aSizeThatALayoutGivesTheWindowCounts) {
    const auto view = RecordingView::make("view", nullptr);
    window_->addSubview(view);
    view->onLayoutSubviews = [&] { window_->setSize({20.0F, 10.0F}); };
    view->setNeedsLayout();
    EXPECT_EQ(MVCaptureWindow(window_).size, (PixelSize{20, 10}));
}

TEST_F(MVCaptureTest, theWindowCountsAsDrawn) {
    window_->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    ASSERT_TRUE(window_->mv_windowNeedsDraw());
    MVCaptureWindow(window_);
    EXPECT_FALSE(window_->mv_windowNeedsDraw());
}

TEST_F(MVCaptureTest, aWindowWithoutASurfaceHasOneWhileItIsDrawn) {
    const auto view = RecordingView::make("view", nullptr);
    window_->addSubview(view);
    std::shared_ptr<MVRenderSurface> seen;
    view->onDraw = [&] { seen = window_->mv_surface(); };
    MVCaptureWindow(window_);
    EXPECT_NE(seen, nullptr);
    EXPECT_EQ(window_->mv_surface(), nullptr);
}

TEST_F(MVCaptureTest, aWindowKeepsTheSurfaceItHas) {
    const auto surface = MVRenderSurface::init();
    window_->setMv_surface(surface);
    const auto view = RecordingView::make("view", nullptr);
    window_->addSubview(view);
    std::shared_ptr<MVRenderSurface> seen;
    view->onDraw = [&] { seen = window_->mv_surface(); };
    MVCaptureWindow(window_);
    EXPECT_EQ(seen, surface);
    EXPECT_EQ(window_->mv_surface(), surface);
}

TEST_F(MVCaptureTest, stencilViewsLimitWhatIsShown) {
    const auto view = box(kRed, 0.0F, 0.0F, 40.0F, 30.0F);
    view->setStencilView(box(kGreen, 0.0F, 0.0F, 20.0F, 30.0F));
    window_->addSubview(view);
    const Picture picture = MVCaptureWindow(window_);
    expectPixel(picture, 10, 15, kRed);
    expectPixel(picture, 30, 15, {0.1F, 0.1F, 0.1F, 1.0F});
}

TEST_F(MVCaptureTest, theLogTellsTheDurationOfTheVisits) {
    const LogCapture log("frame");
    MVCaptureWindow(window_);
    std::vector<std::string> names;
    for (const auto& [category, text] : log.lines()) {
        names.push_back(text.substr(0, text.find_first_of("0123456789")));
    }
    EXPECT_THAT(names, ElementsAre("layout preparation ", "layout ", "draw preparation ", "draw "));
}

// What cannot be shown

TEST_F(MVCaptureTest, noWindowIsRefused) {
    EXPECT_THAT(refusal([] { return MVCaptureWindow(nullptr); }), HasSubstr("no window"));
    EXPECT_THAT(refusal([] { return MVCaptureView(nullptr); }), HasSubstr("no view"));
}

TEST_F(MVCaptureTest, aWindowWithoutAnAreaIsRefused) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const Size2 size : {Size2{0, 0}, Size2{40, 0}, Size2{0, 30}, Size2{0.9F, 30},
                             Size2{nan, 30}, Size2{40, infinity}, Size2{40, 40000}}) {
        window_->setSize(size);
        EXPECT_THAT(refusal([&] { return MVCaptureWindow(window_); }), HasSubstr("no area"));
    }
    window_->setSize({40.0F, 30.0F});
    for (const float scale : {0.01F, 10000.0F, infinity}) {
        EXPECT_THAT(refusal([&] { return MVCaptureWindow(window_, atScale(scale)); }),
                    HasSubstr("no area"));
    }
    window_->setContentScaleFactor(0.0F);
    EXPECT_THAT(refusal([&] { return MVCaptureWindow(window_); }), HasSubstr("no area"));
    EXPECT_TRUE(window_->mv_windowNeedsDraw()) << "nothing was drawn";
}

TEST_F(MVCaptureTest, withoutAnActiveContextNothingIsShown) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    window_->addSubview(view);
    view->setNeedsLayout();
    log.clear();
    MVRenderContext::mv_setActiveContext(nullptr);
    EXPECT_THAT(refusal([&] { return MVCaptureWindow(window_); }), HasSubstr("render context"));
    EXPECT_THAT(refusal([&] { return MVCaptureView(view); }), HasSubstr("render context"));
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_THAT(log, testing::IsEmpty());
    EXPECT_TRUE(window_->mv_windowNeedsDraw());
    EXPECT_THAT(gl_->calls(), testing::IsEmpty());
}

TEST_F(MVCaptureTest, aFramebufferThatTheDriverRefusesIsToldApart) {
    gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_UNSUPPORTED);
    EXPECT_THAT(refusal([&] { return MVCaptureWindow(window_); }), HasSubstr("driver"));
    gl_->restoreResult("glCheckFramebufferStatus");
    EXPECT_EQ(window_->mv_surface(), nullptr);
    EXPECT_EQ(MVCaptureWindow(window_).size, (PixelSize{40, 30}));
}

// Exceptions

TEST_F(MVCaptureTest, anExceptionInADrawReachesTheCallerAndLeavesNothingBehind) {
    const auto view = RecordingView::make("view", nullptr);
    window_->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    window_->addSubview(view);
    const Picture before = MVCaptureWindow(window_);
    finish();
    const auto live = gl_->liveObjects();
    view->onDraw = [] { throw std::runtime_error("no"); };
    window_->setNeedsDraw();
    EXPECT_THROW(MVCaptureWindow(window_), std::runtime_error);
    finish();
    EXPECT_EQ(gl_->liveObjects(), live);
    EXPECT_EQ(window_->mv_surface(), nullptr);
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
    EXPECT_TRUE(window_->mv_windowNeedsDraw()) << "it was not drawn";
    view->onDraw = nullptr;
    EXPECT_EQ(MVCaptureWindow(window_).rgba, before.rgba);
}

TEST_F(MVCaptureTest, anExceptionInAStencilLeavesTheNextPictureAsItShouldBe) {
    const auto view = box(kRed, 0.0F, 0.0F, 40.0F, 30.0F);
    const auto stencil = RecordingView::make("stencil", nullptr);
    stencil->addSubview(box(kGreen, 0.0F, 0.0F, 20.0F, 30.0F));
    view->setStencilView(stencil);
    window_->addSubview(view);
    const Picture before = MVCaptureWindow(window_);
    stencil->onDraw = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(MVCaptureWindow(window_), std::runtime_error);
    stencil->onDraw = nullptr;
    EXPECT_EQ(MVCaptureWindow(window_).rgba, before.rgba);
}

struct HookCase {
    const char* name;
    std::function<void()> RecordingView::*hook;
};

class MVCaptureHookTest : public MVCaptureTest, public testing::WithParamInterface<HookCase> {};

TEST_P(MVCaptureHookTest, anExceptionLeavesAViewWithoutAWindowAsItWas) {
    const auto view = RecordingView::make("view", nullptr);
    view->setSize({40.0F, 30.0F});
    view->setContentScaleFactor(3.0F);
    (*view).*GetParam().hook = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(MVCaptureView(view), std::runtime_error);
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->mv_window(), nullptr);
    EXPECT_EQ(view->contentScaleFactor(), 3.0F);
}

INSTANTIATE_TEST_SUITE_P(
    In, MVCaptureHookTest,
    testing::Values(HookCase{"prepareForLayoutSubviews",
                             &RecordingView::onPrepareForLayoutSubviews},
                    HookCase{"layoutSubviews", &RecordingView::onLayoutSubviews},
                    HookCase{"prepareForDraw", &RecordingView::onPrepareForDraw},
                    HookCase{"draw", &RecordingView::onDraw}),
    [](const auto& instance) { return instance.param.name; });

TEST_P(MVCaptureHookTest, aWindowThatIsDroppedThereIsStillShown) {
    const auto view = RecordingView::make("view", nullptr);
    view->setSize({40.0F, 30.0F});
    view->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    window_->addSubview(view);
    const std::weak_ptr<MVWindow> watched = window_;
    (*view).*GetParam().hook = [&] {
        window_.reset();
        EXPECT_FALSE(watched.expired());
    };
    expectPixel(MVCaptureWindow(window_), 20, 15, kRed);
    EXPECT_EQ(window_, nullptr);
    EXPECT_TRUE(watched.expired());
}

TEST_P(MVCaptureHookTest, aViewThatIsDroppedThereIsStillShown) {
    auto view = RecordingView::make("view", nullptr);
    view->setSize({40.0F, 30.0F});
    view->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    const std::weak_ptr<MVView> watched = view;
    std::shared_ptr<MVView> given = view;
    (*view).*GetParam().hook = [&] { given.reset(); };
    view.reset();
    expectPixel(MVCaptureView(given, atScale(1.0F)), 20, 15, kRed);
    EXPECT_TRUE(watched.expired());
}

// Within a drawing

TEST_F(MVCaptureTest, whileATreeIsDrawnPicturesAreRefusedAndTheDrawingGoesOn) {
    const auto other = box(kBlue, 0.0F, 0.0F, 40.0F, 30.0F);
    const auto view = RecordingView::make("view", nullptr);
    const auto stencil = RecordingView::make("stencil", nullptr);
    stencil->addSubview(box(kGreen, 0.0F, 0.0F, 20.0F, 30.0F));
    view->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    view->setStencilView(stencil);
    window_->addSubview(view);
    int refused = 0;
    const auto capture = [&] {
        const auto expectRefusal = [&](const std::function<void()>& attempt) {
            try {
                attempt();
            } catch (const MVException& exception) {
                EXPECT_EQ(exception.name(), MVException::kInternalInconsistency);
                EXPECT_THAT(exception.reason(), HasSubstr("a tree is being drawn"));
                ++refused;
            }
        };
        expectRefusal([&] { MVCaptureView(other); });
        expectRefusal([&] { MVCaptureView(view); });
        expectRefusal([&] { MVCaptureWindow(window_); });
    };
    view->onDraw = capture;
    stencil->onDraw = capture;
    const Picture picture = MVCaptureWindow(window_);
    EXPECT_EQ(refused, 6);
    expectPixel(picture, 10, 15, kRed);
    expectPixel(picture, 30, 15, {0.1F, 0.1F, 0.1F, 1.0F});
    EXPECT_EQ(other->superview(), nullptr);

    view->onDraw = nullptr;
    stencil->onDraw = nullptr;
    EXPECT_FALSE(MVCaptureView(other).isEmpty()) << "the drawing has ended";
}

TEST_F(MVCaptureTest, aPictureTakenBeforeTheDrawingLeavesTheFrameAsItIs) {
    const auto other = box(kBlue, 0.0F, 0.0F, 20.0F, 10.0F);
    const auto view = RecordingView::make("view", nullptr);
    view->addSubview(box(kRed, 0.0F, 0.0F, 40.0F, 30.0F));
    window_->addSubview(view);
    Picture inner;
    view->onPrepareForDraw = [&] { inner = MVCaptureView(other, atScale(1.0F)); };
    expectPixel(MVCaptureWindow(window_), 20, 15, kRed);
    EXPECT_EQ(inner.size, (PixelSize{20, 10}));
    expectPixel(inner, 10, 5, kBlue);
}

// Views

TEST_F(MVCaptureTest, aViewInAWindowIsShownWithTheWholeWindow) {
    const auto view = box(kRed, 5.0F, 5.0F, 10.0F, 10.0F);
    window_->addSubview(view);
    const Picture picture = MVCaptureView(view);
    EXPECT_EQ(picture.size, (PixelSize{40, 30}));
    expectPixel(picture, 10, 10, kRed);
    EXPECT_EQ(view->superview(), window_);
    EXPECT_EQ(MVCaptureView(window_).size, (PixelSize{40, 30})) << "the window itself";
}

TEST_F(MVCaptureTest, aViewWithoutAWindowFillsThePictureWithWhatIsBelowIt) {
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    view->addSubview(box(kBlue, 10.0F, 0.0F, 10.0F, 5.0F));
    view->setContentScaleFactor(1.0F);
    const Picture picture = MVCaptureView(view);
    EXPECT_EQ(picture.size, (PixelSize{20, 10}));
    expectPixel(picture, 0, 0, kRed);
    expectPixel(picture, 19, 9, kRed);
    expectPixel(picture, 19, 0, kBlue);
}

TEST_F(MVCaptureTest, aViewKeepsItsPositionInThePicture) {
    const auto view = box(kRed, 5.0F, 0.0F, 20.0F, 10.0F);
    view->setContentScaleFactor(1.0F);
    const Picture picture = MVCaptureView(view);
    expectPixel(picture, 2, 5, {0.1F, 0.1F, 0.1F, 1.0F});
    expectPixel(picture, 10, 5, kRed);
}

TEST_F(MVCaptureTest, aViewWithoutAWindowIsTakenOutAgain) {
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    view->setContentScaleFactor(2.0F);
    EXPECT_EQ(MVCaptureView(view).size, (PixelSize{40, 20})) << "its own scale";
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->mv_window(), nullptr);
    EXPECT_EQ(view->contentScaleFactor(), 2.0F);
    EXPECT_EQ(view.use_count(), 1);
    EXPECT_EQ(MVCaptureView(view, atScale(1.0F)).size, (PixelSize{20, 10}));
}

TEST_F(MVCaptureTest, whatIsBelowAViewWithoutAWindowKeepsItsScales) {
    const auto window = MVWindow::init();
    window->setContentScaleFactor(3.0F);
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    const auto below = box(kBlue, 0.0F, 0.0F, 10.0F, 10.0F);
    const auto set = box(kBlue, 10.0F, 0.0F, 10.0F, 10.0F);
    view->setContentScaleFactor(2.0F);
    view->addSubview(below);
    view->addSubview(set);
    set->setContentScaleFactor(5.0F);
    MVCaptureView(view, atScale(1.0F));
    EXPECT_EQ(view->contentScaleFactor(), 2.0F);
    EXPECT_EQ(below->contentScaleFactor(), 2.0F);
    EXPECT_EQ(set->contentScaleFactor(), 5.0F);
    window->addSubview(view);
    EXPECT_EQ(below->contentScaleFactor(), 3.0F) << "taken over";
    EXPECT_EQ(set->contentScaleFactor(), 5.0F) << "set";
}

TEST_F(MVCaptureTest, aViewThatLeftATreeIsShownAtTheScaleOfTheScreen) {
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    window_->addSubview(view);
    view->removeFromSuperview();
    ASSERT_EQ(view->contentScaleFactor(), 0.0F);
    const auto scale = MVView::init()->contentScaleFactor();
    const Picture picture = MVCaptureView(view);
    EXPECT_EQ(picture.size,
              (PixelSize{static_cast<int>(20.0F * scale), static_cast<int>(10.0F * scale)}));
    expectPixel(picture, 5, 5, kRed);
    EXPECT_EQ(view->contentScaleFactor(), 0.0F);
}

TEST_F(MVCaptureTest, aSubviewOfAViewWithoutAWindowIsRefused) {
    const auto parent = MVView::init();
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    parent->addSubview(view);
    EXPECT_THAT(refusal([&] { return MVCaptureView(view); }), HasSubstr("subview"));
    EXPECT_EQ(view->superview(), parent);
    const auto stencil = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    parent->setStencilView(stencil);
    EXPECT_THAT(refusal([&] { return MVCaptureView(stencil); }), HasSubstr("subview"));
    EXPECT_EQ(parent->stencilView(), stencil);
}

TEST_F(MVCaptureTest, aViewWithoutAnAreaIsRefusedAndTakenOutAgain) {
    const auto view = MVColorView::init();
    EXPECT_THAT(refusal([&] { return MVCaptureView(view); }), HasSubstr("no area"));
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->mv_window(), nullptr);
}

TEST_F(MVCaptureTest, alphaIsWhatBlendingLeftOrOpaqueOnRequest) {
    const auto view = box({1.0F, 0.0F, 0.0F, 0.5F}, 0.0F, 0.0F, 20.0F, 10.0F);
    view->setContentScaleFactor(1.0F);
    // Source alpha weighs alpha, too: 0.5 * 0.5 + 1 * 0.5.
    EXPECT_NEAR(MVCaptureView(view).pixel(5, 5)[3], 191, 1);
    MVCaptureOptions options;
    options.alpha = MVCaptureAlpha::Opaque;
    const Picture picture = MVCaptureView(view, options);
    EXPECT_EQ(picture.pixel(5, 5)[3], 255);
    EXPECT_EQ(picture.pixel(5, 5)[0], MVCaptureView(view).pixel(5, 5)[0]);
}

TEST_F(MVCaptureTest, aHiddenViewLeavesThePictureClear) {
    const auto view = box(kRed, 0.0F, 0.0F, 20.0F, 10.0F);
    view->setHidden(true);
    view->setContentScaleFactor(1.0F);
    expectPixel(MVCaptureView(view), 5, 5, {0.1F, 0.1F, 0.1F, 1.0F});
    EXPECT_TRUE(view->isHidden());
}

}  // namespace
