#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFilterView.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"
#include "docs/pictures/scenes.h"
#include "examples/filter/SoftenFilter.h"

namespace {

/// Cards that stand on a circle around a vertical axis, seen from a little above, at one moment of
/// their turning.
void addWheel(MVView& holder, Mivora::Size2 size) {
    auto ground = makeFill(hsb(0.62F, 0.5F, 0.18F), size);
    holder.addSubview(ground);
    constexpr int kCards = 10;
    constexpr float kTurn = 0.35F;
    const float radius = size.width * 0.3F;
    std::vector<std::pair<float, std::shared_ptr<MVView>>> cards;
    for (int i = 0; i < kCards; ++i) {
        const float share = static_cast<float>(i) / kCards;
        const float angle = kTurn + share * 2 * std::numbers::pi_v<float>;
        auto card = makeFill(hsb(share, 0.65F, 0.95F), {90, 130});
        auto mark = makeFill(hsb(share + 0.5F, 0.3F, 1), {30, 30});
        mark->setPosition({30, 20});
        card->addSubview(mark);
        card->setAnchorPoint({0.5F, 0.5F});
        const float z = std::cos(angle) * radius * 0.8F;
        card->setPosition3(
            {size.width / 2 + std::sin(angle) * radius, size.height / 2 + z * 0.35F, z});
        card->setRotation3({0, angle, 0});
        cards.emplace_back(z, card);
    }
    std::sort(cards.begin(), cards.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [z, card] : cards) {
        holder.addSubview(card);
    }
}

}  // namespace

void buildFilters(const std::shared_ptr<MVWindow>& window) {
    addBackdrop(*window, hsb(0.6F, 0.2F, 0.35F), hsb(0.6F, 0.3F, 0.15F));
    const auto photograph = MVImage::initWithContentsOfFile(MIVORA_PHOTOGRAPHS "/city.jpg");
    auto soften = MVMake<SoftenFilter>();
    soften->setWidth(6);
    const std::shared_ptr<MVFilter> filters[] = {
        nullptr,
        MVInvertFilter::init(),
        soften,
        MVBlurFilter::initWithBlurRadius(2),
        MVBlurFilter::initWithBlurRadius(8),
        MVCombinationFilter::initWithFilters(
            {MVBlurFilter::initWithBlurRadius(4), MVInvertFilter::init()}),
    };
    int i = 0;
    for (const auto& filter : filters) {
        auto view = MVImageView::initWithImage(photograph);
        view->setSize({280, 250});
        view->setPosition(
            {30 + static_cast<float>(i % 3) * 310, 30 + static_cast<float>(i / 3) * 290});
        view->setFilter(filter);
        window->addSubview(view);
        ++i;
    }
}

void buildFrosted(const std::shared_ptr<MVWindow>& window) {
    constexpr Mivora::Size2 kHalf{440, 540};
    addBackdrop(*window, hsb(0.6F, 0.2F, 0.35F), hsb(0.6F, 0.3F, 0.15F));
    const auto clear = MVView::init();
    clear->setSize(kHalf);
    clear->setPosition({30, 30});
    window->addSubview(clear);
    addWheel(*clear, kHalf);
    const auto frosted = MVFilterView::init();
    frosted->setFilter(MVBlurFilter::initWithBlurRadius(8));
    frosted->setSize(kHalf);
    frosted->setPosition({490, 30});
    window->addSubview(frosted);
    addWheel(*frosted, kHalf);
}
