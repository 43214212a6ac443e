// Drawings that are recorded and drawn together, against the calls that they stand for.

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/gl/SoftwareRasterizerPrivate.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/support/QueueGate.h"
#include "tests/support/RandomWindow.h"
#include "tests/views/QuadBatchTest.h"

using Mivora::ColorRGBA;
using Mivora::platform::Picture;
using Mivora::tests::PictureWindow;
using Mivora::tests::QuadBatchTest;
using Mivora::tests::RandomWindow;
using Mivora::tests::scenesToCompare;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr float kExtent = RandomWindow::kExtent;

class MVQuadBatchTest : public QuadBatchTest {
 protected:
    /// A window with so many squares in a row.
    std::shared_ptr<MVWindow> squares(int count) {
        auto window = MVWindow::init();
        window->setSize({kExtent, kExtent});
        for (int i = 0; i < count; ++i) {
            auto view = MVColorView::initWithColor({1, 0, 0, 1});
            view->setSize({4, 4});
            view->setPosition(
                {static_cast<float>(i % 40) * 4.0F, static_cast<float>(i / 40) * 4.0F});
            window->addSubview(view);
        }
        MVFrame::layOut(*window);
        return window;
    }

    /// By how much the pixels of two pictures differ that differ most.
    static int worst(const Picture& one, const Picture& other) {
        int most = one.rgba.size() == other.rgba.size() ? 0 : 256;
        for (std::size_t i = 0; most <= 255 && i < one.rgba.size(); ++i) {
            most = std::max(most, std::abs(one.rgba[i] - other.rgba[i]));
        }
        return most;
    }

    /// What is bound to the texture units; leaves the first one active.
    static std::vector<GLint> boundTextures() {
        std::vector<GLint> names;
        for (GLenum unit = 16; unit-- > 0;) {
            glActiveTexture(GL_TEXTURE0 + unit);
            glGetIntegerv(GL_TEXTURE_BINDING_2D, &names.emplace_back());
        }
        return names;
    }
};

}  // namespace

TEST_F(MVQuadBatchTest, randomScenesComeOutAsFromTheirCalls) {
    expectIdentity<RandomWindow>(0, scenesToCompare(100));
}

TEST_F(MVQuadBatchTest, randomScenesComeOutAsFromTheirCallsWithFourSamples) {
    expectIdentity<RandomWindow>(4, scenesToCompare(40));
}

TEST_F(MVQuadBatchTest, windowsOfManyPicturesComeOutAsFromTheirCalls) {
    expectIdentity<PictureWindow>(0, scenesToCompare(20));
    expectIdentity<PictureWindow>(4, scenesToCompare(5));
}

TEST_F(MVQuadBatchTest, imagesWithTexturesOfTheirOwnShareCalls) {
    constexpr unsigned kImages = 64;
    const auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    for (unsigned i = 0; i < kImages; ++i) {
        const std::array<std::uint8_t, 4> pixel = {static_cast<std::uint8_t>(i), 0, 0, 128};
        const auto view = MVImageView::initWithImage(
            MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                pixel.data(), 1, 1, 1.0F, 0, i % 2 == 0, GL_RGBA));
        view->setSize({8, 8});
        view->setPosition({static_cast<float>(i % 8) * 8.0F, static_cast<float>(i / 8) * 8.0F});
        window->addSubview(view);
    }
    window->mv_drawVisit();  // what is drawn with is made
    finish();
    gl_->clear();
    std::vector<GLint> before;
    std::vector<GLint> after;
    onQueue([&] { before = boundTextures(); });
    window->mv_drawVisit();
    onQueue([&] { after = boundTextures(); });
    EXPECT_EQ(drawCalls(), kImages / 16);
    EXPECT_EQ(after, before) << "that of the first unit is the last image's, in every frame";
    EXPECT_LE(worst(captureWith(true, window, 0), captureWith(false, window, 0)), 2);
}

TEST_F(MVQuadBatchTest, aLargeImageIsDrawnByACallOfItsOwn) {
    const auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    for (int i = 0; i < 6; ++i) {
        const std::array<std::uint8_t, 4> pixel = {static_cast<std::uint8_t>(i), 0, 0, 128};
        const auto view = MVImageView::initWithImage(
            MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                pixel.data(), 1, 1, 1.0F, 0, false, GL_RGBA));
        view->setSize(i == 2 ? Mivora::Size2{100, 100} : Mivora::Size2{8, 8});
        window->addSubview(view);
    }
    window->mv_drawVisit();
    finish();
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(drawCalls(), 3U);
}

TEST_F(MVQuadBatchTest, aSamplerThatSomebodyHasBoundIsUsedForAllTexturesOrNone) {
    GLuint sampler = 0;
    for (const GLuint unit : {0U, 3U}) {
        RandomWindow scene(7);
        onQueue([&] {
            glGenSamplers(1, &sampler);
            glSamplerParameteri(sampler, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
            glSamplerParameteri(sampler, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
            glBindSampler(unit, sampler);
        });
        const Picture expected = captureWith(false, scene.shared(), 0);
        EXPECT_EQ(captureWith(true, scene.shared(), 0).rgba, expected.rgba) << "unit " << unit;
        onQueue([&] { glDeleteSamplers(1, &sampler); });
    }
}

TEST_F(MVQuadBatchTest, opaqueViewsShareCallsWithBlendedOnes) {
    const auto window = squares(100);
    for (std::size_t i = 0; i < 100; i += 3) {
        (*window->subviews())[i]->setOpacity(0.5F);
    }
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(drawCalls(), 1U);
}

TEST_F(MVQuadBatchTest, manyOpaqueViewsAreNotBlended) {
    const auto window = squares(400);
    (*window->subviews())[0]->setOpacity(0.5F);
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(drawCalls(), 2U);
}

TEST_F(MVQuadBatchTest, viewsOfOneKindAreDrawnByFewCalls) {
    const auto window = squares(400);
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(drawCalls(), 1U);
    EXPECT_THAT(gl_->callsOf("glGenVertexArrays"), SizeIs(2)) << "none for a view of its own";
}

TEST_F(MVQuadBatchTest, aFastQueueDoesNotMakeRunsSmall) {
    const auto window = squares(1200);
    window->mv_drawVisit();
    finish();
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_LE(drawCalls(), 4U);
}

TEST_F(MVQuadBatchTest, aSoftwareRasterizerIsGivenManyViewsInLots) {
    bool isLlvmpipe = false;
    onQueue([&] { isLlvmpipe = Mivora::platform::isLlvmpipe(); });
    if (!isLlvmpipe) {
        GTEST_SKIP() << "others begin by themselves";
    }
    const auto window = squares(10000);
    gl_->clear();
    {
        Mivora::tests::QueueGate gate(*context_->dispatchQueue());
        window->mv_drawVisit();
        gate.open();
        finish();
    }
    std::size_t most = 0;
    std::size_t quads = 0;
    for (const Mivora::tests::GLCall& call : gl_->calls()) {
        if (call.name == "glFinish") {
            quads = 0;
        } else if (call.name == "glDrawElementsBaseVertex") {
            quads += static_cast<std::size_t>(call.arguments.at(1)) / 6;
            most = std::max(most, quads);
        }
    }
    EXPECT_LT(most, 5000U);
    EXPECT_THAT(gl_->callsOf("glFinish"), SizeIs(2));
}

namespace {

/// Lets the driver map buffers so many times, and then no more.
class FewMaps {
 public:
    explicit FewMaps(int count) : original_(epoxy_glMapBufferRange) {
        left_ = count;
        real_ = original_;
        epoxy_glMapBufferRange = [](GLenum target, GLintptr offset, GLsizeiptr length,
                                    GLbitfield access) -> void* {
            return left_-- > 0 ? real_(target, offset, length, access) : nullptr;
        };
    }
    ~FewMaps() { epoxy_glMapBufferRange = original_; }
    FewMaps(const FewMaps&) = delete;
    FewMaps& operator=(const FewMaps&) = delete;

 private:
    static inline int left_ = 0;  // the GL queue's
    static inline PFNGLMAPBUFFERRANGEPROC real_ = nullptr;
    const PFNGLMAPBUFFERRANGEPROC original_;
};

}  // namespace

TEST_F(MVQuadBatchTest, whatTheDriverMapsNoMemoryForMakesItsCalls) {
    // More than fit into the memory that is mapped at once, with textures by turns.
    const auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    std::vector<std::shared_ptr<MVImage>> images;
    for (unsigned i = 0; i < 40; ++i) {
        const std::array<std::uint8_t, 4> pixel = {static_cast<std::uint8_t>(6 * i), 99, 0, 128};
        images.push_back(
            MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                pixel.data(), 1, 1, 1.0F, 0, false, GL_RGBA));
    }
    for (std::size_t i = 0; i < 4000; ++i) {
        const auto view = MVImageView::initWithImage(images[i % images.size()]);
        view->setSize({3, 2});
        view->setPosition({static_cast<float>(i % 50) * 3, static_cast<float>(i / 50) * 2});
        window->addSubview(view);
    }
    captureWith(false, window, 0);
    const Picture expected = captureWith(false, window, 0);
    std::vector<double> expectedState;
    std::vector<GLint> expectedTextures;
    onQueue([&] {
        expectedState = Mivora::tests::currentState();
        expectedTextures = boundTextures();
    });
    for (int maps = 0; maps < 4; ++maps) {
        onQueue([] { static_cast<void>(boundTextures()); });
        Picture picture;
        {
            const FewMaps few(maps);
            picture = captureWith(true, window, 0);
        }
        std::vector<double> state;
        std::vector<GLint> textures;
        onQueue([&] {
            state = Mivora::tests::currentState();
            textures = boundTextures();
        });
        EXPECT_LE(worst(picture, expected), 2) << "after " << maps;
        EXPECT_EQ(state, expectedState) << "after " << maps;
        EXPECT_EQ(textures, expectedTextures) << "after " << maps;
    }
}

TEST_F(MVQuadBatchTest, framesOfFewerViewsAreNotDivided) {
    const auto window = squares(3000);
    for (int frame = 0; frame < 4; ++frame) {
        window->mv_drawVisit();
        finish();
    }
    EXPECT_THAT(gl_->callsOf("glFinish"), IsEmpty());
}

TEST_F(MVQuadBatchTest, switchedOffEveryViewMakesItsCalls) {
    const auto window = squares(10);
    context_->setBatching(false);
    window->mv_drawVisit();
    finish();
    EXPECT_THAT(gl_->callsOf("glUseProgram"), SizeIs(10));
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(10));
}

TEST_F(MVQuadBatchTest, theEnvironmentSwitchesItOff) {
    EXPECT_TRUE(MVRenderContext::init()->isBatching());
    const Mivora::tests::ScopedEnvironment off("MIVORA_BATCH", "0");
    EXPECT_FALSE(MVRenderContext::init()->isBatching());
}

TEST_F(MVQuadBatchTest, viewsThatAreOnlyRecordedQueueNothingWhenTheyComeAndGo) {
    finish();
    gl_->clear();
    squares(20).reset();
    finish();
    EXPECT_THAT(gl_->texts(), IsEmpty());
}

/// Has another thread queue a closure while the tree is being drawn.
class AskingView : public MVView {
 public:
    std::size_t drawnBefore = 0;
    std::function<std::size_t()> ask;

    void draw() override {
        std::thread([this] {
            MVRenderContext::activeContext()->mv_dispatchBlockSync([this] { drawnBefore = ask(); });
        }).join();
    }
};

TEST_F(MVQuadBatchTest, aClosureOfAnyThreadComesAfterWhatWasRecordedBefore) {
    const auto window = squares(3);
    const auto asking = MVMake<AskingView>();
    asking->ask = [this] { return drawCalls(); };
    window->insertSubviewAtIndex(asking, 2);
    gl_->clear();
    window->mv_drawVisit();
    EXPECT_EQ(asking->drawnBefore, 1U) << "the first two";
    finish();
    EXPECT_EQ(drawCalls(), 2U);
}

TEST_F(MVQuadBatchTest, nothingIsLostWhileAnotherThreadQueuesClosures) {
    constexpr int kSquares = 1600;  // the whole window
    const auto window = squares(kSquares);
    const Picture expected = captureWith(true, window, 0);
    std::atomic<bool> over = false;
    std::thread thread([&] {
        while (!over) {
            context_->dispatchBlock([] {});
        }
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(captureWith(true, window, 0).rgba, expected.rgba);
    }
    over = true;
    thread.join();
    finish();
}

/// A colour view that draws nothing.
class SilentView : public MVColorView {
 public:
    int drawn = 0;
    void draw() override { ++drawn; }
};

TEST_F(MVQuadBatchTest, viewsOfAClientsClassAreDrawnByTheirOwnDraw) {
    const auto window = squares(2);
    const auto silent = MVMake<SilentView>();
    silent->setSize({kExtent, kExtent});
    window->insertSubviewAtIndex(silent, 1);
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(silent->drawn, 1);
    EXPECT_THAT(gl_->callsOf("glDrawElementsBaseVertex"), SizeIs(1)) << "the other two";
}

TEST_F(MVQuadBatchTest, subviewsFollowTheirSuperviewThatMoved) {
    const auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    const auto above = MVView::init();
    window->addSubview(above);
    const auto square = MVColorView::initWithColor({0, 1, 0, 1});
    square->setSize({20, 20});
    above->addSubview(square);
    captureWith(true, window, 0);
    above->setPosition({100, 0});
    const Picture picture = captureWith(true, window, 0);
    EXPECT_EQ(picture.pixel(110, 10)[1], 255);
    EXPECT_LT(picture.pixel(10, 10)[1], 100) << "the background";
}

TEST_F(MVQuadBatchTest, theContextKnowsTheShaderThatWasRecordedLast) {
    const auto window = squares(1);
    context_->setShader(nullptr);
    window->mv_drawVisit();
    EXPECT_NE(context_->shader(), nullptr);
}

TEST_F(MVQuadBatchTest, cleanStencilPlanesAreNotClearedAgain) {
    const auto window = squares(40);
    for (const auto& view : *window->subviews()) {
        auto stencil = MVColorView::init();
        stencil->setSize({3, 3});
        view->setStencilView(stencil);
    }
    gl_->clear();
    MVCaptureWindow(window, {.scale = 1.0F, .samples = 0});
    EXPECT_THAT(gl_->callsOf("glClear"), SizeIs(1)) << "the frame's";
}

TEST_F(MVQuadBatchTest, planesThatAClosureMayHaveWrittenToAreCleared) {
    const auto window = squares(2);
    auto stencil = MVColorView::init();
    stencil->setSize({3, 3});
    window->subviews()->back()->setStencilView(stencil);
    const auto asking = MVMake<AskingView>();
    asking->ask = [] { return std::size_t{0}; };
    window->insertSubviewAtIndex(asking, 1);
    gl_->clear();
    MVCaptureWindow(window, {.scale = 1.0F, .samples = 0});
    EXPECT_THAT(gl_->callsOf("glClear"), SizeIs(2)) << "the frame's and the level's";
}
