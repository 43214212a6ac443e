#include "MivoraMac/images/MVImageCache.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/base/MVMake.h"

namespace {

/// Looks into the cache while it goes.
class CuriousImage : public MVImage {
 public:
    explicit CuriousImage(MVImageCache* cache) : cache_(cache) {}
    ~CuriousImage() override {
        EXPECT_EQ(cache_->imageForKey("curious"), nullptr);
        cache_->setImageForKey(MVImage::init(), "last words");
    }

 private:
    MVImageCache* cache_;
};

TEST(MVImageCacheTest, anImageIsFoundUnderItsKey) {
    const auto cache = MVImageCache::init();
    const auto a = MVImage::init();
    const auto b = MVImage::init();
    cache->setImageForKey(a, "a");
    cache->setImageForKey(b, "");
    EXPECT_EQ(cache->imageForKey("a"), a);
    EXPECT_EQ(cache->imageForKey(""), b);
    EXPECT_EQ(cache->imageForKey("b"), nullptr);
}

TEST(MVImageCacheTest, theCacheKeepsImagesAlive) {
    const auto cache = MVImageCache::init();
    cache->setImageForKey(MVImage::init(), "a");
    EXPECT_NE(cache->imageForKey("a"), nullptr);
}

TEST(MVImageCacheTest, theCacheLetsGoOfItsImagesWhenItGoes) {
    auto cache = MVImageCache::init();
    const std::weak_ptr<MVImage> weak = [&] {
        auto image = MVImage::init();
        cache->setImageForKey(image, "a");
        return image;
    }();
    EXPECT_FALSE(weak.expired());
    cache.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(MVImageCacheTest, aFlushFreesOnlyWhatNobodyElseHolds) {
    const auto cache = MVImageCache::init();
    const auto shown = MVImage::init();
    cache->setImageForKey(shown, "shown");
    cache->setImageForKey(MVImage::init(), "unused");
    cache->flushCache();
    EXPECT_EQ(cache->imageForKey("shown"), shown);
    EXPECT_EQ(cache->imageForKey("unused"), nullptr);
}

TEST(MVImageCacheTest, aFlushedImageIsFoundUntilItsLastHolderLetsGo) {
    const auto cache = MVImageCache::init();
    auto shown = MVImage::init();
    cache->setImageForKey(shown, "shown");
    cache->flushCache();
    shown.reset();
    EXPECT_EQ(cache->imageForKey("shown"), nullptr);
}

TEST(MVImageCacheTest, settingNothingRemovesTheKeyAndTheHold) {
    const auto cache = MVImageCache::init();
    const auto held = MVImage::init();
    const std::weak_ptr<MVImage> weak = [&] {
        auto image = MVImage::init();
        cache->setImageForKey(image, "a");
        return image;
    }();
    cache->setImageForKey(held, "held");
    cache->setImageForKey(nullptr, "a");
    cache->setImageForKey(nullptr, "held");
    cache->setImageForKey(nullptr, "never set");
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(cache->imageForKey("held"), nullptr);
}

TEST(MVImageCacheTest, removingOneOfTwoKeysDropsTheHoldAndKeepsTheOtherKey) {
    const auto cache = MVImageCache::init();
    auto image = MVImage::init();
    cache->setImageForKey(image, "one");
    cache->setImageForKey(image, "two");
    EXPECT_EQ(image.use_count(), 2) << "held once";
    cache->setImageForKey(nullptr, "one");
    EXPECT_EQ(image.use_count(), 1);
    EXPECT_EQ(cache->imageForKey("two"), image);
    image.reset();
    EXPECT_EQ(cache->imageForKey("two"), nullptr);
}

TEST(MVImageCacheTest, aReplacedImageIsHeldUntilTheFlush) {
    const auto cache = MVImageCache::init();
    const auto first = MVImage::init();
    const auto second = MVImage::init();
    cache->setImageForKey(first, "a");
    cache->setImageForKey(second, "a");
    EXPECT_EQ(cache->imageForKey("a"), second);
    EXPECT_EQ(first.use_count(), 2);
    cache->flushCache();
    EXPECT_EQ(first.use_count(), 1);
}

TEST(MVImageCacheTest, anImageMayUseTheCacheWhileItGoes) {
    const auto cache = MVImageCache::init();
    cache->setImageForKey(MVMake<CuriousImage>(cache.get()), "curious");
    cache->flushCache();
    EXPECT_NE(cache->imageForKey("last words"), nullptr);
    cache->setImageForKey(MVMake<CuriousImage>(cache.get()), "curious");
    cache->setImageForKey(nullptr, "curious");
    EXPECT_EQ(cache->imageForKey("curious"), nullptr);
}

TEST(MVImageCacheTest, thousandsOfImagesThatComeAndGoAreNoTrouble) {
    const auto cache = MVImageCache::init();
    for (int i = 0; i < 5000; ++i) {
        cache->setImageForKey(MVImage::init(), std::to_string(i));
        if (i % 50 == 49) {
            cache->flushCache();
            EXPECT_EQ(cache->imageForKey(std::to_string(i)), nullptr);
        }
    }
}

TEST(MVImageCacheTest, theSharedCacheGoesWithItsOwnerAndTheNextIsInstalled) {
    ASSERT_EQ(MVImageCache::sharedCache(), nullptr);
    auto first = MVImageCache::init();
    MVImageCache::mv_setSharedCache(first);
    EXPECT_EQ(MVImageCache::sharedCache(), first);
    first.reset();
    EXPECT_EQ(MVImageCache::sharedCache(), nullptr);
    const auto second = MVImageCache::init();
    MVImageCache::mv_setSharedCache(second);
    EXPECT_EQ(MVImageCache::sharedCache(), second);
    MVImageCache::mv_setSharedCache(nullptr);
    EXPECT_EQ(MVImageCache::sharedCache(), nullptr);
}

}  // namespace
