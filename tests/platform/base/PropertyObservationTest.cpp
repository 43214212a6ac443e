#include "MivoraMac/platform/base/PropertyObservation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

using Mivora::platform::ObservableObject;
using Mivora::platform::PropertyChange;
using Mivora::platform::PropertyObserver;

namespace {

using Notify = ObservableObject::Notify;

class Lamp : public ObservableObject {
 public:
    int brightness() const { return brightness_; }
    void setBrightness(int brightness) {
        willChangeValueForKey("brightness");
        brightness_ = brightness;
        didChangeValueForKey("brightness");
    }
    void setColor(std::string color) {
        willChangeValueForKey("color");
        color_ = std::move(color);
        didChangeValueForKey("color");
    }

 private:
    int brightness_ = 0;
    std::string color_;
};

struct Notification {
    std::string key;
    const ObservableObject* object;
    PropertyChange change;
    const void* context;
    bool operator==(const Notification&) const = default;
};

/// Remembers what it is told of, and then does what the test wants.
class Recorder : public PropertyObserver {
 public:
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     ObservableObject& object,
                                                     PropertyChange change,
                                                     void* context) override {
        seen.push_back({std::string(keyPath), &object, change, context});
        if (then) {
            then(change);
        }
    }

    std::vector<Notification> seen;
    std::function<void(PropertyChange)> then;
};

}  // namespace

TEST(PropertyObservationTest, anObserverIsToldAfterAChange) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    int seen = -1;
    observer->then = [&](PropertyChange) { seen = lamp.brightness(); };
    lamp.addObserver(observer, "brightness");
    lamp.setBrightness(7);
    ASSERT_EQ(observer->seen.size(), 1U);
    EXPECT_EQ(observer->seen[0], (Notification{"brightness", &lamp, PropertyChange::Did, nullptr}));
    EXPECT_EQ(seen, 7);
}

TEST(PropertyObservationTest, anObserverThatAsksForItIsToldBeforeAndAfter) {
    Lamp lamp;
    lamp.setBrightness(3);
    const auto observer = std::make_shared<Recorder>();
    std::vector<int> values;
    observer->then = [&](PropertyChange) { values.push_back(lamp.brightness()); };
    lamp.addObserver(observer, "brightness", Notify::WillAndDid);
    lamp.setBrightness(7);
    ASSERT_EQ(observer->seen.size(), 2U);
    EXPECT_EQ(observer->seen[0].change, PropertyChange::Will);
    EXPECT_EQ(observer->seen[1].change, PropertyChange::Did);
    EXPECT_EQ(values, (std::vector<int>{3, 7}));
}

TEST(PropertyObservationTest, observersAreToldInTheOrderOfTheirRegistration) {
    Lamp lamp;
    std::vector<int> order;
    std::vector<std::shared_ptr<Recorder>> observers;
    for (int i = 0; i < 5; ++i) {
        observers.push_back(std::make_shared<Recorder>());
        observers.back()->then = [&order, i](PropertyChange) { order.push_back(i); };
        lamp.addObserver(observers.back(), "brightness");
    }
    lamp.setBrightness(1);
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST(PropertyObservationTest, onlyTheObservedPropertyIsReported) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    lamp.addObserver(observer, "color");
    lamp.setBrightness(1);
    EXPECT_TRUE(observer->seen.empty());
    lamp.setColor("red");
    ASSERT_EQ(observer->seen.size(), 1U);
    EXPECT_EQ(observer->seen[0].key, "color");
}

TEST(PropertyObservationTest, keysAreComparedWhole) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    for (const char* key : {"", "col", "colors", "Color", "lamp.color"}) {
        lamp.addObserver(observer, key);
    }
    lamp.setColor("red");
    EXPECT_TRUE(observer->seen.empty());
}

TEST(PropertyObservationTest, oneObserverMayWatchSeveralPropertiesAndObjects) {
    Lamp first;
    Lamp second;
    const auto observer = std::make_shared<Recorder>();
    first.addObserver(observer, "color");
    first.addObserver(observer, "brightness");
    second.addObserver(observer, "color");
    first.setBrightness(1);
    second.setColor("red");
    first.setColor("blue");
    ASSERT_EQ(observer->seen.size(), 3U);
    EXPECT_EQ(observer->seen[0].key, "brightness");
    EXPECT_EQ(observer->seen[0].object, &first);
    EXPECT_EQ(observer->seen[1].object, &second);
    EXPECT_EQ(observer->seen[2].object, &first);
}

TEST(PropertyObservationTest, theContextComesBackAsGiven) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    int context = 0;
    int otherContext = 0;
    lamp.addObserver(observer, "brightness", Notify::Did, &context);
    lamp.addObserver(observer, "color", Notify::Did, &otherContext);
    lamp.setBrightness(1);
    lamp.setColor("red");
    ASSERT_EQ(observer->seen.size(), 2U);
    EXPECT_EQ(observer->seen[0].context, &context);
    EXPECT_EQ(observer->seen[1].context, &otherContext);
}

TEST(PropertyObservationTest, observersAreHeldWeakly) {
    Lamp lamp;
    auto observer = std::make_shared<Recorder>();
    const std::weak_ptr<Recorder> weak = observer;
    lamp.addObserver(observer, "brightness");
    EXPECT_EQ(lamp.observerCount(), 1U);
    observer.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(lamp.observerCount(), 0U);
    lamp.setBrightness(1);
}

TEST(PropertyObservationTest, aNullObserverIsIgnored) {
    Lamp lamp;
    lamp.addObserver(nullptr, "brightness");
    EXPECT_EQ(lamp.observerCount(), 0U);
    lamp.removeObserver(nullptr, "brightness");
    lamp.setBrightness(1);
}

TEST(PropertyObservationTest, aRemovedObserverIsToldNoMore) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    lamp.addObserver(observer, "brightness");
    lamp.addObserver(observer, "color");
    lamp.removeObserver(observer.get(), "brightness");
    EXPECT_EQ(lamp.observerCount(), 1U);
    lamp.setBrightness(1);
    EXPECT_TRUE(observer->seen.empty());
    lamp.setColor("red");
    EXPECT_EQ(observer->seen.size(), 1U);
}

TEST(PropertyObservationTest, removingWhatWasNeverAddedIsIgnored) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    const auto stranger = std::make_shared<Recorder>();
    lamp.addObserver(observer, "brightness");
    lamp.removeObserver(stranger.get(), "brightness");
    lamp.removeObserver(observer.get(), "color");
    EXPECT_EQ(lamp.observerCount(), 1U);
    lamp.removeObserver(observer.get(), "brightness");
    lamp.removeObserver(observer.get(), "brightness");
    EXPECT_EQ(lamp.observerCount(), 0U);
}

TEST(PropertyObservationTest, anObserverAddedTwiceIsToldTwice) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    int first = 0;
    int second = 0;
    lamp.addObserver(observer, "brightness", Notify::Did, &first);
    lamp.addObserver(observer, "brightness", Notify::Did, &second);
    lamp.setBrightness(1);
    ASSERT_EQ(observer->seen.size(), 2U);
    EXPECT_EQ(observer->seen[0].context, &first);
    EXPECT_EQ(observer->seen[1].context, &second);
}

TEST(PropertyObservationTest, removingTakesTheLatestRegistrationBack) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    int first = 0;
    int second = 0;
    lamp.addObserver(observer, "brightness", Notify::Did, &first);
    lamp.addObserver(observer, "color");
    lamp.addObserver(observer, "brightness", Notify::Did, &second);
    lamp.removeObserver(observer.get(), "brightness");
    lamp.setBrightness(1);
    ASSERT_EQ(observer->seen.size(), 1U);
    EXPECT_EQ(observer->seen[0].context, &first);
}

TEST(PropertyObservationTest, anObserverMayRemoveItselfWhileBeingTold) {
    Lamp lamp;
    const auto first = std::make_shared<Recorder>();
    const auto second = std::make_shared<Recorder>();
    first->then = [&](PropertyChange) { lamp.removeObserver(first.get(), "brightness"); };
    lamp.addObserver(first, "brightness");
    lamp.addObserver(second, "brightness");
    lamp.setBrightness(1);
    lamp.setBrightness(2);
    EXPECT_EQ(first->seen.size(), 1U);
    EXPECT_EQ(second->seen.size(), 2U);
}

TEST(PropertyObservationTest, anObserverThatRemovesItselfBeforeAChangeIsNotToldAfterIt) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    observer->then = [&](PropertyChange) { lamp.removeObserver(observer.get(), "brightness"); };
    lamp.addObserver(observer, "brightness", Notify::WillAndDid);
    lamp.setBrightness(1);
    ASSERT_EQ(observer->seen.size(), 1U);
    EXPECT_EQ(observer->seen[0].change, PropertyChange::Will);
}

TEST(PropertyObservationTest, anObserverRemovedByAnotherIsNotToldAnyMore) {
    Lamp lamp;
    const auto first = std::make_shared<Recorder>();
    const auto second = std::make_shared<Recorder>();
    first->then = [&](PropertyChange) { lamp.removeObserver(second.get(), "brightness"); };
    lamp.addObserver(first, "brightness");
    lamp.addObserver(second, "brightness");
    lamp.setBrightness(1);
    EXPECT_EQ(first->seen.size(), 1U);
    EXPECT_TRUE(second->seen.empty());
}

TEST(PropertyObservationTest, anObserverThatRemovesAnEarlierOneIsToldAllTheSame) {
    Lamp lamp;
    const auto first = std::make_shared<Recorder>();
    const auto second = std::make_shared<Recorder>();
    second->then = [&](PropertyChange) { lamp.removeObserver(first.get(), "brightness"); };
    lamp.addObserver(first, "brightness");
    lamp.addObserver(second, "brightness");
    lamp.setBrightness(1);
    lamp.setBrightness(2);
    EXPECT_EQ(first->seen.size(), 1U);
    EXPECT_EQ(second->seen.size(), 2U);
}

TEST(PropertyObservationTest, anObserverAddedWhileOthersAreToldIsFirstToldAtTheNext) {
    Lamp lamp;
    const auto first = std::make_shared<Recorder>();
    const auto added = std::make_shared<Recorder>();
    first->then = [&](PropertyChange) {
        if (first->seen.size() == 1) {
            lamp.addObserver(added, "brightness");
        }
    };
    lamp.addObserver(first, "brightness");
    lamp.setBrightness(1);
    EXPECT_TRUE(added->seen.empty());
    lamp.setBrightness(2);
    EXPECT_EQ(added->seen.size(), 1U);
}

TEST(PropertyObservationTest, anObserverThatRegistersAnewWhileBeingToldIsNotToldAgainAtOnce) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    observer->then = [&](PropertyChange) {
        lamp.removeObserver(observer.get(), "brightness");
        lamp.addObserver(observer, "brightness");
    };
    lamp.addObserver(observer, "brightness");
    lamp.setBrightness(1);
    EXPECT_EQ(observer->seen.size(), 1U);
    lamp.setBrightness(2);
    EXPECT_EQ(observer->seen.size(), 2U);
    EXPECT_EQ(lamp.observerCount(), 1U);
}

TEST(PropertyObservationTest, anObserverThatGoesWhileOthersAreToldIsNotMissed) {
    Lamp lamp;
    const auto first = std::make_shared<Recorder>();
    auto second = std::make_shared<Recorder>();
    first->then = [&](PropertyChange) { second.reset(); };
    lamp.addObserver(first, "brightness");
    lamp.addObserver(second, "brightness");
    lamp.setBrightness(1);
    lamp.setBrightness(2);
    EXPECT_EQ(first->seen.size(), 2U);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(lamp.observerCount(), 1U);
}

TEST(PropertyObservationTest, anObserverMayChangeTheObservedProperty) {
    Lamp lamp;
    const auto observer = std::make_shared<Recorder>();
    observer->then = [&](PropertyChange) {
        if (lamp.brightness() > 0) {
            lamp.setBrightness(lamp.brightness() - 1);
        }
    };
    lamp.addObserver(observer, "brightness");
    lamp.setBrightness(3);
    EXPECT_EQ(lamp.brightness(), 0);
    EXPECT_EQ(observer->seen.size(), 4U);
}

TEST(PropertyObservationTest, anObserverMayRemoveItselfInItsDestructor) {
    class Tidy : public Recorder {
     public:
        explicit Tidy(Lamp& lamp) : lamp_(lamp) {}
        ~Tidy() override { lamp_.removeObserver(this, "brightness"); }
        Tidy(const Tidy&) = delete;
        Tidy& operator=(const Tidy&) = delete;

     private:
        Lamp& lamp_;
    };
    Lamp lamp;
    auto observer = std::make_shared<Tidy>(lamp);
    lamp.addObserver(observer, "brightness");
    lamp.setBrightness(1);
    EXPECT_EQ(observer->seen.size(), 1U);
    observer.reset();
    EXPECT_EQ(lamp.observerCount(), 0U);
    lamp.setBrightness(2);

    // Also when the notification holds the last reference.
    observer = std::make_shared<Tidy>(lamp);
    observer->then = [&](PropertyChange) { observer.reset(); };
    lamp.addObserver(observer, "brightness");
    lamp.setBrightness(3);
    EXPECT_EQ(observer, nullptr);
    EXPECT_EQ(lamp.observerCount(), 0U);
}

TEST(PropertyObservationTest, registrationsOfObserversThatHaveGoneDoNotPileUp) {
    Lamp lamp;
    const auto lasting = std::make_shared<Recorder>();
    lamp.addObserver(lasting, "brightness");
    for (int i = 0; i < 1000; ++i) {
        lamp.addObserver(std::make_shared<Recorder>(), "brightness");
    }
    EXPECT_EQ(lamp.observerCount(), 1U);
    lamp.setBrightness(1);
    EXPECT_EQ(lasting->seen.size(), 1U);
}

TEST(PropertyObservationTest, observersComeAndGoOnManyThreadsWhileChangesAreAnnounced) {
    /// Counts only, on any thread.
    class Counter : public PropertyObserver {
     public:
        void observeValueForKeyPathOfObjectChangeContext(std::string_view, ObservableObject&,
                                                         PropertyChange, void*) override {
            ++count;
        }
        std::atomic<int> count{0};
    };
    class Bell : public ObservableObject {
     public:
        void ring() {
            willChangeValueForKey("rings");
            didChangeValueForKey("rings");
        }
    };
    constexpr int kRings = 2000;
    Bell bell;
    const auto lasting = std::make_shared<Counter>();
    bell.addObserver(lasting, "rings", Notify::WillAndDid);
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!stop) {
                const auto passing = std::make_shared<Counter>();
                bell.addObserver(passing, "rings");
                bell.removeObserver(passing.get(), "rings");
                bell.addObserver(std::make_shared<Counter>(), "rings");
                bell.observerCount();
            }
        });
    }
    std::thread second([&] {
        for (int i = 0; i < kRings; ++i) {
            bell.ring();
        }
    });
    for (int i = 0; i < kRings; ++i) {
        bell.ring();
    }
    second.join();
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lasting->count, 2 * 2 * kRings);
    EXPECT_EQ(bell.observerCount(), 1U);
}
