#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Mivora::bench {

/// What one benchmark found: prints a table of its metrics and leaves them in a file that programs
/// can read, a flat JSON object of metric name to number.
///
/// Thread: that of the owner.
class Report {
 public:
    /// Begins a report and prints its heading: the name and what the machine is doing.
    /// @param name  that of the benchmark, which names the file as well; no path
    explicit Report(std::string name);

    /// Adds a line of text to the heading: what is held constant, such as ("samples", "4x").
    void condition(std::string_view what, std::string_view text);

    /// Adds one metric to the table and the file.
    /// @param metric  letters, digits and underscores, the unit last: "producer_ns". Each once.
    /// @param value   finite; anything else makes `finish` report a failure
    /// @param note    for the reader of the table only, such as "a closure; target: below 60"
    void add(std::string metric, double value, std::string note = "");

    /// Prints the table and writes "<name>.json" into the folder that the environment variable
    /// MIVORA_BENCH_RESULTS names, or "bench-results" below the current folder; makes the folder.
    /// @return what `main` returns: zero, or one when a metric is unusable or the file cannot be
    ///         written, after a line on the standard error stream
    [[nodiscard]] int finish();

 private:
    struct Metric {
        std::string name;
        double value;
        std::string note;
    };

    void printTable() const;
    bool isUsable() const;
    bool writeFile() const;

    std::string name_;
    std::vector<Metric> metrics_;
};

}  // namespace Mivora::bench
