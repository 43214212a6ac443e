#include "bench/support/Report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

using Mivora::bench::Report;

class ReportTest : public testing::Test {
 protected:
    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() /
                  ("mivora-report-test-" + std::to_string(getpid()));
        setenv("MIVORA_BENCH_RESULTS", folder_.c_str(), 1);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }

    void TearDown() override {
        stopCapturing();
        std::filesystem::remove_all(folder_);
    }

    void stopCapturing() {
        if (capturing_) {
            output_ = testing::internal::GetCapturedStdout();
            errors_ = testing::internal::GetCapturedStderr();
            capturing_ = false;
        }
    }

    const std::string& output() {
        stopCapturing();
        return output_;
    }

    const std::string& errors() {
        stopCapturing();
        return errors_;
    }

    std::string file(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(folder_ / name).rdbuf();
        return text.str();
    }

    std::filesystem::path folder_;

 private:
    bool capturing_ = true;
    std::string output_;
    std::string errors_;
};

TEST_F(ReportTest, writesAFlatObjectOfMetricNameToNumber) {
    Report report("queue");
    report.add("producer_ns", 53.25, "a closure");
    report.add("closures", 1e6);
    EXPECT_EQ(report.finish(), 0);
    EXPECT_EQ(file("queue.json"), "{\n    \"producer_ns\": 53.25,\n    \"closures\": 1e+06\n}\n");
}

TEST_F(ReportTest, writesAnEmptyObjectWhenThereAreNoMetrics) {
    EXPECT_EQ(Report("nothing").finish(), 0);
    EXPECT_EQ(file("nothing.json"), "{\n}\n");
}

TEST_F(ReportTest, replacesTheFileOfAnEarlierRun) {
    for (const double value : {123456789.5, 2.0}) {
        Report report("twice");
        report.add("value", value);
        EXPECT_EQ(report.finish(), 0);
    }
    EXPECT_EQ(file("twice.json"), "{\n    \"value\": 2\n}\n");
}

TEST_F(ReportTest, printsTheMachineTheConditionsAndAnAlignedTable) {
    Report report("frames");
    report.condition("samples", "4x");
    report.add("frame_ms", 9.5, "10,000 views");
    report.add("allocations_a_frame", 0);
    EXPECT_EQ(report.finish(), 0);
    EXPECT_THAT(output(), testing::StartsWith("frames\n  machine: "));
    EXPECT_THAT(output(), testing::HasSubstr("cores, load average "));
    EXPECT_THAT(output(), testing::HasSubstr("\n  samples: 4x\n"
                                             "  frame_ms             9.500  10,000 views\n"
                                             "  allocations_a_frame      0\n"));
}

TEST_F(ReportTest, failsOnAValueThatIsNoNumber) {
    Report report("broken");
    report.add("value", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(report.finish(), 1);
    EXPECT_EQ(errors(), "broken: \"value\" is not finite\n");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "broken.json"));
}

TEST_F(ReportTest, failsOnAMetricThatIsThereTwice) {
    Report report("broken");
    report.add("value", 1);
    report.add("value", 2);
    EXPECT_EQ(report.finish(), 1);
    EXPECT_EQ(errors(), "broken: \"value\" is there twice\n");
}

TEST_F(ReportTest, failsOnAMetricNameThatNeedsQuoting) {
    Report report("broken");
    report.add("a\"b", 1);
    EXPECT_EQ(report.finish(), 1);
    EXPECT_EQ(errors(), "broken: \"a\"b\" is no metric name\n");
}

TEST_F(ReportTest, failsWhenTheFileCannotBeWritten) {
    std::ofstream(folder_).put('x');  // a file where the folder should be
    EXPECT_EQ(Report("lost").finish(), 1);
    EXPECT_EQ(errors(), "lost: cannot write " + (folder_ / "lost.json").string() + "\n");
}
