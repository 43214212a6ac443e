#pragma once

#include <latch>

#include "MivoraMac/platform/threads/SerialQueue.h"

namespace Mivora::tests {

/// Holds a serial queue until it is opened, so that everything submitted meanwhile waits.
class QueueGate {
 public:
    explicit QueueGate(platform::SerialQueue& queue) {
        queue.async([this] {
            entered_.count_down();
            open_.wait();
        });
        entered_.wait();
    }
    void open() { open_.count_down(); }

 private:
    std::latch entered_{1};
    std::latch open_{1};
};

}  // namespace Mivora::tests
