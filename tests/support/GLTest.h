#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "MivoraMac/render/MVRenderContext.h"
#include "tests/support/GLCallRecorder.h"

namespace Mivora::tests {

/// A test on a real, headless GL context, which is the active one, with every GL call recorded.
/// When it ends, every GL object must be gone.
class GLTest : public testing::Test {
 protected:
    void SetUp() override;
    void TearDown() override;

    /// Runs GL work and waits for it and for everything queued before.
    template <class Closure>
    void onQueue(Closure&& closure) {
        context_->mv_dispatchBlockSync(std::forward<Closure>(closure));
    }

    /// Waits for all GL work dispatched so far, and for the deletion of what that lets go of.
    void finish() {
        onQueue([] {});
        onQueue([] {});
    }

    std::shared_ptr<MVRenderContext> context_;
    std::unique_ptr<GLCallRecorder> gl_;
};

}  // namespace Mivora::tests
