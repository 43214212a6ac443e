#include "MivoraMac/platform/pictures/Picture.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/TemporaryFolder.h"

namespace {

using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::LogCapture;
using Mivora::tests::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// A picture whose every byte tells where it lies.
Picture pattern(int width, int height) {
    Picture picture{{width, height}, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (const int value : {x, y, 16 * x + y, 255 - y}) {
                picture.rgba.push_back(static_cast<std::uint8_t>(value));
            }
        }
    }
    return picture;
}

/// Reads an image file with straight alpha; empty where that fails.
Picture read(const std::string& path) {
    const std::unique_ptr<GdkPixbuf, decltype(&g_object_unref)> pixbuf(
        gdk_pixbuf_new_from_file(path.c_str(), nullptr), &g_object_unref);
    if (!pixbuf) {
        return {};
    }
    EXPECT_EQ(gdk_pixbuf_get_n_channels(pixbuf.get()), 4);
    Picture picture{{gdk_pixbuf_get_width(pixbuf.get()), gdk_pixbuf_get_height(pixbuf.get())}, {}};
    const std::uint8_t* const first = gdk_pixbuf_read_pixels(pixbuf.get());
    for (int y = 0; y < picture.size.height; ++y) {
        const std::uint8_t* const row =
            first + static_cast<std::ptrdiff_t>(y) * gdk_pixbuf_get_rowstride(pixbuf.get());
        picture.rgba.insert(picture.rgba.end(), row,
                            row + static_cast<std::ptrdiff_t>(picture.size.width) * 4);
    }
    return picture;
}

TEST(PictureTest, aNewPictureIsEmpty) {
    const Picture picture;
    EXPECT_TRUE(picture.isEmpty());
    EXPECT_EQ(picture.size, (PixelSize{0, 0}));
    EXPECT_FALSE(pattern(1, 1).isEmpty());
}

TEST(PictureTest, aPixelIsFoundFromTheTopLeft) {
    const Picture picture = pattern(3, 2);
    EXPECT_THAT(picture.pixel(0, 0), ElementsAre(0, 0, 0, 255));
    EXPECT_THAT(picture.pixel(2, 0), ElementsAre(2, 0, 32, 255));
    EXPECT_THAT(picture.pixel(0, 1), ElementsAre(0, 1, 1, 254));
    EXPECT_THAT(picture.pixel(2, 1), ElementsAre(2, 1, 33, 254));
}

TEST(PictureTest, aPixelOutsideThePictureIsAllZero) {
    const Picture picture = pattern(3, 2);
    for (const auto& [x, y] : {std::pair(-1, 0), std::pair(0, -1), std::pair(3, 0), std::pair(0, 2),
                               std::pair(1000000, 1000000)}) {
        EXPECT_THAT(picture.pixel(x, y), ElementsAre(0, 0, 0, 0)) << x << ", " << y;
    }
    EXPECT_THAT(Picture().pixel(0, 0), ElementsAre(0, 0, 0, 0));
}

TEST(PictureTest, aWrittenFileReadsBackAsThePictureItWas) {
    const TemporaryFolder folder;
    // Widths that a row alignment of four bytes or more would show.
    for (const PixelSize size : {PixelSize{1, 1}, PixelSize{5, 3}, PixelSize{16, 16}}) {
        const Picture picture = pattern(size.width, size.height);
        const std::string path = (folder.path() / "picture.png").string();
        EXPECT_TRUE(picture.writePNG(path));
        const Picture found = read(path);
        EXPECT_EQ(found.size, size);
        EXPECT_EQ(found.rgba, picture.rgba);
    }
}

TEST(PictureTest, transparentPixelsKeepTheirColour) {
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "picture.png").string();
    const Picture picture{{2, 1}, {10, 20, 30, 0, 40, 50, 60, 128}};
    EXPECT_TRUE(picture.writePNG(path));
    EXPECT_EQ(read(path).rgba, picture.rgba);
}

TEST(PictureTest, aFileThatIsThereIsReplaced) {
    const TemporaryFolder folder;
    const std::string path = folder.write("picture.png", std::string(10000, 'x'));
    EXPECT_TRUE(pattern(2, 2).writePNG(path));
    EXPECT_EQ(read(path).size, (PixelSize{2, 2}));
}

TEST(PictureTest, aNameWithOtherLettersIsWritten) {
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "Bild äöü 1.png").string();
    EXPECT_TRUE(pattern(2, 2).writePNG(path));
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(PictureTest, aPathThatCannotBeWrittenIsRefusedAndNamedInTheLog) {
    const TemporaryFolder folder;
    const std::string missing = (folder.path() / "no" / "such" / "folder.png").string();
    const LogCapture log("images");
    EXPECT_FALSE(pattern(2, 2).writePNG(missing));
    EXPECT_FALSE(pattern(2, 2).writePNG(folder.path().string())) << "a folder";
    EXPECT_FALSE(pattern(2, 2).writePNG(""));
    ASSERT_THAT(log.lines(), SizeIs(3));
    EXPECT_EQ(log.lines()[0].first, LogCapture::Category::Images);
    EXPECT_THAT(log.lines()[0].second, HasSubstr(missing));
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(PictureTest, anEmptyPictureIsNotWritten) {
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "picture.png").string();
    const LogCapture log("images");
    EXPECT_FALSE(Picture().writePNG(path));
    EXPECT_FALSE(std::filesystem::exists(path));
    ASSERT_THAT(log.lines(), SizeIs(1));
    EXPECT_THAT(log.lines()[0].second, HasSubstr("empty"));
}

TEST(PictureTest, aRefusalIsSilentWithoutTheLog) {
    const LogCapture log("frame");
    EXPECT_FALSE(Picture().writePNG("picture.png"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
