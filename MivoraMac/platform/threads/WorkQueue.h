#pragma once

#include <atomic>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// What serial and concurrent work queues have in common: a label, and values attached to the
/// queue under keys, by which code can tell on which queue it is running.
///
/// A closure that throws is logged and ends; no exception leaves a queue.
class MIVORA_EXPORT WorkQueue {
 public:
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;

    /// The name given at creation, for debuggers and logs.
    const char* label() const { return label_; }

    /// Attaches `value` to this queue under the address `key`, replacing an earlier value. The
    /// queue owns neither. Null is a value like any other to store, and reads as "none".
    /// Thread: any.
    void setSpecific(const void* key, void* value);

    /// The value stored under `key`, or null. Thread: any.
    void* specific(const void* key) const;

    /// The queue whose closure the calling thread is running, the innermost one when synchronous
    /// calls nest; null outside any queue.
    static WorkQueue* current();

    /// The value under `key` of the current queue; null outside any queue.
    static void* currentSpecific(const void* key);

 protected:
    /// @param label  a string that outlives the queue, usually a literal
    explicit WorkQueue(const char* label);
    ~WorkQueue();

    /// A thread that waits for a closure to run elsewhere.
    struct Wait;
    struct HandedCall;

    /// Makes a queue the current one of this thread for the duration of a scope.
    ///
    /// Scopes know those around them: on their own thread and, for a closure that another thread
    /// waits for, those of that thread at the time.
    class MIVORA_EXPORT CurrentScope {
     public:
        /// @param queue  null for none; held by the caller
        explicit CurrentScope(WorkQueue* queue);
        /// @param caller  the innermost scope of the thread that waits, or null
        /// @param wait    that thread's wait; outlives this scope
        CurrentScope(WorkQueue* queue, const CurrentScope* caller, Wait* wait);
        ~CurrentScope();
        CurrentScope(const CurrentScope&) = delete;
        CurrentScope& operator=(const CurrentScope&) = delete;

        /// The calling thread's innermost one; null outside any queue.
        static const CurrentScope* innermost();

        /// Where a queue's closure is in progress around this scope.
        struct Place {
            bool found = false;    ///< Whether there is one.
            Wait* wait = nullptr;  ///< Of the thread that runs it; null for the calling thread.
        };
        /// Looks for a queue in this scope and those around it.
        /// @param scope  the calling thread's innermost one, or null
        static Place find(const WorkQueue* queue, const CurrentScope* scope);

     private:
        WorkQueue* queue_;
        const CurrentScope* outer_;
        const CurrentScope* caller_ = nullptr;
        Wait* wait_ = nullptr;
    };

 private:
    struct Specific {
        const void* key = nullptr;
        std::atomic<void*> value{nullptr};
        Specific* next = nullptr;
    };

    Specific* find(const void* key) const;

    const char* label_;
    std::atomic<Specific*> specifics_{nullptr};
};

/// Logs the exception that is being handled, with the label of the current queue. In a handler of
/// exceptions only.
MIVORA_EXPORT void logClosureException() noexcept;

/// Calls `closure` and logs whatever it throws: the one rule for exceptions in queued work.
template <class Closure>
void runLogged(Closure& closure) noexcept {
    try {
        closure();
    } catch (...) {
        logClosureException();
    }
}

}  // namespace Mivora::platform
