#include "examples/carousel/Carousel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <numbers>
#include <utility>
#include <vector>

#include "MivoraMac/platform/headless/HeadlessFingers.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/support/GLTest.h"

namespace {

using Mivora::Point3;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::platform::Window;

constexpr float kPi = std::numbers::pi_v<float>;

/// The carousel in a window of 1280 x 800 points, at rest: its first card is in the middle of the
/// upper storey.
class CarouselTest : public Mivora::tests::GLTest {
 private:
    Mivora::tests::ScopedEnvironment host_{"MIVORA_HOST", "headless"};
    Mivora::tests::ScopedEnvironment scale_{"MIVORA_SCALE", "1"};
    Mivora::tests::ScopedEnvironment pictures_{"MIVORA_RESOURCE_PATH", MIVORA_PHOTOGRAPHS};

 protected:
    void SetUp() override {
        GLTest::SetUp();
        application_ = MVApplication::init();
        application_->setMouseMakesFingerTouches(true);
        carousel_ = Carousel::make(application_->animationClock());
        application_->window()->setContentView(carousel_);
        frame_ = Window::initWithTitle("", 1280, 800);
        frame_->setContentView(application_->renderView());
        frame_->show();
        pointer_ = std::make_unique<HeadlessPointer>(application_->renderView());
        fingers_ = std::make_unique<HeadlessFingers>(application_->renderView());
        run(1);
    }

    void TearDown() override {
        pointer_.reset();
        fingers_.reset();
        carousel_.reset();
        frame_.reset();
        const std::weak_ptr<MVApplication> application = std::exchange(application_, nullptr);
        MainThread::runUntil([&] { return application.expired(); }, 10);
        GLTest::TearDown();
    }

    /// Lets frames pass.
    void run(int frames) {
        for (int i = 0; i < frames; ++i) {
            MainThread::runUntil([] { return false; }, 0);
            application_->animationClock()->tickVideoSync(1.0 / 60.0, 0);
        }
        application_->mv_inlineDraw();
    }

    /// Two fingers about the middle of the first card.
    static std::vector<HeadlessFingers::Finger> around(double radius, double clockwise = 0) {
        const double x = radius * std::cos(clockwise);
        const double y = -radius * std::sin(clockwise);
        return {{1, {640 - x, 520 - y}}, {2, {640 + x, 520 + y}}};
    }

    /// The largest step from a pixel to the next in a row of the picture.
    int largestStep(int row, int from, int to) const {
        const Picture picture = MVCaptureWindow(application_->window());
        int largest = 0;
        for (int x = from; x < to; ++x) {
            for (std::size_t part = 0; part < 3; ++part) {
                largest = std::max(largest, std::abs(picture.pixel(x, row)[part] -
                                                     picture.pixel(x + 1, row)[part]));
            }
        }
        return largest;
    }

    Card& card(std::size_t number) const { return *carousel_->cards().at(number); }
    float zoom() const { return card(0).superview()->uniformScale(); }

    std::shared_ptr<MVApplication> application_;
    std::shared_ptr<Carousel> carousel_;
    std::shared_ptr<Window> frame_;
    std::unique_ptr<HeadlessPointer> pointer_;
    std::unique_ptr<HeadlessFingers> fingers_;
};

TEST_F(CarouselTest, cardsBehindTheMiddleAreOutOfFocus) {
    application_->window()->setFarDistance(2000);
    run(1);
    // Between the cards in front, the pattern of a back is seen.
    EXPECT_GT(largestStep(305, 506, 534), 3);
    EXPECT_LT(largestStep(305, 506, 534), 20);
    EXPECT_GT(largestStep(470, 300, 600), 100) << "what is near is sharp";
}

TEST_F(CarouselTest, aTapTurnsACardOverAndAnotherBack) {
    const Point3 other = card(1).rotation3();
    fingers_->land({{1, {640, 520}}});
    fingers_->lift({1});
    run(60);
    EXPECT_NEAR(card(0).rotation3().y, kPi, 1e-4F);
    EXPECT_EQ(card(1).rotation3(), other);
    fingers_->land({{1, {645, 500}}});
    fingers_->move({{1, {650, 500}}});
    fingers_->lift({1});
    run(60);
    EXPECT_NEAR(card(0).rotation3().y, 0, 1e-4F);
}

TEST_F(CarouselTest, aClickThatTremblesTurnsTheCardAndADragTheRing) {
    const Point3 place = card(0).position3();
    pointer_->moveTo(640, 520);
    pointer_->press();
    pointer_->moveTo(649, 513);
    pointer_->release();
    run(60);
    EXPECT_NEAR(card(0).rotation3().y, kPi, 1e-4F);
    EXPECT_EQ(card(0).position3(), place);
    pointer_->moveTo(640, 520);
    pointer_->press();
    pointer_->moveTo(650, 520);
    pointer_->moveTo(700, 520);
    run(1);
    EXPECT_GT(card(0).position3().x, place.x + 20);
    pointer_->release();
}

TEST_F(CarouselTest, twoFingersOnACardScaleItAndTurnIt) {
    const float before = zoom();
    fingers_->land(around(40));
    fingers_->move(around(60, 0.5));
    run(1);
    EXPECT_NEAR(card(0).uniformScale(), 1.5F, 0.03F);
    EXPECT_NEAR(card(0).rotation3().z, 0.5F, 0.03F);
    fingers_->move(around(400, 0.5));
    run(1);
    EXPECT_EQ(card(0).uniformScale(), Card::kLargestScale);
    fingers_->lift({1, 2});
    run(60);
    EXPECT_EQ(card(0).uniformScale(), Card::kLargestScale);
    EXPECT_EQ(card(1).uniformScale(), 1) << "the others stay";
    EXPECT_NEAR(card(0).rotation3().y, 0, 1e-4F) << "it was no tap";
    EXPECT_EQ(zoom(), before);
}

TEST_F(CarouselTest, fingersThatMeetInOnePlaceLeaveTheCardVisible) {
    fingers_->land(around(40));
    fingers_->move(around(0));
    run(1);
    EXPECT_EQ(card(0).uniformScale(), Card::kLeastScale);
    fingers_->move(around(0));
    fingers_->move(around(10));
    run(1);
    EXPECT_GE(card(0).uniformScale(), Card::kLeastScale);
    EXPECT_LE(card(0).uniformScale(), Card::kLargestScale);
}

TEST_F(CarouselTest, aPinchOnTheTouchpadZoomsTheRingAlsoOverACard) {
    const float before = zoom();
    const float own = card(0).uniformScale();
    for (const double x : {640.0, 560.0}) {
        pointer_->moveTo(x, 520);
        pointer_->beginPinch();
        pointer_->pinch(1.2, 0.5);
        EXPECT_NEAR(zoom(), 1.2F * before, 0.01F);
        pointer_->pinch(1);
        pointer_->endPinch();
        EXPECT_NEAR(zoom(), before, 0.01F);
        run(1);
    }
    run(60);
    EXPECT_EQ(card(0).uniformScale(), own);
    EXPECT_EQ(card(0).rotation3().z, 0);
    EXPECT_NEAR(card(0).rotation3().y, 0, 1e-4F);
    pointer_->beginPinch();
    pointer_->pinch(5);
    EXPECT_FLOAT_EQ(zoom(), Carousel::kLargestZoom * before);
    pointer_->pinch(0.01);
    EXPECT_FLOAT_EQ(zoom(), Carousel::kLeastZoom * before);
    pointer_->endPinch();
}

TEST_F(CarouselTest, fingersOnTwoCardsTurnTheRing) {
    const Point3 place = card(0).position3();
    const float before = zoom();
    fingers_->land({{1, {640, 520}}, {2, {460, 520}}});
    fingers_->move({{1, {655, 520}}, {2, {475, 520}}});
    fingers_->move({{1, {700, 520}}, {2, {520, 520}}});
    run(1);
    EXPECT_GT(card(0).position3().x, place.x + 20);
    EXPECT_EQ(card(0).uniformScale(), 1);
    EXPECT_EQ(zoom(), before);
    fingers_->lift({1, 2});
}

}  // namespace
