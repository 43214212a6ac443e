#include <gtest/gtest.h>

#include "MivoraMac/views/MVView.h"
#include "bench/support/AllocationCounter.h"

using Mivora::bench::AllocationCounter;

namespace {

class MVViewAllocationsTest : public testing::Test {
 protected:
    // What is there once for all views is made by the first one that is asked.
    void SetUp() override { MVView::init()->interactionPlane(); }
};

TEST_F(MVViewAllocationsTest, aViewIsOneAllocationHoweverItIsPlaced) {
    const AllocationCounter counter;
    const auto view = MVView::init();
    view->setSize3({30.0F, 20.0F, 10.0F});
    view->setPosition3({1.0F, 2.0F, 3.0F});
    view->setRotation3({0.1F, 0.2F, 0.3F});
    view->setUniformScale(2.0F);
    view->setAnchorPoint({0.5F, 0.5F});
    view->setLocalOrigin({4.0F, 5.0F});
    view->setOpacity(0.5F);
    view->setNeedsLayout();
    EXPECT_EQ(counter.allocations(), 1U);
}

TEST_F(MVViewAllocationsTest, whatFewViewsUseTakesOneAllocationForAll) {
    const auto view = MVView::init();
    const AllocationCounter counter;
    view->setInteractionPlane({{0.0F, 0.0F, 1.0F}, 5.0F});
    EXPECT_EQ(counter.allocations(), 1U);
    view->setDebugName("short");
    view->setInteractionPlane({{0.0F, 1.0F, 0.0F}, 0.0F});
    EXPECT_EQ(counter.allocations(), 1U);
}

TEST_F(MVViewAllocationsTest, askingForWhatFewViewsUseTakesNone) {
    const auto view = MVView::init();
    const AllocationCounter counter;
    EXPECT_EQ(view->interactionPlane(), (Mivora::Plane{{0.0F, 0.0F, 1.0F}, 0.0F}));
    EXPECT_EQ(view->stencilView(), nullptr);
    EXPECT_TRUE(view->gestureRecognizers()->empty());
    EXPECT_EQ(view->debugName(), "");
    view->setInteractionPlane(view->interactionPlane());
    view->setStencilView(nullptr);
    view->removeAllGestureRecognizers();
    view->setDebugName("");
    EXPECT_EQ(counter.allocations(), 0U);
}

}  // namespace
