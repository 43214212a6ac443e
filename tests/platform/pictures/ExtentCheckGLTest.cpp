#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"

// Extents that no driver bears yield null and a line, wherever they are given.

namespace {

using Mivora::platform::AlphaInfo;
using Mivora::platform::areExtentsBorne;
using Mivora::platform::BitmapContext;
using Mivora::platform::BitmapImage;
using Mivora::platform::Drawable;
using Mivora::platform::PixelSize;
using Mivora::tests::ChangeLog;
using Mivora::tests::Completion;
using Mivora::tests::ImageTest;
using Mivora::tests::LogCapture;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

class ExtentCheckTest : public ImageTest {
 protected:
    /// One more than the driver takes, and far more.
    std::vector<std::uint64_t> tooLarge() {
        return {largest() + 1, std::uint64_t{1} << 26, std::uint64_t{1} << 31, kNone};
    }

    static std::shared_ptr<MVImage> image(std::uint64_t width, std::uint64_t height) {
        return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            nullptr, width, height, 1, 0, false, GL_RGBA);
    }

    /// A bitmap that claims rows of one pixel of memory each.
    static std::shared_ptr<const BitmapImage> wideBitmap(std::uint64_t width) {
        const auto bytes = static_cast<std::size_t>(width) * 4;
        const auto pixels = std::make_shared<std::vector<std::uint8_t>>(bytes);
        return BitmapImage::create({static_cast<int>(width), 1}, AlphaInfo::Last, bytes,
                                   std::shared_ptr<const std::uint8_t>(pixels, pixels->data()));
    }

    static std::uint64_t largest() { return MVRenderContext::activeContext()->mv_largestExtent(); }
};

TEST_F(ExtentCheckTest, theLargestExtentIsWhatTheDriverSays) {
    GLint texture = 0;
    GLint buffer = 0;
    onQueue([&] {
        glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
        glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &buffer);
    });
    EXPECT_GT(texture, 0);
    EXPECT_EQ(largest(), static_cast<std::uint64_t>(std::min(texture, buffer)));
}

TEST_F(ExtentCheckTest, theCheckSaysWhatIsTooLargeAndHowLargeItMayBe) {
    const LogCapture log("gl");
    EXPECT_TRUE(areExtentsBorne("card", 0, 0, 0));
    EXPECT_TRUE(areExtentsBorne("card", 64, 63, 64));
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_FALSE(areExtentsBorne("card", 65, 1, 64));
    EXPECT_FALSE(areExtentsBorne("card", 1, kNone, 64));
    ASSERT_THAT(log.lines(), SizeIs(2));
    EXPECT_EQ(log.lines()[0].second, "no card of 65 x 1 pixels: 64 is the most a side here");
}

TEST_F(ExtentCheckTest, texturesAreRefused) {
    const LogCapture log("gl");
    for (const std::uint64_t extent : tooLarge()) {
        EXPECT_EQ(image(extent, 1), nullptr);
        EXPECT_EQ(image(1, extent), nullptr);
    }
    EXPECT_THAT(log.lines(), SizeIs(8));
    EXPECT_NE(image(largest(), 1), nullptr);
    EXPECT_EQ(glError(), GLenum{GL_NO_ERROR});
}

TEST_F(ExtentCheckTest, bitmapsTooWideForATextureAreRefusedAtOnceInTheBackgroundToo) {
    const LogCapture log("gl");
    const auto bitmap = wideBitmap(largest() + 1);
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(MVImage::initWithCGImageScale(bitmap, 1), nullptr);
    Completion completion;
    EXPECT_EQ(MVImage::initWithCGImageScaleCompletionBlock(bitmap, 1, completion.block()), nullptr);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_FALSE(completion.success);
    EXPECT_THAT(log.lines(), SizeIs(2));
}

TEST_F(ExtentCheckTest, aMutableImageStaysAsItWas) {
    const LogCapture log("gl");
    const auto picture = Mivora::tests::testPicture(3, 2, false);
    const auto mutableImage =
        MVMutableImage::initWithCGImageScale(Mivora::tests::bitmapOf(picture), 1);
    const auto changes = ChangeLog::of(*mutableImage);
    for (const std::uint64_t extent : tooLarge()) {
        EXPECT_FALSE(
            mutableImage
                ->replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
                    nullptr, extent, 2, 1, 0, false, GL_RGBA));
    }
    const auto bitmap = wideBitmap(largest() + 1);
    EXPECT_FALSE(mutableImage->replaceWithCGImageScale(bitmap, 1));
    Completion completion;
    EXPECT_FALSE(
        mutableImage->replaceWithCGImageScaleCompletionBlock(bitmap, 1, completion.block()));
    EXPECT_EQ(completion.image, mutableImage);
    EXPECT_FALSE(completion.success);
    EXPECT_EQ(mutableImage->updateIndex(), 0U);
    EXPECT_EQ(mutableImage->size().width, 3);
    EXPECT_THAT(changes->seen, IsEmpty());
    expectTexture(*mutableImage, picture);
}

TEST_F(ExtentCheckTest, surfaceBuffersAndImagesToDrawIntoAreRefused) {
    const LogCapture log("gl");
    const auto most = static_cast<int>(largest());
    for (const Mivora::Size2I size :
         {Mivora::Size2I{most + 1, 1}, Mivora::Size2I{1, 1 << 26},
          Mivora::Size2I{std::numeric_limits<int>::max(), std::numeric_limits<int>::max()}}) {
        EXPECT_EQ(MVImageRenderSurfaceBuffer::initWithStorageSizeScale(size, 1), nullptr);
        EXPECT_EQ(MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
                      size, GL_RGBA8, 0),
                  nullptr);
        EXPECT_EQ(MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
                      size, GL_DEPTH_COMPONENT24, 0),
                  nullptr);
    }
    EXPECT_THAT(log.lines(), SizeIs(9));
    EXPECT_EQ(glError(), GLenum{GL_NO_ERROR});
}

TEST_F(ExtentCheckTest, aDrawableOfSuchASizePublishesNothing) {
    const LogCapture log("gl");
    Drawable drawable(4);
    const auto most = static_cast<int>(largest());
    for (const PixelSize size : {PixelSize{most + 1, 1}, PixelSize{1 << 26, 1 << 26}}) {
        drawable.setSize(size);
        onQueue([&] {
            EXPECT_NE(drawable.framebuffer(), 0U) << "of one pixel, which goes nowhere";
            drawable.flush();
        });
        EXPECT_EQ(drawable.latestFrame().texture, 0U);
    }
    EXPECT_THAT(log.lines(), SizeIs(2));
    drawable.setSize({4, 3});
    onQueue([&] {
        EXPECT_NE(drawable.framebuffer(), 0U);
        drawable.release();
    });
}

TEST_F(ExtentCheckTest, aBitmapContextIsRefused) {
    const LogCapture log("gl");
    std::array<std::uint8_t, 4> pixel{};
    for (const PixelSize size : {PixelSize{32768, 1}, PixelSize{1, 1 << 26}}) {
        EXPECT_FALSE(BitmapContext::create(pixel.data(), size, std::size_t{1} << 30,
                                           AlphaInfo::PremultipliedLast));
    }
    EXPECT_THAT(log.lines(), SizeIs(2));
    EXPECT_TRUE(BitmapContext::create(pixel.data(), {32767, 32767}, std::size_t{1} << 30,
                                      AlphaInfo::PremultipliedLast));
}

}  // namespace
