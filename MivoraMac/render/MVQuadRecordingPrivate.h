#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "MivoraMac/platform/threads/SerialQueue.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"

class MVQuadBatch;

/// A run of drawings that follow each other on the GL queue, for one closure's price. It grows
/// until something else is queued, or until it is full, however fast the queue is.
///
/// One thread adds; any thread that queues something ends the run, which the adding one learns
/// from `commit`. Recordings are used again once they have been drawn.
class MVQuadRecording : public Mivora::platform::GrowingWork {
 public:
    /// Some hundred microseconds of drawing visits: enough for a call of the driver not to count,
    /// and little enough for the two threads to work side by side.
    static constexpr std::uint32_t kCapacity = 512;

    /// @param batch  outlives the drawing: that of the render context's group
    explicit MVQuadRecording(MVQuadBatch& batch);
    ~MVQuadRecording() override;

    /// Whether `begin` may be called: at first, and once the run has been drawn.
    bool isIdle() const { return idle_.load(std::memory_order_acquire); }
    /// Starts anew, empty.
    void begin();

    /// Whether the run has ended, so that nothing can be added.
    bool isClosed() const { return (state_.load(std::memory_order_relaxed) & kClosed) != 0; }
    bool isFull() const { return next_ == kCapacity; }
    /// The place for the next entry; not while full.
    MVQuadEntry& next() { return entries_[next_]; }
    /// Adds the entry that was written to `next`, as far as the adding thread knows.
    void add() { ++next_; }
    /// Adds all entries since the last call to the run, before anybody else may queue something
    /// that has to come after them.
    /// @return false where the run had ended: they are not part of it, and nothing can be added any
    ///         more
    bool commit() {
        const std::uint32_t count = next_ - committed_;
        committed_ = next_;
        return (state_.fetch_add(count, std::memory_order_release) & kClosed) == 0;
    }
    /// What has been added but not committed. It stays in place until `begin`.
    std::span<const MVQuadEntry> uncommitted() const {
        return {&entries_[committed_], next_ - committed_};
    }

 private:
    static constexpr std::uint32_t kClosed = 1U << 31U;

    void close() override;
    void run() override;

    MVQuadBatch& batch_;
    const std::unique_ptr<MVQuadEntry[]> entries_;
    std::uint32_t next_ = 0;               // the adding thread's
    std::uint32_t committed_ = 0;          // likewise
    std::uint32_t count_ = 0;              // known once it is closed
    std::atomic<std::uint32_t> state_{0};  // the number of entries, and whether it is closed
    std::atomic<bool> idle_{true};
};
