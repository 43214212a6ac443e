#pragma once

namespace Mivora::platform {

/// Held while the calling thread waits for another one. If it is a thread behind the concurrent
/// queues, their other work goes on meanwhile, even when all of these threads wait.
class PoolWait {
 public:
    PoolWait();
    ~PoolWait();
    PoolWait(const PoolWait&) = delete;
    PoolWait& operator=(const PoolWait&) = delete;
};

}  // namespace Mivora::platform
