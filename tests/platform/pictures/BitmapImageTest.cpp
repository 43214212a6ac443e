#include "MivoraMac/platform/pictures/BitmapImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "tests/platform/pictures/ImageFiles.h"

namespace {

using Mivora::platform::AlphaInfo;
using Mivora::platform::BitmapImage;
using Mivora::platform::ByteOrder;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;

std::shared_ptr<const std::uint8_t> memory(std::size_t size) {
    return {new std::uint8_t[size](), [](const std::uint8_t* bytes) { delete[] bytes; }};
}

TEST(BitmapImageTest, anImageKnowsItsSizeAndFormat) {
    const auto pixels = memory(60);
    const auto image =
        BitmapImage::create({3, 5}, AlphaInfo::First, 12, pixels, ByteOrder::Reversed);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (PixelSize{3, 5}));
    EXPECT_EQ(image->alphaInfo(), AlphaInfo::First);
    EXPECT_EQ(image->byteOrder(), ByteOrder::Reversed);
    EXPECT_EQ(image->bytesPerPixel(), 4U);
    EXPECT_EQ(image->row(0), pixels.get());
    EXPECT_EQ(image->row(4), pixels.get() + 48);
}

TEST(BitmapImageTest, onlyImagesWithoutAnAlphaByteHaveThreeBytesAPixel) {
    EXPECT_EQ(BitmapImage::create({1, 1}, AlphaInfo::None, 3, memory(3))->bytesPerPixel(), 3U);
    EXPECT_EQ(BitmapImage::create({1, 1}, AlphaInfo::NoneSkipLast, 4, memory(4))->bytesPerPixel(),
              4U);
}

TEST(BitmapImageTest, thePixelsAreHeldAsLongAsTheImage) {
    auto pixels = memory(4);
    const std::weak_ptr<const std::uint8_t> weak = pixels;
    auto image = BitmapImage::create({1, 1}, AlphaInfo::Last, 4, std::move(pixels));
    EXPECT_FALSE(weak.expired());
    image.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(BitmapImageTest, whatIsNoImageIsRefused) {
    EXPECT_EQ(BitmapImage::create({0, 5}, AlphaInfo::Last, 12, memory(60)), nullptr);
    EXPECT_EQ(BitmapImage::create({3, 0}, AlphaInfo::Last, 12, memory(60)), nullptr);
    EXPECT_EQ(BitmapImage::create({-3, 5}, AlphaInfo::Last, 12, memory(60)), nullptr);
    EXPECT_EQ(BitmapImage::create({3, 5}, AlphaInfo::Last, 12, nullptr), nullptr);
    EXPECT_EQ(BitmapImage::create({3, 5}, AlphaInfo::Last, 11, memory(60)), nullptr);
    EXPECT_EQ(BitmapImage::create({3, 5}, AlphaInfo::None, 8, memory(60)), nullptr);
    EXPECT_NE(BitmapImage::create({3, 5}, AlphaInfo::None, 9, memory(60)), nullptr);
}

TEST(BitmapImageTest, fourKindsOfAlphaInfoStandForAlpha) {
    EXPECT_FALSE(hasAlpha(AlphaInfo::None));
    EXPECT_TRUE(hasAlpha(AlphaInfo::PremultipliedLast));
    EXPECT_TRUE(hasAlpha(AlphaInfo::PremultipliedFirst));
    EXPECT_TRUE(hasAlpha(AlphaInfo::Last));
    EXPECT_TRUE(hasAlpha(AlphaInfo::First));
    EXPECT_FALSE(hasAlpha(AlphaInfo::NoneSkipLast));
    EXPECT_FALSE(hasAlpha(AlphaInfo::NoneSkipFirst));
}

TEST(BitmapImageTest, aPictureBecomesAnImageOfStraightAlpha) {
    const Picture picture = Mivora::tests::testPicture(3, 2, true);
    const auto image = BitmapImage::createWithPicture(picture);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->alphaInfo(), AlphaInfo::Last);
    EXPECT_EQ(Mivora::tests::pictureOf(*image).rgba, picture.rgba);
}

TEST(BitmapImageTest, aPictureWithTooFewPixelsIsRefused) {
    EXPECT_EQ(BitmapImage::createWithPicture({}), nullptr);
    EXPECT_EQ(BitmapImage::createWithPicture({{2, 2}, std::vector<std::uint8_t>(15)}), nullptr);
    EXPECT_EQ(BitmapImage::createWithPicture({{-1, -1}, std::vector<std::uint8_t>(15)}), nullptr);
    EXPECT_NE(BitmapImage::createWithPicture({{2, 2}, std::vector<std::uint8_t>(16)}), nullptr);
}

}  // namespace
