#pragma once

#include <epoxy/gl.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/support/PixelTest.h"

namespace Mivora::tests {

/// How many scenes to compare, unless MIVORA_TEST_SCENES says it.
inline unsigned scenesToCompare(unsigned count) {
    const char* const wanted = std::getenv("MIVORA_TEST_SCENES");
    return wanted != nullptr ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : count;
}

/// A test of what is recorded and drawn together, against the calls that it stands for.
class QuadBatchTest : public PixelTest {
 protected:
    platform::Picture captureWith(bool batching, const std::shared_ptr<MVWindow>& window,
                                  int samples) {
        context_->setBatching(batching);
        // What a meddler of the frame before has left is not to make a difference.
        onQueue([] {
            glDisable(GL_BLEND);
            glDisable(GL_DEPTH_TEST);
            glBlendFunc(GL_ONE, GL_ZERO);
            glUseProgram(0);
            glBindTexture(GL_TEXTURE_2D, 0);
            glClearStencil(0);
        });
        return MVCaptureWindow(window, {.scale = 1.0F, .samples = samples});
    }

    /// @tparam Window  a `MeddledWindow` made of a seed
    template <class Window>
    void expectIdentity(int samples, unsigned scenes) {
        std::size_t different = 0;
        std::size_t compared = 0;
        for (unsigned seed = 1; seed <= scenes; ++seed) {
            Window scene(seed);
            captureWith(false, scene.shared(), samples);  // names are made
            scene.takeStates();
            const platform::Picture expected = captureWith(false, scene.shared(), samples);
            const auto states = scene.takeStates();
            const platform::Picture picture = captureWith(true, scene.shared(), samples);
            EXPECT_EQ(scene.takeStates(), states) << "scene " << seed;
            ASSERT_EQ(picture.rgba.size(), expected.rgba.size());
            int worst = 0;
            for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
                int difference = 0;
                for (std::size_t channel = 0; channel < 4; ++channel) {
                    difference = std::max(difference, std::abs(picture.rgba[i + channel] -
                                                               expected.rgba[i + channel]));
                }
                worst = std::max(worst, difference);
                different += difference != 0 ? 1 : 0;
            }
            compared += picture.rgba.size() / 4;
            EXPECT_LE(worst, 2) << "scene " << seed;
        }
        EXPECT_LE(different * 10'000, compared) << different << " of " << compared;
    }

    std::size_t drawCalls() {
        return gl_->callsOf("glDrawElementsBaseVertex").size() +
               gl_->callsOf("glDrawArrays").size();
    }
};

}  // namespace Mivora::tests
