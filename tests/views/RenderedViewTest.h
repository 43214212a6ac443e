#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "tests/support/GLTest.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

namespace Mivora::tests {

/// A test of views whose content is drawn by Cairo: a window of 200 x 120 points, white.
class RenderedViewTest : public GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        useScale(1);
    }

    void TearDown() override {
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    /// Begins with a new window of that many pixels a point.
    void useScale(float scale) {
        scale_ = scale;
        window_ = CountingWindow::make();
        window_->setSize({200, 120});
        window_->setContentScaleFactor(scale);
        window_->mv_layoutVisit();
        finish();
        gl_->clear();
    }

    /// The GL calls of one draw visit.
    std::vector<std::string> drawing() {
        finish();
        gl_->clear();
        window_->mv_drawVisit();
        finish();
        return gl_->texts();
    }

    /// How many textures one draw visit uploads.
    std::size_t uploads() {
        drawing();
        return gl_->callsOf("glTexImage2D").size() + gl_->callsOf("glTexSubImage2D").size();
    }

    /// Width and height of the texture that the last drawing specified.
    std::vector<double> uploadedSize() const {
        const auto calls = gl_->callsOf("glTexImage2D");
        return calls.empty() ? std::vector<double>()
                             : std::vector<double>{calls.back().arguments.at(3),
                                                   calls.back().arguments.at(4)};
    }

    platform::Picture capture(const std::string& name = "") const {
        MVCaptureOptions options;
        options.samples = 0;
        options.scale = scale_;
        options.clearColor = {1, 1, 1, 1};
        const platform::Picture picture = MVCaptureWindow(window_, options);
        if (const char* const folder = std::getenv("MIVORA_KEEP_PICTURES");
            folder && !name.empty()) {
            picture.writePNG((std::filesystem::path(folder) / (name + ".png")).string());
        }
        return picture;
    }

    /// Compares a part of a picture, from the given corner on, with a premultiplied picture over
    /// white. Blending rounds once more: 2 of 255 allow for that.
    static void expectAlike(const platform::Picture& picture, int left, int top,
                            const platform::Picture& expected) {
        int worst = 0;
        for (int y = 0; y < expected.size.height; ++y) {
            for (int x = 0; x < expected.size.width; ++x) {
                const auto drawn = picture.pixel(left + x, top + y);
                const auto wanted = expected.pixel(x, y);
                for (std::size_t i = 0; i < 3; ++i) {
                    worst = std::max(worst, std::abs(drawn[i] - (wanted[i] + 255 - wanted[3])));
                }
            }
        }
        EXPECT_LE(worst, 2);
    }

    static std::vector<int> rgb(const platform::Picture& picture, int x, int y) {
        const auto pixel = picture.pixel(x, y);
        return {pixel[0], pixel[1], pixel[2]};
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<CountingWindow> window_;
    float scale_ = 1;
};

}  // namespace Mivora::tests
