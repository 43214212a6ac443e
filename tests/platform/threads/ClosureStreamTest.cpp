#include "MivoraMac/platform/threads/ClosureStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <numeric>
#include <set>
#include <vector>

using Mivora::platform::ClosureStream;

namespace {

/// Reserves room for `size` bytes, fills them with a pattern made from `value`, and commits a
/// closure that appends `value` to `out`, or -1 if the pattern has suffered.
void append(ClosureStream& stream, std::vector<int>& out, int value, std::size_t size) {
    struct Head {
        std::vector<int>* out;
        std::size_t size;
        int value;
    };
    size = std::max(size, sizeof(Head));
    void* place = stream.reserve(size);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(place) % ClosureStream::kAlignment, 0U);
    std::memset(place, value & 0x7F, size);
    ::new (place) Head{&out, size, value};
    stream.commit([](void* payload) {
        const Head head = *static_cast<Head*>(payload);
        const auto* bytes = static_cast<const unsigned char*>(payload);
        const bool intact =
            std::all_of(bytes + sizeof(Head), bytes + head.size,
                        [&](unsigned char byte) { return byte == (head.value & 0x7F); });
        head.out->push_back(intact ? head.value : -1);
    });
}

/// Runs what is ready. @return how many closures that were
std::size_t run(ClosureStream& stream) {
    const std::size_t count = stream.takeReady();
    for (std::size_t i = 0; i < count; ++i) {
        stream.runNext();
    }
    return count;
}

std::vector<int> upTo(std::size_t count) {
    std::vector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

class ClosureStreamSizeTest : public testing::TestWithParam<std::size_t> {};

}  // namespace

TEST(ClosureStreamTest, aNewStreamHasNothingReady) {
    ClosureStream stream;
    EXPECT_FALSE(stream.hasReady());
    EXPECT_EQ(stream.takeReady(), 0U);
}

TEST(ClosureStreamTest, runsClosuresInTheOrderTheyWereCommitted) {
    ClosureStream stream;
    std::vector<int> out;
    for (int i = 0; i < 10'000; ++i) {
        append(stream, out, i, 24);
    }
    EXPECT_TRUE(stream.hasReady());
    EXPECT_EQ(run(stream), 10'000U);
    EXPECT_EQ(out, upTo(10'000));
}

TEST(ClosureStreamTest, takeReadyCountsWhatWasCommittedSinceTheLastTime) {
    ClosureStream stream;
    std::vector<int> out;
    append(stream, out, 0, 8);
    append(stream, out, 1, 8);
    EXPECT_EQ(stream.takeReady(), 2U);
    EXPECT_FALSE(stream.hasReady());
    append(stream, out, 2, 8);
    EXPECT_TRUE(stream.hasReady());
    stream.runNext();
    stream.runNext();
    EXPECT_EQ(stream.takeReady(), 1U);
    stream.runNext();
    EXPECT_EQ(stream.takeReady(), 0U);
    EXPECT_EQ(out, upTo(3));
}

TEST(ClosureStreamTest, nothingIsQueuedBeforeTheCommit) {
    ClosureStream stream;
    const void* first = stream.reserve(100);
    EXPECT_FALSE(stream.hasReady());
    EXPECT_EQ(stream.takeReady(), 0U);
    EXPECT_EQ(stream.reserve(100), first);
}

TEST(ClosureStreamTest, aClosureMayCommitAnother) {
    ClosureStream stream;
    struct Payload {
        ClosureStream* stream;
        std::vector<int>* out;
        static void run(void* payload) {
            const Payload it = *static_cast<Payload*>(payload);
            const int value = static_cast<int>(it.out->size());
            it.out->push_back(value);
            if (value < 5000) {
                ::new (it.stream->reserve(sizeof(Payload))) Payload(it);
                it.stream->commit(run);
            }
        }
    };
    std::vector<int> out;
    ::new (stream.reserve(sizeof(Payload))) Payload{&stream, &out};
    stream.commit(Payload::run);
    while (run(stream) != 0) {
    }
    EXPECT_EQ(out, upTo(5001));
}

TEST_P(ClosureStreamSizeTest, payloadsKeepTheirBytesAndTheirOrder) {
    ClosureStream stream;
    std::vector<int> out;
    for (int round = 0; round < 3; ++round) {
        out.clear();
        for (int i = 0; i < 50; ++i) {
            append(stream, out, i, GetParam());
        }
        EXPECT_EQ(run(stream), 50U);
        EXPECT_EQ(out, upTo(50));
        EXPECT_EQ(stream.takeReady(), 0U);
    }
}

TEST_P(ClosureStreamSizeTest, mixWithSmallOnes) {
    ClosureStream stream;
    std::vector<int> out;
    for (int i = 0; i < 200; ++i) {
        append(stream, out, i, i % 7 == 3 ? GetParam() : 24);
        if (i % 31 == 0) {
            run(stream);
        }
    }
    run(stream);
    EXPECT_EQ(out, upTo(200));
}

// Around the sizes of chunks, 4 KiB and 64 KiB, less the headers of closures.
INSTANTIATE_TEST_SUITE_P(Sizes, ClosureStreamSizeTest,
                         testing::Values(1, 24, 25, 1000, 4048, 4063, 4064, 4065, 4080, 4096, 5000,
                                         32'736, 32'768, 65'488, 65'503, 65'504, 65'505, 65'520,
                                         65'536, 65'537, 200'000));

TEST(ClosureStreamTest, storageStartsOverWhenNothingWaits) {
    ClosureStream stream;
    std::vector<int> out;
    const void* first = stream.reserve(40);
    for (int round = 0; round < 1000; ++round) {
        EXPECT_EQ(stream.reserve(40), first);
        append(stream, out, round, 40);
        append(stream, out, round, 40);
        run(stream);
        EXPECT_EQ(stream.takeReady(), 0U);
    }
}

TEST(ClosureStreamTest, aBacklogThatNeverRunsDryReusesItsChunks) {
    ClosureStream stream;
    std::vector<int> out;
    std::set<const void*> places;
    constexpr std::size_t kSize = 1000;
    // One batch is always left waiting while the next is committed.
    const auto commitBatch = [&] {
        for (int i = 0; i < 100; ++i) {
            places.insert(stream.reserve(kSize));
            append(stream, out, i, kSize);
        }
    };
    commitBatch();
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i) {
            const std::size_t ready = stream.takeReady();
            commitBatch();
            for (std::size_t closure = 0; closure < ready; ++closure) {
                stream.runNext();
            }
        }
    };
    rounds(20);
    const std::size_t warm = places.size();
    rounds(500);
    EXPECT_EQ(places.size(), warm);
    EXPECT_EQ(std::count(out.begin(), out.end(), -1), 0);
}

TEST(ClosureStreamTest, aStreamThatWasNeverUsedCanGo) {
    const ClosureStream stream;
    EXPECT_FALSE(stream.hasReady());
}
