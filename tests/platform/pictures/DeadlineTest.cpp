#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <memory>
#include <thread>

#include "MivoraMac/platform/pictures/DeadlinePrivate.h"

// Work that cannot be stopped, and that nobody waits for longer than they said.

namespace {

using Mivora::platform::DeadlineOutcome;
using Mivora::platform::runWithin;

TEST(DeadlineTest, workIsDoneOnAThreadOfItsOwn) {
    std::thread::id thread;
    EXPECT_EQ(runWithin(1000, [&] { thread = std::this_thread::get_id(); }), DeadlineOutcome::Done);
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(DeadlineTest, noTimeIsNoBeginning) {
    bool hasRun = false;
    for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(runWithin(seconds, [&] { hasRun = true; }), DeadlineOutcome::Refused);
    }
    EXPECT_FALSE(hasRun);
}

TEST(DeadlineTest, workOnEndlesslyIsLeftAloneAndAThirdIsRefused) {
    std::promise<void> gate;
    const std::shared_future<void> opened = gate.get_future().share();
    std::promise<void> ended[2];
    std::future<void> ends[2] = {ended[0].get_future(), ended[1].get_future()};
    for (auto& end : ended) {
        EXPECT_EQ(runWithin(1e-3,
                            [opened, &end] {
                                opened.wait();
                                end.set_value();
                            }),
                  DeadlineOutcome::Late);
    }
    EXPECT_EQ(runWithin(1000, [] {}), DeadlineOutcome::Refused);
    gate.set_value();
    for (auto& end : ends) {
        end.wait();
    }
    // It counts as late until its thread is through with it, which is not heard of.
    while (runWithin(1000, [] {}) == DeadlineOutcome::Refused) {
        std::this_thread::yield();
    }
}

}  // namespace
