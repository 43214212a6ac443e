#include "MivoraMac/images/MVImageDispatchQueue.h"

std::shared_ptr<Mivora::platform::ConcurrentQueue> MVImageDispatchQueue() {
    return Mivora::platform::ConcurrentQueue::global();
}
