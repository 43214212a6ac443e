#include "MivoraMac/input/MVScroll.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "MivoraMac/platform/threads/Clock.h"
#include "tests/input/InputScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::platform::Clock;

constinit std::uint64_t ticks = 0;

class MVScrollTest : public testing::Test {
 protected:
    MVScrollTest() { useTimebase(1, 1); }
    ~MVScrollTest() override { Clock::setSource(nullptr, {1, 1}); }

    static void useTimebase(std::uint32_t numer, std::uint32_t denom) {
        Clock::setSource([] { return ticks; }, {numer, denom});
    }
    static void scrollAt(MVScroll& scroll, std::uint64_t time, Point2 translation) {
        ticks = time;
        scroll.setTranslation(translation);
    }
};

TEST_F(MVScrollTest, aNewRecordIsEmptyWhateverItsEvent) {
    for (const auto& scroll : {MVScroll::init(), MVScroll::initWithEvent(nullptr),
                               MVScroll::initWithEvent(InputScene::eventAt({3, 4}))}) {
        EXPECT_EQ(scroll->ray(), Ray3::kZero);
        EXPECT_EQ(scroll->view(), nullptr);
        EXPECT_EQ(scroll->translation(), Point2::kZero);
        EXPECT_EQ(scroll->velocity(), Point2::kZero);
        EXPECT_FALSE(scroll->mv_isHover());
    }
}

TEST_F(MVScrollTest, propertiesReadAsTheyWereSet) {
    const auto scroll = MVScroll::init();
    const Ray3 ray = {{1, 2, 3}, {4, 5, 6}};
    auto view = MVView::init();
    scroll->setRay(ray);
    scroll->setView(view);
    scroll->setTranslation({7, -8});
    EXPECT_EQ(scroll->ray(), ray);
    EXPECT_EQ(scroll->view(), view);
    EXPECT_EQ(scroll->translation(), (Point2{7, -8}));
    view.reset();
    EXPECT_EQ(scroll->view(), nullptr) << "it is held weakly";
}

TEST_F(MVScrollTest, theVelocityIsThatOfTheEventBeforeTheLatest) {
    const auto scroll = MVScroll::init();
    scrollAt(*scroll, 1'000'000'000, {1, 1});
    scrollAt(*scroll, 1'020'000'000, {4, -8});
    scrollAt(*scroll, 1'050'000'000, {100, 100});
    const Point2 velocity = scroll->velocity();
    EXPECT_FLOAT_EQ(velocity.x, 4 / 0.02F);
    EXPECT_FLOAT_EQ(velocity.y, -8 / 0.02F);
}

TEST_F(MVScrollTest, anEqualTranslationIsAnotherEvent) {
    const auto scroll = MVScroll::init();
    for (const std::uint64_t time : {10'000'000, 20'000'000, 40'000'000}) {
        scrollAt(*scroll, time, {3, 0});
    }
    EXPECT_FLOAT_EQ(scroll->velocity().x, 300);
}

TEST_F(MVScrollTest, eventsThatHaveNotBeenAreAtTheBeginningOfTime) {
    const auto scroll = MVScroll::init();
    scrollAt(*scroll, 4'000'000'000, {8, 0});
    EXPECT_EQ(scroll->velocity(), Point2::kZero) << "nothing came before";
    scrollAt(*scroll, 4'010'000'000, {1, 0});
    EXPECT_FLOAT_EQ(scroll->velocity().x, 2) << "8 points in 4 seconds";
    scrollAt(*scroll, 4'020'000'000, {1, 0});
    EXPECT_FLOAT_EQ(scroll->velocity().x, 100);
}

TEST_F(MVScrollTest, timesBelowAMillisecondCountAsA120thOfASecond) {
    struct Row {
        std::uint64_t interval;
        float expected;
    };
    for (const Row& row : {Row{0, 360}, Row{999'999, 360}, Row{1'000'000, 3000}}) {
        const auto scroll = MVScroll::init();
        scrollAt(*scroll, 500'000'000, {0, 0});
        scrollAt(*scroll, 500'000'000 + row.interval, {3, 0});
        scrollAt(*scroll, 700'000'000, {0, 0});
        EXPECT_FLOAT_EQ(scroll->velocity().x, row.expected) << row.interval;
    }
    const auto early = MVScroll::init();
    scrollAt(*early, 900'000, {3, 0});
    scrollAt(*early, 800'000'000, {0, 0});
    EXPECT_FLOAT_EQ(early->velocity().x, 360) << "from the beginning of time";
}

TEST_F(MVScrollTest, ticksAreMultipliedBeforeTheyAreDivided) {
    useTimebase(125, 3);
    const auto scroll = MVScroll::init();
    scrollAt(*scroll, 24'000'000, {0, 0});
    scrollAt(*scroll, 24'000'000 + 24'001, {1, 0});
    scrollAt(*scroll, 48'000'000, {0, 0});
    // 24,001 * 125 / 3 = 1,000,041 nanoseconds; divided first, there would be 1,000,000.
    EXPECT_FLOAT_EQ(scroll->velocity().x, static_cast<float>(1 / 0.001000041));
}

TEST_F(MVScrollTest, theTimebaseIsThatOfTheCreation) {
    const auto scroll = MVScroll::init();
    useTimebase(1000, 1);
    scrollAt(*scroll, 0, {0, 0});
    scrollAt(*scroll, 10'000'000, {5, 0});
    scrollAt(*scroll, 20'000'000, {0, 0});
    EXPECT_FLOAT_EQ(scroll->velocity().x, 500);
}

TEST_F(MVScrollTest, ticksOf64BitsAreCounted) {
    const auto scroll = MVScroll::init();
    constexpr std::uint64_t start = 0x7FFF'FFFF'0000'0000U;
    scrollAt(*scroll, start, {0, 0});
    scrollAt(*scroll, start + 5'000'000'000, {5, 0});
    scrollAt(*scroll, start + 6'000'000'000, {0, 0});
    EXPECT_FLOAT_EQ(scroll->velocity().x, 1);
}

TEST_F(MVScrollTest, locationsFollowTheRay) {
    const InputScene scene;
    const auto view = addInputView(scene.window, "view", nullptr, {100, 50}, {80, 60});
    view->setContentScaleFactor(2);
    const auto scroll = MVScroll::init();
    scroll->setRay(scene.rayThrough(InputScene::at(110.3F, 70)));
    EXPECT_EQ(scroll->locationInView(view), (Point3{10.5F, 20, 0}));
    EXPECT_EQ(scroll->locationInView(nullptr), Point3::kNull);
}

}  // namespace
