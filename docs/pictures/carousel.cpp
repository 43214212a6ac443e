#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>
#include <vector>

#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"
#include "docs/pictures/scenes.h"

namespace {

constexpr float kTurn = 2 * std::numbers::pi_v<float>;
constexpr int kCards = 10;
constexpr float kRadius = 460;
constexpr Mivora::Size2 kCardSize{184, 250};

/// Where the first card stands around the axis, in radians; 0 is the front.
constexpr float kSpin = 0.07F;

/// How far the axis lies behind the window's plane, in points.
constexpr float kAxisDepth = 360;

/// How far the floor lies below the middle of the cards, in points.
constexpr float kFloor = 137;

/// Adds a bar to a card. A position with a z above 0 lifts it off.
void addBar(MVView& card, Mivora::ColorRGBA color, Mivora::Point3 position, Mivora::Size2 size) {
    auto bar = makeFill(color, size);
    bar->setPosition3(position);
    card.addSubview(bar);
}

/// A card from its front.
std::shared_ptr<MVView> makeCard(float hue) {
    auto card = makeFill(hsb(hue, 0.3F, 1, 0.88F), kCardSize);

    // A picture: sky, hills, and a sun that floats before them.
    const auto sky = makeFill(hsb(hue, 0.75F, 0.75F), {160, 118});
    sky->setPosition({12, 12});
    // The hills reach beyond the picture; a stencil cuts them off.
    auto frame = makeFill(Mivora::ColorRGBA::kWhite, {160, 118});
    sky->setStencilView(frame);
    for (int i = 0; i < 3; ++i) {
        auto hill =
            makeFill(hsb(hue + 0.04F, 0.8F, 0.6F - 0.13F * static_cast<float>(i)), {110, 110});
        hill->setAnchorPoint({0.5F, 0.5F});
        hill->setPosition({24 + 60 * static_cast<float>(i), 148 - 8 * static_cast<float>(i % 2)});
        hill->setRotation(kTurn / 8);
        sky->addSubview(hill);
    }
    card->addSubview(sky);
    addBar(*card, hsb(hue + 0.12F, 0.35F, 1), {122, 28, 6}, {30, 30});

    // Lines of text, as far as a rectangle can be one, and a button.
    addBar(*card, hsb(hue, 0.8F, 0.35F), {12, 146, 0}, {104, 12});
    addBar(*card, hsb(hue, 0.4F, 0.55F), {12, 168, 0}, {160, 6});
    addBar(*card, hsb(hue, 0.4F, 0.55F), {12, 181, 0}, {146, 6});
    addBar(*card, hsb(hue, 0.4F, 0.55F), {12, 194, 0}, {154, 6});
    addBar(*card, hsb(hue + 0.5F, 0.65F, 0.85F), {106, 216, 6}, {66, 22});
    return card;
}

/// A card from its back.
std::shared_ptr<MVView> makeCardBack(float hue) {
    auto card = makeFill(hsb(hue, 0.55F, 0.75F), kCardSize);
    addBar(*card, hsb(hue, 0.6F, 0.55F), {14, 14, 0}, {156, 222});
    addBar(*card, hsb(hue, 0.5F, 0.8F), {77, 110, 0}, {30, 30});
    return card;
}

/// A ring of cards, from the back to the front: nothing sorts views by depth but whoever adds them.
/// @param eyeDistance  from the eye to the window's plane
std::shared_ptr<MVView> makeRing(float eyeDistance) {
    std::vector<int> order(kCards);
    for (int i = 0; i < kCards; ++i) {
        order[static_cast<std::size_t>(i)] = i;
    }
    const auto angle = [](int i) { return kSpin + kTurn * static_cast<float>(i) / kCards; };
    std::sort(order.begin(), order.end(),
              [&](int a, int b) { return std::cos(angle(a)) < std::cos(angle(b)); });

    auto ring = MVView::init();
    for (const int i : order) {
        const float hue = 0.52F + static_cast<float>(i) / kCards;
        const float z = std::cos(angle(i));
        // The front of a card is seen where the eye lies in front of its plane.
        const bool facesEye = (eyeDistance + kAxisDepth) * z > kRadius;
        auto card = facesEye ? makeCard(hue) : makeCardBack(hue);
        card->setAnchorPoint({0.5F, 0.5F});
        card->setPosition3({kRadius * std::sin(angle(i)), 0, kRadius * z});
        card->setRotation3({0, angle(i), 0});
        card->setOpacity(0.8F + 0.2F * z);
        ring->addSubview(card);
    }
    return ring;
}

/// Gives a view and everything in it a coordinate system.
void setCoordinateSystem(MVView& view, int system) {
    view.setCoordinateSystem(system);
    if (const auto stencil = view.stencilView()) {
        setCoordinateSystem(*stencil, system);
    }
    for (const auto& subview : *view.subviews()) {
        setCoordinateSystem(*subview, system);
    }
}

}  // namespace

void buildCarousel(const std::shared_ptr<MVWindow>& window) {
    window->setNearDistance(400);
    window->setFarDistance(4000);
    addBackdrop(*window, hsb(0.66F, 0.75F, 0.12F), hsb(0.75F, 0.5F, 0.38F));

    // The camera stands where the window's height fills its field of view.
    const float eyeDistance = kSceneSize.height / 2 / std::tan(window->fieldOfView() / 2);

    auto stage = MVView::init();
    stage->setPosition3({kSceneSize.width / 2, 232, -kAxisDepth});
    stage->setRotation3({-0.2F, 0, 0});
    window->addSubview(stage);

    // A view in another coordinate system than its superview has y run the other way across its
    // height: with a height of twice the floor's depth, the floor is what stays in place.
    auto mirror = makeRing(eyeDistance);
    mirror->setSize({0, 2 * kFloor});
    setCoordinateSystem(*mirror, 1);
    mirror->setOpacity(0.6F);
    stage->addSubview(mirror);

    auto floor = makeFill(hsb(0.72F, 0.7F, 0.2F, 0.62F), {6000, 6000});
    floor->setAnchorPoint({0.5F, 0.5F});
    floor->setPosition3({0, kFloor, 0});
    floor->setRotation3({kTurn / 4, 0, 0});
    stage->addSubview(floor);

    stage->addSubview(makeRing(eyeDistance));
}
