#include "MivoraMac/platform/threads/Timer.h"

#include <glib.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <system_error>
#include <utility>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/RefreshSchedulePrivate.h"
#include "MivoraMac/platform/threads/RunLoop.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

namespace {

constexpr double kShortestPeriodSeconds = 1e-4;

}  // namespace

/// GLib's side of the timer. GLib's own timeouts count milliseconds, which is too coarse for
/// frames.
struct Timer::Source {
    /// What the source keeps; its lifetime ends with that of the source.
    struct State {
        State(double seconds, std::function<void()> called)
            : schedule(std::chrono::steady_clock::now(), seconds), fired(std::move(called)) {
            if (file < 0) {
                throw std::system_error(errno, std::generic_category(), "timerfd_create");
            }
            arm();
        }
        ~State() {
            if (file >= 0) {
                ::close(file);
            }
        }
        State(const State&) = delete;
        State& operator=(const State&) = delete;

        void arm() {
            due = schedule.advance(std::chrono::steady_clock::now());
            setTo(due.time_since_epoch());
        }

        void suspend() {
            if (!suspended) {
                suspended = true;
                setTo({});  // also forgets a moment that has come but was not noticed
            }
        }

        void resume() {
            if (std::exchange(suspended, false)) {
                // The moment that was due next still is, unless it has passed.
                if (due > std::chrono::steady_clock::now()) {
                    setTo(due.time_since_epoch());
                } else {
                    arm();
                }
            }
        }

        void setTo(std::chrono::nanoseconds moment) {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(moment);
            itimerspec when{};
            when.it_value.tv_sec = seconds.count();
            when.it_value.tv_nsec = (moment - seconds).count();
            ::timerfd_settime(file, TFD_TIMER_ABSTIME, &when, nullptr);
        }

        const int file = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
        RefreshSchedule schedule;
        RefreshSchedule::Time due;
        bool suspended = false;
        const std::function<void()> fired;
    };

    static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
        State& state = *reinterpret_cast<Source*>(source)->state;
        std::uint64_t expirations = 0;
        if (::read(state.file, &expirations, sizeof(expirations)) > 0) {
            // First the next one: it is then due even if this firing lasts beyond it.
            state.arm();
            runLogged(state.fired);
        }
        return G_SOURCE_CONTINUE;
    }

    static void finalize(GSource* source) { delete reinterpret_cast<Source*>(source)->state; }

    GSource base;
    State* state;
};

std::shared_ptr<Timer> Timer::scheduledTimer(const std::shared_ptr<RunLoop>& loop, double seconds,
                                             std::function<void()> fired) {
    if (!loop || !loop->isCurrent()) {
        throw MVException(MVException::kInvalidArgument,
                          "scheduledTimer: the loop is not that of the calling thread");
    }
    static GSourceFuncs functions = {nullptr,           nullptr, &Source::dispatch,
                                     &Source::finalize, nullptr, nullptr};
    const double period = seconds > kShortestPeriodSeconds ? seconds : kShortestPeriodSeconds;
    auto state = std::make_unique<Source::State>(period, std::move(fired));
    GSource* const source = g_source_new(&functions, sizeof(Source));
    reinterpret_cast<Source*>(source)->state = state.release();
    g_source_set_name(source, "MivoraMac timer");
    g_source_add_unix_fd(source, reinterpret_cast<Source*>(source)->state->file, G_IO_IN);
    g_source_attach(source, loop->context_);
    return MVMake<Timer>(source);
}

Timer::~Timer() {
    invalidate();
}

void Timer::suspend() {
    if (source_ != nullptr) {
        reinterpret_cast<Source*>(source_)->state->suspend();
    }
}

void Timer::resume() {
    if (source_ != nullptr) {
        reinterpret_cast<Source*>(source_)->state->resume();
    }
}

void Timer::invalidate() {
    if (GSource* const source = std::exchange(source_, nullptr)) {
        g_source_destroy(source);
        g_source_unref(source);
    }
}

}  // namespace Mivora::platform
