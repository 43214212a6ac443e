#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <thread>

namespace Mivora::tests {

/// The number of threads of this process.
inline std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

/// The number of threads before a test starts any, but after what the first thread of a process
/// brings with it: the thread sanitizer then starts one of its own.
inline std::size_t threadCountAtFirst() {
    std::thread([] {}).join();
    return threadCount();
}

/// Waits until the process has no more than `count` threads: one that has been joined may be listed
/// a moment longer.
/// @return the number of threads in the end
inline std::size_t waitForThreadCount(std::size_t count) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (threadCount() > count && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return threadCount();
}

}  // namespace Mivora::tests
