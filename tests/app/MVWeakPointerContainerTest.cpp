#include "MivoraMac/app/MVWeakPointerContainer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <new>

namespace {

struct Plain {
    char content = 0;
};

/// Equal when the values are.
struct Valued {
    int value = 0;
    bool operator==(const Valued&) const = default;
};

struct First {
    virtual ~First() = default;
    int first = 1;
};
struct Second {
    virtual ~Second() = default;
    int second = 2;
};
struct Both : First, Second {};

class OtherContainer : public MVWeakPointerContainer {};

/// A place in which objects are made one after the other.
template <class Object>
class Place {
 public:
    std::shared_ptr<Object> make() {
        return {::new (static_cast<void*>(memory_)) Object(),
                [](Object* object) { object->~Object(); }};
    }

 private:
    alignas(Object) std::byte memory_[sizeof(Object)] = {};
};

using Container = MVWeakPointerContainer;

}  // namespace

TEST(MVWeakPointerContainerTest, theObjectIsHeldWeakly) {
    auto object = std::make_shared<Plain>();
    const auto container = Container::initWithObject(object);
    EXPECT_EQ(container->object(), object);
    EXPECT_EQ(object.use_count(), 1);
    object = nullptr;
    EXPECT_EQ(container->object(), nullptr);
}

TEST(MVWeakPointerContainerTest, addressAndHashOutliveTheObject) {
    auto object = std::make_shared<Plain>();
    const void* address = object.get();
    const auto container = Container::initWithObject(object);
    EXPECT_EQ(container->pointerValue(), address);
    EXPECT_EQ(container->hash(), std::hash<const void*>()(address));
    object = nullptr;
    EXPECT_EQ(container->pointerValue(), address);
    EXPECT_EQ(container->hash(), std::hash<const void*>()(address));
}

TEST(MVWeakPointerContainerTest, containersOfTheSameObjectAreEqual) {
    const auto object = std::make_shared<Plain>();
    const auto a = Container::initWithObject(object);
    const auto b = Container::initWithObject(object);
    EXPECT_TRUE(a->isEqual(*a));
    EXPECT_TRUE(a->isEqual(*b));
    EXPECT_TRUE(b->isEqual(*a));
    EXPECT_EQ(a->hash(), b->hash());
}

TEST(MVWeakPointerContainerTest, containersOfDifferentObjectsDiffer) {
    const auto one = std::make_shared<Plain>();
    const auto other = std::make_shared<Plain>();
    EXPECT_FALSE(Container::initWithObject(one)->isEqual(*Container::initWithObject(other)));
}

TEST(MVWeakPointerContainerTest, objectsThatCompareByValueDoSoWhileTheyLive) {
    auto one = std::make_shared<Valued>(Valued{5});
    const auto same = std::make_shared<Valued>(Valued{5});
    const auto different = std::make_shared<Valued>(Valued{6});
    const auto container = Container::initWithObject(one);
    EXPECT_TRUE(container->isEqual(*Container::initWithObject(same)));
    EXPECT_FALSE(container->isEqual(*Container::initWithObject(different)));
    one = nullptr;
    EXPECT_FALSE(container->isEqual(*Container::initWithObject(same)));
}

TEST(MVWeakPointerContainerTest, aLiveObjectAndOneThatHasGoneDiffer) {
    Place<Plain> place;
    auto object = place.make();
    const auto old = Container::initWithObject(object);
    object = nullptr;
    object = place.make();
    const auto current = Container::initWithObject(object);
    ASSERT_EQ(old->pointerValue(), current->pointerValue());
    EXPECT_FALSE(old->isEqual(*current));
    EXPECT_FALSE(current->isEqual(*old));
    EXPECT_EQ(old->hash(), current->hash());
}

TEST(MVWeakPointerContainerTest, objectsThatHaveGoneAreEqualWhenTheirAddressesAre) {
    Place<Plain> place;
    Place<Plain> otherPlace;
    const auto a = Container::initWithObject(place.make());
    const auto b = Container::initWithObject(place.make());
    const auto c = Container::initWithObject(otherPlace.make());
    EXPECT_TRUE(a->isEqual(*b));
    EXPECT_TRUE(b->isEqual(*a));
    EXPECT_FALSE(a->isEqual(*c));
}

TEST(MVWeakPointerContainerTest, oneObjectHasOneAddressWhicheverBaseItIsGivenAs) {
    const auto object = std::make_shared<Both>();
    const auto whole = Container::initWithObject(object);
    const auto first = Container::initWithObject(std::shared_ptr<First>(object));
    const auto second = Container::initWithObject(std::shared_ptr<Second>(object));
    EXPECT_EQ(second->pointerValue(), whole->pointerValue());
    EXPECT_TRUE(first->isEqual(*second));
    EXPECT_TRUE(second->isEqual(*whole));
    // The object comes back as the class it was given as.
    EXPECT_EQ(std::static_pointer_cast<Second>(second->object())->second, 2);
    EXPECT_EQ(std::static_pointer_cast<First>(first->object())->first, 1);
}

TEST(MVWeakPointerContainerTest, aContainerOfAnotherClassDiffers) {
    const auto plain = Container::init();
    const auto other = MVMake<OtherContainer>();
    EXPECT_FALSE(plain->isEqual(*other));
    EXPECT_FALSE(other->isEqual(*plain));
    EXPECT_TRUE(other->isEqual(*MVMake<OtherContainer>()));
}

TEST(MVWeakPointerContainerTest, aContainerOfNullIsOneOfNothing) {
    const auto null = Container::initWithObject(std::shared_ptr<Plain>());
    EXPECT_EQ(null->object(), nullptr);
    EXPECT_EQ(null->pointerValue(), nullptr);
    EXPECT_TRUE(null->isEqual(*Container::init()));
    EXPECT_FALSE(null->isEqual(*Container::initWithObject(std::make_shared<Plain>())));
}
