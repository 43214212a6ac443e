#include "MivoraMac/platform/gl/Drawable.h"

#include <epoxy/gl.h>

#include <array>
#include <cstdint>
#include <set>
#include <vector>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/render/MVShader.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/support/GLTest.h"

using Mivora::platform::Drawable;
using Mivora::platform::GLContext;
using Mivora::platform::PixelSize;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class DrawableTest : public Mivora::tests::GLTest {
 protected:
    void TearDown() override {
        onQueue([this] { drawable_.release(); });
        GLTest::TearDown();
    }

    /// Fills the drawable with one colour and publishes it. Call from GL work.
    void paint(float red, float green, float blue) {
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        glClearColor(red, green, blue, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        drawable_.flush();
    }

    Drawable drawable_{4};
};

TEST_F(DrawableTest, withoutAnAreaDrawingGoesNowhereWithoutAnError) {
    onQueue([this] {
        paint(1, 0, 0);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        EXPECT_THAT(drawable_.readLatestFrame().rgba, IsEmpty());
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 0U);
    drawable_.setSize({-3, 5});
    EXPECT_EQ(drawable_.size(), (PixelSize{0, 5}));
    onQueue([this] { paint(1, 0, 0); });
    EXPECT_EQ(drawable_.latestFrame().serial, 0U);
}

TEST_F(DrawableTest, aFrameThatTheDriverHasNoRoomForIsLoggedAndDrawnNowhere) {
    const Mivora::tests::LogCapture log;
    drawable_.setSize({8, 4});
    gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_UNSUPPORTED);
    onQueue([this] { drawable_.framebuffer(); });
    gl_->restoreResult("glCheckFramebufferStatus");
    EXPECT_FALSE(log.lines().empty());
    drawable_.setSize({9, 4});
    onQueue([this] { paint(1, 0, 0); });
    EXPECT_EQ(drawable_.latestFrame().serial, 1U) << "another size is another attempt";
}

TEST_F(DrawableTest, anIncompleteFrameIsNotPublished) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        paint(1, 0, 0);
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.beginFrame());
        drawable_.flush();
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 1U);
    onQueue([this] {
        drawable_.endFrame();
        drawable_.flush();
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 2U);
}

TEST_F(DrawableTest, aFrameThatWasNeverEndedIsSupersededByTheNext) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        drawable_.beginFrame();
        drawable_.beginFrame();
        drawable_.endFrame();
        drawable_.flush();
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 1U);
}

TEST_F(DrawableTest, ofAFrameThatDiffersInABoxThatBoxIsResolved) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        const auto paintBox = [this](int x, float red) {
            glBindFramebuffer(GL_FRAMEBUFFER, drawable_.beginFrame());
            glEnable(GL_SCISSOR_TEST);
            glScissor(x, 0, 1, 1);
            glClearColor(red, 0, 0, 1);
            glClear(GL_COLOR_BUFFER_BIT);
            glDisable(GL_SCISSOR_TEST);
            Mivora::platform::PixelRegion changed;
            changed.add({x, 0, x + 1, 1});
            drawable_.endFrame(changed, changed.boxes());
            drawable_.flush();
            return drawable_.readLatestFrame();
        };
        paint(0, 1, 0);
        paint(0, 1, 0);
        // Each of the textures that frames are shown from is an older frame by turns.
        for (int i = 0; i < 8; ++i) {
            const auto picture = paintBox(i, 1);
            for (int x = 0; x < 8; ++x) {
                EXPECT_EQ(picture.pixel(x, 3)[0], x <= i ? 255 : 0) << i << ", " << x;
                EXPECT_EQ(picture.pixel(x, 2)[0], 0);
            }
            if (i == 0) {
                gl_->clear();  // which the whole frames before it were resolved by, too
            }
        }
        for (const auto& call : gl_->callsOf("glBlitFramebuffer")) {
            EXPECT_LE((call.arguments[2] - call.arguments[0]) * call.arguments[3], 2);
        }
    });
}

TEST_F(DrawableTest, aFrameOfAnotherSizeInBetweenLeavesNoTraceInLaterOnes) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        paint(1, 0, 0);
        paint(1, 0, 0);
    });
    drawable_.setSize({32, 16});
    onQueue([this] {
        paint(0, 1, 0);
        drawable_.beginFrame();
        Mivora::platform::PixelRegion beyond;
        beyond.add({20, 10, 30, 15});
        drawable_.endFrame(beyond, beyond.boxes());
    });
    drawable_.setSize({8, 4});
    onQueue([this] {
        for (int i = 0; i < 3; ++i) {
            paint(0, 0, 1);
            const auto picture = drawable_.readLatestFrame();
            EXPECT_EQ(picture.size, (PixelSize{8, 4}));
            EXPECT_EQ(picture.pixel(7, 0)[2], 255);
            EXPECT_EQ(picture.pixel(0, 3)[2], 255);
        }
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        for (const auto& call : gl_->callsOf("glBlitFramebuffer")) {
            EXPECT_LT(call.arguments[0], call.arguments[2]);
            EXPECT_LT(call.arguments[1], call.arguments[3]);
        }
    });
}

TEST_F(DrawableTest, whatWasDrawnBesideFramesIsResolvedAsWell) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        paint(0, 1, 0);
        paint(0, 1, 0);
        drawable_.beginFrame();
        drawable_.endFrame({}, {});
        glClearColor(1, 0, 0, 1);
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        glClear(GL_COLOR_BUFFER_BIT);
        drawable_.flush();
        EXPECT_EQ(drawable_.readLatestFrame().pixel(3, 2)[0], 255);
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        drawable_.flush();
        EXPECT_EQ(drawable_.readLatestFrame().pixel(3, 2)[2], 255) << "no frame was ended at all";
        drawable_.beginFrame();
        drawable_.endFrame({}, {});
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        drawable_.forgetChange();
        drawable_.flush();
        EXPECT_EQ(drawable_.readLatestFrame().pixel(3, 2)[0], 255);
    });
}

namespace {

/// A frame of eight columns of pixels, each of which is drawn by another call.
class ColumnsTest : public DrawableTest {
 protected:
    void SetUp() override {
        DrawableTest::SetUp();
        drawable_.setSize({8, 4});
    }

    enum class Into { Framebuffer, Resolved };

    /// A frame in which one column differs, or more that are next to each other.
    void frame(int column, int red, Into into, int count = 1) {
        const GLuint framebuffer = drawable_.beginFrame();
        Mivora::platform::PixelRegion changed;
        changed.add({column, 0, column + count, 4});
        const auto boxes = changed.boxes();
        glBindFramebuffer(GL_FRAMEBUFFER, into == Into::Resolved
                                              ? drawable_.resolvedFramebuffer(boxes)
                                              : framebuffer);
        fill(column, count, red);
        drawable_.endFrame(changed, into == Into::Resolved ? boxes.first(0) : boxes);
    }

    static void fill(int column, int count, int red) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(column, 0, count, 4);
        glClearColor(static_cast<float>(red) / 255, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
    }

    std::vector<int> shown() {
        drawable_.flush();
        const auto picture = drawable_.readLatestFrame();
        std::vector<int> reds;
        for (int x = 0; x < picture.size.width; ++x) {
            reds.push_back(picture.pixel(x, 1)[0]);
        }
        return reds;
    }
};

}  // namespace

TEST_F(ColumnsTest, whatIsDrawnIntoTheResolvedFrameIsShownInThatAndInLaterFrames) {
    onQueue([this] {
        EXPECT_TRUE((drawable_.framebuffer(), drawable_.isMultisampled()));
        paint(0, 1, 0);
        frame(1, 10, Into::Resolved);
        EXPECT_TRUE(drawable_.isBehind());
        EXPECT_THAT(shown(), ElementsAre(0, 10, 0, 0, 0, 0, 0, 0));
        frame(3, 30, Into::Framebuffer);
        EXPECT_THAT(shown(), ElementsAre(0, 10, 0, 30, 0, 0, 0, 0));
        frame(5, 50, Into::Resolved);
        EXPECT_THAT(shown(), ElementsAre(0, 10, 0, 30, 0, 50, 0, 0));
        frame(1, 0, Into::Framebuffer);
        EXPECT_THAT(shown(), ElementsAre(0, 0, 0, 30, 0, 50, 0, 0));
        EXPECT_EQ(drawable_.latestChange().boxes().size(), 1U);
    });
}

TEST_F(ColumnsTest, framesThatNobodyShowedAreInTheOneThatIsShown) {
    onQueue([this] {
        paint(0, 0, 0);
        frame(0, 10, Into::Framebuffer, 4);
        frame(2, 20, Into::Resolved, 4);
        frame(3, 30, Into::Framebuffer);
        frame(5, 50, Into::Resolved);
        frame(6, 60, Into::Framebuffer);
        EXPECT_THAT(shown(), ElementsAre(10, 10, 20, 30, 20, 50, 60, 0));
        EXPECT_THAT(shown(), ElementsAre(10, 10, 20, 30, 20, 50, 60, 0)) << "and once more";
    });
}

TEST_F(ColumnsTest, whoDrawsIntoTheFramebufferFindsAllOfTheFrameThere) {
    onQueue([this] {
        paint(0, 0, 0);
        frame(1, 10, Into::Resolved);
        frame(2, 20, Into::Framebuffer);
        drawable_.flush();
        frame(3, 30, Into::Resolved);
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        EXPECT_FALSE(drawable_.isBehind());
        fill(7, 1, 70);
        EXPECT_THAT(shown(), ElementsAre(0, 10, 20, 30, 0, 0, 0, 70));
        drawable_.beginFrame();
        drawable_.endFrame();
        EXPECT_THAT(shown(), ElementsAre(0, 10, 20, 30, 0, 0, 0, 70)) << "all of it is resolved";
    });
}

TEST_F(ColumnsTest, aHeldFrameIsLeftAloneByThoseDrawnAfterIt) {
    onQueue([this] {
        paint(0, 0, 0);
        std::vector<Drawable::Frame> held;
        for (int i = 0; i < 5; ++i) {
            frame(i, 10 * (i + 1), i % 2 == 0 ? Into::Resolved : Into::Framebuffer);
            std::vector<int> expected(8);
            for (int column = 0; column <= i; ++column) {
                expected[static_cast<std::size_t>(column)] = 10 * (column + 1);
            }
            EXPECT_EQ(shown(), expected);
            held.push_back(drawable_.holdLatestFrame());
        }
        for (const auto& frame : held) {
            drawable_.giveBack(frame);
        }
        frame(7, 70, Into::Resolved);
        EXPECT_THAT(shown(), ElementsAre(10, 20, 30, 40, 50, 0, 0, 70));
    });
}

TEST_F(ColumnsTest, anotherSizeLeavesNothingToCatchUpWith) {
    onQueue([this] {
        paint(0, 0, 0);
        frame(1, 10, Into::Resolved);
    });
    drawable_.setSize({6, 4});
    onQueue([this] {
        drawable_.beginFrame();
        EXPECT_FALSE(drawable_.isBehind());
        drawable_.endFrame();
        paint(0.2F, 0, 0);
        EXPECT_THAT(shown(), ElementsAre(51, 51, 51, 51, 51, 51));
    });
}

TEST_F(ColumnsTest, manyFramesThatNobodyShowsAreNotForgotten) {
    onQueue([this] {
        paint(0, 0, 0);
        for (int i = 0; i < 200; ++i) {
            frame(i % 7, i, i % 5 == 0 ? Into::Resolved : Into::Framebuffer);
        }
        EXPECT_THAT(shown(), ElementsAre(196, 197, 198, 199, 193, 194, 195, 0));
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}

TEST_F(DrawableTest, publishingAndReadingDisturbNobodyWhoDrawsMeanwhile) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        std::array<GLuint, 2> framebuffers{};
        GLuint renderbuffer = 0;
        GLuint texture = 0;
        glGenFramebuffers(2, framebuffers.data());
        glGenRenderbuffers(1, &renderbuffer);
        glGenTextures(1, &texture);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffers[0]);
        glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffers[1]);
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
        glBindTexture(GL_TEXTURE_2D, texture);
        glPixelStorei(GL_PACK_ALIGNMENT, 8);
        glPixelStorei(GL_PACK_ROW_LENGTH, 20);
        drawable_.framebuffer();
        for (int i = 0; i < 3; ++i) {
            drawable_.flush();
        }
        EXPECT_EQ(drawable_.readLatestFrame().rgba.size(), 8U * 4U * 4U);
        const auto bound = [](GLenum name) {
            GLint value = 0;
            glGetIntegerv(name, &value);
            return static_cast<GLuint>(value);
        };
        EXPECT_EQ(bound(GL_DRAW_FRAMEBUFFER_BINDING), framebuffers[0]);
        EXPECT_EQ(bound(GL_READ_FRAMEBUFFER_BINDING), framebuffers[1]);
        EXPECT_EQ(bound(GL_RENDERBUFFER_BINDING), renderbuffer);
        EXPECT_EQ(bound(GL_TEXTURE_BINDING_2D), texture);
        EXPECT_EQ(bound(GL_PACK_ALIGNMENT), 8U);
        EXPECT_EQ(bound(GL_PACK_ROW_LENGTH), 20U);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        glDeleteFramebuffers(2, framebuffers.data());
        glDeleteRenderbuffers(1, &renderbuffer);
        glDeleteTextures(1, &texture);
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 3U);
}

TEST_F(DrawableTest, theFramebufferIsMultisampledWithDepthAndStencil) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        GLint samples = 0;
        glGetIntegerv(GL_SAMPLES, &samples);
        EXPECT_EQ(samples, 4);
        GLint depth = 0;
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT,
                                              GL_FRAMEBUFFER_ATTACHMENT_DEPTH_SIZE, &depth);
        EXPECT_EQ(depth, 24);
        GLint stencil = 0;
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT,
                                              GL_FRAMEBUFFER_ATTACHMENT_STENCIL_SIZE, &stencil);
        EXPECT_EQ(stencil, 8);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
    });
}

TEST_F(DrawableTest, framesAlternateBetweenTwoTexturesAndTheNewestIsPublished) {
    drawable_.setSize({8, 4});
    std::set<std::uint32_t> textures;
    std::uint32_t previous = 0;
    for (std::uint64_t i = 1; i <= 6; ++i) {
        onQueue([this] { paint(0, 0, 0); });
        const Drawable::Frame frame = drawable_.latestFrame();
        EXPECT_EQ(frame.serial, i);
        EXPECT_EQ(frame.size, (PixelSize{8, 4}));
        EXPECT_NE(frame.texture, previous);
        previous = frame.texture;
        textures.insert(frame.texture);
    }
    EXPECT_THAT(textures, SizeIs(2));
}

TEST_F(DrawableTest, pixelsAreReadTopRowFirst) {
    drawable_.setSize({2, 2});
    Mivora::platform::Picture picture;
    onQueue([&] {
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        glClearColor(1, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 2, 1);
        glClearColor(0, 0, 1, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        drawable_.flush();
        EXPECT_EQ(glIsEnabled(GL_SCISSOR_TEST), GL_TRUE) << "state is left as it was";
        glDisable(GL_SCISSOR_TEST);
        picture = drawable_.readLatestFrame();
    });
    ASSERT_THAT(picture.rgba, SizeIs(16));
    EXPECT_EQ(picture.rgba[0], 255) << "the top is red";
    EXPECT_EQ(picture.rgba[2], 0);
    EXPECT_EQ(picture.rgba[8], 0) << "the bottom is blue";
    EXPECT_EQ(picture.rgba[10], 255);
}

TEST_F(DrawableTest, pixelsAreReadIntoMemoryThatIsUsedAgain) {
    std::vector<std::uint32_t> argb;
    onQueue([&] { EXPECT_EQ(drawable_.readLatestFrame(argb), PixelSize()) << "no frame yet"; });
    EXPECT_THAT(argb, IsEmpty());
    drawable_.setSize({2, 3});
    onQueue([&] {
        glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
        glClearColor(1, 0, 0.2F, 0.4F);
        glClear(GL_COLOR_BUFFER_BIT);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 2, 1);
        glClearColor(0, 1, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        glDisable(GL_SCISSOR_TEST);
        drawable_.flush();
        EXPECT_EQ(drawable_.readLatestFrame(argb), (PixelSize{2, 3}));
    });
    constexpr std::uint32_t kTop = 0x66FF0033;
    constexpr std::uint32_t kBottom = 0xFF00FF00;
    EXPECT_THAT(argb, testing::ElementsAre(kTop, kTop, kTop, kTop, kBottom, kBottom));
    const std::uint32_t* const memory = argb.data();
    onQueue([&] {
        paint(0, 0, 1);
        drawable_.readLatestFrame(argb);
    });
    EXPECT_THAT(argb, testing::Each(0xFF0000FF));
    EXPECT_EQ(argb.data(), memory);
}

TEST_F(DrawableTest, anotherSizeTakesEffectAtTheNextFrame) {
    drawable_.setSize({8, 4});
    onQueue([this] { paint(1, 0, 0); });
    drawable_.setSize({6, 10});
    EXPECT_EQ(drawable_.latestFrame().size, (PixelSize{8, 4})) << "until something is drawn";
    onQueue([this] { paint(0, 1, 0); });
    EXPECT_EQ(drawable_.latestFrame().size, (PixelSize{6, 10}));
    Mivora::platform::Picture picture;
    onQueue([&] { picture = drawable_.readLatestFrame(); });
    EXPECT_THAT(picture.rgba, SizeIs(6 * 10 * 4));
    EXPECT_EQ(picture.rgba[1], 255);
}

TEST_F(DrawableTest, askingForTheSameSizeKeepsTheFramebuffer) {
    drawable_.setSize({8, 4});
    onQueue([this] { drawable_.framebuffer(); });
    gl_->clear();
    drawable_.setSize({8, 4});
    onQueue([this] { EXPECT_NE(drawable_.framebuffer(), 0U); });
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(DrawableTest, releaseDeletesEverythingAndDrawingCanStartAgain) {
    drawable_.setSize({8, 4});
    onQueue([this] {
        paint(1, 0, 0);
        paint(1, 0, 0);
        drawable_.release();
    });
    EXPECT_FALSE(drawable_.hasGLObjects());
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
    onQueue([this] { paint(0, 0, 1); });
    EXPECT_EQ(drawable_.latestFrame().serial, 1U);
}

TEST_F(DrawableTest, aHeldFrameIsNotDrawnIntoUntilItIsGivenBack) {
    drawable_.setSize({8, 4});
    onQueue([this] { paint(1, 0, 0); });
    const Drawable::Frame held = drawable_.holdLatestFrame();
    EXPECT_EQ(held.texture, drawable_.latestFrame().texture);
    std::set<std::uint32_t> textures;
    for (int i = 0; i < 6; ++i) {
        onQueue([this] { paint(0, 0, 1); });
        textures.insert(drawable_.latestFrame().texture);
    }
    EXPECT_FALSE(textures.contains(held.texture));
    EXPECT_THAT(textures, SizeIs(2)) << "one more takes its place";

    drawable_.giveBack(held);
    for (int i = 0; i < 6; ++i) {
        onQueue([this] { paint(0, 0, 1); });
        textures.insert(drawable_.latestFrame().texture);
    }
    EXPECT_THAT(textures, SizeIs(3)) << "its turn comes again";
}

TEST_F(DrawableTest, aFrameIsHeldAsOftenAsItIsAskedFor) {
    drawable_.setSize({8, 4});
    onQueue([this] { paint(1, 0, 0); });
    const Drawable::Frame held = drawable_.holdLatestFrame();
    drawable_.holdLatestFrame();
    drawable_.giveBack(held);
    for (int i = 0; i < 4; ++i) {
        onQueue([this] { paint(0, 0, 1); });
        EXPECT_NE(drawable_.latestFrame().texture, held.texture);
    }
    drawable_.giveBack(held);
    drawable_.giveBack(held);
}

TEST_F(DrawableTest, severalFramesCanBeHeldAtOnceAndKeepTheirSizes) {
    drawable_.setSize({8, 4});
    std::set<std::uint32_t> held;
    for (int i = 0; i < 5; ++i) {
        onQueue([this] { paint(1, 0, 0); });
        held.insert(drawable_.holdLatestFrame().texture);
    }
    EXPECT_THAT(held, SizeIs(5));
    drawable_.setSize({6, 10});
    onQueue([&] {
        paint(0, 1, 0);
        for (const std::uint32_t texture : held) {
            GLint width = 0;
            glBindTexture(GL_TEXTURE_2D, texture);
            glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
            EXPECT_EQ(width, 8);
        }
        glBindTexture(GL_TEXTURE_2D, 0);
    });
}

TEST_F(DrawableTest, beforeTheFirstFrameThereIsNothingToHold) {
    const Drawable::Frame none = drawable_.holdLatestFrame();
    EXPECT_EQ(none.texture, 0U);
    drawable_.giveBack(none);
}

class GLContextTest : public Mivora::tests::GLTest {
 protected:
    /// A context with a frame on it.
    std::shared_ptr<GLContext> contextWithFrame() {
        auto context =
            GLContext::initWithFormatShareContext(context_->pixelFormat(), context_->mv_context());
        context->drawable().setSize({4, 4});
        present(*context);
        return context;
    }

    static void present(GLContext& context) {
        context.makeCurrentContext();
        glBindFramebuffer(GL_FRAMEBUFFER, context.defaultFramebuffer());
        context.flushBuffer();
        GLContext::clearCurrentContext();
    }
};

TEST_F(GLContextTest, aHeldFrameKeepsItsTextureAndItsContext) {
    auto context = contextWithFrame();
    const std::weak_ptr<GLContext> weak = context;
    auto held = context->holdLatestFrame();
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->texture, context->drawable().latestFrame().texture);
    present(*context);
    present(*context);
    EXPECT_NE(context->drawable().latestFrame().texture, held->texture);
    context.reset();
    EXPECT_FALSE(weak.expired());
    EXPECT_FALSE(gl_->liveObjects().empty());
    held.reset();
    EXPECT_TRUE(weak.expired());
    finish();
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(GLContextTest, withoutAFrameNothingIsHeld) {
    auto context = GLContext::initWithFormatShareContext(context_->pixelFormat(), nullptr);
    EXPECT_EQ(context->holdLatestFrame(), nullptr);
}

TEST_F(GLContextTest, everyFrameIsToldToTheHandlerWhereItWasDrawn) {
    auto context = contextWithFrame();
    int frames = 0;
    context->setFrameHandler([&, named = context.get()] {
        ++frames;
        EXPECT_EQ(GLContext::currentContext(), named);
    });
    present(*context);
    present(*context);
    EXPECT_EQ(frames, 2);
    context->drawable().setSize({0, 4});
    present(*context);
    EXPECT_EQ(frames, 2) << "without an area there is no frame";
    context->drawable().setSize({4, 4});
    context->setFrameHandler(nullptr);
    present(*context);
    EXPECT_EQ(frames, 2);
}

TEST_F(GLContextTest, theFrameHandlerGoesWhenTheViewIsAnother) {
    auto context = contextWithFrame();
    int frames = 0;
    Mivora::platform::OpenGLView view;
    view.setBounds({0, 0, 4, 4});
    context->setView(&view);
    context->setFrameHandler([&] { ++frames; });
    context->setView(&view);
    present(*context);
    EXPECT_EQ(frames, 1) << "attaching it again changes nothing";
    context->setView(nullptr);
    context->drawable().setSize({4, 4});
    present(*context);
    EXPECT_EQ(frames, 1);
}

TEST_F(GLContextTest, withoutAFormatThereIsNoContext) {
    EXPECT_EQ(GLContext::initWithFormatShareContext(nullptr, nullptr), nullptr);
}

TEST_F(GLContextTest, theObjectsOfAContextThatGoesAreDeletedOnTheQueue) {
    auto context =
        GLContext::initWithFormatShareContext(context_->pixelFormat(), context_->mv_context());
    ASSERT_NE(context, nullptr);
    context->drawable().setSize({4, 4});
    present(*context);
    gl_->clear();
    context->makeCurrentContext();
    context.reset();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    EXPECT_THAT(gl_->calls(), IsEmpty());
    EXPECT_FALSE(gl_->liveObjects().empty());
    finish();
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(GLContextTest, aRenderContextThatGoesHasItsDrawableDeletedOnTheQueueAtOnce) {
    auto context = MVRenderContext::initWithSharedContext(context_);
    context->mv_context()->drawable().setSize({4, 4});
    context->mv_dispatchBlockSync([&] { context->mv_context()->defaultFramebuffer(); });
    EXPECT_FALSE(gl_->liveObjects().empty());
    context.reset();
    context_->dispatchQueue()->sync([] {});  // which makes no context current
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(GLContextTest, theLastRenderContextThatGoesTakesItsDrawableWithIt) {
    auto context = MVRenderContext::init();
    context->mv_context()->drawable().setSize({4, 4});
    context->mv_dispatchBlockSync([&] { context->mv_context()->defaultFramebuffer(); });
    const std::weak_ptr<Mivora::platform::NativeGLContext> native = context->mv_context()->native();
    context.reset();
    EXPECT_TRUE(native.expired());
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

// GL state

/// What GL work finds.
struct State {
    std::array<GLint, 4> viewport{};
    std::array<GLfloat, 4> clearColor{};
    GLint program = 0;
    GLint texture = 0;
    GLint framebuffer = 0;
    bool isScissored = false;
    bool isBlended = false;

    static State now() {
        State state;
        glGetIntegerv(GL_VIEWPORT, state.viewport.data());
        glGetFloatv(GL_COLOR_CLEAR_VALUE, state.clearColor.data());
        glGetIntegerv(GL_CURRENT_PROGRAM, &state.program);
        glActiveTexture(GL_TEXTURE3);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &state.texture);
        glActiveTexture(GL_TEXTURE0);
        glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &state.framebuffer);
        state.isScissored = glIsEnabled(GL_SCISSOR_TEST) == GL_TRUE;
        state.isBlended = glIsEnabled(GL_BLEND) == GL_TRUE;
        return state;
    }
    friend bool operator==(const State&, const State&) = default;
};

TEST_F(GLContextTest, everyRenderContextHasItsOwnStateWhileItIsTheActiveOne) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    const auto shader = MVShader::initWithVertexShaderSourceFragmentShaderSource(
        "void main() { gl_Position = vec4(0.0); }", "void main() { gl_FragColor = vec4(1.0); }");
    shader->link();
    State fresh;
    State changed;
    State seenBySecond;
    State seenByFirst;
    GLuint texture = 0;
    GLuint framebuffer = 0;
    onQueue([&] {
        fresh = State::now();
        glGenTextures(1, &texture);
        glGenFramebuffers(1, &framebuffer);
        context_->setShader(shader);
        glViewport(1, 2, 3, 4);
        glClearColor(0.5F, 0.25F, 1, 0);
        glEnable(GL_SCISSOR_TEST);
        glEnable(GL_BLEND);
        glActiveTexture(GL_TEXTURE3);
        glBindTexture(GL_TEXTURE_2D, texture);
        glActiveTexture(GL_TEXTURE0);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        changed = State::now();
    });
    EXPECT_NE(changed, fresh);
    MVRenderContext::mv_setActiveContext(second);
    // Whichever context it goes through: what was made before may keep another.
    onQueue([&] {
        seenBySecond = State::now();
        glViewport(9, 9, 9, 9);
        glDisable(GL_DITHER);
    });
    MVRenderContext::mv_setActiveContext(context_);
    second->mv_dispatchBlockSync([&] {
        seenByFirst = State::now();
        EXPECT_EQ(glIsEnabled(GL_DITHER), GL_TRUE);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
    EXPECT_EQ(seenBySecond, fresh);
    EXPECT_EQ(seenByFirst, changed);
    onQueue([&] {
        glUseProgram(0);
        glDeleteTextures(1, &texture);
        glDeleteFramebuffers(1, &framebuffer);
        glDisable(GL_SCISSOR_TEST);
        glDisable(GL_BLEND);
    });
}

TEST_F(GLContextTest, whatWasDeletedMeanwhileIsBoundNoMore) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    GLuint texture = 0;
    GLuint framebuffer = 0;
    onQueue([&] {
        glGenTextures(1, &texture);
        glGenFramebuffers(1, &framebuffer);
        glBindTexture(GL_TEXTURE_2D, texture);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    });
    MVRenderContext::mv_setActiveContext(second);
    onQueue([&] {
        glDeleteTextures(1, &texture);
        glDeleteFramebuffers(1, &framebuffer);
    });
    MVRenderContext::mv_setActiveContext(context_);
    onQueue([] {
        GLint bound = -1;
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        EXPECT_EQ(bound, 0);
        EXPECT_EQ(State::now().framebuffer, 0);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
}

TEST_F(GLContextTest, theStateOfAContextThatHasGoneReachesNoOther) {
    auto second = MVRenderContext::initWithSharedContext(context_);
    MVRenderContext::mv_setActiveContext(second);
    second->mv_dispatchBlockSync([] { glEnable(GL_SCISSOR_TEST); });
    second.reset();
    MVRenderContext::mv_setActiveContext(context_);
    onQueue([] { EXPECT_EQ(glIsEnabled(GL_SCISSOR_TEST), GL_FALSE); });
}

TEST_F(GLContextTest, destroyingAContextLeavesTheCurrentOneOfTheThreadCurrent) {
    auto other = GLContext::initWithFormatShareContext(context_->pixelFormat(), nullptr);
    ASSERT_NE(other, nullptr);
    onQueue([&] {
        other.reset();
        EXPECT_EQ(GLContext::currentContext(), context_->mv_context().get());
        EXPECT_NE(glGetString(GL_VERSION), nullptr);
    });
}

TEST_F(GLContextTest, oneContextReplacesAnotherOnAThread) {
    auto first = GLContext::initWithFormatShareContext(context_->pixelFormat(), nullptr);
    auto second = GLContext::initWithFormatShareContext(context_->pixelFormat(), nullptr);
    first->makeCurrentContext();
    second->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), second.get());
    GLContext::clearCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    GLContext::clearCurrentContext();
}

}  // namespace
