#include "MivoraMac/render/MVRenderSurfaceBuffer.h"

#include <epoxy/gl.h>

#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"

using Mivora::Size2;
using Mivora::Size2I;
using Mivora::platform::GLContext;
using Mivora::platform::ObservableObject;
using Mivora::platform::PropertyChange;
using Mivora::platform::PropertyObserver;
using Mivora::tests::GLCall;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

std::string call(const char* name, std::vector<double> arguments) {
    return GLCall{name, std::move(arguments), {}, {}, {}}.text();
}

/// Lets tests change what only subclasses may.
class FlexibleBuffer : public MVRenderSurfaceBuffer {
 public:
    FlexibleBuffer() = default;
    using MVRenderSurfaceBuffer::mv_setScale;
    using MVRenderSurfaceBuffer::mv_setStorageSize;
    const std::shared_ptr<MVRenderContext>& context() const { return context_; }
};

class MVRenderSurfaceBufferTest : public Mivora::tests::GLTest {
 protected:
    static std::shared_ptr<MVRenderSurfaceBuffer> make(Size2I size, GLenum format = GL_RGBA8,
                                                       int multisampleFormat = 0) {
        return MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
            size, format, multisampleFormat);
    }

    /// The name of the renderbuffer made last.
    GLuint renderbuffer() {
        finish();
        return gl_->callsOf("glGenRenderbuffers").back().names.at(0);
    }

    GLint parameter(GLuint renderbuffer, GLenum name) {
        GLint value = -1;
        onQueue([&] {
            glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
            glGetRenderbufferParameteriv(GL_RENDERBUFFER, name, &value);
        });
        return value;
    }
};

// Making

TEST_F(MVRenderSurfaceBufferTest, plainInitialisationMakesNoGLObject) {
    const auto buffer = MVRenderSurfaceBuffer::init();
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->storageSize(), Size2I::kZero);
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVRenderSurfaceBufferTest, theActiveContextIsStored) {
    const auto buffer = MVMake<FlexibleBuffer>();
    EXPECT_EQ(buffer->context(), context_);
}

TEST_F(MVRenderSurfaceBufferTest, storageIsMadeByThreeCallsInOrder) {
    const auto buffer = make({30, 20}, GL_DEPTH_COMPONENT24);
    const double name = renderbuffer();
    EXPECT_THAT(gl_->texts(), ElementsAre(call("glGenRenderbuffers", {1, 1}),
                                          call("glBindRenderbuffer", {GL_RENDERBUFFER, name}),
                                          call("glRenderbufferStorage",
                                               {GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, 30, 20})));
    EXPECT_EQ(buffer->storageSize(), (Size2I{30, 20}));
    EXPECT_EQ(buffer->scale(), 1.0F);
}

TEST_F(MVRenderSurfaceBufferTest, theDriverHasStorageOfThatSizeAndFormat) {
    const auto buffer = make({7, 5}, GL_RGBA8);
    const GLuint name = renderbuffer();
    EXPECT_EQ(parameter(name, GL_RENDERBUFFER_WIDTH), 7);
    EXPECT_EQ(parameter(name, GL_RENDERBUFFER_HEIGHT), 5);
    EXPECT_EQ(parameter(name, GL_RENDERBUFFER_INTERNAL_FORMAT), GL_RGBA8);
}

TEST_F(MVRenderSurfaceBufferTest, theMultisampleFormatIsIgnored) {
    const auto buffer = make({7, 5}, GL_RGBA8, 4);
    EXPECT_EQ(parameter(renderbuffer(), GL_RENDERBUFFER_SAMPLES), 0);
    EXPECT_THAT(gl_->callsOf("glRenderbufferStorage"), SizeIs(1));
    EXPECT_THAT(gl_->callsOf("glRenderbufferStorageMultisample"), IsEmpty());
}

TEST_F(MVRenderSurfaceBufferTest, negativeExtentsAreKeptAndMakeNoStorage) {
    for (const Size2I size : {Size2I{-3, 5}, Size2I{3, -5}}) {
        const auto buffer = make(size);
        EXPECT_EQ(buffer->storageSize(), size);
    }
    onQueue([] { EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)); });
    EXPECT_THAT(gl_->callsOf("glGenRenderbuffers"), SizeIs(2));
    EXPECT_THAT(gl_->callsOf("glRenderbufferStorage"), IsEmpty());
}

TEST_F(MVRenderSurfaceBufferTest, storageIsQueuedAndTheSizeKnownAtOnce) {
    QueueGate gate(*context_->dispatchQueue());
    const auto buffer = make({30, 20});
    EXPECT_THAT(gl_->calls(), IsEmpty());
    EXPECT_EQ(buffer->storageSize(), (Size2I{30, 20}));
    gate.open();
    finish();
    EXPECT_THAT(gl_->calls(), SizeIs(3));
}

TEST_F(MVRenderSurfaceBufferTest, allWorkGoesThroughTheContextThatWasActiveWhenItWasMade) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    std::vector<GLContext*> seen;
    for (const char* name : {"glGenRenderbuffers", "glFramebufferRenderbuffer"}) {
        gl_->before(name, [&](const GLCall&) { seen.push_back(GLContext::currentContext()); });
    }
    auto buffer = make({4, 4});
    MVRenderContext::mv_setActiveContext(second);
    buffer->mv_attach(GL_COLOR_ATTACHMENT0);  // to no framebuffer: the driver ignores it
    buffer.reset();
    finish();
    MVRenderContext::mv_setActiveContext(context_);
    GLContext* const first = context_->mv_context().get();
    EXPECT_THAT(seen, ElementsAre(first, first));
    onQueue([] {
        while (glGetError() != GL_NO_ERROR) {
        }
    });
}

TEST_F(MVRenderSurfaceBufferTest, withoutAnActiveContextABufferIsInert) {
    MVRenderContext::mv_setActiveContext(nullptr);
    auto buffer = make({30, 20});
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->storageSize(), (Size2I{30, 20}));
    buffer->mv_attach(GL_COLOR_ATTACHMENT0);
    buffer.reset();
    MVRenderContext::mv_setActiveContext(context_);
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

// Size

TEST_F(MVRenderSurfaceBufferTest, theSizeInPointsIsTheStorageSizeOverTheScale) {
    const auto buffer = MVMake<FlexibleBuffer>();
    buffer->mv_setStorageSize({30, 20});
    for (const float scale : {1.0F, 2.0F, 1.5F, 3.0F}) {
        buffer->mv_setScale(scale);
        EXPECT_EQ(buffer->scale(), scale);
        EXPECT_EQ(buffer->size(), (Size2{30.0F / scale, 20.0F / scale})) << scale;
    }
    EXPECT_EQ(make({5, 3})->size(), (Size2{5.0F, 3.0F}));
}

TEST_F(MVRenderSurfaceBufferTest, theSizeOfAScaleOfZeroIsInfiniteOrNotANumber) {
    const auto buffer = MVMake<FlexibleBuffer>();
    buffer->mv_setStorageSize({30, 0});
    buffer->mv_setScale(0.0F);
    EXPECT_TRUE(std::isinf(buffer->size().width));
    EXPECT_TRUE(std::isnan(buffer->size().height));
}

class SizeObserver : public PropertyObserver {
 public:
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     ObservableObject& object,
                                                     PropertyChange change, void*) override {
        const Size2I size = static_cast<MVRenderSurfaceBuffer&>(object).storageSize();
        seen.push_back((change == PropertyChange::Will ? "will " : "did ") + std::string(keyPath) +
                       " " + std::to_string(size.width) + "x" + std::to_string(size.height));
    }
    std::vector<std::string> seen;
};

TEST_F(MVRenderSurfaceBufferTest, aChangeOfTheStorageSizeIsAnnounced) {
    const auto buffer = MVMake<FlexibleBuffer>();
    const auto observer = std::make_shared<SizeObserver>();
    buffer->addObserver(observer, "storageSize", ObservableObject::Notify::WillAndDid);
    buffer->mv_setStorageSize({30, 20});
    buffer->mv_setStorageSize({30, 20});  // equal: no change
    buffer->mv_setStorageSize({30, 21});
    EXPECT_THAT(observer->seen, ElementsAre("will storageSize 0x0", "did storageSize 30x20",
                                            "will storageSize 30x20", "did storageSize 30x21"));
    EXPECT_EQ(buffer->storageSize(), (Size2I{30, 21}));
}

// Attaching

TEST_F(MVRenderSurfaceBufferTest, attachingBindsTheStorageAndAttachesItToTheBoundFramebuffer) {
    const auto buffer = make({4, 4}, GL_STENCIL_INDEX8);
    const GLuint name = renderbuffer();
    GLuint framebuffer = 0;
    onQueue([&] {
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    });
    gl_->clear();
    buffer->mv_attach(GL_STENCIL_ATTACHMENT);
    finish();
    EXPECT_THAT(
        gl_->texts(),
        ElementsAre(call("glBindRenderbuffer", {GL_RENDERBUFFER, double(name)}),
                    call("glFramebufferRenderbuffer",
                         {GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, double(name)})));
    GLint attached = 0;
    onQueue([&] {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT,
                                              GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &attached);
        glDeleteFramebuffers(1, &framebuffer);
    });
    EXPECT_EQ(static_cast<GLuint>(attached), name);
}

TEST_F(MVRenderSurfaceBufferTest, attachingIsQueuedAndKeepsTheBufferUntilThen) {
    auto buffer = make({4, 4});
    const double name = renderbuffer();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    buffer->mv_attach(GL_COLOR_ATTACHMENT0);
    buffer.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glBindRenderbuffer", "glFramebufferRenderbuffer",
                                          "glDeleteRenderbuffers"));
    EXPECT_THAT(gl_->callsOf("glDeleteRenderbuffers")[0].names, ElementsAre(name));
    onQueue([] {
        while (glGetError() != GL_NO_ERROR) {  // no framebuffer was bound
        }
    });
}

TEST_F(MVRenderSurfaceBufferTest, theRenderHookDoesNothing) {
    const auto buffer = make({4, 4});
    const auto surface = MVRenderSurface::init();
    finish();
    gl_->clear();
    buffer->renderSurfaceDidRenderToBuffer(*surface);
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    EXPECT_EQ(buffer->storageSize(), (Size2I{4, 4}));
}

// Destruction

TEST_F(MVRenderSurfaceBufferTest, destroyingABufferDeletesItsStorage) {
    auto buffer = make({4, 4});
    const GLuint name = renderbuffer();
    gl_->clear();
    buffer.reset();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glDeleteRenderbuffers"));
    EXPECT_THAT(gl_->calls()[0].names, ElementsAre(name));
}

TEST_F(MVRenderSurfaceBufferTest, destroyingABufferWithoutStorageDeletesNothing) {
    auto buffer = MVRenderSurfaceBuffer::init();
    buffer.reset();
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVRenderSurfaceBufferTest, deletionIsQueuedBehindWhatWasQueuedBefore) {
    auto buffer = make({4, 4});
    finish();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    context_->dispatchBlock([] { glFlush(); });
    buffer.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glFlush", "glDeleteRenderbuffers"));
}

TEST_F(MVRenderSurfaceBufferTest, aBufferDroppedBeforeItsStorageWasMadeLeavesNothingBehind) {
    QueueGate gate(*context_->dispatchQueue());
    make({4, 4});
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glGenRenderbuffers", "glBindRenderbuffer",
                                          "glRenderbufferStorage", "glDeleteRenderbuffers"));
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(MVRenderSurfaceBufferTest, aBufferOutlivesTheLastOtherReferenceToItsContext) {
    auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    auto buffer = make({4, 4});
    context->mv_dispatchBlockSync([] {});
    const std::weak_ptr<MVRenderContext> weak = context;
    MVRenderContext::mv_setActiveContext(context_);
    const auto queue = context->dispatchQueue();
    context.reset();
    EXPECT_FALSE(weak.expired());
    buffer.reset();
    queue->sync([] {});
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
    EXPECT_TRUE(weak.expired());
}

}  // namespace
