#include "MivoraMac/images/MVFilter.h"

#include <algorithm>

#include "MivoraMac/render/MVShaderCache.h"

namespace {

/// As many removals leave the empty entries alone; the next one drops them.
constexpr int kRemovalsBetweenCompactions = 257;

/// Of all filters together.
int removalsSinceCompaction = 0;

}  // namespace

std::shared_ptr<MVFilter> MVFilter::init() {
    return MVMake<MVFilter>();
}

MVFilter::MVFilter() : filterObservers_(std::make_shared<MVFilterObserverArray>()) {}

MVFilter::~MVFilter() = default;

std::int32_t MVFilter::numberOfPasses() const {
    return 0;
}

std::shared_ptr<MVShader> MVFilter::shaderForRenderPass(std::int32_t /*pass*/) {
    const auto cache = MVShaderCache::sharedCache();
    return cache ? cache->shaderForKey("MVShaderPositionTextureUniformColor") : nullptr;
}

void MVFilter::configureShaderRenderPassImage(const std::shared_ptr<MVShader>& /*shader*/,
                                              std::int32_t /*pass*/,
                                              const std::shared_ptr<MVImage>& /*image*/) {}

// Observers

void MVFilter::announceChange() {
    const std::shared_ptr<MVFilter> self = weak_from_this().lock();
    if (!self) {
        return;
    }
    const std::shared_ptr<const MVFilterObserverArray> snapshot = filterObservers_;
    for (const std::weak_ptr<MVFilterObserver>& entry : *snapshot) {
        const std::shared_ptr<MVFilterObserver> observer = entry.lock();
        if (observer && (snapshot == filterObservers_ || isObservedBy(observer.get()))) {
            observer->filterDidChange(self);
        }
    }
}

void MVFilter::addFilterObserver(const std::shared_ptr<MVFilterObserver>& observer) {
    if (observer) {
        observersToChange().push_back(observer);
    }
}

void MVFilter::removeFilterObserver(const MVFilterObserver* observer) {
    MVFilterObserverArray& observers = observersToChange();
    const auto first =
        std::find_if(observers.begin(), observers.end(),
                     [observer](const auto& entry) { return entry.lock().get() == observer; });
    if (observer != nullptr && first != observers.end()) {
        observers.erase(first);
    }
    if (removalsSinceCompaction >= kRemovalsBetweenCompactions) {
        std::erase_if(observers, [](const auto& entry) { return entry.expired(); });
        removalsSinceCompaction = 0;
    } else {
        ++removalsSinceCompaction;
    }
}

std::shared_ptr<const MVFilterObserverArray> MVFilter::filterObservers() const {
    return filterObservers_;
}

void MVFilter::setFilterObservers(const std::shared_ptr<const MVFilterObserverArray>& observers) {
    filterObservers_ = observers ? std::make_shared<MVFilterObserverArray>(*observers)
                                 : std::make_shared<MVFilterObserverArray>();
}

/// The observers for changing: a copy if somebody else holds them.
MVFilterObserverArray& MVFilter::observersToChange() {
    if (filterObservers_.use_count() > 1) {
        filterObservers_ = std::make_shared<MVFilterObserverArray>(*filterObservers_);
    }
    return *filterObservers_;
}

bool MVFilter::isObservedBy(const MVFilterObserver* observer) const {
    return std::any_of(filterObservers_->begin(), filterObservers_->end(),
                       [observer](const auto& entry) { return entry.lock().get() == observer; });
}
