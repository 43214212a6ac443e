#pragma once

#include <exception>

#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

/// Runs things one after the other, whatever they throw: who comes later must not pay for what
/// somebody before has done. The first exception is kept for the end, others are logged.
class RunAll {
 public:
    RunAll() = default;
    RunAll(const RunAll&) = delete;
    RunAll& operator=(const RunAll&) = delete;

    /// Runs an action.
    template <class Action>
    void run(const Action& action) noexcept {
        try {
            action();
        } catch (...) {
            if (thrown_) {
                logClosureException();
            } else {
                thrown_ = std::current_exception();
            }
        }
    }

    /// Throws the first that was thrown, if any. The last call.
    void rethrow() const {
        if (thrown_) {
            std::rethrow_exception(thrown_);
        }
    }

 private:
    std::exception_ptr thrown_;
};

/// Runs all actions in their order, and then throws the first that was thrown.
template <class... Actions>
void runAll(const Actions&... actions) {
    RunAll all;
    (all.run(actions), ...);
    all.rethrow();
}

}  // namespace Mivora::platform
