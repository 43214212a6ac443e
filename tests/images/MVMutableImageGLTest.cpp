#include "MivoraMac/images/MVMutableImage.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "MivoraMac/platform/pictures/PixelBuffer.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::Size2;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::platform::PixelBuffer;
using Mivora::tests::bitmapOf;
using Mivora::tests::ChangeLog;
using Mivora::tests::Completion;
using Mivora::tests::encoded;
using Mivora::tests::flipped;
using Mivora::tests::LogCapture;
using Mivora::tests::opaqueBitmapOf;
using Mivora::tests::premultiplied;
using Mivora::tests::ScopedScreenScale;
using Mivora::tests::testPicture;
using Mivora::tests::Texts;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const Texts kOnlyTheIndex = {"will updateIndex", "did updateIndex"};

class MVMutableImageGLTest : public Mivora::tests::ImageTest {
 protected:
    static void replace(MVMutableImage& image, const Picture& picture, float scale = 1,
                        int coordinateSystem = 0, bool isPremultiplied = false,
                        GLenum format = GL_RGBA) {
        image.replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            picture.rgba.data(), static_cast<std::uint64_t>(picture.size.width),
            static_cast<std::uint64_t>(picture.size.height), scale, coordinateSystem,
            isPremultiplied, format);
    }

    /// An image of 4 by 2 pixels with a texture.
    std::shared_ptr<MVMutableImage> image() {
        auto made = MVMutableImage::init();
        replace(*made, testPicture(4, 2, false));
        made->setUpdateIndex(0);
        gl_->clear();
        return made;
    }

    static std::shared_ptr<PixelBuffer> frame(std::uint32_t type,
                                              const std::vector<std::uint8_t>& pixels) {
        auto buffer = PixelBuffer::create(pixels.size() / 4, 1, type);
        buffer->lockBaseAddress();
        std::copy(pixels.begin(), pixels.end(), buffer->baseAddress());
        buffer->unlockBaseAddress();
        return buffer;
    }
};

// Data

TEST_F(MVMutableImageGLTest, theFirstReplacementMakesTheTexture) {
    const auto made = MVMutableImage::init();
    EXPECT_EQ(made->updateIndex(), 0U);
    const Picture picture = testPicture(4, 2, true);
    replace(*made, picture, 2, 1, true);
    EXPECT_THAT(gl_->texts(), ElementsAreArray(making(made->mv_texture(), GL_RGBA, 4, 2, GL_RGBA)));
    EXPECT_EQ(made->updateIndex(), 1U);
    EXPECT_EQ(made->size(), (Size2{2, 1}));
    EXPECT_EQ(made->coordinateSystem(), 1);
    EXPECT_TRUE(made->premultipliedAlpha());
    expectTexture(*made, picture);
}

TEST_F(MVMutableImageGLTest, laterReplacementsKeepTheTextureName) {
    const auto made = image();
    const double texture = made->mv_texture();
    const Picture picture = testPicture(9, 5, false);
    replace(*made, picture);
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploading(texture, GL_RGBA, 9, 5, GL_RGBA)));
    EXPECT_EQ(made->mv_texture(), texture);
    expectTexture(*made, picture);
}

TEST_F(MVMutableImageGLTest, pixelsInReversedOrderAreStoredInEightBitsEach) {
    const auto made = image();
    replace(*made, {{1, 1}, {10, 20, 30, 40}}, 1, 0, false, GL_BGRA);
    EXPECT_THAT(gl_->texts(),
                ElementsAreArray(uploading(made->mv_texture(), GL_RGBA8, 1, 1, GL_BGRA)));
    expectTexture(*made, {{1, 1}, {30, 20, 10, 40}});
}

TEST_F(MVMutableImageGLTest, replacingWithTheSameShapeAnnouncesTheIndexOnly) {
    const auto made = image();
    const auto log = ChangeLog::of(*made);
    replace(*made, testPicture(4, 2, false));
    EXPECT_EQ(log->seen, kOnlyTheIndex);
    EXPECT_EQ(made->updateIndex(), 1U);
}

struct Change {
    const char* name;
    int width, height;
    float scale;
    int coordinateSystem;
    bool isPremultiplied;
    std::vector<const char*> keys;
};

class MVMutableImageChangeGLTest : public MVMutableImageGLTest,
                                   public testing::WithParamInterface<Change> {};

TEST_P(MVMutableImageChangeGLTest, exactlyWhatChangesIsAnnouncedAroundTheReplacement) {
    const Change& change = GetParam();
    const auto made = image();
    const auto log = ChangeLog::of(*made);
    replace(*made, testPicture(change.width, change.height, true), change.scale,
            change.coordinateSystem, change.isPremultiplied);
    Texts expected;
    for (const char* key : change.keys) {
        expected.push_back(std::string("will ") + key);
    }
    expected.insert(expected.end(), kOnlyTheIndex.begin(), kOnlyTheIndex.end());
    for (const char* key : change.keys) {
        expected.push_back(std::string("did ") + key);
    }
    EXPECT_EQ(log->seen, expected);
}

INSTANTIATE_TEST_SUITE_P(
    AllChanges, MVMutableImageChangeGLTest,
    testing::Values(
        Change{"width", 5, 2, 1, 0, false, {"size"}}, Change{"height", 4, 3, 1, 0, false, {"size"}},
        Change{"scale", 4, 2, 2, 0, false, {"size"}},
        Change{"sizeThoughEqualInPoints", 8, 4, 2, 0, false, {"size"}},
        Change{"coordinateSystem", 4, 2, 1, 1, false, {"coordinateSystem"}},
        Change{"alpha", 4, 2, 1, 0, true, {"premultipliedAlpha"}},
        Change{"all", 1, 1, 3, 1, true, {"size", "coordinateSystem", "premultipliedAlpha"}}),
    [](const testing::TestParamInfo<Change>& test) { return std::string(test.param.name); });

/// Does what a test says whenever it is told of a change.
class Reader : public Mivora::platform::PropertyObserver {
 public:
    explicit Reader(std::function<void()> read) : read_(std::move(read)) {}
    void observeValueForKeyPathOfObjectChangeContext(std::string_view,
                                                     Mivora::platform::ObservableObject&,
                                                     Mivora::platform::PropertyChange,
                                                     void*) override {
        read_();
    }

 private:
    std::function<void()> read_;
};

TEST_F(MVMutableImageGLTest, observersMayDropTheImage) {
    for (const char* const key : {"size", "updateIndex"}) {
        auto made = image();
        int calls = 0;
        const auto dropping = std::make_shared<Reader>([&] { made.reset(); });
        const auto counting = std::make_shared<Reader>([&] { ++calls; });
        made->addObserver(dropping, key);
        made->addObserver(counting, key);
        const Picture picture = testPicture(3, 3, true);
        made->replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            picture.rgba.data(), 3, 3, 1, 0, false, GL_RGBA);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(calls, 1) << key;
    }
    auto made = image();
    const auto dropping = std::make_shared<Reader>([&] { made.reset(); });
    made->addObserver(dropping, "size");
    made->setScale(3);
    EXPECT_EQ(made, nullptr);
    made = image();
    made->addObserver(dropping, "updateIndex");
    made->setUpdateIndex(7);
    EXPECT_EQ(made, nullptr);
}

TEST_F(MVMutableImageGLTest, aFrameIsFreeAgainWhateverAnObserverThrows) {
    const auto made = image();
    const auto frame = PixelBuffer::create(2, 2, PixelBuffer::kRGBA);
    const auto throwing = std::make_shared<Reader>([] { throw std::runtime_error("no"); });
    made->addObserver(throwing, "updateIndex");
    EXPECT_THROW(made->replaceWithCVPixelBuffer(frame), std::runtime_error);
    auto locked = std::async(std::launch::async, [frame] {
        frame->lockBaseAddress();
        frame->unlockBaseAddress();
    });
    ASSERT_EQ(locked.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST_F(MVMutableImageGLTest, thePixelsAreThereWhenTheIndexIsAnnounced) {
    const auto made = image();
    const Picture picture = testPicture(3, 3, true);
    int reads = 0;
    const auto reader = std::make_shared<Reader>([&] {
        ++reads;
        EXPECT_EQ(made->size(), (Size2{3, 3}));
        expectTexture(*made, picture);
    });
    made->addObserver(reader, "updateIndex");
    replace(*made, picture);
    EXPECT_EQ(reads, 1);
}

TEST_F(MVMutableImageGLTest, theIndexCanBeSetAndWraps) {
    const auto made = image();
    const auto log = ChangeLog::of(*made);
    made->setUpdateIndex(0xFFFFFFFFU);
    EXPECT_EQ(log->seen, kOnlyTheIndex);
    replace(*made, testPicture(4, 2, false));
    EXPECT_EQ(made->updateIndex(), 0U);
}

TEST_F(MVMutableImageGLTest, anImageGoesWithItsTexture) {
    auto made = image();
    made.reset();
    finish();
    EXPECT_THAT(gl_->names(), ElementsAre("glDeleteTextures"));
}

// Bitmaps and files

TEST_F(MVMutableImageGLTest, aBitmapIsRasterizedAsForAnImage) {
    const auto made = image();
    const Picture picture = testPicture(6, 5, true);
    EXPECT_TRUE(made->replaceWithCGImageScale(bitmapOf(picture), 2));
    EXPECT_EQ(made->scale(), 2.0F);
    EXPECT_EQ(made->coordinateSystem(), 0);
    EXPECT_TRUE(made->premultipliedAlpha());
    expectTexture(*made, premultiplied(picture));

    const Picture opaque = testPicture(7, 5, false);
    EXPECT_TRUE(made->replaceWithCGImageScaleCoordinateSystem(opaqueBitmapOf(opaque), 1, 1));
    EXPECT_EQ(made->coordinateSystem(), 1);
    EXPECT_FALSE(made->premultipliedAlpha());
    expectTexture(*made, flipped(opaque));
    EXPECT_EQ(made->updateIndex(), 2U);
}

TEST_F(MVMutableImageGLTest, exactlyTheFileIsLoadedAndNoVariant) {
    const Picture picture = testPicture(6, 5, false);
    const std::string path = folder_.write("a.png", encoded(picture, "png", false));
    folder_.write("a@2x.png", encoded(testPicture(12, 10, false), "png", false));
    const ScopedScreenScale scale(2);
    const auto made = image();
    EXPECT_TRUE(made->replaceWithContentsOfFile(path));
    EXPECT_EQ(made->scale(), 1.0F);
    expectTexture(*made, picture);
    EXPECT_TRUE(made->replaceWithContentsOfFileCoordinateSystem(path, 1));
    expectTexture(*made, flipped(picture));
    folder_.write("b@2x.png", encoded(picture, "png", false));
    EXPECT_FALSE(made->replaceWithContentsOfFile((folder_.path() / "b.png").string()));
}

TEST_F(MVMutableImageGLTest, whatCannotBeLoadedLeavesTheImageAlone) {
    const auto made = image();
    const auto log = ChangeLog::of(*made);
    const LogCapture lines("images");
    EXPECT_FALSE(made->replaceWithContentsOfFile(folder_.write("a.png", "no picture")));
    EXPECT_FALSE(made->replaceWithCGImageScale(nullptr, 1));
    EXPECT_FALSE(made->replaceWithCVPixelBuffer(nullptr));
    EXPECT_THAT(lines.lines(), SizeIs(1));
    EXPECT_THAT(log->seen, IsEmpty());
    EXPECT_THAT(gl_->calls(), IsEmpty());
    EXPECT_EQ(made->updateIndex(), 0U);
    expectTexture(*made, testPicture(4, 2, false));
}

// In the background

TEST_F(MVMutableImageGLTest, aBackgroundReplacementStoresSilentlyAndAnnouncesTheIndex) {
    const auto made = image();
    const double texture = made->mv_texture();
    const auto log = ChangeLog::of(*made);
    const Picture picture = testPicture(6, 5, true);
    Completion completion;
    EXPECT_TRUE(made->replaceWithCGImageScaleCoordinateSystemCompletionBlock(
        bitmapOf(picture), 2, 1, completion.block()));
    EXPECT_EQ(made->size(), (Size2{3, 2.5F}));
    EXPECT_EQ(made->coordinateSystem(), 1);
    EXPECT_TRUE(made->premultipliedAlpha());
    EXPECT_EQ(made->updateIndex(), 0U);
    EXPECT_THAT(log->seen, IsEmpty());

    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(completion.image, made);
    EXPECT_TRUE(completion.success);
    EXPECT_TRUE(completion.onMainThread);
    EXPECT_EQ(log->seen, kOnlyTheIndex);
    EXPECT_EQ(made->updateIndex(), 1U);
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploading(texture, GL_RGBA, 6, 5, GL_RGBA)));
    expectTexture(*made, flipped(premultiplied(picture)));
}

TEST_F(MVMutableImageGLTest, theUploadOfABackgroundReplacementIsMadeFromTheMainThread) {
    const auto made = image();
    std::vector<bool> areOnMainThread;
    const auto reader =
        std::make_shared<Reader>([&] { areOnMainThread.push_back(MainThread::isMainThread()); });
    made->addObserver(reader, "updateIndex");
    Completion completion;
    made->replaceWithCGImageScaleCompletionBlock(bitmapOf(testPicture(6, 5, true)), 1,
                                                 completion.block());
    ASSERT_TRUE(completion.wait());
    EXPECT_THAT(areOnMainThread, ElementsAre(true));
}

TEST_F(MVMutableImageGLTest, withoutABitmapTheBlockIsCalledAtOnceWithTheImage) {
    const auto made = image();
    Completion completion;
    std::thread([&] {
        EXPECT_FALSE(made->replaceWithCGImageScaleCoordinateSystemCompletionBlock(
            nullptr, 1, 0, completion.block()));
        EXPECT_EQ(completion.calls, 1);
    }).join();
    EXPECT_EQ(completion.image, made);
    EXPECT_FALSE(completion.success);
    EXPECT_FALSE(completion.onMainThread);
    EXPECT_EQ(made->size(), (Size2{4, 2}));
    EXPECT_FALSE(made->replaceWithCGImageScaleCompletionBlock(nullptr, 1, nullptr));
}

TEST_F(MVMutableImageGLTest, filesAreReplacedInTheBackgroundToo) {
    const Picture picture = testPicture(6, 5, true);
    const std::string path = folder_.write("a.png", encoded(picture, "png", true));
    const auto made = image();
    Completion completion;
    EXPECT_TRUE(made->replaceWithContentsOfFileCompletionBlock(path, completion.block()));
    ASSERT_TRUE(completion.wait());
    expectTexture(*made, premultiplied(picture));
    EXPECT_TRUE(made->replaceWithContentsOfFileCoordinateSystemCompletionBlock(path, 1,
                                                                               completion.block()));
    ASSERT_TRUE(completion.wait(2));
    expectTexture(*made, flipped(premultiplied(picture)));
    EXPECT_FALSE(
        made->replaceWithContentsOfFileCompletionBlock("/no/such.png", completion.block()));
    EXPECT_EQ(completion.calls, 3);
    EXPECT_EQ(completion.image, made);
    EXPECT_FALSE(completion.success);
    EXPECT_TRUE(
        made->replaceWithCGImageScaleCompletionBlock(bitmapOf(picture), 1, completion.block()));
    ASSERT_TRUE(completion.wait(4));
    EXPECT_EQ(made->updateIndex(), 3U);
}

TEST_F(MVMutableImageGLTest, anImageThatGoesMeanwhileIsReported) {
    auto made = image();
    Completion completion;
    made->replaceWithCGImageScaleCompletionBlock(bitmapOf(testPicture(6, 5, true)), 1,
                                                 completion.block());
    made.reset();
    ASSERT_TRUE(completion.wait());
    EXPECT_EQ(completion.success, completion.image != nullptr);
}

// Video

TEST_F(MVMutableImageGLTest, framesAreUploadedByTheirFormat) {
    const auto made = image();
    const double texture = made->mv_texture();
    const std::vector<std::uint8_t> pixels = {10, 20, 30, 40, 50, 60, 70, 80, 1, 2, 3, 4};
    EXPECT_TRUE(made->replaceWithCVPixelBuffer(frame(PixelBuffer::kBGRA, pixels)));
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploading(texture, GL_RGBA8, 3, 1, GL_BGRA)));
    expectTexture(*made, {{3, 1}, {30, 20, 10, 40, 70, 60, 50, 80, 3, 2, 1, 4}});
    gl_->clear();
    EXPECT_TRUE(made->replaceWithCVPixelBuffer(frame(PixelBuffer::kRGBA, pixels)));
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploading(texture, GL_RGBA, 3, 1, GL_RGBA)));
    expectTexture(*made, {{3, 1}, pixels});
    EXPECT_EQ(made->updateIndex(), 2U);
}

TEST_F(MVMutableImageGLTest, aFrameOfAnotherFormatIsUploadedAsFormatZero) {
    const auto made = image();
    made->replaceWithCVPixelBuffer(frame(Mivora::platform::pixelFormatType("2vuy"), {1, 2, 3, 4}));
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploading(made->mv_texture(), GL_RGBA, 1, 1, 0)));
    EXPECT_EQ(made->updateIndex(), 1U);
    EXPECT_NE(glError(), GLenum{GL_NO_ERROR});
}

TEST_F(MVMutableImageGLTest, aFrameKeepsScaleSystemAndAlpha) {
    const auto made = MVMutableImage::init();
    replace(*made, testPicture(4, 2, true), 2, 1, true);
    const auto log = ChangeLog::of(*made);
    made->replaceWithCVPixelBuffer(frame(PixelBuffer::kRGBA, {1, 2, 3, 4}));
    EXPECT_EQ(made->scale(), 2.0F);
    EXPECT_EQ(made->coordinateSystem(), 1);
    EXPECT_TRUE(made->premultipliedAlpha());
    EXPECT_THAT(log->seen,
                ElementsAre("will size", "will updateIndex", "did updateIndex", "did size"));
}

TEST_F(MVMutableImageGLTest, aFrameIsLockedWhileItIsUploadedAndFreeAfterwards) {
    const auto made = image();
    const auto buffer = frame(PixelBuffer::kRGBA, {1, 2, 3, 4});
    std::future<void> producer;
    gl_->before("glTexImage2D", [&](const auto&) {
        producer = std::async(std::launch::async, [&] {
            buffer->lockBaseAddress();
            EXPECT_NE(buffer->baseAddress(), nullptr);
            buffer->unlockBaseAddress();
        });
        EXPECT_EQ(producer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout)
            << "another thread has it while it is uploaded";
    });
    made->replaceWithCVPixelBuffer(buffer);
    gl_->before("glTexImage2D", nullptr);
    EXPECT_EQ(buffer->baseAddress(), nullptr);
    ASSERT_TRUE(producer.valid());
    producer.get();
}

}  // namespace
