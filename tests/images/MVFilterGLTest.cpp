#include "MivoraMac/images/MVFilter.h"

#include <epoxy/gl.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVBlurShader.h"
#include "MivoraMac/images/MVClearFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/images/MVInvertShader.h"
#include "MivoraMac/images/MVSinglePassFilter.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVFilterShader.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "tests/images/FilterTest.h"

using Mivora::platform::DebugLog;
using testing::_;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVFilterGLTest : public Mivora::tests::FilterTest {
 protected:
    static std::shared_ptr<MVImage> image(int width, int height, float scale) {
        return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            nullptr, static_cast<std::uint64_t>(width), static_cast<std::uint64_t>(height), scale,
            0, false, GL_RGBA);
    }

    /// The texel sizes that the filter uploads for a pass.
    std::vector<std::vector<double>> texelSizes(MVFilter& filter, std::int32_t pass,
                                                const std::shared_ptr<MVImage>& image) {
        const auto shader = filter.shaderForRenderPass(pass);
        shader->use();
        finish();
        gl_->clear();
        filter.configureShaderRenderPassImage(shader, pass, image);
        finish();
        std::vector<std::vector<double>> result;
        for (const auto& call : gl_->callsOf("glUniform2f")) {
            result.push_back({call.arguments.at(1), call.arguments.at(2)});
        }
        return result;
    }
};

}  // namespace

TEST_F(MVFilterGLTest, shadersWithAColourServeFilters) {
    for (const auto& shader : {cache_->shaderForKey("MVShaderPositionUniformColor"),
                               cache_->shaderForKey("MVShaderPositionTextureUniformColor")}) {
        EXPECT_NE(dynamic_cast<MVFilterShader*>(shader.get()), nullptr);
    }
    EXPECT_EQ(
        dynamic_cast<MVFilterShader*>(cache_->shaderForKey("MVShaderPositionTextureColor").get()),
        nullptr);
}

TEST_F(MVFilterGLTest, plainAndClearFiltersDrawWithTheShaderOfTheCache) {
    const auto shader = cache_->shaderForKey("MVShaderPositionTextureUniformColor");
    EXPECT_EQ(MVFilter::init()->shaderForRenderPass(-1), shader);
    EXPECT_EQ(MVFilter::init()->shaderForRenderPass(7), shader);
    const auto clear = MVClearFilter::init();
    MVShaderCache::mv_setSharedCache(nullptr);
    EXPECT_EQ(clear->shaderForRenderPass(0), shader) << "taken when it was made";
    EXPECT_EQ(MVFilter::init()->shaderForRenderPass(0), nullptr);
}

// Inverting

TEST_F(MVFilterGLTest, invertFiltersShareOneShaderThatLivesAsLongAsOneOfThem) {
    auto first = MVInvertFilter::init();
    auto second = MVInvertFilter::init();
    EXPECT_NE(first->shaderForRenderPass(0), nullptr);
    EXPECT_EQ(first->shaderForRenderPass(0), second->shaderForRenderPass(0));
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateProgram"), SizeIs(1));
    first.reset();
    EXPECT_EQ(MVInvertFilter::mv_sharedInvertShader(), second->shaderForRenderPass(0));
    second.reset();
    finish();
    EXPECT_THAT(gl_->callsOf("glDeleteProgram"), SizeIs(1));
    const auto third = MVInvertFilter::init();
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateProgram"), SizeIs(2));
}

TEST_F(MVFilterGLTest, theInvertShaderIsLinkedAndBindsSlotsSamplerAndColour) {
    const auto shader = MVInvertShader::shader();
    ASSERT_NE(shader, nullptr);
    EXPECT_TRUE(shader->isLinked());
    finish();
    std::vector<std::string> slots;
    for (const auto& call : gl_->callsOf("glBindAttribLocation")) {
        slots.push_back(std::to_string(static_cast<int>(call.arguments.at(1))));
    }
    EXPECT_THAT(slots, ElementsAre("0", "5"));
    gl_->clear();
    shader->use();
    shader->setColor({0.1F, 0.2F, 0.3F, 0.4F});
    finish();
    const auto names = gl_->names();
    ASSERT_GE(names.size(), 3U);
    EXPECT_EQ(names[0], "glUseProgram");
    EXPECT_EQ(names[1], "glUniform1i");
    EXPECT_EQ(gl_->callsOf("glUniform1i")[0].arguments.at(1), 0);
    EXPECT_EQ(names.back(), "glUniform4f");
    EXPECT_FLOAT_EQ(static_cast<float>(gl_->callsOf("glUniform4f")[0].arguments.at(4)), 0.4F);
}

// Blurring

TEST_F(MVFilterGLTest, everyUsableRadiusMakesALinkedProgram) {
    for (const int radius : {1, 2, 8, 14, 30, 50, 90, 102}) {
        std::string log;
        const auto shader = MVBlurShader::initWithBlurRadius(static_cast<float>(radius), &log);
        ASSERT_NE(shader, nullptr) << radius << ": " << log;
        EXPECT_TRUE(shader->isLinked()) << radius << ": " << log;
        EXPECT_GE(shader->uniformLocation("u_texelSize"), 0) << radius;
        EXPECT_GE(shader->uniformLocation("u_color"), 0) << radius;
        EXPECT_GE(shader->uniformLocation("u_sampler"), 0) << radius;
    }
}

TEST_F(MVFilterGLTest, aRadiusThatIsNotUsableMakesNoShaderAndSaysSo) {
    std::vector<std::string> lines;
    DebugLog::enable("images");
    DebugLog::setSink([&](DebugLog::Category, std::string_view text) { lines.emplace_back(text); });
    const std::vector<float> radii = {0,
                                      0.4F,
                                      -8,
                                      103,
                                      std::nanf(""),
                                      std::numeric_limits<float>::infinity(),
                                      -std::numeric_limits<float>::infinity()};
    for (const float radius : radii) {
        EXPECT_EQ(MVBlurShader::initWithBlurRadius(radius), nullptr) << radius;
        const auto filter = MVBlurFilter::initWithBlurRadius(radius);
        EXPECT_EQ(filter->numberOfPasses(), 2) << radius;
        EXPECT_EQ(filter->shaderForRenderPass(0), nullptr) << radius;
        filter->configureShaderRenderPassImage(nullptr, 0, image(1, 1, 1));
    }
    DebugLog::setSink(nullptr);
    DebugLog::enable("");
    EXPECT_THAT(lines, SizeIs(2 * radii.size()));
    EXPECT_THAT(lines[0], HasSubstr("blur radius of 0 is not in 1 to 102"));
    finish();
    EXPECT_THAT(gl_->callsOf("glCreateProgram"), IsEmpty());
}

TEST_F(MVFilterGLTest, aBlurStepsAlongXInItsFirstPassAndAlongYInItsSecond) {
    const auto blur = MVBlurFilter::initWithBlurRadius(2);
    EXPECT_EQ(blur->shaderForRenderPass(0), blur->shaderForRenderPass(1));
    const auto source = image(200, 50, 2);  // 100 points wide
    const auto first = texelSizes(*blur, 0, source);
    ASSERT_THAT(first, SizeIs(1));
    EXPECT_NEAR(first[0][0], 0.005, 1e-9);
    EXPECT_EQ(first[0][1], 0);
    const auto second = texelSizes(*blur, 1, source);
    ASSERT_THAT(second, SizeIs(1));
    EXPECT_EQ(second[0][0], 0);
    EXPECT_NEAR(second[0][1], 0.02, 1e-9);
    EXPECT_THAT(texelSizes(*blur, 2, source), IsEmpty());
    EXPECT_THAT(texelSizes(*blur, -1, source), IsEmpty());
}

TEST_F(MVFilterGLTest, aBlurConfiguresNoOtherShader) {
    const auto blur = MVBlurFilter::initWithBlurRadius(2);
    finish();
    gl_->clear();
    blur->configureShaderRenderPassImage(MVInvertFilter::mv_sharedInvertShader(), 0,
                                         image(4, 4, 1));
    blur->configureShaderRenderPassImage(nullptr, 0, image(4, 4, 1));
    blur->configureShaderRenderPassImage(blur->shaderForRenderPass(0), 0, nullptr);
    finish();
    EXPECT_THAT(gl_->callsOf("glUniform2f"), IsEmpty());
}

TEST_F(MVFilterGLTest, theBlurShaderPointsItsSamplerAtUnitZeroWheneverItIsBound) {
    const auto shader = MVBlurShader::initWithBlurRadius(1);
    finish();
    gl_->clear();
    shader->use();
    finish();
    EXPECT_THAT(gl_->callsOf("glUniform1i").at(0).arguments, ElementsAre(_, 0));
}

// Chains

TEST_F(MVFilterGLTest, aCombinationOfABlurAndAnInversionHasThreePasses) {
    const auto blur = MVBlurFilter::initWithBlurRadius(2);
    const auto invert = MVInvertFilter::init();
    const auto both = MVCombinationFilter::initWithFilters({blur, invert});
    EXPECT_EQ(both->numberOfPasses(), 3);
    EXPECT_EQ(both->shaderForRenderPass(0), blur->shaderForRenderPass(0));
    EXPECT_EQ(both->shaderForRenderPass(1), blur->shaderForRenderPass(1));
    EXPECT_EQ(both->shaderForRenderPass(2), invert->shaderForRenderPass(0));
    EXPECT_EQ(both->shaderForRenderPass(3), nullptr);
    EXPECT_EQ(MVSinglePassFilter::initWithFilterPass(both, 2)->shaderForRenderPass(0),
              invert->shaderForRenderPass(0));
}
