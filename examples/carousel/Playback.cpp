#include "Playback.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include <MivoraMac/platform/headless/HeadlessFingers.h>
#include <MivoraMac/platform/headless/HeadlessKeyboard.h>
#include <MivoraMac/platform/headless/HeadlessPointer.h>

using Mivora::platform::Clock;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessKeyboard;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::KeySymbol;
using Mivora::platform::MainThread;
using Mivora::platform::OpenGLView;
using Mivora::platform::Picture;
using Mivora::platform::Point;

namespace {

constexpr int kFrames = 108;
constexpr int kTicksPerFrame = 3;
constexpr double kStep = 1.0 / 60.0;

/// The contact sheet: rows of small pictures.
constexpr int kColumns = 9;
constexpr int kShrink = 6;

/// What plays with the view. Places are shares of its width and height, from the top left corner.
struct Hands {
    explicit Hands(const std::shared_ptr<OpenGLView>& view)
        : pointer(view),
          fingers(view),
          keyboard(view),
          size{view->bounds().width, view->bounds().height} {}

    Point at(double x, double y) const { return {x * size.x, (1 - y) * size.y}; }
    void pointTo(double x, double y) { pointer.moveTo(at(x, y).x, at(x, y).y); }

    HeadlessPointer pointer;
    HeadlessFingers fingers;
    HeadlessKeyboard keyboard;
    Point size;
};

/// What happens before a tick.
struct Step {
    int tick;
    std::function<void(Hands&)> act;
};

/// Hovers over cards, drags the ring and lets it glide, turns a card over and back, scrolls; scales
/// and turns a card with two fingers, and zooms the ring with two on a touchpad; comes to the card
/// in front by the Tab key, turns the ring by two cards with an arrow key, and the card then in
/// front over.
std::vector<Step> script() {
    std::vector<Step> steps;
    const auto at = [&](int tick, auto act) { steps.push_back({tick, act}); };
    // Nothing happens at first; then the pointer wanders to the middle.
    for (int i = 0; i <= 24; ++i) {
        const double share = i / 24.0;
        at(6 + i, [share](Hands& hands) { hands.pointTo(0.2 + 0.3 * share, 0.3 + 0.05 * share); });
    }
    // It presses the card in the middle, which turns over.
    at(34, [](Hands& hands) { hands.pointer.press(); });
    at(37, [](Hands& hands) { hands.pointer.release(); });
    // It drags the ring to the left and lets go in full swing.
    at(80, [](Hands& hands) { hands.pointTo(0.62, 0.7); });
    at(84, [](Hands& hands) { hands.pointer.press(); });
    for (int i = 1; i <= 12; ++i) {
        at(84 + i, [i](Hands& hands) { hands.pointTo(0.62 - 0.0016 * i * i, 0.7); });
    }
    at(97, [](Hands& hands) { hands.pointer.release(); });
    // It clicks the wheel the other way.
    for (int i = 0; i < 4; ++i) {
        at(160 + 6 * i, [](Hands& hands) { hands.pointer.scrollLines(0, 3); });
    }
    at(205, [](Hands& hands) { hands.pointer.leave(); });
    // Two fingers stop the ring, make a card larger, and turn it.
    static constexpr Point kCard = {0.5, 0.35};
    const auto span = [](Hands& hands, double angle, double radius) {
        const Point middle = hands.at(kCard.x, kCard.y);
        const Point arm = {radius * hands.size.y * std::cos(angle),
                           radius * hands.size.y * std::sin(angle)};
        return std::vector<HeadlessFingers::Finger>{{1, {middle.x - arm.x, middle.y - arm.y}},
                                                    {2, {middle.x + arm.x, middle.y + arm.y}}};
    };
    at(210, [span](Hands& hands) { hands.fingers.land(span(hands, 0, 0.05)); });
    for (int i = 1; i <= 24; ++i) {
        at(210 + i, [span, i](Hands& hands) {
            hands.fingers.move(span(hands, -0.02 * i, 0.05 + 0.0018 * i));
        });
    }
    at(238, [](Hands& hands) { hands.fingers.lift({1, 2}); });
    // Two fingers on the touchpad bring the ring nearer.
    at(246, [](Hands& hands) { hands.pointTo(0.5, 0.6); });
    at(247, [](Hands& hands) { hands.pointer.beginPinch(); });
    for (int i = 1; i <= 30; ++i) {
        at(247 + i, [i](Hands& hands) { hands.pointer.pinch(1 + i / 50.0); });
    }
    at(282, [](Hands& hands) { hands.pointer.endPinch(); });
    // The keyboard does the same.
    at(298, [](Hands& hands) { hands.keyboard.strike(KeySymbol::Tab); });
    at(300, [](Hands& hands) { hands.keyboard.strike(KeySymbol::Right); });
    at(304, [](Hands& hands) { hands.keyboard.strike(KeySymbol::Right); });
    at(309, [](Hands& hands) { hands.keyboard.strike(KeySymbol::Return); });
    return steps;
}

/// Copies a picture, made smaller, into a larger one.
void copyShrunk(const Picture& from, Picture& to, int left, int top) {
    for (int y = 0; y < from.size.height / kShrink; ++y) {
        for (int x = 0; x < from.size.width / kShrink; ++x) {
            std::array<int, 4> sum{};
            for (int row = 0; row < kShrink; ++row) {
                for (int column = 0; column < kShrink; ++column) {
                    const std::size_t at =
                        (static_cast<std::size_t>(y * kShrink + row) * from.size.width +
                         static_cast<std::size_t>(x * kShrink + column)) *
                        4;
                    for (std::size_t i = 0; i < 4; ++i) {
                        sum[i] += from.rgba[at + i];
                    }
                }
            }
            const std::size_t at = (static_cast<std::size_t>(top + y) * to.size.width +
                                    static_cast<std::size_t>(left + x)) *
                                   4;
            for (std::size_t i = 0; i < 4; ++i) {
                to.rgba[at + i] = static_cast<std::uint8_t>(sum[i] / (kShrink * kShrink));
            }
        }
    }
}

/// Nanoseconds that have been played.
std::uint64_t playedTicks = 1'000'000'000;

bool write(const Picture& picture, const std::filesystem::path& path) {
    if (picture.writePNG(path.string())) {
        return true;
    }
    std::fprintf(stderr, "carousel: cannot write %s\n", path.c_str());
    return false;
}

}  // namespace

bool playBack(const std::shared_ptr<MVApplication>& application, const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const auto bounds = application->renderView()->bounds();
    const int small = static_cast<int>(bounds.width) / kShrink;
    const int smallHeight = static_cast<int>(bounds.height) / kShrink;
    Picture sheet;
    sheet.size = {small * kColumns, smallHeight * ((kFrames + kColumns - 1) / kColumns)};
    sheet.rgba.assign(static_cast<std::size_t>(sheet.size.width) * sheet.size.height * 4, 255);

    // The pointer's speed is measured on the clock, which goes as fast as the frames are seen.
    Clock::setSource([] { return playedTicks; }, {1, 1});
    Hands hands(application->renderView());
    const std::vector<Step> steps = script();
    for (int frame = 0; frame < kFrames; ++frame) {
        for (int tick = frame * kTicksPerFrame; tick < (frame + 1) * kTicksPerFrame; ++tick) {
            for (const Step& step : steps) {
                if (step.tick == tick) {
                    step.act(hands);
                }
            }
            // What an active application does sixty times a second, one by one.
            MainThread::runUntil([] { return false; }, 0);
            application->animationClock()->tickVideoSync(kStep, 0);
            playedTicks += static_cast<std::uint64_t>(kStep * 1e9);
        }
        MVCaptureOptions options;
        options.scale = 1;
        options.alpha = MVCaptureAlpha::Opaque;
        const Picture picture = MVCaptureWindow(application->window(), options);
        std::array<char, 32> name{};
        std::snprintf(name.data(), name.size(), "frame-%02d.png", frame);
        if (picture.isEmpty() || !write(picture, std::filesystem::path(folder) / name.data())) {
            return false;
        }
        copyShrunk(picture, sheet, frame % kColumns * small, frame / kColumns * smallHeight);
    }
    return write(sheet, std::filesystem::path(folder) / "contact-sheet.png");
}
