#include "MivoraMac/views/MVViewBackPointer.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/views/MVView.h"

TEST(MVViewBackPointerTest, pointsToNoViewUnlessToldTo) {
    const MVViewBackPointer none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), nullptr);
}

TEST(MVViewBackPointerTest, allCopiesForgetTheViewTogether) {
    const auto view = MVView::init();
    MVViewBackPointer pointer(*view);
    const MVViewBackPointer copy = pointer;
    MVViewBackPointer assigned;
    assigned = copy;
    EXPECT_EQ(copy.get(), view.get());
    EXPECT_EQ(assigned.get(), view.get());
    pointer.forgetView();
    EXPECT_EQ(pointer.get(), nullptr);
    EXPECT_EQ(copy.get(), nullptr);
    EXPECT_EQ(assigned.get(), nullptr);
    EXPECT_TRUE(copy);
}

TEST(MVViewBackPointerTest, movingLeavesNoView) {
    const auto view = MVView::init();
    MVViewBackPointer pointer(*view);
    const MVViewBackPointer moved = std::move(pointer);
    EXPECT_EQ(moved.get(), view.get());
    EXPECT_FALSE(pointer);
    MVViewBackPointer other(*view);
    other = MVViewBackPointer();
    EXPECT_EQ(other.get(), nullptr);
}

TEST(MVViewBackPointerTest, copiesComeAndGoOnAnyThread) {
    const auto view = MVView::init();
    MVViewBackPointer pointer(*view);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([copy = pointer] {
                for (int j = 0; j < 10'000; ++j) {
                    MVViewBackPointer another = copy;
                    std::vector<MVViewBackPointer> many(4, another);
                }
            });
        }
    }
    EXPECT_EQ(pointer.get(), view.get());
    pointer.forgetView();
    EXPECT_EQ(pointer.get(), nullptr);
}
