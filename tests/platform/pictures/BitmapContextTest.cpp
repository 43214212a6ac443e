#include "MivoraMac/platform/pictures/BitmapContext.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using Mivora::platform::AlphaInfo;
using Mivora::platform::BitmapContext;
using Mivora::platform::BitmapImage;
using Mivora::platform::ByteOrder;
using Mivora::platform::PixelSize;
using testing::Each;

using Bytes = std::vector<std::uint8_t>;
using Color = std::array<std::uint8_t, 4>;

std::shared_ptr<const BitmapImage> imageOf(const Bytes& bytes, PixelSize size, AlphaInfo info,
                                           ByteOrder order, std::size_t bytesPerRow) {
    // Memory of exactly that size, so that sanitizers see a byte too many.
    auto* const copy = new std::uint8_t[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), copy);
    return BitmapImage::create(size, info, bytesPerRow,
                               {copy, [](const std::uint8_t* it) { delete[] it; }}, order);
}

/// Draws an image into memory of its own size.
Bytes drawn(const BitmapImage& image, AlphaInfo destination) {
    Bytes bytes(static_cast<std::size_t>(image.size().width * image.size().height) * 4, 99);
    auto context = BitmapContext::create(
        bytes.data(), image.size(), static_cast<std::size_t>(image.size().width) * 4, destination);
    context->drawImage(image);
    return bytes;
}

Color color(int index) {
    return {static_cast<std::uint8_t>(73 * index + 11), static_cast<std::uint8_t>(41 * index + 200),
            static_cast<std::uint8_t>(19 * index + 3), static_cast<std::uint8_t>(67 * index + 30)};
}

struct Layout {
    const char* name;
    AlphaInfo info;
    ByteOrder order;
    std::vector<int> components;  ///< what each byte of a pixel is: 0 red to 2 blue, 3 alpha
    bool isStraight;
};

class BitmapContextLayoutTest : public testing::TestWithParam<Layout> {};

TEST_P(BitmapContextLayoutTest, pixelsAreReorderedAndPremultiplied) {
    const Layout& layout = GetParam();
    const std::size_t pixelBytes = layout.components.size();
    for (int width = 1; width <= 37; ++width) {
        constexpr int kHeight = 3;
        // Rows with something between them; nothing after the last one.
        const std::size_t bytesPerRow = static_cast<std::size_t>(width) * pixelBytes + 5;
        Bytes source(bytesPerRow * kHeight - 5, 77);
        Bytes expected;
        Bytes expectedOpaque;
        for (int y = 0; y < kHeight; ++y) {
            for (int x = 0; x < width; ++x) {
                const Color pixel = color(y * width + x);
                for (std::size_t i = 0; i < pixelBytes; ++i) {
                    source[static_cast<std::size_t>(y) * bytesPerRow +
                           static_cast<std::size_t>(x) * pixelBytes + i] =
                        pixel[static_cast<std::size_t>(layout.components[i])];
                }
                const int alpha = layout.isStraight ? pixel[3] : 255;
                for (std::size_t i = 0; i < 3; ++i) {
                    expected.push_back(
                        static_cast<std::uint8_t>((pixel[i] * alpha * 2 + 255) / 510));
                    expectedOpaque.push_back(expected.back());
                }
                expected.push_back(hasAlpha(layout.info) ? pixel[3] : 255);
                expectedOpaque.push_back(255);
            }
        }
        const auto image =
            imageOf(source, {width, kHeight}, layout.info, layout.order, bytesPerRow);
        ASSERT_NE(image, nullptr);
        ASSERT_EQ(drawn(*image, AlphaInfo::PremultipliedLast), expected) << width;
        ASSERT_EQ(drawn(*image, AlphaInfo::NoneSkipLast), expectedOpaque) << width;
    }
}

constexpr ByteOrder kForward = ByteOrder::Forward;
constexpr ByteOrder kReversed = ByteOrder::Reversed;

INSTANTIATE_TEST_SUITE_P(
    AllLayouts, BitmapContextLayoutTest,
    testing::Values(
        Layout{"None", AlphaInfo::None, kForward, {0, 1, 2}, false},
        Layout{"NoneReversed", AlphaInfo::None, kReversed, {2, 1, 0}, false},
        Layout{"PremultipliedLast", AlphaInfo::PremultipliedLast, kForward, {0, 1, 2, 3}, false},
        Layout{"PremultipliedLastReversed",
               AlphaInfo::PremultipliedLast,
               kReversed,
               {3, 2, 1, 0},
               false},
        Layout{"PremultipliedFirst", AlphaInfo::PremultipliedFirst, kForward, {3, 0, 1, 2}, false},
        Layout{"PremultipliedFirstReversed",
               AlphaInfo::PremultipliedFirst,
               kReversed,
               {2, 1, 0, 3},
               false},
        Layout{"Last", AlphaInfo::Last, kForward, {0, 1, 2, 3}, true},
        Layout{"LastReversed", AlphaInfo::Last, kReversed, {3, 2, 1, 0}, true},
        Layout{"First", AlphaInfo::First, kForward, {3, 0, 1, 2}, true},
        Layout{"FirstReversed", AlphaInfo::First, kReversed, {2, 1, 0, 3}, true},
        Layout{"NoneSkipLast", AlphaInfo::NoneSkipLast, kForward, {0, 1, 2, 3}, false},
        Layout{"NoneSkipLastReversed", AlphaInfo::NoneSkipLast, kReversed, {3, 2, 1, 0}, false},
        Layout{"NoneSkipFirst", AlphaInfo::NoneSkipFirst, kForward, {3, 0, 1, 2}, false},
        Layout{"NoneSkipFirstReversed", AlphaInfo::NoneSkipFirst, kReversed, {2, 1, 0, 3}, false}),
    [](const testing::TestParamInfo<Layout>& test) { return std::string(test.param.name); });

TEST(BitmapContextTest, premultiplyingRoundsEveryProductToTheNearest) {
    Bytes source;
    for (int alpha = 0; alpha < 256; ++alpha) {
        for (int value = 0; value < 256; ++value) {
            source.push_back(static_cast<std::uint8_t>(value));
            source.push_back(static_cast<std::uint8_t>(255 - value));
            source.push_back(static_cast<std::uint8_t>(value ^ 0x55));
            source.push_back(static_cast<std::uint8_t>(alpha));
        }
    }
    const auto image = imageOf(source, {256, 256}, AlphaInfo::Last, kForward, 1024);
    const Bytes result = drawn(*image, AlphaInfo::PremultipliedLast);
    for (std::size_t i = 0; i < source.size(); ++i) {
        const int alpha = source[i | 3];
        const int expected = i % 4 == 3 ? alpha : static_cast<int>(source[i] * alpha / 255.0 + 0.5);
        ASSERT_EQ(result[i], expected) << int{source[i]} << " times " << alpha;
    }
}

TEST(BitmapContextTest, theBottomRowCanComeFirst) {
    const Bytes source = {1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255};
    const auto image = imageOf(source, {1, 3}, AlphaInfo::Last, kForward, 4);
    Bytes bytes(12);
    auto context = BitmapContext::create(bytes.data(), {1, 3}, 4, AlphaInfo::PremultipliedLast);
    ASSERT_TRUE(context);
    EXPECT_EQ(context->orientation(), BitmapContext::Orientation::TopRowFirst);
    context->setOrientation(BitmapContext::Orientation::BottomRowFirst);
    context->drawImage(*image);
    EXPECT_EQ(bytes, (Bytes{3, 3, 3, 255, 2, 2, 2, 255, 1, 1, 1, 255}));
}

TEST(BitmapContextTest, whatWasThereIsReplacedAndNotBlended) {
    const auto image = imageOf({200, 100, 50, 0}, {1, 1}, AlphaInfo::Last, kForward, 4);
    EXPECT_THAT(drawn(*image, AlphaInfo::PremultipliedLast), Each(0));
}

TEST(BitmapContextTest, anImageOfAnotherSizeIsCutOffOrLeavesTheRest) {
    const Bytes source = {1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255, 4, 4, 4, 255};
    const auto image = imageOf(source, {2, 2}, AlphaInfo::Last, kForward, 8);

    Bytes narrow(12, 9);
    BitmapContext::create(narrow.data(), {1, 3}, 4, AlphaInfo::PremultipliedLast)
        ->drawImage(*image);
    EXPECT_EQ(narrow, (Bytes{1, 1, 1, 255, 3, 3, 3, 255, 9, 9, 9, 9}));

    Bytes flipped(12, 9);
    auto context = BitmapContext::create(flipped.data(), {1, 3}, 4, AlphaInfo::PremultipliedLast);
    context->setOrientation(BitmapContext::Orientation::BottomRowFirst);
    context->drawImage(*image);
    EXPECT_EQ(flipped, (Bytes{9, 9, 9, 9, 3, 3, 3, 255, 1, 1, 1, 255}));
}

TEST(BitmapContextTest, anImageCanBePremultipliedWhereItIs) {
    Bytes bytes;
    for (int i = 0; i < 21; ++i) {
        const Color pixel = color(i);
        bytes.insert(bytes.end(), pixel.begin(), pixel.end());
    }
    const Bytes expected =
        drawn(*imageOf(bytes, {7, 3}, AlphaInfo::Last, kForward, 28), AlphaInfo::PremultipliedLast);
    const auto image = BitmapImage::create(
        {7, 3}, AlphaInfo::Last, 28,
        std::shared_ptr<const std::uint8_t>(std::shared_ptr<void>(), bytes.data()));
    BitmapContext::create(bytes.data(), {7, 3}, 28, AlphaInfo::PremultipliedLast)
        ->drawImage(*image);
    EXPECT_EQ(bytes, expected);
}

TEST(BitmapContextTest, theBytesBetweenRowsAreLeftAlone) {
    const auto image = imageOf({1, 1, 1, 2, 2, 2}, {1, 2}, AlphaInfo::None, kForward, 3);
    Bytes bytes(12, 9);
    BitmapContext::create(bytes.data(), {1, 2}, 6, AlphaInfo::NoneSkipLast)->drawImage(*image);
    EXPECT_EQ(bytes, (Bytes{1, 1, 1, 255, 9, 9, 2, 2, 2, 255, 9, 9}));
}

TEST(BitmapContextTest, onlyTwoKindsOfAlphaCanBeDrawnInto) {
    Bytes bytes(4);
    for (std::uint32_t info = 0; info <= 6; ++info) {
        const auto kind = static_cast<AlphaInfo>(info);
        const bool isSupported =
            kind == AlphaInfo::PremultipliedLast || kind == AlphaInfo::NoneSkipLast;
        EXPECT_EQ(BitmapContext::create(bytes.data(), {1, 1}, 4, kind).has_value(), isSupported);
    }
}

TEST(BitmapContextTest, whatIsNoMemoryForPixelsIsRefused) {
    Bytes bytes(4);
    const auto create = [](std::uint8_t* data, PixelSize size, std::size_t bytesPerRow) {
        return BitmapContext::create(data, size, bytesPerRow, AlphaInfo::NoneSkipLast).has_value();
    };
    EXPECT_TRUE(create(bytes.data(), {1, 1}, 4));
    EXPECT_FALSE(create(nullptr, {1, 1}, 4));
    EXPECT_FALSE(create(bytes.data(), {0, 1}, 4));
    EXPECT_FALSE(create(bytes.data(), {1, 0}, 4));
    EXPECT_FALSE(create(bytes.data(), {1, -1}, 4));
    EXPECT_FALSE(create(bytes.data(), {1, 1}, 3));
}

}  // namespace
