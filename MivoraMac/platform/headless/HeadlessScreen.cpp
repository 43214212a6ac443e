#include "MivoraMac/platform/headless/HeadlessScreen.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

namespace {

bool isScale(double factor) {
    return std::isfinite(factor) && factor > 0;
}

}  // namespace

HeadlessScreen::HeadlessScreen() {
    const char* value = std::getenv("MIVORA_SCALE");
    if (value == nullptr) {
        return;
    }
    const std::string_view text = value;
    double factor = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), factor);
    if (error == std::errc() && end == text.data() + text.size() && isScale(factor)) {
        backingScaleFactor_ = factor;
    } else {
        DebugLog::log(DebugLog::Category::Events, "MIVORA_SCALE=%s is not a scale; using 1", value);
    }
}

void HeadlessScreen::setBackingScaleFactor(double factor) {
    if (isScale(factor)) {
        backingScaleFactor_ = factor;
    }
}

}  // namespace Mivora::platform
