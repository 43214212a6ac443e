#include "MivoraMac/views/MVViewLayoutQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "MivoraMac/platform/threads/SerialQueue.h"
#include "MivoraMac/views/MVView.h"

namespace {

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::SerialQueue;
using testing::ElementsAre;
using testing::EndsWith;

/// What code is told about the queue it runs on.
struct Answers {
    bool any;    ///< for no view in particular
    bool mine;   ///< for the view at hand
    bool other;  ///< for another one
    bool operator==(const Answers&) const = default;
};

class MVViewLayoutQueueTest : public testing::Test {
 protected:
    Answers answers() const {
        return {MVViewIsExecutingOnLayoutDispatchQueue(nullptr),
                MVViewIsExecutingOnLayoutDispatchQueue(view_.get()),
                MVViewIsExecutingOnLayoutDispatchQueue(other_.get())};
    }

    Answers answersOn(SerialQueue& queue) const {
        Answers result{};
        queue.sync([&] { result = answers(); });
        return result;
    }

    std::shared_ptr<MVView> view_ = MVView::init();
    std::shared_ptr<MVView> other_ = MVView::init();
    std::shared_ptr<SerialQueue> queue_ = MVViewCreateLayoutDispatchQueue(view_.get());
};

TEST_F(MVViewLayoutQueueTest, outsideAnyQueueEveryAnswerIsNo) {
    EXPECT_EQ(answers(), (Answers{false, false, false}));
}

TEST_F(MVViewLayoutQueueTest, onAViewsQueueTheAnswerIsYesForThatViewAndForAny) {
    EXPECT_EQ(answersOn(*queue_), (Answers{true, true, false}));
}

TEST_F(MVViewLayoutQueueTest, onAnotherViewsQueueTheAnswerIsYesForAnyAlone) {
    EXPECT_EQ(answersOn(*MVViewCreateLayoutDispatchQueue(other_.get())),
              (Answers{true, false, true}));
}

TEST_F(MVViewLayoutQueueTest, onQueuesOfOtherKindsEveryAnswerIsNo) {
    EXPECT_EQ(answersOn(*SerialQueue::create("a test's queue")), (Answers{false, false, false}));
    std::promise<Answers> concurrent;
    MVViewSubviewLayoutDispatchQueue()->async([&] { concurrent.set_value(answers()); });
    EXPECT_EQ(concurrent.get_future().get(), (Answers{false, false, false}));
}

TEST_F(MVViewLayoutQueueTest, aQueueMadeForNoViewCountsAsNoViews) {
    EXPECT_EQ(answersOn(*MVViewCreateLayoutDispatchQueue(nullptr)), (Answers{false, false, false}));
}

TEST_F(MVViewLayoutQueueTest, theInnermostQueueCounts) {
    const auto plain = SerialQueue::create("a test's queue");
    Answers inside{};
    Answers after{};
    queue_->sync([&] {
        plain->sync([&] { inside = answers(); });
        after = answers();
    });
    EXPECT_EQ(inside, (Answers{false, false, false}));
    EXPECT_EQ(after, (Answers{true, true, false}));
}

TEST_F(MVViewLayoutQueueTest, everyQueueOfAViewCountsAsIts) {
    const auto second = MVViewCreateLayoutDispatchQueue(view_.get());
    EXPECT_NE(second, queue_);
    EXPECT_EQ(answersOn(*second), (Answers{true, true, false}));
}

TEST_F(MVViewLayoutQueueTest, theLabelSaysWhatTheQueueIsFor) {
    EXPECT_THAT(queue_->label(), EndsWith(".ViewLayoutDispatchQueue"));
}

TEST_F(MVViewLayoutQueueTest, closuresRunInTheOrderOfTheirSubmission) {
    std::vector<int> order;
    for (int i = 0; i < 4; ++i) {
        queue_->async([&order, i] { order.push_back(i); });
    }
    queue_->sync([&] { order.push_back(4); });
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(MVViewLayoutQueueTest, theQueueDoesNotKeepItsViewAlive) {
    const std::weak_ptr<MVView> watched = view_;
    view_.reset();
    EXPECT_TRUE(watched.expired());
    bool any = false;
    queue_->sync([&] { any = MVViewIsExecutingOnLayoutDispatchQueue(nullptr); });
    EXPECT_TRUE(any) << "a view's queue it stays, for those who hold it";
}

TEST_F(MVViewLayoutQueueTest, aLayoutMayBeWantedFromAQueueThatIsNotTheViewsOwn) {
    queue_->sync([&] {
        view_->setNeedsLayout();
        other_->setNeedsLayout();
    });
    EXPECT_TRUE(view_->mv_isLayoutDirty());
    EXPECT_TRUE(other_->mv_isLayoutDirty());
}

TEST_F(MVViewLayoutQueueTest, aLayoutMayBeWantedOverOtherQueuesAndBack) {
    const auto render = SerialQueue::create("a test's queue", SerialQueue::Execution::OwnThread);
    queue_->sync([&] {
        render->sync(
            [&] { queue_->sync([&] { render->sync([&] { view_->setNeedsLayout(); }); }); });
    });
    EXPECT_TRUE(view_->mv_isLayoutDirty());
}

TEST_F(MVViewLayoutQueueTest, subviewsAreLaidOutOnTheOneConcurrentQueue) {
    EXPECT_EQ(MVViewSubviewLayoutDispatchQueue(), ConcurrentQueue::global());
    EXPECT_EQ(MVViewSubviewLayoutDispatchQueue(), MVViewSubviewLayoutDispatchQueue());
}

}  // namespace
