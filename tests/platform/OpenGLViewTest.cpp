#include "MivoraMac/platform/OpenGLView.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>

#include "MivoraMac/platform/Screen.h"
#include "tests/platform/FakeGLContext.h"
#include "tests/platform/ScopedEnvironment.h"

using Mivora::platform::OpenGLView;
using Mivora::platform::PixelSize;
using Mivora::platform::Rect;
using Mivora::platform::Screen;
using Mivora::tests::FakeGLContext;
using Mivora::tests::ScopedEnvironment;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kLargest = std::numeric_limits<int>::max();

class OpenGLViewTest : public testing::Test {
 protected:
    static void attach(OpenGLView& view, const std::shared_ptr<FakeGLContext>& context) {
        view.setPixelFormat(context->pixelFormat());
        view.setOpenGLContext(context);
        context->setView(&view);
    }

 private:
    // A view asks the host for the scale of the screen.
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};
};

}  // namespace

TEST_F(OpenGLViewTest, aNewViewIsEmptyAndHasTheScaleOfTheMainScreen) {
    const OpenGLView view;
    EXPECT_EQ(view.bounds(), Rect());
    EXPECT_EQ(view.backingSize(), PixelSize());
    EXPECT_EQ(view.backingScaleFactor(), Screen::mainScreen()->backingScaleFactor());
    EXPECT_EQ(view.openGLContext(), nullptr);
    EXPECT_EQ(view.pixelFormat(), nullptr);
}

TEST_F(OpenGLViewTest, boundsReadAsTheyWereSet) {
    OpenGLView view;
    const Rect bounds = {-3.5, 4, 100.5, 50};
    view.setBounds(bounds);
    EXPECT_EQ(view.bounds(), bounds);
}

TEST_F(OpenGLViewTest, extentsBelowZeroAndNaNCountAsZero) {
    OpenGLView view;
    view.setBackingScaleFactor(2);
    for (const double extent : {-1.0, -0.0, -kInfinity, kNaN}) {
        SCOPED_TRACE(extent);
        view.setBounds({1, 2, extent, 50});
        EXPECT_EQ(view.bounds(), (Rect{1, 2, 0, 50}));
        EXPECT_EQ(view.backingSize(), (PixelSize{0, 100}));
        view.setBounds({1, 2, 50, extent});
        EXPECT_EQ(view.bounds(), (Rect{1, 2, 50, 0}));
        EXPECT_EQ(view.backingSize(), (PixelSize{100, 0}));
    }
}

TEST_F(OpenGLViewTest, theSizeInPixelsIsTruncated) {
    struct Row {
        double scale;
        double width;
        double height;
        PixelSize pixels;
    };
    for (const Row& row : {
             Row{2, 100.5, 50, {201, 50 * 2}},
             Row{1, 100.5, 50.999, {100, 50}},
             Row{1.5, 101, 33, {151, 49}},
             Row{0.5, 1, 3, {0, 1}},
             Row{1, 0, 0.999, {0, 0}},
             Row{3, 1e-300, 10, {0, 30}},
             Row{2, 2e9, 10, {kLargest, 20}},
             Row{1, kInfinity, 1e300, {kLargest, kLargest}},
         }) {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " at " << row.scale);
        OpenGLView view;
        view.setBackingScaleFactor(row.scale);
        view.setBounds({0, 0, row.width, row.height});
        EXPECT_EQ(view.backingSize(), row.pixels);
    }
}

TEST_F(OpenGLViewTest, theOriginDoesNotChangeTheSizeInPixels) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    view.setBounds({0.5, -0.5, 10, 10});
    EXPECT_EQ(view.backingSize(), (PixelSize{10, 10}));
}

TEST_F(OpenGLViewTest, whatIsNoScaleIsIgnored) {
    OpenGLView view;
    view.setBackingScaleFactor(1.5);
    for (const double factor : {0.0, -0.0, -2.0, kNaN, kInfinity, -kInfinity}) {
        view.setBackingScaleFactor(factor);
        EXPECT_EQ(view.backingScaleFactor(), 1.5) << factor;
    }
}

TEST_F(OpenGLViewTest, attachingGivesTheDrawableTheViewsSize) {
    OpenGLView view;
    const auto context = FakeGLContext::create();
    view.setBackingScaleFactor(2);
    view.setBounds({0, 0, 100.5, 50});
    EXPECT_EQ(context->drawable().size(), PixelSize());
    attach(view, context);
    EXPECT_EQ(context->drawable().size(), (PixelSize{201, 100}));
    EXPECT_EQ(view.openGLContext(), context);
    EXPECT_EQ(view.pixelFormat(), context->pixelFormat());
    EXPECT_EQ(context->view(), &view);
}

TEST_F(OpenGLViewTest, theDrawableFollowsBoundsAndScale) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    const auto context = FakeGLContext::create();
    attach(view, context);
    view.setBounds({0, 0, 30, 20});
    EXPECT_EQ(context->drawable().size(), (PixelSize{30, 20}));
    view.setBackingScaleFactor(3);
    EXPECT_EQ(context->drawable().size(), (PixelSize{90, 60}));
    view.setBackingScaleFactor(kNaN);
    view.setBounds({5, 5, -1, 20});
    EXPECT_EQ(context->drawable().size(), (PixelSize{0, 60}));
}

TEST_F(OpenGLViewTest, aContextThatIsNotAttachedDoesNotFollow) {
    OpenGLView view;
    OpenGLView other;
    const auto context = FakeGLContext::create();
    view.setOpenGLContext(context);
    view.setBounds({0, 0, 30, 20});
    EXPECT_EQ(context->drawable().size(), PixelSize());
    other.setBounds({0, 0, 7, 7});
    other.setBackingScaleFactor(1);
    context->setView(&other);
    view.setBounds({0, 0, 40, 40});
    EXPECT_EQ(context->drawable().size(), (PixelSize{7, 7}));
    context->setView(nullptr);
}

TEST_F(OpenGLViewTest, replacingTheContextDetachesTheFormerOne) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    view.setBounds({0, 0, 30, 20});
    const auto first = FakeGLContext::create();
    const auto second = FakeGLContext::create();
    attach(view, first);
    view.setOpenGLContext(first);
    EXPECT_EQ(first->view(), &view);
    attach(view, second);
    EXPECT_EQ(first->view(), nullptr);
    EXPECT_EQ(first->drawable().size(), PixelSize());
    EXPECT_EQ(second->drawable().size(), (PixelSize{30, 20}));
    view.setOpenGLContext(nullptr);
    EXPECT_EQ(second->view(), nullptr);
    EXPECT_EQ(view.openGLContext(), nullptr);
}

TEST_F(OpenGLViewTest, aViewDetachesItselfWhenDestroyed) {
    const auto context = FakeGLContext::create();
    std::optional<OpenGLView> view(std::in_place);
    view->setBounds({0, 0, 30, 20});
    attach(*view, context);
    view.reset();
    EXPECT_EQ(context->view(), nullptr);
    EXPECT_EQ(context->drawable().size(), PixelSize());
}

TEST_F(OpenGLViewTest, aViewThatGoesLeavesTheContextToTheViewThatHasIt) {
    const auto context = FakeGLContext::create();
    OpenGLView second;
    {
        OpenGLView first;
        attach(first, context);
        attach(second, context);
    }
    EXPECT_EQ(context->view(), &second);
}

TEST_F(OpenGLViewTest, aViewKeepsItsContext) {
    std::weak_ptr<FakeGLContext> weak;
    {
        OpenGLView view;
        auto context = FakeGLContext::create();
        weak = context;
        attach(view, context);
        context.reset();
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}
