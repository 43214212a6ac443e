#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The developer's log, off unless the environment variable `MIVORA_DEBUG` names categories:
/// a comma-separated list of `frame`, `gl`, `events`, `gestures`, `layout`, `images` and `queue`,
/// or `all`; `help` prints the list. Lines go to the standard error stream, each as
/// "MivoraMac[category]: text".
///
/// Threads: any. A line that is off costs one load and one branch.
class MIVORA_EXPORT DebugLog {
 public:
    /// What a line is about: the categories of `MIVORA_DEBUG`.
    enum class Category : std::uint32_t { Frame, GL, Events, Gestures, Layout, Images, Queue };

    /// Receives a line without prefix and end of line.
    using Sink = std::function<void(Category, std::string_view text)>;

    /// Whether lines of the category are written.
    static bool isEnabled(Category category) {
        return (enabledCategories_.load(std::memory_order_relaxed) & bit(category)) != 0;
    }

    /// Switches categories as the value of `MIVORA_DEBUG` would. Unknown names are reported on the
    /// standard error stream and otherwise ignored.
    static void enable(std::string_view categories);

    /// Writes one line, formatted as by printf, if the category is on.
    static void log(Category category, const char* format, ...)
        __attribute__((format(printf, 2, 3)));

    /// Writes one line whatever `MIVORA_DEBUG` says: for recoverable misuse and for what a
    /// developer must not miss.
    static void warn(Category category, const char* format, ...)
        __attribute__((format(printf, 2, 3)));

    /// Writes one line whatever `MIVORA_DEBUG` says, but the same text only once: for what goes
    /// wrong outside the program, such as a file that is missing, and may go wrong at every frame.
    /// Of the last thousand texts it is known that they were written. Where the category is on,
    /// every line is.
    static void warnOnce(Category category, const char* format, ...)
        __attribute__((format(printf, 2, 3)));

    /// Sends lines to `sink` instead of the standard error stream; null restores it. For tests.
    static void setSink(Sink sink);

 private:
    static constexpr std::uint32_t bit(Category category) {
        return 1U << static_cast<std::uint32_t>(category);
    }

    static std::atomic<std::uint32_t> enabledCategories_;
};

}  // namespace Mivora::platform
