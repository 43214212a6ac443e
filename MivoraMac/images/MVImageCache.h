#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVImage;

/// Images by name, so that each named resource is loaded once.
///
/// The cache keeps its images alive until it is flushed, and finds them as long as anything keeps
/// them alive: flushing never takes an image away from a view that shows it.
///
/// Thread: main.
class MIVORA_EXPORT MVImageCache {
 public:
    /// An empty cache.
    static std::shared_ptr<MVImageCache> init();

    ~MVImageCache();
    MVImageCache(const MVImageCache&) = delete;
    MVImageCache& operator=(const MVImageCache&) = delete;

    /// The process-wide cache, held weakly: null when nothing keeps it alive.
    static std::shared_ptr<MVImageCache> sharedCache();
    /// Makes a cache the process-wide one; null for none.
    static void mv_setSharedCache(const std::shared_ptr<MVImageCache>& cache);

    /// Stores an image under a key and keeps it alive. An image that was under the key before can
    /// no longer be found by it and is kept alive until the next flush.
    /// @param image  null removes the key and stops keeping its image alive, which other keys then
    ///               still find while something else does
    void setImageForKey(const std::shared_ptr<MVImage>& image, const std::string& key);

    /// The image under a key; null when there is none or it is gone.
    std::shared_ptr<MVImage> imageForKey(const std::string& key) const;

    /// Stops keeping images alive. Those that something else holds are found as before.
    void flushCache();

 private:
    friend struct MVMaker;
    MVImageCache();

    void forgetGoneImages();

    std::unordered_map<std::string, std::weak_ptr<MVImage>> images_;
    std::unordered_set<std::shared_ptr<MVImage>> strongReferences_;
    std::size_t sizeToLookForGoneImages_;
};
