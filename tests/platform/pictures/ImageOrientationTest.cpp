#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageOrientationPrivate.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "tests/images/ImageEncoders.h"
#include "tests/platform/base/TemporaryFolder.h"
#include "tests/platform/pictures/ImageFiles.h"

// Pictures that are stored turned or mirrored, and say so.

namespace {

using Mivora::platform::BitmapImage;
using Mivora::platform::ImageOrientation;
using Mivora::platform::ImageSource;
using Mivora::platform::orientedImage;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::appendBigEndian;
using Mivora::tests::appendLittleEndian;
using Mivora::tests::Bytes;
using Mivora::tests::encoded;
using Mivora::tests::pictureOf;
using Mivora::tests::PNGFile;
using Mivora::tests::TemporaryFolder;
using Mivora::tests::testPicture;

ImageSource::Result load(const Bytes& bytes) {
    return ImageSource::firstImageOfBytes(
        {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// What is to be seen of a stored picture, by the words of the standard: which sides its first row
/// and its first column are.
Picture seen(const Picture& stored, int orientation) {
    const bool isTurned = orientation >= 5;
    const int width = isTurned ? stored.size.height : stored.size.width;
    const int height = isTurned ? stored.size.width : stored.size.height;
    Picture result{{width, height}, {}};
    static constexpr char kRowSide[] = {0, 'T', 'T', 'B', 'B', 'L', 'R', 'R', 'L'};
    static constexpr char kColumnSide[] = {0, 'L', 'R', 'R', 'L', 'T', 'T', 'B', 'B'};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto distance = [&](char side) {
                return side == 'T'   ? y
                       : side == 'B' ? height - 1 - y
                       : side == 'L' ? x
                                     : width - 1 - x;
            };
            const auto pixel =
                stored.pixel(distance(kColumnSide[orientation]), distance(kRowSide[orientation]));
            result.rgba.insert(result.rgba.end(), pixel.begin(), pixel.end());
        }
    }
    return result;
}

/// A directory that holds an orientation among others.
Bytes directory(int orientation, bool isBigEndian, std::uint32_t type = 3) {
    const auto append = [isBigEndian](Bytes& bytes, std::uint32_t value, int count) {
        isBigEndian ? appendBigEndian(bytes, value, count)
                    : appendLittleEndian(bytes, value, count);
    };
    Bytes bytes = isBigEndian ? Bytes("MM\0*", 4) : Bytes("II*\0", 4);
    append(bytes, 8, 4);
    append(bytes, 2, 2);
    for (const auto& [tag, value] : {std::pair{0x0100U, 7}, {0x0112U, orientation}}) {
        append(bytes, tag, 2);
        append(bytes, type, 2);
        append(bytes, 1, 4);
        append(bytes, static_cast<std::uint32_t>(value), 2);
        append(bytes, 0, 2);
    }
    append(bytes, 0, 4);
    return bytes;
}

Bytes jpegWith(const Bytes& jpeg, const Bytes& exif) {
    Bytes segment("\xFF\xE1", 2);
    appendBigEndian(segment, static_cast<std::uint32_t>(exif.size() + 8), 2);
    return jpeg.substr(0, 2) + segment + Bytes("Exif\0\0", 6) + exif + jpeg.substr(2);
}

Bytes pngRows(const Picture& picture) {
    Bytes rows;
    for (int y = 0; y < picture.size.height; ++y) {
        rows += '\0';
        for (int x = 0; x < picture.size.width; ++x) {
            for (const std::uint8_t part : picture.pixel(x, y)) {
                rows += static_cast<char>(part);
            }
        }
    }
    return rows;
}

TEST(ImageOrientationTest, aJPEGIsTurnedInSizeAndPixels) {
    const Bytes jpeg = encoded(testPicture(24, 17, false), "jpeg", false);
    const Picture stored = pictureOf(*load(jpeg).image);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        for (const bool isBigEndian : {false, true}) {
            SCOPED_TRACE(orientation);
            const auto result = load(jpegWith(jpeg, directory(orientation, isBigEndian)));
            ASSERT_NE(result.image, nullptr) << result.failure;
            const Picture expected = seen(stored, orientation);
            EXPECT_EQ(result.image->size(), expected.size);
            EXPECT_EQ(pictureOf(*result.image).rgba, expected.rgba);
        }
    }
}

TEST(ImageOrientationTest, aPNGIsTurnedInSizeAndPixels) {
    Picture stored = testPicture(9, 5, false);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        PNGFile file(9, 5, 8, PNGFile::ColorAlpha);
        if (orientation % 2 == 0) {
            file.chunk("eXIf", directory(orientation, true)).pixels(pngRows(stored));
        } else {
            file.pixels(pngRows(stored)).chunk("eXIf", directory(orientation, false));
        }
        const auto result = load(file.end());
        ASSERT_NE(result.image, nullptr) << result.failure;
        const Picture expected = seen(stored, orientation);
        EXPECT_EQ(result.image->size(), expected.size);
        EXPECT_EQ(pictureOf(*result.image).rgba, expected.rgba);
    }
}

TEST(ImageOrientationTest, aWebPIsTurnedInSizeAndPixels) {
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "picture").string();
    const Picture stored = testPicture(9, 5, false);
    Mivora::tests::writeWebP(path, stored, false, Mivora::tests::WebP::Lossless);
    gchar* contents = nullptr;
    gsize length = 0;
    ASSERT_NE(g_file_get_contents(path.c_str(), &contents, &length, nullptr), FALSE);
    const Bytes chunks(contents + 12, length - 12);
    g_free(contents);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        const Bytes exif = directory(orientation, orientation % 2 == 0);
        Bytes body = "WEBPVP8X";
        appendLittleEndian(body, 10, 4);
        appendLittleEndian(body, 8, 4);  // there is EXIF data
        appendLittleEndian(body, 8, 3);
        appendLittleEndian(body, 4, 3);
        body += chunks + "EXIF";
        appendLittleEndian(body, static_cast<std::uint32_t>(exif.size()), 4);
        body += exif;
        Bytes file = "RIFF";
        appendLittleEndian(file, static_cast<std::uint32_t>(body.size()), 4);
        const auto result = load(file + body);
        ASSERT_NE(result.image, nullptr) << result.failure;
        const Picture expected = seen(stored, orientation);
        EXPECT_EQ(result.image->size(), expected.size);
        EXPECT_EQ(pictureOf(*result.image).rgba, expected.rgba);
    }
}

TEST(ImageOrientationTest, aTIFFIsTurnedInSizeAndPixels) {
    const TemporaryFolder folder;
    const std::string path = (folder.path() / "picture").string();
    const Picture stored = testPicture(9, 5, false);
    Mivora::tests::Samples samples;
    for (std::size_t i = 0; i < stored.rgba.size(); ++i) {
        if (i % 4 != 3) {
            samples.push_back(stored.rgba[i]);
        }
    }
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        Mivora::tests::TIFFOptions options;
        options.orientation = orientation;
        Mivora::tests::writeTIFF(path, stored.size, options, samples);
        const auto result = ImageSource::firstImageOfFile(path);
        ASSERT_NE(result.image, nullptr) << result.failure;
        const Picture expected = seen(stored, orientation);
        EXPECT_EQ(result.image->size(), expected.size);
        EXPECT_EQ(pictureOf(*result.image).rgba, expected.rgba);
    }
}

TEST(ImageOrientationTest, whatIsNoOrientationChangesNothing) {
    const Bytes jpeg = encoded(testPicture(24, 17, false), "jpeg", false);
    const Picture stored = pictureOf(*load(jpeg).image);
    const Bytes turned = directory(6, false);
    for (const Bytes& exif :
         {directory(0, false), directory(9, true), directory(6, false, 4), Bytes(),
          turned.substr(0, 24), turned.substr(0, 4) + Bytes(4, '\xFF') + turned.substr(8),
          "XX" + turned.substr(2)}) {
        const auto result = load(jpegWith(jpeg, exif));
        ASSERT_NE(result.image, nullptr) << result.failure;
        EXPECT_EQ(pictureOf(*result.image).rgba, stored.rgba);
    }
}

TEST(ImageOrientationTest, picturesLargerThanASquareOfTheCacheAreTurnedWhole) {
    const auto image = BitmapImage::createWithPicture(testPicture(131, 67, true));
    const Picture stored = pictureOf(*image);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto turned = orientedImage(image, static_cast<ImageOrientation>(orientation));
        ASSERT_NE(turned, nullptr);
        EXPECT_EQ(pictureOf(*turned).rgba, seen(stored, orientation).rgba) << orientation;
    }
    EXPECT_EQ(orientedImage(image, ImageOrientation::TopLeft), image) << "nothing is copied";
    EXPECT_EQ(orientedImage(nullptr, ImageOrientation::RightTop), nullptr);
}

}  // namespace
