#include "MivoraMac/platform/windows/DisplayLink.h"

#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

#include "MivoraMac/platform/threads/RefreshSchedulePrivate.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

namespace {

constexpr double kDefaultPeriodSeconds = 1.0 / 60.0;

// What a display may plausibly report.
constexpr double kShortestPeriodSeconds = 1e-4;
constexpr double kLongestPeriodSeconds = 10;

}  // namespace

struct DisplayLink::State {
    explicit State(Handler called) : handler(std::move(called)) {}

    const Handler handler;
    std::mutex mutex;
    std::condition_variable changed;
    double period = kDefaultPeriodSeconds;
    std::uint64_t schedules = 0;  // goes up whenever the schedule begins anew
    bool running = false;
    bool ended = false;
    std::thread thread;  // started by the first `start`
};

DisplayLink::DisplayLink(Handler handler) : state_(std::make_shared<State>(std::move(handler))) {}

DisplayLink::~DisplayLink() {
    std::thread thread;
    {
        const std::lock_guard lock(state_->mutex);
        state_->running = false;
        state_->ended = true;
        thread = std::move(state_->thread);
    }
    state_->changed.notify_one();
    if (!thread.joinable()) {
        return;
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();  // the handler destroys its link: the thread ends when it returns
    } else {
        thread.join();
    }
}

void DisplayLink::start() {
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->running) {
            return;
        }
        if (!state_->thread.joinable()) {
            state_->thread = std::thread([state = state_] { threadMain(state); });
        }
        state_->running = true;
        ++state_->schedules;
    }
    state_->changed.notify_one();
}

void DisplayLink::stop() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->running = false;
    }
    state_->changed.notify_one();
}

bool DisplayLink::isRunning() const {
    const std::lock_guard lock(state_->mutex);
    return state_->running;
}

double DisplayLink::actualOutputVideoRefreshPeriod() const {
    const std::lock_guard lock(state_->mutex);
    return state_->period;
}

void DisplayLink::setActualOutputVideoRefreshPeriod(double seconds) {
    if (!(seconds >= kShortestPeriodSeconds && seconds <= kLongestPeriodSeconds)) {
        return;
    }
    {
        const std::lock_guard lock(state_->mutex);
        if (state_->period == seconds) {
            return;
        }
        state_->period = seconds;
        ++state_->schedules;
    }
    state_->changed.notify_one();
}

void DisplayLink::threadMain(const std::shared_ptr<State>& state) {
    pthread_setname_np(pthread_self(), "MVDisplayLink");
    using Clock = std::chrono::steady_clock;
    std::unique_lock lock(state->mutex);
    while (!state->ended) {
        if (!state->running) {
            state->changed.wait(lock);
            continue;
        }
        const std::uint64_t current = state->schedules;
        const auto isOver = [&] {
            return state->ended || !state->running || state->schedules != current;
        };
        RefreshSchedule schedule(Clock::now(), state->period);
        while (!state->changed.wait_until(lock, schedule.advance(Clock::now()), isOver)) {
            lock.unlock();
            if (state->handler) {
                runLogged(state->handler);
            }
            lock.lock();
        }
    }
}

}  // namespace Mivora::platform
