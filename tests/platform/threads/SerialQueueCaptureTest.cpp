// What becomes of the captures of closures on a serial queue: where they are kept, moved, copied
// and destroyed.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <latch>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/threads/SerialQueue.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/threads/QueueExecutions.h"

using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;
using Mivora::tests::bothExecutions;
using Mivora::tests::executionName;
using Mivora::tests::LogCapture;

namespace {

class SerialQueueCaptureTest : public testing::TestWithParam<SerialQueue::Execution> {
 protected:
    const std::shared_ptr<SerialQueue> queue_ = SerialQueue::create("queue", GetParam());
};

INSTANTIATE_TEST_SUITE_P(Kinds, SerialQueueCaptureTest, bothExecutions(), executionName);

/// Calls `closure` when the last copy of the result goes.
template <class Closure>
std::shared_ptr<void> whenDestroyed(Closure closure) {
    return {nullptr, [closure](void*) { closure(); }};
}

/// May throw when copied or moved, as far as the compiler knows; throws when told to.
class Moody {
 public:
    explicit Moody(int value) : value_(value) {}
    Moody(const Moody& other) : value_(other.value_), throws_(other.throws_) {
        if (throws_) {
            throw std::runtime_error("no copy");
        }
    }
    Moody(Moody&& other) noexcept(false) : value_(std::exchange(other.value_, -1)) {}
    ~Moody() = default;
    Moody& operator=(const Moody&) = delete;
    Moody& operator=(Moody&&) = delete;

    void throwWhenCopied() { throws_ = true; }
    int value() const { return value_; }

 private:
    int value_;
    bool throws_ = false;
};

struct alignas(64) CacheLine {
    int value = 0;
};

bool isAligned(const void* place, std::size_t alignment) {
    return reinterpret_cast<std::uintptr_t>(place) % alignment == 0;
}

}  // namespace

TEST_P(SerialQueueCaptureTest, capturesAreDestroyedOnTheQueueAfterTheClosureHasRun) {
    std::vector<std::string> events;
    WorkQueue* destroyedOn = nullptr;
    queue_->async([&events, token = whenDestroyed([&] {
                                events.emplace_back("destroyed");
                                destroyedOn = WorkQueue::current();
                            })] { events.emplace_back("ran"); });
    queue_->async([&] { events.emplace_back("next"); });
    queue_->sync([] {});
    const std::vector<std::string> expected = {"ran", "destroyed", "next"};
    EXPECT_EQ(events, expected);
    EXPECT_EQ(destroyedOn, queue_.get());
}

TEST_P(SerialQueueCaptureTest, capturesOfAClosureThatThrowsAreDestroyed) {
    const LogCapture log;
    bool destroyed = false;
    std::latch ran(1);
    queue_->async([&ran, token = whenDestroyed([&] { destroyed = true; })] {
        ran.count_down();
        throw std::runtime_error("out of paint");
    });
    ran.wait();
    queue_->sync([] {});
    EXPECT_TRUE(destroyed);
}

TEST_P(SerialQueueCaptureTest, aTemporaryIsMovedAndAVariableIsCopied) {
    auto token = std::make_shared<int>(1);
    auto closure = [token] {};
    EXPECT_EQ(token.use_count(), 2);
    queue_->async(closure);
    queue_->sync([] {});
    EXPECT_EQ(token.use_count(), 2);
    queue_->async(std::move(closure));
    queue_->sync([] {});
    EXPECT_EQ(token.use_count(), 1);
}

TEST_P(SerialQueueCaptureTest, capturesMayBeMoveOnly) {
    int seen = 0;
    queue_->async([&seen, owned = std::make_unique<int>(7)] { seen = *owned; });
    queue_->sync([] {});
    EXPECT_EQ(seen, 7);
}

TEST_P(SerialQueueCaptureTest, closuresMayChangeTheirCaptures) {
    int seen = 0;
    queue_->async([&seen, count = 1]() mutable {
        ++count;
        seen = count;
    });
    queue_->sync([] {});
    EXPECT_EQ(seen, 2);
}

TEST_P(SerialQueueCaptureTest, aFunctionIsAClosure) {
    static int calls = 0;
    calls = 0;
    void (*function)() = [] { ++calls; };
    queue_->async(function);
    queue_->sync(function);
    EXPECT_EQ(calls, 2);
}

TEST_P(SerialQueueCaptureTest, overAlignedCapturesStayAligned) {
    std::array<bool, 8> aligned{};
    std::array<int, 8> values{};
    for (std::size_t i = 0; i < aligned.size(); ++i) {
        CacheLine line;
        line.value = static_cast<int>(i);
        // The byte keeps a run of closures from falling on aligned places by itself.
        queue_->async([&, i, line, byte = std::byte{1}] {
            aligned[i] = isAligned(&line, alignof(CacheLine)) && byte == std::byte{1};
            values[i] = line.value;
        });
        queue_->async([&] {});
    }
    queue_->sync([] {});
    EXPECT_TRUE(std::all_of(aligned.begin(), aligned.end(), [](bool is) { return is; }));
    EXPECT_EQ(values, (std::array<int, 8>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_P(SerialQueueCaptureTest, capturesWhoseMoveMayThrowArriveWhole) {
    std::vector<int> seen;
    for (int i = 0; i < 100; ++i) {
        queue_->async([&seen, moody = Moody(i)] { seen.push_back(moody.value()); });
    }
    queue_->sync([] {});
    ASSERT_EQ(seen.size(), 100U);
    EXPECT_EQ(seen.front(), 0);
    EXPECT_EQ(seen.back(), 99);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
}

TEST_P(SerialQueueCaptureTest, aCopyThatThrowsReachesTheSubmitterAndQueuesNothing) {
    bool ran = false;
    auto closure = [&ran, moody = Moody(1)]() mutable { ran = moody.value() == 1; };
    struct Throwing {
        explicit Throwing(bool& ran) : ran_(&ran) { moody_.throwWhenCopied(); }
        void operator()() const { *ran_ = true; }
        bool* ran_;
        Moody moody_{2};
    };
    const Throwing throwing(ran);
    EXPECT_THROW(queue_->async(throwing), std::runtime_error);
    queue_->sync([] {});
    EXPECT_FALSE(ran);
    queue_->async(closure);
    queue_->sync([] {});
    EXPECT_TRUE(ran);
}

TEST_P(SerialQueueCaptureTest, capturesMayBeLargerThanTheUsualStorage) {
    constexpr std::size_t kBytes = 100'000;
    std::vector<int> sums;
    for (int i = 0; i < 10; ++i) {
        std::array<std::uint8_t, kBytes> bytes{};
        bytes.fill(static_cast<std::uint8_t>(i));
        queue_->async([&sums, bytes, i] {
            const bool whole = std::all_of(bytes.begin(), bytes.end(),
                                           [&](std::uint8_t byte) { return byte == i; });
            sums.push_back(whole ? i : -1);
        });
        queue_->async([&sums, i] { sums.push_back(i); });
    }
    queue_->sync([] {});
    const std::vector<int> expected = {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9};
    EXPECT_EQ(sums, expected);
}

TEST_P(SerialQueueCaptureTest, closuresOfAllSizesMix) {
    int wrong = 0;
    int ran = 0;
    const auto submit = [&]<std::size_t Size>(std::integral_constant<std::size_t, Size>) {
        std::array<std::uint8_t, Size> bytes{};
        bytes.fill(static_cast<std::uint8_t>(Size));
        queue_->async([&, bytes] {
            ++ran;
            for (const std::uint8_t byte : bytes) {
                wrong += byte == static_cast<std::uint8_t>(Size) ? 0 : 1;
            }
        });
    };
    for (int i = 0; i < 20; ++i) {
        submit(std::integral_constant<std::size_t, 1>());
        submit(std::integral_constant<std::size_t, 17>());
        submit(std::integral_constant<std::size_t, 1000>());
        submit(std::integral_constant<std::size_t, 4096>());
        submit(std::integral_constant<std::size_t, 30'000>());
        submit(std::integral_constant<std::size_t, 65'536>());
    }
    queue_->sync([] {});
    EXPECT_EQ(ran, 120);
    EXPECT_EQ(wrong, 0);
}

TEST_P(SerialQueueCaptureTest, inSteadyStateClosuresLiveInTheSameStorageAgain) {
    struct Where {
        std::set<const void*>* places;
        std::array<std::uint64_t, 5> payload;
        void operator()() const { places->insert(this); }
    };
    std::set<const void*> places;
    const auto round = [&] {
        for (int i = 0; i < 20; ++i) {
            queue_->async(Where{&places, {}});
        }
        queue_->sync([] {});
    };
    for (int i = 0; i < 2000; ++i) {
        round();
    }
    // Twenty closures of 64 bytes with what leads to the next one: they all fit the first chunk of
    // storage, at whatever point of a round the queue catches up.
    const auto* first = static_cast<const std::byte*>(*places.begin());
    const auto* last = static_cast<const std::byte*>(*places.rbegin());
    EXPECT_LE(last - first, 4096);
}
