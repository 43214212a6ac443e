#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVQuadRecordingPrivate.h"

MVQuadRecording::MVQuadRecording(MVQuadBatch& batch)
    : batch_(batch), entries_(std::make_unique_for_overwrite<MVQuadEntry[]>(kCapacity)) {}

MVQuadRecording::~MVQuadRecording() = default;

void MVQuadRecording::begin() {
    next_ = 0;
    committed_ = 0;
    state_.store(0, std::memory_order_relaxed);
    idle_.store(false, std::memory_order_relaxed);
}

void MVQuadRecording::close() {
    count_ = state_.fetch_or(kClosed, std::memory_order_acquire);
}

void MVQuadRecording::run() {
    const Mivora::platform::AtEnd done([this] { idle_.store(true, std::memory_order_release); });
    batch_.draw({entries_.get(), count_});
}
