#include "MivoraMac/render/MVRenderSurface.h"

#include <epoxy/gl.h>

#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/render/RenderSurfaceTest.h"
#include "tests/support/QueueGate.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace Mivora::tests {
namespace {

using platform::GLContext;

class MVRenderSurfaceTest : public RenderSurfaceTest {};

// Initial state

TEST_F(MVRenderSurfaceTest, aNewSurfaceHasTheStatedValuesAndOneFramebuffer) {
    const auto surface = MVRenderSurface::init();
    EXPECT_EQ(surface->depthFormat(), GL_DEPTH_COMPONENT24);
    EXPECT_EQ(surface->stencilFormat(), GL_STENCIL_INDEX8);
    EXPECT_EQ(surface->multisampleFormat(), 0);
    EXPECT_EQ(surface->colorBuffer(), nullptr);
    EXPECT_EQ(surface->depthBuffer(), nullptr);
    EXPECT_EQ(surface->stencilBuffer(), nullptr);
    EXPECT_EQ(surface->multisampleColorBuffer(), nullptr);
    EXPECT_EQ(surface->multisampleDepthBuffer(), nullptr);
    EXPECT_EQ(surface->multisampleStencilBuffer(), nullptr);
    EXPECT_EQ(surface->stencilBits(), 8);
    EXPECT_EQ(surface->viewport(), (Viewport{0, 0, 0, 0}));
    EXPECT_EQ(surface->clearColor(), ColorRGBA::kClear);
    finish();
    EXPECT_EQ(gl_->texts(), Texts{call("glGenFramebuffers", {1, 1})});
}

TEST_F(MVRenderSurfaceTest, theFramebufferIsQueuedAndNotWaitedFor) {
    QueueGate gate(*context_->dispatchQueue());
    const auto surface = MVRenderSurface::init();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glGenFramebuffers"));
}

TEST_F(MVRenderSurfaceTest, viewportAndClearColorAreOnlyStored) {
    const auto surface = built().surface;
    EXPECT_THAT(callsOf([&] {
                    surface->setViewport({1, 2, 3, 4});
                    surface->setClearColor({0.5F, 2.0F, -1.0F, 0.25F});
                }),
                IsEmpty());
    EXPECT_EQ(surface->viewport(), (Viewport{1, 2, 3, 4}));
    EXPECT_EQ(surface->clearColor(), (ColorRGBA{0.5F, 2.0F, -1.0F, 0.25F}));
}
// The attachments

/// One of the six attachments.
struct Attachment {
    const char* name;
    void (MVRenderSurface::*set)(const Buffer&);
    const Buffer& (MVRenderSurface::*get)() const;
    GLenum point;
    bool multisample;

    friend void PrintTo(const Attachment& attachment, std::ostream* stream) {
        *stream << attachment.name;
    }
};

class MVRenderSurfaceAttachmentTest : public MVRenderSurfaceTest,
                                      public testing::WithParamInterface<Attachment> {
 protected:
    void SetUp() override {
        MVRenderSurfaceTest::SetUp();
        surface_ = MVRenderSurface::init();
        framebuffer_ = last("glGenFramebuffers");
        if (GetParam().multisample) {
            surface_->setColorBuffer(buffer(kSize));
            surface_->setMultisampleFormat(4);
            surface_->renderBlock([] {});
            framebuffer_ = last("glGenFramebuffers");
        }
    }
    void TearDown() override {
        surface_.reset();
        MVRenderSurfaceTest::TearDown();
    }
    void set(const Buffer& buffer) { ((*surface_).*GetParam().set)(buffer); }
    Buffer get() const { return ((*surface_).*GetParam().get)(); }

    std::shared_ptr<MVRenderSurface> surface_;
    double framebuffer_ = 0;
};

TEST_P(MVRenderSurfaceAttachmentTest, settingABufferBindsTheFramebufferAndAttachesIt) {
    const Buffer first = buffer(kSize);
    const double renderbuffer = last("glGenRenderbuffers");
    EXPECT_EQ(callsOf([&] { set(first); }),
              attaching(framebuffer_, GetParam().point, renderbuffer));
    EXPECT_EQ(get(), first);
}

TEST_P(MVRenderSurfaceAttachmentTest, nullDetaches) {
    set(buffer(kSize));
    EXPECT_EQ(callsOf([&] { set(nullptr); }), join({detaching(framebuffer_, GetParam().point),
                                                    {call("glDeleteRenderbuffers", {1, 1})}}));
    EXPECT_EQ(get(), nullptr);
}

TEST_P(MVRenderSurfaceAttachmentTest, settingTheSameBufferAgainDoesNothing) {
    EXPECT_THAT(callsOf([&] { set(nullptr); }), IsEmpty()) << "there was none";
    const Buffer same = buffer(kSize);
    set(same);
    EXPECT_THAT(callsOf([&] { set(same); }), IsEmpty());
    EXPECT_EQ(get(), same);
}

TEST_P(MVRenderSurfaceAttachmentTest, attachingIsQueuedAndStoredAtOnce) {
    finish();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    const Buffer first = buffer(kSize);
    set(first);
    EXPECT_EQ(get(), first);
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glGenRenderbuffers", "glBindRenderbuffer",
                                          "glRenderbufferStorage", "glBindFramebuffer",
                                          "glBindRenderbuffer", "glFramebufferRenderbuffer"));
}

TEST_P(MVRenderSurfaceAttachmentTest, onlyTheColorBufferIsObserved) {
    const Buffer first = buffer(kSize);
    const Buffer second = buffer(kSize);
    const std::size_t observers = GetParam().set == &MVRenderSurface::setColorBuffer ? 1 : 0;
    set(first);
    set(first);
    EXPECT_EQ(first->observerCount(), observers);
    set(second);
    EXPECT_EQ(first->observerCount(), 0U);
    EXPECT_EQ(second->observerCount(), observers);
    set(nullptr);
    EXPECT_EQ(second->observerCount(), 0U);
    set(first);
    surface_.reset();
    EXPECT_EQ(first->observerCount(), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    All, MVRenderSurfaceAttachmentTest,
    testing::Values(Attachment{"color", &MVRenderSurface::setColorBuffer,
                               &MVRenderSurface::colorBuffer, GL_COLOR_ATTACHMENT0, false},
                    Attachment{"depth", &MVRenderSurface::setDepthBuffer,
                               &MVRenderSurface::depthBuffer, GL_DEPTH_ATTACHMENT, false},
                    Attachment{"stencil", &MVRenderSurface::setStencilBuffer,
                               &MVRenderSurface::stencilBuffer, GL_STENCIL_ATTACHMENT, false},
                    Attachment{"multisampleColor", &MVRenderSurface::setMultisampleColorBuffer,
                               &MVRenderSurface::multisampleColorBuffer, GL_COLOR_ATTACHMENT0,
                               true},
                    Attachment{"multisampleDepth", &MVRenderSurface::setMultisampleDepthBuffer,
                               &MVRenderSurface::multisampleDepthBuffer, GL_DEPTH_ATTACHMENT, true},
                    Attachment{"multisampleStencil", &MVRenderSurface::setMultisampleStencilBuffer,
                               &MVRenderSurface::multisampleStencilBuffer, GL_STENCIL_ATTACHMENT,
                               true}),
    [](const auto& row) { return row.param.name; });
// Without a colour buffer

TEST_F(MVRenderSurfaceTest, withoutAColorBufferNothingIsBuiltAndTheRestHappens) {
    const auto surface = MVRenderSurface::init();
    const double framebuffer = last("glGenFramebuffers");
    bool called = false;
    EXPECT_EQ(callsOf([&] { surface->renderBlock([&] { called = true; }); }),
              join({clearing(framebuffer), viewport(0, 0, 0, 0)}));
    EXPECT_TRUE(called);
    EXPECT_EQ(surface->depthBuffer(), nullptr);

    surface->setViewport({1, 2, 3, 4});
    EXPECT_EQ(render(surface), join({clearing(framebuffer), viewport(1, 2, 3, 4)}));
}

TEST_F(MVRenderSurfaceTest, aSurfaceStaysDirtyUntilItHasAColorBuffer) {
    const Built it = built();
    it.surface->setColorBuffer(nullptr);
    const Buffer depth = it.surface->depthBuffer();
    EXPECT_THAT(render(it.surface), Not(Contains(kChecking[0])));
    EXPECT_EQ(it.surface->depthBuffer(), depth) << "nothing is dropped either";
    it.surface->setColorBuffer(buffer({4, 4}));
    EXPECT_THAT(render(it.surface), Contains(kChecking[0]));
    EXPECT_EQ(it.surface->depthBuffer()->storageSize(), (Size2I{4, 4}));
}
// Rendering

TEST_F(MVRenderSurfaceTest, theClosureRunsOnTheCallersThreadBeforeTheQueuedWork) {
    const Built it = built();
    QueueGate gate(*context_->dispatchQueue());
    std::thread::id thread;
    it.surface->renderBlock([&] {
        thread = std::this_thread::get_id();
        context_->dispatchBlock([] { glFlush(); });
    });
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_THAT(gl_->calls(), IsEmpty()) << "all of it waits";
    context_->dispatchBlock([] { glFlush(); });
    gate.open();
    finish();
    EXPECT_EQ(gl_->texts(), join({rendering(it.framebuffer, kSize), kFlushing, kFlushing}));
}

TEST_F(MVRenderSurfaceTest, fromGLWorkEverythingRunsInline) {
    const Built it = built();
    Texts before;
    GLint bound = 0;
    onQueue([&] {
        it.surface->renderBlock([&] {
            before = gl_->texts();
            glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
        });
    });
    EXPECT_EQ(before, rendering(it.framebuffer, kSize));
    EXPECT_EQ(bound, it.framebuffer);
}

TEST_F(MVRenderSurfaceTest, theBuffersAreToldAfterTheClosureInTheOrderColorDepthStencil) {
    const auto surface = MVRenderSurface::init();
    const auto color = observedBuffer("color");
    surface->setColorBuffer(color);
    surface->setDepthBuffer(observedBuffer("depth"));
    surface->setStencilBuffer(observedBuffer("stencil"));
    surface->renderBlock([&] { told_.emplace_back("closure"); });
    EXPECT_THAT(told_, ElementsAre("closure", "color", "depth", "stencil"));
    EXPECT_EQ(color->surface(), surface.get());
}

TEST_F(MVRenderSurfaceTest, absentBuffersAreSkippedAndMultisampleBuffersAreNotTold) {
    const auto surface = MVRenderSurface::init();
    surface->setMultisampleFormat(4);
    surface->renderBlock([] {});
    surface->setMultisampleColorBuffer(observedBuffer("multisample color"));
    surface->setMultisampleDepthBuffer(observedBuffer("multisample depth"));
    surface->setMultisampleStencilBuffer(observedBuffer("multisample stencil"));
    surface->setStencilBuffer(observedBuffer("stencil"));
    surface->renderBlock([] {});
    EXPECT_THAT(told_, ElementsAre("stencil"));
}

TEST_F(MVRenderSurfaceTest, aBufferMayBeReplacedWhileItIsTold) {
    class Replacing : public MVRenderSurfaceBuffer {
     public:
        void renderSurfaceDidRenderToBuffer(MVRenderSurface& surface) override {
            surface.setColorBuffer(nullptr);
            surface.setDepthBuffer(nullptr);
        }
    };
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(MVMake<Replacing>());
    const auto depth = observedBuffer("depth", Size2I::kZero);
    surface->setDepthBuffer(depth);
    surface->renderBlock([] {});
    EXPECT_EQ(surface->colorBuffer(), nullptr);
    EXPECT_THAT(told_, ElementsAre("depth")) << "those of the moment when rendering ended";
}

TEST_F(MVRenderSurfaceTest, theClearColorIsThatOfTheMomentWhenTheQueueGetsThere) {
    const Built it = built();
    it.surface->setClearColor(ColorRGBA::kRed);
    QueueGate gate(*context_->dispatchQueue());
    it.surface->renderBlock([] {});
    it.surface->setClearColor({0.25F, 0.5F, 0.75F, 0.0F});
    gate.open();
    finish();
    EXPECT_EQ(gl_->texts(),
              join({clearing(it.framebuffer, {0.25F, 0.5F, 0.75F, 0.0F}), viewport(0, 0, 8, 4)}));
}

TEST_F(MVRenderSurfaceTest, theViewportIsThatOfTheMomentWhenTheQueueGetsThere) {
    const Built it = built();
    it.surface->setViewport({1, 2, 3, 4});
    EXPECT_THAT(render(it.surface), Contains(viewport(1, 2, 3, 4)[0]));
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    it.surface->renderBlock([] {});
    it.surface->setViewport({-5, -6, 70, 80});
    gate.open();
    finish();
    EXPECT_EQ(gl_->texts(), join({clearing(it.framebuffer), viewport(-5, -6, 70, 80)}))
        << "even when larger than the buffer";
}

TEST_F(MVRenderSurfaceTest, aViewportWithoutAreaCoversTheBufferOfThatMomentFromItsOrigin) {
    const Built it = built();
    const std::vector<Viewport> empty = {{1, 2, 0, 5}, {1, 2, 5, 0}, {1, 2, -5, 5}, {1, 2, 5, -5}};
    for (const Viewport& area : empty) {
        it.surface->setViewport(area);
        EXPECT_THAT(render(it.surface), Contains(viewport(1, 2, 8, 4)[0]));
    }
    it.surface->setViewport({0, 0, 1, 1});
    EXPECT_THAT(render(it.surface), Contains(viewport(0, 0, 1, 1)[0]));

    it.surface->setViewport({3, 4, 0, 0});
    finish();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    it.surface->renderBlock([] {});
    it.surface->setColorBuffer(buffer({16, 16}));
    it.surface->renderBlock([] {});
    gate.open();
    finish();
    const auto viewports = gl_->callsOf("glViewport");
    ASSERT_THAT(viewports, SizeIs(2));
    EXPECT_THAT(viewports[0].arguments, ElementsAre(3, 4, 16, 16));
    EXPECT_THAT(viewports[1].arguments, ElementsAre(3, 4, 16, 16));
}

TEST_F(MVRenderSurfaceTest, theSizeOfTheBufferIsThatOfTheMomentWhenTheQueueGetsThere) {
    const auto color = observedBuffer("color");
    const auto surface = MVRenderSurface::init();
    surface->setColorBuffer(color);
    render(surface);
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    surface->renderBlock([] {});
    color->mv_setStorageSize({20, 10});
    gate.open();
    finish();
    EXPECT_THAT(gl_->texts(), Contains(viewport(0, 0, 20, 10)[0]));
}

TEST_F(MVRenderSurfaceTest, theFramebufferIsThatOfTheMomentWhenTheQueueGetsThere) {
    const Built it = built();
    it.surface->setMultisampleFormat(4);
    render(it.surface);
    const double second = last("glGenFramebuffers");
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    it.surface->mv_bindFramebuffer();
    it.surface->setMultisampleFormat(0);
    gate.open();
    finish();
    EXPECT_NE(second, it.framebuffer);
    EXPECT_EQ(gl_->texts(), clearing(it.framebuffer));
}
// The stencil test

TEST_F(MVRenderSurfaceTest, settingTheStencilStateMakesFourCallsInOrder) {
    const Built it = built();
    MVStencilState state = {true, 0xF0, GL_EQUAL, 3, 0x0F, GL_INVERT, GL_INCR, GL_REPLACE};
    EXPECT_EQ(callsOf([&] { onQueue([&] { it.surface->setStencilState(state); }); }),
              (Texts{call("glEnable", {GL_STENCIL_TEST}), call("glStencilMask", {0xF0}),
                     call("glStencilFunc", {GL_EQUAL, 3, 0x0F}),
                     call("glStencilOp", {GL_INVERT, GL_INCR, GL_REPLACE})}));
    state.enabled = false;
    EXPECT_EQ(callsOf([&] { onQueue([&] { it.surface->setStencilState(state); }); })[0],
              call("glDisable", {GL_STENCIL_TEST}));
}

TEST_F(MVRenderSurfaceTest, readingTheStencilStateAsksForTheFieldsInOrder) {
    const Built it = built();
    EXPECT_EQ(callsOf([&] { onQueue([&] { static_cast<void>(it.surface->stencilState()); }); }),
              (Texts{call("glIsEnabled", {GL_STENCIL_TEST}),
                     call("glGetIntegerv", {GL_STENCIL_WRITEMASK, 1}),
                     call("glGetIntegerv", {GL_STENCIL_FUNC, 1}),
                     call("glGetIntegerv", {GL_STENCIL_REF, 1}),
                     call("glGetIntegerv", {GL_STENCIL_VALUE_MASK, 1}),
                     call("glGetIntegerv", {GL_STENCIL_FAIL, 1}),
                     call("glGetIntegerv", {GL_STENCIL_PASS_DEPTH_FAIL, 1}),
                     call("glGetIntegerv", {GL_STENCIL_PASS_DEPTH_PASS, 1})}));
}

TEST_F(MVRenderSurfaceTest, aNewStencilStateIsAllZero) {
    EXPECT_EQ(MVStencilState(), (MVStencilState{false, 0, 0, 0, 0, 0, 0, 0}));
}
// Destruction

TEST_F(MVRenderSurfaceTest, destructionDeletesTheFramebufferBeforeTheAttachments) {
    Built it = built();
    EXPECT_EQ(
        callsOf([&] { it.surface.reset(); }),
        (Texts{call("glDeleteFramebuffers", {1, 1}), call("glDeleteRenderbuffers", {1, 1}),
               call("glDeleteRenderbuffers", {1, 1}), call("glDeleteRenderbuffers", {1, 1})}));
    EXPECT_THAT(gl_->callsOf("glDeleteFramebuffers")[0].names, ElementsAre(it.framebuffer));
    std::vector<double> deleted;
    for (const GLCall& one : gl_->callsOf("glDeleteRenderbuffers")) {
        deleted.push_back(one.names.at(0));
    }
    EXPECT_THAT(deleted, testing::UnorderedElementsAre(it.color, it.depth, it.stencil));
}

TEST_F(MVRenderSurfaceTest, destructionDeletesTheMainFramebufferAndThenTheSecond) {
    Built it = built();
    it.surface->setMultisampleFormat(4);
    render(it.surface);
    const double second = last("glGenFramebuffers");
    callsOf([&] { it.surface.reset(); });
    const auto deleted = gl_->callsOf("glDeleteFramebuffers");
    ASSERT_THAT(deleted, SizeIs(2));
    EXPECT_THAT(deleted[0].names, ElementsAre(it.framebuffer));
    EXPECT_THAT(deleted[1].names, ElementsAre(second));
}

TEST_F(MVRenderSurfaceTest, aSurfaceDroppedBeforeItsWorkRanIsRenderedAndThenDeleted) {
    QueueGate gate(*context_->dispatchQueue());
    auto surface = MVRenderSurface::init();
    surface->setColorBuffer(buffer(kSize));
    surface->renderBlock([&] { context_->dispatchBlock([] { glFlush(); }); });
    surface.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    const std::vector<std::string> names = gl_->names();
    EXPECT_EQ(names.front(), "glGenFramebuffers");
    EXPECT_THAT(names, Contains("glClear"));
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(MVRenderSurfaceTest, anAttachmentHeldElsewhereOutlivesTheSurface) {
    const Buffer color = buffer(kSize);
    auto surface = MVRenderSurface::init();
    surface->setColorBuffer(color);
    callsOf([&] { surface.reset(); });
    EXPECT_THAT(gl_->callsOf("glDeleteRenderbuffers"), IsEmpty());
    EXPECT_EQ(color->observerCount(), 0U);
}
// The context

TEST_F(MVRenderSurfaceTest, allWorkGoesThroughTheContextThatWasActiveWhenTheSurfaceWasMade) {
    std::vector<GLContext*> seen;
    const auto watch = [&](const char* name) {
        gl_->before(name, [&](const GLCall&) { seen.push_back(GLContext::currentContext()); });
    };
    watch("glGenFramebuffers");
    auto surface = MVRenderSurface::init();
    const auto second = MVRenderContext::initWithSharedContext(context_);
    MVRenderContext::mv_setActiveContext(second);
    finish();
    const std::vector<const char*> rest = {"glBindFramebuffer", "glCheckFramebufferStatus",
                                           "glViewport"};
    for (const char* name : rest) {
        watch(name);
    }
    surface->setColorBuffer(buffer(kSize));
    surface->renderBlock([] {});
    surface.reset();
    finish();
    for (const char* name : rest) {
        gl_->before(name, nullptr);
    }
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_THAT(seen, SizeIs(8));
    EXPECT_THAT(seen, testing::Each(context_->mv_context().get()));
}

TEST_F(MVRenderSurfaceTest, withoutAnActiveContextASurfaceIsInert) {
    MVRenderContext::mv_setActiveContext(nullptr);
    auto surface = MVRenderSurface::init();
    ASSERT_NE(surface, nullptr);
    const auto color = observedBuffer("color");
    surface->setColorBuffer(color);
    surface->setDepthBuffer(buffer(kSize));
    surface->setMultisampleFormat(4);
    surface->setDepthFormat(0);
    bool called = false;
    surface->renderBlock([&] { called = true; });
    surface->setMultisampleFormat(0);
    surface->renderBlock([] {});
    surface->setColorBuffer(nullptr);
    surface.reset();
    MVRenderContext::mv_setActiveContext(context_);
    finish();
    EXPECT_TRUE(called);
    EXPECT_THAT(told_, ElementsAre("color", "color"));
    EXPECT_THAT(gl_->calls(), IsEmpty());
}
}  // namespace
}  // namespace Mivora::tests
