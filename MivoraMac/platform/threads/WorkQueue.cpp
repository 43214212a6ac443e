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

/// The thread's innermost `WorkQueue::CurrentScope`, a protected class.
[[gnu::tls_model("initial-exec")]] constinit thread_local const void* innermostScope = nullptr;

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

WorkQueue::CurrentScope::CurrentScope(WorkQueue* queue) : CurrentScope(queue, nullptr, nullptr) {}

WorkQueue::CurrentScope::CurrentScope(WorkQueue* queue, const CurrentScope* caller, Wait* wait)
    : queue_(queue), outer_(innermost()), caller_(caller), wait_(wait) {
    currentQueue = queue;
    innermostScope = this;
}

WorkQueue::CurrentScope::~CurrentScope() {
    currentQueue = outer_ != nullptr ? outer_->queue_ : nullptr;
    innermostScope = outer_;
}

const WorkQueue::CurrentScope* WorkQueue::CurrentScope::innermost() {
    return static_cast<const CurrentScope*>(innermostScope);
}

WorkQueue::CurrentScope::Place WorkQueue::CurrentScope::find(const WorkQueue* queue,
                                                             const CurrentScope* scope) {
    for (const CurrentScope* around = scope; around != nullptr; around = around->outer_) {
        if (around->queue_ == queue) {
            return {true, nullptr};
        }
    }
    for (const CurrentScope* around = scope; around != nullptr; around = around->outer_) {
        if (around->wait_ != nullptr) {
            const Place place = find(queue, around->caller_);
            if (place.found) {
                return {true, place.wait != nullptr ? place.wait : around->wait_};
            }
        }
    }
    return {};
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
