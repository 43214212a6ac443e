#pragma once

#include <memory>
#include <random>
#include <vector>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"

namespace Mivora::tests {

/// What of GL's state drawings of views have to do with. For GL work.
std::vector<double> currentState();

/// Notes the state that it meets, changes some of it and clears a small rectangle.
class MeddlingView : public MVView {
 public:
    explicit MeddlingView(unsigned seed) : seed_(seed) {}

    std::vector<std::vector<double>> states;  // the GL queue's

    void draw() override;

 private:
    unsigned seed_;
};

/// A window that is filled at random; the same for the same seed.
class MeddledWindow {
 public:
    static constexpr float kExtent = 160;

    const std::shared_ptr<MVWindow>& shared() const { return window_; }

    /// What the views that meddle have noted since the last call.
    std::vector<std::vector<double>> takeStates();

 protected:
    MeddledWindow(unsigned seed, std::shared_ptr<MVWindow> window);

    bool chance(float probability) { return between(0, 1) < probability; }
    float between(float low, float high) {
        return low + (high - low) * static_cast<float>(generator_() >> 8U) /
                         static_cast<float>(1U << 24U);
    }
    void makeImages(int count);
    std::shared_ptr<MVView> meddler();
    std::shared_ptr<MVView> picture();
    std::shared_ptr<MVView> color();
    std::shared_ptr<MVView> quad() { return chance(0.5F) ? picture() : color(); }

    std::mt19937 generator_;
    const std::shared_ptr<MVWindow> window_;
    std::vector<std::shared_ptr<MVImage>> images_;

 private:
    std::shared_ptr<MVImage> image();

    std::vector<std::shared_ptr<MeddlingView>> meddlers_;
};

/// Windows with everything in them that views draw.
class RandomWindow : public MeddledWindow {
 public:
    /// @param meddlers  whether there are views that change GL's state
    explicit RandomWindow(unsigned seed, std::shared_ptr<MVWindow> window = MVWindow::init(),
                          bool meddlers = true);

    /// Changes one thing about one of the views.
    void change();

 private:
    void place(MVView& view);

    std::vector<std::shared_ptr<MVView>> views_;
};

/// Windows with many small pictures, which are drawn together.
class PictureWindow : public MeddledWindow {
 public:
    explicit PictureWindow(unsigned seed);
};

/// Windows of the usual kind: nearly all views are upright, with their edges between pixels.
class UprightWindow : public MeddledWindow {
 public:
    static constexpr float kExtent = 384;

    UprightWindow(unsigned seed, std::shared_ptr<MVWindow> window);

    /// Changes one thing about one of the views.
    void change();

 private:
    float whole(float low, float high);
    void place(MVView& view);

    std::vector<std::shared_ptr<MVView>> views_;
};

}  // namespace Mivora::tests
