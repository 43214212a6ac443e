#include "examples/list/RowList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <vector>

#include "tests/support/GLTest.h"

namespace {

using Mivora::ColorRGBA;
using Mivora::platform::Picture;

constexpr int kRows = 10'000;
constexpr float kHeight = 20;

/// The colour of a row, by which it is known in a picture.
ColorRGBA colorOf(int row) {
    return {static_cast<float>(row % 256) / 255, static_cast<float>(row / 256) / 255, 0.5F, 1.0F};
}

class RowListTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        window_ = MVWindow::init();
        window_->setContentScaleFactor(1);
        window_->setSize({120, 150});
        list_ = makeList(kRows);
        list_->setPosition({10, 20});
        list_->setSize({100, 100});
        window_->addSubview(list_);
    }

    void TearDown() override {
        list_.reset();
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    std::shared_ptr<RowList> makeList(int rows) {
        return RowList::make(
            rows, kHeight,
            [this] {
                ++made_;
                auto view = MVColorView::init();
                view->setSize({100, kHeight});
                return view;
            },
            [](MVView& view, int row) { static_cast<MVColorView&>(view).setColor(colorOf(row)); });
    }

    /// What is seen at a place of the list; -1 where it is not seen.
    int rowSeenAt(const Picture& picture, int y) const {
        const auto pixel = picture.pixel(60, 20 + y);
        return pixel[2] == 26 ? -1 : pixel[0] + 256 * pixel[1];
    }

    void expectRowsInView(int first) {
        MVCaptureOptions options;
        options.samples = 0;
        const Picture picture = MVCaptureWindow(window_, options);
        const int scrolled = static_cast<int>(-list_->contentOffset().y);
        ASSERT_EQ(scrolled / static_cast<int>(kHeight), first);
        for (int y = 0; y < 100; ++y) {
            ASSERT_EQ(rowSeenAt(picture, y), (scrolled + y) / static_cast<int>(kHeight)) << y;
        }
        EXPECT_EQ(rowSeenAt(picture, -1), -1) << "clipped at the top";
        EXPECT_EQ(rowSeenAt(picture, 100), -1) << "and at the bottom";
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<MVWindow> window_;
    std::shared_ptr<RowList> list_;
    int made_ = 0;
};

TEST_F(RowListTest, theRowsInViewAreSeenWhereverTheListIsScrolledTo) {
    expectRowsInView(0);
    for (const float y : {-1.0F, -19.0F, -20.0F, -21.0F, -50'000.0F, -49'990.0F, -100.0F, 0.0F}) {
        list_->setContentOffset({0, y});
        expectRowsInView(static_cast<int>(std::floor(-y / kHeight)));
    }
    list_->setContentOffset({0, 100 - kRows * kHeight});
    expectRowsInView(kRows - 5);
}

TEST_F(RowListTest, thereAreAsManyViewsAsFitAndOneMore) {
    for (int row = 0; row < 500; ++row) {
        list_->setContentOffset({0, -kHeight * static_cast<float>(row) - 7});
        MVCaptureWindow(window_);
    }
    EXPECT_EQ(made_, 6);
    EXPECT_EQ(list_->contentView()->subviews()->size(), 6U);
}

TEST_F(RowListTest, rowsBeyondTheEndAreNotSeen) {
    list_->setContentOffset({0, 100 - kRows * kHeight});
    MVCaptureWindow(window_);
    const auto rows = list_->contentView()->subviews();
    EXPECT_EQ(std::count_if(rows->begin(), rows->end(), [](auto& row) { return row->isHidden(); }),
              1);
}

TEST_F(RowListTest, anotherSizeShowsAsManyRowsAsFitThen) {
    MVCaptureWindow(window_);
    list_->setSize({100, 40});
    MVCaptureWindow(window_);
    EXPECT_EQ(list_->contentView()->subviews()->size(), 3U);
    list_->setSize({100, 100});
    expectRowsInView(0);
}

TEST_F(RowListTest, aRowIsFoundByWhereItIsSeen) {
    EXPECT_EQ(list_->rowAt({50, 0}), 0);
    EXPECT_EQ(list_->rowAt({50, 19.5F}), 0);
    EXPECT_EQ(list_->rowAt({50, 20}), 1);
    list_->setContentOffset({0, -50});
    EXPECT_EQ(list_->rowAt({50, 0}), 2);
    EXPECT_EQ(list_->rowAt({50, -60}), -1);
    EXPECT_EQ(makeList(0)->rowAt({50, 0}), -1);
}

TEST_F(RowListTest, shortListsShowWhatTheyHave) {
    for (const int rows : {0, 1, 3}) {
        window_->removeAllSubviews();
        list_ = makeList(rows);
        list_->setPosition({10, 20});
        list_->setSize({100, 100});
        window_->addSubview(list_);
        MVCaptureOptions options;
        options.samples = 0;
        const Picture picture = MVCaptureWindow(window_, options);
        for (int y = 0; y < 100; y += 10) {
            const int row = y / static_cast<int>(kHeight);
            EXPECT_EQ(rowSeenAt(picture, y), row < rows ? row : -1);
        }
    }
}

}  // namespace
