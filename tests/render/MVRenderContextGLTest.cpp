#include "MivoraMac/render/MVRenderContext.h"

#include <epoxy/gl.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <latch>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gl/PixelFormat.h"
#include "MivoraMac/platform/threads/SerialQueue.h"
#include "MivoraMac/platform/windows/DisplayLink.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/render/MVShader.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"

using Mivora::platform::DebugLog;
using Mivora::platform::DisplayLink;
using Mivora::platform::GLContext;
using Mivora::platform::OpenGLView;
using Mivora::platform::PixelFormat;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class MVRenderContextTest : public Mivora::tests::GLTest {};

TEST_F(MVRenderContextTest, closuresFromOutsideRunInOrderOfSubmission) {
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) {
        context_->dispatchBlock([&order, i] { order.push_back(i); });
    }
    finish();
    ASSERT_EQ(order.size(), 100U);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST_F(MVRenderContextTest, dispatchOffTheQueueReturnsBeforeTheClosureRuns) {
    QueueGate gate(*context_->dispatchQueue());
    std::atomic<bool> ran = false;
    context_->dispatchBlock([&] { ran = true; });
    EXPECT_FALSE(ran);
    gate.open();
    finish();
    EXPECT_TRUE(ran);
}

TEST_F(MVRenderContextTest, dispatchFromGLWorkRunsInlineBeforeTheRestOfTheOuterClosure) {
    std::vector<std::string> order;
    onQueue([&] {
        order.emplace_back("outer begins");
        context_->dispatchBlock([&] { order.emplace_back("inner"); });
        order.emplace_back("outer ends");
    });
    EXPECT_THAT(order, ElementsAre("outer begins", "inner", "outer ends"));
}

TEST_F(MVRenderContextTest, synchronousDispatchFromGLWorkRunsInlineAndDoesNotDeadlock) {
    std::vector<std::string> order;
    std::thread::id outerThread;
    std::thread::id innerThread;
    onQueue([&] {
        outerThread = std::this_thread::get_id();
        order.emplace_back("outer begins");
        context_->mv_dispatchBlockSync([&] {
            innerThread = std::this_thread::get_id();
            order.emplace_back("inner");
        });
        order.emplace_back("outer ends");
    });
    EXPECT_THAT(order, ElementsAre("outer begins", "inner", "outer ends"));
    EXPECT_EQ(outerThread, innerThread);
    EXPECT_NE(outerThread, std::this_thread::get_id());
}

TEST_F(MVRenderContextTest, nestedDispatchNeitherMakesCurrentNorClears) {
    onQueue([&] {
        context_->dispatchBlock([] {});
        EXPECT_EQ(GLContext::currentContext(), context_->mv_context().get());
        context_->mv_dispatchBlockSync([] {});
        EXPECT_EQ(GLContext::currentContext(), context_->mv_context().get());
    });
}

TEST_F(MVRenderContextTest, theContextIsCurrentInsideAClosureAndOnNoThreadAfterwards) {
    GLContext* inside = nullptr;
    onQueue([&] { inside = GLContext::currentContext(); });
    EXPECT_EQ(inside, context_->mv_context().get());
    EXPECT_EQ(GLContext::currentContext(), nullptr);

    GLContext* after = inside;
    context_->dispatchQueue()->sync([&] { after = GLContext::currentContext(); });
    EXPECT_EQ(after, nullptr);
}

TEST_F(MVRenderContextTest, theContextIsLockedDuringAClosureAndUnlockedOnceASyncReturns) {
    std::atomic<bool> lockedByOther = false;
    std::thread other;
    onQueue([&] {
        other = std::thread([&] {
            context_->mv_context()->lock();
            lockedByOther = true;
            context_->mv_context()->unlock();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(lockedByOther);
    });
    other.join();
    EXPECT_TRUE(lockedByOther);
}

TEST_F(MVRenderContextTest, anotherThreadCanMakeTheContextCurrentOnceASyncReturns) {
    for (int i = 0; i < 20; ++i) {
        onQueue([] { glFlush(); });
        context_->mv_context()->makeCurrentContext();
        EXPECT_EQ(GLContext::currentContext(), context_->mv_context().get());
        GLContext::clearCurrentContext();
    }
}

TEST_F(MVRenderContextTest, aRawClosureBetweenTwoContextClosuresSeesNoCurrentContext) {
    QueueGate gate(*context_->dispatchQueue());
    std::vector<bool> current;
    const auto look = [&] { current.push_back(GLContext::currentContext() != nullptr); };
    context_->dispatchBlock(look);
    context_->dispatchQueue()->async(look);
    context_->dispatchBlock(look);
    gate.open();
    finish();
    EXPECT_THAT(current, ElementsAre(true, false, true));
}

TEST_F(MVRenderContextTest, aClosureThatThrowsIsLoggedAndTheQueueLives) {
    std::mutex mutex;
    std::string log;
    DebugLog::setSink([&](DebugLog::Category, std::string_view text) {
        const std::lock_guard lock(mutex);
        log.append(text).append("\n");
    });
    context_->dispatchBlock([] { throw std::runtime_error("asynchronous trouble"); });
    EXPECT_NO_THROW(onQueue([] { throw std::runtime_error("synchronous trouble"); }));
    std::vector<std::string> order;
    onQueue([&] {
        context_->dispatchBlock([] { throw std::runtime_error("nested trouble"); });
        order.emplace_back("outer goes on");
    });
    DebugLog::setSink(nullptr);
    EXPECT_THAT(order, ElementsAre("outer goes on"));
    EXPECT_THAT(log, HasSubstr("asynchronous trouble"));
    EXPECT_THAT(log, HasSubstr("synchronous trouble"));
    EXPECT_THAT(log, HasSubstr("nested trouble"));
    GLContext* inside = nullptr;
    onQueue([&] { inside = GLContext::currentContext(); });
    EXPECT_EQ(inside, context_->mv_context().get());
}

TEST_F(MVRenderContextTest, emptyFunctionsAreIgnored) {
    context_->dispatchBlock(std::function<void()>());
    context_->mv_dispatchBlockSync(std::function<void()>());
    context_->dispatchBlock(static_cast<void (*)()>(nullptr));
    context_->mv_dispatchBlockSync(static_cast<int (*)() noexcept>(nullptr));
    finish();
}

TEST_F(MVRenderContextTest, functorsThatConvertToFalseAreRun) {
    struct Job {
        int* runs;
        explicit operator bool() const { return false; }
        void operator()() const { ++*runs; }
    };
    struct Converting : Job {
        operator std::function<void()>() const { return nullptr; }
    };
    int runs = 0;
    const Job job{&runs};
    context_->dispatchBlock(job);
    context_->mv_dispatchBlockSync(job);
    context_->mv_dispatchBlockSync(Converting{job});
    onQueue([&] { context_->dispatchBlock(Job{&runs}); });
    EXPECT_EQ(runs, 4);
}

TEST_F(MVRenderContextTest, glWorkThatComesBackOverOtherQueuesRunsWithTheContextCurrent) {
    const auto layout = Mivora::platform::SerialQueue::create("layout");
    const auto thread = Mivora::platform::SerialQueue::create(
        "thread", Mivora::platform::SerialQueue::Execution::OwnThread);
    std::vector<GLContext*> seen;
    const auto look = [&] { seen.push_back(GLContext::currentContext()); };
    onQueue([&] {
        layout->sync([&] { context_->mv_dispatchBlockSync(look); });
        thread->sync([&] { context_->mv_dispatchBlockSync(look); });
        thread->sync([&] { layout->sync([&] { context_->mv_dispatchBlockSync(look); }); });
    });
    EXPECT_THAT(seen, testing::ElementsAre(testing::NotNull(), seen[0], seen[0]));
}

TEST_F(MVRenderContextTest, destroyingAContextWhileClosuresWaitRunsThemAllWithItCurrent) {
    auto context = MVRenderContext::init();
    const std::weak_ptr<MVRenderContext> weak = context;
    const auto queue = context->dispatchQueue();
    QueueGate gate(*queue);
    int ran = 0;
    int current = 0;
    GLContext* const expected = context->mv_context().get();
    for (int i = 0; i < 50; ++i) {
        context->dispatchBlock([&] {
            ++ran;
            current += GLContext::currentContext() == expected ? 1 : 0;
        });
    }
    context.reset();
    EXPECT_FALSE(weak.expired()) << "waiting closures own their context";
    gate.open();
    queue->sync([] {});
    EXPECT_EQ(ran, 50);
    EXPECT_EQ(current, 50);
    EXPECT_TRUE(weak.expired()) << "and let it go once they have run";
}

TEST_F(MVRenderContextTest, theLastReferenceMayBeDroppedOnTheQueueItself) {
    for (int i = 0; i < 20; ++i) {
        std::latch done(1);
        auto context = MVRenderContext::init();
        MVRenderContext& unowned = *context;
        unowned.dispatchBlock([held = std::move(context), &done]() mutable {
            held.reset();
            done.count_down();
        });
        done.wait();
    }
}

TEST_F(MVRenderContextTest, theProcessExitsCleanlyWhileTheQueueLetsItsLastContextGo) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitAtOnce = [] {
        for (int i = 0; i < 3; ++i) {
            auto context = MVRenderContext::init();
            MVRenderContext& unowned = *context;
            unowned.dispatchBlock([held = std::move(context)]() mutable {
                glFlush();
                held.reset();
            });
        }
        std::exit(0);
    };
    for (int i = 0; i < 5; ++i) {
        EXPECT_EXIT(exitAtOnce(), testing::ExitedWithCode(0), "");
    }
}

TEST_F(MVRenderContextTest, onlyAnActiveContextIsTheDrawingContext) {
    MVRenderContext::mv_setActiveContext(nullptr);
    EXPECT_EQ(MVRenderContext::mv_drawingContext(), nullptr);
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_EQ(MVRenderContext::mv_drawingContext(), context_);
}

TEST_F(MVRenderContextTest, aSharedContextHasTheSameQueueAndSeesTheSameObjects) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    ASSERT_NE(second->mv_context(), nullptr);
    EXPECT_NE(second->mv_context(), context_->mv_context());
    EXPECT_EQ(second->dispatchQueue(), context_->dispatchQueue());

    GLuint buffer = 0;
    GLuint texture = 0;
    onQueue([&] {
        glGenBuffers(1, &buffer);
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        const float value = 42;
        glBufferData(GL_ARRAY_BUFFER, sizeof(value), &value, GL_STATIC_DRAW);
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
    });
    float read = 0;
    bool isTexture = false;
    second->mv_dispatchBlockSync([&] {
        EXPECT_EQ(GLContext::currentContext(), second->mv_context().get());
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glGetBufferSubData(GL_ARRAY_BUFFER, 0, sizeof(read), &read);
        isTexture = glIsTexture(texture) == GL_TRUE;
    });
    EXPECT_EQ(read, 42);
    EXPECT_TRUE(isTexture);
    onQueue([&] {
        glDeleteBuffers(1, &buffer);
        glDeleteTextures(1, &texture);
    });
}

TEST_F(MVRenderContextTest, interleavedClosuresOfTwoContextsEachSeeTheirOwnCurrent) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    QueueGate gate(*context_->dispatchQueue());
    std::vector<GLContext*> seen;
    const auto look = [&] { seen.push_back(GLContext::currentContext()); };
    context_->dispatchBlock(look);
    second->dispatchBlock(look);
    context_->dispatchBlock(look);
    gate.open();
    finish();
    EXPECT_THAT(seen, ElementsAre(context_->mv_context().get(), second->mv_context().get(),
                                  context_->mv_context().get()));
}

TEST_F(MVRenderContextTest, dispatchOnOneContextFromGLWorkOfAnotherRunsInline) {
    const auto second = MVRenderContext::initWithSharedContext(context_);
    const auto unrelated = MVRenderContext::init();
    std::vector<GLContext*> seen;
    onQueue([&] {
        second->mv_dispatchBlockSync([&] { seen.push_back(GLContext::currentContext()); });
        unrelated->mv_dispatchBlockSync([&] { seen.push_back(GLContext::currentContext()); });
    });
    EXPECT_THAT(seen, ElementsAre(context_->mv_context().get(), context_->mv_context().get()));
}

TEST_F(MVRenderContextTest, sharingWithNothingMakesAnIndependentContext) {
    const auto context = MVRenderContext::initWithSharedContext(nullptr);
    ASSERT_NE(context, nullptr);
    EXPECT_NE(context->dispatchQueue(), context_->dispatchQueue());
}

TEST_F(MVRenderContextTest, aReleasedContextStopsBeingTheActiveOne) {
    auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    EXPECT_EQ(MVRenderContext::activeContext(), context);
    context.reset();
    EXPECT_EQ(MVRenderContext::activeContext(), nullptr);
}

TEST_F(MVRenderContextTest, extensionNamesAreMatchedExactly) {
    EXPECT_TRUE(context_->supportsGLExtension("GL_ARB_ES2_compatibility"));
    EXPECT_FALSE(context_->supportsGLExtension("gl_arb_es2_compatibility"));
    EXPECT_FALSE(context_->supportsGLExtension("GL_ARB_ES2"));
    EXPECT_FALSE(context_->supportsGLExtension(""));
}

TEST_F(MVRenderContextTest, thePixelFormatAsksForTheStatedAttributesInOrder) {
    ASSERT_NE(context_->pixelFormat(), nullptr);
    EXPECT_THAT(context_->pixelFormat()->attributes(),
                ElementsAre(PixelFormat::DoubleBuffer, PixelFormat::OpenGLProfile,
                            PixelFormat::ProfileVersion3_2Core, PixelFormat::DepthSize, 24,
                            PixelFormat::StencilSize, 8, PixelFormat::Multisample,
                            PixelFormat::SampleBuffers, 1, PixelFormat::Samples, 4, 0));
    EXPECT_EQ(context_->mv_context()->swapInterval(), 1);
}

TEST_F(MVRenderContextTest, theQueueIsLabelled) {
    EXPECT_THAT(context_->dispatchQueue()->label(), HasSubstr(".RenderContextDispatchQueue"));
}

TEST_F(MVRenderContextTest, logGLErrorClearsOnePendingErrorAndReportsNothing) {
    onQueue([] { glEnable(0xFFFF); });
    context_->mv_logGLError();
    GLenum left = GL_INVALID_ENUM;
    onQueue([&] { left = glGetError(); });
    EXPECT_EQ(left, static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(gl_->callsOf("glGetError").size(), 2U);
}

TEST_F(MVRenderContextTest, settingTheShaderThatIsSetBindsItAgain) {
    const auto shader = MVShader::initWithVertexShaderSourceFragmentShaderSource(
        "void main() { gl_Position = vec4(0.0); }", "void main() { gl_FragColor = vec4(1.0); }");
    ASSERT_NE(shader, nullptr);
    shader->link();
    gl_->clear();
    context_->setShader(shader);
    context_->setShader(shader);
    finish();
    EXPECT_EQ(context_->shader(), shader);
    EXPECT_EQ(gl_->callsOf("glUseProgram").size(), 2U);
    context_->setShader(nullptr);
    EXPECT_EQ(context_->shader(), nullptr);
}

TEST_F(MVRenderContextTest, attachingAViewGivesItFormatAndContextAndSizesTheDrawable) {
    OpenGLView view;
    view.setBackingScaleFactor(2);
    view.setBounds({0, 0, 20, 10});
    context_->mv_setRenderView(&view);
    EXPECT_EQ(view.pixelFormat(), context_->pixelFormat());
    EXPECT_EQ(view.openGLContext(), context_->mv_context());
    EXPECT_EQ(context_->mv_context()->view(), &view);
    EXPECT_EQ(context_->mv_context()->drawable().size(), (Mivora::platform::PixelSize{40, 20}));
    context_->mv_setRenderView(nullptr);
    EXPECT_EQ(context_->mv_context()->view(), &view);
}

TEST_F(MVRenderContextTest, aDestroyedViewDetachesItself) {
    {
        OpenGLView view;
        view.setBounds({0, 0, 20, 10});
        context_->mv_setRenderView(&view);
    }
    EXPECT_EQ(context_->mv_context()->view(), nullptr);
    EXPECT_EQ(context_->mv_context()->drawable().size(), Mivora::platform::PixelSize());
}

TEST_F(MVRenderContextTest, presentShowsWhatWasQueuedBefore) {
    OpenGLView view;
    view.setBounds({0, 0, 4, 2});
    context_->mv_setRenderView(&view);
    context_->dispatchBlock([this] {
        glBindFramebuffer(GL_FRAMEBUFFER, context_->mv_context()->defaultFramebuffer());
        glClearColor(1, 0.5F, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    });
    context_->present();
    EXPECT_EQ(context_->mv_context()->drawable().latestFrame().serial, 1U);
    Mivora::platform::Picture picture;
    onQueue([&] { picture = context_->mv_context()->drawable().readLatestFrame(); });
    ASSERT_EQ(picture.rgba.size(), 32U);
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        EXPECT_EQ(picture.rgba[i], 255);
        EXPECT_NEAR(picture.rgba[i + 1], 128, 1);
        EXPECT_EQ(picture.rgba[i + 2], 0);
        EXPECT_EQ(picture.rgba[i + 3], 255);
    }
}

TEST_F(MVRenderContextTest, presentWithoutAViewDoesNothing) {
    context_->present();
    EXPECT_EQ(context_->mv_context()->drawable().latestFrame().serial, 0U);
}

TEST_F(MVRenderContextTest, aDisplayLinkIsTiedToContextAndFormat) {
    struct Link : DisplayLink {
        GLContext* context = nullptr;
        const PixelFormat* format = nullptr;
        void setCurrentDisplayFromOpenGLContext(GLContext& shown,
                                                const PixelFormat& made) override {
            context = &shown;
            format = &made;
        }
    } link;
    context_->mv_optimizeDisplayLink(link);
    EXPECT_EQ(link.context, context_->mv_context().get());
    EXPECT_EQ(link.format, context_->pixelFormat().get());
}

TEST_F(MVRenderContextTest, closuresOfManyThreadsAllRunAndEachThreadsInItsOrder) {
    constexpr int kThreads = 4;
    constexpr int kEach = 2000;
    std::vector<std::vector<int>> seen(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i) {
                context_->dispatchBlock(
                    [&seen, t, i] { seen[static_cast<std::size_t>(t)].push_back(i); });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    finish();
    for (const std::vector<int>& one : seen) {
        ASSERT_EQ(one.size(), static_cast<std::size_t>(kEach));
        EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
    }
}

}  // namespace
