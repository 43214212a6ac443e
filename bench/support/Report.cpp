#include "bench/support/Report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace Mivora::bench {

namespace {

std::filesystem::path resultsFolder() {
    const char* folder = std::getenv("MIVORA_BENCH_RESULTS");
    return folder != nullptr && *folder != '\0' ? folder : "bench-results";
}

/// Four significant digits, without an exponent for the numbers that people compare.
std::string forPeople(double value) {
    if (value == 0) {
        return "0";
    }
    const double size = std::abs(value);
    const bool ordinary = size >= 1e-3 && size < 1e9;
    const int digits = size >= 1000 ? 0 : size >= 100 ? 1 : size >= 10 ? 2 : size >= 1 ? 3 : 4;
    std::array<char, 64> text{};
    if (ordinary) {
        std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    } else {
        std::snprintf(text.data(), text.size(), "%.3e", value);
    }
    return text.data();
}

/// The shortest text that reads back as the same number.
std::string forPrograms(double value) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

bool isMetricName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_';
    });
}

}  // namespace

Report::Report(std::string name) : name_(std::move(name)) {
    std::array<double, 3> load{};
    std::printf("%s\n", name_.c_str());
    if (getloadavg(load.data(), static_cast<int>(load.size())) == 3) {
        std::printf("  machine: %u cores, load average %.2f %.2f %.2f\n",
                    std::thread::hardware_concurrency(), load[0], load[1], load[2]);
    } else {
        std::printf("  machine: %u cores\n", std::thread::hardware_concurrency());
    }
}

void Report::condition(std::string_view what, std::string_view text) {
    std::printf("  %.*s: %.*s\n", static_cast<int>(what.size()), what.data(),
                static_cast<int>(text.size()), text.data());
}

void Report::add(std::string metric, double value, std::string note) {
    metrics_.push_back({std::move(metric), value, std::move(note)});
}

int Report::finish() {
    printTable();
    return isUsable() && writeFile() ? 0 : 1;
}

void Report::printTable() const {
    std::size_t nameWidth = 0;
    std::size_t valueWidth = 0;
    for (const Metric& metric : metrics_) {
        nameWidth = std::max(nameWidth, metric.name.size());
        valueWidth = std::max(valueWidth, forPeople(metric.value).size());
    }
    for (const Metric& metric : metrics_) {
        std::printf("  %-*s  %*s%s%s\n", static_cast<int>(nameWidth), metric.name.c_str(),
                    static_cast<int>(valueWidth), forPeople(metric.value).c_str(),
                    metric.note.empty() ? "" : "  ", metric.note.c_str());
    }
    std::fflush(stdout);
}

bool Report::isUsable() const {
    std::set<std::string_view> names;
    for (const Metric& metric : metrics_) {
        const char* fault = nullptr;
        if (!isMetricName(metric.name)) {
            fault = "is no metric name";
        } else if (!names.insert(metric.name).second) {
            fault = "is there twice";
        } else if (!std::isfinite(metric.value)) {
            fault = "is not finite";
        }
        if (fault != nullptr) {
            std::fprintf(stderr, "%s: \"%s\" %s\n", name_.c_str(), metric.name.c_str(), fault);
            return false;
        }
    }
    return true;
}

bool Report::writeFile() const {
    const std::filesystem::path folder = resultsFolder();
    const std::filesystem::path path = folder / (name_ + ".json");
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);

    std::ofstream file(path, std::ios::trunc);
    file << "{";
    const char* separator = "\n";
    for (const Metric& metric : metrics_) {
        file << separator << "    \"" << metric.name << "\": " << forPrograms(metric.value);
        separator = ",\n";
    }
    file << "\n}\n";
    file.close();
    if (!file) {
        std::fprintf(stderr, "%s: cannot write %s\n", name_.c_str(), path.c_str());
        return false;
    }
    return true;
}

}  // namespace Mivora::bench
