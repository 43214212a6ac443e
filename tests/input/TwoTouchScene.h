#pragma once

#include <memory>
#include <vector>

#include "tests/input/GestureScene.h"

/// A recognizer of two touches on a view, the points of whose plane are those of the view, fed
/// through the dispatch of touches.
template <class Recognizer>
struct TwoTouchScene : GestureScene {
    using Touch = std::shared_ptr<ScriptedTouch>;

    std::shared_ptr<InputView> view = InputView::make("view", nullptr);
    std::shared_ptr<Recognizer> recognizer = Recognizer::init();
    std::shared_ptr<ScriptedTarget> ann = target(recognizer, "ann");

    TwoTouchScene() {
        view->setContentScaleFactor(1);
        view->addGestureRecognizer(recognizer);
        ann->onTold = [this](const auto&) { ann->lastRecognizer = nullptr; };
    }

    Touch touchAt(float x, float y) const {
        const Touch touch = ScriptedTouch::over(view);
        touch->putAt(x, y);
        return touch;
    }
    Touch begin(float x, float y) const {
        const Touch touch = touchAt(x, y);
        begin({touch});
        return touch;
    }
    void begin(const MVTouchSet& touches) const {
        for (const auto& touch : touches) {
            MVBuildGestureRecognizerRelationshipsForTouch(touch);
        }
        MVDispatchSelectorToTouches(touches, MVTouchPhase::Began);
    }
    void move(const Touch& touch, float x, float y) const {
        touch->moveTo(x, y);
        MVDispatchSelectorToTouches({touch}, MVTouchPhase::Moved);
    }
    void end(const MVTouchSet& touches) const { finish(touches, MVTouchPhase::Ended); }
    void cancel(const MVTouchSet& touches) const { finish(touches, MVTouchPhase::Cancelled); }

 private:
    void finish(const MVTouchSet& touches, MVTouchPhase phase) const {
        MVDispatchSelectorToTouches(touches, phase);
        MVFinishTouches(touches);
    }
};
