// Groups of stencil levels that are drawn together, against the calls that they stand for.

#include <epoxy/gl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/support/RandomWindow.h"
#include "tests/views/QuadBatchTest.h"

using Mivora::Point2;
using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::tests::MeddledWindow;
using Mivora::tests::QuadBatchTest;
using Mivora::tests::scenesToCompare;
using testing::SizeIs;

namespace {

constexpr float kExtent = MeddledWindow::kExtent;

/// Windows with grids of views with stencils, most of which are alike: some apart, some not.
class RandomGrid : public MeddledWindow {
 public:
    explicit RandomGrid(unsigned seed) : MeddledWindow(seed, MVWindow::init()) {
        makeImages(4);
        MVView* above = window_.get();
        if (chance(0.3F)) {
            above = limited(*above, {kExtent / 2, kExtent / 2}, kExtent).get();
        }
        const auto columns = static_cast<int>(between(2, 8));
        const float cell = kExtent / static_cast<float>(columns);
        const float background = chance(0.5F) ? cell * between(0.8F, 1.5F) : 0;
        const bool isMeddledWith = chance(0.3F);
        turn_ = {chance(0.3F) ? between(-1, 1) : 0, chance(0.3F) ? between(-1, 1) : 0,
                 chance(0.5F) ? between(-1, 1) : 0};
        share_ = between(0.3F, 1.1F);
        const auto kind = static_cast<unsigned>(between(0, 1000));
        for (int i = 0; i < columns * columns; ++i) {
            const Point2 center = {cell * (static_cast<float>(i % columns) + 0.5F),
                                   cell * (static_cast<float>(i / columns) + 0.5F)};
            if (background != 0) {
                add(*above, quad(), center, background);
            }
            if (isMeddledWith && chance(0.1F)) {
                above->addSubview(meddler());
            }
            const unsigned other = chance(0.05F) ? 1 : 0;
            addGroup(*above, center, cell, kind + other);
        }
    }

 private:
    /// Views in each other, of kinds that the bits of a number say.
    void addGroup(MVView& above, Point2 center, float extent, unsigned kind) {
        auto view = limited(above, center, extent * share_, (kind & 1U) != 0);
        for (unsigned depth = kind / 2 % 3; depth != 0; --depth) {
            const float inside = extent * share_;
            if ((kind & 8U) != 0) {
                add(*view, (kind & 16U) != 0 ? picture() : color(), {inside / 2, 0}, inside);
            }
            view = limited(*view, {inside / 2, inside / 2}, inside, (kind & 32U) != 0);
        }
    }

    /// Adds a view with a stencil view.
    std::shared_ptr<MVView> limited(MVView& above, Point2 center, float extent,
                                    bool isImage = false) {
        auto view = add(above, isImage ? picture() : color(), center, extent);
        auto stencil = chance(0.02F) ? meddler() : color();
        place(*stencil, {extent / 2, extent / 2}, extent * 0.9F);
        stencil->setRotation3(turn_);
        view->setStencilView(stencil);
        return view;
    }

    static std::shared_ptr<MVView> add(MVView& above, std::shared_ptr<MVView> view, Point2 center,
                                       float extent) {
        place(*view, center, extent);
        above.addSubview(view);
        return view;
    }

    static void place(MVView& view, Point2 center, float extent) {
        view.setSize({extent, extent});
        view.setAnchorPoint({0.5F, 0.5F});
        view.setPosition(center);
    }

    Mivora::Point3 turn_ = Mivora::Point3::kZero;
    float share_ = 1;
};

class MVStencilGroupsTest : public QuadBatchTest {
 protected:
    void SetUp() override {
        QuadBatchTest::SetUp();
        window_->setSize({kExtent, kExtent});
    }

    void TearDown() override {
        window_.reset();
        QuadBatchTest::TearDown();
    }

    /// Adds a square with a stencil view that leaves half of it.
    std::shared_ptr<MVView> addSquare(MVView& above, Point2 position, float extent = 10) {
        const auto shade = static_cast<float>(count_++ % 10) / 9;
        auto view = MVColorView::initWithColor({shade, 1 - shade, 1, 1});
        view->setSize({extent, extent});
        view->setPosition(position);
        auto stencil = MVColorView::init();
        stencil->setSize({extent / 2, extent});
        view->setStencilView(stencil);
        above.addSubview(view);
        return view;
    }

    /// Adds squares along the diagonal.
    /// @param distance  from one to the next
    void addSquares(MVView& above, int count, float distance, float begin = 1) {
        for (int i = 0; i < count; ++i) {
            const float along = static_cast<float>(i) * distance + begin;
            addSquare(above, {along, along});
        }
    }

    /// Draws it, which has to come out as the calls that it stands for.
    /// @return how many calls that took
    std::size_t callsToDraw(int samples = 0) {
        const Picture expected = captureWith(false, window_, samples);
        captureWith(true, window_, samples);  // what is drawn with is made
        gl_->clear();
        const Picture picture = captureWith(true, window_, samples);
        EXPECT_EQ(picture.rgba, expected.rgba);
        return drawCalls();
    }

    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    int count_ = 0;  ///< Of squares.
};

}  // namespace

TEST_F(MVStencilGroupsTest, randomGridsComeOutAsFromTheirCalls) {
    expectIdentity<RandomGrid>(0, scenesToCompare(100));
}

TEST_F(MVStencilGroupsTest, randomGridsComeOutAsFromTheirCallsWithFourSamples) {
    expectIdentity<RandomGrid>(4, scenesToCompare(40));
}

TEST_F(MVStencilGroupsTest, groupsThatStandApartAreDrawnByTheCallsOfOne) {
    addSquares(*window_, 9, 12);
    EXPECT_EQ(callsToDraw(), 2) << "shapes and squares";
}

TEST_F(MVStencilGroupsTest, groupsOfLevelsInEachOtherAreDrawnByTheCallsOfOne) {
    for (int i = 0; i < 5; ++i) {
        const auto outer = addSquare(*window_, {static_cast<float>(i) * 30 + 2, 40}, 24);
        addSquare(*addSquare(*outer, {1, 1}, 20), {2, 2}, 8);
    }
    EXPECT_EQ(callsToDraw(), 6);
}

TEST_F(MVStencilGroupsTest, groupsInALevelThatGoesOnAreDrawnByTheCallsOfOne) {
    const auto list = addSquare(*window_, {0, 0}, kExtent);
    addSquares(*list, 9, 12);
    EXPECT_EQ(callsToDraw(), 4);
}

TEST_F(MVStencilGroupsTest, groupsThatTouchAreDrawnOneAfterTheOther) {
    // The stencils are apart, but one square reaches into the stencil of the next one.
    addSquares(*window_, 9, 8);
    EXPECT_EQ(callsToDraw(), 18) << "each shape is taken back by the call that draws the next one";
    addSquares(*window_, 9, -8, 70);
    EXPECT_EQ(callsToDraw(), 36) << "the other way round";
}

TEST_F(MVStencilGroupsTest, groupsMayTouchWhereNothingIsSeenOfThem) {
    const auto add = [this](float x) {
        for (int i = 0; i < 5; ++i) {
            // What the outer ones leave is apart. The inner ones are not, nor are their stencils.
            const auto outer = addSquare(*window_, {static_cast<float>(i) * 20 + x, 20}, 16);
            addSquare(*outer, {-11, 0}, 22)->stencilView()->setSize({22, 22});
        }
    };
    add(20);
    EXPECT_EQ(callsToDraw(), 4);
    // Outer ones where the inner ones met, with inner stencils that leave nothing there.
    add(28);
    for (std::size_t i = 5; i < 10; ++i) {
        const auto inner = window_->subviews()->at(i)->subviews()->front();
        inner->stencilView()->setPosition({16, 0});
        inner->stencilView()->setSize({10, 8});
    }
    EXPECT_EQ(callsToDraw(), 8) << "the shapes of both levels are taken back as they were";
}

TEST_F(MVStencilGroupsTest, quadsBetweenGroupsComeFirstWhereTheyTouchNoneBefore) {
    for (int i = 0; i < 9; ++i) {
        const float y = static_cast<float>(i) * 16;
        const auto row = MVColorView::initWithColor({0.5F, 0.5F, static_cast<float>(i) / 9, 1});
        row->setSize({kExtent, 16});
        row->setPosition({0, y});
        window_->addSubview(row);
        addSquare(*window_, {4, y + 2});
    }
    EXPECT_EQ(callsToDraw(), 3) << "rows, shapes, squares";
    // A row that reaches over the square before it.
    window_->subviews()->at(8)->setPosition({0, 60});
    EXPECT_EQ(callsToDraw(), 6);
}

TEST_F(MVStencilGroupsTest, groupsThatTheWindowCutsOffAreDrawnTogether) {
    for (int i = 0; i < 9; ++i) {
        addSquare(*window_, {-3, static_cast<float>(i) * 20 - 4}, 10);
    }
    EXPECT_EQ(callsToDraw(4), 2);
    addSquares(*window_, 6, 15);
    EXPECT_EQ(callsToDraw(4), 5) << "clipped shapes are taken back by a call of their own";
}

TEST_F(MVStencilGroupsTest, groupsBehindTheEyeAreDrawnOneAfterTheOther) {
    addSquares(*window_, 3, 12, 60);
    EXPECT_EQ(callsToDraw(), 2);
    for (const auto& view : *window_->subviews()) {
        view->setRotation3({1.2F, 0, 0});
        view->setSize({10, 4000});
    }
    window_->setNearDistance(1000);
    EXPECT_EQ(callsToDraw(), 6);
}

TEST_F(MVStencilGroupsTest, groupsThatAreNotAlikeAreDrawnOneAfterTheOther) {
    addSquares(*window_, 4, 12);
    addSquare(*window_->subviews()->at(1), {0, 0}, 4);
    window_->subviews()->at(3)->setOpacity(0.5F);
    EXPECT_EQ(callsToDraw(), 10);
}

TEST_F(MVStencilGroupsTest, groupsThatUseOtherShadersAreDrawnOneAfterTheOther) {
    addSquares(*window_, 4, 12);
    for (const auto& view : *window_->subviews()) {
        view->stencilView()->setOpacity(0.5F);  // it is blended, as the picture
    }
    constexpr std::array<std::uint8_t, 4> kPixel = {255, 255, 255, 128};
    const auto picture = MVImageView::initWithImage(
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            kPixel.data(), 1, 1, 1.0F, 0, false, GL_RGBA));
    picture->setSize({5, 10});
    window_->subviews()->at(1)->setStencilView(picture);
    EXPECT_EQ(callsToDraw(), 6);
}

TEST_F(MVStencilGroupsTest, aShapeOfSeveralQuadsIsTakenBackBeforeTheNextOne) {
    addSquares(*window_, 4, 12);
    for (const auto& view : *window_->subviews()) {
        const auto more = MVColorView::init();
        more->setSize({3, 7});
        more->setPosition({2, 2});  // over the other
        view->stencilView()->addSubview(more);
    }
    EXPECT_EQ(callsToDraw(), 4 * 2 + 3);
}

TEST_F(MVStencilGroupsTest, aShapeOfVeryManyQuadsIsClearedWithItsPlane) {
    addSquares(*window_, 2, 12);
    for (int i = 0; i < 600; ++i) {
        const auto more = MVColorView::init();
        more->setSize({0.5F, 0.5F});
        more->setPosition({5 + static_cast<float>(i % 20) / 4, static_cast<float>(i / 20) / 3});
        window_->subviews()->front()->stencilView()->addSubview(more);
    }
    callsToDraw();
    EXPECT_THAT(gl_->callsOf("glClear"), SizeIs(2)) << "the frame's and the second level's";
}

TEST_F(MVStencilGroupsTest, hundredGroupsOfNestedTurnedStencilsLeaveTheRightPicture) {
    auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    for (int i = 0; i < 100; ++i) {
        MVView* above = window.get();
        for (int depth = 0; depth < 4; ++depth) {
            const auto shade = static_cast<float>(depth + 1) / 4;
            auto view = MVColorView::initWithColor({shade, static_cast<float>(i % 5) / 5, 1, 1});
            auto stencil = MVColorView::init();
            for (const auto& each : {view, stencil}) {
                each->setSize({20, 14});
                each->setAnchorPoint({0.5F, 0.5F});
                each->setPosition({10, 7});
            }
            view->setRotation(0.1F + 0.1F * static_cast<float>(depth));
            stencil->setRotation(0.3F);
            view->setStencilView(stencil);
            if (depth == 0) {
                // They overlap.
                view->setPosition({static_cast<float>(i % 10) * 15.0F + 10,
                                   static_cast<float>(i / 10) * 15.0F + 10});
            }
            above->addSubview(view);
            above = view.get();
        }
    }
    for (const int samples : {0, 4}) {
        const Picture expected = captureWith(false, window, samples);
        EXPECT_EQ(captureWith(true, window, samples).rgba, expected.rgba) << samples;
    }
}

TEST_F(MVStencilGroupsTest, tenThousandStencilsLeaveTheRightPicture) {
    auto window = MVWindow::init();
    window->setSize({kExtent, kExtent});
    for (int i = 0; i < 10'000; ++i) {
        auto view = MVColorView::initWithColor({0, i % 2 == 0 ? 1.0F : 0.5F, 0, 1});
        view->setSize({1.6F, 1.6F});
        view->setPosition({static_cast<float>(i % 100) * 1.6F, static_cast<float>(i / 100) * 1.6F});
        auto stencil = MVColorView::init();
        stencil->setSize({1.0F, 1.6F});
        view->setStencilView(stencil);
        window->addSubview(view);
    }
    const Picture expected = captureWith(false, window, 0);
    const Picture picture = captureWith(true, window, 0);
    EXPECT_EQ(picture.rgba, expected.rgba);
}
