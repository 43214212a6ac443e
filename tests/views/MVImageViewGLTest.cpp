#include "MivoraMac/views/MVImageView.h"

#include <epoxy/gl.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "tests/support/GLTest.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::Point2;
using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::tests::callText;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Texts = std::vector<std::string>;

/// Red, green over blue, white; opaque.
constexpr std::uint8_t kFour[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                  0,   0, 255, 255, 255, 255, 255, 255};

class MVImageViewTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        window_ = CountingWindow::make();
        window_->setSize({40.0F, 20.0F});
        window_->setContentScaleFactor(1.0F);
        window_->mv_layoutVisit();
        finish();
        gl_->clear();
    }

    void TearDown() override {
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    template <class Image = MVImage>
    static std::shared_ptr<Image> image(std::int32_t coordinateSystem = 0,
                                        bool premultiplied = false) {
        return Image::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            kFour, 2, 2, 1.0F, coordinateSystem, premultiplied, GL_RGBA);
    }

    /// A view in the window with the image stretched over all of it.
    std::shared_ptr<MVImageView> show(const std::shared_ptr<MVImage>& image) {
        auto view = MVImageView::initWithImage(image);
        window_->addSubview(view);
        view->setSize({40.0F, 20.0F});
        return view;
    }

    /// The vertices of the rebuild that the next drawing makes; empty if it makes none.
    std::vector<float> rebuilt(MVImageView& view) {
        finish();
        gl_->clear();
        view.mv_buildQuadVertices();
        finish();
        const auto uploads = gl_->callsOf("glBufferData");
        return uploads.empty() ? std::vector<float>() : std::vector<float>(uploads[0].floats);
    }

    Texts drawing() {
        finish();
        gl_->clear();
        window_->mv_drawVisit();
        finish();
        return gl_->texts();
    }

    Picture capture() {
        MVCaptureOptions options;
        options.samples = 0;
        options.scale = 1;
        return MVCaptureWindow(window_, options);
    }

    static std::vector<int> pixel(const Picture& picture, int x, int y) {
        const std::size_t at = (static_cast<std::size_t>(y) * picture.size.width + x) * 4;
        return {picture.rgba.at(at), picture.rgba.at(at + 1), picture.rgba.at(at + 2)};
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<CountingWindow> window_;
};

}  // namespace

TEST_F(MVImageViewTest, aNewViewHasNoImageAndDrawsNothing) {
    const auto view = MVImageView::init();
    EXPECT_EQ(view->image(), nullptr);
    view->setSize({10.0F, 10.0F});
    window_->addSubview(view);
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVImageViewTest, takesTheSizeOfItsFirstImageAndKeepsItForLaterOnes) {
    const auto view = MVImageView::initWithImage(image());
    EXPECT_EQ(view->size(), (Size2{2, 2}));
    const auto large =
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            nullptr, 8, 4, 1.0F, 0, false, GL_RGBA);
    view->setImage(large);
    EXPECT_EQ(view->image(), large);
    EXPECT_EQ(view->size(), (Size2{2, 2}));
}

TEST_F(MVImageViewTest, showsTheImageUprightWhicheverWayItsRowsAreStored) {
    const auto view = show(image(0));
    Picture picture = capture();
    EXPECT_THAT(pixel(picture, 1, 1), ElementsAre(255, 0, 0));
    EXPECT_THAT(pixel(picture, 38, 1), ElementsAre(0, 255, 0));
    EXPECT_THAT(pixel(picture, 1, 18), ElementsAre(0, 0, 255));
    view->setImage(image(1));
    picture = capture();
    EXPECT_EQ(view->coordinateSystem(), 1);
    EXPECT_THAT(pixel(picture, 1, 1), ElementsAre(0, 0, 255));
    EXPECT_THAT(pixel(picture, 1, 18), ElementsAre(255, 0, 0));
    view->setImage(nullptr);
    picture = capture();
    EXPECT_EQ(view->coordinateSystem(), 0);
}

TEST_F(MVImageViewTest, itsVerticesCarryTheTextureCoordinatesOfTheImage) {
    const auto view = show(image());
    EXPECT_THAT(rebuilt(*view), ElementsAre(0, 0, 0, 0, 40, 0, 1, 0, 0, 20, 0, 1, 40, 20, 1, 1));
    EXPECT_THAT(rebuilt(*view), IsEmpty());
}

TEST_F(MVImageViewTest, anotherImageLeavesTheVerticesAsTheyAre) {
    const auto view = show(image());
    rebuilt(*view);
    view->setImage(image());
    EXPECT_THAT(rebuilt(*view), IsEmpty());
}

TEST_F(MVImageViewTest, aStraightImageIsBlendedByItsAlphaAndFadedByTheTintsAlpha) {
    const auto view = show(image(0, false));
    view->setOpacity(0.5F);
    const Texts texts = drawing();
    EXPECT_THAT(texts, Contains(callText("glBlendFunc", GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)));
    EXPECT_THAT(gl_->callsOf("glUniform4f").at(0).arguments, ElementsAre(testing::_, 1, 1, 1, 0.5));
}

TEST_F(MVImageViewTest, aPremultipliedImageIsBlendedWithOneAndFadedInAllComponents) {
    const auto view = show(image(0, true));
    view->setOpacity(0.5F);
    const Texts texts = drawing();
    EXPECT_THAT(texts, Contains(callText("glBlendFunc", GL_ONE, GL_ONE_MINUS_SRC_ALPHA)));
    EXPECT_THAT(gl_->callsOf("glUniform4f").at(0).arguments,
                ElementsAre(testing::_, 0.5, 0.5, 0.5, 0.5));
}

TEST_F(MVImageViewTest, blendingIsOnForOpaqueImagesToo) {
    show(image());
    EXPECT_THAT(drawing(), Contains(callText("glEnable", GL_BLEND)));
}

TEST_F(MVImageViewTest, theSameImageAgainAsksForNoRedraw) {
    const auto shown = image();
    const auto view = show(shown);
    window_->redrawRequests = 0;
    view->setImage(shown);
    EXPECT_EQ(window_->redrawRequests, 0);
    view->setImage(image());
    EXPECT_EQ(window_->redrawRequests, 1);
}

TEST_F(MVImageViewTest, newContentsOfAMutableImageAskForARedrawButForNoVertices) {
    const auto shown = image<MVMutableImage>();
    const auto view = show(shown);
    rebuilt(*view);
    window_->redrawRequests = 0;
    shown->setUpdateIndex(shown->updateIndex() + 1);
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_THAT(rebuilt(*view), IsEmpty());
}

TEST_F(MVImageViewTest, anotherSizeOfTheImageAsksForARedrawWithNewVertices) {
    const auto shown = image();
    const auto view = show(shown);
    rebuilt(*view);
    window_->redrawRequests = 0;
    shown->setScale(2.0F);
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_THAT(rebuilt(*view), SizeIs(16));
    EXPECT_EQ(view->size(), (Size2{40, 20})) << "the view keeps its size";
}

TEST_F(MVImageViewTest, watchesItsImageForAsLongAsItShowsIt) {
    const auto plain = image();
    const auto changing = image<MVMutableImage>();
    auto view = MVImageView::initWithImage(plain);
    EXPECT_EQ(plain->observerCount(), 3U);
    view->setImage(changing);
    EXPECT_EQ(plain->observerCount(), 0U);
    EXPECT_EQ(changing->observerCount(), 4U);
    view.reset();
    EXPECT_EQ(changing->observerCount(), 0U);
}
