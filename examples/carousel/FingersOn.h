#pragma once

#include <MivoraMac/MivoraMac.h>
#include <algorithm>
#include <cmath>
#include <memory>

/// What fingers are on; a mouse counts as one on the screen.
enum class Surface { Screen, Touchpad };

/// A recognizer that heeds the touches of fingers on one surface only, so that two fingers on a
/// card and a gesture on the touchpad, which is two fingers as well, can mean different things.
template <class Recognizer, Surface kSurface>
class FingersOn : public Recognizer {
 public:
    void touchesBegan(const MVTouchSet& touches) override {
        heed(touches, [this](const MVTouchSet& own) { Recognizer::touchesBegan(own); });
    }
    void touchesMoved(const MVTouchSet& touches) override {
        heed(touches, [this](const MVTouchSet& own) { Recognizer::touchesMoved(own); });
    }
    void touchesEnded(const MVTouchSet& touches) override {
        heed(touches, [this](const MVTouchSet& own) { Recognizer::touchesEnded(own); });
    }
    void touchesCancelled(const MVTouchSet& touches) override {
        heed(touches, [this](const MVTouchSet& own) { Recognizer::touchesCancelled(own); });
    }

 private:
    template <class Hook>
    static void heed(const MVTouchSet& touches, const Hook& hook) {
        MVTouchSet own;
        for (const std::shared_ptr<MVTouch>& touch : touches) {
            const auto finger = std::dynamic_pointer_cast<MVFingerTouch>(touch);
            const bool isOnTouchpad = finger && finger->isOnTouchpad();
            if (isOnTouchpad == (kSurface == Surface::Touchpad)) {
                own.insert(touch);
            }
        }
        if (own.size() > 0) {
            hook(own);
        }
    }
};

/// Keeps the scale of a pinch within bounds. Fingers that were in one place have none: it is 1
/// again.
inline void boundScale(MVPinchGestureRecognizer& pinch, float least, float largest) {
    pinch.setScale(std::isnan(pinch.scale()) ? 1 : std::clamp(pinch.scale(), least, largest));
}
