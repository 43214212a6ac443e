#include "MivoraMac/platform/gl/Drawable.h"

#include <epoxy/gl.h>

#include <set>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "tests/support/GLTest.h"

using Mivora::platform::Drawable;
using Mivora::platform::GLContext;
using Mivora::platform::PixelSize;
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

TEST_F(DrawableTest, withoutAnAreaThereIsNoFramebufferAndNothingIsPublished) {
    onQueue([this] {
        EXPECT_EQ(drawable_.framebuffer(), 0U);
        drawable_.flush();
        EXPECT_THAT(drawable_.readLatestFrame().rgba, IsEmpty());
    });
    EXPECT_EQ(drawable_.latestFrame().serial, 0U);
    EXPECT_THAT(gl_->calls(), IsEmpty());
    drawable_.setSize({-3, 5});
    EXPECT_EQ(drawable_.size(), (PixelSize{0, 5}));
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

TEST_F(GLContextTest, aContextReleasesItsDrawableWhenItGoes) {
    auto context =
        GLContext::initWithFormatShareContext(context_->pixelFormat(), context_->mv_context());
    ASSERT_NE(context, nullptr);
    context->drawable().setSize({4, 4});
    context->makeCurrentContext();
    glBindFramebuffer(GL_FRAMEBUFFER, context->defaultFramebuffer());
    context->flushBuffer();
    GLContext::clearCurrentContext();
    EXPECT_FALSE(gl_->liveObjects().empty());
    context.reset();
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
    EXPECT_EQ(GLContext::currentContext(), nullptr);
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
