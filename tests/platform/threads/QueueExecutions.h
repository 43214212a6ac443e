#pragma once

#include <gtest/gtest.h>

#include <string>

#include "MivoraMac/platform/threads/SerialQueue.h"

namespace Mivora::tests {

/// Both kinds of serial queue, for suites that hold for each.
inline auto bothExecutions() {
    return testing::Values(platform::SerialQueue::Execution::SharedPool,
                           platform::SerialQueue::Execution::OwnThread);
}

/// Names the tests of such a suite.
inline std::string executionName(
    const testing::TestParamInfo<platform::SerialQueue::Execution>& row) {
    return row.param == platform::SerialQueue::Execution::OwnThread ? "OwnThread" : "SharedPool";
}

}  // namespace Mivora::tests
