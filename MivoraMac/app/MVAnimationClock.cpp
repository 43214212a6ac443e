#include "MivoraMac/app/MVAnimationClock.h"

#include <cstddef>
#include <utility>

#include "MivoraMac/app/MVAnimationClockTick.h"
#include "MivoraMac/app/MVWeakPointerContainer.h"
#include "MivoraMac/platform/threads/MainThreadAssertPrivate.h"

namespace {

constexpr std::size_t kCapacity = 16;

std::weak_ptr<MVAnimationClock>& active() {
    static std::weak_ptr<MVAnimationClock> clock;
    return clock;
}

}  // namespace

std::shared_ptr<MVAnimationClock> MVAnimationClock::init() {
    return MVMake<MVAnimationClock>();
}

MVAnimationClock::MVAnimationClock() {
    objects_.reserve(kCapacity);
    objectsToRemove_.reserve(kCapacity);
}

MVAnimationClock::~MVAnimationClock() = default;

std::shared_ptr<MVAnimationClock> MVAnimationClock::activeClock() {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::activeClock");
    return active().lock();
}

void MVAnimationClock::mv_setActiveClock(const std::shared_ptr<MVAnimationClock>& clock) {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::mv_setActiveClock");
    active() = clock;
}

MVAnimationClock::ContainerSet::iterator MVAnimationClock::find(
    ContainerSet& set, const MVWeakPointerContainer& container) {
    auto [member, end] = set.equal_range(container.pointerValue());
    while (member != end && !member->second->isEqual(container)) {
        ++member;
    }
    return member != end ? member : set.end();
}

void MVAnimationClock::startTick(const std::shared_ptr<MVAnimationClockTick>& ticker) {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::startTick");
    if (!ticker) {
        return;
    }
    Container container = MVWeakPointerContainer::initWithObject(ticker);
    if (find(objects_, *container) == objects_.end()) {
        objects_.emplace(container->pointerValue(), std::move(container));
        noteTickers();
    }
}

void MVAnimationClock::stopTick(const std::shared_ptr<MVAnimationClockTick>& ticker) {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::stopTick");
    if (!ticker) {
        return;
    }
    const auto member = find(objects_, *MVWeakPointerContainer::initWithObject(ticker));
    if (member != objects_.end()) {
        objects_.erase(member);
        noteTickers();
    }
}

void MVAnimationClock::stopAllTicks() {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::stopAllTicks");
    objects_.clear();
    noteTickers();
}

void MVAnimationClock::mv_setStartHandler(std::function<void()> handler) {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::mv_setStartHandler");
    startHandler_ = std::move(handler);
}

void MVAnimationClock::noteTickers() {
    const bool started = !hasTickers_.exchange(!objects_.empty()) && !objects_.empty();
    if (started && startHandler_) {
        startHandler_();
    }
}

void MVAnimationClock::tickVideoSync(double step, double sync) {
    MIVORA_ASSERT_MAIN_THREAD("MVAnimationClock::tickVideoSync");
    const std::shared_ptr<MVAnimationClock> self = shared_from_this();
    std::vector<Container> objects;
    objects.reserve(objects_.size());
    for (const auto& [address, container] : objects_) {
        objects.push_back(container);
    }
    for (const Container& container : objects) {
        if (const auto ticker =
                std::static_pointer_cast<MVAnimationClockTick>(container->object())) {
            ticker->tickVideoSync(step, sync);
        } else {
            objectsToRemove_.push_back(container);
        }
    }
    for (const Container& container : objectsToRemove_) {
        const auto member = find(objects_, *container);
        if (member != objects_.end()) {
            objects_.erase(member);
        }
    }
    objectsToRemove_.clear();
    noteTickers();
}
