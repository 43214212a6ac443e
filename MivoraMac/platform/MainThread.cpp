#include "MivoraMac/platform/MainThread.h"

#include <glib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "MivoraMac/platform/WorkQueue.h"

namespace Mivora::platform {

namespace {

/// A value that is different on every thread.
const void* threadIdentity() {
    [[gnu::tls_model("initial-exec")]] static constinit thread_local char marker = 0;
    return &marker;
}

/// The thread that last turned the default main context; at first the one that loads the library.
std::atomic<const void*>& mainIdentity() {
    static std::atomic<const void*> identity{threadIdentity()};
    return identity;
}
[[maybe_unused]] const bool identityTaken = (mainIdentity(), true);

/// Closures on their way to the main thread. GLib's locks are invisible to thread checkers, so
/// what crosses threads is guarded by a mutex of our own and GLib is only told to wake up.
struct Inbox {
    std::mutex mutex;
    std::condition_variable performed;
    std::deque<std::function<void()>> closures;
    int runDepth = 0;
    int quitsWanted = 0;

    static Inbox& shared();

    bool hasWork() {
        const std::lock_guard lock(mutex);
        return !closures.empty();
    }

    void runWaiting() {
        std::deque<std::function<void()>> taken;
        {
            const std::lock_guard lock(mutex);
            taken.swap(closures);
        }
        for (std::function<void()>& closure : taken) {
            runLogged(closure);
            closure = nullptr;
        }
    }
};

gboolean prepareInbox(GSource*, gint* timeout) {
    mainIdentity().store(threadIdentity(), std::memory_order_release);
    *timeout = -1;
    return Inbox::shared().hasWork() ? TRUE : FALSE;
}

gboolean checkInbox(GSource*) {
    return Inbox::shared().hasWork() ? TRUE : FALSE;
}

gboolean dispatchInbox(GSource*, GSourceFunc, gpointer) {
    Inbox::shared().runWaiting();
    return G_SOURCE_CONTINUE;
}

Inbox& Inbox::shared() {
    static Inbox* inbox = [] {
        static GSourceFuncs functions = {prepareInbox, checkInbox, dispatchInbox,
                                         nullptr,      nullptr,    nullptr};
        GSource* source = g_source_new(&functions, sizeof(GSource));
        g_source_set_name(source, "MivoraMac main thread");
        g_source_set_can_recurse(source, TRUE);
        g_source_attach(source, nullptr);
        g_source_unref(source);
        return new Inbox;  // lives as long as the source: for the process
    }();
    return *inbox;
}

void turn(bool mayBlock) {
    g_main_context_iteration(nullptr, mayBlock ? TRUE : FALSE);
}

gboolean wakeUp(gpointer) {
    return G_SOURCE_CONTINUE;
}

}  // namespace

bool MainThread::isMainThread() {
    return mainIdentity().load(std::memory_order_acquire) == threadIdentity();
}

void MainThread::perform(std::function<void()> closure) {
    Inbox& inbox = Inbox::shared();
    {
        const std::lock_guard lock(inbox.mutex);
        inbox.closures.push_back(std::move(closure));
    }
    g_main_context_wakeup(nullptr);
}

void MainThread::performAndWait(const std::function<void()>& closure) {
    if (isMainThread()) {
        runLogged(closure);
        return;
    }
    Inbox& inbox = Inbox::shared();
    bool done = false;
    perform([&] {
        runLogged(closure);
        const std::lock_guard lock(inbox.mutex);
        done = true;
        inbox.performed.notify_all();
    });
    std::unique_lock lock(inbox.mutex);
    inbox.performed.wait(lock, [&] { return done; });
}

void MainThread::run() {
    Inbox& inbox = Inbox::shared();
    mainIdentity().store(threadIdentity(), std::memory_order_release);
    std::unique_lock lock(inbox.mutex);
    ++inbox.runDepth;
    while (inbox.quitsWanted == 0) {
        lock.unlock();
        turn(true);
        lock.lock();
    }
    --inbox.quitsWanted;
    --inbox.runDepth;
}

bool MainThread::runUntil(const std::function<bool()>& condition, double timeoutSeconds) {
    Inbox::shared();
    mainIdentity().store(threadIdentity(), std::memory_order_release);
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
    Inbox& inbox = Inbox::shared();
    {
        const std::lock_guard lock(inbox.mutex);
        if (inbox.quitsWanted < inbox.runDepth) {
            ++inbox.quitsWanted;
        }
    }
    g_main_context_wakeup(nullptr);
}

}  // namespace Mivora::platform
