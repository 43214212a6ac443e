#pragma once

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/input/MVFingerDispatcher.h"
#include "MivoraMac/platform/headless/HeadlessFingers.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "tests/input/GestureScene.h"
#include "tests/platform/base/ScopedEnvironment.h"

/// A view that logs its touches alone.
class TouchView : public InputView {
 public:
    static std::shared_ptr<TouchView> add(const std::shared_ptr<MVView>& superview,
                                          const std::string& name, CallLog* log,
                                          Mivora::Point2 position, Mivora::Size2 size) {
        auto view = MVMake<TouchView>(name, log);
        view->setDebugName(name);
        view->setPosition(position);
        view->setSize(size);
        superview->addSubview(view);
        return view;
    }

    void mouseBegan(const std::shared_ptr<MVMouse>&) override {}
    void mouseMoved(const std::shared_ptr<MVMouse>&) override {}
    void mouseEnded(const std::shared_ptr<MVMouse>&) override {}
    void scrollBegan(const std::shared_ptr<MVScroll>&) override {}
    void scrollCancelled(const std::shared_ptr<MVScroll>&) override {}

 protected:
    friend struct ::MVMaker;
    using InputView::InputView;
};

/// A window of 400 x 300 points in one of the headless host, with fingers and a pointer. Places are
/// given in the window's content space, y down.
class FingerScene : public InputScene {
 private:
    Mivora::tests::ScopedEnvironment host_{"MIVORA_HOST", "headless"};
    Mivora::tests::ScopedEnvironment scale_{"MIVORA_SCALE", "1"};

 public:
    struct Finger {
        std::uint64_t number;
        float x;
        float y;
    };

    FingerScene() {
        frame->setContentView(renderView);
        frame->show();
    }

    CallLog log;
    std::shared_ptr<MVApplicationRenderView> renderView =
        MVApplicationRenderView::initWithApplicationAndWindow(nullptr, window);
    std::shared_ptr<Mivora::platform::HeadlessWindow> frame =
        Mivora::platform::HeadlessWindow::create("", {0, 0, 400, 300});
    Mivora::platform::HeadlessFingers fingers{renderView};
    Mivora::platform::HeadlessPointer pointer{renderView};

    void land(const std::vector<Finger>& which) { fingers.land(placed(which)); }
    void move(const std::vector<Finger>& which) { fingers.move(placed(which)); }
    void lift(const std::vector<std::uint64_t>& which) { fingers.lift(which); }
    void pointAt(float x, float y) {
        pointer.moveTo(static_cast<double>(x), 300.0 - static_cast<double>(y));
    }

    /// A target that logs what a recognizer tells it.
    std::shared_ptr<ScriptedTarget> target(const std::shared_ptr<MVGestureRecognizer>& recognizer,
                                           const std::string& name) {
        auto made = ScriptedTarget::make(name, &log);
        made->onTold = [target = made.get()](const auto&) { target->lastRecognizer = nullptr; };
        recognizer->addTargetAction(made, &ScriptedTarget::told);
        targets_.push_back(made);
        return made;
    }

    /// A recognizer on a view with a target of its name.
    template <class Recognizer>
    std::shared_ptr<Recognizer> attach(const std::shared_ptr<MVView>& view,
                                       const std::string& name) {
        auto recognizer = Recognizer::init();
        target(recognizer, name);
        view->addGestureRecognizer(recognizer);
        return recognizer;
    }

    /// The log so far, which is empty after this.
    CallLog takeLog() { return std::exchange(log, {}); }

 private:
    static std::vector<Mivora::platform::HeadlessFingers::Finger> placed(
        const std::vector<Finger>& which) {
        std::vector<Mivora::platform::HeadlessFingers::Finger> all;
        for (const Finger& finger : which) {
            all.push_back({finger.number,
                           {static_cast<double>(finger.x), 300.0 - static_cast<double>(finger.y)}});
        }
        return all;
    }

    std::vector<std::shared_ptr<ScriptedTarget>> targets_;
};
