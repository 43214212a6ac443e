#pragma once

#include <epoxy/gl.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "MivoraMac/images/MVFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "tests/support/GLTest.h"

namespace Mivora::tests {

/// The pixels of a picture, red, green, blue and alpha, 0 to 255, row after row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<double> values;

    Pixels(int itsWidth, int itsHeight)
        : width(itsWidth),
          height(itsHeight),
          values(static_cast<std::size_t>(itsWidth) * static_cast<std::size_t>(itsHeight) * 4) {}

    double& at(int x, int y, int channel) {
        return values.at((static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                          static_cast<std::size_t>(x)) *
                             4 +
                         static_cast<std::size_t>(channel));
    }
    double at(int x, int y, int channel) const {
        return const_cast<Pixels&>(*this).at(x, y, channel);
    }

    std::vector<std::uint8_t> bytes() const { return {values.begin(), values.end()}; }
};

/// A filter with any number of passes that all draw with one shader, noting what it is asked.
struct PassFilter : MVFilter {
    explicit PassFilter(std::int32_t count, std::shared_ptr<MVShader> itsShader = nullptr)
        : passes(count), shader(std::move(itsShader)) {}
    std::int32_t numberOfPasses() const override { return passes; }
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override {
        asked.push_back(pass);
        return shader;
    }
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& /*shader*/,
                                        std::int32_t pass,
                                        const std::shared_ptr<MVImage>& image) override {
        configured.push_back(pass);
        inputs.push_back(image);
    }

    std::int32_t passes;
    std::shared_ptr<MVShader> shader;
    std::vector<std::int32_t> asked;
    std::vector<std::int32_t> configured;
    std::vector<std::shared_ptr<MVImage>> inputs;
};

/// A test with the standard shaders that filters images and looks at the result.
class FilterTest : public GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        finish();
        gl_->clear();
    }

    void TearDown() override {
        cache_.reset();
        GLTest::TearDown();
    }

    std::shared_ptr<MVShader> plainShader() const {
        return cache_->shaderForKey("MVShaderPositionTextureUniformColor");
    }

    template <class Image = MVImage>
    static std::shared_ptr<Image> imageOf(const Pixels& pixels, float scale = 1.0F,
                                          bool premultiplied = false,
                                          std::int32_t coordinateSystem = 0) {
        const std::vector<std::uint8_t> bytes = pixels.bytes();
        return Image::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            bytes.data(), static_cast<std::uint64_t>(pixels.width),
            static_cast<std::uint64_t>(pixels.height), scale, coordinateSystem, premultiplied,
            GL_RGBA);
    }

    /// The texture of an image, its first row the picture's top one.
    Pixels pixelsOf(const std::shared_ptr<MVImage>& image) {
        Pixels result(static_cast<int>(image->size().width * image->scale() + 0.5F),
                      static_cast<int>(image->size().height * image->scale() + 0.5F));
        std::vector<std::uint8_t> bytes(result.values.size());
        onQueue([&] {
            glBindTexture(GL_TEXTURE_2D, image->mv_texture());
            glPixelStorei(GL_PACK_ALIGNMENT, 1);
            glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
            glBindTexture(GL_TEXTURE_2D, 0);
        });
        for (int y = 0; y < result.height; ++y) {
            const int row = image->coordinateSystem() == 0 ? y : result.height - 1 - y;
            for (int x = 0; x < result.width; ++x) {
                for (int channel = 0; channel < 4; ++channel) {
                    result.at(x, y, channel) =
                        bytes.at(static_cast<std::size_t>((row * result.width + x) * 4 + channel));
                }
            }
        }
        return result;
    }

    /// The largest difference of two pictures of one size, over all channels and pixels.
    static double worstDifference(const Pixels& first, const Pixels& second) {
        EXPECT_EQ(first.width, second.width);
        EXPECT_EQ(first.height, second.height);
        double worst = 0;
        for (std::size_t i = 0; i < std::min(first.values.size(), second.values.size()); ++i) {
            worst = std::max(worst, std::abs(first.values[i] - second.values[i]));
        }
        return worst;
    }

    std::shared_ptr<MVShaderCache> cache_;
};

}  // namespace Mivora::tests
