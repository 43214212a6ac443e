#include "MivoraMac/images/MVImage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/support/QueueGate.h"

using Mivora::Size2;
using Mivora::platform::AlphaInfo;
using Mivora::platform::BitmapImage;
using Mivora::platform::ByteOrder;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::tests::bitmapOf;
using Mivora::tests::call;
using Mivora::tests::Completion;
using Mivora::tests::encoded;
using Mivora::tests::flipped;
using Mivora::tests::LogCapture;
using Mivora::tests::opaqueBitmapOf;
using Mivora::tests::premultiplied;
using Mivora::tests::QueueGate;
using Mivora::tests::ScopedScreenScale;
using Mivora::tests::testPicture;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVImageGLTest : public Mivora::tests::ImageTest {
 protected:
    static std::shared_ptr<MVImage> fromData(const Picture& picture, GLenum format = GL_RGBA) {
        return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            picture.rgba.data(), static_cast<std::uint64_t>(picture.size.width),
            static_cast<std::uint64_t>(picture.size.height), 2, 1, true, format);
    }
};

// Uploading

TEST_F(MVImageGLTest, dataIsUploadedAtOnceAsItIs) {
    const Picture picture = testPicture(5, 3, true);
    const auto image = fromData(picture);
    ASSERT_NE(image, nullptr);
    const double texture = image->mv_texture();
    EXPECT_NE(texture, 0);
    EXPECT_THAT(gl_->texts(), ElementsAreArray(making(texture, GL_RGBA, 5, 3, GL_RGBA)));
    EXPECT_EQ(image->size(), (Size2{2.5F, 1.5F}));
    EXPECT_EQ(image->scale(), 2.0F);
    EXPECT_EQ(image->coordinateSystem(), 1);
    EXPECT_TRUE(image->premultipliedAlpha());
    expectTexture(*image, picture);
    EXPECT_EQ(glError(), GLenum{GL_NO_ERROR});
}

TEST_F(MVImageGLTest, dataOfAnotherFormatIsUploadedInThatFormat) {
    const auto image = fromData({{1, 1}, {10, 20, 30, 40}}, GL_BGRA);
    EXPECT_THAT(gl_->texts(),
                ElementsAreArray(making(image->mv_texture(), GL_RGBA, 1, 1, GL_BGRA)));
    expectTexture(*image, {{1, 1}, {30, 20, 10, 40}});
}

TEST_F(MVImageGLTest, noDataMakesATextureWithStorage) {
    const auto image =
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            nullptr, 8, 4, 1, 0, false, GL_RGBA);
    EXPECT_THAT(gl_->texts(),
                ElementsAreArray(making(image->mv_texture(), GL_RGBA, 8, 4, GL_RGBA, false)));
    EXPECT_EQ(textureOf(*image).size, (Mivora::platform::PixelSize{8, 4}));
}

TEST_F(MVImageGLTest, loadingAgainMakesANewTextureAndKeepsTheOldOne) {
    const auto image = fromData(testPicture(2, 2, false));
    const GLuint first = image->mv_texture();
    const Picture next = testPicture(3, 1, false);
    gl_->clear();
    image->mv_loadDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        next.rgba.data(), 3, 1, 1, 0, false, GL_RGBA);
    EXPECT_NE(image->mv_texture(), first);
    EXPECT_THAT(gl_->callsOf("glDeleteTextures"), IsEmpty());
    EXPECT_EQ(image->size(), (Size2{3, 1}));
    expectTexture(*image, next);
    onQueue([&] { glDeleteTextures(1, &first); });
}

TEST_F(MVImageGLTest, anUploadFromGLWorkRunsInline) {
    std::shared_ptr<MVImage> image;
    onQueue([&] {
        image = fromData(testPicture(2, 2, false));
        EXPECT_NE(image->mv_texture(), 0U);
    });
    expectTexture(*image, testPicture(2, 2, false));
}

// Bitmaps

TEST_F(MVImageGLTest, aBitmapWithAlphaIsPremultiplied) {
    for (const int width : {1, 3, 33}) {
        const Picture picture = testPicture(width, 7, true);
        const auto image = MVImage::initWithCGImageScale(bitmapOf(picture), 2);
        ASSERT_NE(image, nullptr);
        EXPECT_TRUE(image->premultipliedAlpha());
        EXPECT_EQ(image->coordinateSystem(), 0);
        EXPECT_EQ(image->scale(), 2.0F);
        expectTexture(*image, premultiplied(picture));
    }
}

TEST_F(MVImageGLTest, aBitmapWithoutAlphaIsOpaque) {
    for (const int width : {1, 3, 33}) {
        const Picture picture = testPicture(width, 7, false);
        const auto image = MVImage::initWithCGImageScale(opaqueBitmapOf(picture), 1);
        ASSERT_NE(image, nullptr);
        EXPECT_FALSE(image->premultipliedAlpha());
        expectTexture(*image, picture);
    }
}

TEST_F(MVImageGLTest, coordinateSystemOneUploadsTheBottomRowFirst) {
    const Picture picture = testPicture(5, 3, false);
    const auto image = MVImage::initWithCGImageScaleCoordinateSystem(opaqueBitmapOf(picture), 1, 1);
    EXPECT_EQ(image->coordinateSystem(), 1);
    expectTexture(*image, flipped(picture));
}

TEST_F(MVImageGLTest, aBitmapIsUploadedAsRGBA) {
    const auto image = MVImage::initWithCGImageScale(bitmapOf(testPicture(4, 2, true)), 1);
    EXPECT_THAT(gl_->texts(),
                ElementsAreArray(making(image->mv_texture(), GL_RGBA, 4, 2, GL_RGBA)));
}

struct Layout {
    const char* name;
    AlphaInfo alphaInfo;
    ByteOrder byteOrder;
    std::size_t padding;  ///< bytes after each row
};

class MVImageLayoutGLTest : public MVImageGLTest, public testing::WithParamInterface<Layout> {};

TEST_P(MVImageLayoutGLTest, aBitmapIsUploadedAsTightRowsOfPremultipliedRGBA) {
    const Layout& layout = GetParam();
    Picture picture = premultiplied(testPicture(5, 3, true));
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>();
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 5; ++x) {
            auto pixel = picture.pixel(x, y);
            if (layout.byteOrder == ByteOrder::Reversed) {
                std::reverse(pixel.begin(), pixel.end());
            }
            bytes->insert(bytes->end(), pixel.begin(), pixel.end());
        }
        bytes->insert(bytes->end(), layout.padding, 77);
    }
    const auto bitmap = BitmapImage::create(
        picture.size, layout.alphaInfo, 20 + layout.padding,
        std::shared_ptr<const std::uint8_t>(bytes, bytes->data()), layout.byteOrder);
    for (std::size_t i = 3; !hasAlpha(layout.alphaInfo) && i < picture.rgba.size(); i += 4) {
        picture.rgba[i] = 255;  // what was there means nothing
    }
    const auto image = MVImage::initWithCGImageScale(bitmap, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->premultipliedAlpha(), hasAlpha(layout.alphaInfo));
    expectTexture(*image, picture);
}

INSTANTIATE_TEST_SUITE_P(
    AllLayouts, MVImageLayoutGLTest,
    testing::Values(Layout{"asItIsUploaded", AlphaInfo::PremultipliedLast, ByteOrder::Forward, 0},
                    Layout{"reversedBytes", AlphaInfo::PremultipliedLast, ByteOrder::Reversed, 0},
                    Layout{"paddedRows", AlphaInfo::PremultipliedLast, ByteOrder::Forward, 8},
                    Layout{"skippedLastBytes", AlphaInfo::NoneSkipLast, ByteOrder::Forward, 0}),
    [](const testing::TestParamInfo<Layout>& test) { return std::string(test.param.name); });

// Files

TEST_F(MVImageGLTest, aFileIsLoadedWithTheScaleOfItsVariant) {
    const Picture plain = testPicture(2, 1, false);
    const Picture large = testPicture(8, 4, false);
    const std::string path = folder_.write("a.png", encoded(plain, "png", false));
    folder_.write("a@3x.png", encoded(testPicture(6, 3, false), "png", false));
    folder_.write("a@4x.png", encoded(large, "png", false));
    {
        const ScopedScreenScale scale(1);
        const auto image = MVImage::initWithContentsOfFile(path);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->scale(), 1.0F);
        expectTexture(*image, plain);
    }
    const ScopedScreenScale scale(2);
    const auto image = MVImage::imageWithContentsOfFile(path);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->scale(), 4.0F);
    EXPECT_EQ(image->size(), (Size2{2, 1}));
    expectTexture(*image, large);
}

TEST_F(MVImageGLTest, aFileIsLoadedInTheCoordinateSystemAskedFor) {
    const Picture picture = testPicture(9, 4, true);
    const std::string path = folder_.write("a.png", encoded(picture, "png", true));
    const auto image = MVImage::initWithContentsOfFileCoordinateSystem(path, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(image->premultipliedAlpha());
    expectTexture(*image, flipped(premultiplied(picture)));
}

TEST_F(MVImageGLTest, aLargeFileIsLoaded) {
    const Picture picture = testPicture(1023, 771, true);
    const std::string path = folder_.write("a.png", encoded(picture, "png", true));
    expectTexture(*MVImage::initWithContentsOfFile(path), premultiplied(picture));
}

TEST_F(MVImageGLTest, filesOfAllFormatsAreLoaded) {
    const Picture picture = testPicture(7, 5, false);
    for (const char* kind : {"png", "bmp", "tiff"}) {
        const std::string path = folder_.write("file", encoded(picture, kind, false));
        const auto image = MVImage::initWithContentsOfFile(path);
        ASSERT_NE(image, nullptr) << kind;
        expectTexture(*image, picture);
    }
    const std::string jpeg = folder_.write("a.jpg", encoded(picture, "jpeg", false));
    const auto image = MVImage::initWithContentsOfFile(jpeg);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size2{7, 5}));
    EXPECT_FALSE(image->premultipliedAlpha());
    const std::string gif = folder_.write("a.gif", Mivora::tests::gifFile(7, 5, {{1, 2, 3}}));
    EXPECT_NE(MVImage::initWithContentsOfFile(gif), nullptr);
}

TEST_F(MVImageGLTest, whatIsNoPictureYieldsNothingAndOneLine) {
    const std::string png = encoded(testPicture(9, 9, true), "png", true);
    const std::string missing = (folder_.path() / "missing.png").string();
    const ScopedScreenScale scale(2);
    for (const std::string& path :
         {missing, folder_.path().string(), folder_.write("empty.png", ""),
          folder_.write("cut.png", png.substr(0, png.size() / 2)),
          folder_.write("text.jpg", "not a picture"),
          folder_.write("huge.png", Mivora::tests::PNGFile(0x7FFFFFFF, 0x7FFFFFFF, 8,
                                                           Mivora::tests::PNGFile::ColorAlpha)
                                        .pixels("x")
                                        .end())}) {
        const LogCapture log("images");
        EXPECT_EQ(MVImage::initWithContentsOfFile(path), nullptr) << path;
        ASSERT_THAT(log.lines(), SizeIs(1)) << path;
        EXPECT_EQ(log.lines()[0].first, LogCapture::Category::Images);
        EXPECT_THAT(log.lines()[0].second, HasSubstr(path));
    }
    const LogCapture log("images");
    EXPECT_EQ(MVImage::imageWithContentsOfFile(missing), nullptr);
    const std::string base = missing.substr(0, missing.size() - 4);
    EXPECT_EQ(log.lines()[0].second, missing + ": No such file or directory (tried " + base +
                                         "@2x.png, " + base + "@4x.png, " + base + "@3x.png, " +
                                         missing + ")");
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

TEST_F(MVImageGLTest, aFailureIsWrittenOnceForTheSameFileAndReasonWithoutTheLog) {
    const std::string missing = (folder_.path() / "missing.png").string();
    const std::string broken = folder_.write("broken.png", "not a picture");
    const LogCapture log("");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(MVImage::initWithContentsOfFile(missing), nullptr);
        EXPECT_EQ(MVImage::initWithContentsOfFile(broken), nullptr);
        EXPECT_EQ(MVImage::imageNamed("no such card.png"), nullptr);
        const auto image = MVMutableImage::init();
        EXPECT_FALSE(image->replaceWithContentsOfFile(broken));
    }
    EXPECT_THAT(log.lines(), SizeIs(3));
    folder_.write("broken.png", "");
    EXPECT_EQ(MVImage::initWithContentsOfFile(broken), nullptr);
    EXPECT_THAT(log.lines(), SizeIs(4)) << "another reason";
}

TEST_F(MVImageGLTest, aTurnedPhotographHasTheSizeThatIsSeen) {
    std::string jpeg = encoded(testPicture(9, 5, false), "jpeg", false);
    const std::string exif(
        "\xFF\xE1\0\x22"
        "Exif\0\0MM\0*\0\0\0\x08\0\1\x01\x12\0\3\0\0\0\1\0\6\0\0\0\0\0\0",
        36);
    jpeg.insert(2, exif);
    folder_.write("a@2x.jpg", jpeg);
    const std::string path = (folder_.path() / "a.jpg").string();
    const ScopedScreenScale scale(2);
    const auto image = MVImage::initWithContentsOfFile(path);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size2{2.5F, 4.5F}));
    EXPECT_EQ(textureOf(*image).size, (Mivora::platform::PixelSize{5, 9}));
    Completion completion;
    const auto loading = MVImage::initWithContentsOfFileCompletionBlock(path, completion.block());
    ASSERT_NE(loading, nullptr);
    EXPECT_EQ(loading->size(), (Size2{2.5F, 4.5F})) << "before its pixels are there";
    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(textureOf(*loading).rgba, textureOf(*image).rgba);
    const auto replaced = MVMutableImage::init();
    ASSERT_TRUE(replaced->replaceWithContentsOfFile((folder_.path() / "a@2x.jpg").string()));
    EXPECT_EQ(replaced->size(), (Size2{5, 9}));
    EXPECT_EQ(textureOf(*replaced).rgba, textureOf(*image).rgba);
}

TEST_F(MVImageGLTest, theLineOfAFailureEndsWithTheVariantThatCouldNotBeRead) {
    const std::string path = (folder_.path() / "a.png").string();
    const std::string base = path.substr(0, path.size() - 4);
    folder_.write("a@3x.png", "");
    const auto lineOnScreen = [&](double scale) {
        const ScopedScreenScale screen(scale);
        const LogCapture log("images");
        EXPECT_EQ(MVImage::initWithContentsOfFile(path), nullptr);
        return log.lines().at(0).second;
    };
    const std::string reason = path + ": the file is empty (tried ";
    EXPECT_EQ(lineOnScreen(1), reason + path + ", " + base + "@4x.png, " + base + "@3x.png)");
    EXPECT_EQ(lineOnScreen(2),
              reason + base + "@2x.png, " + base + "@4x.png, " + base + "@3x.png)");
    EXPECT_EQ(lineOnScreen(3), reason + base + "@3x.png)");
    folder_.write("a.png", "");
    EXPECT_EQ(lineOnScreen(1), reason + path + ")");
}

// Binding

TEST_F(MVImageGLTest, usingAnImageBindsItsTextureToTheFirstUnit) {
    const auto image = fromData(testPicture(2, 2, false));
    gl_->clear();
    image->use();
    finish();
    EXPECT_THAT(gl_->texts(),
                ElementsAre(call("glActiveTexture", {GL_TEXTURE0}),
                            call("glBindTexture", {GL_TEXTURE_2D, double(image->mv_texture())})));
}

TEST_F(MVImageGLTest, usingAnotherUnitGoesBackToTheFirst) {
    const auto image = fromData(testPicture(2, 2, false));
    gl_->clear();
    image->useWithTextureUnit(GL_TEXTURE3);
    finish();
    EXPECT_THAT(gl_->texts(),
                ElementsAre(call("glActiveTexture", {GL_TEXTURE3}),
                            call("glBindTexture", {GL_TEXTURE_2D, double(image->mv_texture())}),
                            call("glActiveTexture", {GL_TEXTURE0})));
}

TEST_F(MVImageGLTest, bindingIsQueuedAndKeepsTheImageUntilThen) {
    auto image = fromData(testPicture(2, 2, false));
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    image->use();
    image.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glActiveTexture", "glBindTexture", "glDeleteTextures"));
}

// Teardown

TEST_F(MVImageGLTest, theTextureIsDeletedByItsNameBehindWhatWasQueuedBefore) {
    auto image = fromData(testPicture(2, 2, false));
    const GLuint texture = image->mv_texture();
    gl_->clear();
    QueueGate gate(*context_->dispatchQueue());
    context_->dispatchBlock([] { glFlush(); });
    image.reset();
    EXPECT_THAT(gl_->calls(), IsEmpty());
    gate.open();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glFlush", "glDeleteTextures"));
    EXPECT_THAT(gl_->calls()[1].names, ElementsAre(texture));
}

TEST_F(MVImageGLTest, anImageWithoutATextureDeletesNothing) {
    MVImage::init().reset();
    finish();
    EXPECT_THAT(gl_->calls(), IsEmpty());
}

// Subclasses

TEST_F(MVImageGLTest, theFactoriesOfASubclassMakeTheSubclass) {
    const std::string path =
        folder_.write("a.png", encoded(testPicture(2, 2, false), "png", false));
    const std::shared_ptr<MVMutableImage> fromFile = MVMutableImage::initWithContentsOfFile(path);
    ASSERT_NE(fromFile, nullptr);
    EXPECT_NE(fromFile->mv_texture(), 0U);
    const std::shared_ptr<MVMutableImage> fromBitmap =
        MVMutableImage::initWithCGImageScale(bitmapOf(testPicture(2, 2, false)), 1);
    EXPECT_NE(fromBitmap, nullptr);
    EXPECT_EQ(fromBitmap->updateIndex(), 0U);
}

}  // namespace
