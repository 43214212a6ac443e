#include "MivoraMac/platform/threads/MainThread.h"

#include <glib.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"
#include "MivoraMac/platform/threads/PoolWaitPrivate.h"
#include "MivoraMac/platform/threads/RunLoop.h"

namespace Mivora::platform {

namespace {

void turn(bool mayBlock) {
    g_main_context_iteration(nullptr, mayBlock ? TRUE : FALSE);
}

gboolean wakeUp(gpointer) {
    return G_SOURCE_CONTINUE;
}

}  // namespace

bool MainThread::isMainThread() {
    return RunLoop::isOnMainThread();
}

void requireMainThread(const char* operation) {
    if (!MainThread::isMainThread()) {
        std::fprintf(stderr, "MivoraMac: %s was called on a thread other than the main thread\n",
                     operation);
        std::abort();
    }
}

void MainThread::perform(std::function<void()> closure) {
    RunLoop::main()->perform(std::move(closure));
}

void MainThread::performAndWait(const std::function<void()>& closure) {
    const PoolWait waiting;
    RunLoop::main()->performAndWait(closure);
}

void MainThread::run() {
    RunLoop::main()->run();
}

bool MainThread::runUntil(const std::function<bool()>& condition, double timeoutSeconds) {
    RunLoop::main();
    RunLoop::becomeMainThread();
    if (condition()) {
        return true;
    }
    if (!(timeoutSeconds > 0)) {
        turn(false);
        return condition();
    }
    using Clock = std::chrono::steady_clock;
    // A condition may come true without any event of the loop, so look every few milliseconds.
    constexpr guint kPollMilliseconds = 5;
    const guint timer = g_timeout_add(kPollMilliseconds, wakeUp, nullptr);
    const auto start = Clock::now();
    bool held = false;
    do {
        turn(true);
        held = condition();
    } while (!held && std::chrono::duration<double>(Clock::now() - start).count() < timeoutSeconds);
    g_source_remove(timer);
    return held;
}

void MainThread::quit() {
    RunLoop::main()->stop();
}

}  // namespace Mivora::platform
