#include "MivoraMac/platform/pictures/PixelBuffer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <thread>

namespace {

using Mivora::platform::PixelBuffer;
using Mivora::platform::pixelFormatType;

TEST(PixelBufferTest, formatTypesAreFourCharacters) {
    EXPECT_EQ(PixelBuffer::kBGRA, 0x42475241U);
    EXPECT_EQ(PixelBuffer::kRGBA, 0x52474241U);
    EXPECT_EQ(pixelFormatType("2vuy"), 0x32767579U);
}

TEST(PixelBufferTest, aNewBufferHoldsZeros) {
    const auto buffer = PixelBuffer::create(3, 2, PixelBuffer::kBGRA);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(buffer->width(), 3U);
    EXPECT_EQ(buffer->height(), 2U);
    EXPECT_EQ(buffer->pixelFormatType(), PixelBuffer::kBGRA);
    buffer->lockBaseAddress();
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(buffer->baseAddress()[i], 0);
    }
    buffer->unlockBaseAddress();
}

TEST(PixelBufferTest, thePixelsAreAccessibleOnlyWhileLocked) {
    const auto buffer = PixelBuffer::create(1, 1, PixelBuffer::kRGBA);
    EXPECT_EQ(buffer->baseAddress(), nullptr);
    buffer->lockBaseAddress();
    buffer->lockBaseAddress();
    EXPECT_NE(buffer->baseAddress(), nullptr);
    buffer->unlockBaseAddress();
    EXPECT_NE(buffer->baseAddress(), nullptr);
    buffer->unlockBaseAddress();
    EXPECT_EQ(buffer->baseAddress(), nullptr);
}

TEST(PixelBufferTest, unlockingWithoutALockIsIgnored) {
    const auto buffer = PixelBuffer::create(1, 1, PixelBuffer::kRGBA);
    buffer->unlockBaseAddress();
    buffer->lockBaseAddress();
    std::thread([&] {
        buffer->unlockBaseAddress();
        EXPECT_EQ(buffer->baseAddress(), nullptr);
    }).join();
    EXPECT_NE(buffer->baseAddress(), nullptr);
    buffer->unlockBaseAddress();
}

TEST(PixelBufferTest, anotherThreadWaitsForTheLock) {
    const auto buffer = PixelBuffer::create(64, 64, PixelBuffer::kRGBA);
    std::atomic<int> mixed = 0;
    const auto fill = [&](std::uint8_t value) {
        for (int i = 0; i < 200; ++i) {
            buffer->lockBaseAddress();
            std::uint8_t* const pixels = buffer->baseAddress();
            std::fill_n(pixels, 64 * 64 * 4, value);
            mixed += pixels[0] != value || pixels[64 * 64 * 4 - 1] != value;
            buffer->unlockBaseAddress();
        }
    };
    std::thread producer([&] { fill(1); });
    fill(2);
    producer.join();
    EXPECT_EQ(mixed, 0);
}

TEST(PixelBufferTest, aBufferWithoutPixelsHasNoAddress) {
    const auto buffer = PixelBuffer::create(0, 5, PixelBuffer::kRGBA);
    ASSERT_NE(buffer, nullptr);
    buffer->lockBaseAddress();
    EXPECT_EQ(buffer->baseAddress(), nullptr);
    buffer->unlockBaseAddress();
}

TEST(PixelBufferTest, anAbsurdSizeIsRefused) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(PixelBuffer::create(kMost, kMost, PixelBuffer::kRGBA), nullptr);
    EXPECT_EQ(PixelBuffer::create(kMost / 4, 2, PixelBuffer::kRGBA), nullptr);
}

}  // namespace
