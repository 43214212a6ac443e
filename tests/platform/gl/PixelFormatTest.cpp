#include "MivoraMac/platform/gl/PixelFormat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::DebugLog;
using Mivora::platform::PixelFormat;
using Mivora::tests::LogCapture;

namespace {

using List = std::vector<std::uint32_t>;

/// What the library itself asks for.
const List kUsual = {PixelFormat::DoubleBuffer,
                     PixelFormat::OpenGLProfile,
                     PixelFormat::ProfileVersion3_2Core,
                     PixelFormat::DepthSize,
                     24,
                     PixelFormat::StencilSize,
                     8,
                     PixelFormat::Multisample,
                     PixelFormat::SampleBuffers,
                     1,
                     PixelFormat::Samples,
                     4,
                     PixelFormat::End};

}  // namespace

TEST(PixelFormatTest, aListIsUnderstood) {
    const LogCapture log("all");
    const auto format = PixelFormat::initWithAttributes(kUsual);
    ASSERT_NE(format, nullptr);
    EXPECT_TRUE(format->doubleBuffer());
    EXPECT_EQ(format->depthSize(), 24);
    EXPECT_EQ(format->stencilSize(), 8);
    EXPECT_EQ(format->samples(), 4);
    EXPECT_EQ(format->attributes(), kUsual);
    EXPECT_TRUE(log.lines().empty());
}

TEST(PixelFormatTest, whatTheListLeavesOutIsOff) {
    const auto format = PixelFormat::initWithAttributes(List{PixelFormat::End});
    ASSERT_NE(format, nullptr);
    EXPECT_FALSE(format->doubleBuffer());
    EXPECT_EQ(format->depthSize(), 0);
    EXPECT_EQ(format->stencilSize(), 0);
    EXPECT_EQ(format->samples(), 0);
    EXPECT_EQ(format->attributes(), List{PixelFormat::End});
}

TEST(PixelFormatTest, theNumbersOfTheWordsAreFixed) {
    EXPECT_EQ(kUsual, (List{5, 99, 0x3200, 12, 24, 13, 8, 59, 55, 1, 56, 4, 0}));
}

TEST(PixelFormatTest, theOrderOfTheWordsDoesNotMatterAndTheLastValueCounts) {
    const auto format = PixelFormat::initWithAttributes(
        List{PixelFormat::Samples, 2, PixelFormat::SampleBuffers, 1, PixelFormat::DepthSize, 16,
             PixelFormat::Multisample, PixelFormat::DepthSize, 32, PixelFormat::End});
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->samples(), 2);
    EXPECT_EQ(format->depthSize(), 32);
}

TEST(PixelFormatTest, samplesCountOnlyWithMultisamplingAndABufferForThem) {
    struct Row {
        const char* name;
        List list;
        int samples;
    };
    using Format = PixelFormat;
    const std::vector<Row> rows = {
        {"no multisampling", {Format::SampleBuffers, 1, Format::Samples, 4, Format::End}, 0},
        {"no buffers", {Format::Multisample, Format::Samples, 4, Format::End}, 0},
        {"zero buffers",
         {Format::Multisample, Format::SampleBuffers, 0, Format::Samples, 4, Format::End},
         0},
        {"no samples", {Format::Multisample, Format::SampleBuffers, 1, Format::End}, 0},
        {"eight samples",
         {Format::Multisample, Format::SampleBuffers, 1, Format::Samples, 8, Format::End},
         8},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto format = PixelFormat::initWithAttributes(row.list);
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(format->samples(), row.samples);
    }
}

TEST(PixelFormatTest, aBadListYieldsNullAndTheReasonIsLogged) {
    struct Row {
        const char* name;
        List list;
        const char* reason;
    };
    using Format = PixelFormat;
    const std::vector<Row> rows = {
        {"empty", {}, "no end"},
        {"no end", {Format::DoubleBuffer, Format::DepthSize, 24}, "no end"},
        {"the end is taken as a value",
         {Format::DoubleBuffer, Format::DepthSize, Format::End},
         "no end"},
        {"no depth", {Format::DepthSize}, "no end"},
        {"no stencil", {Format::StencilSize}, "no end"},
        {"no sample buffers", {Format::SampleBuffers}, "no end"},
        {"no samples", {Format::Multisample, Format::Samples}, "no end"},
        {"no profile", {Format::OpenGLProfile}, "profile"},
        {"no profile before the end", {Format::OpenGLProfile, Format::End}, "profile"},
        {"another profile", {Format::OpenGLProfile, 0x4100, Format::End}, "profile"},
        {"the legacy profile", {Format::OpenGLProfile, 0x1000, Format::End}, "profile"},
        {"an unknown word", {Format::DoubleBuffer, 73, Format::End}, "unknown attribute 73"},
        {"a value too many", {Format::DepthSize, 24, 8, Format::End}, "unknown attribute 8"},
        {"the largest word", {0xFFFFFFFFU, Format::End}, "unknown attribute 4294967295"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const LogCapture log("gl");
        EXPECT_EQ(PixelFormat::initWithAttributes(row.list), nullptr);
        const auto lines = log.lines();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].first, DebugLog::Category::GL);
        EXPECT_NE(lines[0].second.find(row.reason), std::string::npos) << lines[0].second;
    }
}

TEST(PixelFormatTest, whatFollowsTheEndIsNotLookedAt) {
    const auto format =
        PixelFormat::initWithAttributes(List{PixelFormat::DepthSize, 24, PixelFormat::End, 73, 74});
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->depthSize(), 24);
}
