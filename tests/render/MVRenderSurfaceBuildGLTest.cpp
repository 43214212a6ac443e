#include <epoxy/gl.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <thread>
#include <vector>

#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/render/RenderSurfaceTest.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace Mivora::tests {
namespace {

using platform::PropertyChange;

class MVRenderSurfaceBuildTest : public RenderSurfaceTest {};

// Building

TEST_F(MVRenderSurfaceBuildTest, theFirstRenderMakesBothBuffersThenBindsThenClearsThenDraws) {
    const auto surface = MVRenderSurface::init();
    const double framebuffer = last("glGenFramebuffers");
    surface->setColorBuffer(buffer(kSize));
    surface->setClearColor({0.25F, 0.5F, 0.75F, 1.0F});
    const Texts calls =
        callsOf([&] { surface->renderBlock([&] { context_->dispatchBlock([] { glFlush(); }); }); });
    const auto names = gl_->callsOf("glGenRenderbuffers");
    ASSERT_THAT(names, SizeIs(2));
    const double depth = names[0].names.at(0);
    const double stencil = names[1].names.at(0);
    EXPECT_EQ(calls, join({making(depth, GL_DEPTH_COMPONENT24, kSize),
                           attaching(framebuffer, GL_DEPTH_ATTACHMENT, depth),
                           making(stencil, GL_STENCIL_INDEX8, kSize),
                           attaching(framebuffer, GL_STENCIL_ATTACHMENT, stencil),  //
                           checking(framebuffer), clearing(framebuffer, {0.25F, 0.5F, 0.75F, 1.0F}),
                           viewport(0, 0, 8, 4), kFlushing}));
    EXPECT_EQ(surface->depthBuffer()->storageSize(), kSize);
    EXPECT_EQ(surface->stencilBuffer()->storageSize(), kSize);
    EXPECT_NE(surface->depthBuffer(), surface->stencilBuffer());
}

TEST_F(MVRenderSurfaceBuildTest, aCleanSurfaceIsOnlyBoundClearedAndGivenItsViewport) {
    const Built it = built();
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
}

TEST_F(MVRenderSurfaceBuildTest, settingTheSameAgainLeavesTheSurfaceClean) {
    const Built it = built();
    EXPECT_THAT(callsOf([&] {
                    it.surface->setColorBuffer(it.surface->colorBuffer());
                    it.surface->setDepthBuffer(it.surface->depthBuffer());
                    it.surface->setStencilBuffer(it.surface->stencilBuffer());
                    it.surface->setDepthFormat(GL_DEPTH_COMPONENT24);
                    it.surface->setStencilFormat(GL_STENCIL_INDEX8);
                    it.surface->setMultisampleFormat(0);
                }),
                IsEmpty());
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
}

TEST_F(MVRenderSurfaceBuildTest, aColorBufferOfAnotherSizeGetsNewDepthAndStencilBuffers) {
    const Built it = built();
    const Buffer larger = buffer({16, 4});
    const double color = last("glGenRenderbuffers");
    EXPECT_EQ(callsOf([&] { it.surface->setColorBuffer(larger); }),
              join({attaching(it.framebuffer, GL_COLOR_ATTACHMENT0, color),
                    {call("glDeleteRenderbuffers", {1, 1})}}));

    const Texts calls = render(it.surface);
    const auto names = gl_->callsOf("glGenRenderbuffers");
    ASSERT_THAT(names, SizeIs(2));
    const Texts deleting = {call("glDeleteRenderbuffers", {1, 1})};
    EXPECT_EQ(calls, join({making(names[0].names[0], GL_DEPTH_COMPONENT24, {16, 4}),
                           attaching(it.framebuffer, GL_DEPTH_ATTACHMENT, names[0].names[0]),
                           deleting,  //
                           making(names[1].names[0], GL_STENCIL_INDEX8, {16, 4}),
                           attaching(it.framebuffer, GL_STENCIL_ATTACHMENT, names[1].names[0]),
                           deleting,  //
                           checking(it.framebuffer), rendering(it.framebuffer, {16, 4})}));
    const auto deleted = gl_->callsOf("glDeleteRenderbuffers");
    EXPECT_THAT(deleted[0].names, ElementsAre(it.depth));
    EXPECT_THAT(deleted[1].names, ElementsAre(it.stencil));
    EXPECT_EQ(it.surface->depthBuffer()->storageSize(), (Size2I{16, 4}));
    EXPECT_EQ(it.surface->stencilBuffer()->storageSize(), (Size2I{16, 4}));
}

TEST_F(MVRenderSurfaceBuildTest, eitherExtentAloneAsksForNewBuffers) {
    const Built it = built();
    for (const Size2I size : {Size2I{8, 5}, Size2I{9, 5}, Size2I{5, 9}}) {
        it.surface->setColorBuffer(buffer(size));
        render(it.surface);
        EXPECT_EQ(it.surface->depthBuffer()->storageSize(), size);
        EXPECT_EQ(it.surface->stencilBuffer()->storageSize(), size);
    }
}

TEST_F(MVRenderSurfaceBuildTest, aColorBufferOfTheSameSizeKeepsThem) {
    const Built it = built();
    const Buffer depth = it.surface->depthBuffer();
    const Buffer stencil = it.surface->stencilBuffer();
    it.surface->setColorBuffer(buffer(kSize));
    EXPECT_EQ(render(it.surface),
              join({checking(it.framebuffer), rendering(it.framebuffer, kSize)}))
        << "the surface is dirty all the same";
    EXPECT_EQ(it.surface->depthBuffer(), depth);
    EXPECT_EQ(it.surface->stencilBuffer(), stencil);
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
}

TEST_F(MVRenderSurfaceBuildTest, aChangedStorageSizeOfTheColorBufferAsksForNewBuffers) {
    const auto color = observedBuffer("color");
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(color);
    render(surface);
    const Buffer depth = surface->depthBuffer();
    EXPECT_THAT(callsOf([&] { color->mv_setStorageSize({20, 10}); }), IsEmpty());
    const Texts calls = render(surface);
    EXPECT_THAT(calls, Contains(kChecking[0]));
    EXPECT_NE(surface->depthBuffer(), depth);
    EXPECT_EQ(surface->depthBuffer()->storageSize(), (Size2I{20, 10}));
    EXPECT_EQ(surface->stencilBuffer()->storageSize(), (Size2I{20, 10}));
    EXPECT_THAT(calls, Contains(viewport(0, 0, 20, 10)[0]));

    color->mv_setStorageSize({20, 10});
    EXPECT_THAT(render(surface), Not(Contains(kChecking[0]))) << "an equal size is no change";
}

TEST_F(MVRenderSurfaceBuildTest, theStorageSizeMayChangeOnAnotherThread) {
    const auto color = observedBuffer("color");
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(color);
    render(surface);
    std::thread([&] { color->mv_setStorageSize({20, 10}); }).join();
    render(surface);
    EXPECT_EQ(surface->depthBuffer()->storageSize(), (Size2I{20, 10}));
}

TEST_F(MVRenderSurfaceBuildTest, onlyTheStorageSizeOfThePresentColorBufferCounts) {
    const auto old = observedBuffer("old");
    const auto color = observedBuffer("color");
    const auto depth = observedBuffer("depth");
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(old);
    surface->setColorBuffer(color);
    render(surface);
    surface->setDepthBuffer(depth);
    old->mv_setStorageSize({20, 10});
    depth->mv_setStorageSize({20, 10});
    surface->observeValueForKeyPathOfObjectChangeContext("storageSize", *old, PropertyChange::Did,
                                                         nullptr);
    surface->observeValueForKeyPathOfObjectChangeContext("size", *color, PropertyChange::Did,
                                                         nullptr);
    EXPECT_THAT(render(surface), Not(Contains(kChecking[0])));
    surface->observeValueForKeyPathOfObjectChangeContext("storageSize", *color, PropertyChange::Did,
                                                         nullptr);
    EXPECT_THAT(render(surface), Contains(kChecking[0]));
}

TEST_F(MVRenderSurfaceBuildTest, aBufferSetByHandIsKeptWhileItsSizeFits) {
    const Built it = built();
    const Buffer depth = buffer(kSize, GL_DEPTH_COMPONENT16);
    it.surface->setDepthBuffer(depth);
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize)) << "the surface stays clean";
    it.surface->setColorBuffer(buffer(kSize));
    render(it.surface);
    EXPECT_EQ(it.surface->depthBuffer(), depth);
    it.surface->setColorBuffer(buffer({4, 4}));
    render(it.surface);
    EXPECT_NE(it.surface->depthBuffer(), depth);
}

TEST_F(MVRenderSurfaceBuildTest, aBufferDroppedByHandStaysAwayUntilTheSurfaceIsDirty) {
    const Built it = built();
    it.surface->setStencilBuffer(nullptr);
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
    EXPECT_EQ(it.surface->stencilBuffer(), nullptr);
    it.surface->setColorBuffer(buffer(kSize));
    render(it.surface);
    EXPECT_NE(it.surface->stencilBuffer(), nullptr);
}

/// The two formats that attachments are made from.
struct Format {
    const char* name;
    void (MVRenderSurface::*set)(std::int32_t);
    std::int32_t (MVRenderSurface::*get)() const;
    const Buffer& (MVRenderSurface::*buffer)() const;
    void (MVRenderSurface::*setBuffer)(const Buffer&);
    GLenum point;
    GLenum initial;
    GLenum other;

    friend void PrintTo(const Format& format, std::ostream* stream) { *stream << format.name; }
};

class MVRenderSurfaceFormatTest : public MVRenderSurfaceBuildTest,
                                  public testing::WithParamInterface<Format> {
 protected:
    static void set(const Built& it, GLenum format) {
        ((*it.surface).*GetParam().set)(static_cast<std::int32_t>(format));
    }
    static Buffer get(const Built& it) { return ((*it.surface).*GetParam().buffer)(); }
};

TEST_P(MVRenderSurfaceFormatTest, zeroDetachesTheBufferAndLeavesTheSurfaceWithout) {
    const Built it = built();
    EXPECT_EQ(callsOf([&] { set(it, 0); }), join({detaching(it.framebuffer, GetParam().point),
                                                  {call("glDeleteRenderbuffers", {1, 1})}}));
    EXPECT_EQ(((*it.surface).*GetParam().get)(), 0);
    EXPECT_EQ(get(it), nullptr);
    EXPECT_EQ(render(it.surface),
              join({checking(it.framebuffer), rendering(it.framebuffer, kSize)}));
    EXPECT_EQ(get(it), nullptr);
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
}

TEST_P(MVRenderSurfaceFormatTest, aFormatAfterZeroMakesTheBufferAgain) {
    const Built it = built();
    set(it, 0);
    render(it.surface);
    EXPECT_THAT(callsOf([&] { set(it, GetParam().other); }), IsEmpty())
        << "there is nothing to drop";
    const Texts calls = render(it.surface);
    const double name = last("glGenRenderbuffers");
    EXPECT_EQ(calls, join({making(name, GetParam().other, kSize),
                           attaching(it.framebuffer, GetParam().point, name),
                           checking(it.framebuffer), rendering(it.framebuffer, kSize)}));
    ASSERT_NE(get(it), nullptr);
    EXPECT_EQ(get(it)->storageSize(), kSize);
}

TEST_P(MVRenderSurfaceFormatTest, anotherFormatReplacesTheBuffer) {
    const Built it = built();
    const Buffer before = get(it);
    EXPECT_EQ(callsOf([&] { set(it, GetParam().other); }),
              detaching(it.framebuffer, GetParam().point));
    EXPECT_EQ(get(it), nullptr);
    const Texts calls = render(it.surface);
    EXPECT_THAT(calls, Contains(making(last("glGenRenderbuffers"), GetParam().other, kSize)[2]));
    EXPECT_NE(get(it), before);
}

TEST_P(MVRenderSurfaceFormatTest, theSameFormatDoesNothing) {
    const Built it = built();
    EXPECT_THAT(callsOf([&] { set(it, GetParam().initial); }), IsEmpty());
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize));
}

TEST_P(MVRenderSurfaceFormatTest, aSurfaceDirtiedWithFormatZeroDropsABufferSetByHand) {
    const Built it = built();
    set(it, 0);
    render(it.surface);
    ((*it.surface).*GetParam().setBuffer)(buffer(kSize, GetParam().other));
    render(it.surface);
    EXPECT_NE(get(it), nullptr) << "the surface was clean";
    it.surface->setColorBuffer(buffer(kSize));
    render(it.surface);
    EXPECT_EQ(get(it), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    All, MVRenderSurfaceFormatTest,
    testing::Values(Format{"depth", &MVRenderSurface::setDepthFormat, &MVRenderSurface::depthFormat,
                           &MVRenderSurface::depthBuffer, &MVRenderSurface::setDepthBuffer,
                           GL_DEPTH_ATTACHMENT, GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT16},
                    Format{"stencil", &MVRenderSurface::setStencilFormat,
                           &MVRenderSurface::stencilFormat, &MVRenderSurface::stencilBuffer,
                           &MVRenderSurface::setStencilBuffer, GL_STENCIL_ATTACHMENT,
                           GL_STENCIL_INDEX8, GL_STENCIL_INDEX4}),
    [](const auto& row) { return row.param.name; });

TEST_F(MVRenderSurfaceBuildTest, aSurfaceWithoutFormatsHasOnlyItsColorBuffer) {
    const auto surface = MVRenderSurface::init();
    const double framebuffer = last("glGenFramebuffers");
    EXPECT_THAT(callsOf([&] {
                    surface->setDepthFormat(0);
                    surface->setStencilFormat(0);
                }),
                IsEmpty());
    surface->setColorBuffer(buffer(kSize));
    EXPECT_EQ(render(surface), join({checking(framebuffer), rendering(framebuffer, kSize)}));
    EXPECT_EQ(surface->depthBuffer(), nullptr);
    EXPECT_EQ(surface->stencilBuffer(), nullptr);
}
// Multisampling

TEST_F(MVRenderSurfaceBuildTest, aMultisampleFormatDropsTheBuffersAndDrawsIntoASecondFramebuffer) {
    const Built it = built();
    EXPECT_THAT(callsOf([&] { it.surface->setMultisampleFormat(4); }), IsEmpty());
    const Texts calls = render(it.surface);
    const double second = last("glGenFramebuffers");
    EXPECT_NE(second, it.framebuffer);
    const Texts deleting = {call("glDeleteRenderbuffers", {1, 1})};
    EXPECT_EQ(calls, join({detaching(it.framebuffer, GL_DEPTH_ATTACHMENT),
                           deleting,
                           detaching(it.framebuffer, GL_STENCIL_ATTACHMENT),
                           deleting,
                           {call("glGenFramebuffers", {1, 1})},
                           checking(second),
                           rendering(second, kSize)}));
    EXPECT_EQ(it.surface->depthBuffer(), nullptr);
    EXPECT_EQ(it.surface->stencilBuffer(), nullptr);
    EXPECT_EQ(it.surface->multisampleColorBuffer(), nullptr);
}

TEST_F(MVRenderSurfaceBuildTest, theSecondFramebufferIsMadeOnceAndNeverResolved) {
    const Built it = built();
    it.surface->setMultisampleFormat(4);
    render(it.surface);
    const double second = last("glGenFramebuffers");
    const auto color = observedBuffer("color");
    it.surface->setMultisampleColorBuffer(color);
    it.surface->setMultisampleFormat(8);
    const Texts calls = render(it.surface);
    EXPECT_EQ(calls, join({checking(second), rendering(second, kSize)}));
    EXPECT_EQ(it.surface->multisampleColorBuffer(), color) << "the owner's buffers stay";
    EXPECT_EQ(render(it.surface), rendering(second, kSize));
}

TEST_F(MVRenderSurfaceBuildTest, withoutMultisamplingTheSecondFramebufferGoesAndItsNameStays) {
    const Built it = built();
    it.surface->setMultisampleFormat(4);
    render(it.surface);
    const double second = last("glGenFramebuffers");
    it.surface->setMultisampleColorBuffer(observedBuffer("color"));
    it.surface->setMultisampleDepthBuffer(observedBuffer("depth"));
    it.surface->setMultisampleStencilBuffer(observedBuffer("stencil"));

    it.surface->setMultisampleFormat(0);
    const Texts calls = render(it.surface);
    const auto made = gl_->callsOf("glGenRenderbuffers");
    ASSERT_THAT(made, SizeIs(2));
    EXPECT_EQ(calls, join({{call("glDeleteFramebuffers", {1, 1})},
                           detaching(second, GL_COLOR_ATTACHMENT0),
                           detaching(second, GL_DEPTH_ATTACHMENT),
                           detaching(second, GL_STENCIL_ATTACHMENT),
                           making(made[0].names[0], GL_DEPTH_COMPONENT24, kSize),
                           attaching(it.framebuffer, GL_DEPTH_ATTACHMENT, made[0].names[0]),
                           making(made[1].names[0], GL_STENCIL_INDEX8, kSize),
                           attaching(it.framebuffer, GL_STENCIL_ATTACHMENT, made[1].names[0]),
                           checking(it.framebuffer),
                           rendering(it.framebuffer, kSize)}));
    EXPECT_THAT(gl_->callsOf("glDeleteFramebuffers")[0].names, ElementsAre(second));
    EXPECT_EQ(it.surface->multisampleColorBuffer(), nullptr);
    EXPECT_EQ(it.surface->multisampleDepthBuffer(), nullptr);
    EXPECT_EQ(it.surface->multisampleStencilBuffer(), nullptr);

    it.surface->setMultisampleFormat(4);
    const Texts again = render(it.surface);
    EXPECT_THAT(again, Not(Contains(call("glGenFramebuffers", {1, 1}))));
    EXPECT_THAT(again, Contains(call("glBindFramebuffer", {GL_FRAMEBUFFER, second})));
}
// Drivers that refuse separate depth and stencil storage

TEST_F(MVRenderSurfaceBuildTest, whereThePairIsRefusedTheDepthBufferServesBothPoints) {
    gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_UNSUPPORTED);
    const auto surface = MVRenderSurface::init();
    const double framebuffer = last("glGenFramebuffers");
    surface->setColorBuffer(buffer(kSize));
    const Texts calls = render(surface);
    const auto names = gl_->callsOf("glGenRenderbuffers");
    ASSERT_THAT(names, SizeIs(2));
    const double depth = names[0].names.at(0);
    const double stencil = names[1].names.at(0);
    EXPECT_EQ(calls,
              join({making(depth, GL_DEPTH_COMPONENT24, kSize),
                    attaching(framebuffer, GL_DEPTH_ATTACHMENT, depth),
                    making(stencil, GL_STENCIL_INDEX8, kSize),
                    attaching(framebuffer, GL_STENCIL_ATTACHMENT, stencil),
                    checking(framebuffer),
                    {call("glBindRenderbuffer", {GL_RENDERBUFFER, depth}),
                     call("glRenderbufferStorage", {GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 8, 4}),
                     call("glFramebufferRenderbuffer",
                          {GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth})},
                    rendering(framebuffer, kSize)}));
    EXPECT_EQ(render(surface), rendering(framebuffer, kSize)) << "once is enough";
}

TEST_F(MVRenderSurfaceBuildTest, whereThePairIsRefusedABufferReplacedByHandIsPackedAgain) {
    gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_UNSUPPORTED);
    const Built it = built();
    const auto packing = [](double depth) {
        return Texts{call("glBindRenderbuffer", {GL_RENDERBUFFER, depth}),
                     call("glRenderbufferStorage", {GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 8, 4}),
                     call("glFramebufferRenderbuffer",
                          {GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, depth})};
    };
    const Texts deleting = {call("glDeleteRenderbuffers", {1, 1})};

    const Buffer depth = buffer(kSize, GL_DEPTH_COMPONENT24);
    const double depthName = last("glGenRenderbuffers");
    EXPECT_EQ(callsOf([&] { it.surface->setDepthBuffer(depth); }),
              join({attaching(it.framebuffer, GL_DEPTH_ATTACHMENT, depthName), packing(depthName),
                    deleting}));

    const Buffer stencil = buffer(kSize, GL_STENCIL_INDEX8);
    const double stencilName = last("glGenRenderbuffers");
    EXPECT_EQ(callsOf([&] { it.surface->setStencilBuffer(stencil); }),
              join({attaching(it.framebuffer, GL_STENCIL_ATTACHMENT, stencilName),
                    packing(depthName), deleting}));

    Texts alone = attaching(it.framebuffer, GL_STENCIL_ATTACHMENT, stencilName);
    alone.erase(alone.begin());
    EXPECT_EQ(callsOf([&] { it.surface->setDepthBuffer(nullptr); }),
              join({detaching(it.framebuffer, GL_DEPTH_ATTACHMENT), alone}))
        << "the stencil goes back into its own buffer";
    EXPECT_EQ(render(it.surface), rendering(it.framebuffer, kSize)) << "the surface stays clean";
}

TEST_F(MVRenderSurfaceBuildTest, nothingIsPackedWhereThePairIsAcceptedOrIncomplete) {
    for (const GLenum status : {GL_FRAMEBUFFER_COMPLETE, GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT,
                                GL_FRAMEBUFFER_UNDEFINED}) {
        gl_->overrideResult("glCheckFramebufferStatus", status);
        const Built it = built();
        it.surface->setColorBuffer(buffer(kSize));
        EXPECT_EQ(render(it.surface),
                  join({checking(it.framebuffer), rendering(it.framebuffer, kSize)}));
    }
}

TEST_F(MVRenderSurfaceBuildTest, nothingIsPackedWithoutAPair) {
    gl_->overrideResult("glCheckFramebufferStatus", GL_FRAMEBUFFER_UNSUPPORTED);
    for (const bool depth : {false, true}) {
        const auto surface = MVRenderSurface::init();
        if (depth) {
            surface->setStencilFormat(0);
        } else {
            surface->setDepthFormat(0);
        }
        surface->setColorBuffer(buffer(kSize));
        EXPECT_THAT(render(surface),
                    Not(Contains(call("glRenderbufferStorage",
                                      {GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 8, 4}))));
    }
}
}  // namespace
}  // namespace Mivora::tests
