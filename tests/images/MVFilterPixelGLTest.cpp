// What filters make of pictures, compared with what the test computes in double precision.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVClearFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVImageProcessor.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/images/MVSinglePassFilter.h"
#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/images/FilterTest.h"

using Mivora::tests::Pixels;

namespace {

using Filters = std::vector<std::shared_ptr<MVFilter>>;

constexpr int kExtent = 96;

// An 8-bit result of a pass is off by half a step, and so is the one it was made from; the
// rasteriser's weights between two pixels have 8 bits; the weights of a blur have six decimals.
constexpr double kBlurTolerance = 2.0;

// One rounding of a colour that is the same otherwise.
constexpr double kExactTolerance = 0.51;

/// How many taps a blur has on either side of the centre.
int tapsOf(int radius) {
    const double variance = static_cast<double>(radius) * radius;
    const int n =
        static_cast<int>(std::sqrt(-2 * variance * std::log(std::sqrt(2 * M_PI * variance) / 256)));
    return n + n % 2;
}

/// The picture under a two-dimensional bell curve, cut off where a tap no longer counts, what is
/// beyond the edges being like the edges.
Pixels blurred(const Pixels& picture, int radius) {
    const int n = tapsOf(radius);
    const auto side = static_cast<std::size_t>(2 * n + 1);
    std::vector<double> weights(side * side);
    double total = 0;
    for (int y = -n; y <= n; ++y) {
        for (int x = -n; x <= n; ++x) {
            double& weight =
                weights[static_cast<std::size_t>(y + n) * side + static_cast<std::size_t>(x + n)];
            weight = std::exp(-(x * x + y * y) / (2.0 * radius * radius));
            total += weight;
        }
    }
    Pixels result(picture.width, picture.height);
    const double* const source = picture.values.data();
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            std::array<double, 4> sum{};
            for (int v = -n; v <= n; ++v) {
                const int row = std::clamp(y + v, 0, picture.height - 1);
                for (int u = -n; u <= n; ++u) {
                    const int column = std::clamp(x + u, 0, picture.width - 1);
                    const double weight = weights[static_cast<std::size_t>(v + n) * side +
                                                  static_cast<std::size_t>(u + n)];
                    const double* const pixel = source + (row * picture.width + column) * 4;
                    for (std::size_t channel = 0; channel < 4; ++channel) {
                        sum[channel] += weight * pixel[channel];
                    }
                }
            }
            for (int channel = 0; channel < 4; ++channel) {
                result.at(x, y, channel) = sum[static_cast<std::size_t>(channel)] / total;
            }
        }
    }
    return result;
}

/// One pixel after another, changed.
Pixels changed(Pixels picture, const std::function<void(double*)>& change) {
    for (std::size_t i = 0; i < picture.values.size(); i += 4) {
        change(&picture.values[i]);
    }
    return picture;
}

Pixels inverted(const Pixels& picture) {
    return changed(picture, [](double* pixel) {
        for (int channel = 0; channel < 3; ++channel) {
            pixel[channel] = 255 - pixel[channel];
        }
    });
}

/// What blending by its own alpha onto nothing leaves of a picture.
Pixels blendedOntoNothing(const Pixels& picture) {
    return changed(picture, [](double* pixel) {
        const double alpha = pixel[3] / 255;
        for (int channel = 0; channel < 4; ++channel) {
            pixel[channel] *= alpha;
        }
    });
}

/// A photograph with an edge and an impulse in it.
Pixels photograph() {
    const auto bitmap =
        Mivora::platform::ImageSource::firstImageOfFile(MIVORA_PHOTOGRAPHS "/city.jpg").image;
    Pixels picture(kExtent, kExtent);
    if (!bitmap) {
        ADD_FAILURE() << "no photograph";
        return picture;
    }
    const auto width = static_cast<std::size_t>(bitmap->size().width);
    const auto height = static_cast<std::size_t>(bitmap->size().height);
    std::vector<std::uint8_t> pixels(width * height * 4);
    Mivora::platform::BitmapContext::create(pixels.data(), bitmap->size(), width * 4,
                                            Mivora::platform::AlphaInfo::NoneSkipLast)
        ->drawImage(*bitmap);
    for (int y = 0; y < kExtent; ++y) {
        for (int x = 0; x < kExtent; ++x) {
            for (int channel = 0; channel < 3; ++channel) {
                picture.at(x, y, channel) =
                    pixels.at(((height / 2 + static_cast<std::size_t>(y)) * width + width / 3 +
                               static_cast<std::size_t>(x)) *
                                  4 +
                              static_cast<std::size_t>(channel));
                if (x >= 56 && y < 48) {
                    picture.at(x, y, channel) = x < 76 ? 0 : 255;
                }
            }
            picture.at(x, y, 3) = 255;
        }
    }
    picture.at(66, 24, 0) = 255;
    return picture;
}

/// Every alpha with every colour, each component at most the alpha if they are premultiplied.
Pixels translucent(bool premultiplied) {
    Pixels picture(32, 32);
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 32; ++x) {
            const double alpha = std::min(255, (x + y) * 5);
            picture.at(x, y, 3) = alpha;
            const double most = premultiplied ? alpha : 255;
            picture.at(x, y, 0) = std::floor(most * x / 31);
            picture.at(x, y, 1) = std::floor(most * y / 31);
            picture.at(x, y, 2) = x / 8 % 2 == 0 ? most : 0;
        }
    }
    return picture;
}

class MVFilterPixelTest : public Mivora::tests::FilterTest {
 protected:
    void SetUp() override {
        FilterTest::SetUp();
        context_->setBatching(true);
    }

    Pixels run(const std::shared_ptr<MVImage>& image, const std::shared_ptr<MVFilter>& filter) {
        const auto processor = MVImageProcessor::init();
        processor->setSourceImage(image);
        processor->setFilter(filter);
        return pixelsOf(processor->filterImage());
    }

    /// A view of the image's size with the filter, over a fill.
    Pixels shown(const std::shared_ptr<MVImage>& image, const std::shared_ptr<MVFilter>& filter,
                 Mivora::ColorRGBA background, float opacity = 1) {
        const auto window = MVWindow::init();
        const auto view = MVImageView::initWithImage(image);
        window->setSize(view->size());
        window->addSubview(view);
        view->setFilter(filter);
        view->setOpacity(opacity);
        MVCaptureOptions options;
        options.samples = 0;
        options.scale = image->scale();
        options.clearColor = background;
        const auto picture = MVCaptureWindow(window, options);
        Pixels result(picture.size.width, picture.size.height);
        result.values.assign(picture.rgba.begin(), picture.rgba.end());
        return result;
    }
};

}  // namespace

TEST_F(MVFilterPixelTest, anInversionTurnsEveryColourIntoItsOpposite) {
    const Pixels picture = photograph();
    for (const float scale : {1.0F, 2.0F}) {
        const auto image = imageOf(picture, scale);
        EXPECT_LE(worstDifference(run(image, MVInvertFilter::init()), inverted(picture)),
                  kExactTolerance);
        EXPECT_LE(
            worstDifference(shown(image, MVInvertFilter::init(), {0, 0, 0, 1}), inverted(picture)),
            kExactTolerance);
    }
}

TEST_F(MVFilterPixelTest, aClearFilterChangesNothing) {
    const Pixels picture = photograph();
    EXPECT_LE(worstDifference(run(imageOf(picture), MVClearFilter::init()), picture), 0);
    EXPECT_LE(
        worstDifference(shown(imageOf(picture), MVClearFilter::init(), {0, 0, 0, 1}), picture), 0);
    EXPECT_LE(worstDifference(shown(imageOf(picture), MVFilter::init(), {0, 0, 0, 1}), picture), 0);
}

TEST_F(MVFilterPixelTest, aBlurIsThatOfATwoDimensionalBellCurve) {
    const Pixels picture = photograph();
    for (const int radius : {1, 2, 8, 30, 102}) {
        const auto filter = MVBlurFilter::initWithBlurRadius(static_cast<float>(radius));
        const Pixels result = run(imageOf(picture), filter);
        EXPECT_LE(worstDifference(result, blurred(picture, radius)), kBlurTolerance) << radius;
        EXPECT_LE(worstDifference(run(imageOf(picture, 2), filter), result), 0)
            << "the radius counts pixels, whatever the scale; " << radius;
        EXPECT_LE(worstDifference(run(imageOf(picture, 1, false, 1), filter),
                                  [&] {
                                      Pixels turned = picture;
                                      for (int y = 0; y < kExtent; ++y) {
                                          for (int i = 0; i < kExtent * 4; ++i) {
                                              turned.at(i / 4, y, i % 4) =
                                                  picture.at(i / 4, kExtent - 1 - y, i % 4);
                                          }
                                      }
                                      return blurred(turned, radius);
                                  }()),
                  kBlurTolerance)
            << "stored from the bottom; " << radius;
    }
}

TEST_F(MVFilterPixelTest, aBlurKeepsTheSumOfColoursAndTheirCentre) {
    for (const int radius : {1, 2, 8}) {
        Pixels picture(kExtent, kExtent);
        for (int y = 0; y < kExtent; ++y) {
            for (int x = 0; x < kExtent; ++x) {
                picture.at(x, y, 3) = 255;
                if (x >= 40 && x < 50 && y >= 44 && y < 54) {
                    picture.at(x, y, 0) = 255;
                }
            }
        }
        const Pixels result =
            run(imageOf(picture), MVBlurFilter::initWithBlurRadius(static_cast<float>(radius)));
        double sum = 0;
        double sumX = 0;
        double sumY = 0;
        for (int y = 0; y < kExtent; ++y) {
            for (int x = 0; x < kExtent; ++x) {
                sum += result.at(x, y, 0);
                sumX += result.at(x, y, 0) * x;
                sumY += result.at(x, y, 0) * y;
            }
        }
        // Rounding to whole steps loses some of what is far out.
        EXPECT_NEAR(sum / (100 * 255), 1, 0.02) << radius;
        EXPECT_NEAR(sumX / sum, 44.5, 0.05) << radius;
        EXPECT_NEAR(sumY / sum, 48.5, 0.05) << radius;
    }
}

TEST_F(MVFilterPixelTest, aBlurGivesAnOpaquePictureNoBorder) {
    Pixels white(kExtent, kExtent);
    white.values.assign(white.values.size(), 255);
    for (const float radius : {1.0F, 8.0F, 30.0F, 102.0F}) {
        const Pixels result = run(imageOf(white), MVBlurFilter::initWithBlurRadius(radius));
        EXPECT_LE(worstDifference(result, white), 1) << radius;
        EXPECT_LE(worstDifference(
                      shown(imageOf(white), MVBlurFilter::initWithBlurRadius(radius), {0, 0, 0, 1}),
                      white),
                  1)
            << radius;
    }
}

TEST_F(MVFilterPixelTest, oneHalfOfABlurIsABlurAlongOneDirection) {
    Pixels picture(kExtent, kExtent);
    for (int y = 0; y < kExtent; ++y) {
        for (int x = 0; x < kExtent; ++x) {
            picture.at(x, y, 0) = x < 48 ? 0 : 255;
            picture.at(x, y, 1) = y < 48 ? 0 : 255;
            picture.at(x, y, 3) = 255;
        }
    }
    const Pixels both = blurred(picture, 2);
    const auto blur = MVBlurFilter::initWithBlurRadius(2);
    for (const int pass : {0, 1}) {
        const Pixels result =
            run(imageOf(picture), MVSinglePassFilter::initWithFilterPass(blur, pass));
        for (int i = 0; i < kExtent; ++i) {
            EXPECT_NEAR(result.at(i, 20, 0), pass == 0 ? both.at(i, 20, 0) : picture.at(i, 20, 0),
                        kBlurTolerance);
            EXPECT_NEAR(result.at(20, i, 1), pass == 1 ? both.at(20, i, 1) : picture.at(20, i, 1),
                        kBlurTolerance);
        }
    }
}

TEST_F(MVFilterPixelTest, aChainOfThreeDoesOneAfterTheOther) {
    const Pixels picture = photograph();
    const auto chain = MVCombinationFilter::initWithFilters(
        {MVInvertFilter::init(), MVBlurFilter::initWithBlurRadius(2), MVClearFilter::init()});
    EXPECT_EQ(chain->numberOfPasses(), 4);
    const Pixels expected = blurred(inverted(picture), 2);
    EXPECT_LE(worstDifference(run(imageOf(picture), chain), expected), kBlurTolerance);
    EXPECT_LE(worstDifference(shown(imageOf(picture), chain, {0, 0, 0, 1}), expected),
              kBlurTolerance);
    EXPECT_LE(
        worstDifference(run(imageOf(picture), MVSinglePassFilter::initWithFilterPass(chain, 0)),
                        inverted(picture)),
        kExactTolerance);
}

TEST_F(MVFilterPixelTest, aPassOffTheScreenKeepsPremultipliedColoursAndMultipliesStraightOnes) {
    const Pixels premultiplied = translucent(true);
    EXPECT_LE(
        worstDifference(run(imageOf(premultiplied, 1, true), MVClearFilter::init()), premultiplied),
        0);
    const Pixels straight = translucent(false);
    EXPECT_LE(worstDifference(run(imageOf(straight), MVClearFilter::init()),
                              blendedOntoNothing(straight)),
              1);
    // What a pass made counts as straight.
    EXPECT_LE(worstDifference(run(imageOf(premultiplied, 1, true),
                                  MVCombinationFilter::initWithFilters(
                                      {MVClearFilter::init(), MVClearFilter::init()})),
                              blendedOntoNothing(premultiplied)),
              1);
}

TEST_F(MVFilterPixelTest, aTranslucentPremultipliedImageIsBlurredExactlyByAnImageView) {
    const Pixels picture = translucent(true);
    const Mivora::ColorRGBA background{0.2F, 0.4F, 0.6F, 1};
    for (const float opacity : {1.0F, 0.3F}) {
        const Pixels result = shown(imageOf(picture, 1, true), MVBlurFilter::initWithBlurRadius(2),
                                    background, opacity);
        const Pixels expected = changed(blurred(picture, 2), [&](double* pixel) {
            const double rest = 1 - pixel[3] / 255 * opacity;
            pixel[0] = pixel[0] * opacity + 51 * rest;
            pixel[1] = pixel[1] * opacity + 102 * rest;
            pixel[2] = pixel[2] * opacity + 153 * rest;
            pixel[3] = pixel[3] * opacity + 255 * rest;
        });
        EXPECT_LE(worstDifference(result, expected), kBlurTolerance + 1) << opacity;
    }
}

TEST_F(MVFilterPixelTest, aTranslucentStraightImageIsBlendedByItsAlphaInEveryPass) {
    const Pixels picture = translucent(false);
    const Mivora::ColorRGBA background{0.2F, 0.4F, 0.6F, 1};
    // In one pass, as without a filter but for the colours.
    const Pixels once = shown(imageOf(picture), MVInvertFilter::init(), background);
    const auto over = [](double* pixel) {
        const double alpha = pixel[3] / 255;
        pixel[0] = pixel[0] * alpha + 51 * (1 - alpha);
        pixel[1] = pixel[1] * alpha + 102 * (1 - alpha);
        pixel[2] = pixel[2] * alpha + 153 * (1 - alpha);
        pixel[3] = pixel[3] * alpha + 255 * (1 - alpha);
    };
    EXPECT_LE(worstDifference(once, changed(inverted(picture), over)), 1.5);
    // In two, what the first one leaves is blended again.
    const Pixels twice =
        shown(imageOf(picture),
              MVCombinationFilter::initWithFilters({MVInvertFilter::init(), MVClearFilter::init()}),
              background);
    EXPECT_LE(worstDifference(twice, changed(blendedOntoNothing(inverted(picture)), over)), 2.5);
}
