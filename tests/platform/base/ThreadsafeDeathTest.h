#pragma once

#include <gtest/gtest.h>

#include <string>

namespace Mivora::tests {

/// The fixture of tests that need a process of their own: `EXPECT_EXIT` starts the program anew, so
/// that its threads, its environment and what it reads before `main` are those of a fresh start.
class ThreadsafeDeathTest : public testing::Test {
 protected:
    ThreadsafeDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
    ~ThreadsafeDeathTest() override { GTEST_FLAG_SET(death_test_style, former_); }

 private:
    const std::string former_ = GTEST_FLAG_GET(death_test_style);
};

}  // namespace Mivora::tests
