#pragma once

#include <array>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::tests {

/// Collects the lines of the debug log instead of printing them, and at the end of the scope
/// restores the standard error stream and the categories that were on.
class LogCapture {
 public:
    using Category = platform::DebugLog::Category;
    using Line = std::pair<Category, std::string>;

    /// The categories that are on stay on.
    LogCapture() {
        constexpr std::array<std::pair<Category, const char*>, 7> kNames = {{
            {Category::Frame, "frame"},
            {Category::GL, "gl"},
            {Category::Events, "events"},
            {Category::Gestures, "gestures"},
            {Category::Layout, "layout"},
            {Category::Images, "images"},
            {Category::Queue, "queue"},
        }};
        for (const auto& [category, name] : kNames) {
            if (platform::DebugLog::isEnabled(category)) {
                formerCategories_.append(name).append(",");
            }
        }
        platform::DebugLog::setSink([this](Category category, std::string_view text) {
            const std::lock_guard lock(mutex_);
            lines_.emplace_back(category, text);
        });
    }
    /// @param categories  what alone is on, as in `MIVORA_DEBUG`
    explicit LogCapture(std::string_view categories) : LogCapture() {
        platform::DebugLog::enable(categories);
    }
    ~LogCapture() {
        platform::DebugLog::setSink(nullptr);
        platform::DebugLog::enable(formerCategories_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// What was logged so far, oldest first. Thread: any.
    std::vector<Line> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

 private:
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
    std::string formerCategories_;
};

}  // namespace Mivora::tests
