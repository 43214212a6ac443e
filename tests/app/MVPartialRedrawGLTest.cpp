// Frames of which no more is drawn than differs from the one before, against whole ones.

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/support/GLTest.h"
#include "tests/support/RandomWindow.h"
#include "tests/views/QuadBatchTest.h"
#include "tests/views/RecordingView.h"

using Mivora::ColorRGBA;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::tests::currentState;
using Mivora::tests::RandomWindow;
using Mivora::tests::scenesToCompare;
using Mivora::tests::UprightWindow;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr int kExtent = static_cast<int>(RandomWindow::kExtent);

/// An application in a window, and the last frame it has shown.
class Shown {
 public:
    Shown() {
        frame_ = HeadlessWindow::create("", {0, 0, kExtent, kExtent});
        frame_->setContentView(application_->mv_renderView());
        frame_->show();
        const auto gl = application_->mv_renderView()->openGLContext();
        gl->setFrameHandler([this, gl = gl.get()] {
            picture_ = gl->drawable().readLatestFrame();
            ++frames_;
            isBehind_ = gl->drawable().isBehind();
        });
        MainThread::runUntil([] { return false; }, 0);
        application_->setClearColor(ColorRGBA::kClear);
    }
    ~Shown() { application_->mv_renderView()->openGLContext()->setFrameHandler(nullptr); }
    Shown(const Shown&) = delete;
    Shown& operator=(const Shown&) = delete;

    MVApplication& application() { return *application_; }
    const std::shared_ptr<MVWindow>& window() { return application_->window(); }
    MVRenderContext& context() {
        application_->mv_setActiveResources();
        return *MVRenderContext::activeContext();
    }

    const Picture& draw() {
        application_->window()->setNeedsDraw();
        application_->mv_runLoopFired(nullptr);
        return picture_;
    }
    /// Draws until nothing is left to be made for what is drawn.
    void settle() {
        draw();
        draw();
    }
    /// Draws after work of somebody else's, which may have changed anything.
    const Picture& drawWhole() {
        context().mv_dispatchBlockSync([] {});
        return draw();
    }
    int frames() const { return frames_; }
    /// Whether some of the last frame was drawn elsewhere than in the framebuffer.
    bool isBehind() const { return isBehind_; }
    /// The framebuffer as it is when others have a look at it.
    const Picture& framebuffer() {
        context().dispatchBlock([] {});
        context().present();
        return picture_;
    }

    void resize(int width, int height) { frame_->setContentSize(width, height); }

    std::shared_ptr<MVColorView> add(float x, float y, float width, float height, ColorRGBA color) {
        auto view = MVColorView::initWithColor(color);
        view->setPosition({x, y});
        view->setSize({width, height});
        window()->addSubview(view);
        return view;
    }

 private:
    std::shared_ptr<MVApplication> application_ = MVApplication::init();
    std::shared_ptr<HeadlessWindow> frame_;
    Picture picture_;  // the GL queue's, while that draws
    int frames_ = 0;
    bool isBehind_ = false;
};

class MVPartialRedrawTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        shown_.emplace();
        context_ = MVRenderContext::activeContext();
    }
    void TearDown() override {
        shown_.reset();
        GLTest::TearDown();
    }

    /// The boxes that a frame was drawn in: x, y from the bottom, width and height.
    std::vector<std::vector<double>> boxesOf(Shown& shown) {
        gl_->clear();
        shown.draw();
        std::vector<std::vector<double>> boxes;
        for (const auto& call : gl_->calls()) {
            if (call.name == "glScissor") {
                if (boxes.empty() || boxes.back() != call.arguments) {
                    boxes.push_back(call.arguments);
                }
            } else if (call.name == "glDisable" && call.arguments.at(0) == GL_SCISSOR_TEST) {
                return boxes;
            }
        }
        return boxes;
    }

    /// Whether all of a frame was cleared.
    bool isWhole(Shown& shown) {
        gl_->clear();
        shown.draw();
        return gl_->callsOf("glScissor").empty() && gl_->callsOf("glClear").size() == 1;
    }

    std::size_t drawCalls() {
        return gl_->callsOf("glDrawElementsBaseVertex").size() +
               gl_->callsOf("glDrawArrays").size();
    }

    std::optional<Shown> shown_;
};

}  // namespace

TEST_F(MVPartialRedrawTest, randomChangesComeOutAsWholeFramesDo) {
    constexpr int kSteps = 30;
    constexpr int kCompared = 3;  // only then is it a step from whole to partial
    const unsigned scenes = scenesToCompare(30);
    int partial = 0;
    for (unsigned seed = 1; seed <= scenes; ++seed) {
        Shown shown;
        const int stripes = static_cast<int>(seed % 9);
        const float height = RandomWindow::kExtent / static_cast<float>(stripes + 1);
        for (int i = 0; i < stripes + static_cast<int>(seed % 2); ++i) {
            shown.add(0, static_cast<float>(i) * height, RandomWindow::kExtent, height,
                      {0, 0, static_cast<float>(i) / 10, 1});
        }
        RandomWindow scene(seed, shown.window(), false);
        shown.settle();
        for (int step = 1; step <= kSteps; ++step) {
            for (unsigned change = 0; change < 1 + seed % 3; ++change) {
                scene.change();
            }
            gl_->clear();
            const Picture picture = shown.draw();
            partial += gl_->callsOf("glScissor").empty() ? 0 : 1;
            if (step % kCompared != 0) {
                continue;
            }
            std::vector<double> state;
            std::vector<double> stateOfWhole;
            shown.context().mv_dispatchBlockSync([&] { state = currentState(); });
            ASSERT_EQ(picture.rgba, shown.drawWhole().rgba) << "scene " << seed << ", " << step;
            shown.context().mv_dispatchBlockSync([&] { stateOfWhole = currentState(); });
            EXPECT_EQ(state, stateOfWhole) << "scene " << seed << ", " << step;
        }
    }
    EXPECT_GT(partial, static_cast<int>(scenes) * kSteps / 4) << "or little has been compared";
}

TEST_F(MVPartialRedrawTest, randomChangesOfUprightViewsComeOutAsWholeFramesDo) {
    constexpr unsigned kSteps = 40;
    constexpr unsigned kCompared = 5;  // only then is it a step from whole to partial
    const unsigned scenes = scenesToCompare(30);
    unsigned behind = 0;
    std::size_t different = 0;
    std::size_t compared = 0;
    for (unsigned seed = 1; seed <= scenes; ++seed) {
        Shown shown;
        shown.resize(static_cast<int>(UprightWindow::kExtent),
                     static_cast<int>(UprightWindow::kExtent));
        UprightWindow scene(seed, shown.window());
        shown.settle();
        for (unsigned step = 1; step <= kSteps; ++step) {
            scene.change();
            const Picture picture = shown.draw();
            if (step % kCompared != 0) {
                continue;
            }
            behind += shown.isBehind() ? 1U : 0U;
            ASSERT_EQ(picture.rgba, shown.framebuffer().rgba)
                << "as others see it: scene " << seed << ", " << step;
            const Picture& whole = shown.drawWhole();
            compared += picture.rgba.size() / 4;
            for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
                int difference = 0;
                for (std::size_t channel = i; channel < i + 4; ++channel) {
                    difference =
                        std::max(difference, std::abs(picture.rgba[channel] - whole.rgba[channel]));
                }
                ASSERT_LE(difference, 2) << "scene " << seed << ", " << step;
                different += difference != 0 ? 1 : 0;
            }
        }
    }
    // Where the rasterizer samples textures, it rounds by the framebuffer's samples.
    EXPECT_LE(different * 10'000, compared) << different << " of " << compared;
    EXPECT_GT(behind, scenes * kSteps / kCompared / 2) << "or little has been compared";
}

TEST_F(MVPartialRedrawTest, aChangedViewHasTheTilesAroundItDrawnAgain) {
    shown_->add(0, 0, 160, 160, {0, 0, 1, 1});
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    const auto other = shown_->add(100, 120, 10, 10, {0, 1, 0, 1});
    shown_->settle();
    view->setColor({1, 1, 0, 1});
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(0, 64, 64, 96)));
    EXPECT_EQ(drawCalls(), 1U) << "what is under it and itself; not the third";
    EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(255, 255, 0, 255));
    other->setPosition({130, 120});
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(64, 0, 96, 64)))
        << "where it was and where it is";
}

TEST_F(MVPartialRedrawTest, whereNoEdgePartsAPixelOneSampleOfEachIsDrawn) {
    shown_->resize(640, 640);
    shown_->add(0, 0, 640, 640, {0, 0, 1, 1});
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 0.5F});
    const auto other = shown_->add(300, 300, 30, 40, {1, 0, 0, 0.5F});
    shown_->settle();
    const auto isResolved = [&] {
        const Picture picture = shown_->draw();
        const bool isBehind = shown_->isBehind();
        EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
        shown_->draw();
        return isBehind;
    };
    view->setColor({0, 1, 0, 0.5F});
    EXPECT_TRUE(isResolved());
    view->setPosition({10.5F, 20});
    EXPECT_FALSE(isResolved());
    other->setColor({0, 1, 0, 0.5F});
    EXPECT_TRUE(isResolved()) << "the edge is elsewhere";
    view->setPosition({10, 20});
    view->setRotation3({0, 0, 0.1F});
    EXPECT_FALSE(isResolved());
    view->setRotation3({0, 0, 0});
    view->setStencilView(MVColorView::initWithColor({1, 1, 1, 1}));
    view->stencilView()->setSize({8, 8});
    EXPECT_FALSE(isResolved()) << "stencils have their planes in the framebuffer";
}

TEST_F(MVPartialRedrawTest, ofAChangeWithFewEdgesOnlyThesePartsAreMultisampled) {
    shown_->resize(640, 640);
    const auto ground = shown_->add(0, 0, 640, 640, {0, 0, 1, 1});
    shown_->add(10, 20, 30, 40, {1, 0, 0, 1})->setRotation3({0, 0, 0.1F});
    shown_->settle();
    ground->setColor({0, 1, 0, 1});
    EXPECT_THAT(boxesOf(*shown_),
                ElementsAre(ElementsAre(0, 576, 64, 64), ElementsAre(0, 0, 640, 576),
                            ElementsAre(64, 576, 576, 64)));
    EXPECT_TRUE(shown_->isBehind());
    const Picture picture = shown_->draw();
    EXPECT_EQ(picture.rgba, shown_->framebuffer().rgba);
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
}

TEST_F(MVPartialRedrawTest, aGroundThatCoversAllOfAFrameIsClearedTo) {
    shown_->add(0, 0, 160, 160, {1, 1, 0, 1});
    const auto ground = shown_->add(0, 0, 160, 160, {0, 0, 1, 1});
    shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    ground->setColor({0, 0.5F, 1, 1});
    gl_->clear();
    const Picture picture = shown_->draw();
    EXPECT_EQ(drawCalls(), 1U);
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(1)) << "what is above it; nothing else";
    ASSERT_THAT(gl_->callsOf("glClear"), SizeIs(1));
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
}

TEST_F(MVPartialRedrawTest, whatCoversAPartHasNothingBelowItDrawn) {
    shown_->resize(640, 640);
    const auto below = shown_->add(0, 0, 640, 640, {0, 0, 1, 1});
    const auto cover = shown_->add(64, 64, 512, 512, {0, 1, 0, 1});
    const auto view = shown_->add(200, 200, 30, 40, {1, 0, 0, 0.5F});
    shown_->settle();
    view->setColor({1, 1, 1, 0.5F});
    gl_->clear();
    Picture picture = shown_->draw();
    EXPECT_THAT(gl_->callsOf("glClear"), IsEmpty());
    EXPECT_EQ(drawCalls(), 2U) << "the cover and what is on it: the one is opaque";
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(2)) << "a quad each";
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
    cover->setColor({0, 1, 0, 0.9F});
    below->setColor({0, 0, 0.5F, 1});
    picture = shown_->draw();
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
}

TEST_F(MVPartialRedrawTest, aFrameThatTurnsOutToBeLargeIsWholeThoughTheOneBeforeWasResolved) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    view->setColor({0, 1, 0, 1});
    shown_->draw();
    ASSERT_TRUE(shown_->isBehind());
    for (int i = 0; i < 3000; ++i) {
        shown_->add(float(i % 50) * 3, float(i / 50) * 2, 2, 1, {1, 0, 0, 1});
    }
    const Picture picture = shown_->draw();
    EXPECT_FALSE(shown_->isBehind());
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
}

TEST_F(MVPartialRedrawTest, whatSomebodyDrawsOverAPartOfAFrameIsShownWithTheRest) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    view->setColor({0, 1, 0, 1});
    shown_->draw();
    ASSERT_TRUE(shown_->isBehind());
    shown_->context().dispatchBlock([] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 20, 160);
        glClearColor(1, 1, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
    });
    const Picture& picture = shown_->framebuffer();
    EXPECT_THAT(picture.pixel(15, 40), ElementsAre(255, 255, 255, 255));
    EXPECT_THAT(picture.pixel(25, 40), ElementsAre(0, 255, 0, 255));
}

TEST_F(MVPartialRedrawTest, whoLimitsDrawingFindsTheFrameBeforeAroundIt) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    view->setColor({0, 1, 0, 1});
    shown_->draw();
    ASSERT_TRUE(shown_->isBehind());
    shown_->context().dispatchBlock([] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 5, 5);
    });
    view->setColor({0, 0, 1, 1});
    EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(0, 255, 0, 255));
    shown_->context().dispatchBlock([] { glDisable(GL_SCISSOR_TEST); });
}

TEST_F(MVPartialRedrawTest, whatAnOpaqueGroundCoversIsNotClearedBeforehand) {
    for (int i = 0; i < 4; ++i) {
        shown_->add(0, 40.0F * float(i), 160, 40, {0, 0, 1, 1});
    }
    const auto view = shown_->add(10, 70, 30, 50, {1, 0, 0, 0.5F});
    shown_->settle();
    const auto clears = [&] {
        view->setColor({1, view->color().green > 0 ? 0.0F : 1.0F, 0, 0.5F});
        gl_->clear();
        const Picture picture = shown_->draw();
        const auto calls = gl_->callsOf("glClear");
        EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
        return calls;
    };
    EXPECT_THAT(clears(), IsEmpty());
    const std::vector<std::shared_ptr<MVView>> ground(shown_->window()->subviews()->begin(),
                                                      shown_->window()->subviews()->end());
    ground[2]->setRotation3({0, 0, 0.01F});
    shown_->settle();
    EXPECT_THAT(clears(), SizeIs(1)) << "a gap opens";
    ground[2]->setRotation3({0, 0, 0});
    ground[2]->setPosition({0, 80.3F});
    shown_->settle();
    EXPECT_THAT(clears(), SizeIs(1));
    ground[2]->setPosition({0, 80});
    shown_->settle();
    EXPECT_THAT(clears(), IsEmpty());
    ground[2]->setOpacity(0.9F);
    shown_->settle();
    EXPECT_THAT(clears(), SizeIs(1));
}

TEST_F(MVPartialRedrawTest, changesFarFromEachOtherHaveBoxesOfTheirOwn) {
    shown_->resize(1000, 1000);
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    view->setPosition({900, 900});
    EXPECT_THAT(boxesOf(*shown_), SizeIs(2));
    EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(0, 0, 0, 0));
}

TEST_F(MVPartialRedrawTest, aFrameLikeTheOneBeforeIsShownWithoutDrawing) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    const Picture before = shown_->draw();
    const int frames = shown_->frames();
    gl_->clear();
    EXPECT_EQ(shown_->draw().rgba, before.rgba);
    EXPECT_EQ(shown_->frames(), frames + 1);
    EXPECT_THAT(gl_->callsOf("glClear"), IsEmpty());
    EXPECT_EQ(drawCalls(), 0U);
    // The other of the two textures that frames are shown from is an older frame still.
    EXPECT_EQ(shown_->draw().rgba, before.rgba);
}

TEST_F(MVPartialRedrawTest, aViewThatComesOrGoesLeavesOthersAlone) {
    std::vector<std::shared_ptr<MVView>> views;
    for (int i = 0; i < 30; ++i) {
        views.push_back(shown_->add(float(i * 5), float(i * 5), 4, 4, {1, 0, 0, 1}));
    }
    shown_->settle();
    views[10]->removeFromSuperview();
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(0, 64, 64, 64)));
    shown_->window()->insertSubviewAtIndex(views[10], 20);
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(0, 64, 64, 64)));
}

TEST_F(MVPartialRedrawTest, whatAStencilLimitsIsDrawnAgainNoFurtherThanItsShape) {
    const auto wide = shown_->add(0, 0, 160, 160, {1, 0, 0, 1});
    const auto stencil = MVColorView::init();
    stencil->setPosition({20, 20});
    stencil->setSize({10, 10});
    wide->setStencilView(stencil);
    shown_->settle();
    wide->setColor({0, 1, 0, 1});
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(0, 128, 64, 32)));
    EXPECT_THAT(shown_->draw().pixel(25, 25), ElementsAre(0, 255, 0, 255));
    EXPECT_THAT(shown_->draw().pixel(35, 35), ElementsAre(0, 0, 0, 0));
    stencil->setPosition({40, 20});
    EXPECT_THAT(boxesOf(*shown_), ElementsAre(ElementsAre(0, 128, 64, 32)));
    EXPECT_THAT(shown_->draw().pixel(25, 25), ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(shown_->draw().pixel(45, 25), ElementsAre(0, 255, 0, 255));
}

TEST_F(MVPartialRedrawTest, afterAnyOtherWorkAFrameIsWhole) {
    shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    EXPECT_FALSE(isWhole(*shown_));
    shown_->context().mv_dispatchBlockSync([] {
        glClearColor(1, 1, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    });
    EXPECT_TRUE(isWhole(*shown_));
    EXPECT_THAT(shown_->draw().pixel(5, 5), ElementsAre(0, 0, 0, 0));
    EXPECT_FALSE(isWhole(*shown_));
}

TEST_F(MVPartialRedrawTest, whatSomebodyDrawsOverAFrameIsShown) {
    shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    shown_->context().dispatchBlock([] {
        glClearColor(1, 1, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    });
    Picture picture;
    const auto gl = shown_->application().mv_renderView()->openGLContext();
    for (int i = 0; i < 2; ++i) {
        shown_->context().present();
        shown_->context().mv_dispatchBlockSync([&] { picture = gl->drawable().readLatestFrame(); });
        EXPECT_THAT(picture.pixel(5, 5), ElementsAre(255, 255, 255, 255));
    }
}

TEST_F(MVPartialRedrawTest, whatATextureHoldsIsSeenInTheNextFrame) {
    const std::array<std::uint8_t, 4> before = {10, 0, 0, 255};
    gl_->clear();
    const auto view = MVImageView::initWithImage(
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            before.data(), 1, 1, 1.0F, 0, false, GL_RGBA));
    finish();
    const std::uint32_t texture = gl_->callsOf("glGenTextures").at(0).names.at(0);
    view->setSize({20, 20});
    shown_->window()->addSubview(view);
    shown_->settle();
    shown_->context().dispatchBlock([texture] {
        const std::array<std::uint8_t, 4> pixel = {200, 0, 0, 255};
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    });
    EXPECT_THAT(shown_->draw().pixel(5, 5), ElementsAre(200, 0, 0, 255));
}

TEST_F(MVPartialRedrawTest, aViewThatDrawsInWaysOfItsOwnHasEveryFrameDrawnWhole) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    const auto own = RecordingView::make("own", nullptr);
    std::vector<double> color;
    own->onDraw = [&] {
        MVRenderContext::activeContext()->dispatchBlock([&] {
            std::array<std::uint8_t, 4> pixel{};
            GLint read = 0;
            GLint drawn = 0;
            glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &read);
            glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &drawn);
            GLuint texture = 0;
            GLuint framebuffer = 0;
            glGenTextures(1, &texture);
            glBindTexture(GL_TEXTURE_2D, texture);
            glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
            glGenFramebuffers(1, &framebuffer);
            glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
            glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                                   texture, 0);
            glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(drawn));
            // A resolve covers the same pixels in both.
            glBlitFramebuffer(0, 0, 1, 1, 0, 0, 1, 1, GL_COLOR_BUFFER_BIT, GL_NEAREST);
            glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
            glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
            glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read));
            glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(drawn));
            glDeleteFramebuffers(1, &framebuffer);
            glDeleteTextures(1, &texture);
            color.assign(pixel.begin(), pixel.end());
        });
    };
    const auto corner = shown_->add(0, 150, 10, 10, {0, 0, 1, 1});
    shown_->window()->addSubview(own);
    shown_->settle();
    for (const float green : {0.0F, 1.0F, 0.0F}) {
        corner->setColor({0, green, 1, 1});
        EXPECT_TRUE(isWhole(*shown_));
        EXPECT_THAT(color, ElementsAre(0, green * 255, 255, 255)) << "what is under it is there";
    }
    own->removeFromSuperview();
    shown_->settle();
    // It comes into a frame that is held back so far.
    corner->setColor({1, 1, 1, 1});
    view->setColor({1, 1, 1, 1});
    shown_->window()->addSubview(own);
    EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(255, 255, 255, 255));
    EXPECT_THAT(color, ElementsAre(255, 255, 255, 255));
}

TEST_F(MVPartialRedrawTest, anotherSizeOrGroundHasAFrameDrawnWhole) {
    shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->settle();
    EXPECT_FALSE(isWhole(*shown_));
    shown_->application().setClearColor({0, 0, 1, 1});
    EXPECT_TRUE(isWhole(*shown_));
    EXPECT_THAT(shown_->draw().pixel(5, 5), ElementsAre(0, 0, 255, 255));
    shown_->resize(200, 100);
    EXPECT_EQ(shown_->draw().size, (Mivora::platform::PixelSize{200, 100}));
    const Picture partial = shown_->draw();
    EXPECT_EQ(partial.rgba, shown_->drawWhole().rgba);
    EXPECT_THAT(partial.pixel(190, 90), ElementsAre(0, 0, 255, 255));
}

TEST_F(MVPartialRedrawTest, aViewThatReachesBehindTheEyeIsDrawnAgainEverywhere) {
    const auto view = shown_->add(0, 0, 160, 160, {1, 0, 0, 1});
    view->setRotation3({1.5F, 0, 0});
    shown_->settle();
    view->setPosition3({0, 0, 150});
    shown_->settle();
    view->setRotation3({1.4F, 0, 0});
    const Picture picture = shown_->draw();
    EXPECT_EQ(picture.rgba, shown_->drawWhole().rgba);
}

TEST_F(MVPartialRedrawTest, framesOfManyDrawingsAreDrawnAsTheyCome) {
    for (int i = 0; i < 3000; ++i) {
        shown_->add(float(i % 50) * 3, float(i / 50) * 2, 2, 1, {1, 0, 0, 1});
    }
    shown_->draw();
    shown_->draw();
    EXPECT_TRUE(isWhole(*shown_));
}

TEST_F(MVPartialRedrawTest, applicationsDrawingByTurnsDrawNoMoreThanEachHasChanged) {
    Shown other;
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    const auto otherView = other.add(50, 60, 30, 40, {0, 1, 0, 1});
    shown_->settle();
    other.settle();
    for (int i = 0; i < 20; ++i) {
        const float level = i % 2 == 0 ? 1.0F : 0.0F;
        view->setColor({level, 0, 1, 1});
        otherView->setColor({level, 1, 0, 1});
        gl_->clear();
        EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(level * 255, 0, 255, 255));
        EXPECT_THAT(other.draw().pixel(60, 70), ElementsAre(level * 255, 255, 0, 255));
        const auto clears = gl_->callsOf("glClear");
        ASSERT_THAT(clears, SizeIs(2));
        for (const auto& clear : clears) {
            EXPECT_THAT(clear.arguments, ElementsAre(GL_COLOR_BUFFER_BIT)) << "no whole frame's";
        }
    }
}

TEST_F(MVPartialRedrawTest, theEnvironmentSwitchesItOff) {
    const Mivora::tests::ScopedEnvironment off("MIVORA_PARTIAL_REDRAW", "0");
    Shown shown;
    shown.add(10, 20, 30, 40, {1, 0, 0, 1});
    shown.draw();
    EXPECT_TRUE(isWhole(shown));
    EXPECT_TRUE(isWhole(shown));
}

TEST_F(MVPartialRedrawTest, anExceptionInADrawingVisitCostsNoLaterFrame) {
    const auto view = shown_->add(10, 20, 30, 40, {1, 0, 0, 1});
    shown_->draw();
    shown_->draw();
    const auto thrower = RecordingView::make("thrower", nullptr);
    bool throws = true;
    thrower->onDraw = [&] {
        if (throws) {
            throw std::runtime_error("expected");
        }
    };
    shown_->window()->addSubview(thrower);
    view->setColor({0, 1, 0, 1});
    const int frames = shown_->frames();
    shown_->draw();  // which logs it
    finish();
    EXPECT_EQ(shown_->frames(), frames) << "it is not shown";
    throws = false;
    EXPECT_THAT(shown_->draw().pixel(25, 40), ElementsAre(0, 255, 0, 255));
    EXPECT_THAT(shown_->draw().pixel(5, 5), ElementsAre(0, 0, 0, 0));
}
