#include "MivoraMac/platform/threads/WorkQueue.h"

#include <exception>
#include <memory>
#include <mutex>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/MainThread.h"

namespace Mivora::platform {

namespace {

/// Read several times for every drawn view, so without the indirection of the dynamic TLS model.
[[gnu::tls_model("initial-exec")]] constinit thread_local WorkQueue* currentQueue = nullptr;

std::mutex& specificsMutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace

WorkQueue::WorkQueue(const char* label) : label_(label) {}

WorkQueue::~WorkQueue() {
    Specific* node = specifics_.load(std::memory_order_acquire);
    while (node != nullptr) {
        const std::unique_ptr<Specific> owned(node);
        node = node->next;
    }
}

WorkQueue::Specific* WorkQueue::find(const void* key) const {
    Specific* node = specifics_.load(std::memory_order_acquire);
    while (node != nullptr && node->key != key) {
        node = node->next;
    }
    return node;
}

void WorkQueue::setSpecific(const void* key, void* value) {
    const std::lock_guard lock(specificsMutex());
    if (Specific* node = find(key)) {
        node->value.store(value, std::memory_order_release);
        return;
    }
    auto node = std::make_unique<Specific>();
    node->key = key;
    node->value.store(value, std::memory_order_relaxed);
    node->next = specifics_.load(std::memory_order_relaxed);
    specifics_.store(node.release(), std::memory_order_release);
}

void* WorkQueue::specific(const void* key) const {
    const Specific* node = find(key);
    return node != nullptr ? node->value.load(std::memory_order_acquire) : nullptr;
}

WorkQueue* WorkQueue::current() {
    return currentQueue;
}

void* WorkQueue::currentSpecific(const void* key) {
    return currentQueue != nullptr ? currentQueue->specific(key) : nullptr;
}

WorkQueue::CurrentScope::CurrentScope(WorkQueue* queue) : outer_(currentQueue) {
    currentQueue = queue;
}

WorkQueue::CurrentScope::~CurrentScope() {
    currentQueue = outer_;
}

void logClosureException() noexcept {
    const char* label = currentQueue != nullptr      ? currentQueue->label()
                        : MainThread::isMainThread() ? "main thread"
                                                     : "outside any queue";
    try {
        throw;
    } catch (const std::exception& exception) {
        DebugLog::warn(DebugLog::Category::Queue, "%s: a closure threw: %s", label,
                       exception.what());
    } catch (...) {
        DebugLog::warn(DebugLog::Category::Queue, "%s: a closure threw an unknown exception",
                       label);
    }
}

}  // namespace Mivora::platform
