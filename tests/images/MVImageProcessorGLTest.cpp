#include "MivoraMac/images/MVImageProcessor.h"

#include <epoxy/gl.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVClearFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "tests/images/FilterTest.h"

using Mivora::Size2;
using Mivora::tests::Pixels;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVImageProcessorTest : public Mivora::tests::FilterTest {
 protected:
    void SetUp() override {
        FilterTest::SetUp();
        processor_ = MVImageProcessor::init();
    }
    void TearDown() override {
        processor_.reset();
        source_.reset();
        FilterTest::TearDown();
    }

    using PassFilter = Mivora::tests::PassFilter;
    std::shared_ptr<PassFilter> passes(std::int32_t count) const {
        return MVMake<PassFilter>(count, plainShader());
    }

    /// Runs it with a source of 4 by 3 pixels.
    std::shared_ptr<MVImage> filtered(const std::shared_ptr<MVFilter>& filter) {
        source_ = imageOf(Pixels(4, 3));
        processor_->setSourceImage(source_);
        processor_->setFilter(filter);
        return processor_->filterImage();
    }

    static Size2 pixelSize(const MVImage& image) {
        return {image.size().width * image.scale(), image.size().height * image.scale()};
    }

    std::size_t texturesMade() {
        finish();
        return gl_->callsOf("glGenTextures").size();
    }

    std::shared_ptr<MVImageProcessor> processor_;
    std::shared_ptr<MVImage> source_;
};

}  // namespace

TEST_F(MVImageProcessorTest, withoutAFilterOrPassesTheSourceIsTheResultAndNothingIsMade) {
    EXPECT_EQ(processor_->filterImage(), nullptr);
    EXPECT_EQ(filtered(nullptr), source_);
    EXPECT_EQ(processor_->filterImageWithoutFinalPass(), source_);
    EXPECT_EQ(filtered(MVFilter::init()), source_);
    EXPECT_EQ(processor_->filterImageWithoutFinalPass(), source_);
    EXPECT_EQ(texturesMade(), 2U) << "those of the two sources";
}

TEST_F(MVImageProcessorTest, threePassesDrawIntoTheFirstTheSecondAndAgainTheFirstImage) {
    const auto filter = passes(3);
    const auto result = filtered(filter);
    EXPECT_THAT(filter->configured, ElementsAre(0, 1, 2));
    EXPECT_THAT(filter->inputs, ElementsAre(source_, result, filter->inputs[2]));
    EXPECT_NE(filter->inputs[2], result);
    EXPECT_NE(filter->inputs[2], source_);
    EXPECT_EQ(texturesMade(), 3U);
}

TEST_F(MVImageProcessorTest, allButTheLastPassCanBeRun) {
    const auto three = passes(3);
    filtered(three);
    three->configured.clear();
    const auto second = processor_->filterImageWithoutFinalPass();
    EXPECT_THAT(three->configured, ElementsAre(0, 1));
    EXPECT_EQ(second, three->inputs[2]);
    const auto one = passes(1);
    filtered(one);
    EXPECT_EQ(processor_->filterImageWithoutFinalPass(), source_);
}

TEST_F(MVImageProcessorTest, onePassNeverMakesTheSecondImage) {
    filtered(passes(1));
    EXPECT_EQ(texturesMade(), 2U);
    processor_->setFilter(passes(2));
    EXPECT_EQ(texturesMade(), 3U) << "the first image is kept";
    processor_->setFilter(passes(1));
    finish();
    EXPECT_THAT(gl_->callsOf("glDeleteTextures"), SizeIs(1)) << "the second one goes";
}

TEST_F(MVImageProcessorTest, theImagesAreKeptFromRunToRunAndOverwritten) {
    const auto result = filtered(passes(2));
    const auto textures = texturesMade();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(processor_->filterImage(), result);
    }
    EXPECT_EQ(texturesMade(), textures);
}

TEST_F(MVImageProcessorTest, eachPassBindsItsTargetClearsItAndDrawsItsInputWithItsShader) {
    const auto filter = passes(2);
    filtered(filter);
    finish();
    gl_->clear();
    const auto result = processor_->filterImage();
    finish();
    std::vector<std::string> texts;
    for (const auto& call : gl_->calls()) {
        for (const char* const name :
             {"glFramebufferTexture2D", "glClear", "glViewport", "glUseProgram", "glBindTexture",
              "glUniform4f", "glBlendFunc", "glDrawArrays", "glEnable", "glDisable"}) {
            if (call.name == name) {
                texts.push_back(call.name == "glUseProgram" || call.name == "glUniform4f"
                                    ? call.name
                                    : call.text());
            }
        }
    }
    const auto texture = [](const std::shared_ptr<MVImage>& image) {
        return std::to_string(image->mv_texture());
    };
    const std::string first = texture(filter->inputs[1]);
    const auto pass = [&](const std::string& target, const std::string& input) {
        return std::vector<std::string>{
            "glFramebufferTexture2D(36160, 36064, 3553, " + target + ", 0)",
            "glClear(17664)",
            "glViewport(0, 0, 4, 3)",
            "glUseProgram",
            "glBindTexture(3553, " + input + ")",
            "glUniform4f",
            "glDisable(2929)",
            "glEnable(3042)",
            "glBlendFunc(770, 771)",
            "glDrawArrays(5, 0, 4)",
            "glDisable(3042)",
        };
    };
    std::vector<std::string> expected = pass(first, texture(source_));
    const auto second = pass(texture(result), first);
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(texts, expected);
}

TEST_F(MVImageProcessorTest, thePixelsAreThoseOfTheSourceAtItsScale) {
    processor_->setSourceImage(imageOf(Pixels(10, 6), 2.0F));
    processor_->setFilter(passes(1));
    const auto result = processor_->filterImage();
    EXPECT_EQ(result->scale(), 2.0F);
    EXPECT_EQ(result->size(), (Size2{5, 3}));
    EXPECT_EQ(result->coordinateSystem(), 1);
    EXPECT_FALSE(result->premultipliedAlpha());
}

TEST_F(MVImageProcessorTest, theBoundIsComparedWithPixelsWhateverTheScale) {
    struct {
        Size2 bound;
        Size2 expected;
    } const rows[] = {
        {{0, 0}, {10, 6}},
        {{5, 3}, {5, 3}},
        {{20, 4}, {10, 4}},
        {{4.9F, 100}, {4, 6}},
        {{5, 0}, {10, 6}},
        {{-5, -3}, {10, 6}},
        {{5, -1}, {10, 6}},
        {{std::numeric_limits<float>::quiet_NaN(), 3}, {10, 6}},
        {{std::numeric_limits<float>::infinity(), 3}, {10, 3}},
    };
    processor_->setSourceImage(imageOf(Pixels(10, 6), 2.0F));
    processor_->setFilter(passes(1));
    for (const auto& row : rows) {
        processor_->setDestinationSize(row.bound);
        EXPECT_EQ(pixelSize(*processor_->filterImage()), row.expected)
            << row.bound.width << " x " << row.bound.height;
    }
    processor_->setDestinationSize({0.5F, 0.5F});
    EXPECT_EQ(processor_->filterImage(), nullptr) << "less than a pixel";
}

TEST_F(MVImageProcessorTest, aSourceWithoutASizeDropsTheImages) {
    const auto first = filtered(passes(2));
    const std::weak_ptr<MVImage> weak = first;
    for (const auto& nothing : {Pixels(0, 3), Pixels(4, 0)}) {
        processor_->setSourceImage(imageOf(nothing));
        EXPECT_EQ(processor_->filterImage(), nullptr);
        EXPECT_EQ(processor_->filterImageWithoutFinalPass(), nullptr);
    }
    source_.reset();
    processor_->setSourceImage(nullptr);
    EXPECT_EQ(processor_->filterImage(), nullptr);
    finish();
    EXPECT_EQ(weak.use_count(), 1) << "only the test still holds it";
}

TEST_F(MVImageProcessorTest, followsTheSizeAndTheScaleOfItsSource) {
    const auto source = imageOf<MVMutableImage>(Pixels(4, 3));
    processor_->setSourceImage(source);
    processor_->setFilter(passes(1));
    const auto before = processor_->filterImage();
    source->replaceWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        nullptr, 8, 5, 1.0F, 0, false, GL_RGBA);
    EXPECT_EQ(pixelSize(*processor_->filterImage()), (Size2{8, 5}));
    EXPECT_EQ(pixelSize(*before), (Size2{4, 3})) << "the earlier result stays as it was";
    processor_->setSourceImage(nullptr);
    EXPECT_EQ(source->observerCount(), 0U);
}

TEST_F(MVImageProcessorTest, watchesItsSourceForAsLongAsItHasIt) {
    const auto source = imageOf(Pixels(4, 3));
    processor_->setSourceImage(source);
    processor_->setSourceImage(source);
    const auto watched = source->observerCount();
    EXPECT_EQ(watched, 2U + 3U) << "the processor, and the view that draws the passes";
    processor_.reset();
    EXPECT_EQ(source->observerCount(), 0U);
}

TEST_F(MVImageProcessorTest, aFilterThatGainsPassesIsGivenASecondImage) {
    const auto filter = passes(1);
    filtered(filter);
    filter->passes = 4;
    filter->configured.clear();
    EXPECT_NE(processor_->filterImage(), nullptr);
    EXPECT_THAT(filter->configured, ElementsAre(0, 1, 2, 3));
    filter->passes = 0;
    EXPECT_EQ(processor_->filterImage(), source_);
}

TEST_F(MVImageProcessorTest, aNegativeNumberOfPassesCountsAsNoneAndTooManyAreRefused) {
    for (const std::int32_t count :
         {-1, std::numeric_limits<std::int32_t>::min(), 1'000'000'000,
          MVImageProcessor::kMostPasses + 1, std::numeric_limits<std::int32_t>::max()}) {
        const auto filter = passes(count);
        EXPECT_EQ(filtered(filter), source_) << count;
        EXPECT_EQ(processor_->filterImageWithoutFinalPass(), source_) << count;
        EXPECT_THAT(filter->asked, IsEmpty()) << count;
    }
}

TEST_F(MVImageProcessorTest, aPassWithoutAShaderLeavesItsTargetTransparent) {
    Pixels white(4, 3);
    white.values.assign(white.values.size(), 255);
    processor_->setSourceImage(imageOf(white));
    processor_->setFilter(MVMake<PassFilter>(1, nullptr));
    EXPECT_EQ(pixelsOf(processor_->filterImage()).values, Pixels(4, 3).values);
    processor_->setFilter(MVBlurFilter::initWithBlurRadius(0));
    EXPECT_EQ(pixelsOf(processor_->filterImage()).values, Pixels(4, 3).values);
}

TEST_F(MVImageProcessorTest, aResultCanBeFilteredOnceMore) {
    Pixels picture(4, 3);
    for (std::size_t i = 0; i < picture.values.size(); ++i) {
        picture.values[i] = i % 4 == 3 ? 255 : static_cast<double>(i * 5 % 256);
    }
    processor_->setSourceImage(imageOf(picture));
    processor_->setFilter(MVInvertFilter::init());
    auto result = processor_->filterImage();
    EXPECT_NE(pixelsOf(result).values, picture.values);
    processor_->setSourceImage(result);
    const auto again = processor_->filterImage();
    EXPECT_NE(again, result) << "no pass draws into what it draws from";
    EXPECT_EQ(pixelsOf(again).values, picture.values);
}

TEST_F(MVImageProcessorTest, aThousandRunsWithOtherSizesAndFiltersLeaveNothingBehind) {
    finish();
    const auto live = gl_->liveObjects();
    for (int i = 0; i < 1000; ++i) {
        const auto processor = MVImageProcessor::init();
        processor->setFilter(passes(i % 4));
        processor->setSourceImage(imageOf(Pixels(1 + i % 7, 1 + i % 5)));
        EXPECT_NE(processor->filterImage(), nullptr);
    }
    finish();
    EXPECT_EQ(gl_->liveObjects(), live);
}

// Copies

TEST_F(MVImageProcessorTest, aCopyHasTheSamePixelsInATextureOfItsOwn) {
    Pixels picture(5, 4);
    for (std::size_t i = 0; i < picture.values.size(); ++i) {
        picture.values[i] = i % 4 == 3 ? 255 : static_cast<double>(i * 13 % 256);
    }
    for (const std::int32_t system : {0, 1}) {
        const auto source = imageOf(picture, 1.0F, false, system);
        const auto copied = source->copy();
        ASSERT_NE(copied, nullptr);
        EXPECT_NE(copied, source);
        EXPECT_NE(copied->mv_texture(), source->mv_texture());
        EXPECT_EQ(copied->size(), source->size());
        EXPECT_EQ(pixelsOf(copied).values, pixelsOf(source).values) << system;
    }
}

TEST_F(MVImageProcessorTest, aCopyOutlivesItsOriginal) {
    auto source = imageOf(Pixels(5, 4));
    const auto copied = source->copyWithZone();
    source.reset();
    EXPECT_EQ(pixelsOf(copied).values, Pixels(5, 4).values);
}

TEST_F(MVImageProcessorTest, aCopyHasAsManyPixelsAsItsOriginalHasPoints) {
    const auto copied = imageOf(Pixels(8, 6), 2.0F)->copy();
    EXPECT_EQ(pixelSize(*copied), (Size2{4, 3}));
    EXPECT_EQ(copied->scale(), 2.0F);
}

TEST_F(MVImageProcessorTest, aCopyOfPremultipliedColoursHoldsThemAsTheyAre) {
    Pixels picture(2, 1);
    picture.values = {100, 50, 0, 100, 60, 20, 10, 60};
    const auto copied = imageOf(picture, 1.0F, true)->copy();
    EXPECT_EQ(pixelsOf(copied).values, picture.values);
    EXPECT_FALSE(copied->premultipliedAlpha());
}

TEST_F(MVImageProcessorTest, whatHasNoPixelsOrNothingToDrawWithCannotBeCopied) {
    EXPECT_EQ(MVImage::init()->copy(), nullptr);
    EXPECT_EQ(imageOf(Pixels(0, 4))->copy(), nullptr);
    const auto source = imageOf(Pixels(2, 2));
    MVShaderCache::mv_setSharedCache(nullptr);
    EXPECT_EQ(source->copy(), nullptr);
}
