#include "MivoraMac/views/MVCoreGraphicsView.h"

#include <cairo.h>
#include <epoxy/gl.h>

#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/views/MVTextView.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/text/ToolkitText.h"
#include "tests/views/RenderedViewTest.h"

using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::tests::callText;
using Mivora::tests::LogCapture;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Draws what a test tells it to.
class Sketch : public MVCoreGraphicsView {
 public:
    using Draw = std::function<void(cairo_t*)>;

    Draw onDraw;
    int calls = 0;

 protected:
    void coreGraphicsDrawWithContext(cairo_t* context) override {
        ++calls;
        if (onDraw) {
            onDraw(context);
        }
    }
};

class MVCoreGraphicsViewTest : public Mivora::tests::RenderedViewTest {
 protected:
    std::shared_ptr<Sketch> show(Size2 size, Sketch::Draw draw = nullptr,
                                 Mivora::Point2 position = {0, 0}) {
        auto view = MVMake<Sketch>();
        view->onDraw = std::move(draw);
        window_->addSubview(view);
        view->setPosition(position);
        view->setSize(size);
        return view;
    }
};

void fill(cairo_t* context, double red, double green, double blue, double x, double y, double width,
          double height) {
    cairo_set_source_rgb(context, red, green, blue);
    cairo_rectangle(context, x, y, width, height);
    cairo_fill(context);
}

}  // namespace

// When the hook is called

TEST_F(MVCoreGraphicsViewTest, aNewViewDrawsNothingAndCallsNoHook) {
    const auto view = MVMake<Sketch>();
    window_->addSubview(view);
    EXPECT_THAT(drawing(), IsEmpty());
    EXPECT_EQ(view->calls, 0);
    EXPECT_EQ(view->mv_renderImage(), nullptr);
}

TEST_F(MVCoreGraphicsViewTest, theHookIsCalledForASizeAndWhenAskedForAndOtherwiseNot) {
    const auto view = show({50, 20});
    drawing();
    drawing();
    EXPECT_EQ(view->calls, 1);
    window_->redrawRequests = 0;
    view->setNeedsCoreGraphicsDraw();
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_EQ(view->calls, 1) << "not before it is drawn";
    drawing();
    EXPECT_EQ(view->calls, 2);
    view->setOpacity(0.5F);
    drawing();
    EXPECT_EQ(view->calls, 2);
}

TEST_F(MVCoreGraphicsViewTest, theSameSizeCallsTheHookNoMore) {
    const auto view = show({50, 20});
    drawing();
    window_->redrawRequests = 0;
    view->setSize({50, 20});
    EXPECT_EQ(window_->redrawRequests, 0);
    drawing();
    EXPECT_EQ(view->calls, 1);
    view->setSize({50, 21});
    drawing();
    EXPECT_EQ(view->calls, 2);
}

TEST_F(MVCoreGraphicsViewTest, aSizeOfZeroEitherWayCallsNoHook) {
    const auto view = show({0, 20});
    view->setNeedsCoreGraphicsDraw();
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({20, 0});
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({-20, 20});
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({std::nanf(""), 20});
    EXPECT_THAT(drawing(), IsEmpty());
    EXPECT_EQ(view->calls, 0);
    view->setSize({20, 20});
    EXPECT_EQ(uploads(), 1U);
    EXPECT_EQ(view->calls, 1);
}

TEST_F(MVCoreGraphicsViewTest, theHookRunsOnTheThreadThatDraws) {
    std::thread::id thread;
    bool isOnQueue = true;
    show({10, 10}, [&](cairo_t*) {
        thread = std::this_thread::get_id();
        isOnQueue = MVRenderContext::mv_isOnRenderQueue();
    });
    drawing();
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(isOnQueue);
}

TEST_F(MVCoreGraphicsViewTest, aHookThatThrowsIsCalledAgain) {
    bool throws = true;
    const auto view = show({10, 10}, [&](cairo_t*) {
        if (throws) {
            throw std::runtime_error("no");
        }
    });
    EXPECT_THROW(view->mv_renderCoreGraphicsTexture(), std::runtime_error);
    EXPECT_EQ(view->mv_renderImage(), nullptr);
    throws = false;
    view->mv_renderCoreGraphicsTexture();
    EXPECT_NE(view->mv_renderImage(), nullptr);
}

TEST_F(MVCoreGraphicsViewTest, whatTheHookAsksForWhileItRunsIsGranted) {
    std::shared_ptr<Sketch> view;
    view = show({10, 10}, [&](cairo_t*) { view->setNeedsCoreGraphicsDraw(); });
    drawing();
    drawing();
    EXPECT_EQ(view->calls, 1);
    view->onDraw = nullptr;
}

TEST_F(MVCoreGraphicsViewTest, theBaseClassDrawsAClearBitmap) {
    const auto view = MVCoreGraphicsView::init();
    window_->addSubview(view);
    view->setSize({20, 20});
    EXPECT_EQ(uploads(), 1U);
    EXPECT_THAT(capture().rgba, Each(255));
}

// The context

TEST_F(MVCoreGraphicsViewTest, theContextIsInPointsFromTheBottomLeftCornerAndCopies) {
    for (const double scale : {1.0, 2.0}) {
        useScale(static_cast<float>(scale));
        cairo_matrix_t matrix{};
        int width = 0;
        int height = 0;
        cairo_operator_t op = CAIRO_OPERATOR_CLEAR;
        double clip[4] = {};
        show({50, 20}, [&](cairo_t* context) {
            cairo_get_matrix(context, &matrix);
            width = cairo_image_surface_get_width(cairo_get_target(context));
            height = cairo_image_surface_get_height(cairo_get_target(context));
            op = cairo_get_operator(context);
            cairo_clip_extents(context, &clip[0], &clip[1], &clip[2], &clip[3]);
        });
        drawing();
        EXPECT_EQ(width, 50 * scale);
        EXPECT_EQ(height, 20 * scale);
        EXPECT_EQ(matrix.xx, scale);
        EXPECT_EQ(matrix.yy, -scale);
        EXPECT_EQ(matrix.x0, 0);
        EXPECT_EQ(matrix.y0, 20 * scale);
        EXPECT_EQ(op, CAIRO_OPERATOR_SOURCE);
        EXPECT_THAT(clip, ElementsAre(0, 0, 50, 20));
        EXPECT_THAT(uploadedSize(), ElementsAre(50 * scale, 20 * scale));
    }
}

TEST_F(MVCoreGraphicsViewTest, aSizeOfPartsOfPixelsIsStretchedOverWholeOnes) {
    useScale(1.5F);
    cairo_matrix_t matrix{};
    show({10.1F, 11}, [&](cairo_t* context) { cairo_get_matrix(context, &matrix); });
    drawing();
    EXPECT_THAT(uploadedSize(), ElementsAre(16, 17));
    EXPECT_NEAR(matrix.xx, 16 / 10.1, 1e-6);
    EXPECT_NEAR(matrix.yy, -17 / 11.0, 1e-6);
}

TEST_F(MVCoreGraphicsViewTest, whatIsDrawnReplacesWhatWasThere) {
    show({20, 20}, [](cairo_t* context) {
        fill(context, 1, 0, 0, 0, 0, 20, 20);
        cairo_set_source_rgba(context, 0, 0, 1, 0.5);
        cairo_rectangle(context, 0, 0, 10, 20);
        cairo_fill(context);
        cairo_set_operator(context, CAIRO_OPERATOR_OVER);
        cairo_rectangle(context, 15, 0, 5, 20);
        cairo_fill(context);
    });
    const Picture picture = capture();
    EXPECT_THAT(rgb(picture, 5, 10), ElementsAre(127, 127, 255)) << "half blue over the window";
    EXPECT_THAT(rgb(picture, 12, 10), ElementsAre(255, 0, 0));
    EXPECT_THAT(rgb(picture, 17, 10), ElementsAre(127, 0, 128)) << "half blue over red";
}

TEST_F(MVCoreGraphicsViewTest, aCrossOfFineLinesLandsOnExactPixels) {
    for (const int scale : {1, 2}) {
        useScale(static_cast<float>(scale));
        show({21, 15},
             [](cairo_t* context) {
                 cairo_set_source_rgb(context, 0, 0, 0);
                 cairo_set_line_width(context, 1);
                 cairo_move_to(context, 0, 4.5);
                 cairo_line_to(context, 21, 4.5);
                 cairo_move_to(context, 10.5, 0);
                 cairo_line_to(context, 10.5, 15);
                 cairo_stroke(context);
             },
             {7, 9});
        const Picture picture = capture("cross-" + std::to_string(scale));
        for (int y = 0; y < 120 * scale; ++y) {
            for (int x = 0; x < 200 * scale; ++x) {
                // 4 points from the bottom are 10 from the top.
                const int column = x / scale - 7;
                const int row = y / scale - 9;
                const bool isInView = column >= 0 && column < 21 && row >= 0 && row < 15;
                const bool isOnLine = isInView && (column == 10 || row == 10);
                ASSERT_THAT(rgb(picture, x, y), Each(isOnLine ? 0 : 255)) << x << ", " << y;
            }
        }
    }
}

TEST_F(MVCoreGraphicsViewTest, eachDrawingBeginsTransparent) {
    bool isFirst = true;
    const auto view = show({20, 20}, [&](cairo_t* context) {
        if (std::exchange(isFirst, false)) {
            fill(context, 0, 0, 0, 0, 0, 20, 20);
        }
    });
    EXPECT_THAT(rgb(capture(), 10, 10), Each(0));
    view->setNeedsCoreGraphicsDraw();
    EXPECT_THAT(rgb(capture(), 10, 10), Each(255));
}

TEST_F(MVCoreGraphicsViewTest, aContextThatIsKeptDrawsNowhere) {
    cairo_t* kept = nullptr;
    show({20, 20}, [&](cairo_t* context) { kept = cairo_reference(context); });
    drawing();
    fill(kept, 0, 0, 0, 0, 0, 20, 20);
    cairo_destroy(kept);
    EXPECT_THAT(capture().rgba, Each(255));
}

// What it looks like

TEST_F(MVCoreGraphicsViewTest, fadesAndTurnsWithItsView) {
    const auto view =
        show({40, 20}, [](cairo_t* context) { fill(context, 0, 0, 0, 0, 0, 20, 10); }, {100, 60});
    view->setAnchorPoint({0.5F, 0.5F});
    EXPECT_THAT(rgb(capture(), 85, 65), Each(0)) << "the bottom left quarter";
    EXPECT_THAT(rgb(capture(), 85, 55), Each(255));
    EXPECT_THAT(rgb(capture(), 105, 65), Each(255));
    view->setOpacity(0.5F);
    EXPECT_NEAR(rgb(capture(), 85, 65)[0], 128, 1);
    view->setOpacity(1);
    view->setRotation(std::numbers::pi_v<float>);
    EXPECT_THAT(rgb(capture(), 115, 55), Each(0));
    EXPECT_THAT(rgb(capture(), 85, 65), Each(255));
}

TEST_F(MVCoreGraphicsViewTest, isBlendedAsPremultiplied) {
    const auto view = show({10, 10});
    drawing();
    EXPECT_THAT(drawing(), Contains(callText("glBlendFunc", GL_ONE, GL_ONE_MINUS_SRC_ALPHA)));
    EXPECT_TRUE(view->mv_renderImage()->premultipliedAlpha());
    EXPECT_EQ(view->mv_renderImage()->coordinateSystem(), 0);
}

TEST_F(MVCoreGraphicsViewTest, aStringStandsUprightAsATextViewShowsIt) {
    const auto text = MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        "Upright text that wraps", "DejaVu Sans", 14, {0, 0, 0, 1}, 2, true);
    show({140, 60},
         [&](cairo_t* context) {
             cairo_move_to(context, 1, 1);
             MVCoreGraphicsDrawAttributedString(context, text, {{20, 10}, {100, 40}});
             MVCoreGraphicsDrawAttributedString(context, nullptr, {{20, 10}, {100, 40}});
             MVCoreGraphicsDrawAttributedString(nullptr, text, {{20, 10}, {100, 40}});
         },
         {10, 20});
    Mivora::tests::ToolkitText expected;
    expected.markup = "Upright text that wraps";
    expected.alignment = PANGO_ALIGN_CENTER;
    // 10 points from the bottom of 60 with a height of 40 are 10 from the top.
    expectAlike(capture("sketch-text"), 30, 30, drawnByToolkit(expected));
}

TEST_F(MVCoreGraphicsViewTest, aViewOfMorePixelsThanATextureCanHaveCallsNoHook) {
    const LogCapture log;
    const auto view = show({100'000, 10});
    EXPECT_THAT(drawing(), IsEmpty());
    EXPECT_EQ(view->calls, 0);
    EXPECT_THAT(log.lines(), SizeIs(1));
    view->setSize({10, 10});
    EXPECT_EQ(uploads(), 1U);
}
