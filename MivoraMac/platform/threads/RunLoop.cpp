#include "MivoraMac/platform/threads/RunLoop.h"

#include <glib.h>

#include <utility>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

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

/// The innermost own loop that the thread runs.
[[gnu::tls_model("initial-exec")]] constinit thread_local RunLoop* innermostLoop = nullptr;

}  // namespace

struct RunLoop::Source {
    GSource base;
    RunLoop* loop;

    static RunLoop& of(GSource* source) { return *reinterpret_cast<Source*>(source)->loop; }

    static gboolean prepare(GSource* source, gint* timeout) {
        RunLoop& loop = of(source);
        if (loop.kind_ == Kind::Main) {
            becomeMainThread();
        }
        *timeout = -1;
        return loop.hasWork() ? TRUE : FALSE;
    }

    static gboolean check(GSource* source) { return of(source).hasWork() ? TRUE : FALSE; }

    static gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
        of(source).runWaiting();
        return G_SOURCE_CONTINUE;
    }
};

std::shared_ptr<RunLoop> RunLoop::create() {
    return MVMake<RunLoop>(Kind::Own);
}

const std::shared_ptr<RunLoop>& RunLoop::main() {
    // Never destroyed: its source stays with the default context for the rest of the process.
    static const auto* loop = new std::shared_ptr<RunLoop>(MVMake<RunLoop>(Kind::Main));
    return *loop;
}

std::shared_ptr<RunLoop> RunLoop::current() {
    if (innermostLoop != nullptr) {
        return innermostLoop->shared_from_this();
    }
    return isOnMainThread() ? main() : nullptr;
}

RunLoop::RunLoop(Kind kind) : kind_(kind) {
    static GSourceFuncs functions = {&Source::prepare, &Source::check, &Source::dispatch,
                                     nullptr,          nullptr,        nullptr};
    if (kind_ == Kind::Own) {
        context_ = g_main_context_new();
    }
    source_ = g_source_new(&functions, sizeof(Source));
    reinterpret_cast<Source*>(source_)->loop = this;
    g_source_set_name(source_, kind_ == Kind::Main ? "MivoraMac main thread" : "MivoraMac loop");
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, context_);
}

RunLoop::~RunLoop() {
    end();
    g_source_destroy(source_);
    g_source_unref(source_);
    if (context_ != nullptr) {
        g_main_context_unref(context_);
    }
}

bool RunLoop::isOnMainThread() {
    return mainIdentity().load(std::memory_order_acquire) == threadIdentity();
}

void RunLoop::becomeMainThread() {
    mainIdentity().store(threadIdentity(), std::memory_order_release);
}

bool RunLoop::isCurrent() const {
    return kind_ == Kind::Main ? isOnMainThread()
                               : thread_.load(std::memory_order_acquire) == threadIdentity();
}

bool RunLoop::perform(std::function<void()> closure) {
    {
        const std::lock_guard lock(mutex_);
        if (ended_) {
            return false;
        }
        closures_.push_back(std::move(closure));
    }
    g_main_context_wakeup(context_);
    return true;
}

bool RunLoop::performAndWait(const std::function<void()>& closure) {
    if (isCurrent()) {
        runLogged(closure);
        return true;
    }
    bool ran = false;
    bool over = false;
    // Goes with the closure, whether that has run or was dropped.
    std::shared_ptr<void> token(nullptr, [&](void*) {
        const std::lock_guard lock(mutex_);
        over = true;
        performed_.notify_all();
    });
    perform([&closure, &ran, token = std::move(token)] {
        runLogged(closure);
        ran = true;
    });
    std::unique_lock lock(mutex_);
    performed_.wait(lock, [&] { return over; });
    return ran;
}

void RunLoop::run() {
    if (kind_ == Kind::Main) {
        runMain();
        return;
    }
    const std::shared_ptr<RunLoop> self = shared_from_this();
    const bool isOutermost = !isCurrent();
    if (isOutermost) {
        const std::lock_guard lock(mutex_);
        if (ended_) {
            return;
        }
        if (runDepth_ != 0) {
            throw MVException(MVException::kInternalInconsistency,
                              "another thread runs this loop already");
        }
        ++runDepth_;
        thread_.store(threadIdentity(), std::memory_order_release);
    }
    RunLoop* outer = std::exchange(innermostLoop, this);
    g_main_context_push_thread_default(context_);
    while (!stopping_) {
        g_main_context_iteration(context_, TRUE);
    }
    if (isOutermost) {
        end();
        thread_.store(nullptr, std::memory_order_release);
    }
    g_main_context_pop_thread_default(context_);
    innermostLoop = outer;
}

void RunLoop::stop() {
    if (kind_ == Kind::Main) {
        quitMain();
    } else {
        perform([this] { stopping_ = true; });
    }
}

bool RunLoop::hasWork() {
    const std::lock_guard lock(mutex_);
    return !closures_.empty();
}

/// Runs what waits at the time of the call. Each closure stays in line until its turn comes: a loop
/// that runs inside an earlier one serves it too.
void RunLoop::runWaiting() {
    std::unique_lock lock(mutex_);
    const std::uint64_t end = taken_ + closures_.size();
    while (taken_ < end && !stopping_) {
        std::function<void()> closure = std::move(closures_.front());
        closures_.pop_front();
        ++taken_;
        lock.unlock();
        runLogged(closure);
        closure = nullptr;
        lock.lock();
    }
}

void RunLoop::runMain() {
    becomeMainThread();
    std::unique_lock lock(mutex_);
    ++runDepth_;
    while (quitsWanted_ == 0) {
        lock.unlock();
        g_main_context_iteration(context_, TRUE);
        lock.lock();
    }
    --quitsWanted_;
    --runDepth_;
}

void RunLoop::quitMain() {
    {
        const std::lock_guard lock(mutex_);
        if (quitsWanted_ < runDepth_) {
            ++quitsWanted_;
        }
    }
    g_main_context_wakeup(context_);
}

/// Takes no more closures and drops those in line, one after the other.
void RunLoop::end() {
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        dropped.swap(closures_);
        taken_ += dropped.size();
    }
    while (!dropped.empty()) {
        dropped.pop_front();
    }
}

}  // namespace Mivora::platform
