// What filters cost: a blurred subtree, the same subtree through a filter view alone, and copies.
//
// Held constant: a square window of 512 x 512 points and pixels, one sample a pixel, drawn by the
// visits of a frame into a texture that is bound and cleared as a drawable's would be; two hundred
// rectangles of 40 x 40 points that all move a little in every frame. A frame ends when the driver
// has drawn it.
//
// The added costs are differences of neighbouring frames that alternate: without, with. The
// reference is the same two passes, written by hand with the same programs on textures of the same
// size, in the same process: into one texture, then onto the window, as quads with nothing around
// them.

#include <epoxy/gl.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/images/BlurShaderSourcesPrivate.h"
#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFilterView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"

using namespace Mivora::bench;

namespace {

constexpr int kExtent = 512;
constexpr int kViews = 200;
constexpr int kRadius = 8;
constexpr int kWarmUps = 10;
constexpr int kRuns = 60;

/// A framebuffer with a texture.
struct Target {
    GLuint framebuffer = 0;
    GLuint texture = 0;

    Target() {
        glGenTextures(1, &texture);
        glBindTexture(GL_TEXTURE_2D, texture);
        for (const GLenum name : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
            glTexParameteri(GL_TEXTURE_2D, name, GL_CLAMP_TO_EDGE);
        }
        for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
            glTexParameteri(GL_TEXTURE_2D, name, GL_LINEAR);
        }
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kExtent, kExtent, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     nullptr);
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    }

    void begin() const {
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glClearColor(0.1F, 0.1F, 0.1F, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        glViewport(0, 0, kExtent, kExtent);
    }
};

/// The two passes by hand.
class HandWrittenBlur {
 public:
    HandWrittenBlur() {
        const Mivora::BlurShaderSources sources = Mivora::blurShaderSources(kRadius);
        program_ = glCreateProgram();
        attach(GL_VERTEX_SHADER, sources.vertex);
        attach(GL_FRAGMENT_SHADER, sources.fragment);
        glBindAttribLocation(program_, 0, "a_position");
        glBindAttribLocation(program_, 5, "a_texCoord");
        glLinkProgram(program_);
        glUseProgram(program_);
        const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        glUniformMatrix4fv(glGetUniformLocation(program_, "u_transformProjectionMatrix"), 1,
                           GL_FALSE, identity);
        glUniform1i(glGetUniformLocation(program_, "u_sampler"), 0);
        glUniform4f(glGetUniformLocation(program_, "u_color"), 1, 1, 1, 1);
        texelSize_ = glGetUniformLocation(program_, "u_texelSize");
        const float vertices[16] = {-1, -1, 0, 0, 1, -1, 1, 0, -1, 1, 0, 1, 1, 1, 1, 1};
        glGenVertexArrays(1, &vertexArray_);
        glBindVertexArray(vertexArray_);
        GLuint buffer = 0;
        glGenBuffers(1, &buffer);
        glBindBuffer(GL_ARRAY_BUFFER, buffer);
        glBufferData(GL_ARRAY_BUFFER, sizeof vertices, vertices, GL_STATIC_DRAW);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 16, nullptr);
        glEnableVertexAttribArray(5);
        glVertexAttribPointer(5, 2, GL_FLOAT, GL_FALSE, 16, reinterpret_cast<const void*>(8));
        glBindVertexArray(0);
    }

    /// Blurs a texture onto a target.
    void draw(GLuint source, const Target& target) const {
        const auto pass = [&](const Target& onto, GLuint from, float x, float y) {
            onto.begin();
            glUseProgram(program_);
            glBindTexture(GL_TEXTURE_2D, from);
            glUniform2f(texelSize_, x, y);
            glEnable(GL_BLEND);
            glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
            glBindVertexArray(vertexArray_);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
            glBindVertexArray(0);
            glDisable(GL_BLEND);
        };
        pass(between_, source, 1.0F / kExtent, 0);
        pass(target, between_.texture, 0, 1.0F / kExtent);
    }

 private:
    void attach(GLenum type, const std::string& source) const {
        const GLuint shader = glCreateShader(type);
        const char* const texts[] = {"#version 100\n", source.c_str()};
        glShaderSource(shader, 2, texts, nullptr);
        glCompileShader(shader);
        glAttachShader(program_, shader);
    }

    Target between_;
    GLuint program_ = 0;
    GLuint vertexArray_ = 0;
    GLint texelSize_ = 0;
};

/// A window with moving rectangles below a view of some class.
struct Scene {
    explicit Scene(const std::shared_ptr<MVView>& itsHolder)
        : window(MVWindow::init()), surface(MVRenderSurface::init()), holder(itsHolder) {
        window->setSize({kExtent, kExtent});
        window->setContentScaleFactor(1);
        window->setMv_surface(surface);
        window->addSubview(holder);
        holder->setSize({kExtent, kExtent});
        for (int i = 0; i < kViews; ++i) {
            const auto share = static_cast<float>(i) / kViews;
            auto view = MVColorView::initWithColor({share, 1 - share, 0.5F, 1});
            view->setSize({40, 40});
            holder->addSubview(view);
            views.push_back(view);
        }
    }

    /// One frame, until it is drawn.
    double frame(MVRenderContext& context, const Target& target, int number) const {
        const Stopwatch watch;
        for (int i = 0; i < kViews; ++i) {
            const auto angle = static_cast<float>(i) + static_cast<float>(number) * 0.01F;
            views[static_cast<std::size_t>(i)]->setPosition(
                {236 + 230 * std::cos(angle), 236 + 230 * std::sin(angle * 1.3F)});
        }
        MVFrame::layOut(*window);
        MVFrame::draw(*window, [&] { context.dispatchBlock([&target] { target.begin(); }); });
        context.mv_dispatchBlockSync([] { glFinish(); });
        return watch.milliseconds();
    }

    std::shared_ptr<MVWindow> window;
    std::shared_ptr<MVRenderSurface> surface;
    std::shared_ptr<MVView> holder;
    std::vector<std::shared_ptr<MVView>> views;
};

}  // namespace

int main() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto shaders = MVShaderCache::init();
    shaders->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(shaders);

    std::unique_ptr<Target> target;
    std::unique_ptr<Target> source;
    std::unique_ptr<HandWrittenBlur> reference;
    context->mv_dispatchBlockSync([&] {
        target = std::make_unique<Target>();
        source = std::make_unique<Target>();
        reference = std::make_unique<HandWrittenBlur>();
    });
    const auto referenceFrame = [&] {
        const Stopwatch watch;
        context->mv_dispatchBlockSync([&] {
            reference->draw(source->texture, *target);
            glFinish();
        });
        return watch.milliseconds();
    };

    const Scene direct(MVView::init());
    const auto plainView = MVFilterView::init();
    const Scene plain(plainView);
    const auto blurredView = MVFilterView::init();
    const Scene blurred(blurredView);
    blurredView->setFilter(MVBlurFilter::initWithBlurRadius(kRadius));

    std::vector<double> directFrames;
    std::vector<double> plainNet;
    std::vector<double> blurNet;
    std::vector<double> references;
    std::vector<double> ratios;
    for (int run = -kWarmUps; run < kRuns; ++run) {
        const double without = direct.frame(*context, *target, run);
        const double through = plain.frame(*context, *target, run);
        const double blur = blurred.frame(*context, *target, run);
        const double byHand = referenceFrame();
        if (run >= 0) {
            directFrames.push_back(without);
            plainNet.push_back(through - without);
            blurNet.push_back(blur - through);
            references.push_back(byHand);
        }
    }

    // The view moves by parts of a pixel, in a window whose shape makes its texture one of parts of
    // pixels as well.
    blurred.window->setSize({kExtent * 1.5F, kExtent});
    blurred.frame(*context, *target, 0);
    int rebuilds = 0;
    std::shared_ptr<MVImage> image = blurredView->image();
    for (int i = 0; i < 100; ++i) {
        blurredView->setPosition({0.37F * static_cast<float>(i), -0.21F * static_cast<float>(i)});
        blurred.frame(*context, *target, i);
        rebuilds += blurredView->image() == image ? 0 : 1;
        image = blurredView->image();
    }

    constexpr std::uint64_t kCopied = 2048;
    const std::vector<std::uint8_t> pixels(kCopied * kCopied * 4, 200);
    const auto original =
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            pixels.data(), kCopied, kCopied, 1, 0, false, GL_RGBA);
    std::vector<double> copies;
    for (int run = -2; run < 15; ++run) {
        const Stopwatch watch;
        auto copied = original->copy();
        context->mv_dispatchBlockSync([] { glFinish(); });
        const double milliseconds = watch.milliseconds();
        copied.reset();
        context->mv_dispatchBlockSync([] { glFinish(); });
        if (run >= 0) {
            copies.push_back(milliseconds);
        }
    }

    Report report("filter");
    report.condition("scene", "512 x 512 pixels, 1 sample, 200 rectangles that move");
    report.condition("runs", std::to_string(kRuns) + " frames of each kind in turn, medians");
    report.add("direct_frame_ms", median(directFrames), "the scene without a filter view");
    report.add("filter_view_plain_net_ms", median(plainNet),
               "what a filter view without a filter adds to it");
    report.add("blur8_net_ms", median(blurNet), "what a blur of radius 8 adds to that");
    report.add("blur8_reference_ms", median(references), "the same two passes by hand");
    report.add("blur8_ratio", median(blurNet) / median(references), "target: at most 1.15");
    report.add("blur8_spread", relativeSpread(references), "of the reference, as a share");
    report.add("filter_view_rebuilds", rebuilds, "textures in 100 frames of movement; target: 0");
    report.add("copy_ms", median(copies), "an image of 2048 x 2048 pixels");
    return report.finish();
}
