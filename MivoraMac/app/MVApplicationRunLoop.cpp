#include "MivoraMac/app/MVApplicationRunLoop.h"

#include <pthread.h>

#include <thread>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/RunLoop.h"
#include "MivoraMac/platform/threads/Timer.h"

using Mivora::platform::DebugLog;
using Mivora::platform::RunLoop;
using Mivora::platform::Timer;

std::shared_ptr<MVApplicationRunLoop> MVApplicationRunLoop::init() {
    return MVMake<MVApplicationRunLoop>();
}

MVApplicationRunLoop::MVApplicationRunLoop() : runLoop_(RunLoop::create()) {}

MVApplicationRunLoop::~MVApplicationRunLoop() = default;

std::shared_ptr<MVApplication> MVApplicationRunLoop::application() const {
    const std::lock_guard lock(mutex_);
    return application_.lock();
}

void MVApplicationRunLoop::setApplication(const std::shared_ptr<MVApplication>& application) {
    const std::lock_guard lock(mutex_);
    application_ = application;
}

void MVApplicationRunLoop::start() {
    if (started_) {
        return;
    }
    std::thread([self = shared_from_this()] {
        pthread_setname_np(pthread_self(), "MVRunLoop");
        self->mv_runLoopMain();
    }).detach();
    started_ = true;
}

void MVApplicationRunLoop::invalidate() {
    runLoop_->perform([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->mv_runLoopExit();
        }
    });
    runLoop_->stop();
}

void MVApplicationRunLoop::forceFireOnNextLoop() {
    runLoop_->perform([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->mv_runLoop();
        }
    });
}

void MVApplicationRunLoop::mv_runLoopMain() {
    // The timer has to be made on the loop's thread, which this is once it turns.
    runLoop_->perform([this] {
        const double period = static_cast<double>(static_cast<float>(frameInterval_) / 60.0F);
        try {
            refreshTimer_ = Timer::scheduledTimer(runLoop_, period, [this] { mv_runLoop(); });
        } catch (...) {
            runLoop_->stop();  // no frame would ever come
            throw;
        }
    });
    runLoop_->run();
    refreshTimer_.reset();
}

void MVApplicationRunLoop::mv_runLoopExit() {
    refreshTimer_.reset();
}

void MVApplicationRunLoop::mv_runLoop() {
    if (const std::shared_ptr<MVApplication> application = this->application()) {
        application->mv_runLoopFired(shared_from_this());
        restIfIdle(*application);
    }
}

/// Whoever gives the application something to do does so before looking whether there is a rest to
/// end, and the rest is announced before looking once more for something to do: one of the two
/// sees the other.
void MVApplicationRunLoop::restIfIdle(MVApplication& application) {
    if (!refreshTimer_ || !application.mv_isIdle()) {
        return;
    }
    resting_.store(true);
    DebugLog::log(DebugLog::Category::Frame, "nothing to do: the thread of the frames rests");
    application.mv_willRest();
    if (application.mv_isIdle()) {
        refreshTimer_->suspend();
    } else {
        mv_wake();
    }
}

void MVApplicationRunLoop::mv_wake() {
    if (!resting_.exchange(false)) {
        return;
    }
    DebugLog::log(DebugLog::Category::Frame, "the thread of the frames goes on");
    runLoop_->perform([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self && self->refreshTimer_) {
            self->refreshTimer_->resume();
        }
    });
}
