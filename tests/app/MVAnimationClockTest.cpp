#include "MivoraMac/app/MVAnimationClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVAnimationClockTick.h"

namespace {

constexpr double kStep = 0.01666666753590107;

class Ticker : public MVAnimationClockTick {
 public:
    Ticker() = default;
    explicit Ticker(std::function<void()> action) : whenTicked(std::move(action)) {}

    void tickVideoSync(double step, double sync) override {
        ++ticks;
        lastStep = step;
        lastSync = sync;
        if (whenTicked) {
            whenTicked();
        }
    }

    std::function<void()> whenTicked;
    int ticks = 0;
    double lastStep = -1;
    double lastSync = -1;
};

/// Something before the ticker, so that its address is not that of the whole object.
struct Named {
    virtual ~Named() = default;
    int name = 0;
};
class NamedTicker : public Named, public Ticker {};

/// Counts the allocations that are not released yet. What makes a shared object releases its memory
/// when the last weak reference has gone, too.
template <class T>
struct CountingAllocator {
    using value_type = T;
    explicit CountingAllocator(int* counter) : live(counter) {}
    template <class U>
    CountingAllocator(const CountingAllocator<U>& other) : live(other.live) {}  // NOLINT
    T* allocate(std::size_t count) {
        ++*live;
        return std::allocator<T>().allocate(count);
    }
    void deallocate(T* memory, std::size_t count) {
        --*live;
        std::allocator<T>().deallocate(memory, count);
    }
    template <class U>
    bool operator==(const CountingAllocator<U>& other) const {
        return live == other.live;
    }
    int* live;
};

class MVAnimationClockTest : public testing::Test {
 protected:
    ~MVAnimationClockTest() override { MVAnimationClock::mv_setActiveClock(nullptr); }

    std::shared_ptr<Ticker> counted() {
        return std::allocate_shared<Ticker>(CountingAllocator<Ticker>(&remembered_));
    }
    void tick() { clock_->tickVideoSync(kStep, 0); }

    int remembered_ = 0;  // counted tickers that somebody refers to, also weakly
    std::shared_ptr<MVAnimationClock> clock_ = MVAnimationClock::init();
};

}  // namespace

TEST_F(MVAnimationClockTest, aStartedTickerReceivesStepAndSyncAtEveryTick) {
    const auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    EXPECT_EQ(ticker->ticks, 0);
    clock_->tickVideoSync(kStep, 0.5);
    EXPECT_EQ(ticker->ticks, 1);
    EXPECT_EQ(ticker->lastStep, kStep);
    EXPECT_EQ(ticker->lastSync, 0.5);
    clock_->tickVideoSync(2, 3);
    EXPECT_EQ(ticker->ticks, 2);
    EXPECT_EQ(ticker->lastStep, 2);
    EXPECT_EQ(ticker->lastSync, 3);
}

TEST_F(MVAnimationClockTest, stepAndSyncAreHandedOnAsTheyAre) {
    const auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    clock_->tickVideoSync(std::numeric_limits<double>::quiet_NaN(), -1);
    EXPECT_TRUE(std::isnan(ticker->lastStep));
    EXPECT_EQ(ticker->lastSync, -1);
}

TEST_F(MVAnimationClockTest, aClockWithoutTickersTicks) {
    tick();
}

TEST_F(MVAnimationClockTest, everyTickerIsTickedOnceATick) {
    std::vector<std::shared_ptr<Ticker>> tickers;
    for (int i = 0; i < 1000; ++i) {
        clock_->startTick(tickers.emplace_back(std::make_shared<Ticker>()));
    }
    tick();
    tick();
    for (const auto& ticker : tickers) {
        ASSERT_EQ(ticker->ticks, 2);
    }
}

TEST_F(MVAnimationClockTest, startingTwiceRegistersOnce) {
    const auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    clock_->startTick(ticker);
    tick();
    EXPECT_EQ(ticker->ticks, 1);
    clock_->stopTick(ticker);
    tick();
    EXPECT_EQ(ticker->ticks, 1);
}

TEST_F(MVAnimationClockTest, aStoppedTickerMayStartAgain) {
    const auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    clock_->stopTick(ticker);
    tick();
    EXPECT_EQ(ticker->ticks, 0);
    clock_->startTick(ticker);
    tick();
    EXPECT_EQ(ticker->ticks, 1);
}

TEST_F(MVAnimationClockTest, stoppingConcernsOneTicker) {
    const auto stopped = std::make_shared<Ticker>();
    const auto kept = std::make_shared<Ticker>();
    clock_->startTick(stopped);
    clock_->startTick(kept);
    clock_->stopTick(stopped);
    tick();
    EXPECT_EQ(stopped->ticks, 0);
    EXPECT_EQ(kept->ticks, 1);
}

TEST_F(MVAnimationClockTest, stoppingWhatIsNotRegisteredIsIgnored) {
    const auto ticker = std::make_shared<Ticker>();
    clock_->stopTick(ticker);
    clock_->startTick(ticker);
    clock_->stopTick(std::make_shared<Ticker>());
    tick();
    EXPECT_EQ(ticker->ticks, 1);
}

TEST_F(MVAnimationClockTest, nullIsIgnored) {
    clock_->startTick(nullptr);
    clock_->stopTick(nullptr);
    clock_->startTick(nullptr);
    tick();
}

TEST_F(MVAnimationClockTest, stopAllTicksTakesBackAllRegistrations) {
    const auto one = std::make_shared<Ticker>();
    const auto other = std::make_shared<Ticker>();
    clock_->startTick(one);
    clock_->startTick(other);
    clock_->stopAllTicks();
    clock_->stopAllTicks();
    tick();
    EXPECT_EQ(one->ticks + other->ticks, 0);
    clock_->startTick(one);
    tick();
    EXPECT_EQ(one->ticks, 1);
}

TEST_F(MVAnimationClockTest, tickersAreHeldWeakly) {
    auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    EXPECT_EQ(ticker.use_count(), 1);
    const std::weak_ptr<Ticker> weak = ticker;
    ticker = nullptr;
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVAnimationClockTest, aTickerThatHasGoneIsSkippedAndForgottenAfterThatTick) {
    auto gone = counted();
    const auto kept = counted();
    clock_->startTick(gone);
    clock_->startTick(kept);
    gone = nullptr;
    EXPECT_EQ(remembered_, 2);
    tick();
    EXPECT_EQ(remembered_, 1);
    EXPECT_EQ(kept->ticks, 1);
    tick();
    EXPECT_EQ(kept->ticks, 2);
}

TEST_F(MVAnimationClockTest, tickersThatHaveGoneAreForgottenOnlyAfterTheWholePass) {
    auto gone = counted();
    clock_->startTick(gone);
    gone = nullptr;
    int seen = 0;
    const auto look = [&] { seen += remembered_; };
    std::vector<std::shared_ptr<Ticker>> lookers;
    for (int i = 0; i < 50; ++i) {
        clock_->startTick(lookers.emplace_back(std::make_shared<Ticker>(look)));
    }
    tick();
    EXPECT_EQ(seen, 50);
    EXPECT_EQ(remembered_, 0);
}

TEST_F(MVAnimationClockTest, aTickerThatGoesDuringATickIsNotTickedAfterwards) {
    // Two of them end each other: whichever comes first, the other one is not ticked.
    std::shared_ptr<Ticker> a = counted();
    std::shared_ptr<Ticker> b = counted();
    int ticks = 0;
    a->whenTicked = [&] {
        ++ticks;
        b = nullptr;
    };
    b->whenTicked = [&] {
        ++ticks;
        a = nullptr;
    };
    clock_->startTick(a);
    clock_->startTick(b);
    tick();
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(remembered_, 1);
}

TEST_F(MVAnimationClockTest, aTickerLivesUntilItsTickIsOver) {
    std::shared_ptr<Ticker> ticker = std::make_shared<Ticker>();
    const std::weak_ptr<Ticker> weak = ticker;
    ticker->whenTicked = [&] {
        ticker = nullptr;
        EXPECT_FALSE(weak.expired());
    };
    clock_->startTick(ticker);
    tick();
    EXPECT_TRUE(weak.expired());
    tick();
}

TEST_F(MVAnimationClockTest, aTickerInThePlaceOfOneThatHasGoneIsTickedOnceATick) {
    alignas(Ticker) std::byte place[sizeof(Ticker)];
    const auto make = [&] {
        return std::shared_ptr<Ticker>(
            ::new (static_cast<void*>(place)) Ticker(), [](Ticker* ticker) { ticker->~Ticker(); },
            CountingAllocator<Ticker>(&remembered_));
    };
    auto first = make();
    clock_->startTick(first);
    first = nullptr;
    auto second = make();
    clock_->startTick(second);
    clock_->startTick(second);
    tick();
    EXPECT_EQ(second->ticks, 1);
    EXPECT_EQ(remembered_, 1);
    second = nullptr;
    auto third = make();
    clock_->startTick(third);
    third = nullptr;
    const auto fourth = make();
    clock_->startTick(fourth);
    EXPECT_EQ(remembered_, 3);
    tick();
    tick();
    EXPECT_EQ(fourth->ticks, 2);
    EXPECT_EQ(remembered_, 1);
    clock_->stopTick(fourth);
    tick();
    EXPECT_EQ(fourth->ticks, 2);
}

TEST_F(MVAnimationClockTest, aTickerThatStopsItselfIsNotTickedAgain) {
    const auto ticker = std::make_shared<Ticker>();
    const auto other = std::make_shared<Ticker>();
    ticker->whenTicked = [&] { clock_->stopTick(ticker); };
    clock_->startTick(ticker);
    clock_->startTick(other);
    tick();
    tick();
    EXPECT_EQ(ticker->ticks, 1);
    EXPECT_EQ(other->ticks, 2);
}

TEST_F(MVAnimationClockTest, aTickerStartedDuringATickIsFirstTickedAtTheNext) {
    const auto started = std::make_shared<Ticker>();
    const auto starter = std::make_shared<Ticker>();
    starter->whenTicked = [&] { clock_->startTick(started); };
    clock_->startTick(starter);
    tick();
    EXPECT_EQ(started->ticks, 0);
    tick();
    EXPECT_EQ(started->ticks, 1);
}

TEST_F(MVAnimationClockTest, manyTickersStartedDuringATickDoNotDisturbIt) {
    std::vector<std::shared_ptr<Ticker>> tickers;
    const auto start = [&] {
        if (tickers.size() < 1000) {
            clock_->startTick(tickers.emplace_back(std::make_shared<Ticker>()));
        }
    };
    std::vector<std::shared_ptr<Ticker>> starters;
    for (int i = 0; i < 20; ++i) {
        clock_->startTick(starters.emplace_back(std::make_shared<Ticker>(start)));
    }
    for (int i = 0; i < 10; ++i) {
        tick();
    }
    ASSERT_EQ(tickers.size(), 200U);
    EXPECT_EQ(tickers.front()->ticks, 9);
    EXPECT_EQ(tickers.back()->ticks, 0);
    for (const auto& starter : starters) {
        EXPECT_EQ(starter->ticks, 10);
    }
}

TEST_F(MVAnimationClockTest, oneStoppedByAnotherTickerStillReceivesTheTickUnderWay) {
    const auto a = std::make_shared<Ticker>();
    const auto b = std::make_shared<Ticker>();
    a->whenTicked = [&] { clock_->stopTick(b); };
    b->whenTicked = [&] { clock_->stopTick(a); };
    clock_->startTick(a);
    clock_->startTick(b);
    tick();
    EXPECT_EQ(a->ticks, 1);
    EXPECT_EQ(b->ticks, 1);
    tick();
    EXPECT_EQ(a->ticks, 1);
    EXPECT_EQ(b->ticks, 1);
}

TEST_F(MVAnimationClockTest, stopAllTicksDuringATickLeavesTheTickUnderWay) {
    std::vector<std::shared_ptr<Ticker>> tickers;
    for (int i = 0; i < 20; ++i) {
        clock_->startTick(
            tickers.emplace_back(std::make_shared<Ticker>([&] { clock_->stopAllTicks(); })));
    }
    tick();
    tick();
    for (const auto& ticker : tickers) {
        EXPECT_EQ(ticker->ticks, 1);
    }
}

TEST_F(MVAnimationClockTest, aTickWithinATickIsATickOfItsOwn) {
    auto gone = counted();
    const auto other = std::make_shared<Ticker>();
    const auto nesting = std::make_shared<Ticker>();
    nesting->whenTicked = [&] {
        if (nesting->ticks == 1) {
            clock_->tickVideoSync(7, 8);
            EXPECT_EQ(nesting->lastStep, 7);
        }
    };
    clock_->startTick(gone);
    clock_->startTick(other);
    clock_->startTick(nesting);
    gone = nullptr;
    tick();
    EXPECT_EQ(nesting->ticks, 2);
    EXPECT_EQ(other->ticks, 2);
    EXPECT_EQ(remembered_, 0);
    tick();
    EXPECT_EQ(other->ticks, 3);
}

TEST_F(MVAnimationClockTest, anExceptionEndsTheTickAndLeavesTheClockUsable) {
    auto gone = counted();
    const auto thrower = std::make_shared<Ticker>([] { throw std::runtime_error("no"); });
    clock_->startTick(gone);
    clock_->startTick(thrower);
    gone = nullptr;
    EXPECT_THROW(tick(), std::runtime_error);
    thrower->whenTicked = nullptr;
    tick();
    EXPECT_EQ(thrower->ticks, 2);
    EXPECT_EQ(remembered_, 0);
}

TEST_F(MVAnimationClockTest, aTickerWhoseAddressIsNotThatOfTheObjectIsTicked) {
    const auto ticker = std::make_shared<NamedTicker>();
    clock_->startTick(ticker);
    clock_->startTick(std::shared_ptr<Ticker>(ticker));
    tick();
    EXPECT_EQ(ticker->ticks, 1);
    clock_->stopTick(ticker);
    tick();
    EXPECT_EQ(ticker->ticks, 1);
}

TEST_F(MVAnimationClockTest, clocksTickTheirOwnTickers) {
    const auto other = MVAnimationClock::init();
    const auto ticker = std::make_shared<Ticker>();
    clock_->startTick(ticker);
    other->tickVideoSync(kStep, 0);
    EXPECT_EQ(ticker->ticks, 0);
    other->startTick(ticker);
    other->tickVideoSync(kStep, 0);
    tick();
    EXPECT_EQ(ticker->ticks, 2);
}

TEST_F(MVAnimationClockTest, aClockThatItsTickersDropTicksTheOthersAndGoes) {
    const std::weak_ptr<MVAnimationClock> watched = clock_;
    std::vector<std::shared_ptr<Ticker>> tickers;
    for (int i = 0; i < 20; ++i) {
        tickers.push_back(std::make_shared<Ticker>([&] {
            clock_.reset();
            EXPECT_FALSE(watched.expired()) << "it is in the middle of a tick";
        }));
        clock_->startTick(tickers.back());
    }
    auto gone = std::make_shared<Ticker>();
    clock_->startTick(gone);
    gone.reset();
    clock_->tickVideoSync(kStep, 0);
    for (const auto& ticker : tickers) {
        EXPECT_EQ(ticker->ticks, 1);
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(MVAnimationClockTest, theActiveClockIsHeldWeakly) {
    EXPECT_EQ(MVAnimationClock::activeClock(), nullptr);
    MVAnimationClock::mv_setActiveClock(clock_);
    EXPECT_EQ(MVAnimationClock::activeClock(), clock_);
    EXPECT_EQ(clock_.use_count(), 1);
    clock_ = nullptr;
    EXPECT_EQ(MVAnimationClock::activeClock(), nullptr);
}

TEST_F(MVAnimationClockTest, theLastClockMadeActiveIsTheActiveOne) {
    const auto other = MVAnimationClock::init();
    EXPECT_EQ(MVAnimationClock::activeClock(), nullptr);
    MVAnimationClock::mv_setActiveClock(clock_);
    MVAnimationClock::mv_setActiveClock(other);
    EXPECT_EQ(MVAnimationClock::activeClock(), other);
    MVAnimationClock::mv_setActiveClock(nullptr);
    EXPECT_EQ(MVAnimationClock::activeClock(), nullptr);
}
