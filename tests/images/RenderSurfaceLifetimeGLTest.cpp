// What becomes of the drawing into a surface that is dropped, or whose attachments are a client's.

#include <epoxy/gl.h>

#include <array>
#include <cstdint>
#include <memory>

#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"

using Mivora::Size2I;
using Mivora::tests::QueueGate;

namespace {

constexpr Size2I kSize = {8, 4};
using Pixel = std::array<std::uint8_t, 4>;
constexpr Pixel kBlue = {0, 0, 255, 255};

class RenderSurfaceLifetimeTest : public Mivora::tests::GLTest {
 protected:
    /// Queues the filling of what is bound, bit by bit as views draw.
    void fill() {
        for (int x = 0; x < kSize.width; ++x) {
            context_->dispatchBlock([x] {
                glEnable(GL_SCISSOR_TEST);
                glScissor(x, 0, 1, kSize.height);
                glClearColor(0, 0, 1, 1);
                glClear(GL_COLOR_BUFFER_BIT);
                glDisable(GL_SCISSOR_TEST);
            });
        }
    }

    /// The last pixel of an image, which is filled last.
    Pixel lastPixel(MVImage& image) {
        Pixel pixel{};
        onQueue([&] {
            GLuint framebuffer = 0;
            glGenFramebuffers(1, &framebuffer);
            glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
            glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                                   image.mv_texture(), 0);
            glReadPixels(kSize.width - 1, kSize.height - 1, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE,
                         pixel.data());
            glDeleteFramebuffers(1, &framebuffer);
        });
        return pixel;
    }

    static std::shared_ptr<MVRenderSurfaceBuffer> buffer(GLenum format) {
        return MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(kSize,
                                                                                        format, 0);
    }

    GLenum statusWhileRendering(MVRenderSurface& surface) {
        GLenum status = 0;
        surface.renderBlock([&] {
            context_->dispatchBlock([&] { status = glCheckFramebufferStatus(GL_FRAMEBUFFER); });
        });
        finish();
        return status;
    }

    std::shared_ptr<MVImageRenderSurfaceBuffer> target_;

    void SetUp() override {
        GLTest::SetUp();
        target_ = MVImageRenderSurfaceBuffer::initWithStorageSizeScale(kSize, 1);
    }
    void TearDown() override {
        target_.reset();
        GLTest::TearDown();
    }
};

}  // namespace

TEST_F(RenderSurfaceLifetimeTest, whatWasDrawnIsThereHoweverEarlyTheSurfaceIsDropped) {
    QueueGate gate(*context_->dispatchQueue());
    auto surface = MVRenderSurface::init();
    surface->setColorBuffer(target_);
    surface->renderBlock([&] { fill(); });
    surface.reset();
    gate.open();
    EXPECT_EQ(lastPixel(*target_->image()), kBlue);
}

TEST_F(RenderSurfaceLifetimeTest, whatWasDrawnIsThereAlsoWhenGLWorkDropsTheSurface) {
    QueueGate gate(*context_->dispatchQueue());
    auto surface = MVRenderSurface::init();
    surface->setColorBuffer(target_);
    MVRenderSurface& unowned = *surface;
    unowned.renderBlock([&] {
        context_->dispatchBlock([held = std::move(surface)]() mutable { held.reset(); });
        fill();
    });
    gate.open();
    EXPECT_EQ(lastPixel(*target_->image()), kBlue);
    finish();
    finish();
}

TEST_F(RenderSurfaceLifetimeTest, whatWasDrawnIsThereWhenTheBufferGoesWithTheSurface) {
    const std::shared_ptr<MVImage> image = target_->image();
    QueueGate gate(*context_->dispatchQueue());
    auto surface = MVRenderSurface::init();
    surface->setColorBuffer(target_);
    target_.reset();
    surface->renderBlock([&] { fill(); });
    surface.reset();
    gate.open();
    EXPECT_EQ(lastPixel(*image), kBlue);
}

TEST_F(RenderSurfaceLifetimeTest, aPairOfOnesOwnIsCompleteWhateverIsDrawnBeforeTheRender) {
    const auto surface = MVRenderSurface::init();
    const auto other = MVRenderSurface::init();
    other->setColorBuffer(buffer(GL_RGBA8));
    surface->setColorBuffer(target_);
    surface->setDepthBuffer(buffer(GL_DEPTH_COMPONENT24));
    surface->setStencilBuffer(buffer(GL_STENCIL_INDEX8));
    other->renderBlock([] {});
    EXPECT_EQ(statusWhileRendering(*surface), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
}

TEST_F(RenderSurfaceLifetimeTest, aBufferThatMakesAPairOnACleanSurfaceLeavesItComplete) {
    const auto surface = MVRenderSurface::init();
    surface->setStencilFormat(0);
    surface->setColorBuffer(target_);
    EXPECT_EQ(statusWhileRendering(*surface), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
    surface->setStencilBuffer(buffer(GL_STENCIL_INDEX8));
    EXPECT_EQ(statusWhileRendering(*surface), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
    surface->setStencilBuffer(nullptr);
    EXPECT_EQ(statusWhileRendering(*surface), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
}

TEST_F(RenderSurfaceLifetimeTest, aPairOfOnesOwnIsCompleteInTheSecondFramebufferToo) {
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(buffer(GL_RGBA8));
    surface->setMultisampleFormat(4);
    surface->renderBlock([] {});
    surface->setMultisampleColorBuffer(target_);
    surface->setMultisampleDepthBuffer(buffer(GL_DEPTH_COMPONENT24));
    surface->setMultisampleStencilBuffer(buffer(GL_STENCIL_INDEX8));
    EXPECT_EQ(statusWhileRendering(*surface), static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
}
