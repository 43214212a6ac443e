// What filter views show, compared with the same views drawn without them.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFilterView.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/images/FilterTest.h"

using Mivora::Size2;
using Mivora::platform::Picture;
using Mivora::tests::Pixels;

namespace {

constexpr float kSide = 160;  // of the views that hold the others

// The same colours through a texture.
constexpr double kSameTolerance = 1.0;
// And blurred: see the tests of filters.
constexpr double kBlurTolerance = 2.0;

/// How the view that holds the others is placed in its window.
struct Placement {
    Mivora::Point2 position = {100, 100};
    float rotation = 0;
    float scale = 1;
    float opacity = 1;
};

class MVFilterViewPixelTest : public Mivora::tests::FilterTest {
 protected:
    void SetUp() override {
        FilterTest::SetUp();
        context_->setBatching(true);
    }

    /// Forty opaque views over an opaque ground: fills, images, and a third of them stencilled,
    /// rotated in their plane, at whole and at broken places.
    void fill(MVView& holder) {
        auto ground = MVColorView::initWithColor({0.15F, 0.25F, 0.35F, 1});
        ground->setSize({kSide, kSide});
        holder.addSubview(ground);
        Pixels picture(16, 16);
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) {
                picture.at(x, y, 0) = x * 16;
                picture.at(x, y, 1) = y * 16;
                picture.at(x, y, 2) = (x / 4 + y / 4) % 2 * 255;
                picture.at(x, y, 3) = 255;
            }
        }
        const auto image = imageOf(picture);
        for (int i = 0; i < 40; ++i) {
            const auto share = static_cast<float>(i) / 40;
            std::shared_ptr<MVView> view;
            if (i % 2 == 0) {
                view = MVColorView::initWithColor({share, 1 - share, 0.5F, 1});
            } else {
                view = MVImageView::initWithImage(image);
            }
            view->setSize({24, 18});
            view->setAnchorPoint({0.5F, 0.5F});
            view->setPosition(
                {static_cast<float>(14 + i % 8 * 19), static_cast<float>(16 + i / 8 * 32)});
            view->setRotation(i % 4 == 1 ? 0.4F : 0);
            if (i % 3 == 0) {
                auto stencil = MVColorView::initWithColor({1, 1, 1, 1});
                stencil->setSize({15, 18});
                stencil->setRotation(0.2F);
                stencil->setPosition({6, 0});
                view->setStencilView(stencil);
            }
            holder.addSubview(view);
        }
    }

    static void place(MVView& view, const Placement& placement) {
        view.setSize({kSide, kSide});
        view.setAnchorPoint({0.5F, 0.5F});
        view.setPosition(placement.position);
        view.setRotation(placement.rotation);
        view.setUniformScale(placement.scale);
        view.setOpacity(placement.opacity);
    }

    static std::shared_ptr<MVWindow> windowOf(Size2 size, float scale = 1) {
        auto window = MVWindow::init();
        window->setSize(size);
        window->setContentScaleFactor(scale);
        return window;
    }

    static Picture capture(const std::shared_ptr<MVWindow>& window) {
        MVCaptureOptions options;
        options.samples = 0;
        return MVCaptureWindow(window, options);
    }

    /// The window with the forty views in a view of some class.
    template <class Holder>
    Picture picture(const Placement& placement, const std::shared_ptr<MVFilter>& filter = nullptr,
                    Size2 size = {200, 200}, float scale = 1) {
        const auto window = windowOf(size, scale);
        const auto holder = Holder::init();
        window->addSubview(holder);
        fill(*holder);
        place(*holder, placement);
        if constexpr (std::is_same_v<Holder, MVFilterView>) {
            holder->setFilter(filter);
        }
        return capture(window);
    }

    static double worst(const Picture& first, const Picture& second) {
        EXPECT_EQ(first.rgba.size(), second.rgba.size());
        double result = 0;
        for (std::size_t i = 0; i < std::min(first.rgba.size(), second.rgba.size()); ++i) {
            result =
                std::max(result, std::abs(static_cast<double>(first.rgba[i]) - second.rgba[i]));
        }
        if (result > kBlurTolerance) {
            first.writePNG("filter-view.out.png");
            second.writePNG("filter-view.ref.png");
        }
        return result;
    }

    static double mean(const Picture& first, const Picture& second) {
        EXPECT_EQ(first.rgba.size(), second.rgba.size());
        double result = 0;
        for (std::size_t i = 0; i < first.rgba.size(); ++i) {
            result += std::abs(static_cast<double>(first.rgba[i]) - second.rgba[i]);
        }
        return result / static_cast<double>(first.rgba.size());
    }

    /// A part of a picture under a two-dimensional bell curve, what is beyond being like the edges.
    static Picture blurred(Picture picture, int left, int top, int extent, int radius) {
        const double variance = static_cast<double>(radius) * radius;
        int n = static_cast<int>(
            std::sqrt(-2 * variance * std::log(std::sqrt(2 * M_PI * variance) / 256)));
        n += n % 2;
        const Picture source = picture;
        for (int y = 0; y < extent; ++y) {
            for (int x = 0; x < extent; ++x) {
                double total = 0;
                double sum[4] = {};
                for (int v = -n; v <= n; ++v) {
                    for (int u = -n; u <= n; ++u) {
                        const double weight = std::exp(-(u * u + v * v) / (2 * variance));
                        const auto color = source.pixel(left + std::clamp(x + u, 0, extent - 1),
                                                        top + std::clamp(y + v, 0, extent - 1));
                        total += weight;
                        for (std::size_t channel = 0; channel < 4; ++channel) {
                            sum[channel] += weight * color[channel];
                        }
                    }
                }
                for (std::size_t channel = 0; channel < 4; ++channel) {
                    picture.rgba[(static_cast<std::size_t>(top + y) *
                                      static_cast<std::size_t>(picture.size.width) +
                                  static_cast<std::size_t>(left + x)) *
                                     4 +
                                 channel] =
                        static_cast<std::uint8_t>(std::lround(sum[channel] / total));
                }
            }
        }
        return picture;
    }
};

}  // namespace

TEST_F(MVFilterViewPixelTest, opaqueViewsLookTheSameInAFilterView) {
    for (const Placement& placement : {Placement{}, Placement{{85, 120}}, Placement{{100, 90}}}) {
        EXPECT_LE(worst(picture<MVFilterView>(placement), picture<MVView>(placement)),
                  kSameTolerance)
            << placement.position.x;
    }
    EXPECT_LE(worst(picture<MVFilterView>({}, nullptr, {200, 200}, 2),
                    picture<MVView>({}, nullptr, {200, 200}, 2)),
              kSameTolerance)
        << "two pixels a point";
    EXPECT_LE(worst(picture<MVFilterView>({{100, 150}}, nullptr, {200, 300}),
                    picture<MVView>({{100, 150}}, nullptr, {200, 300})),
              kSameTolerance)
        << "higher than wide";
}

TEST_F(MVFilterViewPixelTest, aViewPartlyOrWhollyBeyondTheWindowLooksTheSame) {
    for (const Mivora::Point2 position : {Mivora::Point2{10, 100}, Mivora::Point2{190, 190},
                                          Mivora::Point2{-30, 250}, Mivora::Point2{500, -300}}) {
        EXPECT_LE(worst(picture<MVFilterView>({position}), picture<MVView>({position})),
                  kSameTolerance)
            << position.x << ", " << position.y;
    }
    EXPECT_LE(worst(picture<MVFilterView>({{45, 45}}, nullptr, {90, 90}),
                    picture<MVView>({{45, 45}}, nullptr, {90, 90})),
              kSameTolerance)
        << "larger than the window";
}

TEST_F(MVFilterViewPixelTest, aWindowWiderThanHighShowsAllOfItWhereverItIs) {
    // More pixels than the view covers: edges are drawn in between.
    for (const Mivora::Point2 position :
         {Mivora::Point2{80, 100}, Mivora::Point2{320, 100}, Mivora::Point2{560, 100}}) {
        EXPECT_LE(mean(picture<MVFilterView>({position}, nullptr, {640, 200}),
                       picture<MVView>({position}, nullptr, {640, 200})),
                  1.5)
            << position.x;
    }
    const auto window = windowOf({1280, 800});
    const auto holder = MVFilterView::init();
    window->addSubview(holder);
    holder->setSize({1280, 800});
    const auto view = MVColorView::initWithColor({1, 0, 0, 1});
    view->setSize({1280, 800});
    holder->addSubview(view);
    const Picture all = capture(window);
    for (const auto& [x, y] : {std::pair{0, 0}, {1279, 0}, {0, 799}, {1279, 799}, {640, 400}}) {
        EXPECT_EQ(all.pixel(x, y)[0], 255) << x << ", " << y;
    }
}

TEST_F(MVFilterViewPixelTest, aBlurredViewIsTheBlurOfWhatItHolds) {
    for (const int radius : {1, 2, 4}) {
        const auto filter = MVBlurFilter::initWithBlurRadius(static_cast<float>(radius));
        EXPECT_LE(worst(picture<MVFilterView>({}, filter),
                        blurred(picture<MVView>({}), 20, 20, 160, radius)),
                  kBlurTolerance)
            << radius;
    }
}

TEST_F(MVFilterViewPixelTest, aBlurAtTheWindowsEdgeMixesInWhatIsBeyondIt) {
    const auto filter = MVBlurFilter::initWithBlurRadius(4);
    const Picture whole = picture<MVFilterView>({}, filter);
    const Picture partly = picture<MVFilterView>({{40, 100}}, filter);
    double difference = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 120; ++x) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                difference = std::max(
                    difference, std::abs(static_cast<double>(whole.pixel(x + 60, y)[channel]) -
                                         partly.pixel(x, y)[channel]));
            }
        }
    }
    EXPECT_LE(difference, kBlurTolerance);
}

TEST_F(MVFilterViewPixelTest, aTurnedAndScaledViewShowsItsPictureTurnedAndScaled) {
    // Exactly where pixels meet pixels.
    const float quarter = static_cast<float>(M_PI / 2);
    const Picture upright = picture<MVFilterView>({});
    const Picture turned = picture<MVFilterView>({{100, 100}, quarter});
    double difference = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 200; ++x) {
            for (std::size_t channel = 0; channel < 3; ++channel) {
                difference = std::max(difference,
                                      std::abs(static_cast<double>(upright.pixel(x, y)[channel]) -
                                               turned.pixel(199 - y, x)[channel]));
            }
        }
    }
    EXPECT_LE(difference, kSameTolerance);
    // Elsewhere its pixels are mixed, which shows at edges only.
    for (const Placement& placement :
         {Placement{{100, 100}, 0.5F, 1}, Placement{{100, 100}, 0, 1.5F},
          Placement{{110.3F, 95.7F}, -0.8F, 0.6F}}) {
        EXPECT_LE(mean(picture<MVFilterView>(placement), picture<MVView>(placement)), 5.0)
            << placement.rotation << ", " << placement.scale;
    }
}

TEST_F(MVFilterViewPixelTest, aMovingBlurredViewLooksTheSameInEveryPlace) {
    const auto window = windowOf({200, 200});
    const auto holder = MVFilterView::init();
    window->addSubview(holder);
    fill(*holder);
    holder->setFilter(MVBlurFilter::initWithBlurRadius(2));
    place(*holder, {});
    capture(window);
    const auto image = holder->image();
    for (int i = 0; i < 10; ++i) {
        const Placement placement{{90 + 2 * static_cast<float>(i), 110}};
        place(*holder, placement);
        EXPECT_LE(worst(capture(window), picture<MVFilterView>(placement, holder->filter())), 0);
        EXPECT_EQ(holder->image(), image);
    }
}

TEST_F(MVFilterViewPixelTest, filterViewsNest) {
    const auto window = windowOf({200, 200});
    std::shared_ptr<MVView> parent = window;
    std::vector<std::shared_ptr<MVFilterView>> views;
    for (int i = 0; i < 3; ++i) {
        auto view = MVFilterView::init();
        parent->addSubview(view);
        view->setSize({kSide, kSide});
        view->setPosition(i == 0 ? Mivora::Point2{20, 20} : Mivora::Point2{0, 0});
        views.push_back(view);
        parent = view;
    }
    fill(*parent);
    EXPECT_LE(worst(capture(window), picture<MVView>({})), kSameTolerance);
    views[0]->setFilter(MVInvertFilter::init());
    views[2]->setFilter(MVInvertFilter::init());
    EXPECT_LE(worst(capture(window), picture<MVView>({})), kSameTolerance) << "twice inverted";
    views[0]->setFilter(nullptr);
    views[2]->setFilter(nullptr);
    views[1]->setFilter(MVBlurFilter::initWithBlurRadius(2));
    EXPECT_LE(worst(capture(window), blurred(picture<MVView>({}), 20, 20, 160, 2)), kBlurTolerance);
    window->setSize({640, 200});
    EXPECT_GT(capture(window).pixel(100, 100)[0], 30) << "in the first frame as well";
}

TEST_F(MVFilterViewPixelTest, aStencilCutsAFilterViewAndOneInsideItCutsItsViews) {
    const auto cut = [this]<class Holder>(std::shared_ptr<Holder> holder) {
        const auto window = windowOf({200, 200});
        const auto frame = MVView::init();
        const auto stencil = MVColorView::initWithColor({1, 1, 1, 1});
        stencil->setSize({90, 70});
        stencil->setPosition({60, 50});
        stencil->setRotation(0.3F);
        frame->setStencilView(stencil);
        window->addSubview(frame);
        frame->addSubview(holder);
        fill(*holder);
        place(*holder, {});
        return capture(window);
    };
    EXPECT_LE(worst(cut(MVFilterView::init()), cut(MVView::init())), kSameTolerance);
}

TEST_F(MVFilterViewPixelTest, theFilterMayChangeComeAndGo) {
    const auto window = windowOf({200, 200});
    const auto holder = MVFilterView::init();
    window->addSubview(holder);
    fill(*holder);
    place(*holder, {});
    const Picture plain = capture(window);
    holder->setFilter(MVInvertFilter::init());
    const Picture inverted = capture(window);
    EXPECT_EQ(inverted.pixel(100, 30)[0], 255 - plain.pixel(100, 30)[0]);
    holder->setFilter(MVBlurFilter::initWithBlurRadius(2));
    EXPECT_LE(worst(capture(window), blurred(plain, 20, 20, 160, 2)), kBlurTolerance);
    holder->setFilter(nullptr);
    EXPECT_LE(worst(capture(window), plain), 0);
}

TEST_F(MVFilterViewPixelTest, theWindowMayBeResizedAndMovedToAFinerScreen) {
    const auto window = windowOf({60, 40});
    const auto holder = MVFilterView::init();
    window->addSubview(holder);
    fill(*holder);
    place(*holder, {});
    capture(window);
    window->setSize({200, 200});
    EXPECT_LE(worst(capture(window), picture<MVView>({})), kSameTolerance);
    window->setContentScaleFactor(2);
    const Picture fine = picture<MVView>({}, nullptr, {200, 200}, 2);
    EXPECT_LE(mean(capture(window), fine), 3) << "in the right place, as fine as before";
    holder->setContentScaleFactor(2);
    EXPECT_LE(worst(capture(window), fine), kSameTolerance) << "and finer once it is told";
}

TEST_F(MVFilterViewPixelTest, opacityAndAlphaFadeWhatIsDrawnIntoThePictureAndThePictureOnceMore) {
    const auto window = windowOf({200, 200});
    const auto holder = MVFilterView::init();
    window->addSubview(holder);
    place(*holder, {});
    const auto view = MVColorView::initWithColor({1, 0.5F, 0, 0.8F});
    view->setSize({kSide, kSide});
    holder->addSubview(view);
    MVCaptureOptions options;
    options.samples = 0;
    options.clearColor = {0, 0, 1, 1};
    const auto expected = [](double alpha, double opacity) {
        // Into the texture, by the alpha of the view and the opacity of all above it.
        const double a = alpha * opacity;
        const double rgb[] = {1 * a, 0.5 * a, 0 * a};
        const double left = a * a;
        // And onto the window.
        const double b = left * opacity;
        return std::vector<double>{255 * rgb[0] * b, 255 * rgb[1] * b,
                                   255 * (rgb[2] * b + (1 - b))};
    };
    for (const float opacity : {1.0F, 0.3F}) {
        holder->setOpacity(opacity);
        const auto color = MVCaptureWindow(window, options).pixel(100, 100);
        const auto wanted = expected(0.8F, opacity);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            EXPECT_NEAR(color[channel], wanted[channel], 2) << opacity << ", " << channel;
        }
    }
    holder->setOpacity(0);
    EXPECT_EQ(MVCaptureWindow(window, options).pixel(100, 100)[2], 255);
    holder->setOpacity(1);
    holder->setHidden(true);
    EXPECT_EQ(MVCaptureWindow(window, options).pixel(100, 100)[2], 255);
}

TEST_F(MVFilterViewPixelTest, viewsAtAnyDepthAreSeenAsWithoutTheFilterView) {
    const auto deep = []<class Holder>(std::shared_ptr<Holder> holder) {
        const auto window = windowOf({200, 200});
        window->addSubview(holder);
        place(*holder, {});
        for (const float z : {-100.0F, 0.0F, 60.0F, 149.0F, 151.0F, -151.0F}) {
            auto view = MVColorView::initWithColor({1, z / 400 + 0.5F, 0, 1});
            view->setSize({30, 30});
            view->setPosition3({20 + (z + 150) * 0.3F, 60 + z * 0.1F, z});
            view->setRotation3({0, 0.5F, 0});
            holder->addSubview(view);
        }
        return capture(window);
    };
    EXPECT_LE(worst(deep(MVFilterView::init()), deep(MVView::init())), kSameTolerance);
}
