#include "MivoraMac/platform/base/DebugLog.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"

using Mivora::platform::DebugLog;
using Mivora::tests::LogCapture;
using Mivora::tests::ScopedEnvironment;
using Mivora::tests::ThreadsafeDeathTest;
using Category = DebugLog::Category;

namespace {

constexpr std::array<std::pair<Category, const char*>, 7> kCategories = {{
    {Category::Frame, "frame"},
    {Category::GL, "gl"},
    {Category::Events, "events"},
    {Category::Gestures, "gestures"},
    {Category::Layout, "layout"},
    {Category::Images, "images"},
    {Category::Queue, "queue"},
}};

/// The categories that are on, as in `MIVORA_DEBUG`.
std::string enabled() {
    std::string names;
    for (const auto& [category, name] : kCategories) {
        if (DebugLog::isEnabled(category)) {
            names.append(names.empty() ? "" : ",").append(name);
        }
    }
    return names;
}

/// Switches categories and returns what that printed.
std::string printedByEnabling(std::string_view categories) {
    testing::internal::CaptureStderr();
    DebugLog::enable(categories);
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(DebugLogTest, everyCategoryGoesByItsName) {
    const LogCapture log;
    for (const auto& [category, name] : kCategories) {
        DebugLog::enable(name);
        EXPECT_EQ(enabled(), name);
        EXPECT_TRUE(DebugLog::isEnabled(category));
    }
}

TEST(DebugLogTest, aListEnablesSeveralCategories) {
    const LogCapture log("queue,frame,images");
    EXPECT_EQ(enabled(), "frame,images,queue");
}

TEST(DebugLogTest, allEnablesEveryCategory) {
    const LogCapture log;
    for (const char* list : {"all", "gl,all", "all,gl"}) {
        DebugLog::enable("");
        DebugLog::enable(list);
        EXPECT_EQ(enabled(), "frame,gl,events,gestures,layout,images,queue") << list;
    }
}

TEST(DebugLogTest, anEmptyListSwitchesEverythingOff) {
    const LogCapture log("all");
    DebugLog::enable("");
    EXPECT_EQ(enabled(), "");
}

TEST(DebugLogTest, aNewListReplacesTheFormerOne) {
    const LogCapture log("gl");
    DebugLog::enable("frame");
    EXPECT_EQ(enabled(), "frame");
}

TEST(DebugLogTest, emptyNamesAndRepeatedOnesDoNoHarm) {
    const LogCapture log;
    EXPECT_EQ(printedByEnabling(",gl,,gl,"), "");
    EXPECT_EQ(enabled(), "gl");
    EXPECT_EQ(printedByEnabling(","), "");
    EXPECT_EQ(enabled(), "");
}

TEST(DebugLogTest, unknownNamesAreReportedAndTheOthersServe) {
    const LogCapture log;
    for (const char* unknown : {"gpu", "GL", " gl", "glx", "frames"}) {
        const std::string printed = printedByEnabling(std::string("frame,") + unknown + ",queue");
        EXPECT_NE(printed.find(std::string("MIVORA_DEBUG: unknown category \"") + unknown + "\"\n"),
                  std::string::npos)
            << printed;
        EXPECT_EQ(enabled(), "frame,queue");
    }
}

TEST(DebugLogTest, helpPrintsTheList) {
    const LogCapture log;
    const std::string printed = printedByEnabling("help,gl");
    for (const auto& [category, name] : kCategories) {
        EXPECT_NE(printed.find(std::string(" ") + name), std::string::npos) << name;
    }
    EXPECT_NE(printed.find(" all"), std::string::npos);
    EXPECT_EQ(enabled(), "gl");
}

TEST(DebugLogTest, aLineIsWrittenOnlyWhileItsCategoryIsOn) {
    const LogCapture log("layout");
    DebugLog::log(Category::GL, "off");
    DebugLog::log(Category::Layout, "on %d %s", 3, "times");
    DebugLog::enable("");
    DebugLog::log(Category::Layout, "off again");
    EXPECT_EQ(log.lines(), (std::vector<LogCapture::Line>{{Category::Layout, "on 3 times"}}));
}

TEST(DebugLogTest, aWarningIsAlwaysWritten) {
    const LogCapture log("");
    DebugLog::warn(Category::Gestures, "no view (%s)", "pan");
    EXPECT_EQ(log.lines(), (std::vector<LogCapture::Line>{{Category::Gestures, "no view (pan)"}}));
}

TEST(DebugLogTest, aWarningForOnceIsWrittenOnceForTheSameText) {
    const LogCapture log("");
    for (int i = 0; i < 3; ++i) {
        DebugLog::warnOnce(DebugLog::Category::Images, "%s: missing", "a card");
        DebugLog::warnOnce(DebugLog::Category::Images, "%s: missing", "another card");
    }
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].second, "a card: missing");
    EXPECT_EQ(log.lines()[1].second, "another card: missing");
}

TEST(DebugLogTest, aWarningForOnceIsWrittenEveryTimeWhileItsCategoryIsOn) {
    const LogCapture log("images");
    for (int i = 0; i < 3; ++i) {
        DebugLog::warnOnce(DebugLog::Category::Images, "a broken card");
    }
    EXPECT_EQ(log.lines().size(), 3U);
}

TEST(DebugLogTest, ofVeryManyWarningsForOnceTheOldestAreForgotten) {
    const LogCapture log("");
    const auto warn = [](int i) {
        DebugLog::warnOnce(DebugLog::Category::Images, "card %d of many", i);
    };
    for (int i = 0; i < 3000; ++i) {
        warn(i);
    }
    EXPECT_EQ(log.lines().size(), 3000U);
    warn(2500);
    EXPECT_EQ(log.lines().size(), 3000U) << "one of the last thousand";
    warn(0);
    EXPECT_EQ(log.lines().size(), 3001U) << "one long ago";
}

TEST(DebugLogTest, textsOfAnyLengthAreWrittenWhole) {
    const LogCapture log("");
    const std::string text(100'000, 'x');
    DebugLog::warn(Category::GL, "%s", text.c_str());
    DebugLog::warn(Category::GL, "%s", "");
    DebugLog::warn(Category::GL, "100%%");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].second, text);
    EXPECT_EQ(lines[1].second, "");
    EXPECT_EQ(lines[2].second, "100%");
}

TEST(DebugLogTest, withoutASinkLinesGoToTheStandardErrorStream) {
    const LogCapture log("events");
    DebugLog::setSink(nullptr);
    testing::internal::CaptureStderr();
    DebugLog::log(Category::Events, "press at %d", 7);
    DebugLog::warn(Category::Images, "no such file");
    DebugLog::log(Category::Frame, "off");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MivoraMac[events]: press at 7\nMivoraMac[images]: no such file\n");
    EXPECT_TRUE(log.lines().empty());
}

TEST(DebugLogTest, linesOfManyThreadsArriveWhole) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const LogCapture log("frame");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < kLines; ++i) {
                DebugLog::log(Category::Frame, "%d:%d", thread, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    std::array<int, kThreads> next{};
    for (const auto& [category, text] : lines) {
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(text.c_str(), "%d:%d", &thread, &number), 2) << text;
        EXPECT_EQ(number, next.at(static_cast<std::size_t>(thread))++);
    }
}

/// What the environment does shows in a process of its own.
class DebugLogDeathTest : public ThreadsafeDeathTest {
 protected:
    /// Ends the process, successfully if the given categories are on.
    [[noreturn]] static void exitIfEnabled(const std::string& categories) {
        DebugLog::log(Category::Queue, "a line");
        std::exit(enabled() == categories ? 0 : 1);
    }
};

TEST_F(DebugLogDeathTest, everythingIsOffByDefault) {
    const ScopedEnvironment environment("MIVORA_DEBUG", nullptr);
    EXPECT_EXIT(exitIfEnabled(""), testing::ExitedWithCode(0), "^$");
}

TEST_F(DebugLogDeathTest, anEmptyVariableEnablesNothing) {
    const ScopedEnvironment environment("MIVORA_DEBUG", "");
    EXPECT_EXIT(exitIfEnabled(""), testing::ExitedWithCode(0), "^$");
}

TEST_F(DebugLogDeathTest, theVariableEnablesItsCategories) {
    const ScopedEnvironment environment("MIVORA_DEBUG", "gl,queue");
    EXPECT_EXIT(exitIfEnabled("gl,queue"), testing::ExitedWithCode(0),
                "MivoraMac\\[queue\\]: a line");
}

TEST_F(DebugLogDeathTest, theVariableAsksForHelp) {
    const ScopedEnvironment environment("MIVORA_DEBUG", "help");
    EXPECT_EXIT(exitIfEnabled(""), testing::ExitedWithCode(0),
                "frame gl events gestures layout images queue all");
}

TEST_F(DebugLogDeathTest, unknownNamesInTheVariableAreReported) {
    const ScopedEnvironment environment("MIVORA_DEBUG", "gpu,queue");
    EXPECT_EXIT(exitIfEnabled("queue"), testing::ExitedWithCode(0), "unknown category \"gpu\"");
}

TEST(DebugLogSinkTest, aSinkMayLog) {
    int lines = 0;
    DebugLog::setSink([&](DebugLog::Category, std::string_view) {
        ++lines;
        DebugLog::warn(DebugLog::Category::Queue, "from the sink");
    });
    testing::internal::CaptureStderr();
    DebugLog::warn(DebugLog::Category::Queue, "from outside");
    DebugLog::setSink(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MivoraMac[queue]: from the sink\n");
    EXPECT_EQ(lines, 1);
}
