#include "MivoraMac/platform/threads/Clock.h"

#include <ctime>

namespace Mivora::platform {

namespace {

std::uint64_t monotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U +
           static_cast<std::uint64_t>(now.tv_nsec);
}

constexpr Timebase kNanoseconds = {1, 1};

using TickSource = std::uint64_t (*)();
constinit TickSource source = monotonicNanoseconds;
constinit Timebase sourceTimebase = kNanoseconds;

}  // namespace

std::uint64_t Clock::ticks() {
    return source();
}

Timebase Clock::timebase() {
    return sourceTimebase;
}

double Clock::secondsFromTicks(std::uint64_t ticks) {
    return static_cast<double>(ticks) * sourceTimebase.numer / sourceTimebase.denom * 1e-9;
}

void Clock::setSource(std::uint64_t (*ticks)(), Timebase timebase) {
    source = ticks != nullptr ? ticks : monotonicNanoseconds;
    sourceTimebase = ticks != nullptr ? timebase : kNanoseconds;
}

}  // namespace Mivora::platform
