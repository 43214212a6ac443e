// What is kept of GL across the end of all applications.

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"
#include "tests/support/GLCallRecorder.h"

using Mivora::platform::GLContext;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using testing::Contains;
using testing::IsEmpty;
using testing::Key;
using testing::Not;

namespace {

using Pixel = std::array<std::uint8_t, 4>;

std::shared_ptr<MVImage> filledImage(Pixel color) {
    return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        color.data(), 1, 1, 1, 0, false, GL_RGBA);
}

/// What draws; GL calls are recorded until all of it has gone.
std::vector<std::weak_ptr<Mivora::platform::NativeGLContext>> natives;

std::shared_ptr<MVRenderContext> watched(std::shared_ptr<MVRenderContext> context) {
    natives.push_back(context->mv_context()->native());
    return context;
}

/// An application in a window of twenty points a side.
class Shown {
 public:
    Shown() : application(MVApplication::init()) {
        frame_ = HeadlessWindow::create("", {0, 0, 20, 20});
        frame_->setContentView(application->mv_renderView());
        frame_->show();
        watched(MVRenderContext::activeContext());
    }
    ~Shown() {
        const std::weak_ptr<MVWindow> tree = application->window();
        frame_.reset();
        application.reset();
        EXPECT_TRUE(MainThread::runUntil([&] { return tree.expired(); }, 30));
    }

    /// The middle of what a frame with a view in it shows.
    std::array<std::uint8_t, 4> middleWith(const std::shared_ptr<MVView>& view) {
        view->setSize({20, 20});
        application->window()->addSubview(view);
        application->mv_runLoopFired(nullptr);
        Picture picture;
        const auto context = application->mv_renderView()->openGLContext();
        MVRenderContext::activeContext()->mv_dispatchBlockSync(
            [&] { picture = context->drawable().readLatestFrame(); });
        view->removeFromSuperview();
        return picture.pixel(10, 10);
    }

    std::shared_ptr<MVApplication> application;

 private:
    std::shared_ptr<HeadlessWindow> frame_;
};

/// Without a context of the test's own.
class MVApplicationKeptTest : public testing::Test {
 protected:
    void SetUp() override {
        MVRenderContext::mv_setActiveContext(nullptr);
        gl_ = std::make_unique<Mivora::tests::GLCallRecorder>();
    }
    void TearDown() override {
        const auto haveGone = [] {
            return std::all_of(natives.begin(), natives.end(),
                               [](const auto& native) { return native.expired(); });
        };
        EXPECT_TRUE(MainThread::runUntil(haveGone, 30));
        natives.clear();
        gl_.reset();
    }

    /// Drops the context made last and waits for the end of its GL work: two queues must not call
    /// through the recorder at the same time.
    static void endLast(std::shared_ptr<MVRenderContext>& context) {
        context.reset();
        EXPECT_TRUE(MainThread::runUntil([] { return natives.back().expired(); }, 30));
    }

    static std::shared_ptr<MVShader> makeShader() {
        auto shader = MVShader::initWithVertexShaderSourceFragmentShaderSource(
            "void main() { gl_Position = vec4(0.0); }",
            "void main() { gl_FragColor = vec4(1.0); }");
        shader->link();
        return shader;
    }

    std::unique_ptr<Mivora::tests::GLCallRecorder> gl_;
};

constexpr Pixel kOrange = {255, 128, 0, 255};
constexpr Pixel kGreen = {0, 255, 0, 255};

}  // namespace

TEST_F(MVApplicationKeptTest, anImageIsShownByTheNextApplication) {
    std::shared_ptr<MVImage> kept;
    {
        const Shown first;
        kept = filledImage(kOrange);
    }
    EXPECT_EQ(MVRenderContext::activeContext(), nullptr);
    for (int i = 0; i < 3; ++i) {
        Shown next;
        const auto other = filledImage(kGreen);
        EXPECT_NE(kept->mv_texture(), other->mv_texture());
        EXPECT_EQ(next.middleWith(MVImageView::initWithImage(kept)), kOrange);
        EXPECT_EQ(next.middleWith(MVImageView::initWithImage(other)), kGreen);
    }
    Shown last;
    const auto other = filledImage(kGreen);
    kept.reset();
    EXPECT_EQ(last.middleWith(MVImageView::initWithImage(other)), kGreen)
        << "the end of one deletes no other";
}

TEST_F(MVApplicationKeptTest, viewsAreDrawnByTheNextApplication) {
    std::shared_ptr<MVColorView> box;
    std::shared_ptr<MVImageView> picture;
    {
        Shown first;
        box = MVColorView::initWithColor({0, 1, 0, 1});
        picture = MVImageView::initWithImage(filledImage(kOrange));
        first.middleWith(box);
    }
    Shown next;
    const auto another = MVColorView::initWithColor({0, 0, 1, 1});
    EXPECT_EQ(next.middleWith(box), kGreen);
    EXPECT_EQ(next.middleWith(picture), kOrange);
    EXPECT_EQ(next.middleWith(another), (Pixel{0, 0, 255, 255}));
    box.reset();
    picture.reset();
    EXPECT_EQ(next.middleWith(another), (Pixel{0, 0, 255, 255}));
}

TEST_F(MVApplicationKeptTest, aShaderThatIsDroppedAfterTheEndDeletesItsProgram) {
    std::shared_ptr<MVShader> kept;
    {
        const Shown first;
        kept = makeShader();
    }
    EXPECT_THAT(gl_->liveObjects(), Contains(Key("Programs")));
    kept.reset();
    EXPECT_TRUE(MainThread::runUntil([&] { return gl_->liveObjects().empty(); }, 30));
}

TEST_F(MVApplicationKeptTest, nothingIsLeftWhenNothingIsKept) {
    { const Shown first; }
    EXPECT_TRUE(MainThread::runUntil([&] { return gl_->liveObjects().empty(); }, 30));
}

TEST_F(MVApplicationKeptTest, whatGoesInAnUnrelatedContextLeavesThatAlone) {
    const auto first = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(first);
    auto shader = makeShader();
    auto image = filledImage(kOrange);
    const auto second = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(second);
    const auto ownShader = makeShader();
    const auto ownImage = filledImage(kGreen);
    second->mv_dispatchBlockSync([&] {
        EXPECT_EQ(image->mv_texture(), ownImage->mv_texture()) << "the names are equal";
        shader.reset();  // on the queue of the other
        image.reset();
    });
    first->mv_dispatchBlockSync([] {});
    second->mv_dispatchBlockSync([&] {
        EXPECT_EQ(glIsTexture(ownImage->mv_texture()), GL_TRUE);
        second->setShader(ownShader);
        GLint program = 0;
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        EXPECT_NE(program, 0);
        EXPECT_EQ(glIsProgram(static_cast<GLuint>(program)), GL_TRUE);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
    EXPECT_EQ(gl_->callsOf("glDeleteTextures").size(), 1U);
    EXPECT_EQ(gl_->callsOf("glDeleteProgram").size(), 1U);
    second->setShader(nullptr);
}

TEST_F(MVApplicationKeptTest, inAnUnrelatedContextNothingOfItIsDrawn) {
    auto first = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(first);
    auto shader = makeShader();
    auto image = filledImage(kOrange);
    first->mv_dispatchBlockSync([] {});
    auto second = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(second);
    auto ownShader = makeShader();
    auto ownImage = filledImage(kGreen);
    ownShader->use();
    ownImage->use();
    shader->use();
    image->use();
    second->mv_dispatchBlockSync([] {
        GLint bound = -1;
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        EXPECT_EQ(bound, 0);
        glGetIntegerv(GL_CURRENT_PROGRAM, &bound);
        EXPECT_EQ(bound, 0);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    });
    EXPECT_EQ(shader->uniformLocation("u_color"), -1);
    second->setShader(nullptr);
    ownShader.reset();
    ownImage.reset();
    endLast(second);
    shader.reset();
    image.reset();
    first->mv_dispatchBlockSync([] {});
}

TEST_F(MVApplicationKeptTest, aMutableImageThatGetsPixelsElsewhereMovesThere) {
    const auto first = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(first);
    auto image =
        MVMutableImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            kOrange.data(), 1, 1, 1, 0, false, GL_RGBA);
    auto second = watched(MVRenderContext::init());
    MVRenderContext::mv_setActiveContext(second);
    image->replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        kGreen.data(), 1, 1, 1, 0, false, GL_RGBA);
    first->mv_dispatchBlockSync([] {});
    EXPECT_EQ(gl_->callsOf("glDeleteTextures").size(), 1U);
    image->use();
    second->mv_dispatchBlockSync([&] {
        GLint bound = 0;
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        EXPECT_NE(bound, 0);
    });
    image.reset();
    second->mv_dispatchBlockSync([] {});
    EXPECT_THAT(gl_->liveObjects(), Not(Contains(Key("Textures"))));
    endLast(second);
}

namespace {

std::shared_ptr<MVImage> programImage;

[[noreturn]] void keepAnImageAndExit() {
    {
        const Shown first;
        programImage = filledImage(kOrange);
    }
    std::exit(0);
}

using MVApplicationKeptDeathTest = Mivora::tests::ThreadsafeDeathTest;

}  // namespace

TEST_F(MVApplicationKeptDeathTest, anImageMayOutliveEverythingInAVariableOfTheProgram) {
    const Mivora::tests::ScopedEnvironment headless("MIVORA_HOST", "headless");
    EXPECT_EXIT(keepAnImageAndExit(), testing::ExitedWithCode(0), "");
}
