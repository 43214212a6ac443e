#include "MivoraMac/platform/base/DebugLog.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <utility>

namespace Mivora::platform {

namespace {

constexpr std::array<const char*, 7> kCategoryNames = {"frame",  "gl",     "events", "gestures",
                                                       "layout", "images", "queue"};

struct SinkHolder {
    std::recursive_mutex mutex;
    DebugLog::Sink sink;
    bool writing = false;
};

SinkHolder& sinkHolder() {
    static SinkHolder* holder = new SinkHolder;  // outlives every thread that may still log
    return *holder;
}

const char* categoryName(DebugLog::Category category) {
    return kCategoryNames[static_cast<std::size_t>(category)];
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) {
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

void write(DebugLog::Category category, const std::string& text) {
    SinkHolder& holder = sinkHolder();
    const std::lock_guard lock(holder.mutex);
    if (holder.sink && !holder.writing) {
        holder.writing = true;
        holder.sink(category, text);
        holder.writing = false;
    } else {
        // Without a sink, or from within it.
        std::fprintf(stderr, "MivoraMac[%s]: %s\n", categoryName(category), text.c_str());
    }
}

/// Remembers texts, the last thousand or so, by what they hash to.
class WrittenTexts {
 public:
    /// @return whether the text is new
    bool add(std::string_view text) {
        const std::size_t hash = std::hash<std::string_view>()(text) | 1U;  // 0 is an empty place
        const std::lock_guard lock(mutex_);
        if (std::find(hashes_.begin(), hashes_.end(), hash) != hashes_.end()) {
            return false;
        }
        hashes_[next_] = hash;
        next_ = (next_ + 1) % hashes_.size();
        return true;
    }

 private:
    std::mutex mutex_;
    std::array<std::size_t, 1024> hashes_{};
    std::size_t next_ = 0;
};

WrittenTexts& writtenTexts() {
    static WrittenTexts* texts = new WrittenTexts;  // outlives every thread that may still log
    return *texts;
}

void printHelp() {
    std::fprintf(stderr, "MIVORA_DEBUG takes a comma-separated list of:");
    for (const char* name : kCategoryNames) {
        std::fprintf(stderr, " %s", name);
    }
    std::fprintf(stderr, " all help\n");
}

/// Reads the environment before `main`, so that lines from other initialisers are not lost.
[[maybe_unused]] const bool environmentRead = [] {
    if (const char* value = std::getenv("MIVORA_DEBUG")) {
        DebugLog::enable(value);
    }
    return true;
}();

}  // namespace

constinit std::atomic<std::uint32_t> DebugLog::enabledCategories_{0};

void DebugLog::enable(std::string_view categories) {
    std::uint32_t mask = 0;
    while (!categories.empty()) {
        const std::size_t comma = categories.find(',');
        const std::string_view name = categories.substr(0, comma);
        categories.remove_prefix(comma == std::string_view::npos ? categories.size() : comma + 1);
        if (name.empty()) {
            continue;
        }
        if (name == "all") {
            mask = ~0U;
            continue;
        }
        if (name == "help") {
            printHelp();
            continue;
        }
        bool known = false;
        for (std::size_t i = 0; i < kCategoryNames.size(); ++i) {
            if (name == kCategoryNames[i]) {
                mask |= 1U << i;
                known = true;
            }
        }
        if (!known) {
            std::fprintf(stderr, "MIVORA_DEBUG: unknown category \"%.*s\"\n",
                         static_cast<int>(name.size()), name.data());
            printHelp();
        }
    }
    enabledCategories_.store(mask, std::memory_order_relaxed);
}

void DebugLog::log(Category category, const char* format, ...) {
    if (!isEnabled(category)) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    write(category, formatted(format, arguments));
    va_end(arguments);
}

void DebugLog::warn(Category category, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    write(category, formatted(format, arguments));
    va_end(arguments);
}

void DebugLog::warnOnce(Category category, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatted(format, arguments);
    va_end(arguments);
    if (writtenTexts().add(text) || isEnabled(category)) {
        write(category, text);
    }
}

void DebugLog::setSink(Sink sink) {
    SinkHolder& holder = sinkHolder();
    const std::lock_guard lock(holder.mutex);
    holder.sink = std::move(sink);
}

}  // namespace Mivora::platform
