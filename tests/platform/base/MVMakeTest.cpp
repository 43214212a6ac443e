#include "MivoraMac/platform/base/MVMake.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace {

/// A class as the library has them: nobody but `MVMake` can construct or destroy it.
class Guarded : public std::enable_shared_from_this<Guarded> {
 public:
    const std::string& title() const { return title_; }
    int* borrowed() const { return borrowed_; }
    const std::unique_ptr<int>& owned() const { return owned_; }

 protected:
    friend struct ::MVMaker;

    Guarded() : title_("untitled") {}
    Guarded(std::string title, int& borrowed, std::unique_ptr<int> owned)
        : title_(std::move(title)), borrowed_(&borrowed), owned_(std::move(owned)) {}
    virtual ~Guarded() = default;

 private:
    std::string title_;
    int* borrowed_ = nullptr;
    std::unique_ptr<int> owned_;
};

class CountingDestructor {
 public:
    explicit CountingDestructor(int& destroyed) : destroyed_(destroyed) {}
    virtual ~CountingDestructor() { ++destroyed_; }
    CountingDestructor(const CountingDestructor&) = delete;
    CountingDestructor& operator=(const CountingDestructor&) = delete;

 private:
    int& destroyed_;
};

class Derived : public CountingDestructor {
 public:
    using CountingDestructor::CountingDestructor;
    ~Derived() override { ++derivedDestroyed_; }
    static int derivedDestroyed_;
};
int Derived::derivedDestroyed_ = 0;

class Refusing {
 public:
    explicit Refusing(std::shared_ptr<int> part) : part_(std::move(part)) {
        throw std::runtime_error("refused");
    }

 private:
    std::shared_ptr<int> part_;
};

struct alignas(64) OverAligned {
    char byte = 0;
};

/// Counts the objects that get memory of their own.
struct AllocatedAlone {
    static void* operator new(std::size_t size) {
        ++allocations_;
        return ::operator new(size);
    }
    static void* operator new(std::size_t, void* place) { return place; }
    static void operator delete(void* memory) { ::operator delete(memory); }
    static int allocations_;
};
int AllocatedAlone::allocations_ = 0;

/// What a client's class looks like: derived, with a second base that others know it by.
struct Named {
    virtual ~Named() = default;
    std::string name = "named";
};
class Client : public Guarded, public Named {
 public:
    std::shared_ptr<Client> self() { return MVSelf(this); }
    std::shared_ptr<const Client> constantSelf() const { return MVSelf(this); }
    std::weak_ptr<Client> weakSelf() { return MVWeakSelf(this); }

    bool hasSelfWhileConstructed = true;

 protected:
    friend struct ::MVMaker;
    Client() {
        EXPECT_THROW(MVSelf(this), std::bad_weak_ptr);
        hasSelfWhileConstructed = MVWeakSelf(this).lock() != nullptr;
    }
};

}  // namespace

TEST(MVSelfTest, isTheObjectAsItsOwnClass) {
    const auto client = MVMake<Client>();
    const std::shared_ptr<Named> named = client->self();
    EXPECT_EQ(named->name, "named");
    EXPECT_EQ(client->self(), client);
    EXPECT_EQ(client->constantSelf(), client);
    EXPECT_EQ(client.use_count(), 2) << "shared with what is held";
}

TEST(MVSelfTest, theWeakFormDoesNotKeepTheObjectAlive) {
    auto client = MVMake<Client>();
    const std::weak_ptr<Client> weak = client->weakSelf();
    EXPECT_EQ(weak.lock(), client);
    EXPECT_EQ(client.use_count(), 1);
    client.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(MVSelfTest, thereIsNoneDuringConstruction) {
    EXPECT_FALSE(MVMake<Client>()->hasSelfWhileConstructed);
}

TEST(MVMakeTest, makesObjectsWhoseConstructorsAndDestructorAreProtected) {
    static_assert(!std::is_default_constructible_v<Guarded>);
    static_assert(!std::is_destructible_v<Guarded>);
    const std::shared_ptr<Guarded> object = MVMake<Guarded>();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->title(), "untitled");
}

TEST(MVMakeTest, handsArgumentsOnAsTheyAreGiven) {
    int number = 7;
    auto owned = std::make_unique<int>(9);
    const int* address = owned.get();
    const auto object = MVMake<Guarded>("a card", number, std::move(owned));
    EXPECT_EQ(object->title(), "a card");
    EXPECT_EQ(object->borrowed(), &number);
    EXPECT_EQ(object->owned().get(), address);
}

TEST(MVMakeTest, theObjectKnowsItsSharedOwnership) {
    const auto object = MVMake<Guarded>();
    EXPECT_EQ(object.use_count(), 1);
    const std::shared_ptr<Guarded> again = object->shared_from_this();
    EXPECT_EQ(again, object);
    EXPECT_EQ(object.use_count(), 2);
}

TEST(MVMakeTest, theObjectGoesWithItsLastReference) {
    int destroyed = 0;
    auto object = MVMake<CountingDestructor>(destroyed);
    auto second = object;
    const std::weak_ptr<CountingDestructor> weak = object;
    object.reset();
    EXPECT_EQ(destroyed, 0);
    second.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_TRUE(weak.expired());
}

TEST(MVMakeTest, theWholeObjectGoesThroughAReferenceToItsBase) {
    int destroyed = 0;
    Derived::derivedDestroyed_ = 0;
    std::shared_ptr<CountingDestructor> object = MVMake<Derived>(destroyed);
    object.reset();
    EXPECT_EQ(Derived::derivedDestroyed_, 1);
    EXPECT_EQ(destroyed, 1);
}

TEST(MVMakeTest, aThrowingConstructorThrowsThroughAndLeavesNothingBehind) {
    const auto part = std::make_shared<int>(1);
    EXPECT_THROW(MVMake<Refusing>(part), std::runtime_error);
    EXPECT_EQ(part.use_count(), 1);
}

TEST(MVMakeTest, objectsAreAlignedAsTheyAsk) {
    const auto object = MVMake<OverAligned>();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(object.get()) % 64, 0U);
}

TEST(MVMakeTest, objectAndCountShareOneAllocation) {
    AllocatedAlone::allocations_ = 0;
    const auto object = MVMake<AllocatedAlone>();
    EXPECT_EQ(AllocatedAlone::allocations_, 0);
}
