#include "examples/filter/SoftenFilter.h"
#include "tests/images/FilterTest.h"

using Mivora::tests::Pixels;

namespace {

class OwnFilterTest : public Mivora::tests::FilterTest {};

}  // namespace

TEST_F(OwnFilterTest, theExampleSoftensInBothDirections) {
    Pixels picture(7, 5);
    for (std::size_t i = 3; i < picture.values.size(); i += 4) {
        picture.values[i] = 255;
    }
    picture.at(3, 2, 0) = 255;
    const auto filter = MVMake<SoftenFilter>();
    const auto processor = MVImageProcessor::init();
    processor->setSourceImage(imageOf(picture));
    processor->setFilter(filter);
    Pixels expected = picture;
    const double weights[] = {0.25, 0.5, 0.25};
    for (int y = -1; y <= 1; ++y) {
        for (int x = -1; x <= 1; ++x) {
            expected.at(3 + x, 2 + y, 0) = 255 * weights[x + 1] * weights[y + 1];
        }
    }
    EXPECT_LE(worstDifference(pixelsOf(processor->filterImage()), expected), 1.0);
    filter->setWidth(2);
    EXPECT_NEAR(pixelsOf(processor->filterImage()).at(1, 0, 0), 255.0 / 16, 1.0)
        << "two points away from the middle in both directions";
}

TEST_F(OwnFilterTest, theExampleFollowsItsViewsOpacity) {
    const auto view = MVImageView::initWithImage(imageOf(Pixels(4, 4)));
    const auto filter = MVMake<SoftenFilter>();
    view->setFilter(filter);
    const auto window = MVWindow::init();
    window->setSize({4, 4});
    window->addSubview(view);
    window->mv_layoutVisit();
    window->mv_prepareForDrawVisit();
    view->setOpacity(0.5F);
    finish();
    gl_->clear();
    window->mv_drawVisit();
    finish();
    EXPECT_EQ(gl_->callsOf("glUniform4f").at(0).arguments.at(4), 0.5);
    EXPECT_EQ(gl_->callsOf("glUniform2f").at(0).arguments.at(2), 0.25) << "the second pass";
    window->mv_setDrawClean();
    filter->setWidth(3);
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}
