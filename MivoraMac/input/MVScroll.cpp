#include "MivoraMac/input/MVScroll.h"

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVView.h"

using Mivora::platform::Clock;

namespace {

/// Seconds below which a time between two events is not trusted.
constexpr double kShortestInterval = 0.001;
/// Seconds that such a time counts as.
constexpr double kUsualInterval = 1.0F / 120.0F;

}  // namespace

std::shared_ptr<MVScroll> MVScroll::init() {
    return MVMake<MVScroll>();
}

std::shared_ptr<MVScroll> MVScroll::initWithEvent(
    const std::shared_ptr<const Mivora::platform::Event>& /*event*/) {
    return init();
}

MVScroll::MVScroll() : timebase_(Clock::timebase()) {}
MVScroll::~MVScroll() = default;

void MVScroll::setTranslation(Mivora::Point2 translation) {
    lastTranslation_ = translation_;
    translation_ = translation;
    lastLastTranslationTimestamp_ = lastTranslationTimestamp_;
    lastTranslationTimestamp_ = translationTimestamp_;
    translationTimestamp_ = Clock::ticks();
}

Mivora::Point2 MVScroll::velocity() const {
    const std::uint64_t ticks = lastTranslationTimestamp_ - lastLastTranslationTimestamp_;
    const std::uint64_t nanoseconds = ticks * timebase_.numer / timebase_.denom;
    double seconds = static_cast<double>(nanoseconds) / 1e9;
    if (seconds < kShortestInterval) {
        seconds = kUsualInterval;
    }
    return {static_cast<float>(static_cast<double>(lastTranslation_.x) / seconds),
            static_cast<float>(static_cast<double>(lastTranslation_.y) / seconds)};
}

Mivora::Point3 MVScroll::locationInView(const std::shared_ptr<MVView>& view) const {
    return view ? view->mv_locationOfRay(ray_) : Mivora::Point3::kNull;
}
