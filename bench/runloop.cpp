// How evenly frames come, and what it costs when nothing happens.
//
// At rest: one application, then twenty, with nothing that ticks, wants a layout or a redraw; five
// seconds each. Times a thread of the process was woken up are its voluntary context switches.
//
// While frames are made:
//
// Held constant: one active application with 1,000 colour views in a headless window of
// 1280 x 800 pixels, everything drawn once and nothing changing after that; 10 seconds, during
// which the main thread does nothing but turn its loop. The moments are those of the animation
// clock's ticks on the main thread. The reference is the schedule: whole sixtieths of a second
// after the most punctual tick.
//
// The processor time is that of the whole process, as a share of one core; next to it stands that
// of as many turns of a thread that does nothing but wake up and wake another, in the same run.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/app/MVAnimationClockTick.h"
#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/views/MVColorView.h"
#include "bench/support/Bench.h"

using namespace Mivora::bench;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;

namespace {

constexpr int kViews = 1000;
constexpr double kSeconds = 10;
constexpr double kPeriod = 1.0 / 60.0;

/// Notes when it is ticked.
class Recorder : public MVAnimationClockTick {
 public:
    void tickVideoSync(double /*step*/, double /*sync*/) override {
        moments.push_back(watch.seconds());
    }

    Stopwatch watch;
    std::vector<double> moments;
};

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What a process does that has nothing to do.
struct Rest {
    double processorMilliseconds;
    double wakeUps;  // a second
};

/// Turns the main loop itself, not `runUntil`, which would look every few milliseconds.
void turnFor(double seconds) {
    std::thread timeUp([seconds] {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        MainThread::quit();
    });
    MainThread::run();
    timeUp.join();
}

Rest rest() {
    constexpr double kRest = 5;
    const auto wakeUps = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return static_cast<double>(usage.ru_nvcsw);
    };
    const double switches = wakeUps();
    const double before = processorSeconds();
    turnFor(kRest);
    return {(processorSeconds() - before) * 1e3, (wakeUps() - switches) / kRest};
}

struct Punctuality {
    double meanPeriodErrorPercent;
    double latenessP99Milliseconds;
    double latenessMedianMilliseconds;
    std::int64_t missed;
};

/// Compares moments with the multiples of the period after the most punctual of them.
Punctuality compare(const std::vector<double>& moments) {
    const double first = moments.front();
    std::vector<std::int64_t> numbers;
    double base = 0;
    for (const double moment : moments) {
        numbers.push_back(std::llround((moment - first) / kPeriod));
        base = std::min(base, moment - first - static_cast<double>(numbers.back()) * kPeriod);
    }
    std::vector<double> lateness;
    for (std::size_t i = 0; i < moments.size(); ++i) {
        lateness.push_back((moments[i] - first - static_cast<double>(numbers[i]) * kPeriod - base) *
                           1e3);
    }
    std::sort(lateness.begin(), lateness.end());
    const double mean = (moments.back() - first) / static_cast<double>(numbers.back());
    return {std::abs(mean / kPeriod - 1) * 100, lateness[lateness.size() * 99 / 100],
            median(lateness), numbers.back() + 1 - static_cast<std::int64_t>(moments.size())};
}

/// Processor time of a thread that wakes up sixty times a second and has another one answer.
double wakeUpSeconds() {
    std::mutex mutex;
    std::condition_variable changed;
    bool asked = false;
    bool over = false;
    std::thread answering([&] {
        std::unique_lock lock(mutex);
        while (!over) {
            changed.wait(lock, [&] { return asked || over; });
            asked = false;
            changed.notify_all();
        }
    });
    const double before = processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 1; i <= static_cast<int>(kSeconds / kPeriod); ++i) {
        std::this_thread::sleep_until(start + std::chrono::duration_cast<std::chrono::nanoseconds>(
                                                  std::chrono::duration<double>(i * kPeriod)));
        std::unique_lock lock(mutex);
        asked = true;
        changed.notify_all();
        changed.wait(lock, [&] { return !asked; });
    }
    const double used = processorSeconds() - before;
    {
        const std::lock_guard lock(mutex);
        over = true;
    }
    changed.notify_all();
    answering.join();
    return used;
}

}  // namespace

int main() {
    const auto application = MVApplication::init();
    const auto frame = HeadlessWindow::create("", {0, 0, 1280, 800});
    frame->setContentView(application->mv_renderView());
    for (int i = 0; i < kViews; ++i) {
        const auto view = MVColorView::initWithColor({0.2F, 0.5F, 0.9F, 1.0F});
        view->setSize({10.0F, 8.0F});
        view->setPosition(
            {static_cast<float>(i % 100) * 12.0F, static_cast<float>(i / 100) * 10.0F});
        application->window()->addSubview(view);
    }
    const auto recorder = std::make_shared<Recorder>();
    recorder->moments.reserve(2000);
    application->setActive(true);
    MainThread::runUntil([] { return false; }, 1);
    const auto presented = [&] {
        return application->mv_renderView()->openGLContext()->drawable().latestFrame().serial;
    };

    const std::uint64_t presentedBefore = presented();
    application->animationClock()->startTick(recorder);
    const double before = processorSeconds();
    const Stopwatch watch;
    turnFor(kSeconds);
    const double seconds = watch.seconds();
    const double used = processorSeconds() - before;
    const std::uint64_t presentedAfter = presented();
    application->animationClock()->stopTick(recorder);
    MainThread::runUntil([] { return false; }, 1);
    const Rest alone = rest();
    const Rest twenty = [] {
        std::vector<std::shared_ptr<MVApplication>> applications;
        std::vector<std::shared_ptr<HeadlessWindow>> windows;
        for (int i = 0; i < 20; ++i) {
            applications.push_back(MVApplication::init());
            windows.push_back(HeadlessWindow::create("", {0, 0, 320, 200}));
            windows.back()->setContentView(applications.back()->mv_renderView());
            applications.back()->setActive(true);
        }
        MainThread::runUntil([] { return false; }, 1);
        return rest();
    }();
    application->setActive(false);
    MainThread::runUntil([] { return false; }, 0.1);
    const double reference = wakeUpSeconds();

    const Punctuality punctuality = compare(recorder->moments);
    Report report("runloop");
    report.condition("views", std::to_string(kViews));
    report.condition("time", std::to_string(static_cast<int>(kSeconds)) + " s");
    report.add("frames", static_cast<double>(recorder->moments.size()), "600 are due");
    report.add("missed_frames", static_cast<double>(punctuality.missed));
    report.add("mean_period_error_percent", punctuality.meanPeriodErrorPercent,
               "against 1/60 s; target: at most 0.1");
    report.add("lateness_median_ms", punctuality.latenessMedianMilliseconds);
    report.add("lateness_p99_ms", punctuality.latenessP99Milliseconds);
    report.add("idle_presents", static_cast<double>(presentedAfter - presentedBefore), "target: 0");
    report.add("idle_cpu_percent", used / seconds * 100,
               "of one core, with frames that draw nothing; target: below 1.5");
    report.add("idle_cpu_ms_5s", alone.processorMilliseconds, "at rest; target: at most 1");
    report.add("idle_wakeups_per_s", alone.wakeUps, "at rest; target: at most 1");
    report.add("idle_cpu_ms_5s_20", twenty.processorMilliseconds, "twenty windows at rest");
    report.add("idle_wakeups_per_s_20", twenty.wakeUps, "twenty windows at rest");
    report.add("wake_up_cpu_percent", reference / kSeconds * 100,
               "two threads that only wake each other up as often");
    return report.finish();
}
