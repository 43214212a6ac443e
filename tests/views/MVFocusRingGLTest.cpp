// The ring around the view that has the focus, as it is seen.

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFilterView.h"
#include "MivoraMac/views/MVFocusRingPrivate.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/support/GLTest.h"

using Mivora::platform::Picture;

namespace {

using Pixel = std::array<std::uint8_t, 4>;

std::uint8_t byteOf(float component) {
    return static_cast<std::uint8_t>(std::lround(component * 255));
}

Pixel pixelOf(Mivora::ColorRGBA color) {
    return {byteOf(color.red), byteOf(color.green), byteOf(color.blue), 255};
}

const Pixel kOuter = pixelOf(MVFocusRing::kOuterColor);
const Pixel kInner = pixelOf(MVFocusRing::kInnerColor);
constexpr Pixel kFill = {51, 153, 102, 255};
constexpr Pixel kChild = {204, 102, 0, 255};
constexpr Pixel kGround = {0, 0, 0, 255};

class MVFocusRingTest : public Mivora::tests::GLTest, public testing::WithParamInterface<bool> {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        context_->setBatching(GetParam());
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        window_ = MVWindow::init();
        window_->setContentScaleFactor(1);
        window_->setSize({120, 100});
        view_ = addTo(window_, {0.2F, 0.6F, 0.4F, 1}, {{20, 10}, {60, 40}});
        view_->setFocusable(true);
    }
    void TearDown() override {
        view_.reset();
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    static std::shared_ptr<MVColorView> addTo(const std::shared_ptr<MVView>& superview,
                                              Mivora::ColorRGBA color, Mivora::Rect2 rect) {
        auto view = MVColorView::initWithColor(color);
        view->setPosition(rect.origin);
        view->setSize(rect.size);
        superview->addSubview(view);
        return view;
    }

    Picture capture() const {
        MVCaptureOptions options;
        options.scale = 1;
        options.alpha = MVCaptureAlpha::Opaque;
        options.clearColor = {0, 0, 0, 1};
        return MVCaptureWindow(window_, options);
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<MVWindow> window_;
    std::shared_ptr<MVColorView> view_;
};

}  // namespace

TEST_P(MVFocusRingTest, runsAlongTheInsideOfTheFocusedViewOverItsSubviews) {
    addTo(view_, {0.8F, 0.4F, 0, 1}, {{0, 0}, {30, 40}});
    EXPECT_EQ(capture().pixel(20, 10), kChild);
    view_->focus();
    const Picture picture = capture();
    // From the left edge to the right one.
    EXPECT_EQ(picture.pixel(19, 30), kGround);
    EXPECT_EQ(picture.pixel(20, 30), kOuter);
    EXPECT_EQ(picture.pixel(21, 30), kOuter);
    EXPECT_EQ(picture.pixel(22, 30), kInner);
    EXPECT_EQ(picture.pixel(23, 30), kChild);
    EXPECT_EQ(picture.pixel(60, 30), kFill);
    EXPECT_EQ(picture.pixel(76, 30), kFill);
    EXPECT_EQ(picture.pixel(77, 30), kInner);
    EXPECT_EQ(picture.pixel(78, 30), kOuter);
    EXPECT_EQ(picture.pixel(79, 30), kOuter);
    EXPECT_EQ(picture.pixel(80, 30), kGround);
    // From top to bottom, and the corners.
    EXPECT_EQ(picture.pixel(60, 9), kGround);
    EXPECT_EQ(picture.pixel(60, 11), kOuter);
    EXPECT_EQ(picture.pixel(60, 12), kInner);
    EXPECT_EQ(picture.pixel(60, 13), kFill);
    EXPECT_EQ(picture.pixel(60, 46), kFill);
    EXPECT_EQ(picture.pixel(60, 47), kInner);
    EXPECT_EQ(picture.pixel(60, 49), kOuter);
    EXPECT_EQ(picture.pixel(60, 50), kGround);
    EXPECT_EQ(picture.pixel(20, 10), kOuter);
    EXPECT_EQ(picture.pixel(79, 49), kOuter);
    EXPECT_EQ(picture.pixel(22, 12), kInner);
    EXPECT_EQ(picture.pixel(77, 47), kInner);
}

TEST_P(MVFocusRingTest, goesWithTheFocus) {
    const auto other = addTo(window_, {0.2F, 0.6F, 0.4F, 1}, {{20, 60}, {60, 30}});
    other->setFocusable(true);
    view_->focus();
    EXPECT_EQ(capture().pixel(20, 30), kOuter);
    other->focus();
    EXPECT_EQ(capture().pixel(20, 30), kFill);
    EXPECT_EQ(capture().pixel(20, 70), kOuter);
    other->blur();
    EXPECT_EQ(capture().pixel(20, 70), kFill);
}

TEST_P(MVFocusRingTest, isSeenOnlyWhileTheKeyboardIsUsedAndTheViewWantsIt) {
    view_->focus();
    window_->mv_setFocusRingVisible(false);
    EXPECT_EQ(capture().pixel(20, 30), kFill);
    window_->mv_setFocusRingVisible(true);
    EXPECT_EQ(capture().pixel(20, 30), kOuter);
    view_->setShowsFocusRing(false);
    EXPECT_EQ(capture().pixel(20, 30), kFill);
    view_->setShowsFocusRing(true);
    EXPECT_EQ(capture().pixel(20, 30), kOuter);
}

TEST_P(MVFocusRingTest, followsTheViewItsPlaneItsSizeAndItsContentOffset) {
    view_->focus();
    capture();
    // A quarter turn: what was the left edge is the top one.
    view_->setAnchorPoint({0.5F, 0.5F});
    view_->setPosition({60, 50});
    view_->setRotation(1.5707963F);
    EXPECT_EQ(capture().pixel(41, 50), kOuter);
    EXPECT_EQ(capture().pixel(43, 50), kFill);
    EXPECT_EQ(capture().pixel(60, 21), kOuter);
    // Turned away about its vertical axis it covers half the width, the ring with it.
    view_->setRotation3({0, 1.0471976F, 0});
    const Picture turned = capture();
    EXPECT_EQ(turned.pixel(60, 31), kOuter);
    EXPECT_EQ(turned.pixel(35, 50), kGround);
    EXPECT_EQ(turned.pixel(85, 50), kGround);
    EXPECT_EQ(turned.pixel(60, 50), kFill);
    // A content offset moves what is in the view, not the view.
    view_->setRotation3({0, 0, 0});
    view_->setLocalOrigin({10, 0});
    EXPECT_EQ(capture().pixel(30, 50), kOuter);
    EXPECT_EQ(capture().pixel(89, 50), kOuter);
    view_->setSize({80, 60});
    EXPECT_EQ(capture().pixel(20, 50), kOuter);
}

TEST_P(MVFocusRingTest, fadesWithTheViewAndFillsOneThatIsTooSmall) {
    view_->setOpacity(0.5F);
    view_->focus();
    const Pixel faded = capture().pixel(20, 30);
    EXPECT_LT(faded[2], kOuter[2]);
    EXPECT_GT(faded[2], capture().pixel(50, 30)[2]);
    view_->setOpacity(1);
    view_->setSize({3, 40});
    EXPECT_EQ(capture().pixel(21, 30), kOuter);
    view_->setSize({0, 40});
    EXPECT_EQ(capture().pixel(21, 30), kGround);
}

TEST_P(MVFocusRingTest, isCutOffWhereTheViewIs) {
    const auto holder = MVView::init();
    holder->setSize({120, 100});
    const auto mask = MVColorView::init();
    mask->setSize({50, 100});
    holder->setStencilView(mask);
    window_->addSubview(holder);
    holder->addSubview(view_);
    view_->focus();
    // Captures have stencils like windows.
    EXPECT_EQ(capture().pixel(20, 30), kOuter);
    EXPECT_EQ(capture().pixel(79, 30), kGround);
}

TEST_P(MVFocusRingTest, isPartOfThePictureOfAFilterViewAndAroundItsOwn) {
    const auto filter = MVFilterView::init();
    filter->setSize({120, 100});
    window_->addSubview(filter);
    filter->addSubview(view_);
    view_->focus();
    EXPECT_EQ(capture().pixel(20, 30), kOuter);
    EXPECT_EQ(capture().pixel(50, 30), kFill);
    filter->setFocusable(true);
    filter->setPosition({5, 5});
    filter->focus();
    const Picture picture = capture();
    EXPECT_EQ(picture.pixel(5, 50), kOuter);
    EXPECT_EQ(picture.pixel(25, 35), kFill);
}

TEST_P(MVFocusRingTest, costsNoGLCallWithoutTheFocus) {
    capture();
    finish();
    gl_->clear();
    capture();
    finish();
    const std::size_t without = gl_->texts().size();
    view_->focus();
    view_->blur();
    gl_->clear();
    capture();
    finish();
    EXPECT_EQ(gl_->texts().size(), without);
}

INSTANTIATE_TEST_SUITE_P(Batching, MVFocusRingTest, testing::Bool(),
                         [](const auto& batching) { return batching.param ? "on" : "off"; });
