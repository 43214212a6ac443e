#pragma once

#include <latch>
#include <memory>

#include "MivoraMac/platform/threads/SerialQueue.h"

namespace Mivora::tests {

/// Holds a serial queue until it is opened, so that everything submitted meanwhile waits.
class QueueGate {
 public:
    explicit QueueGate(platform::SerialQueue& queue) {
        // The queue may still be on its way out of the wait when this goes.
        queue.async([latches = latches_] {
            latches->entered.count_down();
            latches->open.wait();
        });
        latches_->entered.wait();
    }
    void open() { latches_->open.count_down(); }

 private:
    struct Latches {
        std::latch entered{1};
        std::latch open{1};
    };

    const std::shared_ptr<Latches> latches_ = std::make_shared<Latches>();
};

}  // namespace Mivora::tests
