#pragma once

#include <memory>
#include <thread>

#include "MivoraMac/platform/threads/RunLoop.h"

namespace Mivora::tests {

/// A thread that runs a loop until the end of the scope.
class LoopThread {
 public:
    LoopThread() : thread_([loop = loop_] { loop->run(); }) {}
    ~LoopThread() { end(); }
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;

    const std::shared_ptr<platform::RunLoop>& loop() const { return loop_; }
    std::thread::id id() const { return id_; }

    /// Ends loop and thread before the scope does.
    void end() {
        if (thread_.joinable()) {
            loop_->stop();
            thread_.join();
        }
    }

 private:
    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::create();
    std::thread thread_;
    std::thread::id id_ = thread_.get_id();
};

}  // namespace Mivora::tests
