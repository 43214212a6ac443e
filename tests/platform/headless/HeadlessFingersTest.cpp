#include "MivoraMac/platform/headless/HeadlessFingers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/gtk/EventText.h"
#include "tests/platform/windows/RecordingOpenGLView.h"

using Mivora::platform::Event;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::Point;
using Mivora::tests::RecordingOpenGLView;
using Mivora::tests::ScopedEnvironment;

namespace {

class HeadlessFingersTest : public testing::Test {
 protected:
    HeadlessFingersTest() { view->setFrame({0, 0, 100, 80}); }

    /// The events since the last call, as words.
    std::string taken() {
        std::vector<Event> events;
        for (const auto& event : std::exchange(view->events, {})) {
            events.push_back(*event);
        }
        return Mivora::tests::text(events);
    }

 private:
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};

 protected:
    std::shared_ptr<RecordingOpenGLView> view = std::make_shared<RecordingOpenGLView>();
    HeadlessFingers fingers{view};
};

}  // namespace

TEST_F(HeadlessFingersTest, everyCallIsOneEventOfTheFingersItNames) {
    fingers.land({{1, {10, 20}}, {2, {30, 20}}});
    EXPECT_EQ(taken(), "touches-began[1 10,20][2 30,20]");
    fingers.move({{2, {35, 25}}});
    EXPECT_EQ(taken(), "touches-moved[2 35,25]");
    fingers.land({{7, {50, 50}}});
    fingers.lift({1, 7});
    EXPECT_EQ(taken(), "touches-began[7 50,50] touches-ended[1 10,20][7 50,50]");
    ASSERT_EQ(fingers.down().size(), 1U);
    EXPECT_EQ(fingers.down()[0].place, (Point{35, 25}));
    fingers.cancel();
    EXPECT_EQ(taken(), "touches-cancelled[2 35,25]");
    EXPECT_TRUE(fingers.down().empty());
}

TEST_F(HeadlessFingersTest, theEventIsWhereItsFirstFingerIs) {
    fingers.land({{1, {10, 20}}, {2, {30, 20}}});
    EXPECT_EQ(view->events.back()->locationInWindow, (Point{10, 20}));
}

TEST_F(HeadlessFingersTest, whatIsDownDoesNotLandAndWhatIsNotDoesNotMoveOrLift) {
    fingers.move({{1, {10, 20}}});
    fingers.lift({1});
    fingers.cancel();
    fingers.land({});
    EXPECT_EQ(taken(), "");
    fingers.land({{1, {10, 20}}});
    fingers.land({{1, {15, 20}}, {2, {1, 1}}});
    EXPECT_EQ(taken(), "touches-began[1 10,20] touches-began[2 1,1]");
}

TEST_F(HeadlessFingersTest, fingersMayGoWhereverTheyLike) {
    fingers.land({{1, {10, 20}}});
    fingers.move({{1, {-500, 2000}}});
    EXPECT_EQ(taken(), "touches-began[1 10,20] touches-moved[1 -500,2000]");
}

TEST_F(HeadlessFingersTest, withoutTheViewNothingHappens) {
    view.reset();
    fingers.land({{1, {10, 20}}});
    fingers.move({{1, {10, 20}}});
    fingers.lift({1});
    fingers.cancel();
}

TEST_F(HeadlessFingersTest, aPinchOfThePointersTouchpadIsTwoFingersAroundIt) {
    HeadlessPointer pointer{view};
    pointer.moveTo(50, 40);
    taken();
    pointer.beginPinch();
    pointer.pinch(0.5, 0, 5, 10);
    pointer.endPinch();
    pointer.endPinch();
    ASSERT_EQ(view->events.size(), 3U);
    EXPECT_EQ(view->events[0]->touches[0].landing, (Point{50, 40}));
    EXPECT_EQ(view->events[1]->touches[0].location, (Point{5, 50}));
    EXPECT_EQ(view->events[1]->touches[1].location, (Point{105, 50}));
    EXPECT_EQ(view->events[2]->type, Event::Type::TouchesEnded);
    pointer.beginPinch();
    pointer.cancelPinch();
    EXPECT_EQ(view->events.back()->type, Event::Type::TouchesCancelled);
}
