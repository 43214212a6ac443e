#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"
#include "docs/pictures/scenes.h"

namespace {

constexpr float kQuarterTurn = std::numbers::pi_v<float> / 2;
constexpr float kBlock = 130;  ///< from the middle of one house to that of the next

constexpr int kBlocks = 10;  ///< along each side of the town
constexpr float kTownRadius = kBlock * kBlocks / 2.0F;

/// A random number; the same ones for every drawing.
float between(float low, float high) {
    static std::mt19937 generator(11);
    return low + (high - low) * static_cast<float>(generator() % 1000) / 999;
}

/// From a point of the window's content to the eye, in the window's content space. The window's
/// plane fills the field of view, which says how far in front of its middle the eye is.
Mivora::Point3 toEye(const MVWindow& window, Mivora::Point3 point) {
    const auto size = window.size();
    const float distance = size.height / 2 / std::tan(window.fieldOfView() / 2);
    return Mivora::Point3{size.width / 2, size.height / 2, distance} - point;
}

float dot(Mivora::Point3 a, Mivora::Point3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Whether the eye lies on the side of a view's plane that the view's z points to.
bool facesEye(MVView& view, const std::shared_ptr<MVWindow>& window) {
    const auto size = view.size();
    const auto middle = view.convertPoint3FToView({size.width / 2, size.height / 2, 0}, window);
    const auto normal = view.convertVector3FToView({0, 0, 1}, window);
    return dot(normal, toEye(*window, middle)) > 0;
}

/// Puts lit and dark windows in a wall, whose y runs upwards.
void addPanes(MVView& wall, Mivora::ColorRGBA dark) {
    constexpr float kPitch = 17;
    const auto size = wall.size();
    const int columns = static_cast<int>((size.width - 6) / kPitch);
    const int rows = static_cast<int>((size.height - 12) / kPitch);
    const float margin = (size.width - kPitch * static_cast<float>(columns)) / 2;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const float hue = between(0.09F, 0.14F);
            const bool lit = between(0, 1) < 0.45F;
            auto pane = makeFill(lit ? hsb(hue, between(0.35F, 0.7F), 1) : dark, {10, 11});
            pane->setPosition({margin + 3.5F + kPitch * static_cast<float>(column),
                               8 + kPitch * static_cast<float>(row)});
            wall.addSubview(pane);
        }
    }
}

/// A house of five rectangles, standing on the plane z = 0 of what it is added to.
std::shared_ptr<MVView> makeHouse(Mivora::Size3 size, float hue) {
    auto house = MVView::init();
    house->setSize3(size);
    house->setAnchorPoint({0.5F, 0.5F});

    // The walls run around the house, each a quarter turn further: the first rotation stands a
    // wall up, with its y pointing to the sky and its z away from the house, the second turns it.
    const std::array<Mivora::Point3, 4> corners = {
        {{0, 0, 0}, {size.width, 0, 0}, {size.width, size.height, 0}, {0, size.height, 0}}};
    const std::array<float, 4> brightness = {0.3F, 0.34F, 0.5F, 0.72F};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const auto color = hsb(hue, 0.45F, brightness[i]);
        const float width = i % 2 == 0 ? size.width : size.height;
        auto wall = makeFill(color, {width, size.depth});
        wall->setPosition3(corners[i]);
        wall->setRotation3({kQuarterTurn, kQuarterTurn * static_cast<float>(i), 0});
        addPanes(*wall, mix(color, hsb(0.7F, 0.6F, 0.1F), 0.6F));
        house->addSubview(wall);
    }

    auto roof = makeFill(hsb(hue, 0.4F, 0.62F), {size.width, size.height});
    roof->setPosition3({0, 0, size.depth});
    auto terrace = makeFill(hsb(hue, 0.4F, 0.5F), {size.width - 12, size.height - 12});
    terrace->setPosition({6, 6});
    roof->addSubview(terrace);
    house->addSubview(roof);
    return house;
}

}  // namespace

void buildTown(const std::shared_ptr<MVWindow>& window) {
    window->setNearDistance(450);
    window->setFarDistance(3000);
    addBackdrop(*window, hsb(0.68F, 0.65F, 0.25F), hsb(0.04F, 0.55F, 0.95F));

    auto sun = MVView::init();
    for (int i = 0; i < 4; ++i) {
        auto square = makeFill(hsb(0.12F, 0.35F, 1, 0.5F), {90, 90});
        square->setAnchorPoint({0.5F, 0.5F});
        square->setRotation(kQuarterTurn / 4 * static_cast<float>(i));
        sun->addSubview(square);
    }
    sun->setPosition({700, 130});
    window->addSubview(sun);

    // The ground: tilted away from the eye, and turned on itself. Its z points up.
    auto ground = MVView::init();
    ground->setPosition3({480, 390, -420});
    ground->setRotation3({1.25F, 0, 0.55F});
    window->addSubview(ground);
    auto asphalt = makeFill(hsb(0.72F, 0.3F, 0.2F), {2 * kTownRadius, 2 * kTownRadius});
    asphalt->setAnchorPoint({0.5F, 0.5F});
    ground->addSubview(asphalt);

    struct Site {
        float x;
        float y;
        float squaredDistance;
    };
    std::vector<Site> sites;
    for (int row = 0; row < kBlocks; ++row) {
        for (int column = 0; column < kBlocks; ++column) {
            const float x = (static_cast<float>(column) + 0.5F) * kBlock - kTownRadius;
            const float y = (static_cast<float>(row) + 0.5F) * kBlock - kTownRadius;
            const auto away = toEye(*window, ground->convertPoint3FToView({x, y, 0}, window));
            sites.push_back({x, y, dot(away, away)});
        }
    }
    // Nothing sorts views by depth but whoever adds them: the farthest come first.
    std::sort(sites.begin(), sites.end(),
              [](Site a, Site b) { return a.squaredDistance > b.squaredDistance; });

    for (const Site site : sites) {
        auto lawn = makeFill(hsb(between(0.3F, 0.4F), 0.3F, 0.25F), {104, 104});
        lawn->setAnchorPoint({0.5F, 0.5F});
        lawn->setPosition({site.x, site.y});
        ground->addSubview(lawn);
    }
    for (const Site site : sites) {
        const float fromMiddle = std::hypot(site.x, site.y) / kTownRadius;
        const float tall = 40 + 190 * std::exp(-3 * fromMiddle * fromMiddle) * between(0.5F, 1.3F);
        const Mivora::Size3 size{between(60, 90), between(60, 90), tall};
        auto house = makeHouse(size, between(0.55F, 1.05F));
        house->setPosition({site.x, site.y});
        ground->addSubview(house);
        for (const auto& face : *house->subviews()) {
            face->setHidden(!facesEye(*face, window));
        }
    }
}
