// Several applications in one process, drawing in turn.

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"
#include "tests/support/GLTest.h"

using Mivora::ColorRGBA;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;

namespace {

constexpr float kSide = 60;

/// A view that tells of presses.
class Button : public MVColorView {
 public:
    Button() : MVColorView({0.3F, 0.5F, 0.7F, 1}) {}
    void mouseBegan(const std::shared_ptr<MVMouse>&) override {
        if (pressed) {
            pressed();
        }
    }
    std::function<void()> pressed;
};

std::shared_ptr<MVImage> checkedImage() {
    constexpr std::uint64_t kPixels = 4;
    std::array<std::uint8_t, kPixels * kPixels * 4> data{};
    for (std::size_t i = 0; i < data.size(); i += 4) {
        const bool odd = (i / 4 + i / 16) % 2 == 1;
        data[i] = odd ? 255 : 20;
        data[i + 1] = odd ? 200 : 40;
        data[i + 2] = odd ? 0 : 160;
        data[i + 3] = 255;
    }
    return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        data.data(), kPixels, kPixels, 1, 0, false, GL_RGBA);
}

/// An application in a window, with contents that move by phases and are the same in all of them.
class Animated {
 public:
    explicit Animated(std::shared_ptr<MVImage> image)
        : application(MVApplication::init()), image_(std::move(image)) {
        frame_ = HeadlessWindow::create("", {0, 0, kSide, kSide});
        frame_->setContentView(application->mv_renderView());
        frame_->show();
        button_ = MVMake<Button>();
        button_->setSize({kSide, kSide});
        application->window()->addSubview(button_);
        box_ = MVColorView::initWithColor({1, 0.2F, 0.1F, 1});
        box_->setSize({20, 12});
        button_->addSubview(box_);
        mask_ = MVColorView::initWithColor({1, 1, 1, 1});
        mask_->setSize({30, 30});
        masked_ = MVColorView::initWithColor({0, 0.8F, 0.4F, 0.6F});
        masked_->setSize({40, 40});
        masked_->setPosition({15, 15});
        masked_->setStencilView(mask_);
        button_->addSubview(masked_);
        picture_ = MVImageView::initWithImage(image_);
        picture_->setSize({16, 16});
        picture_->setPosition({40, 4});
        button_->addSubview(picture_);
    }

    /// Replaces two of the views by new ones, in the handler of a press.
    void press() {
        button_->pressed = [this] {
            box_->removeFromSuperview();
            box_ = MVColorView::initWithColor({1, 0.2F, 0.1F, 1});
            box_->setSize({20, 12});
            button_->insertSubviewAtIndex(box_, 0);
            picture_->removeFromSuperview();
            picture_ = MVImageView::initWithImage(image_);
            picture_->setSize({16, 16});
            picture_->setPosition({40, 4});
            button_->addSubview(picture_);
            pressedIn = MVRenderContext::activeContext();
        };
        HeadlessPointer pointer(application->mv_renderView());
        pointer.moveTo(5, 5);
        pointer.press();
        pointer.release();
        pointer.leave();
        button_->pressed = nullptr;
    }

    void moveTo(int phase) {
        const auto turn = static_cast<float>(phase);
        box_->setPosition({turn * 4, 30 - turn});
        box_->setRotation(turn * 0.2F);
        box_->setColor({1, turn / 10, 0.1F, 1});
        masked_->setOpacity(1 - turn / 15);
        mask_->setPosition({turn, turn * 2});
        picture_->setRotation(turn * 0.1F);
    }

    /// What one frame at a phase presents.
    Picture frameAt(int phase) {
        moveTo(phase);
        application->mv_runLoopFired(nullptr);
        Picture presented;
        const auto context = application->mv_renderView()->openGLContext();
        MVRenderContext::activeContext()->mv_dispatchBlockSync(
            [&] { presented = context->drawable().readLatestFrame(); });
        return presented;
    }

    std::shared_ptr<MVApplication> application;
    std::shared_ptr<MVRenderContext> pressedIn;

 private:
    std::shared_ptr<MVImage> image_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::shared_ptr<Button> button_;
    std::shared_ptr<MVColorView> box_;
    std::shared_ptr<MVColorView> mask_;
    std::shared_ptr<MVColorView> masked_;
    std::shared_ptr<MVImageView> picture_;
};

class MVApplicationSharingTest : public Mivora::tests::GLTest {
 protected:
    static constexpr int kPhases = 8;

    void SetUp() override {
        GLTest::SetUp();
        // Alone in the process, which is what all others are compared with.
        Animated alone(checkedImage());
        for (int phase = 0; phase < kPhases; ++phase) {
            expected_.push_back(alone.frameAt(phase));
        }
        EXPECT_NE(expected_[0].rgba, expected_[1].rgba);
        MVRenderContext::mv_setActiveContext(context_);
    }

    void TearDown() override {
        MainThread::runUntil([] { return false; }, 0);
        MVRenderContext::mv_setActiveContext(context_);
        GLTest::TearDown();
    }

    /// Eight applications with one image among them.
    std::vector<std::unique_ptr<Animated>> makeEight() {
        std::vector<std::unique_ptr<Animated>> all;
        std::shared_ptr<MVImage> image;
        for (int i = 0; i < 8; ++i) {
            if (!image) {
                image = checkedImage();
            }
            all.push_back(std::make_unique<Animated>(image));
        }
        return all;
    }

    void expectFrame(Animated& animated, int phase, const std::string& what) {
        const Picture picture = animated.frameAt(phase);
        EXPECT_EQ(picture.rgba, expected_[static_cast<std::size_t>(phase)].rgba)
            << what << ", phase " << phase;
    }

    std::vector<Picture> expected_;
    std::minstd_rand random_{7};
};

TEST_F(MVApplicationSharingTest, eightWithEqualContentsAndMotionAllShowEveryFrame) {
    const auto all = makeEight();
    for (int round = 0; round < 3; ++round) {
        for (int phase = 0; phase < kPhases; ++phase) {
            for (std::size_t i = 0; i < all.size(); ++i) {
                expectFrame(*all[i], phase, "application " + std::to_string(i));
            }
        }
    }
}

TEST_F(MVApplicationSharingTest, eightOutOfStepShowEveryFrameInAnyOrder) {
    const auto all = makeEight();
    for (int step = 0; step < 200; ++step) {
        const std::size_t i = random_() % all.size();
        expectFrame(*all[i], static_cast<int>(random_() % kPhases), "step " + std::to_string(step));
    }
}

TEST_F(MVApplicationSharingTest, viewsMadeInTheHandlersOfEachAreSeenInEach) {
    const auto all = makeEight();
    for (int step = 0; step < 60; ++step) {
        Animated& pressed = *all[random_() % all.size()];
        pressed.press();
        ASSERT_NE(pressed.pressedIn, nullptr);
        EXPECT_EQ(pressed.pressedIn->mv_context(),
                  pressed.application->mv_renderView()->openGLContext())
            << "events are handled with the resources of their application";
        expectFrame(*all[random_() % all.size()], static_cast<int>(random_() % kPhases), "other");
        expectFrame(pressed, static_cast<int>(random_() % kPhases), "pressed");
    }
}

TEST_F(MVApplicationSharingTest, viewsMadeWhileAnotherIsActiveAreSeenAllTheSame) {
    const auto all = makeEight();
    const auto& maker = all[3];
    maker->frameAt(0);
    for (const auto& each : all) {
        const auto box = MVColorView::initWithColor({0, 0, 1, 1});
        box->setSize({kSide, kSide});
        maker->frameAt(1);
        each->application->window()->addSubview(box);
        const Picture picture = each->frameAt(2);
        EXPECT_EQ(picture.pixel(30, 30)[2], 255);
        EXPECT_EQ(picture.pixel(30, 30)[0], 0);
        box->removeFromSuperview();
        expectFrame(*each, 2, "afterwards");
    }
}

TEST_F(MVApplicationSharingTest, whatOneLeavesSwitchedOnDoesNotReachTheOthers) {
    const auto all = makeEight();
    all[0]->frameAt(0);
    MVRenderContext::activeContext()->dispatchBlock([] {
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 1, 1);
        glEnable(GL_CULL_FACE);
        glCullFace(GL_FRONT_AND_BACK);
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
    });
    for (std::size_t i = 1; i < all.size(); ++i) {
        expectFrame(*all[i], 3, "application " + std::to_string(i));
    }
    all[0]->frameAt(0);
    bool isKept = false;
    MVRenderContext::activeContext()->mv_dispatchBlockSync(
        [&] { isKept = glIsEnabled(GL_SCISSOR_TEST) == GL_TRUE; });
    EXPECT_TRUE(isKept) << "its own state is its own affair";
}

TEST_F(MVApplicationSharingTest, theOthersGoOnWhenSomeEnd) {
    auto all = makeEight();
    while (!all.empty()) {
        all.erase(all.begin() + static_cast<std::ptrdiff_t>(random_() % all.size()));
        for (const auto& each : all) {
            expectFrame(*each, 5, std::to_string(all.size()) + " left");
        }
    }
}

}  // namespace
