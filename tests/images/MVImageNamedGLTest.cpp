#include <memory>
#include <string>
#include <utility>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVImageCache.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"

using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::tests::Completion;
using Mivora::tests::encoded;
using Mivora::tests::LogCapture;
using Mivora::tests::ScopedEnvironment;
using Mivora::tests::ScopedScreenScale;
using Mivora::tests::testPicture;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVImageNamedGLTest : public Mivora::tests::ImageTest {
 protected:
    void SetUp() override {
        ImageTest::SetUp();
        cache_ = MVImageCache::init();
        MVImageCache::mv_setSharedCache(cache_);
        folder_.write("a.png", encoded(picture_, "png", false));
        folder_.write("bad.png", "no picture");
    }
    void TearDown() override {
        cache_.reset();
        ImageTest::TearDown();
    }

    const Picture picture_ = testPicture(4, 3, false);
    std::shared_ptr<MVImageCache> cache_;
    const ScopedEnvironment path_{"MIVORA_RESOURCE_PATH", folder_.path().c_str()};
};

TEST_F(MVImageNamedGLTest, aNamedImageIsLoadedOnce) {
    const auto image = MVImage::imageNamed("a.png");
    ASSERT_NE(image, nullptr);
    expectTexture(*image, picture_);
    EXPECT_EQ(cache_->imageForKey("a.png"), image);
    EXPECT_EQ(MVImage::imageNamed("a.png"), image);
    EXPECT_THAT(gl_->callsOf("glTexImage2D"), SizeIs(1));
}

TEST_F(MVImageNamedGLTest, aVariantOfTheResourceIsFound) {
    folder_.write("a@2x.png", encoded(testPicture(8, 6, false), "png", false));
    const ScopedScreenScale scale(2);
    const auto image = MVImage::imageNamed("a.png");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->scale(), 2.0F);
    EXPECT_EQ(image->size(), (Size2{4, 3}));
}

TEST_F(MVImageNamedGLTest, aNameWithoutAFileYieldsNothing) {
    const LogCapture log("images");
    EXPECT_EQ(MVImage::imageNamed("none.png"), nullptr);
    EXPECT_EQ(MVImage::imageNamed(""), nullptr);
    Completion completion;
    EXPECT_EQ(MVImage::imageNamedCompletionBlock("none.png", completion.block()), nullptr);
    EXPECT_EQ(completion.calls, 0);
    EXPECT_THAT(log.lines(), SizeIs(3));
}

TEST_F(MVImageNamedGLTest, aFileThatIsNoPictureIsNotCached) {
    EXPECT_EQ(MVImage::imageNamed("bad.png"), nullptr);
    EXPECT_EQ(cache_->imageForKey("bad.png"), nullptr);
}

TEST_F(MVImageNamedGLTest, aSubclassIsNeverStored) {
    const auto image = MVMutableImage::imageNamed("a.png");
    ASSERT_NE(std::dynamic_pointer_cast<MVMutableImage>(image), nullptr);
    EXPECT_EQ(cache_->imageForKey("a.png"), nullptr);
    Completion completion;
    const auto other = MVMutableImage::imageNamedCompletionBlock("a.png", completion.block());
    ASSERT_NE(std::dynamic_pointer_cast<MVMutableImage>(other), nullptr);
    EXPECT_EQ(cache_->imageForKey("a.png"), nullptr);
    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(completion.image, other);
    EXPECT_EQ(cache_->imageForKey("a.png"), nullptr);
}

TEST_F(MVImageNamedGLTest, aSubclassGetsWhatIsStored) {
    const auto image = MVImage::imageNamed("a.png");
    EXPECT_EQ(MVMutableImage::imageNamed("a.png"), image);
    EXPECT_EQ(MVMutableImage::imageNamedCompletionBlock("a.png", nullptr), image);
}

TEST_F(MVImageNamedGLTest, anImageThatIsStillLoadingIsFound) {
    Completion first;
    Completion second;
    const auto image = MVImage::imageNamedCompletionBlock("a.png", first.block());
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->mv_texture(), 0U);
    EXPECT_EQ(MVImage::imageNamedCompletionBlock("a.png", second.block()), image);
    EXPECT_EQ(MVImage::imageNamed("a.png"), image);
    ASSERT_TRUE(first.wait());
    EXPECT_TRUE(first.success);
    EXPECT_EQ(first.image, image);
    EXPECT_EQ(second.calls, 0) << "the block of a request that found the image is not called";
    EXPECT_EQ(cache_->imageForKey("a.png"), image);
    expectTexture(*image, picture_);
}

TEST_F(MVImageNamedGLTest, aFailureTakesTheImageOutOfTheCacheBeforeTheBlockIsCalled) {
    bool wasCached = true;
    int calls = 0;
    const auto image = MVImage::imageNamedCompletionBlock(
        "bad.png", [&](const std::shared_ptr<MVImage>& loaded, bool success) {
            ++calls;
            EXPECT_EQ(loaded, nullptr);
            EXPECT_FALSE(success);
            wasCached = cache_->imageForKey("bad.png") != nullptr;
        });
    EXPECT_EQ(image, nullptr);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(wasCached);
    EXPECT_EQ(cache_->imageForKey("bad.png"), nullptr) << "and it stays out";
}

TEST_F(MVImageNamedGLTest, theCacheKeepsALoadingImageAlive) {
    Completion completion;
    MVImage::imageNamedCompletionBlock("a.png", completion.block());
    ASSERT_TRUE(completion.wait());
    EXPECT_TRUE(completion.success);
    EXPECT_EQ(cache_->imageForKey("a.png"), completion.image);
}

TEST_F(MVImageNamedGLTest, withoutASharedCacheImagesAreLoadedEachTime) {
    cache_.reset();
    const auto image = MVImage::imageNamed("a.png");
    ASSERT_NE(image, nullptr);
    EXPECT_NE(MVImage::imageNamed("a.png"), image);
    Completion completion;
    const auto other = MVImage::imageNamedCompletionBlock("a.png", completion.block());
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(completion.wait());
    EXPECT_TRUE(completion.success);
}

}  // namespace
