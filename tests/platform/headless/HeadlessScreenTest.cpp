#include "MivoraMac/platform/headless/HeadlessScreen.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "MivoraMac/platform/base/DebugLog.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"

using Mivora::platform::DebugLog;
using Mivora::platform::HeadlessScreen;
using Mivora::tests::LogCapture;
using Mivora::tests::ScopedEnvironment;

namespace {

constexpr const char* kScaleVariable = "MIVORA_SCALE";

}  // namespace

TEST(HeadlessScreenTest, theScaleIsOneByDefault) {
    const LogCapture log("all");
    const ScopedEnvironment scale(kScaleVariable, nullptr);
    EXPECT_EQ(HeadlessScreen().backingScaleFactor(), 1);
    EXPECT_TRUE(log.lines().empty());
}

TEST(HeadlessScreenTest, theEnvironmentSetsTheScale) {
    struct Row {
        const char* text;
        double scale;
    };
    for (const Row& row : {Row{"1", 1}, Row{"2", 2}, Row{"1.5", 1.5}, Row{"0.25", 0.25},
                           Row{".5", 0.5}, Row{"3.", 3}, Row{"1e1", 10}, Row{"0001.25", 1.25}}) {
        SCOPED_TRACE(row.text);
        const LogCapture log("all");
        const ScopedEnvironment scale(kScaleVariable, row.text);
        EXPECT_EQ(HeadlessScreen().backingScaleFactor(), row.scale);
        EXPECT_TRUE(log.lines().empty());
    }
}

TEST(HeadlessScreenTest, anythingElseInTheEnvironmentIsLoggedAndCountsAsOne) {
    for (const char* text :
         {"",   "0",   "0.0", "-0", "-2", "nan", "inf",   "-inf",  "infinity", "2x",
          "x2", "two", " 2",  "2 ", "+2", "1,5", "1.5.1", "1e999", "1e-999",   "0x2"}) {
        SCOPED_TRACE(text);
        const LogCapture log("events");
        const ScopedEnvironment scale(kScaleVariable, text);
        EXPECT_EQ(HeadlessScreen().backingScaleFactor(), 1);
        const auto lines = log.lines();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].first, DebugLog::Category::Events);
        EXPECT_EQ(lines[0].second,
                  std::string("MIVORA_SCALE=") + text + " is not a scale; using 1");
    }
}

TEST(HeadlessScreenTest, theEnvironmentIsReadAtCreation) {
    const ScopedEnvironment scale(kScaleVariable, "2");
    const HeadlessScreen screen;
    scale.set("3");
    EXPECT_EQ(screen.backingScaleFactor(), 2);
}

TEST(HeadlessScreenTest, aProgramMaySetTheScale) {
    const ScopedEnvironment scale(kScaleVariable, nullptr);
    HeadlessScreen screen;
    for (const double factor : {2.0, 1.5, 0.5, 1e-6, 1e6}) {
        screen.setBackingScaleFactor(factor);
        EXPECT_EQ(screen.backingScaleFactor(), factor);
    }
}

TEST(HeadlessScreenTest, whatIsNoScaleIsIgnored) {
    HeadlessScreen screen;
    screen.setBackingScaleFactor(1.5);
    for (const double factor :
         {0.0, -0.0, -1.0, -1e-300, std::numeric_limits<double>::quiet_NaN(),
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        screen.setBackingScaleFactor(factor);
        EXPECT_EQ(screen.backingScaleFactor(), 1.5) << factor;
    }
}
