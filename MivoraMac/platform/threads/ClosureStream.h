#pragma once

#include <cstddef>
#include <cstdint>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// First-in, first-out storage for closures, in chunks of memory that are used again and again, so
/// that a closure in steady state costs no allocation.
///
/// One consumer and, under the owner's lock, any number of producers: `reserve`, `commit`,
/// `hasReady` and `takeReady` are called with the lock held, `runNext` without it, by the one
/// thread that got a count from `takeReady`.
class MIVORA_EXPORT ClosureStream {
 public:
    /// Runs the closure at `payload` and then destroys it.
    using Run = void (*)(void* payload);

    /// Payloads are aligned to this; closures that need more are boxed by the caller.
    static constexpr std::size_t kAlignment = 16;

    ClosureStream() = default;
    ~ClosureStream();
    ClosureStream(const ClosureStream&) = delete;
    ClosureStream& operator=(const ClosureStream&) = delete;

    /// Room for a closure of `size` bytes. Nothing is queued until `commit`.
    void* reserve(std::size_t size);

    /// Queues the closure built in the place that the last `reserve` returned.
    void commit(Run run);

    /// Whether closures have been committed that `takeReady` has not counted yet.
    bool hasReady() const { return ready_ != 0; }

    /// The number of closures committed since the last call; the consumer runs them all with
    /// `runNext` before it asks again. When nothing waits, the storage starts over.
    std::size_t takeReady();

    /// Runs the oldest closure.
    void runNext();

 private:
    struct Chunk;
    struct alignas(kAlignment) Header {
        Run run;  // null: continue at the start of the next chunk
        std::uint64_t size;
    };

    static Chunk* makeChunk(std::size_t capacity);
    static void freeChunks(Chunk* list);
    void appendChunk(std::size_t need);
    void recycleSpent();

    // Producers.
    Chunk* tail_ = nullptr;
    std::size_t tailUsed_ = 0;
    std::size_t reserved_ = 0;
    std::size_t ready_ = 0;
    Chunk* free_ = nullptr;
    std::size_t freeCount_ = 0;
    // The consumer, on a cache line of its own: it writes these for every closure.
    alignas(64) Chunk* head_ = nullptr;
    std::size_t headOffset_ = 0;
    Chunk* spent_ = nullptr;
};

}  // namespace Mivora::platform
