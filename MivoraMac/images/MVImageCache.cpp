#include "MivoraMac/images/MVImageCache.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "MivoraMac/images/MVImage.h"

namespace {

constexpr std::size_t kCapacity = 100;

struct SharedCache {
    std::mutex mutex;
    std::weak_ptr<MVImageCache> cache;
};

SharedCache& shared() {
    static SharedCache* holder = new SharedCache;  // read by whatever outlives statics
    return *holder;
}

}  // namespace

MVImageCache::MVImageCache() : sizeToLookForGoneImages_(kCapacity) {
    images_.reserve(kCapacity);
    strongReferences_.reserve(kCapacity);
}

MVImageCache::~MVImageCache() = default;

std::shared_ptr<MVImageCache> MVImageCache::init() {
    return MVMake<MVImageCache>();
}

std::shared_ptr<MVImageCache> MVImageCache::sharedCache() {
    const std::lock_guard lock(shared().mutex);
    return shared().cache.lock();
}

void MVImageCache::mv_setSharedCache(const std::shared_ptr<MVImageCache>& cache) {
    const std::lock_guard lock(shared().mutex);
    shared().cache = cache;
}

void MVImageCache::setImageForKey(const std::shared_ptr<MVImage>& image, const std::string& key) {
    if (image) {
        images_[key] = image;
        strongReferences_.insert(image);
        // An entry of an image that is gone costs memory: a weak pointer keeps what it pointed to
        // from being freed. Looking for them only when their number may have doubled is cheap.
        if (images_.size() > sizeToLookForGoneImages_) {
            forgetGoneImages();
        }
        return;
    }
    // The image, if this was its last reference, goes only when the maps are in order again.
    const std::shared_ptr<MVImage> removed = imageForKey(key);
    images_.erase(key);
    strongReferences_.erase(removed);
}

std::shared_ptr<MVImage> MVImageCache::imageForKey(const std::string& key) const {
    const auto found = images_.find(key);
    return found != images_.end() ? found->second.lock() : nullptr;
}

void MVImageCache::flushCache() {
    std::exchange(strongReferences_, {}).clear();
    forgetGoneImages();
}

void MVImageCache::forgetGoneImages() {
    std::erase_if(images_, [](const auto& entry) { return entry.second.expired(); });
    sizeToLookForGoneImages_ = std::max(kCapacity, 2 * images_.size());
}
