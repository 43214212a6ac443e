#include <cmath>
#include <memory>

#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"
#include "docs/pictures/scenes.h"

namespace {

constexpr int kColumns = 44;
constexpr int kRows = 28;
constexpr float kPitch = 26;

constexpr Mivora::ColorRGBA kTrough{0.16F, 0.12F, 0.48F, 1};
constexpr Mivora::ColorRGBA kSlope{0.86F, 0.22F, 0.52F, 1};
constexpr Mivora::ColorRGBA kCrest{1.0F, 0.8F, 0.4F, 1};
constexpr Mivora::ColorRGBA kShadow{0.03F, 0.02F, 0.15F, 1};

/// The height of the wave above its plane, from -1 to 1.
float heightAt(float x, float y) {
    return 0.6F * std::sin(x * 0.011F + y * 0.006F) + 0.4F * std::sin(y * 0.017F - x * 0.004F);
}

}  // namespace

void buildWave(const std::shared_ptr<MVWindow>& window) {
    constexpr float kAmplitude = 90;
    window->setNearDistance(450);
    window->setFarDistance(2000);
    addBackdrop(*window, hsb(0.62F, 0.9F, 0.08F), hsb(0.58F, 0.7F, 0.28F));

    // The wave's content lies around the middle of its plane, which is tilted away from the eye.
    auto wave = MVView::init();
    wave->setPosition3({480, 305, -330});
    wave->setRotation3({1.05F, 0, -0.12F});
    window->addSubview(wave);

    // From the back to the front: rows are added in the order in which they are to be drawn.
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const float x = (static_cast<float>(column) - kColumns / 2.0F) * kPitch;
            const float y = (static_cast<float>(row) - kRows / 2.0F) * kPitch;
            const float height = heightAt(x, y);
            // How steep the wave is along x and along y.
            const float slopeX = kAmplitude * (heightAt(x + 0.5F, y) - heightAt(x - 0.5F, y));
            const float slopeY = kAmplitude * (heightAt(x, y + 0.5F) - heightAt(x, y - 0.5F));

            const float share = height * 0.5F + 0.5F + 0.0003F * x;
            const float light = 0.85F + 0.3F * slopeX - 0.3F * slopeY;
            const auto color =
                share < 0.5F ? mix(kTrough, kSlope, share * 2) : mix(kSlope, kCrest, share * 2 - 1);
            auto square = makeFill(mix(kShadow, color, light), {22, 22});
            square->setAnchorPoint({0.5F, 0.5F});
            square->setPosition3({x, y, kAmplitude * height});
            // A turn about x lifts the far side of y, one about y lowers the far side of x.
            square->setRotation3({std::atan(slopeY), -std::atan(slopeX), 0});
            wave->addSubview(square);
        }
    }
}
