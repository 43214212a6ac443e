#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "tests/images/ImageTest.h"
#include "tests/support/QueueGate.h"

using Mivora::Size2;
using Mivora::Size2I;
using Mivora::platform::Picture;
using Mivora::tests::call;
using Mivora::tests::ChangeLog;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class MVImageRenderSurfaceBufferGLTest : public Mivora::tests::ImageTest {
 protected:
    static Picture filled(int width, int height, std::vector<std::uint8_t> color) {
        Picture picture{{width, height}, {}};
        for (int i = 0; i < width * height; ++i) {
            picture.rgba.insert(picture.rgba.end(), color.begin(), color.end());
        }
        return picture;
    }
};

TEST_F(MVImageRenderSurfaceBufferGLTest, aBufferMakesAnImageAndNoRenderbuffer) {
    const auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 2);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->storageSize(), (Size2I{8, 4}));
    EXPECT_EQ(buffer->scale(), 2.0F);
    EXPECT_EQ(buffer->size(), (Size2{4, 2}));
    ASSERT_NE(buffer->image(), nullptr);
    EXPECT_EQ(buffer->image()->size(), (Size2{4, 2}));
    EXPECT_EQ(buffer->image()->coordinateSystem(), 1);
    EXPECT_FALSE(buffer->image()->premultipliedAlpha());
    EXPECT_EQ(buffer->image()->updateIndex(), 0U);
    finish();
    EXPECT_THAT(gl_->texts(), ElementsAreArray(making(buffer->image()->mv_texture(), GL_RGBA, 8, 4,
                                                      GL_RGBA, false)));
}

TEST_F(MVImageRenderSurfaceBufferGLTest, theFormatsAreIgnored) {
    const auto buffer =
        MVImageRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
            {8, 4}, GL_DEPTH_COMPONENT24, 4);
    EXPECT_EQ(buffer->scale(), 1.0F);
    finish();
    EXPECT_THAT(gl_->texts(), ElementsAreArray(making(buffer->image()->mv_texture(), GL_RGBA, 8, 4,
                                                      GL_RGBA, false)));
}

TEST_F(MVImageRenderSurfaceBufferGLTest, negativeExtentsAreKeptAndCountAsZeroInTheImage) {
    const auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({-8, 4}, 1);
    EXPECT_EQ(buffer->storageSize(), (Size2I{-8, 4}));
    EXPECT_EQ(buffer->image()->size(), (Size2{0, 4}));
}

TEST_F(MVImageRenderSurfaceBufferGLTest, attachingAttachesTheTexture) {
    const auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1);
    GLuint framebuffer = 0;
    onQueue([&] {
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    });
    gl_->clear();
    buffer->mv_attach(GL_COLOR_ATTACHMENT0);
    finish();
    EXPECT_THAT(gl_->texts(), ElementsAre(call("glFramebufferTexture2D",
                                               {GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                                                double(buffer->image()->mv_texture()), 0})));
    onQueue([&] {
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
        glDeleteFramebuffers(1, &framebuffer);
    });
    EXPECT_EQ(glError(), GLenum{GL_NO_ERROR});
}

TEST_F(MVImageRenderSurfaceBufferGLTest, attachingIsQueuedAndKeepsTheTextureUntilThen) {
    auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1);
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    buffer->mv_attach(GL_COLOR_ATTACHMENT0);
    buffer.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glFramebufferTexture2D", "glDeleteTextures"));
    glError();  // no framebuffer was bound
}

TEST_F(MVImageRenderSurfaceBufferGLTest, aRenderRaisesTheUpdateIndexByOneAndTellsObservers) {
    const auto surface = MVRenderSurface::init();
    const auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1);
    surface->setColorBuffer(buffer);
    const auto log = ChangeLog::of(*buffer->image());
    for (std::uint32_t i = 1; i <= 3; ++i) {
        surface->renderBlock([&] { EXPECT_EQ(buffer->image()->updateIndex(), i - 1); });
        EXPECT_EQ(buffer->image()->updateIndex(), i);
    }
    EXPECT_EQ(log->seen.size(), 6U);
    EXPECT_EQ(log->seen[0], "will updateIndex");
}

TEST_F(MVImageRenderSurfaceBufferGLTest, whatIsDrawnIsInTheTexture) {
    const auto surface = MVRenderSurface::init();
    const auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1);
    surface->setColorBuffer(buffer);
    surface->setClearColor({1, 0, 0, 1});
    surface->renderBlock([] {});
    expectTexture(*buffer->image(), filled(8, 4, {255, 0, 0, 255}));

    // The first row of the texture is the bottom one.
    surface->renderBlock([&] {
        context_->dispatchBlock([] {
            glEnable(GL_SCISSOR_TEST);
            glScissor(0, 0, 8, 1);
            glClearColor(0, 1, 0, 1);
            glClear(GL_COLOR_BUFFER_BIT);
            glDisable(GL_SCISSOR_TEST);
        });
    });
    const Picture picture = textureOf(*buffer->image());
    EXPECT_THAT(picture.pixel(3, 0), ElementsAre(0, 255, 0, 255));
    EXPECT_THAT(picture.pixel(3, 1), ElementsAre(255, 0, 0, 255));
}

TEST_F(MVImageRenderSurfaceBufferGLTest, aBufferOfAnotherSizeRebuildsTheOtherAttachments) {
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1));
    surface->renderBlock([] {});
    const auto depth = surface->depthBuffer();
    surface->setColorBuffer(MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 2));
    surface->renderBlock([] {});
    EXPECT_EQ(surface->depthBuffer(), depth);
    surface->setColorBuffer(MVImageRenderSurfaceBuffer::initWithStorageSizeScale({9, 4}, 1));
    surface->renderBlock([] {});
    EXPECT_NE(surface->depthBuffer(), depth);
    EXPECT_EQ(surface->depthBuffer()->storageSize(), (Size2I{9, 4}));
}

TEST_F(MVImageRenderSurfaceBufferGLTest, theImageOutlivesItsBuffer) {
    auto surface = MVRenderSurface::init();
    auto buffer = MVImageRenderSurfaceBuffer::initWithStorageSizeScale({8, 4}, 1);
    surface->setColorBuffer(buffer);
    surface->setClearColor({0, 0, 1, 1});
    surface->renderBlock([] {});
    const auto image = buffer->image();
    buffer.reset();
    surface.reset();
    expectTexture(*image, filled(8, 4, {0, 0, 255, 255}));
}

}  // namespace
