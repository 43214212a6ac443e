#include "MivoraMac/images/MVImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::Point2;
using Mivora::Rect2;
using Mivora::Size2;
using Mivora::tests::ChangeLog;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// Without an active render context: images have everything but a texture.

std::shared_ptr<MVImage> imageOf(std::uint64_t width, std::uint64_t height, float scale) {
    const std::vector<std::uint8_t> data(width * height * 4);
    return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        data.data(), width, height, scale, 1, true, GL_RGBA);
}

class RecordingImage : public MVImageFactory<RecordingImage, MVImage> {
 public:
    void drawInRect(Rect2 rect) override { rects.push_back(rect); }
    std::vector<Rect2> rects;
};

TEST(MVImageTest, anEmptyImageHasNoTextureAndNoSize) {
    const auto image = MVImage::init();
    EXPECT_EQ(image->size(), Size2::kZero);
    EXPECT_EQ(image->scale(), 1.0F);
    EXPECT_EQ(image->coordinateSystem(), 0);
    EXPECT_EQ(image->coordinateSpace(), (Rect2{{0, 0}, {1, 1}}));
    EXPECT_FALSE(image->premultipliedAlpha());
    EXPECT_EQ(image->mv_texture(), 0U);
}

TEST(MVImageTest, theSizeIsThatOfThePixelsDividedByTheScale) {
    EXPECT_EQ(imageOf(200, 100, 2)->size(), (Size2{100, 50}));
    EXPECT_EQ(imageOf(10, 7, 3)->size(), (Size2{10.0F / 3.0F, 7.0F / 3.0F}));
    EXPECT_TRUE(std::isinf(imageOf(10, 7, 0)->size().width));
}

TEST(MVImageTest, changingTheScaleAnnouncesTheSize) {
    const auto image = imageOf(200, 100, 2);
    const auto log = ChangeLog::of(*image);
    image->setScale(2);
    EXPECT_THAT(log->seen, IsEmpty());
    image->setScale(4);
    EXPECT_THAT(log->seen, ElementsAre("will size", "did size"));
    EXPECT_EQ(image->size(), (Size2{50, 25}));
}

TEST(MVImageTest, theSizeChangesBetweenTheAnnouncements) {
    class Reader : public Mivora::platform::PropertyObserver {
     public:
        void observeValueForKeyPathOfObjectChangeContext(std::string_view,
                                                         Mivora::platform::ObservableObject& object,
                                                         Mivora::platform::PropertyChange,
                                                         void*) override {
            widths.push_back(static_cast<MVImage&>(object).size().width);
        }
        std::vector<float> widths;
    };
    const auto image = imageOf(200, 100, 2);
    const auto reader = std::make_shared<Reader>();
    image->addObserver(reader, "size", Mivora::platform::ObservableObject::Notify::WillAndDid);
    image->setScale(1);
    EXPECT_THAT(reader->widths, ElementsAre(100, 200));
}

TEST(MVImageTest, drawingAtAPointDrawsTheSizeInPixels) {
    const std::vector<std::uint8_t> data(200 * 100 * 4);
    const auto image =
        RecordingImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            data.data(), 200, 100, 2, 0, false, GL_RGBA);
    image->drawAtPoint({3, 4});
    EXPECT_THAT(image->rects, ElementsAre(Rect2{{3, 4}, {200, 100}}));
}

TEST(MVImageTest, drawingAnImageItselfDoesNothing) {
    imageOf(2, 2, 1)->drawAtPoint({3, 4});
    imageOf(2, 2, 1)->drawInRect({{0, 0}, {1, 1}});
}

TEST(MVImageTest, withoutAnActiveContextThereIsNoTextureAndNoHarm) {
    ASSERT_EQ(MVRenderContext::activeContext(), nullptr);
    const auto image = imageOf(3, 2, 1);
    EXPECT_EQ(image->size(), (Size2{3, 2}));
    EXPECT_EQ(image->coordinateSystem(), 1);
    EXPECT_TRUE(image->premultipliedAlpha());
    EXPECT_EQ(image->mv_texture(), 0U);
    image->use();
}

TEST(MVImageTest, aCopyIsRefusedWithALine) {
    const LogCapture log("images");
    EXPECT_EQ(imageOf(1, 1, 1)->copy(), nullptr);
    EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST(MVImageTest, noBitmapYieldsNoImage) {
    EXPECT_EQ(MVImage::initWithCGImageScale(nullptr, 1), nullptr);
    EXPECT_EQ(MVImage::initWithCGImageScaleCoordinateSystem(nullptr, 1, 1), nullptr);
}

}  // namespace
