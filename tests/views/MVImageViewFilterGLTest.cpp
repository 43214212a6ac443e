#include <epoxy/gl.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/views/MVImageView.h"
#include "tests/images/FilterTest.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::tests::callText;
using Mivora::tests::Pixels;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVImageViewFilterTest : public Mivora::tests::FilterTest {
 protected:
    using PassFilter = Mivora::tests::PassFilter;

    void SetUp() override {
        FilterTest::SetUp();
        window_ = CountingWindow::make();
        window_->setSize({8, 4});
        window_->setContentScaleFactor(1);
        window_->mv_layoutVisit();
    }
    void TearDown() override {
        window_.reset();
        FilterTest::TearDown();
    }

    /// A view in the window that shows an image of 8 by 4 pixels.
    std::shared_ptr<MVImageView> show(bool premultiplied = false, std::int32_t system = 0) {
        auto view = MVImageView::initWithImage(imageOf(Pixels(8, 4), 1, premultiplied, system));
        window_->addSubview(view);
        return view;
    }

    std::shared_ptr<PassFilter> passes(std::int32_t count) const {
        return MVMake<PassFilter>(count, plainShader());
    }

    void prepare() { window_->mv_prepareForDrawVisit(); }

    /// The GL calls of the drawing of a frame that was prepared.
    std::vector<std::string> drawing() {
        finish();
        gl_->clear();
        window_->mv_drawVisit();
        finish();
        return gl_->texts();
    }

    std::size_t texturesMade() {
        finish();
        return gl_->callsOf("glGenTextures").size();
    }

    static std::vector<int> pixel(const Mivora::platform::Picture& picture, int x, int y) {
        const auto color = picture.pixel(x, y);
        return {color[0], color[1], color[2]};
    }

    std::shared_ptr<CountingWindow> window_;
};

}  // namespace

TEST_F(MVImageViewFilterTest, aFilterIsObservedAsLongAsTheViewHasIt) {
    const auto view = show();
    const auto first = passes(1);
    EXPECT_EQ(view->filter(), nullptr);
    window_->redrawRequests = 0;
    view->setFilter(first);
    EXPECT_EQ(view->filter(), first);
    EXPECT_EQ(window_->redrawRequests, 1);
    view->setFilter(first);
    EXPECT_EQ(window_->redrawRequests, 1) << "the same one does nothing";
    ASSERT_THAT(*first->filterObservers(), SizeIs(1));
    EXPECT_EQ(first->filterObservers()->at(0).lock(), view);
    first->announceChange();
    EXPECT_EQ(window_->redrawRequests, 2);
    const auto second = passes(2);
    view->setFilter(second);
    EXPECT_THAT(*first->filterObservers(), IsEmpty());
    EXPECT_THAT(*second->filterObservers(), SizeIs(1));
    view->setFilter(nullptr);
    EXPECT_THAT(*second->filterObservers(), IsEmpty());
    EXPECT_EQ(window_->redrawRequests, 4);
}

TEST_F(MVImageViewFilterTest, aViewThatIsGoneIsNotTold) {
    const auto filter = passes(1);
    auto view = MVImageView::init();
    view->setFilter(filter);
    view.reset();
    filter->announceChange();
    for (const auto& entry : *filter->filterObservers()) {
        EXPECT_TRUE(entry.expired());
    }
}

TEST_F(MVImageViewFilterTest, aFilterMaySetWhileTheViewIsConstructed) {
    struct Filtered : MVImageView {
        explicit Filtered(const std::shared_ptr<MVFilter>& filter) { setFilter(filter); }
    };
    const auto filter = passes(1);
    auto view = MVMake<Filtered>(filter);
    window_->addSubview(view);
    window_->redrawRequests = 0;
    filter->announceChange();
    EXPECT_EQ(window_->redrawRequests, 1);
    view->setFilter(nullptr);
    EXPECT_THAT(*filter->filterObservers(), IsEmpty());
    view->removeFromSuperview();
    view = MVMake<Filtered>(filter);
    view.reset();
    filter->announceChange();
}

TEST_F(MVImageViewFilterTest, onePassDrawsTheImageItselfWithThatPassesShader) {
    const auto view = show();
    const auto filter = passes(1);
    view->setFilter(filter);
    const auto textures = texturesMade();
    prepare();
    const auto texts = drawing();
    EXPECT_EQ(texturesMade(), 0U) << "after " << textures << " before";
    EXPECT_THAT(filter->asked, ElementsAre(0));
    EXPECT_THAT(filter->configured, ElementsAre(0));
    EXPECT_THAT(filter->inputs, ElementsAre(view->image()));
    EXPECT_THAT(texts,
                Contains(callText("glBindTexture", GL_TEXTURE_2D, view->image()->mv_texture())));
}

TEST_F(MVImageViewFilterTest, theLastPassIsUsedTintedConfiguredAndDrawnInThisOrder) {
    const auto view = show();
    view->setOpacity(0.5F);
    view->setFilter(MVBlurFilter::initWithBlurRadius(1));
    prepare();
    drawing();
    std::vector<std::string> names;
    for (const auto& call : gl_->calls()) {
        if (call.name != "glUniformMatrix4fv" && call.name != "glActiveTexture") {
            names.push_back(call.name);
        }
    }
    EXPECT_THAT(names, ElementsAre("glBindBuffer", "glBufferData", "glBindBuffer", "glUseProgram",
                                   "glUniform1i", "glBindTexture", "glUniform4f", "glUniform2f",
                                   "glDisable", "glEnable", "glBlendFunc", "glBindVertexArray",
                                   "glDrawArrays", "glBindVertexArray", "glDisable"));
    EXPECT_THAT(gl_->callsOf("glUniform4f")[0].arguments, ElementsAre(testing::_, 1, 1, 1, 0.5));
    EXPECT_EQ(gl_->callsOf("glBlendFunc")[0].text(),
              callText("glBlendFunc", GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA));
}

TEST_F(MVImageViewFilterTest, leadingPassesAreRunWhenTheFrameIsPreparedAndAnewForEveryFrame) {
    const auto view = show();
    const auto filter = passes(3);
    view->setFilter(filter);
    prepare();
    EXPECT_THAT(filter->configured, ElementsAre(0, 1));
    drawing();
    EXPECT_THAT(filter->configured, ElementsAre(0, 1, 2));
    EXPECT_NE(filter->inputs[2], view->image());
    EXPECT_NE(filter->inputs[2], filter->inputs[1]);
    prepare();
    EXPECT_THAT(filter->configured, ElementsAre(0, 1, 2, 0, 1));
}

TEST_F(MVImageViewFilterTest,
       whatLeadingPassesMadeHasItsOwnCoordinateSystemAndTheImageItsBlending) {
    const auto view = show(true, 0);
    view->setFilter(passes(2));
    prepare();
    EXPECT_EQ(view->coordinateSystem(), 1);
    EXPECT_THAT(drawing(), Contains(callText("glBlendFunc", GL_ONE, GL_ONE_MINUS_SRC_ALPHA)));
    view->setFilter(passes(1));
    prepare();
    EXPECT_EQ(view->coordinateSystem(), 0);
    view->setFilter(passes(2));
    prepare();
    view->setImage(nullptr);
    prepare();
    EXPECT_EQ(view->coordinateSystem(), 0);
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVImageViewFilterTest, leadingPassesDrawNoMorePixelsThanTheViewHasPoints) {
    const auto view = MVImageView::initWithImage(imageOf(Pixels(8, 4), 2));
    window_->addSubview(view);
    view->setSize({5, 3});
    const auto filter = passes(2);
    view->setFilter(filter);
    prepare();
    drawing();
    EXPECT_EQ(filter->inputs[1]->size(), (Mivora::Size2{2.5F, 1.5F}));
    EXPECT_EQ(filter->inputs[1]->scale(), 2.0F);
}

TEST_F(MVImageViewFilterTest, whatWasMadeGoesWithTheFilter) {
    const auto view = show();
    finish();
    const int before = gl_->liveObjects()["Textures"];
    view->setFilter(MVBlurFilter::initWithBlurRadius(2));
    prepare();
    finish();
    EXPECT_EQ(gl_->liveObjects()["Textures"], before + 2);
    view->setFilter(nullptr);
    prepare();
    finish();
    EXPECT_EQ(gl_->liveObjects()["Textures"], before);
}

TEST_F(MVImageViewFilterTest, aFilterWithoutPassesShowsTheImageAndAnEmptyChainNothing) {
    const auto view = show();
    view->setFilter(MVFilter::init());
    prepare();
    EXPECT_THAT(drawing(), Contains(callText("glDrawArrays", GL_TRIANGLE_STRIP, 0, 4)));
    view->setFilter(MVCombinationFilter::init());
    prepare();
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVImageViewFilterTest, filtersThatCannotWorkDrawNothingOrLeaveTheirLeadingPassesOut) {
    const auto view = show();
    drawing();  // writes the vertices
    for (const auto& filter : {std::shared_ptr<MVFilter>(MVBlurFilter::initWithBlurRadius(0)),
                               std::shared_ptr<MVFilter>(MVMake<PassFilter>(3, nullptr))}) {
        view->setFilter(filter);
        prepare();
        EXPECT_THAT(drawing(), IsEmpty());
    }
    for (const std::int32_t count : {-1, std::numeric_limits<std::int32_t>::min(), 1'000'000'000}) {
        const auto filter = passes(count);
        view->setFilter(filter);
        prepare();
        EXPECT_THAT(drawing(), Contains(callText("glDrawArrays", GL_TRIANGLE_STRIP, 0, 4)));
        EXPECT_THAT(filter->inputs, ElementsAre(view->image())) << count;
    }
}

TEST_F(MVImageViewFilterTest, aMutableImageIsFilteredAnewWhenItsPixelsChange) {
    Pixels red(8, 4);
    for (std::size_t i = 0; i < red.values.size(); ++i) {
        red.values[i] = i % 4 == 0 || i % 4 == 3 ? 255 : 0;
    }
    const auto image = imageOf<MVMutableImage>(red);
    const auto view = MVImageView::initWithImage(image);
    window_->addSubview(view);
    view->setFilter(MVCombinationFilter::initWithFilters(
        {MVInvertFilter::init(), MVBlurFilter::initWithBlurRadius(1)}));
    MVCaptureOptions options;
    options.samples = 0;
    options.scale = 1;
    EXPECT_THAT(pixel(MVCaptureWindow(window_, options), 4, 2), ElementsAre(0, 255, 255));
    EXPECT_FALSE(window_->mv_windowNeedsDraw());
    const std::vector<std::uint8_t> black(8 * 4 * 4, 255);
    image->replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        black.data(), 8, 4, 1, 0, false, GL_RGBA);
    EXPECT_TRUE(window_->mv_windowNeedsDraw());
    EXPECT_THAT(pixel(MVCaptureWindow(window_, options), 4, 2), ElementsAre(0, 0, 0));
}

TEST_F(MVImageViewFilterTest, aFilteredViewThatRestsAsksForNoRedraw) {
    const auto view = show();
    view->setFilter(passes(3));
    prepare();
    drawing();
    window_->redrawRequests = 0;
    prepare();
    drawing();
    EXPECT_EQ(window_->redrawRequests, 0);
}

TEST_F(MVImageViewFilterTest, aThousandChangesOfFilterAndSizeLeaveNothingBehind) {
    const auto view = show();
    finish();
    const auto live = gl_->liveObjects();
    for (int i = 0; i < 1000; ++i) {
        view->setFilter(passes(i % 4));
        view->setSize({static_cast<float>(1 + i % 8), static_cast<float>(1 + i % 3)});
        prepare();
        window_->mv_drawVisit();
    }
    view->setFilter(nullptr);
    prepare();
    finish();
    EXPECT_EQ(gl_->liveObjects(), live);
}
