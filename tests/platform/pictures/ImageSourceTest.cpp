#include "MivoraMac/platform/pictures/ImageSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/pictures/ImageFileCheckPrivate.h"
#include "tests/platform/base/TemporaryFolder.h"
#include "tests/platform/pictures/ImageFiles.h"

namespace {

using Mivora::platform::AlphaInfo;
using Mivora::platform::ImageSource;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::appendLittleEndian;
using Mivora::tests::Bytes;
using Mivora::tests::encoded;
using Mivora::tests::gifFile;
using Mivora::tests::pictureOf;
using Mivora::tests::PNGFile;
using Mivora::tests::premultiplied;
using Mivora::tests::TemporaryFolder;
using Mivora::tests::testPicture;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ImageSourceTest : public testing::Test {
 protected:
    ImageSource::Result load(const Bytes& contents, const std::string& name = "image") const {
        return ImageSource::firstImageOfFile(folder_.write(name, contents));
    }

    /// Expects an image of these pixels, which have straight alpha, and whose alpha info tells
    /// whether there is any.
    void expectImage(const Bytes& contents, const Picture& expected, bool isWithAlpha) const {
        const ImageSource::Result result = load(contents);
        ASSERT_NE(result.image, nullptr) << result.failure;
        EXPECT_THAT(result.failure, IsEmpty());
        EXPECT_EQ(result.image->size(), expected.size);
        EXPECT_EQ(hasAlpha(result.image->alphaInfo()), isWithAlpha);
        EXPECT_NE(result.image->alphaInfo(), AlphaInfo::Last);
        EXPECT_EQ(pictureOf(*result.image).rgba, premultiplied(expected).rgba);
    }
    void expectOpaque(const Bytes& contents, const Picture& expected) const {
        expectImage(contents, expected, false);
    }
    void expectAlpha(const Bytes& contents, const Picture& expected) const {
        expectImage(contents, expected, true);
    }

    void expectFailure(const ImageSource::Result& result, const char* reason = "") const {
        EXPECT_EQ(result.image, nullptr);
        EXPECT_THAT(result.failure, Not(IsEmpty()));
        EXPECT_THAT(result.failure, HasSubstr(reason));
    }

    TemporaryFolder folder_;
};

// Formats

TEST_F(ImageSourceTest, losslessFormatsYieldTheirPixels) {
    for (const int width : {1, 7, 64, 257}) {
        const int height = width == 257 ? 3 : width;
        const Picture opaque = testPicture(width, height, false);
        const Picture withAlpha = testPicture(width, height, true);
        expectOpaque(encoded(opaque, "png", false), opaque);
        expectAlpha(encoded(withAlpha, "png", true), withAlpha);
        expectOpaque(encoded(opaque, "bmp", false), opaque);
        // A single pixel of this picture is opaque, and so the TIFF file has no alpha.
        expectImage(encoded(withAlpha, "tiff", true), withAlpha, width > 1);
    }
}

TEST_F(ImageSourceTest, jpegYieldsAboutItsPixels) {
    Picture picture{{35, 21}, {}};
    for (int i = 0; i < 35 * 21; ++i) {
        picture.rgba.insert(picture.rgba.end(), {200, 100, 50, 255});
    }
    const ImageSource::Result result = load(encoded(picture, "jpeg", false));
    ASSERT_NE(result.image, nullptr) << result.failure;
    EXPECT_EQ(result.image->size(), (PixelSize{35, 21}));
    EXPECT_EQ(result.image->alphaInfo(), AlphaInfo::None);
    const auto pixel = pictureOf(*result.image).pixel(34, 20);
    EXPECT_NEAR(pixel[0], 200, 3);
    EXPECT_NEAR(pixel[1], 100, 3);
    EXPECT_NEAR(pixel[2], 50, 3);
}

TEST_F(ImageSourceTest, aGIFYieldsItsFirstFrame) {
    for (const std::uint32_t width : {1U, 21U, 300U}) {
        const ImageSource::Result result =
            load(gifFile(width, 5, {{10, 200, 30}, {255, 0, 0}, {0, 0, 255}}));
        ASSERT_NE(result.image, nullptr) << result.failure;
        EXPECT_EQ(result.image->size(), (PixelSize{static_cast<int>(width), 5}));
        const auto pixel = pictureOf(*result.image).pixel(static_cast<int>(width) - 1, 4);
        EXPECT_EQ(pixel, (std::array<std::uint8_t, 4>{10, 200, 30, 255}));
    }
}

TEST_F(ImageSourceTest, greyPNGsBecomeColours) {
    expectOpaque(PNGFile(2, 1, 8, PNGFile::Grey).pixels({0, 10, '\xC8'}).end(),
                 {{2, 1}, {10, 10, 10, 255, 200, 200, 200, 255}});
    expectOpaque(PNGFile(4, 1, 1, PNGFile::Grey).pixels({0, '\xA0'}).end(),
                 {{4, 1}, {255, 255, 255, 255, 0, 0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 255}});
    expectAlpha(PNGFile(2, 1, 8, PNGFile::GreyAlpha).pixels({0, 10, 20, 30, 0}).end(),
                {{2, 1}, {10, 10, 10, 20, 30, 30, 30, 0}});
}

TEST_F(ImageSourceTest, palettePNGsBecomeColours) {
    const Bytes palette = {1, 2, 3, 40, 50, 60, 70, 80, 90};
    expectOpaque(
        PNGFile(3, 1, 8, PNGFile::Palette).chunk("PLTE", palette).pixels({0, 2, 0, 1}).end(),
        {{3, 1}, {70, 80, 90, 255, 1, 2, 3, 255, 40, 50, 60, 255}});
    expectAlpha(PNGFile(3, 1, 8, PNGFile::Palette)
                    .chunk("PLTE", palette)
                    .chunk("tRNS", {0, 100})
                    .pixels({0, 2, 0, 1})
                    .end(),
                {{3, 1}, {70, 80, 90, 255, 1, 2, 3, 0, 40, 50, 60, 100}});
}

TEST_F(ImageSourceTest, pngsOf16BitsKeepTheUpperEight) {
    expectOpaque(PNGFile(1, 2, 16, PNGFile::Color)
                     .pixels({0, 10, 99, 20, 0, 30, 1, 0, 40, 0, 50, 0, '\xFF', '\xFF'})
                     .end(),
                 {{1, 2}, {10, 20, 30, 255, 40, 50, 255, 255}});
    expectAlpha(
        PNGFile(1, 1, 16, PNGFile::ColorAlpha).pixels({0, 10, 0, 20, 0, 30, 0, 40, 0}).end(),
        {{1, 1}, {10, 20, 30, 40}});
}

TEST_F(ImageSourceTest, theContentsTellTheFormatAndNotTheName) {
    const Picture picture = testPicture(5, 4, true);
    const ImageSource::Result result = load(encoded(picture, "png", true), "picture.jpg");
    ASSERT_NE(result.image, nullptr) << result.failure;
    EXPECT_EQ(pictureOf(*result.image).rgba, premultiplied(picture).rgba);
}

TEST_F(ImageSourceTest, bytesAfterThePictureAreIgnored) {
    const Picture picture = testPicture(5, 4, false);
    expectOpaque(encoded(picture, "png", false) + "and more", picture);
    EXPECT_NE(load(encoded(picture, "jpeg", false) + "and more").image, nullptr);
}

TEST_F(ImageSourceTest, filesAreReadOnSeveralThreadsAtOnce) {
    const Picture picture = testPicture(64, 64, true);
    const std::string png = folder_.write("a.png", encoded(picture, "png", true));
    const std::string bad = folder_.write("b.png", encoded(picture, "png", true).substr(0, 100));
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 25; ++k) {
                failures += ImageSource::firstImageOfFile(png).image == nullptr;
                failures += ImageSource::firstImageOfFile(bad).image != nullptr;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

// What is no picture

TEST_F(ImageSourceTest, whatIsNoReadableFileFails) {
    expectFailure(ImageSource::firstImageOfFile((folder_.path() / "none.png").string()),
                  "No such file");
    expectFailure(ImageSource::firstImageOfFile(""));
    expectFailure(ImageSource::firstImageOfFile(folder_.path().string()), "not a regular file");
    const std::string pipe = (folder_.path() / "pipe.png").string();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    expectFailure(ImageSource::firstImageOfFile(pipe), "not a regular file");
    expectFailure(ImageSource::firstImageOfFile("/dev/zero"), "not a regular file");
}

TEST_F(ImageSourceTest, aFileWithoutPermissionFails) {
    const std::string path =
        folder_.write("a.png", encoded(testPicture(2, 2, false), "png", false));
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    // Root may read every file; this thread is nobody to the file system for the moment.
    constexpr uid_t kNobody = 65534;
    ::setfsuid(kNobody);
    const ImageSource::Result result = ImageSource::firstImageOfFile(path);
    ::setfsuid(::geteuid());
    expectFailure(result, "denied");
}

TEST_F(ImageSourceTest, aFileThatIsNoPictureFails) {
    expectFailure(load(""), "empty");
    expectFailure(load("x"));
    expectFailure(load("This is text.\n", "text.png"));
    expectFailure(load(Bytes(100'000, '\0'), "zeros.png"));
    std::mt19937 random(1);
    for (const std::size_t size : {10U, 1000U, 100'000U}) {
        Bytes noise(size, '\0');
        std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random()); });
        expectFailure(load(noise, "noise.png"));
    }
}

TEST_F(ImageSourceTest, aHugeFileFailsWithoutBeingRead) {
    const std::string path = folder_.write("huge.png", "\x89PNG\r\n\x1A\n");
    std::filesystem::resize_file(path, std::uintmax_t{1} << 40);
    expectFailure(ImageSource::firstImageOfFile(path), "too large");
}

TEST_F(ImageSourceTest, aFileCutShortAnywhereFails) {
    const Picture opaque = testPicture(19, 23, false);
    const Picture withAlpha = testPicture(19, 23, true);
    const struct {
        const char* name;
        Bytes bytes;
    } files[] = {
        {"png", encoded(withAlpha, "png", true)},   {"jpeg", encoded(opaque, "jpeg", false)},
        {"bmp", encoded(opaque, "bmp", false)},     {"gif", gifFile(19, 23, {{1, 2, 3}})},
        {"tiff", encoded(withAlpha, "tiff", true)},
    };
    for (const auto& file : files) {
        ASSERT_NE(load(file.bytes).image, nullptr) << file.name;
        // A GIF may end right behind its picture.
        const std::size_t end = file.bytes.size() - (file.name == std::string("gif") ? 1 : 0);
        // Every length near either end, and some of those between.
        for (std::size_t length = 0; length < end;
             length += length < 100 || length + 50 > end ? 1 : 13) {
            const ImageSource::Result result = load(file.bytes.substr(0, length));
            ASSERT_EQ(result.image, nullptr) << file.name << " cut to " << length;
            ASSERT_THAT(result.failure, Not(IsEmpty()));
        }
    }
}

TEST_F(ImageSourceTest, damagedFilesNeverDoHarm) {
    const Picture opaque = testPicture(19, 23, false);
    const Bytes files[] = {encoded(opaque, "png", false), encoded(opaque, "jpeg", false),
                           encoded(opaque, "bmp", false), encoded(opaque, "tiff", true),
                           gifFile(19, 23, {{1, 2, 3}, {4, 5, 6}})};
    std::mt19937 random(7);
    for (const Bytes& file : files) {
        for (int i = 0; i < 100; ++i) {
            Bytes damaged = file;
            for (unsigned k = 0; k <= random() % 4; ++k) {
                // Mostly near the beginning, where the headers are.
                const std::size_t range = random() % 2 == 0 ? 64 : damaged.size();
                damaged[random() % std::min(range, damaged.size())] = static_cast<char>(random());
            }
            const ImageSource::Result result = load(damaged);
            ASSERT_EQ(result.image == nullptr, !result.failure.empty());
            if (result.image) {
                ASSERT_LE(result.image->size().width, ImageSource::kMaximumExtent);
                ASSERT_LE(result.image->size().height, ImageSource::kMaximumExtent);
                pictureOf(*result.image);
            }
        }
    }
}

Bytes bmpFile(std::uint32_t width, std::uint32_t height) {
    Bytes bytes = "BM";
    for (const std::uint32_t value : {1000U, 0U, 54U, 40U, width, height}) {
        appendLittleEndian(bytes, value, 4);
    }
    appendLittleEndian(bytes, 1, 2);
    appendLittleEndian(bytes, 24, 2);
    for (int i = 0; i < 6; ++i) {
        appendLittleEndian(bytes, 0, 4);
    }
    return bytes + Bytes(1000, '\0');
}

TEST_F(ImageSourceTest, absurdDimensionsFailBeforeMemoryIsTakenForThem) {
    const auto png = [](std::uint32_t width, std::uint32_t height) {
        return PNGFile(width, height, 8, PNGFile::ColorAlpha).pixels(Bytes(100, '\0')).end();
    };
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
             {0x7FFFFFFF, 0x7FFFFFFF}, {100'000, 100'000}, {16385, 1}, {1, 16385}, {0, 0}}) {
        expectFailure(load(png(width, height)));
        expectFailure(load(bmpFile(width, height)));
    }
    expectFailure(load(png(16385, 1)), "larger than 16384");
    expectFailure(load(bmpFile(40'000, 40'000)), "larger than 16384");
    expectFailure(load(gifFile(65535, 0, {{1, 2, 3}})));
    // A small screen with a frame of 65,535 pixels each way.
    Bytes gif = gifFile(16, 16, {{1, 2, 3}});
    const std::size_t frame = gif.find(',', 13 + 128 * 3 + 8);
    gif.replace(frame + 5, 4, 4, '\xFF');
    expectFailure(load(gif));
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kilobytes";
}

TEST_F(ImageSourceTest, aPictureThatItsFileIsTooSmallForFailsBeforeMemoryIsTakenForIt) {
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    expectFailure(load(PNGFile(8192, 8192, 8, PNGFile::ColorAlpha).pixels("x").end()),
                  "too small for its picture of 8192 x 8192 pixels");
    expectFailure(load(bmpFile(8000, 8000)), "too small");
    expectFailure(load(gifFile(8192, 0, {{1, 2, 3}}).replace(8, 2, 2, '\x20')));
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kilobytes";
}

TEST_F(ImageSourceTest, aBMPOfMoreColorsThanItHoldsFails) {
    Bytes bytes = bmpFile(3, 3);
    ASSERT_NE(load(bytes).image, nullptr);
    bytes.replace(46, 4, 4, '\xFF');
    expectFailure(load(bytes), "cut short");
}

TEST_F(ImageSourceTest, aBMPWhosePixelsLieBehindItsEndFails) {
    Bytes bytes = bmpFile(3, 3);
    bytes.replace(10, 4, 4, '\xF0');
    expectFailure(load(bytes), "cut short");
}

TEST_F(ImageSourceTest, aGIFWhoseFirstFrameIsNotOnItsScreenFails) {
    const Bytes whole = gifFile(16, 16, {{1, 2, 3}});
    const std::size_t frame = whole.find(',', 13 + 128 * 3 + 8);
    const auto with = [&](std::size_t offset, char value) {
        Bytes bytes = whole;
        bytes[frame + offset] = value;
        return load(bytes);
    };
    constexpr std::size_t kLeft = 1;
    constexpr std::size_t kTop = 3;
    constexpr std::size_t kWidth = 5;
    constexpr std::size_t kHeight = 7;
    EXPECT_NE(with(kLeft, 0).image, nullptr);
    EXPECT_NE(with(kHeight, 15).image, nullptr);
    for (const auto& [offset, value] :
         {std::pair{kLeft, 1}, {kTop, 1}, {kWidth, 17}, {kHeight, 17}, {kWidth, 0}, {kHeight, 0}}) {
        expectFailure(with(offset, static_cast<char>(value)), "damaged");
    }
}

TEST_F(ImageSourceTest, bytesInMemoryAreReadAsThoseOfAFile) {
    const auto loaded = [](const Bytes& bytes, int maximumExtent) {
        return ImageSource::firstImageOfBytes(
            {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, maximumExtent);
    };
    const Picture picture = testPicture(9, 5, true);
    const Bytes png = encoded(picture, "png", true);
    const ImageSource::Result result = loaded(png, ImageSource::kMaximumExtent);
    ASSERT_NE(result.image, nullptr) << result.failure;
    EXPECT_EQ(pictureOf(*result.image).rgba, premultiplied(picture).rgba);
    expectFailure(loaded("", 100), "empty");
    expectFailure(loaded(png.substr(0, 40), 100), "cut short");
    expectFailure(ImageSource::firstImageOfBytes({}));
}

TEST_F(ImageSourceTest, theLargestExtentMayBeLowered) {
    for (const char* kind : {"png", "jpeg", "bmp", "tiff", "ico"}) {
        const Bytes bytes = encoded(testPicture(9, 5, false), kind, false);
        const std::span file{reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
        EXPECT_NE(ImageSource::firstImageOfBytes(file, 9).image, nullptr) << kind;
        expectFailure(ImageSource::firstImageOfBytes(file, 8), "larger than 8 pixels");
        expectFailure(ImageSource::firstImageOfBytes(file, 0), "larger than 0 pixels");
        expectFailure(ImageSource::firstImageOfBytes(file, -1));
    }
}

TEST_F(ImageSourceTest, theLargestExtentIsAccepted) {
    const auto row = [](std::size_t count) { return Bytes(1 + count, '\0'); };
    Bytes column;
    for (int i = 0; i < ImageSource::kMaximumExtent; ++i) {
        column += row(1);
    }
    const Bytes wide = PNGFile(16384, 1, 8, PNGFile::Grey).pixels(row(16384)).end();
    const Bytes tall = PNGFile(1, 16384, 8, PNGFile::Grey).pixels(column).end();
    EXPECT_NE(load(wide).image, nullptr);
    EXPECT_NE(load(tall).image, nullptr);
}

std::optional<std::size_t> endOf(const Bytes& bytes) {
    return Mivora::platform::firstImageEnd(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

TEST(ImageFileCheckTest, theEndOfTheFirstPictureIsFound) {
    const Picture picture = testPicture(3, 3, false);
    const Bytes png = encoded(picture, "png", false);
    const Bytes jpeg = encoded(picture, "jpeg", false);
    const Bytes gif = gifFile(3, 3, {{1, 2, 3}});
    EXPECT_EQ(endOf(png + "more"), png.size());
    EXPECT_EQ(endOf(jpeg + "more"), jpeg.size());
    EXPECT_EQ(endOf(gif + "more"), gif.size() - 1) << "without the mark at the end of all";
    EXPECT_EQ(endOf(gifFile(3, 3, {{1, 2, 3}, {4, 5, 6}})), gif.size() - 1);
    EXPECT_EQ(endOf(Bytes("RIFF\4\0\0\0WEBPmore", 16)), 12U);
}

TEST(ImageFileCheckTest, whatEndsTooEarlyIsFound) {
    EXPECT_EQ(endOf("\x89PNG\r\n\x1A\n"), 0U);
    EXPECT_EQ(endOf("\x89PNG\r\n\x1A\n\xFF\xFF\xFF\xFFIHDR"), 0U);
    EXPECT_EQ(endOf("\xFF\xD8\xFF"), 0U);
    EXPECT_EQ(endOf("GIF89a"), 0U);
    EXPECT_EQ(endOf(Bytes("II*\0", 4)), 0U);
    EXPECT_EQ(endOf(Bytes("MM\0*\xFF\xFF\xFF\xFF", 8)), 0U);
    EXPECT_EQ(endOf(Bytes("RIFF\5\0\0\0WEBP", 12)), 0U);
}

std::optional<Bytes> frameOf(const Bytes& bytes) {
    const auto frame = Mivora::platform::firstFrameOfWebP(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return frame ? std::optional(Bytes(frame->begin(), frame->end())) : std::nullopt;
}

TEST(ImageFileCheckTest, theFirstFrameOfAnAnimatedWebPBecomesAFileOfItsOwn) {
    const auto chunk = [](const Bytes& tag, const Bytes& data) {
        const Bytes padding(data.size() % 2, '\0');
        return tag + static_cast<char>(data.size()) + Bytes(3, '\0') + data + padding;
    };
    const auto webP = [&](const Bytes& chunks) { return chunk("RIFF", "WEBP" + chunks); };
    const auto extended = [&](char flags, char width) {
        return chunk("VP8X", flags + Bytes(3, '\0') + width + Bytes("\0\0\4\0\0", 5));
    };
    const auto frame = [&](const Bytes& place, const Bytes& chunks) {
        return chunk("ANMF", place + Bytes(4, '\0') + chunks);
    };
    const Bytes whole("\0\0\0\0\0\0\7\0\0\4\0\0", 12);
    const Bytes other = chunk("ANIM", "odd");
    const Bytes opaque = chunk("VP8L", "pixel");
    const Bytes translucent = chunk("ALPH", "a") + chunk("VP8 ", "yuv");
    const Bytes animated = extended(0x12, 7);

    EXPECT_EQ(frameOf(webP(animated + other + frame(whole, opaque) + frame(whole, translucent))),
              webP(opaque));
    EXPECT_EQ(frameOf(webP(animated + frame(whole, translucent))),
              webP(extended(0x10, 7) + translucent));
    EXPECT_EQ(frameOf(webP(extended(0x10, 7) + frame(whole, opaque))), std::nullopt);
    EXPECT_EQ(frameOf(webP(opaque)), std::nullopt);
    EXPECT_EQ(frameOf(webP("")), std::nullopt);
    EXPECT_EQ(frameOf(""), std::nullopt);

    EXPECT_EQ(frameOf(webP(animated)), "");
    EXPECT_EQ(frameOf(webP(animated + frame(whole, extended(2, 7) + opaque))), "")
        << "an animation in an animation";
    EXPECT_EQ(frameOf(webP(animated + frame(whole, chunk("odd ", "pixel")))), "");
    EXPECT_EQ(frameOf(webP(animated + other)), "");
    EXPECT_EQ(frameOf(webP(animated + chunk("ANMF", "short"))), "");
    EXPECT_EQ(frameOf(webP(animated + frame(whole, opaque)).substr(0, 60)), "");
    EXPECT_EQ(frameOf(webP(extended(2, 9) + frame(whole, opaque))), "") << "it is too narrow";
    for (const std::size_t at : {0U, 3U, 6U, 9U}) {
        Bytes moved = whole;
        ++moved[at];
        EXPECT_EQ(frameOf(webP(animated + frame(moved, opaque))), "") << at;
    }
}

TEST(ImageFileCheckTest, otherKindsAreNotLookedInto) {
    const Picture picture = testPicture(3, 3, false);
    EXPECT_EQ(endOf(encoded(picture, "bmp", false)), std::nullopt);
    EXPECT_EQ(endOf(encoded(picture, "tiff", false)), std::nullopt);
    EXPECT_EQ(endOf(encoded(picture, "ico", false)), std::nullopt);
    EXPECT_EQ(endOf(""), std::nullopt);
    EXPECT_EQ(endOf("BM"), std::nullopt);
    EXPECT_EQ(endOf("RIFF"), std::nullopt);
}

TEST(ImageFileCheckTest, runsOfABMPAreFollowedToTheirEnd) {
    const auto endOfRuns = [](std::uint32_t compression, const Bytes& runs) {
        Bytes bytes = "BM" + Bytes(8, '\0');
        appendLittleEndian(bytes, 54, 4);
        appendLittleEndian(bytes, 40, 4);
        bytes.append(12, '\0');
        appendLittleEndian(bytes, compression, 4);
        bytes.append(20, '\0');
        bytes += runs;
        return endOf(bytes);
    };
    const struct {
        std::uint32_t compression;
        Bytes runs;
        std::optional<std::size_t> end;
    } rows[] = {
        {0, {}, std::nullopt},
        {3, {0, 1}, std::nullopt},
        {1, {}, 0U},
        {1, {0, 1}, 56U},
        {1, {0}, 0U},
        {1, {9, 1}, 0U},
        {1, {9, 1, 0, 0, 9, 0, 0, 1}, 62U},
        {1, {0, 2, 0, 1, 0, 1}, 60U},
        {1, {0, 2, 0, 1}, 0U},
        {1, {0, 3, 0, 1, 9, 9, 0, 1}, 62U},
        {1, {0, 4, 0, 1, 9, 9, 0, 1}, 62U},
        {1, {0, 5, 0, 1, 9, 9, 0, 1}, 0U},
        {2, {0, 5, 0, 1, 9, 9, 0, 1}, 62U},
        {2, {0, 8, 0, 1, 9, 9, 0, 1}, 62U},
        {2, {0, 9, 0, 1, 9, 9, 0, 1}, 0U},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(endOfRuns(row.compression, row.runs), row.end)
            << row.compression << ": " << testing::PrintToString(row.runs);
    }
}

}  // namespace
