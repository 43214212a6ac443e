#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace Mivora::platform {

/// The threads that belong to serial queues, as far as the end of the process is concerned.
///
/// A GL driver keeps state for each thread that used it, and lets go of it both when the thread
/// ends and when the process exits; the two must not happen at once. So the exit waits until no
/// queue works and until every thread that outlived its queue has ended. From then on no queue gets
/// to work any more: what statics dispatch as they are destroyed would meet a driver that has gone.
///
/// Thread: any.
class QueueThreads {
 public:
    /// Never destroyed.
    static QueueThreads& shared();

    /// Marks the calling thread as one of a queue.
    void enter();

    /// A queue is about to get its first closure.
    /// @return whether it may; false once the process is exiting and the queues have been waited
    /// for
    bool beginWork();
    /// A queue has run dry.
    void endWork();

    /// A GL driver has drawn a frame, and made what it needs for that.
    void driverHasDrawn();

    /// Takes over a thread that ends by itself, the calling one.
    void adopt(std::thread thread);

 private:
    static void lookAfterExit();
    static void waitAtExit();
    void joinAdopted();

    std::mutex mutex_;
    std::condition_variable idle_;
    std::thread adopted_;
    int working_ = 0;
    std::uint64_t runs_ = 0;            ///< until a queue ran dry
    std::uint64_t nextRegistered_ = 1;  ///< of these, as many have the exit looked after anew
    bool hasDrawn_ = false;
    bool isExiting_ = false;
    bool over_ = false;
};

}  // namespace Mivora::platform
