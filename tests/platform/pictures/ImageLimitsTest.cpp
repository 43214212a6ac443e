#include "MivoraMac/platform/pictures/ImageLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/ImageSource.h"
#include "tests/images/SmallFormats.h"
#include "tests/platform/pictures/ImageFiles.h"

// What files may ask for: each kind is refused for what its head claims.

namespace {

using Mivora::platform::ImageLimits;
using Mivora::platform::ImageSource;
using Mivora::platform::Picture;
using Mivora::tests::aniFile;
using Mivora::tests::appendBigEndian;
using Mivora::tests::appendLittleEndian;
using Mivora::tests::Bytes;
using Mivora::tests::encoded;
using Mivora::tests::gifFile;
using Mivora::tests::icnsFile;
using Mivora::tests::icoFile;
using Mivora::tests::iconBitmap;
using Mivora::tests::PNGFile;
using Mivora::tests::pnmFile;
using Mivora::tests::qtifFile;
using Mivora::tests::svgFile;
using Mivora::tests::testPicture;
using Mivora::tests::tgaFile;
using Mivora::tests::xbmFile;
using Mivora::tests::xpmFile;
using testing::HasSubstr;

ImageSource::Result load(const Bytes& bytes) {
    return ImageSource::firstImageOfBytes(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

void expectFailure(const Bytes& bytes, const char* reason) {
    const ImageSource::Result result = load(bytes);
    EXPECT_EQ(result.image, nullptr);
    EXPECT_THAT(result.failure, HasSubstr(reason));
}

class ImageLimitsTest : public testing::Test {
 protected:
    ~ImageLimitsTest() override { ImageSource::setLimits({}); }
};

Bytes tgaHead(std::uint32_t type, std::uint32_t width, std::uint32_t height) {
    Bytes bytes(2, '\0');
    bytes += static_cast<char>(type);
    bytes += Bytes(9, '\0');
    appendLittleEndian(bytes, width, 2);
    appendLittleEndian(bytes, height, 2);
    return bytes + Bytes{32, 0};
}

Bytes tiffEntry(std::uint32_t tag, std::uint32_t value) {
    Bytes bytes;
    appendLittleEndian(bytes, tag, 2);
    appendLittleEndian(bytes, 4, 2);
    appendLittleEndian(bytes, 1, 4);
    appendLittleEndian(bytes, value, 4);
    return bytes;
}

Bytes tiffFile(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& entries) {
    Bytes bytes("II*\0\x08\0\0\0", 8);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(entries.size()), 2);
    for (const auto& [tag, value] : entries) {
        bytes += tiffEntry(tag, value);
    }
    return bytes + Bytes(4, '\0');
}

TEST_F(ImageLimitsTest, aPictureOfMorePixelsThanTheLimitFailsUntilTheLimitIsRaised) {
    const Picture picture = testPicture(9, 5, false);
    const Bytes icon = icoFile({{iconBitmap(picture, true), picture.size}});
    const Bytes png = encoded(picture, "png", false);
    const Bytes files[] = {png,
                           encoded(picture, "jpeg", false),
                           encoded(picture, "bmp", false),
                           encoded(picture, "tiff", false),
                           gifFile(9, 5, {{1, 2, 3}}),
                           pnmFile(picture, 1),
                           pnmFile(picture, 3),
                           pnmFile(picture, 6),
                           tgaFile(picture, false, false, false),
                           tgaFile(picture, true, true, true),
                           xpmFile(picture),
                           xbmFile(picture),
                           icon,
                           aniFile({icon}),
                           icoFile({{png, picture.size}}),
                           icnsFile({{"ic07", png}}),
                           qtifFile(png),
                           svgFile(picture)};
    for (const Bytes& file : files) {
        SCOPED_TRACE(file.substr(0, 12));
        ImageLimits limits;
        limits.pixels = 44;
        ImageSource::setLimits(limits);
        expectFailure(file, "");
        limits.pixels = 45;
        ImageSource::setLimits(limits);
        EXPECT_NE(load(file).image, nullptr) << load(file).failure;
    }
}

TEST_F(ImageLimitsTest, theDefaultLimitsAreThoseDocumented) {
    const ImageLimits limits = ImageSource::limits();
    EXPECT_EQ(limits.pixels, 67'108'864U);
    EXPECT_EQ(limits.vectorPixels, 16'777'216U);
    EXPECT_EQ(limits.vectorBytes, 4'194'304U);
    EXPECT_EQ(limits.vectorElements, 50'000U);
    EXPECT_EQ(limits.vectorSeconds, 5);
}

TEST_F(ImageLimitsTest, whatClaimsMoreThanItsBytesHoldFails) {
    const Bytes p6 = "P6\n8000 8000\n255\nabc";
    expectFailure(p6, "too small for its picture of 8000 x 8000 pixels");
    expectFailure("P1\n8000 8000\n1 0", "too small");
    expectFailure("P2\n8000 8000\n255\n1 0", "too small");
    expectFailure("P4\n8000 8000\nabc", "too small");
    expectFailure("P5\n3 2\n255\n12345", "too small");
    expectFailure("P5\n3 2\n65535\n1234567890", "too small");
    expectFailure("P6\n4294967295 4294967295\n65535\n1", "head");
    expectFailure("P6\n99999999999999999999 1\n255\n1", "larger than 16384");
    expectFailure("P6\n9", "head");
    expectFailure(tgaHead(2, 8000, 8000) + "abcde", "too small");
    expectFailure(tgaHead(10, 8000, 8000) + "abcde", "too small");
    expectFailure(tgaHead(2, 16384, 16384) + "abcde", "larger than the limit");
    expectFailure("/* XPM */\nx={\n\"8000 8000 1 1\",\n\"a c red\",\n\"aaa\"};", "cut short");
    expectFailure("/* XPM */\nx={\n\"3 1 1000000000 1\",\n\"a c red\",\n\"aaa\"};", "cut short");
    expectFailure("/* XPM */\nx={\n\"3 1 1 1000\",\n\"a c red\",\n\"aaa\"};", "damaged");
    expectFailure("/* XPM */\nx={\n\"20000 1 1 1\",\n\"a c red\",\n\"" + Bytes(20000, 'a') + "\"};",
                  "larger than 16384");
    expectFailure(
        "#define a_width 8000\n#define a_height 8000\nstatic char a_bits[] = {0x01,0x02};",
        "cut short");
    expectFailure("#define a_width 90000\n#define a_height 90000\nstatic char a[] = {0x01};",
                  "too large");
    expectFailure("#define a_width x\n#define a_height 1\nstatic char a[] = {0x01};", "damaged");
}

TEST_F(ImageLimitsTest, aTileMayNotBeLargerThanAPicture) {
    const auto tiled = [](std::uint32_t extent) {
        return tiffFile({{256, 4},
                         {257, 4},
                         {258, 8},
                         {259, 1},
                         {262, 1},
                         {277, 1},
                         {322, extent},
                         {323, extent},
                         {324, 8},
                         {325, 64}});
    };
    expectFailure(tiled(65536), "tiles larger than the limit");
    EXPECT_THAT(load(tiled(16)).failure, testing::Not(HasSubstr("tiles")));
    expectFailure(tiffFile({{256, 4}, {257, 4}, {258, 64}, {277, 1000}, {262, 1}}), "head");
    expectFailure(tiffFile({{256, 4}, {262, 1}}), "head");
}

TEST_F(ImageLimitsTest, aJPEGOfVeryManyScansFails) {
    Bytes jpeg = encoded(testPicture(8, 8, false), "jpeg", false);
    const std::size_t scan = jpeg.find("\xFF\xDA");
    ASSERT_NE(scan, Bytes::npos);
    const Bytes empty("\xFF\xDA\0\2", 4);
    Bytes scans;
    for (int i = 0; i < 64; ++i) {
        scans += empty;
    }
    expectFailure(jpeg.insert(scan, scans), "head");
}

TEST_F(ImageLimitsTest, anIconIsAsLargeAsItsPicturesSayAndWhole) {
    const Picture picture = testPicture(9, 5, true);
    const Bytes whole = icoFile({{iconBitmap(picture, true), picture.size}});
    ASSERT_NE(load(whole).image, nullptr);
    Bytes wide = whole;
    wide.replace(6 + 16 + 4, 4, Bytes("\xFF\xFF\0\0", 4));
    expectFailure(wide, "cut short or damaged");
    Bytes elsewhere = whole;
    elsewhere.replace(6 + 12, 4, Bytes("\xFF\xFF\xFF\x7F", 4));
    expectFailure(elsewhere, "cut short");
    Bytes compressed = whole;
    compressed[6 + 16 + 16] = 3;
    expectFailure(compressed, "cut short or damaged");
    expectFailure(whole.substr(0, whole.size() - 30), "cut short");
    expectFailure(icoFile({{PNGFile(16384, 16384, 8, PNGFile::ColorAlpha).end(), {0, 0}}}),
                  "larger than the limit");
    expectFailure(icoFile({{"BM", {2, 2}}}), "cut short");
}

TEST_F(ImageLimitsTest, filesInFilesInFilesFail) {
    const Bytes png = encoded(testPicture(3, 3, true), "png", true);
    EXPECT_NE(load(qtifFile(qtifFile(png))).image, nullptr);
    Bytes deep = png;
    for (int i = 0; i < 4; ++i) {
        deep = qtifFile(deep);
    }
    expectFailure(deep, "wrapped");
    expectFailure(qtifFile(""), "");
    expectFailure("\xFF\xFF\xFF\xFFidat", "holds no picture");
    expectFailure(Bytes("\0\0\0\0idat", 8), "holds no picture");
}

TEST_F(ImageLimitsTest, otherIconsAreAsLongAsTheySay) {
    const Bytes png = encoded(testPicture(3, 3, true), "png", true);
    const Bytes whole = icnsFile({{"ic07", png}});
    ASSERT_NE(load(whole).image, nullptr);
    expectFailure(whole.substr(0, whole.size() - 1), "cut short");
    Bytes longer = whole;
    longer[8 + 6] = '\x7F';  // of the part's length
    expectFailure(longer, "cut short");
    expectFailure(icnsFile({}), "no picture");
    expectFailure(icnsFile({{"ic04", "ARGB"}}), "no picture");
    const Bytes frameless = aniFile({});
    expectFailure(frameless, "no picture");
    expectFailure(aniFile({"not an icon at all"}), "no icon");
}

}  // namespace
