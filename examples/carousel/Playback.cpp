#include "Playback.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <vector>

#include <MivoraMac/platform/headless/HeadlessPointer.h>

using Mivora::platform::Clock;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;

namespace {

constexpr int kFrames = 72;
constexpr int kTicksPerFrame = 3;
constexpr double kStep = 1.0 / 60.0;

/// The contact sheet: rows of small pictures.
constexpr int kColumns = 9;
constexpr int kShrink = 6;

/// What the pointer does before a tick. Locations are shares of the view's width and height, from
/// the top left corner.
struct Step {
    int tick;
    std::function<void(HeadlessPointer&, const std::function<void(float, float)>& moveTo)> act;
};

/// Hovers over cards, drags the ring and lets it glide, turns a card over and back, scrolls.
std::vector<Step> script() {
    std::vector<Step> steps;
    const auto at = [&](int tick, auto act) { steps.push_back({tick, act}); };
    // Nothing happens at first; then the pointer wanders to the middle.
    for (int i = 0; i <= 24; ++i) {
        const float share = static_cast<float>(i) / 24;
        at(6 + i, [share](auto&, const auto& moveTo) {
            moveTo(0.2F + 0.3F * share, 0.3F + 0.05F * share);
        });
    }
    // It presses the card in the middle, which turns over.
    at(34, [](auto& pointer, const auto&) { pointer.press(); });
    at(37, [](auto& pointer, const auto&) { pointer.release(); });
    // It drags the ring to the left and lets go in full swing.
    at(80, [](auto&, const auto& moveTo) { moveTo(0.62F, 0.7F); });
    at(84, [](auto& pointer, const auto&) { pointer.press(); });
    for (int i = 1; i <= 12; ++i) {
        at(84 + i, [i](auto&, const auto& moveTo) {
            const auto step = static_cast<float>(i);
            moveTo(0.62F - 0.0016F * step * step, 0.7F);
        });
    }
    at(97, [](auto& pointer, const auto&) { pointer.release(); });
    // It clicks the wheel the other way.
    for (int i = 0; i < 4; ++i) {
        at(160 + 6 * i, [](auto& pointer, const auto&) { pointer.scrollLines(0, 3); });
    }
    at(205, [](auto& pointer, const auto&) { pointer.leave(); });
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
    HeadlessPointer pointer(application->renderView());
    const std::function<void(float, float)> moveTo = [&](float x, float y) {
        pointer.moveTo(x * bounds.width, (1 - y) * bounds.height);
    };
    const std::vector<Step> steps = script();
    for (int frame = 0; frame < kFrames; ++frame) {
        for (int tick = frame * kTicksPerFrame; tick < (frame + 1) * kTicksPerFrame; ++tick) {
            for (const Step& step : steps) {
                if (step.tick == tick) {
                    step.act(pointer, moveTo);
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
