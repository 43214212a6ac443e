#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVImageDispatchQueue.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/support/QueueGate.h"

using Mivora::Size2;
using Mivora::platform::ConcurrentQueue;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::tests::Bitmap;
using Mivora::tests::bitmapOf;
using Mivora::tests::Completion;
using Mivora::tests::encoded;
using Mivora::tests::flipped;
using Mivora::tests::LogCapture;
using Mivora::tests::opaqueBitmapOf;
using Mivora::tests::premultiplied;
using Mivora::tests::testPicture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Loading in the background. Nothing of it reaches the main thread while a test does not wait.
class MVImageBackgroundGLTest : public Mivora::tests::ImageTest {};

TEST_F(MVImageBackgroundGLTest, theQueueIsTheProcessWideOne) {
    EXPECT_EQ(MVImageDispatchQueue(), ConcurrentQueue::global());
}

TEST_F(MVImageBackgroundGLTest, everythingButThePixelsIsKnownAtOnce) {
    Completion completion;
    const Picture picture = testPicture(20, 10, true);
    const auto image = MVImage::initWithCGImageScaleCoordinateSystemCompletionBlock(
        bitmapOf(picture), 2, 1, completion.block());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size2{10, 5}));
    EXPECT_EQ(image->scale(), 2.0F);
    EXPECT_EQ(image->coordinateSystem(), 1);
    EXPECT_TRUE(image->premultipliedAlpha());
    EXPECT_EQ(image->mv_texture(), 0U);
    EXPECT_EQ(completion.calls, 0);

    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(completion.image, image);
    EXPECT_TRUE(completion.success);
    EXPECT_TRUE(completion.onMainThread);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_THAT(gl_->texts(),
                ElementsAreArray(making(image->mv_texture(), GL_RGBA, 20, 10, GL_RGBA)));
    expectTexture(*image, flipped(premultiplied(picture)));
}

TEST_F(MVImageBackgroundGLTest, withoutACoordinateSystemItIsZero) {
    Completion completion;
    const Picture picture = testPicture(6, 5, false);
    const auto image = MVImage::initWithCGImageScaleCompletionBlock(opaqueBitmapOf(picture), 1,
                                                                    completion.block());
    EXPECT_EQ(image->coordinateSystem(), 0);
    EXPECT_FALSE(image->premultipliedAlpha());
    ASSERT_TRUE(completion.wait());
    expectTexture(*image, picture);
}

TEST_F(MVImageBackgroundGLTest, usingAnImageThatIsStillLoadingBindsNothing) {
    Completion completion;
    const auto image = MVImage::initWithCGImageScaleCompletionBlock(
        bitmapOf(testPicture(6, 5, true)), 1, completion.block());
    image->use();
    finish();
    EXPECT_THAT(gl_->callsOf("glBindTexture")[0].arguments, ElementsAre(GL_TEXTURE_2D, 0));
    ASSERT_TRUE(completion.wait());
}

TEST_F(MVImageBackgroundGLTest, withoutABitmapTheBlockIsCalledAtOnceOnTheCallingThread) {
    Completion completion;
    std::thread([&] {
        const auto image =
            MVImage::initWithCGImageScaleCompletionBlock(nullptr, 1, completion.block());
        EXPECT_EQ(image, nullptr);
        EXPECT_EQ(completion.calls, 1);
    }).join();
    EXPECT_EQ(completion.image, nullptr);
    EXPECT_FALSE(completion.success);
    EXPECT_FALSE(completion.onMainThread);
}

TEST_F(MVImageBackgroundGLTest, aFileIsLoadedWithItsVariant) {
    const Picture picture = testPicture(6, 4, true);
    folder_.write("a@2x.png", encoded(picture, "png", true));
    const std::string path = (folder_.path() / "a.png").string();
    Completion first;
    Completion second;
    const auto image =
        MVImage::initWithContentsOfFileCoordinateSystemCompletionBlock(path, 1, first.block());
    const auto other = MVImage::imageWithContentsOfFileCompletionBlock(path, second.block());
    ASSERT_NE(image, nullptr);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(image->size(), (Size2{3, 2}));
    ASSERT_TRUE(first.wait());
    ASSERT_TRUE(second.wait());
    expectTexture(*image, flipped(premultiplied(picture)));
    expectTexture(*other, premultiplied(picture));
}

TEST_F(MVImageBackgroundGLTest, aFileThatIsNoPictureFailsAtOnceWithOneLine) {
    const LogCapture log("images");
    for (const std::string& path :
         {(folder_.path() / "missing.png").string(), folder_.write("text.png", "text")}) {
        Completion completion;
        EXPECT_EQ(MVImage::initWithContentsOfFileCompletionBlock(path, completion.block()),
                  nullptr);
        EXPECT_EQ(completion.calls, 1);
        EXPECT_EQ(completion.image, nullptr);
        EXPECT_FALSE(completion.success);
    }
    EXPECT_THAT(log.lines(), SizeIs(2));
}

TEST_F(MVImageBackgroundGLTest, anImageThatIsGoneGetsNoTextureAndTheBlockSaysSo) {
    Completion completion;
    auto image = MVImage::initWithCGImageScaleCompletionBlock(bitmapOf(testPicture(9, 9, true)), 1,
                                                              completion.block());
    const std::weak_ptr<MVImage> weak = image;
    // The upload needs the main thread, which is here: the image goes either before the pixels are
    // there, or while the upload waits and holds it.
    image.reset();
    ASSERT_TRUE(completion.wait());
    EXPECT_TRUE(completion.onMainThread);
    EXPECT_EQ(completion.success, completion.image != nullptr);
    completion.image.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVImageBackgroundGLTest, nothingIsUploadedForAnImageThatGoesBeforeItsPixelsAreMade) {
    // Both threads of the pool, or all of them, are kept busy until the image is gone.
    std::atomic<bool> open = false;
    std::atomic<int> ended = 0;
    constexpr int kMostThreads = 8;
    for (int i = 0; i < kMostThreads; ++i) {
        MVImageDispatchQueue()->async([&] {
            while (!open) {
                std::this_thread::yield();
            }
            ++ended;
        });
    }
    Completion completion;
    auto image = MVImage::initWithCGImageScaleCompletionBlock(bitmapOf(testPicture(9, 9, true)), 1,
                                                              completion.block());
    image.reset();
    open = true;
    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(completion.image, nullptr);
    EXPECT_FALSE(completion.success);
    EXPECT_TRUE(completion.onMainThread);
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    ASSERT_TRUE(MainThread::runUntil([&] { return ended == kMostThreads; }, 10));
}

TEST_F(MVImageBackgroundGLTest, theBlockIsLetGoOnTheMainThread) {
    struct Token {
        std::atomic<int>* onMain;
        ~Token() { *onMain = MainThread::isMainThread() ? 1 : 0; }
    };
    std::atomic<int> onMain = -1;
    auto token = std::shared_ptr<Token>(new Token{&onMain});
    const auto image = MVImage::initWithCGImageScaleCompletionBlock(
        bitmapOf(testPicture(9, 9, true)), 1,
        [token = std::move(token)](const std::shared_ptr<MVImage>&, bool) {});
    ASSERT_TRUE(MainThread::runUntil([&] { return onMain != -1; }, 10));
    EXPECT_EQ(onMain, 1);
}

TEST_F(MVImageBackgroundGLTest, anEmptyBlockIsNotCalled) {
    const auto image =
        MVImage::initWithCGImageScaleCompletionBlock(bitmapOf(testPicture(9, 9, true)), 1, nullptr);
    EXPECT_TRUE(MainThread::runUntil(
        [&] { return image->mv_texture() != 0 && image.use_count() == 1; }, 10));
    EXPECT_EQ(MVImage::initWithCGImageScaleCompletionBlock(nullptr, 1, nullptr), nullptr);
}

TEST_F(MVImageBackgroundGLTest, fiveHundredImagesLoadWhileFramesAreDrawn) {
    constexpr int kImages = 500;
    const auto shaders = MVShaderCache::init();
    shaders->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(shaders);
    auto window = MVWindow::init();
    window->setSize({8, 6});
    window->setContentScaleFactor(1);
    auto view = MVColorView::initWithColor({1, 0, 0, 1});
    view->setSize({8, 6});
    window->addSubview(view);
    const std::array<std::uint8_t, 4> red = {255, 0, 0, 255};

    const Picture picture = testPicture(64, 48, true);
    const std::string path = folder_.write("a.png", encoded(picture, "png", true));
    int succeeded = 0;
    int gone = 0;
    std::vector<std::shared_ptr<MVImage>> images;
    for (int i = 0; i < kImages; ++i) {
        auto image = MVImage::initWithContentsOfFileCompletionBlock(
            path, [&](const std::shared_ptr<MVImage>& loaded, bool success) {
                EXPECT_TRUE(MainThread::isMainThread());
                EXPECT_EQ(success, loaded != nullptr);
                ++(success ? succeeded : gone);
            });
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->size(), (Size2{64, 48}));
        if (i % 10 == 0) {
            continue;  // this one goes while it loads
        }
        images.push_back(std::move(image));
    }
    int frames = 0;
    const bool areLoaded = MainThread::runUntil(
        [&] {
            for (std::size_t i = 0; i < images.size(); i += 50) {
                images[i]->use();
            }
            context_->present();
            if (frames++ % 50 == 0) {
                const Picture frame = MVCaptureWindow(window, {.samples = 0});
                EXPECT_EQ(frame.pixel(4, 3), red);
            }
            return succeeded + gone == kImages;
        },
        120);
    EXPECT_TRUE(areLoaded) << succeeded << " loaded, " << gone << " gone";
    EXPECT_GE(succeeded, static_cast<int>(images.size()));
    EXPECT_GT(frames, 1);
    const Picture expected = premultiplied(picture);
    for (const auto& image : images) {
        expectTexture(*image, expected);
    }
}

}  // namespace
